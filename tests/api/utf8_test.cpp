#include "api/words/utf8.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

struct TextCase {
  const char* name;
  std::string text;
  bool is_utf8;
};

class Utf8 : public testing::TestWithParam<TextCase> {};

TEST_P(Utf8, IsToldFromOtherBytes) {
  const TextCase& row = GetParam();
  EXPECT_EQ(IsUtf8(row.text), row.is_utf8);
  // Wherever it stands among eight bytes that are looked at in one go.
  for (std::size_t before = 1; before <= 9; ++before) {
    EXPECT_EQ(IsUtf8(std::string(before, 'x') + row.text), row.is_utf8) << before;
    EXPECT_EQ(IsUtf8(row.text + std::string(before, 'x')), row.is_utf8) << before;
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, Utf8,
                         testing::Values(TextCase{"Empty", "", true},
                                         TextCase{"Nul", std::string(1, '\0'), true},
                                         TextCase{"LastOfOneByte", "\x7F", true},
                                         TextCase{"FirstOfTwoBytes", "\xC2\x80", true},
                                         TextCase{"LastOfTwoBytes", "\xDF\xBF", true},
                                         TextCase{"FirstOfThreeBytes", "\xE0\xA0\x80", true},
                                         TextCase{"LastBeforeSurrogates", "\xED\x9F\xBF", true},
                                         TextCase{"FirstAfterSurrogates", "\xEE\x80\x80", true},
                                         TextCase{"LastOfThreeBytes", "\xEF\xBF\xBF", true},
                                         TextCase{"FirstOfFourBytes", "\xF0\x90\x80\x80", true},
                                         TextCase{"LastOfAll", "\xF4\x8F\xBF\xBF", true},
                                         TextCase{"PastTheLast", "\xF4\x90\x80\x80", false},
                                         TextCase{"FiveBytes", "\xF8\x88\x80\x80\x80", false},
                                         TextCase{"NeverABegin", "\xFF", false},
                                         TextCase{"ContinuationAlone", "\x80", false},
                                         TextCase{"CutAfterOneByte", "\xC3", false},
                                         TextCase{"CutAfterTwoBytes", "\xE6\xB5", false},
                                         TextCase{"CutAfterThreeBytes", "\xF0\x9F\x9A", false},
                                         TextCase{"OverlongOfTwoBytes", "\xC1\xBF", false},
                                         TextCase{"NulInTwoBytes", "\xC0\x80", false},
                                         TextCase{"OverlongOfThreeBytes", "\xE0\x9F\xBF", false},
                                         TextCase{"OverlongOfFourBytes", "\xF0\x8F\xBF\xBF", false},
                                         TextCase{"FirstSurrogate", "\xED\xA0\x80", false},
                                         TextCase{"LastSurrogate", "\xED\xBF\xBF", false},
                                         TextCase{"NoThirdByte", "\xE6\xB5\x41", false},
                                         TextCase{"NoFourthByte", "\xF0\x9F\x9A\x41", false}),
                         CaseName());

std::string Encode(std::uint32_t c) {
  const auto follower = [&](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80) return {static_cast<char>(c)};
  if (c < 0x800) return {static_cast<char>(0xC0 | c >> 6), follower(0)};
  if (c < 0x10000) return {static_cast<char>(0xE0 | c >> 12), follower(6), follower(0)};
  return {static_cast<char>(0xF0 | c >> 18), follower(12), follower(6), follower(0)};
}

TEST(Utf8Characters, AreAllButSurrogates) {
  for (std::uint32_t c = 0; c < 0x120000; ++c) {
    const bool is_character = c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
    ASSERT_EQ(IsUtf8(Encode(c)), is_character) << std::hex << c;
  }
}

TEST(Characters, AreCountedWhateverTheyTake) {
  EXPECT_EQ(CountCharacters(""), 0U);
  EXPECT_EQ(CountCharacters("abc"), 3U);
  EXPECT_EQ(CountCharacters("\xC3\xA4\xE6\xB5\x8B\xF0\x9F\x98\x80x"), 4U);
}

}  // namespace
}  // namespace zervane
