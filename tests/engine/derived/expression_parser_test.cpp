// Which texts are expressions, and what is said of those that are none.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/derived/expression/parser.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

Result<ParsedExpression> Parse(std::string_view text) {
  static constexpr std::string_view kVariables[] = {"value"};
  return ParseExpression(text, {.variables = kVariables, .allows_tags = true});
}

struct ErrorCase {
  const char* name;
  std::string_view text;
  const char* message;
};

class ExpressionError : public testing::TestWithParam<ErrorCase> {};

TEST_P(ExpressionError, NamesItsPlaceAndItsReason) {
  const Result<ParsedExpression> parsed = Parse(GetParam().text);
  ASSERT_FALSE(parsed.ok()) << GetParam().text;
  EXPECT_EQ(parsed.code(), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_EQ(parsed.status().message(), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Of, ExpressionError,
    testing::Values(
        ErrorCase{"Nothing", "", "column 1: expected a value, found the end"},
        ErrorCase{"BlanksAlone", "  ", "column 3: expected a value, found the end"},
        ErrorCase{"NoRightOperand", "value >", "column 8: expected a value, found the end"},
        ErrorCase{"NoLeftOperand", "* 2", "column 1: expected a value, found *"},
        ErrorCase{"TwoOperators", "1 + / 2", "column 5: expected a value, found /"},
        ErrorCase{"TwoOperands", "1 2", "column 3: expected an operator or the end, found 2"},
        ErrorCase{"ANumberBeforeAWord", "2value",
                  "column 2: expected an operator or the end, found v"},
        ErrorCase{"TwoPoints", "1.2.3", "column 4: expected an operator or the end, found ."},
        ErrorCase{"APointAlone", "1 + .", "column 5: expected a value, found ."},
        ErrorCase{"AnExponentWithoutDigits", "2e+",
                  "column 2: expected an operator or the end, found e"},
        ErrorCase{"HexadecimalDigits", "0x10",
                  "column 2: expected an operator or the end, found x"},
        ErrorCase{"TooGreatANumber", "1 + 1e309", "column 5: the number is out of range"},
        ErrorCase{"TooSmallANumber", "1 + 1e-400", "column 5: the number is out of range"},
        ErrorCase{"OneEqualsSign", "value = 1",
                  "column 7: expected an operator or the end, found ="},
        ErrorCase{"OneAmpersand", "1 & 1", "column 3: expected an operator or the end, found &"},
        ErrorCase{"ABlankInAnOperator", "1 > = 1", "column 5: expected a value, found ="},
        ErrorCase{"AnExclamationMark", "!1", "column 1: expected a value, found !"},
        ErrorCase{"APercentSign", "5 % 2", "column 3: expected an operator or the end, found %"},
        ErrorCase{"AnAssignment", "value := 1",
                  "column 7: expected an operator or the end, found :"},
        ErrorCase{"TwoExpressions", "1; 2", "column 2: expected an operator or the end, found ;"},
        ErrorCase{"AnOpenBracket", "(1 + 2",
                  "column 7: expected an operator or ')', found the end"},
        ErrorCase{"AnEmptyBracket", "()", "column 2: expected a value, found )"},
        ErrorCase{"AClosedBracket", "1)", "column 2: expected an operator or the end, found )"},
        ErrorCase{"ACommaInABracket", "(1, 2)", "column 3: expected an operator or ')', found ,"},
        ErrorCase{"AChoiceWithoutAnElse", "1 ? 2",
                  "column 6: expected an operator or ':', found the end"},
        ErrorCase{"AChoiceWithoutAThen", "1 ? : 2", "column 5: expected a value, found :"},
        ErrorCase{"AnUnknownWord", "value > limit", "column 9: the word limit is unknown"},
        ErrorCase{"AWordInUpperCase", "Value > 1", "column 1: the word Value is unknown"},
        ErrorCase{"AnUnknownConstant", "2 * _phi", "column 5: the word _phi is unknown"},
        ErrorCase{"AnUnknownFunction", "1 + wind (2)", "column 5: there is no function wind"},
        ErrorCase{"AVariableThatIsCalled", "value(1)", "column 1: there is no function value"},
        ErrorCase{"AFunctionThatIsNotCalled", "sin + 1", "column 4: expected '(' behind sin"},
        ErrorCase{"ACallWithoutArguments", "sin()", "column 5: expected a value, found )"},
        ErrorCase{"ManyWithoutArguments", "max()", "column 5: expected a value, found )"},
        ErrorCase{"TooManyArguments", "1 + sin(1, 2)", "column 5: sin has one argument"},
        ErrorCase{"TooFewArguments", "atan2(1)", "column 1: atan2 has two arguments"},
        ErrorCase{"ThreeForTwoArguments", "atan2(1, 2, 3)", "column 1: atan2 has two arguments"},
        ErrorCase{"AnOpenCall", "max(1, 2",
                  "column 9: expected an operator, ',' or ')', found the end"},
        ErrorCase{"AnArgumentTooFew", "max(1, )", "column 8: expected a value, found )"},
        ErrorCase{"AnOpenQuote", "value + 'FIC101", "column 9: the quote has no end"},
        ErrorCase{"AQuoteThatIsDoubledAtTheEnd", "'FIC101''", "column 1: the quote has no end"},
        ErrorCase{"AQuoteAlone", "1 + '", "column 5: the quote has no end"},
        ErrorCase{"AnEmptyName", "1 + ''", "column 5: the name of the tag is empty"},
        ErrorCase{"LettersThatAreNotAscii", "1 + \xc3\xa9",
                  "column 5: expected a value, found the byte 0xc3"},
        ErrorCase{"ColumnsAreBytes", "'\xc3\xa9\xc3\xa9' + ?",
                  "column 10: expected a value, found ?"},
        ErrorCase{"AZeroByte", std::string_view("1\0+ 1", 5),
                  "column 2: expected an operator or the end, found the byte 0x00"},
        ErrorCase{"ASecondLine", "1 +\n* 2", "column 5: expected a value, found *"}),
    CaseName());

TEST(ExpressionTags, ComeInTheOrderInWhichTheyAreFirstNamed) {
  const std::string text = "'b' + 'A''s tag' * 'b' - '\xe6\xb8\xa9\xe5\xba\xa6' + value";
  const Result<ParsedExpression> parsed = Parse(text);
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  ASSERT_EQ(parsed->tags, (std::vector<std::string>{"b", "A's tag", "\xe6\xb8\xa9\xe5\xba\xa6"}));
  // The variables' operands go before theirs.
  const double operands[] = {1000, 2, 3, 40};
  EXPECT_EQ(parsed->program.Evaluate(operands), 2 + 3 * 2 - 40 + 1000);
}

TEST(ExpressionTags, AreFoundAgainInTheText) {
  const std::string text = "'b' + 'A''s tag' * 'b'";
  const Result<ParsedExpression> parsed = Parse(text);
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  std::vector<std::pair<std::string, std::size_t>> found;
  for (const TagMention& mention : parsed->mentions) {
    found.emplace_back(text.substr(mention.begin, mention.size), mention.tag);
  }
  EXPECT_EQ(found, (std::vector<std::pair<std::string, std::size_t>>{
                       {"'b'", 0}, {"'A''s tag'", 1}, {"'b'", 0}}));
}

TEST(ExpressionTags, AreNamedOnlyWhereTheyMayBe) {
  const Result<ParsedExpression> parsed = ParseExpression("1 + 'b'", {});
  EXPECT_EQ(parsed.code(), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_EQ(parsed.status().message(), "column 5: a tag cannot be named here");
}

TEST(ExpressionTags, AreNamedInQuotesWithTheirBlanks) {
  const Result<ParsedExpression> parsed = Parse("' a + b '");
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  EXPECT_EQ(parsed->tags, std::vector<std::string>{" a + b "});
}

}  // namespace
}  // namespace zervane
