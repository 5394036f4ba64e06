#include "engine/catalogue/number_operand.h"

#include <gtest/gtest.h>

#include <compare>
#include <cstdint>
#include <limits>
#include <string>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

constexpr std::int64_t kMaxUint32 = std::numeric_limits<std::uint32_t>::max();

struct IntegerCase {
  const char* name;
  std::string text;
  std::int64_t below;  // the greatest whole number that is less
  std::int64_t above;  // the least one that is greater
};

class WholeNumbers : public testing::TestWithParam<IntegerCase> {};

TEST_P(WholeNumbers, CompareExactly) {
  const IntegerCase& row = GetParam();
  const auto operand = NumberOperand::Parse(row.text);
  ASSERT_TRUE(operand.has_value());
  EXPECT_TRUE(operand->CompareWith(row.below) < 0);
  EXPECT_TRUE(operand->CompareWith(row.above) > 0);
  for (std::int64_t equal = row.below + 1; equal < row.above; ++equal) {
    EXPECT_TRUE(operand->CompareWith(equal) == 0) << equal;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, WholeNumbers,
    testing::Values(
        IntegerCase{"Zero", "0", -1, 1}, IntegerCase{"NegativeZero", "-0.0", -1, 1},
        IntegerCase{"ZeroToAGreatPower", "0e999999999999999999999", -1, 1},
        IntegerCase{"Five", "5", 4, 6}, IntegerCase{"SignedFive", "+5", 4, 6},
        IntegerCase{"LeadingZeros", "00005.000", 4, 6}, IntegerCase{"PointAtTheEnd", "5.", 4, 6},
        IntegerCase{"PointAtTheBegin", ".5", 0, 1}, IntegerCase{"BetweenTwo", "5.5", 5, 6},
        IntegerCase{"BarelyMore", "5." + std::string(300, '0') + "1", 5, 6},
        IntegerCase{"BarelyLess", "4." + std::string(300, '9'), 4, 5},
        IntegerCase{"BetweenTwoNegativeOnes", "-5.5", -6, -5},
        IntegerCase{"BelowZero", "-0.001", -1, 0}, IntegerCase{"Exponent", "12e2", 1199, 1201},
        IntegerCase{"GreatLetter", "12E2", 1199, 1201},
        IntegerCase{"SignedExponent", "12e+2", 1199, 1201},
        IntegerCase{"NegativeExponent", "1200e-2", 11, 13},
        IntegerCase{"NegativeExponentWithinTheDigits", "1234e-2", 12, 13},
        IntegerCase{"ExponentBeforeThePoint", "0.0012e4", 11, 13},
        IntegerCase{"NearlyNothing", "1e-999999999999999999999", 0, 1},
        IntegerCase{"ManyZeros", "0." + std::string(400, '0') + "1e402", 9, 11},
        IntegerCase{"GreatestOf32Bits", "4294967295", kMaxUint32 - 1, kMaxUint32 + 1},
        // As a float it would be 2147483648.
        IntegerCase{"MoreThanAFloatCanTell", "2147483647", 2147483646, 2147483648}),
    CaseName());

TEST(WholeNumbers, AreBelowWhatNoColumnHolds) {
  for (const char* great : {"1e13", "99999999999999999999999999", "1e999999999999999999999"}) {
    EXPECT_TRUE(NumberOperand::Parse(great)->CompareWith(kMaxUint32) < 0) << great;
    const std::string least = std::string("-") + great;
    const std::int64_t min = std::numeric_limits<std::int32_t>::min();
    EXPECT_TRUE(NumberOperand::Parse(least)->CompareWith(min) > 0) << least;
  }
}

struct FloatCase {
  const char* name;
  const char* text;
  float float32;
  double float64;
};

class Floats : public testing::TestWithParam<FloatCase> {};

TEST_P(Floats, CompareWithTheNumberRoundedToTheirType) {
  const FloatCase& row = GetParam();
  const auto operand = NumberOperand::Parse(row.text);
  ASSERT_TRUE(operand.has_value());
  EXPECT_TRUE(operand->CompareWith(row.float32) == 0);
  EXPECT_TRUE(operand->CompareWith(row.float64) == 0);
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, Floats,
    testing::Values(FloatCase{"Zero", "0", 0, 0}, FloatCase{"NegativeZero", "-0", 0, 0},
                    FloatCase{"ATenth", "0.1", 0.1F, 0.1},
                    FloatCase{"Negative", "-2.5e3", -2500, -2500},
                    FloatCase{"WithoutLeadingDigit", ".25", 0.25F, 0.25},
                    FloatCase{"GreatestFloat", "3.4028234663852886e38",
                              std::numeric_limits<float>::max(), 3.4028234663852886e38},
                    FloatCase{"LeastFloat", "1.401298464324817e-45",
                              std::numeric_limits<float>::denorm_min(), 1.401298464324817e-45},
                    // Far less than the least number of either type is rounded to zero.
                    FloatCase{"NearlyNothing", "1e-999999999999999999999", 0, 0},
                    FloatCase{"NearlyNothingOfAFloat", "1e-60", 0, 1e-60},
                    FloatCase{"TiesToEven", "16777217", 16777216, 16777217}),
    CaseName());

TEST(Floats, AreBelowWhatTheirTypeCannotHold) {
  constexpr float kMaxFloat = std::numeric_limits<float>::max();
  constexpr double kMaxDouble = std::numeric_limits<double>::max();
  EXPECT_TRUE(NumberOperand::Parse("1e39")->CompareWith(kMaxFloat) < 0);
  EXPECT_TRUE(NumberOperand::Parse("-1e39")->CompareWith(-kMaxFloat) > 0);
  EXPECT_TRUE(NumberOperand::Parse("1e39")->CompareWith(1e40) > 0);
  EXPECT_TRUE(NumberOperand::Parse("1e400")->CompareWith(kMaxDouble) < 0);
  EXPECT_TRUE(NumberOperand::Parse("-1e999999999999")->CompareWith(-kMaxDouble) > 0);
}

TEST(Numbers, HaveDigitsAndNothingAroundThem) {
  for (const char* text :
       {"",      " ",   "+",   "-",        ".",    "-.",   "e5",    ".e5", "5e",
        "5e+",   "5 ",  " 5",  "5e5.0",    "5e 5", "--5",  "+-5",   "5,5", "0x10",
        "1_000", "inf", "nan", "infinity", "5f",   "5..5", "5.5.5", "abc", "\xEF\xBC\x95"}) {
    EXPECT_FALSE(NumberOperand::Parse(text).has_value()) << "'" << text << "'";
  }
  EXPECT_FALSE(NumberOperand::Parse(std::string("5\0", 2)).has_value());
}

}  // namespace
}  // namespace zervane
