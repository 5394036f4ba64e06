#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include "engine/derived/expression/filter_expression.h"

namespace zervane {
namespace {

constexpr std::string_view kIs = "  is ";
constexpr std::string_view kIsRefused = "refused: ";

// `answer`: a number, or "refused: " and the message.
void ExpectAnswer(std::string_view expression, const std::string& answer) {
  SCOPED_TRACE(std::string(expression));
  const Result<FilterExpression> filter = FilterExpression::Parse(expression);
  if (answer.starts_with(kIsRefused)) {
    ASSERT_FALSE(filter.ok());
    EXPECT_EQ(filter.status().message(), answer.substr(kIsRefused.size()));
    return;
  }
  ASSERT_TRUE(filter.ok()) << filter.status().message();
  char* end = nullptr;
  const double expected = std::strtod(answer.c_str(), &end);
  ASSERT_TRUE(end != answer.c_str() && *end == '\0') << answer;
  const double actual = filter->Evaluate(42.5, 192, 1700000000.25);
  EXPECT_TRUE(actual == expected || (std::isnan(actual) && std::isnan(expected)))
      << actual << ", documented as " << answer;
}

// Those behind the heading "Examples", one in a line, blanks behind the expression.
TEST(ExpressionExamples, AreWorthWhatTheirPageSays) {
  std::ifstream page(ZERVANE_EXPRESSIONS_PAGE);
  ASSERT_TRUE(page) << ZERVANE_EXPRESSIONS_PAGE;
  std::string line;
  while (std::getline(page, line) && line != "## Examples") {
  }
  int examples = 0;
  while (std::getline(page, line)) {
    const std::size_t is = line.find(kIs);
    if (is == std::string::npos) continue;
    const std::string expression = line.substr(0, line.find_last_not_of(' ', is) + 1);
    ExpectAnswer(expression, line.substr(is + kIs.size()));
    ++examples;
  }
  EXPECT_GE(examples, 25);
}

}  // namespace
}  // namespace zervane
