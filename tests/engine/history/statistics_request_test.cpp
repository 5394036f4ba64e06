#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "engine/history/statistics/request_check.h"
#include "tests/engine/history/statistics_fixture.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

struct RefusedCase {
  const char* name;
  std::function<void(StatisticRequest&)> set;
  std::int32_t code;
};

class Request : public testing::TestWithParam<RefusedCase> {};

INSTANTIATE_TEST_SUITE_P(
    With, Request,
    testing::Values(
        RefusedCase{"AnUnknownType", [](auto& r) { r.type = static_cast<Type>(26); },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"AnUnknownSampleType", [](auto& r) { r.source = static_cast<SampleSource>(3); },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"AnUnknownFailMode",
                    [](auto& r) { r.filter_failure = static_cast<FilterFailure>(2); },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"AShareBelowZero", [](auto& r) { r.least_percent_good = -1; },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"AShareAbove100", [](auto& r) { r.least_percent_good = 100.5F; },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"AShareThatIsNoNumber",
                    [](auto& r) { r.least_percent_good = static_cast<float>(kNan); },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"NoRegion", [](auto& r) { r.regions.clear(); }, ZR3_ERR_INVALID_REGION},
        RefusedCase{"ARegionThatIsReversed", [](auto& r) { r.regions = {From(20, 10)}; },
                    ZR3_ERR_INVALID_REGION},
        RefusedCase{"AnInstantThatIsOpen", [](auto& r) { r.regions = {From(20, 20)}; },
                    ZR3_ERR_INVALID_REGION},
        RefusedCase{"RegionsThatOverlap",
                    [](auto& r) {
                      r.regions = {From(10, 20), From(19, 30)};
                    },
                    ZR3_ERR_INVALID_REGION},
        RefusedCase{"RegionsThatShareAnInstant",
                    [](auto& r) {
                      r.regions = {From(10, 20, true, true), From(20, 30)};
                    },
                    ZR3_ERR_INVALID_REGION},
        RefusedCase{"RegionsOutOfOrder",
                    [](auto& r) {
                      r.regions = {From(20, 30), From(10, 15)};
                    },
                    ZR3_ERR_INVALID_REGION},
        RefusedCase{"AnEndThatIsNoTime", [](auto& r) { r.regions[0].left_ms = kNoTime; },
                    ZR3_ERR_INVALID_TIME},
        RefusedCase{"AnEndBeyondAllTimes", [](auto& r) { r.regions[0].right_ms = kMaxTimeMs + 1; },
                    ZR3_ERR_INVALID_TIME},
        RefusedCase{"ALimitThatIsNoNumber",
                    [](auto& r) {
                      r.type = Type::kTimeGreater;
                      r.parameter_1 = kNan;
                    },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"ARangeThatIsReversed",
                    [](auto& r) {
                      r.type = Type::kTimeNotInRange;
                      r.parameter_1 = 5;
                    },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"ARangeWhoseEndIsNoNumber",
                    [](auto& r) {
                      r.type = Type::kCountInRange;
                      r.parameter_2 = kNan;
                    },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"SamplesWithoutAPeriod", [](auto& r) { r.source = SampleSource::kLinear; },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"SamplesBeforeTheRegion",
                    [](auto& r) {
                      r.source = SampleSource::kLinear;
                      r.period_s = 1;
                      r.offset_s = -1;
                    },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"TooManySamples",
                    [](auto& r) {
                      r.source = SampleSource::kPrevious;
                      r.period_s = 1;
                      r.regions = {From(0, 10'000'001)};
                    },
                    ZR3_ERR_INVALID_ARGUMENT},
        RefusedCase{"AFilterThatDoesNotParse", [](auto& r) { r.filter = "value >"; },
                    ZR3_ERR_INVALID_EXPRESSION},
        RefusedCase{"AFilterThatNamesAnythingElse", [](auto& r) { r.filter = "pressure > 1"; },
                    ZR3_ERR_INVALID_EXPRESSION}),
    CaseName());

TEST_P(Request, IsRefused) {
  StatisticRequest request = Of({From(0, 60)});
  const std::vector<Sample> records = {At(10, 1)};
  EXPECT_EQ(Calculate(records, request).code(), ZR3_OK);
  GetParam().set(request);
  EXPECT_EQ(Calculate(records, request).code(), GetParam().code);
}

TEST(Request, LooksAtParametersOnlyWhereTheyCount) {
  const std::vector<Sample> records = {At(10, 1)};
  StatisticRequest request = Of({From(0, 60)});
  request.parameter_1 = kNan;
  request.parameter_2 = -HUGE_VAL;
  request.period_s = -5;
  request.offset_s = -5;
  EXPECT_EQ(*Calculate(records, request), 1);
  request.type = Type::kTimeLess;
  request.parameter_1 = 5;
  EXPECT_EQ(*Calculate(records, request), 50);
}

TEST(Request, MayHaveInfiniteLimits) {
  const std::vector<Sample> records = {At(10, 1), At(20, 5)};
  StatisticRequest request = Of({From(0, 60)});
  request.type = Type::kCountInRange;
  request.parameter_2 = HUGE_VAL;
  EXPECT_EQ(*Calculate(records, request), 1);
  request.parameter_1 = -HUGE_VAL;
  EXPECT_EQ(*Calculate(records, request), 2);
  request.type = Type::kTimeGreater;
  EXPECT_EQ(*Calculate(records, request), 50);
}

TEST(Request, MayHaveAsManySamplesAsThereMayBe) {
  StatisticRequest request = Of({From(0, 10'000'000)});
  request.type = Type::kCount;
  request.source = SampleSource::kLinear;
  request.period_s = 1;
  EXPECT_TRUE(CheckRequest(request, TagType::kFloat64).ok());
  request.regions[0].is_right_closed = true;
  EXPECT_EQ(CheckRequest(request, TagType::kFloat64).code(), ZR3_ERR_INVALID_ARGUMENT);
}

}  // namespace
}  // namespace zervane
