#include "engine/subscriptions/registration.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "tests/engine/records.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint16_t kBad = 0;

struct ChangeCase {
  const char* name;
  Sample before;
  Sample next;
  bool is_in_value;
  bool is_in_quality;
};

Sample With(Value value, TagType type, std::uint16_t quality = ZR3_QUALITY_GOOD) {
  return {.time_ms = 10, .quality = quality, .type = type, .value = std::move(value)};
}

Sample Float64(double value, std::uint16_t quality = ZR3_QUALITY_GOOD) {
  return With(value, TagType::kFloat64, quality);
}

class Change : public testing::TestWithParam<ChangeCase> {};

TEST_P(Change, IsDeliveredToThoseOfItsFieldsAndToThoseOfAny) {
  const auto& [name, before, next, is_in_value, is_in_quality] = GetParam();
  const auto is_wanted = [&](Interests interests) {
    return IsWanted({.interests = interests, .newest = before}, next);
  };
  EXPECT_EQ(is_wanted(kOfValue), is_in_value);
  EXPECT_EQ(is_wanted(kOfQuality), is_in_quality);
  EXPECT_EQ(is_wanted(kOfValue | kOfQuality), is_in_value || is_in_quality);
  EXPECT_TRUE(is_wanted(kOfIdentifier));
  EXPECT_TRUE(is_wanted(kOfAnyField));
  EXPECT_FALSE(is_wanted(0));
}

INSTANTIATE_TEST_SUITE_P(
    Fields, Change,
    testing::Values(ChangeCase{"OfNothing", Float64(1), Float64(1), false, false},
                    ChangeCase{"OfTheTimeAlone", NumberAt(1, 5), NumberAt(2, 5), false, false},
                    ChangeCase{"OfTheValue", Float64(1), Float64(2), true, false},
                    ChangeCase{"OfTheQuality", Float64(1), Float64(1, kBad), false, true},
                    ChangeCase{"OfBoth", Float64(1), Float64(2, kBad), true, true},
                    ChangeCase{"NanAfterNan", Float64(kNan), Float64(kNan), false, false},
                    ChangeCase{"NanAfterNumber", Float64(1), Float64(kNan), true, false},
                    ChangeCase{"NumberAfterNan", Float64(kNan), Float64(1), true, false},
                    ChangeCase{"ZeroOfAnotherSign", Float64(0.0), Float64(-0.0), false, false},
                    ChangeCase{"NanAfterNanOfFloat32",
                               With(std::numeric_limits<float>::quiet_NaN(), TagType::kFloat32),
                               With(std::numeric_limits<float>::quiet_NaN(), TagType::kFloat32),
                               false, false},
                    ChangeCase{"SameText", TextAt(1, "a"), TextAt(2, "a"), false, false},
                    ChangeCase{"OtherText", TextAt(1, "a"), TextAt(1, "b"), true, false},
                    ChangeCase{"OtherInteger", With(std::int32_t{1}, TagType::kInt32),
                               With(std::int32_t{2}, TagType::kInt32), true, false}),
    CaseName());

TEST(Registration, TheFirstValueOfATagIsAChangeInEveryField) {
  for (const Interests interests : {kOfIdentifier, kOfAnyField, kOfValue, kOfQuality}) {
    EXPECT_TRUE(IsWanted({.interests = interests, .newest = {}}, Float64(kNan)));
  }
}

}  // namespace
}  // namespace zervane
