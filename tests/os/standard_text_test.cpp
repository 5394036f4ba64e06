#include "os/standard_text.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "case_name.h"
#include "os/utf8.h"
#include "tests/support/seed.h"
#include "text_test_support.h"

namespace zervane::os {
namespace {

constexpr std::size_t kRoom = 1'000;

std::optional<std::string> Inside(StandardText& texts, std::string_view text) {
  const std::optional<std::string_view> inside = texts.FromSystem(text);
  return inside ? std::optional<std::string>(*inside) : std::nullopt;
}

std::string Outside(StandardText& texts, std::string_view utf8, std::size_t max_bytes = kRoom) {
  const StandardText::SystemText text = texts.ToSystem(utf8, max_bytes);
  EXPECT_LE(text.bytes.size(), max_bytes);
  return std::string(text.bytes);
}

struct ExactCase {
  const char* name;
  const char* encoding;
  std::string text;  // in the encoding
  std::string utf8;
};

class ExactText : public testing::TestWithParam<ExactCase> {};

TEST_P(ExactText, GoesInAndComesOut) {
  StandardText texts(GetParam().encoding);
  EXPECT_EQ(Inside(texts, GetParam().text), GetParam().utf8);
  EXPECT_EQ(Outside(texts, GetParam().utf8), GetParam().text);
  EXPECT_TRUE(texts.ToSystem(GetParam().utf8, GetParam().text.size()).is_whole);
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, ExactText,
    testing::Values(
        ExactCase{"EmptyInUtf8", "UTF-8", "", ""}, ExactCase{"EmptyInGbk", "GBK", "", ""},
        ExactCase{"AsciiInUtf8", "UTF-8", "FIC101.PV", "FIC101.PV"},
        ExactCase{"AsciiInGb18030", "GB18030", "FIC101.PV", "FIC101.PV"},
        ExactCase{"AsciiInShiftJis", "SHIFT_JIS", "FIC101.PV", "FIC101.PV"},
        ExactCase{"EveryAsciiSign", "GBK", "!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~\t\x7F",
                  "!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~\t\x7F"},
        ExactCase{"HanInUtf8", "UTF-8", "\xE6\xB5\x8B\xE7\x82\xB9", "\xE6\xB5\x8B\xE7\x82\xB9"},
        ExactCase{"HanInGbk", "GBK", "\xB2\xE2\xB5\xE3.PV", "\xE6\xB5\x8B\xE7\x82\xB9.PV"},
        ExactCase{"HanInGb18030", "GB18030", "\xB2\xE2\xB5\xE3", "\xE6\xB5\x8B\xE7\x82\xB9"},
        ExactCase{"BeyondTheBmpInUtf8", "UTF-8", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
        ExactCase{"BeyondTheBmpInGb18030", "GB18030", "\x94\x39\xFC\x36", "\xF0\x9F\x98\x80"},
        ExactCase{"OwnTableOfGb18030", "GB18030", "\xFE\x51", "\xEE\xA0\x96"},
        ExactCase{"LatinLetter", "ISO-8859-1", "\xE9t\xE9", "\xC3\xA9t\xC3\xA9"},
        ExactCase{"Kana", "SHIFT_JIS", "\xB6\x83\x5C", "\xEF\xBD\xB6\xE3\x82\xBD"},
        ExactCase{"ShiftStates", "ISO-2022-JP", "a\x1B$B$\"\x1B(Bz", "a\xE3\x81\x82z"},
        ExactCase{"TwoCharactersOfOneCode", "BIG5-HKSCS", "\x88\x62", "\xC3\x8A\xCC\x84"}),
    kCaseName);

struct MalformedCase {
  const char* name;
  const char* encoding;
  std::string text;
};

class MalformedText : public testing::TestWithParam<MalformedCase> {};

TEST_P(MalformedText, DoesNotComeIn) {
  StandardText texts(GetParam().encoding);
  EXPECT_EQ(Inside(texts, GetParam().text), std::nullopt);
  EXPECT_EQ(Inside(texts, "long enough " + GetParam().text + " and more"), std::nullopt);
  EXPECT_EQ(Inside(texts, "good"), "good") << "after one that is not";
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, MalformedText,
    testing::Values(MalformedCase{"LoneContinuation", "UTF-8", "\x80"},
                    MalformedCase{"Overlong", "UTF-8", "\xC1\x81"},
                    MalformedCase{"OverlongNul", "UTF-8", "\xC0\x80"},
                    MalformedCase{"Truncated", "UTF-8", "\xE6\xB5"},
                    MalformedCase{"Surrogate", "UTF-8", "\xED\xA0\x80"},
                    MalformedCase{"SurrogatePair", "UTF-8", "\xED\xA0\xBD\xED\xB8\x80"},
                    MalformedCase{"BeyondUnicode", "UTF-8", "\xF4\x90\x80\x80"},
                    MalformedCase{"NoLead", "UTF-8", "\xFF"},
                    MalformedCase{"NulInUtf8", "UTF-8", std::string(1, '\0')},
                    MalformedCase{"NulInGbk", "GBK", std::string("\0\xB2\xE2", 3)},
                    MalformedCase{"HalfOfACode", "GB18030", "\xB2\xFF"},
                    MalformedCase{"Utf8InGbk", "GBK", "\xE6\xFF"},
                    MalformedCase{"NoCode", "SHIFT_JIS", "\x81\x20"}),
    kCaseName);

struct LossyCase {
  const char* name;
  const char* encoding;
  std::string utf8;
  std::size_t max_bytes;
  std::string text;
  bool is_whole;
};

class LossyText : public testing::TestWithParam<LossyCase> {};

TEST_P(LossyText, ComesOutAsWellAsItCan) {
  StandardText texts(GetParam().encoding);
  const StandardText::SystemText text = texts.ToSystem(GetParam().utf8, GetParam().max_bytes);
  EXPECT_EQ(text.bytes, GetParam().text);
  EXPECT_EQ(text.is_whole, GetParam().is_whole);
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, LossyText,
    testing::Values(
        LossyCase{"LacksHan", "ISO-8859-1", "T\xE6\xB5\x8B.\xC3\xA9", 9, "T?.\xE9", true},
        LossyCase{"LacksAccent", "GBK", "\xC3\xBF\xE6\xB5\x8B", 9, "?\xB2\xE2", true},
        LossyCase{"LacksEmoji", "SHIFT_JIS", "\xF0\x9F\x98\x80!", 9, "?!", true},
        LossyCase{"LacksALanguageTag", "GBK", "a\xF3\xA0\x81\x81z", 9, "a?z", true},
        LossyCase{"Utf8LacksNothing", "UTF-8", "\xF0\x9F\x98\x80", 4, "\xF0\x9F\x98\x80", true},
        LossyCase{"ByteThatIsNoCharacter", "UTF-8", "a\xFFz", 9, "a?z", true},
        LossyCase{"ByteThatIsNoCharacterInGbk", "GBK", "a\xFF\xE6\xB5\x8B", 9, "a?\xB2\xE2", true},
        LossyCase{"SurrogateInside", "UTF-8", "\xED\xA0\x80", 9, "???", true},
        LossyCase{"CutAscii", "UTF-8", "abcdef", 5, "abcde", false},
        LossyCase{"CutAsciiInGbk", "GBK", "abcdef", 5, "abcde", false},
        LossyCase{"CutBeforeACharacter", "UTF-8", "ab\xE6\xB5\x8B", 4, "ab", false},
        LossyCase{"CutBetweenCharacters", "UTF-8", "\xE6\xB5\x8B\xE7\x82\xB9", 3, "\xE6\xB5\x8B",
                  false},
        LossyCase{"CutToNothing", "UTF-8", "\xF0\x9F\x98\x80", 3, "", false},
        LossyCase{"NoRoomInGbk", "GBK", "\xE6\xB5\x8B", 1, "", false},
        LossyCase{"NoRoomAtAll", "GBK", "\xE6\xB5\x8B", 0, "", false},
        LossyCase{"CutInGbk", "GBK", "\xE6\xB5\x8B\xE7\x82\xB9", 3, "\xB2\xE2", false},
        LossyCase{"CutAndLacking", "ISO-8859-1", "\xE6\xB5\x8B\xE7\x82\xB9\xE6\xB5\x8B", 2, "??",
                  false},
        LossyCase{"CutWithRoomForTheShift", "ISO-2022-JP", "a\xE3\x81\x82z", 8, "a", false},
        LossyCase{"CutAfterTheShift", "ISO-2022-JP", "a\xE3\x81\x82z", 9, "a\x1B$B$\"\x1B(B",
                  false}),
    kCaseName);

// What comes out fits, is the beginning of the text, and no further character would have fitted.
TEST(StandardText, CutsNowhereButWhereItMust) {
  const Seed seed;
  std::mt19937 random(seed.value());
  const auto below = [&](std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
  };
  const std::vector<std::string> characters = {"a",
                                               "Z",
                                               "\xC3\xA9",
                                               "\xE6\xB5\x8B",
                                               "\xE3\x82\xAB",
                                               "\xEF\xBD\xB6",
                                               "\xC3\x8A",
                                               "\xCC\x84",
                                               "\xEE\xA0\x96",
                                               "\xF0\x9F\x98\x80",
                                               "?"};
  for (const char* encoding : {"UTF-8", "GB18030", "GBK", "ISO-8859-1", "SHIFT_JIS", "ISO-2022-JP",
                               "BIG5-HKSCS", "EUC-JISX0213"}) {
    StandardText texts(encoding);
    for (int round = 0; round < 300; ++round) {
      std::vector<std::string> text;
      std::string utf8;
      for (std::size_t left = below(40); left > 0; --left) {
        text.push_back(characters[below(characters.size())]);
        utf8 += text.back();
      }
      const std::string whole = Outside(texts, utf8);
      const std::size_t room = below(whole.size() + 2);
      const StandardText::SystemText cut = texts.ToSystem(utf8, room);
      const std::string bytes(cut.bytes);
      const bool is_whole = cut.is_whole;
      ASSERT_LE(bytes.size(), room);
      ASSERT_EQ(is_whole, whole.size() <= room) << encoding;

      // The longest beginning that fits, tried one after the other.
      std::string longest;
      std::string beginning;
      for (const std::string& character : text) {
        beginning += character;
        const std::string converted = Outside(texts, beginning);
        if (converted.size() <= room) longest = converted;
      }
      ASSERT_EQ(bytes, longest) << encoding << ", " << room << " bytes";
    }
  }
}

TEST(StandardText, TakesTheWholeOfUnicodeThereAndBack) {
  for (const char* encoding : {"UTF-8", "GB18030"}) {
    StandardText texts(encoding);
    for (const char32_t character : SampleOfUnicode()) {
      std::array<char, 8> bytes{};
      TextBuffer utf8(bytes.data(), bytes.size());
      ASSERT_TRUE(AppendUtf8(character, Utf8Form::kStandard, utf8));
      const std::string inside(utf8.text());
      ASSERT_EQ(Inside(texts, Outside(texts, inside)), inside)
          << encoding << ", U+" << std::hex << static_cast<unsigned>(character);
    }
  }
}

TEST(StandardText, LooksAtUtf8AndAsciiWithoutCopying) {
  const std::string ascii = "FIC101.PV of the third reactor";
  const std::string han = "\xE6\xB5\x8B\xE7\x82\xB9";
  StandardText utf8("utf8");
  StandardText gbk("GBK");
  EXPECT_EQ(utf8.FromSystem(han)->data(), han.data());
  EXPECT_EQ(utf8.ToSystem(han, kRoom).bytes.data(), han.data());
  EXPECT_EQ(gbk.FromSystem(ascii)->data(), ascii.data());
  EXPECT_EQ(gbk.ToSystem(ascii, kRoom).bytes.data(), ascii.data());
}

TEST(StandardText, HasThreeTimesTheBytesInside) {
  StandardText latin("ISO-8859-15");
  const std::string euros(999, '\xA4');
  const auto inside = Inside(latin, euros);
  ASSERT_TRUE(inside);
  EXPECT_EQ(inside->size(), 3 * euros.size());
  EXPECT_EQ(Outside(latin, *inside), euros);

  StandardText tamil("TSCII");  // one byte of it may be four characters of three bytes each
  EXPECT_EQ(Inside(tamil, "\x82"), std::nullopt);
}

TEST(StandardText, TellsWhichEncodingsThereAre) {
  for (const char* known : {"UTF-8", "utf8", "GBK", "GB18030", "ISO-8859-1"}) {
    EXPECT_TRUE(StandardText::IsKnown(known)) << known;
    const std::string_view name = known;
    EXPECT_EQ(StandardText::IsUtf8(known), name == "UTF-8" || name == "utf8") << known;
  }
  for (const char* unknown : {"", "no such encoding", "GBK//TRANSLIT", "GBK//"}) {
    EXPECT_FALSE(StandardText::IsKnown(unknown)) << unknown;
    EXPECT_THROW(StandardText{unknown}, std::bad_alloc) << unknown;
  }
}

TEST(Utf8, TellsAsciiAtEveryLengthAndPlace) {
  for (std::size_t size = 0; size < 20; ++size) {
    std::string text(size, '\x7F');
    EXPECT_TRUE(IsAscii(text));
    for (std::size_t at = 0; at < size; ++at) {
      for (const char other : {'\0', '\x80', '\xFF'}) {
        text[at] = other;
        EXPECT_FALSE(IsAscii(text)) << size << ", " << at;
        EXPECT_FALSE(IsStandardUtf8(text)) << size << ", " << at;
      }
      text[at] = '\x01';
      EXPECT_TRUE(IsAscii(text)) << size << ", " << at;
      EXPECT_TRUE(IsStandardUtf8(text)) << size << ", " << at;
    }
  }
}

}  // namespace
}  // namespace zervane::os
