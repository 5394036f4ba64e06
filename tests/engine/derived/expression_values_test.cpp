// What expressions are worth: precedence, from which side, functions, and what NaN does.

#include <gtest/gtest.h>

#include <limits>
#include <numbers>
#include <string>

#include "engine/derived/expression/parser.h"
#include "tests/engine/derived/reference_evaluator.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Of an expression that may name `x`, which is 3, and `unknown`, which is NaN.
double ValueOf(std::string_view text) {
  static constexpr std::string_view kVariables[] = {"x", "unknown"};
  static constexpr double kOperands[] = {3, kNaN};
  const Result<ParsedExpression> parsed = ParseExpression(text, {.variables = kVariables});
  EXPECT_TRUE(parsed.ok()) << text << ": " << parsed.status().message();
  return parsed.ok() ? parsed->program.Evaluate(kOperands) : -12345;
}

struct ValueCase {
  const char* name;
  const char* text;
  double value;
};

class ExpressionValue : public testing::TestWithParam<ValueCase> {};

TEST_P(ExpressionValue, IsAsTheTableSays) {
  const double value = ValueOf(GetParam().text);
  EXPECT_TRUE(IsSameNumber(value, GetParam().value))
      << GetParam().text << " is " << value << ", not " << GetParam().value;
}

INSTANTIATE_TEST_SUITE_P(
    Of, ExpressionValue,
    testing::Values(
        // Operands.
        ValueCase{"AWholeNumber", "12", 12}, ValueCase{"ADecimalNumber", "12.25", 12.25},
        ValueCase{"ANumberThatEndsWithAPoint", "12.", 12}, ValueCase{"AFraction", ".25", 0.25},
        ValueCase{"AnExponent", "1.5e3", 1500}, ValueCase{"ANegativeExponent", "25E-2", 0.25},
        ValueCase{"APositiveExponent", "25e+2", 2500},
        ValueCase{"TheGreatestNumber", "1.7976931348623157e308", 1.7976931348623157e308},
        ValueCase{"TheLeastNumber", "4.9e-324", 4.9e-324},
        ValueCase{"TheNearestNumber", "0.1", 0.1}, ValueCase{"ZeroToAnyPower", "0e999", 0},
        ValueCase{"LeadingZeros", "007", 7}, ValueCase{"Pi", "_pi", std::numbers::pi},
        ValueCase{"Euler", "_e", std::numbers::e}, ValueCase{"AVariable", "x", 3},
        // From the loosest: ?:, ||, &&, comparisons, + -, * /, signs, ^.
        ValueCase{"ChoiceIsLooserThanOr", "0 ? 5 : 0 || 1", 1},
        ValueCase{"ChoiceFromTheRight", "1 ? 2 : 0 ? 3 : 4", 2},
        ValueCase{"ChoiceFromTheRightElse", "0 ? 2 : 0 ? 3 : 4", 4},
        ValueCase{"AChoiceInAChoice", "1 ? 0 ? 2 : 3 : 4", 3},
        ValueCase{"TheConditionIsNoChoice", "0 || 1 ? 2 : 3", 2},
        ValueCase{"OrIsLooserThanAnd", "1 || 1 && 0", 1},
        ValueCase{"AndIsLooserThanComparisons", "1 && 2 == 2", 1},
        ValueCase{"ComparisonsAreLooserThanSums", "1 + 1 == 2", 1},
        ValueCase{"ComparisonsFromTheLeft", "3 > 2 > 1", 0},
        ValueCase{"EqualityIsAsTightAsOrder", "1 == 2 < 3", 1},
        ValueCase{"SumsAreLooserThanProducts", "2 + 3 * 4", 14},
        ValueCase{"DifferencesFromTheLeft", "10 - 4 - 3", 3},
        ValueCase{"QuotientsFromTheLeft", "100 / 10 / 5", 2},
        ValueCase{"ProductsAndQuotientsFromTheLeft", "8 / 4 * 2", 4},
        ValueCase{"SignsAreTighterThanProducts", "2 * -3", -6},
        ValueCase{"SignsAreLooserThanPowers", "-2^2", -4},
        ValueCase{"ASignOfABracket", "(-2)^2", 4}, ValueCase{"PowersFromTheRight", "2^3^2", 512},
        ValueCase{"ASignOfAnExponent", "2^-1", 0.5},
        ValueCase{"ASignOfAPowerInAnExponent", "2^-1^2", 0.5}, ValueCase{"ManySigns", "- -+-3", -3},
        ValueCase{"ADifferenceOfANegative", "1--1", 2}, ValueCase{"Brackets", "(2 + 3) * 4", 20},
        ValueCase{"BracketsInBrackets", "((((7))))", 7},
        // Truth.
        ValueCase{"Equal", "2 == 2", 1}, ValueCase{"NotEqual", "2 != 2", 0},
        ValueCase{"LessNot", "2 < 2", 0}, ValueCase{"Less", "1 < 2", 1},
        ValueCase{"LessOrEqual", "2 <= 2", 1}, ValueCase{"LessOrEqualNot", "3 <= 2", 0},
        ValueCase{"GreaterNot", "2 > 2", 0}, ValueCase{"Greater", "3 > 2", 1},
        ValueCase{"GreaterOrEqual", "2 >= 2", 1}, ValueCase{"GreaterOrEqualNot", "1 >= 2", 0},
        ValueCase{"AnythingButZeroIsTrue", "-0.5 && 1e-300", 1},
        ValueCase{"NegativeZeroIsFalse", "-0 || 0", 0},
        ValueCase{"AnInfinityIsTrue", "1/0 && 1", 1}, ValueCase{"OneIsNotEnough", "1 && 0", 0},
        ValueCase{"NoneIsNotEnough", "0 || 0", 0}, ValueCase{"OneIsEnough", "0 || 7", 1},
        ValueCase{"TheZeroesAreEqual", "-0 == 0", 1},
        // The same with operands that are not constant, which programs compute differently.
        ValueCase{"AVariableOnTheLeft", "x - 1", 2}, ValueCase{"AVariableOnTheRight", "1 - x", -2},
        ValueCase{"VariablesOnBothSides", "x - x * x", -6},
        ValueCase{"AVariableAsACondition", "x > 2 ? x < 1 ? 10 : 20 : 30", 20},
        // NaN is neither true nor false.
        ValueCase{"NaNIsNotEqual", "unknown == unknown", kNaN},
        ValueCase{"NaNIsNotUnequal", "unknown != 1", kNaN},
        ValueCase{"NaNIsNotLess", "unknown < 1", kNaN},
        ValueCase{"NaNIsNotGreater", "1 > unknown", kNaN},
        ValueCase{"NaNAndTrue", "unknown && 1", kNaN}, ValueCase{"NaNAndFalse", "unknown && 0", 0},
        ValueCase{"FalseAndNaN", "0 && unknown", 0}, ValueCase{"NaNOrTrue", "unknown || 2", 1},
        ValueCase{"TrueOrNaN", "2 || unknown", 1}, ValueCase{"NaNOrFalse", "unknown || 0", kNaN},
        ValueCase{"FalseOrNaN", "0 || unknown", kNaN},
        ValueCase{"NaNChoosesNothing", "unknown ? 1 : 1", kNaN},
        ValueCase{"NaNInTheBranchNotTaken", "x > 0 ? x : unknown", 3},
        ValueCase{"NaNInTheOtherBranchNotTaken", "x < 0 ? unknown : x", 3},
        ValueCase{"ANegativeRootInTheBranchNotTaken", "x > 5 ? sqrt(x - 5) : 0", 0},
        ValueCase{"NaNInTheBranchTaken", "x > 0 ? unknown : x", kNaN},
        ValueCase{"NaNInASum", "1 + unknown", kNaN}, ValueCase{"NaNTimesZero", "unknown * 0", kNaN},
        ValueCase{"NaNToTheZeroth", "unknown ^ 0", 1}, ValueCase{"OneToTheNaN", "1 ^ unknown", 1},
        ValueCase{"TheLeastOfNaN", "min(1, unknown, 2)", kNaN},
        ValueCase{"TheGreatestOfNaN", "max(unknown, 1)", kNaN},
        ValueCase{"TheMeanOfNaN", "avg(1, unknown)", kNaN},
        ValueCase{"TheSignOfNaN", "sign(unknown)", kNaN},
        // Infinities.
        ValueCase{"DivisionByZero", "1 / 0", kInfinity},
        ValueCase{"DivisionByNegativeZero", "1 / -0", -kInfinity},
        ValueCase{"ZeroByZero", "0 / 0", kNaN}, ValueCase{"Overflow", "1e308 * 10", kInfinity},
        ValueCase{"InfinityCompared", "1 / 0 > 1e308", 1}),
    CaseName());

// Exactly these: values at which functions are exact, and the edges of their domains.
INSTANTIATE_TEST_SUITE_P(
    OfFunctions, ExpressionValue,
    testing::Values(
        ValueCase{"Sin", "sin(0)", 0}, ValueCase{"Cos", "cos(0)", 1}, ValueCase{"Tan", "tan(0)", 0},
        ValueCase{"SinOfInfinity", "sin(1/0)", kNaN}, ValueCase{"Asin", "asin(0)", 0},
        ValueCase{"AsinOutside", "asin(1.01)", kNaN}, ValueCase{"Acos", "acos(1)", 0},
        ValueCase{"AcosOutside", "acos(-1.01)", kNaN}, ValueCase{"Atan", "atan(0)", 0},
        ValueCase{"Atan2OfYAndX", "atan2(0, -1)", std::numbers::pi},
        ValueCase{"Atan2OfNothing", "atan2(0, 0)", 0}, ValueCase{"Sinh", "sinh(0)", 0},
        ValueCase{"Cosh", "cosh(0)", 1}, ValueCase{"Tanh", "tanh(1/0)", 1},
        ValueCase{"Asinh", "asinh(0)", 0}, ValueCase{"Acosh", "acosh(1)", 0},
        ValueCase{"AcoshBelowOne", "acosh(0.99)", kNaN}, ValueCase{"Atanh", "atanh(0)", 0},
        ValueCase{"AtanhOfOne", "atanh(1)", kInfinity},
        ValueCase{"AtanhOutside", "atanh(1.01)", kNaN}, ValueCase{"Exp", "exp(0)", 1},
        ValueCase{"ExpOfMuch", "exp(1000)", kInfinity}, ValueCase{"Ln", "ln(1)", 0},
        ValueCase{"LogIsLn", "log(x) == ln(x)", 1}, ValueCase{"LogOfZero", "log(0)", -kInfinity},
        ValueCase{"LogBelowZero", "log(-1)", kNaN}, ValueCase{"Log2", "log2(8)", 3},
        ValueCase{"Log10", "log10(1000)", 3}, ValueCase{"Sqrt", "sqrt(9)", 3},
        ValueCase{"SqrtBelowZero", "sqrt(-1)", kNaN}, ValueCase{"Cbrt", "cbrt(-8)", -2},
        ValueCase{"Abs", "abs(-2.5)", 2.5}, ValueCase{"SignOfANegative", "sign(-0.1)", -1},
        ValueCase{"SignOfZero", "sign(0)", 0}, ValueCase{"SignOfAPositive", "sign(1/0)", 1},
        ValueCase{"RintToTheEvenOne", "rint(2.5)", 2}, ValueCase{"RintUp", "rint(3.5)", 4},
        ValueCase{"Floor", "floor(-1.5)", -2}, ValueCase{"Ceil", "ceil(-1.5)", -1},
        ValueCase{"Trunc", "trunc(-1.5)", -1}, ValueCase{"PowerOfANegative", "(-8)^(1/3)", kNaN},
        ValueCase{"MinOfOne", "min(5)", 5}, ValueCase{"Min", "min(3, 1, 2)", 1},
        ValueCase{"MaxOfOne", "max(5)", 5}, ValueCase{"Max", "max(3, 1, x, 2)", 3},
        ValueCase{"SumOfOne", "sum(5)", 5}, ValueCase{"Sum", "sum(1, 2, x)", 6},
        ValueCase{"AvgOfOne", "avg(5)", 5}, ValueCase{"Avg", "avg(1, 2, x, 4)", 2.5},
        ValueCase{"ACallInACall", "max(min(1, 2), abs(-x))", 3},
        ValueCase{"AnExpressionAsArgument", "max(0 ? 1 : 2, x > 2 && 1)", 2}),
    CaseName());

// Blanks of every kind may stand between any two tokens, and none need stand anywhere.
TEST(Expression, MayHaveBlanksBetweenAllTokens) {
  const std::string dense = "x>=1&&max(x,-2)!=.5e1||(x?1:0)^2";
  const std::string tokens[] = {"x",    ">=", "1", "&&", "max", "(", "x", ",", "-", "2", ")", "!=",
                                ".5e1", "||", "(", "x",  "?",   "1", ":", "0", ")", "^", "2"};
  std::string wide;
  for (const std::string& token : tokens) wide += " \t\n\v\f\r" + token;
  EXPECT_EQ(ValueOf(dense), 1);
  EXPECT_EQ(ValueOf(wide + " "), 1);
}

}  // namespace
}  // namespace zervane
