#include "os/text_converter.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "case_name.h"
#include "text_test_support.h"

namespace zervane::os {
namespace {

constexpr const char* kEncodings[] = {"UTF-8", "GB18030", "GBK", "ISO-8859-15"};

struct PairCase {
  const char* name;
  const char* encoding;
  std::string modified_utf8;
  std::string system;
};

void PrintTo(const PairCase& row, std::ostream* out) { *out << row.name; }

class TextPair : public testing::TestWithParam<PairCase> {};

TEST_P(TextPair, ConvertsToTheSystemEncoding) {
  TextConverter converter(GetParam().encoding);
  EXPECT_EQ(Convert(converter, kToSystem, GetParam().modified_utf8), GetParam().system);
}

TEST_P(TextPair, ConvertsFromTheSystemEncoding) {
  TextConverter converter(GetParam().encoding);
  EXPECT_EQ(Convert(converter, kFromSystem, GetParam().system), GetParam().modified_utf8);
}

INSTANTIATE_TEST_SUITE_P(
    Text, TextPair,
    testing::Values(
        PairCase{"EmptyUtf8", "UTF-8", "", ""}, PairCase{"EmptyGb18030", "GB18030", "", ""},
        PairCase{"AsciiUtf8", "UTF-8", "Reactor 7\t\x7F", "Reactor 7\t\x7F"},
        PairCase{"AsciiGbk", "GBK", "Reactor 7", "Reactor 7"},
        PairCase{"TwoBytesUtf8", "UTF-8", "\xC3\xA9", "\xC3\xA9"},
        PairCase{"ThreeBytesUtf8", "UTF-8", "\xE4\xB8\xAD", "\xE4\xB8\xAD"},
        PairCase{"EmojiUtf8", "UTF-8", "\xED\xA0\xBD\xED\xB8\x80", "\xF0\x9F\x98\x80"},
        PairCase{"LastCharacterUtf8", "UTF-8", "\xED\xAF\xBF\xED\xBF\xBF", "\xF4\x8F\xBF\xBF"},
        PairCase{"HanGbk", "GBK", "\xE4\xB8\xAD\xE6\x96\x87", "\xD6\xD0\xCE\xC4"},
        PairCase{"HanGb18030", "GB18030", "\xE4\xB8\xAD\xE6\x96\x87", "\xD6\xD0\xCE\xC4"},
        PairCase{"AccentGb18030", "GB18030", "\xC3\xBF", "\x81\x30\x8B\x37"},
        PairCase{"FirstBeyondBmpGb18030", "GB18030", "\xED\xA0\x80\xED\xB0\x80",
                 "\x90\x30\x81\x30"},
        PairCase{"LastCharacterGb18030", "GB18030", "\xED\xAF\xBF\xED\xBF\xBF", "\xE3\x32\x9A\x35"},
        PairCase{"VerticalCommaGb18030", "GB18030", "\xEF\xB8\x90", "\xA6\xD9"},
        PairCase{"PrivateUseOfFourBytesGb18030", "GB18030", "\xEE\x9E\x8D", "\x84\x31\x82\x36"},
        PairCase{"PrivateUseOfTwoBytesGb18030", "GB18030", "\xEE\xA0\x96", "\xFE\x51"},
        PairCase{"HanBesidePrivateUseGb18030", "GB18030", "\xED\xA1\x80\xED\xB2\x87",
                 "\x95\x32\x90\x31"},
        PairCase{"PrivateUseAmongOthersGb18030", "GB18030",
                 "a\xEE\xA0\x96\xE4\xB8\xAD\xEE\x9E\x8Dz", "a\xFE\x51\xD6\xD0\x84\x31\x82\x36z"},
        PairCase{"EuroIso885915", "ISO-8859-15", "\xE2\x82\xAC", "\xA4"},
        PairCase{"LatinIso885915", "iso8859-15", "\xC5\x93uvre", "\xBDuvre"},
        PairCase{"ShiftStatesReturnAtTheEnd", "ISO-2022-JP", "\xE6\x97\xA5", "\x1B$BF|\x1B(B"}),
    kCaseName);

struct FailureCase {
  const char* name;
  const char* encoding;
  Direction direction;
  std::string text;
};

void PrintTo(const FailureCase& row, std::ostream* out) { *out << row.name; }

class TextFailure : public testing::TestWithParam<FailureCase> {};

TEST_P(TextFailure, FailsWhole) {
  const FailureCase& row = GetParam();
  TextConverter converter(row.encoding);
  EXPECT_EQ(Convert(converter, row.direction, row.text), std::nullopt);
  EXPECT_EQ(Convert(converter, row.direction, "before " + row.text), std::nullopt);
  EXPECT_EQ(Convert(converter, row.direction, row.text + " after"), std::nullopt);
  EXPECT_EQ(Convert(converter, row.direction, "fine"), "fine") << "a failure left its mark";
}

INSTANTIATE_TEST_SUITE_P(
    NotInTheEncoding, TextFailure,
    testing::Values(FailureCase{"HanInLatin", "ISO-8859-15", kToSystem, "\xE4\xB8\xAD"},
                    FailureCase{"CurrencySignInLatin", "ISO-8859-15", kToSystem, "\xC2\xA4"},
                    FailureCase{"AccentInGbk", "GBK", kToSystem, "\xC3\xBF"},
                    FailureCase{"EmojiInGbk", "GBK", kToSystem, "\xED\xA0\xBD\xED\xB8\x80"},
                    FailureCase{"TagInGbk", "GBK", kToSystem, Modified(0xE0041)},
                    FailureCase{"TagInLatin", "ISO-8859-15", kToSystem, Modified(0xE007F)}),
    kCaseName);

INSTANTIATE_TEST_SUITE_P(
    MalformedSystemText, TextFailure,
    testing::Values(FailureCase{"GbkLeadByteNoCodeHas", "GBK", kFromSystem, "\xFF"},
                    FailureCase{"GbkTrailByteNoCodeHas", "GBK", kFromSystem, "\xD6\x30"},
                    FailureCase{"Gb18030LeadByteNoCodeHas", "GB18030", kFromSystem, "\xFF"},
                    FailureCase{"Gb18030TrailByteNoCodeHas", "GB18030", kFromSystem, "\xD6\x7F"},
                    FailureCase{"Gb18030BeyondUnicode", "GB18030", kFromSystem, "\xE3\x32\x9A\x36"},
                    FailureCase{"Gb18030AfterTheBmp", "GB18030", kFromSystem, "\x84\x31\xA5\x30"},
                    FailureCase{"NulSpeltInUtf7", "UTF-7", kFromSystem, "+AAA-"}),
    kCaseName);

class TextFailureAtTheEnd : public testing::TestWithParam<FailureCase> {};

TEST_P(TextFailureAtTheEnd, IsNotCutOff) {
  TextConverter converter(GetParam().encoding);
  EXPECT_EQ(Convert(converter, GetParam().direction, "fine" + GetParam().text), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    TruncatedSystemText, TextFailureAtTheEnd,
    testing::Values(FailureCase{"GbkHalf", "GBK", kFromSystem, "\xD6"},
                    FailureCase{"Gb18030HalfOfTwo", "GB18030", kFromSystem, "\xD6"},
                    FailureCase{"Gb18030OneOfFour", "GB18030", kFromSystem, "\x84"},
                    FailureCase{"Gb18030TwoOfFour", "GB18030", kFromSystem, "\x84\x31"},
                    FailureCase{"Gb18030ThreeOfFour", "GB18030", kFromSystem, "\x84\x31\x82"}),
    kCaseName);

struct MalformedUtf8Case {
  const char* name;
  std::string text;
};

// Malformed in both forms of UTF-8, hence in both directions.
const MalformedUtf8Case kMalformedUtf8[] = {
    {"EmbeddedNul", "\xC0\x80"},
    {"OverlongTwoBytes", "\xC1\xBF"},
    {"OverlongThreeBytes", "\xE0\x9F\xBF"},
    {"OverlongFourBytes", "\xF0\x8F\xBF\xBF"},
    {"LoneContinuation", "\x80"},
    {"TruncatedTwoBytes", "\xC3"},
    {"TruncatedThreeBytes", "\xE4\xB8"},
    {"TruncatedFourBytes", "\xF0\x9F\x98"},
    {"BadSecondByte", "\xE4\x41\xAD"},
    {"BadThirdByte", "\xE4\xB8\xC0"},
    {"BadFourthByte", "\xF0\x9F\x98\xFF"},
    {"BeyondUnicode", "\xF4\x90\x80\x80"},
    {"LeadByteOfFourNoCodeHas", "\xF5\x80\x80\x80"},
    {"FiveBytes", "\xF8\x88\x80\x80\x80"},
    {"SixBytes", "\xFC\x84\x80\x80\x80\x80"},
    {"ByteFE", "\xFE"},
    {"ByteFF", "\xFF"},
    {"LoneHighSurrogate", "\xED\xA0\xBD"},
    {"LoneLowSurrogate", "\xED\xB8\x80"},
    {"SurrogatesInTheWrongOrder", "\xED\xB8\x80\xED\xA0\xBD"},
    {"TwoHighSurrogates", "\xED\xA0\xBD\xED\xA0\xBD"},
    {"HighSurrogateAndTruncatedLow", "\xED\xA0\xBD\xED\xB8"},
};

TEST(MalformedUtf8, FailsToEveryEncoding) {
  for (const char* encoding : kEncodings) {
    TextConverter converter(encoding);
    for (const auto& [name, text] : kMalformedUtf8) {
      EXPECT_EQ(Convert(converter, kToSystem, text), std::nullopt) << encoding << ": " << name;
      EXPECT_EQ(Convert(converter, kToSystem, text + "a"), std::nullopt)
          << encoding << ": " << name;
      EXPECT_EQ(Convert(converter, kToSystem, "a" + text), std::nullopt)
          << encoding << ": " << name;
    }
  }
}

TEST(MalformedUtf8, FailsAsTheSystemEncoding) {
  TextConverter converter("UTF-8");
  for (const auto& [name, text] : kMalformedUtf8) {
    EXPECT_EQ(Convert(converter, kFromSystem, text), std::nullopt) << name;
    EXPECT_EQ(Convert(converter, kFromSystem, text + "a"), std::nullopt) << name;
    EXPECT_EQ(Convert(converter, kFromSystem, "a" + text), std::nullopt) << name;
  }
}

TEST(SurrogatePairs, AreNotTextInTheSystemEncodingUtf8) {
  TextConverter converter("UTF-8");
  EXPECT_EQ(Convert(converter, kFromSystem, "\xED\xA0\xBD\xED\xB8\x80"), std::nullopt);
}

TEST(FourByteSequences, AreAcceptedBesideSurrogatePairs) {
  const std::string emoji = "\xF0\x9F\x98\x80";
  TextConverter utf8("UTF-8");
  EXPECT_EQ(Convert(utf8, kToSystem, emoji), emoji);
  TextConverter gb18030("GB18030");
  EXPECT_EQ(Convert(gb18030, kToSystem, emoji), Convert(gb18030, kToSystem, Modified(0x1F600)));
}

class EncodingName : public testing::TestWithParam<const char*> {};

TEST_P(EncodingName, FailsEveryConversionWhenUnknown) {
  TextConverter converter(GetParam());
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_EQ(Convert(converter, kToSystem, "text"), std::nullopt);
    EXPECT_EQ(Convert(converter, kFromSystem, "text"), std::nullopt);
    EXPECT_EQ(Convert(converter, kToSystem, ""), std::nullopt);
    EXPECT_EQ(Convert(converter, kFromSystem, ""), std::nullopt);
  }
}

INSTANTIATE_TEST_SUITE_P(Unknown, EncodingName,
                         testing::Values("", "no-such-encoding", "GBK//TRANSLIT", "GBK//IGNORE",
                                         "GBK,IGNORE", "//", "GB 18030", "GB18030\n", "\xFF"));

TEST_P(EncodingName, IsNoneForTheSystemWhenUnknown) { EXPECT_FALSE(IsSystemEncoding(GetParam())); }

class SystemEncoding : public testing::TestWithParam<const char*> {};

TEST_P(SystemEncoding, HasAsciiInIt) { EXPECT_TRUE(IsSystemEncoding(GetParam())); }

INSTANTIATE_TEST_SUITE_P(Known, SystemEncoding,
                         testing::Values("UTF-8", "utf8", "GB18030", "GBK", "GB2312", "BIG5",
                                         "ISO-8859-1", "ISO-8859-15", "ANSI_X3.4-1968", "EUC-JP",
                                         "SHIFT_JIS", "ISO-2022-JP", "KOI8-R", "CP1251",
                                         "ISO_8859-1:1987"));

class OtherEncoding : public testing::TestWithParam<const char*> {};

TEST_P(OtherEncoding, IsNoneForTheSystem) { EXPECT_FALSE(IsSystemEncoding(GetParam())); }

INSTANTIATE_TEST_SUITE_P(NulsInItsTexts, OtherEncoding,
                         testing::Values("UTF-16", "UTF-16LE", "UTF-32BE", "UCS-2", "WCHAR_T"));
INSTANTIATE_TEST_SUITE_P(OtherAscii, OtherEncoding,
                         testing::Values("IBM037", "EBCDIC-US", "ISO-2022-KR", "UTF-7"));

TEST(EncodingName, OfUtf8AndGb18030IsReadWithoutCaseAndHyphens) {
  for (const char* name : {"UTF-8", "utf8", "Utf_8"}) {
    TextConverter converter(name);
    EXPECT_EQ(Convert(converter, kToSystem, Modified(0x1F600)), "\xF0\x9F\x98\x80") << name;
  }
  for (const char* name : {"GB18030", "gb18030"}) {
    TextConverter converter(name);
    EXPECT_EQ(Convert(converter, kToSystem, Modified(0xE816)), "\xFE\x51") << name;
  }
}

TEST(EncodingName, OfAnEncodingWithNulsInItsTextsFailsRatherThanCutting) {
  TextConverter converter("UTF-16LE");
  EXPECT_EQ(Convert(converter, kToSystem, "text"), std::nullopt);
}

struct CapacityCase {
  const char* encoding;
  Direction direction;
  std::string text;
  std::string converted;
};

TEST(Capacity, IsEnoughWhenItHoldsTheTextAndItsTerminator) {
  const std::string long_text(1000, 'x');
  const CapacityCase cases[] = {
      {"UTF-8", kToSystem, "a\xED\xA0\xBD\xED\xB8\x80z", "a\xF0\x9F\x98\x80z"},
      {"UTF-8", kFromSystem, "a\xF0\x9F\x98\x80z", "a\xED\xA0\xBD\xED\xB8\x80z"},
      {"GB18030", kToSystem, "a\xEE\x9E\x8D\xC3\xBFz", "a\x84\x31\x82\x36\x81\x30\x8B\x37z"},
      {"GB18030", kFromSystem, "a\x84\x31\x82\x36\x81\x30\x8B\x37z", "a\xEE\x9E\x8D\xC3\xBFz"},
      {"GBK", kToSystem, "\xE4\xB8\xAD\xE6\x96\x87", "\xD6\xD0\xCE\xC4"},
      {"GBK", kFromSystem, "\xD6\xD0\xCE\xC4", "\xE4\xB8\xAD\xE6\x96\x87"},
      {"GBK", kToSystem, long_text, long_text},
      {"GBK", kFromSystem, long_text, long_text},
      {"ISO-2022-JP", kToSystem, "\xE6\x97\xA5", "\x1B$BF|\x1B(B"},
      {"UTF-8", kToSystem, "", ""},
      {"GBK", kFromSystem, "", ""},
  };
  for (const auto& row : cases) {
    TextConverter converter(row.encoding);
    for (std::size_t capacity = 0; capacity <= row.converted.size(); ++capacity) {
      EXPECT_EQ(Convert(converter, row.direction, row.text, capacity), std::nullopt)
          << row.encoding << ", capacity " << capacity;
    }
    EXPECT_EQ(Convert(converter, row.direction, row.text, row.converted.size() + 1), row.converted)
        << row.encoding;
  }
}

TEST(Capacity, OfFourBytesToTheByteHoldsEverySystemText) {
  for (const char* encoding : kEncodings) {
    TextConverter converter(encoding);
    for (const char32_t character : SampleOfUnicode()) {
      const auto text = Convert(converter, kToSystem, Modified(character));
      if (!text) continue;
      ASSERT_EQ(Convert(converter, kFromSystem, *text, 4 * text->size()), Modified(character))
          << encoding << " U+" << std::hex << static_cast<unsigned>(character);
    }
  }
}

TEST(Arguments, ThatAreNullOrNotPositiveFail) {
  for (const char* encoding : kEncodings) {
    TextConverter converter(encoding);
    for (const Direction direction : {kToSystem, kFromSystem}) {
      char buffer[] = "before";
      EXPECT_FALSE((converter.*direction)("text", nullptr, 8));
      EXPECT_FALSE((converter.*direction)("text", buffer, 0));
      EXPECT_FALSE((converter.*direction)("text", buffer, -1));
      EXPECT_STREQ(buffer, "before") << "there was no room for anything";
      EXPECT_FALSE((converter.*direction)(nullptr, buffer, sizeof(buffer)));
      EXPECT_STREQ(buffer, "");
    }
  }
}

}  // namespace
}  // namespace zervane::os
