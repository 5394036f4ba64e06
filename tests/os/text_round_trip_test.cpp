#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "os/text_converter.h"
#include "tests/support/seed.h"
#include "text_test_support.h"

namespace zervane::os {
namespace {

// The characters that an encoding's own two-byte and one-byte codes stand for, found by decoding
// each of them.
std::set<std::string> CharactersOf(TextConverter& converter) {
  std::set<std::string> characters;
  for (int first = 0x01; first <= 0xFF; ++first) {
    const std::string lead(1, static_cast<char>(first));
    if (const auto character = Convert(converter, kFromSystem, lead)) {
      characters.insert(*character);
      continue;
    }
    for (int second = 0x01; second <= 0xFF; ++second) {
      const auto character = Convert(converter, kFromSystem, lead + static_cast<char>(second));
      if (character) characters.insert(*character);
    }
  }
  return characters;
}

// Compares what the encoding takes with what it has; a character that goes there comes back.
void ExpectExactlyTheseGoThereAndBack(TextConverter& converter,
                                      const std::set<std::string>& characters) {
  for (const char32_t character : SampleOfUnicode()) {
    const std::string text = Modified(character);
    const auto system = Convert(converter, kToSystem, text);
    ASSERT_EQ(system.has_value(), characters.contains(text))
        << "U+" << std::hex << static_cast<unsigned>(character);
    if (system) {
      ASSERT_EQ(Convert(converter, kFromSystem, *system), text);
    }
  }
}

std::string EncodingName(const testing::TestParamInfo<const char*>& test) {
  std::string name = test.param;
  std::erase(name, '-');
  return name;
}

class WholeOfUnicode : public testing::TestWithParam<const char*> {};

TEST_P(WholeOfUnicode, GoesThereAndBack) {
  TextConverter converter(GetParam());
  std::set<std::string> seen;
  const auto sample = SampleOfUnicode();
  for (const char32_t character : sample) {
    const std::string text = Modified(character);
    const auto system = Convert(converter, kToSystem, text);
    ASSERT_TRUE(system) << "U+" << std::hex << static_cast<unsigned>(character);
    ASSERT_EQ(Convert(converter, kFromSystem, *system), text)
        << "U+" << std::hex << static_cast<unsigned>(character);
    seen.insert(*system);
  }
  EXPECT_EQ(seen.size(), std::set<char32_t>(sample.begin(), sample.end()).size());
}

TEST_P(WholeOfUnicode, GoesThereAndBackAsOneText) {
  TextConverter converter(GetParam());
  std::string text;
  for (const char32_t character : SampleOfUnicode()) text += Modified(character);
  const auto system = Convert(converter, kToSystem, text);
  ASSERT_TRUE(system);
  EXPECT_EQ(Convert(converter, kFromSystem, *system), text);
}

INSTANTIATE_TEST_SUITE_P(Encodings, WholeOfUnicode, testing::Values("UTF-8", "GB18030"),
                         EncodingName);

TEST(Gbk, HasExactlyTheCharactersThatItsCodesStandFor) {
  TextConverter converter("GBK");
  const auto characters = CharactersOf(converter);
  EXPECT_GT(characters.size(), 21'000u);
  ExpectExactlyTheseGoThereAndBack(converter, characters);
}

TEST(Iso885915, HasLatin1WithEightCharactersReplaced) {
  std::set<std::string> characters;
  for (char32_t character = 0x01; character <= 0xFF; ++character) {
    characters.insert(Modified(character));
  }
  const std::pair<char32_t, char32_t> replaced[] = {
      {0xA4, 0x20AC}, {0xA6, 0x160}, {0xA8, 0x161}, {0xB4, 0x17D},
      {0xB8, 0x17E},  {0xBC, 0x152}, {0xBD, 0x153}, {0xBE, 0x178},
  };
  for (const auto& [former, present] : replaced) {
    characters.erase(Modified(former));
    characters.insert(Modified(present));
  }
  TextConverter converter("ISO-8859-15");
  EXPECT_EQ(CharactersOf(converter), characters);
  ExpectExactlyTheseGoThereAndBack(converter, characters);
}

// Every two-byte code, and every four-byte code of the BMP, stands for one character of its own.
TEST(Gb18030, GivesNoCharacterTwoCodes) {
  TextConverter converter("GB18030");
  int codes = 0;
  const auto check = [&](const std::string& code) {
    const auto text = Convert(converter, kFromSystem, code);
    if (!text) return;
    ++codes;
    ASSERT_EQ(Convert(converter, kToSystem, *text), code);
  };
  for (int first = 0x81; first <= 0xFE; ++first) {
    for (int second = 0x40; second <= 0xFE; ++second) {
      check({static_cast<char>(first), static_cast<char>(second)});
    }
  }
  for (int linear = 0; linear < 4 * 12'600; ++linear) {
    check({static_cast<char>(0x81 + linear / 12'600), static_cast<char>(0x30 + linear / 1'260 % 10),
           static_cast<char>(0x81 + linear / 10 % 126), static_cast<char>(0x30 + linear % 10)});
  }
  constexpr int kBmpWithoutAsciiAndSurrogates = 0x10000 - 0x80 - 0x800;
  EXPECT_EQ(codes, kBmpWithoutAsciiAndSurrogates);
}

class Bytes {
 public:
  explicit Bytes(std::uint32_t seed) : engine_(seed) {}

  std::size_t Below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(engine_);
  }

  // Up to 300 bytes: anything at all, or well-formed UTF-8 with a few bytes changed.
  std::string Text() {
    std::string text;
    const std::size_t count = Below(100);
    const bool arbitrary = Below(2) == 0;
    for (std::size_t i = 0; i < count; ++i) {
      if (arbitrary) {
        text += static_cast<char>(1 + Below(255));
      } else {
        const auto character = static_cast<char32_t>(1 + Below(Below(2) == 0 ? 0xD7FF : 0x7F));
        text += Modified(character);
      }
    }
    for (std::size_t changes = Below(3); changes > 0 && !text.empty(); --changes) {
      text[Below(text.size())] = static_cast<char>(1 + Below(255));
    }
    return text;
  }

 private:
  std::mt19937 engine_;
};

class RandomBytes : public testing::TestWithParam<const char*> {};

// Convert itself checks that nothing is written beyond the capacity and every text is terminated.
TEST_P(RandomBytes, ConvertOrFailWithinTheCapacity) {
  const Seed seed;
  Bytes bytes(seed.value());
  TextConverter converter(GetParam());
  int converted = 0;
  for (int i = 0; i < 20'000; ++i) {
    const std::string text = bytes.Text();
    const Direction direction = bytes.Below(2) == 0 ? kToSystem : kFromSystem;
    const auto result = Convert(converter, direction, text, bytes.Below(4 * text.size() + 2));
    if (!result) continue;
    ++converted;
    // Encodings with two codes for a character may come back as the other one.
    const auto back = Convert(converter, direction == kToSystem ? kFromSystem : kToSystem, *result);
    ASSERT_TRUE(back) << testing::PrintToString(text);
    ASSERT_EQ(Convert(converter, direction, *back), result) << testing::PrintToString(text);
  }
  EXPECT_GT(converted, 100);
  EXPECT_LT(converted, 19'900);
}

INSTANTIATE_TEST_SUITE_P(Encodings, RandomBytes,
                         testing::Values("UTF-8", "GB18030", "GBK", "ISO-8859-15"), EncodingName);

}  // namespace
}  // namespace zervane::os
