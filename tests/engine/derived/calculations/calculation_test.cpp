#include "engine/derived/calculations/calculation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zervane {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Tag TagWith(const std::string& expression, TagType type = TagType::kFloat64) {
  Tag tag;
  tag.name = "calculated";
  tag.id = 7;
  tag.type = static_cast<std::int32_t>(type);
  tag.tag_class = ZR3_TAG_CLASS_CALC;
  CalculationProperties properties;
  properties.calc_expr = expression;
  tag.own = properties;
  return tag;
}

TEST(CalculationTest, ReadsTheTagsItsExpressionNamesEachOnce) {
  const auto made = MakeCalculation(TagWith("'b' + 'a' * 'B' - 'c'"), {9, 11, 12, 13});
  ASSERT_TRUE(made.ok()) << made.status().message();
  EXPECT_EQ(made->operands, (std::vector<TagId>{11, 12, 11, 13}));
  EXPECT_EQ(made->source, 9U);
}

TEST(CalculationTest, AResultIsRoundedToTheTypeHalvesAwayFromZero) {
  struct Case {
    TagType type;
    double number;
    std::optional<Value> value;
  };
  const Case cases[] = {
      {TagType::kInt32, 2.5, Value(3)},
      {TagType::kInt32, -2.5, Value(-3)},
      {TagType::kInt32, 2.4999, Value(2)},
      {TagType::kInt8, 127.4, Value(127)},
      {TagType::kInt8, 127.5, std::nullopt},
      {TagType::kInt8, -128.5, std::nullopt},
      {TagType::kInt16, 32767.4, Value(32767)},
      {TagType::kInt16, 32767.5, std::nullopt},
      {TagType::kInt32, 2147483647.4, Value(2147483647)},
      {TagType::kInt32, 2147483647.5, std::nullopt},
      {TagType::kInt32, 1e300, std::nullopt},
      {TagType::kFloat32, 0.1, Value(0.1F)},
      {TagType::kFloat32, 1e39, std::nullopt},
      {TagType::kFloat64, 1e39, Value(1e39)},
      {TagType::kFloat64, kNaN, std::nullopt},
      {TagType::kFloat64, std::numeric_limits<double>::infinity(), std::nullopt},
      {TagType::kString, 1, std::nullopt},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(RoundedTo(c.type, c.number), c.value)
        << c.number << " as type " << static_cast<int>(c.type);
  }
}

TEST(CalculationTest, ABadOperandOrResultRepeatsThePreviousValueAsBad) {
  const auto quotient = MakeCalculation(TagWith("'a' / 'b'"), {0, 1, 2});
  ASSERT_TRUE(quotient.ok());
  const auto compute = [&](std::vector<double> operands, std::optional<Value> previous) {
    return ComputeRecord(*quotient, operands, 5000, previous);
  };
  const Sample good = {
      .time_ms = 5000, .quality = 192, .type = TagType::kFloat64, .value = Value(2.5)};
  EXPECT_EQ(compute({5, 2}, Value(1.0)), good);
  Sample bad = {.time_ms = 5000, .quality = 0, .type = TagType::kFloat64, .value = Value(1.0)};
  EXPECT_EQ(compute({5, 0}, Value(1.0)), bad);
  EXPECT_EQ(compute({kNaN, 2}, Value(1.0)), bad);
  bad.value = Value(0.0);
  EXPECT_EQ(compute({5, 0}, std::nullopt), bad);
}

// A choice does not look at what is not chosen; a calculation does.
TEST(CalculationTest, ABadOperandMakesEveryResultBad) {
  const auto choice = MakeCalculation(TagWith("'a' > 0 ? 'a' : 'b'"), {0, 1, 2});
  ASSERT_TRUE(choice.ok());
  const std::vector<double> operands = {1, kNaN};
  EXPECT_EQ(ComputeRecord(*choice, operands, 1, std::nullopt).quality, 0);
}

TEST(CalculationTest, AnOperandIsKnownWhenItsRecordIsAGoodFiniteNumber) {
  const auto operand = [](TagType type, std::uint16_t quality, Value value) {
    return OperandOf({.time_ms = 1, .quality = quality, .type = type, .value = std::move(value)});
  };
  EXPECT_EQ(operand(TagType::kDigital, 192, Value(3)), 3);
  EXPECT_EQ(operand(TagType::kInt32, 200, Value(-3)), -3);
  EXPECT_EQ(operand(TagType::kFloat32, 192, Value(0.5F)), 0.5);
  EXPECT_TRUE(std::isnan(operand(TagType::kFloat64, 88, Value(1.0))));
  EXPECT_TRUE(std::isnan(operand(TagType::kFloat64, 0, Value(1.0))));
  EXPECT_TRUE(std::isnan(operand(TagType::kFloat64, 192, Value(HUGE_VAL))));
  EXPECT_TRUE(std::isnan(operand(TagType::kString, 192, Value(std::string("1")))));
}

TEST(CalculationTest, PropertiesThatMeanNothingAreRefused) {
  const auto code_of = [](const std::function<void(CalculationProperties&)>& change,
                          TagType type = TagType::kFloat64) {
    Tag tag = TagWith("1", type);
    change(std::get<CalculationProperties>(tag.own));
    return MakeCalculation(tag, {}).code();
  };
  EXPECT_EQ(code_of([](auto&) {}), ZR3_OK);
  EXPECT_EQ(code_of([](auto&) {}, TagType::kString), ZR3_ERR_INVALID_TAG_TYPE);
  EXPECT_EQ(code_of([](auto&) {}, TagType::kBlob), ZR3_ERR_INVALID_TAG_TYPE);
  EXPECT_EQ(code_of([](auto& p) { p.calc_expr = ""; }), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_EQ(code_of([](auto& p) { p.calc_expr = "value"; }), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_EQ(code_of([](auto& p) { p.calc_period = 0; }), ZR3_ERR_INVALID_PROPERTY);
  EXPECT_EQ(code_of([](auto& p) {
              p.calc_period = 0;
              p.calc_mode = ZR3_CALC_MODE_NOTIFY;
            }),
            ZR3_OK);
  const auto with_dates = [](std::int32_t start, std::int32_t end, bool has_end) {
    return [=](CalculationProperties& p) {
      p.calc_history = true;
      p.calc_start_date = start;
      p.calc_end_date = end;
      p.have_end_time = has_end;
    };
  };
  EXPECT_EQ(code_of(with_dates(5, 4, true)), ZR3_ERR_INVALID_PROPERTY);
  EXPECT_EQ(code_of(with_dates(5, 5, true)), ZR3_OK);
  EXPECT_EQ(code_of(with_dates(5, 4, false)), ZR3_OK);
  EXPECT_EQ(code_of(with_dates(5, -1, true)), ZR3_OK);  // in 2106
}

}  // namespace
}  // namespace zervane
