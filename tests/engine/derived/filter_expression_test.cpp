#include "engine/derived/expression/filter_expression.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zervane {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

FilterExpression Filter(std::string_view text) {
  Result<FilterExpression> filter = FilterExpression::Parse(text);
  EXPECT_TRUE(filter.ok()) << text << ": " << filter.status().message();
  return filter.ok() ? *std::move(filter) : *FilterExpression::Parse("0");
}

TEST(FilterExpression, SaysOfARecordWhetherItPasses) {
  const FilterExpression filter = Filter("value > 50 && quality >= 192");
  EXPECT_EQ(filter.Evaluate(50.5, 192, 0), 1);
  EXPECT_EQ(filter.Evaluate(50, 192, 0), 0);
  EXPECT_EQ(filter.Evaluate(50.5, 191, 0), 0);
}

TEST(FilterExpression, KnowsValueQualityAndTime) {
  const FilterExpression filter = Filter("value * 10000 + quality * 100 + time");
  EXPECT_EQ(filter.Evaluate(7, 8, 9), 70809);
}

TEST(FilterExpression, HasNoAnswerWhereTheValueIsUnknown) {
  EXPECT_TRUE(std::isnan(Filter("value > 50").Evaluate(kNaN, 192, 0)));
  EXPECT_TRUE(std::isnan(Filter("value != value").Evaluate(kNaN, 192, 0)));
}

TEST(FilterExpression, HasAnAnswerWhereTheValueDoesNotMatter) {
  const FilterExpression filter = Filter("quality < 192 && value > 50");
  EXPECT_EQ(filter.Evaluate(kNaN, 192, 0), 0);
}

TEST(FilterExpression, NamesNoTags) {
  const Result<FilterExpression> filter = FilterExpression::Parse("value > 'FIC101.PV'");
  EXPECT_EQ(filter.code(), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_EQ(filter.status().message(), "column 9: a tag cannot be named here");
}

TEST(FilterExpression, IsNotEmpty) {
  for (const std::string_view text : {"", " ", "\t\r\n "}) {
    const Result<FilterExpression> filter = FilterExpression::Parse(text);
    EXPECT_EQ(filter.code(), ZR3_ERR_INVALID_EXPRESSION);
  }
}

}  // namespace
}  // namespace zervane
