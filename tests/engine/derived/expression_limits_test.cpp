// How long and how deep an expression may be, and that hostile texts do no harm.

#include <gtest/gtest.h>

#include <string>

#include "engine/derived/expression/parser.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

std::string Repeated(std::string_view text, std::size_t times) {
  std::string repeated;
  for (std::size_t i = 0; i < times; ++i) repeated += text;
  return repeated;
}

Result<ParsedExpression> Parse(std::string_view text) {
  return ParseExpression(text, {.variables = {}, .allows_tags = true});
}

TEST(ExpressionLength, IsUpTo511Bytes) {
  const std::string longest = Repeated("1+", 255) + "1";
  ASSERT_EQ(longest.size(), 511U);
  const Result<ParsedExpression> parsed = Parse(longest);
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed->program.Evaluate({}), 256);
}

TEST(ExpressionLength, CountsBlanks) {
  EXPECT_TRUE(Parse("1" + std::string(510, ' ')).ok());
  const Result<ParsedExpression> longer = Parse("1" + std::string(511, ' '));
  EXPECT_EQ(longer.code(), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_EQ(longer.status().message(), "an expression of 512 bytes, at most 511");
}

// What nests so many levels, and is worth 1.
struct NestingCase {
  const char* name;
  const char* open;
  const char* innermost;
  const char* close;
};

class ExpressionDepth : public testing::TestWithParam<NestingCase> {
 protected:
  static std::string Nested(std::size_t depth) {
    return Repeated(GetParam().open, depth) + GetParam().innermost +
           Repeated(GetParam().close, depth);
  }
};

TEST_P(ExpressionDepth, IsUpTo64) {
  const Result<ParsedExpression> parsed = Parse(Nested(64));
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed->program.Evaluate({}), 1);
}

TEST_P(ExpressionDepth, IsNot65) {
  const Result<ParsedExpression> parsed = Parse(Nested(65));
  EXPECT_EQ(parsed.code(), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_TRUE(parsed.status().message().ends_with(": nests deeper than 64"))
      << parsed.status().message();
}

// One behind the other is not one in the other.
TEST_P(ExpressionDepth, EndsWithWhatNested) {
  const Result<ParsedExpression> parsed = Parse(Nested(32) + "*" + Nested(30));
  EXPECT_TRUE(parsed.ok()) << parsed.status().message();
}

INSTANTIATE_TEST_SUITE_P(
    Of, ExpressionDepth,
    testing::Values(NestingCase{"Brackets", "(", "1", ")"}, NestingCase{"Calls", "abs(", "1", ")"},
                    NestingCase{"Arguments", "max(0,", "1", ")"},
                    NestingCase{"Minuses", "-", "1", ""}, NestingCase{"Pluses", "+", "1", ""},
                    NestingCase{"Exponents", "1^", "1", ""}, NestingCase{"Thens", "1?", "1", ":2"},
                    NestingCase{"Elses", "0?2:", "1", ""}),
    CaseName());

TEST(ExpressionDepth, IsOfAllThatNests) {
  const std::string inside = Repeated("0?1:", 12) + Repeated("(", 13) + Repeated("abs(", 13) +
                             Repeated("-", 13) + Repeated("1^", 13);
  const std::string outside = Repeated(")", 26);
  EXPECT_TRUE(Parse(inside + "1" + outside).ok());
  EXPECT_FALSE(Parse("(" + inside + "1" + outside + ")").ok());
}

// Three values wait in each of 63 brackets for what is in the next one.
TEST(ExpressionStack, HoldsAllThatWaits) {
  static constexpr std::string_view kVariables[] = {"x"};
  static constexpr double kOperands[] = {1};
  const std::string text = Repeated("x<x+x*(", 63) + "x" + Repeated(")", 63);
  ASSERT_LE(text.size(), kMostExpressionBytes);
  const Result<ParsedExpression> parsed = ParseExpression(text, {.variables = kVariables});
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed->program.Evaluate(kOperands), 1);
}

TEST(HostileExpression, IsRefusedWhateverItIs) {
  for (const char* const open : {"(", "abs(", "-", "1^", "1?", "max(1,", "'", "((((-"}) {
    EXPECT_EQ(Parse(Repeated(open, 10'000)).code(), ZR3_ERR_INVALID_EXPRESSION) << open;
    const std::string fits = Repeated(open, 600).substr(0, 511);
    EXPECT_EQ(Parse(fits).code(), ZR3_ERR_INVALID_EXPRESSION) << open;
  }
}

}  // namespace
}  // namespace zervane
