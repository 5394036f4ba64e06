#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "api/fields.h"
#include "zr3Enum.h"

// What is asked when a statistic of a tag is to be calculated. docs/statistics.md has the formulas.
namespace zervane {

enum class StatisticType : std::uint8_t {
  kMax = ZR3_STATS_TYPE_MAX,
  kMin = ZR3_STATS_TYPE_MIN,
  kSum = ZR3_STATS_TYPE_SUM,
  kLast = ZR3_STATS_TYPE_LAST,
  kPercentGood = ZR3_STATS_TYPE_PCT_GOOD,
  kArithmeticMean = ZR3_STATS_TYPE_ARITH_MEAN,
  kTimeWeightedMean = ZR3_STATS_TYPE_TIME_WEIGHTED_MEAN,
  kIntegral = ZR3_STATS_TYPE_INTEGRAL,
  kCountOfChanges = ZR3_STATS_TYPE_COUNT_CHG_VALUE,
  kCountOfRises = ZR3_STATS_TYPE_COUNT_CHG_FROM_LESS_TO_GREAT,
  kCountOfFalls = ZR3_STATS_TYPE_COUNT_CHG_FROM_GREAT_TO_LESS,
  kDifference = ZR3_STATS_TYPE_DIFF,
  kCountInRange = ZR3_STATS_TYPE_COUNT_IN_RANGE,
  kCountNotInRange = ZR3_STATS_TYPE_COUNT_NOT_IN_RANGE,
  kRange = ZR3_STATS_TYPE_RANGE,
  kStandardDeviation = ZR3_STATS_TYPE_STANDARD_DEVIATION,
  kTimeGreater = ZR3_STATS_TYPE_TIME_GT,
  kTimeGreaterOrEqual = ZR3_STATS_TYPE_TIME_GE,
  kTimeEqual = ZR3_STATS_TYPE_TIME_EQ,
  kTimeNotEqual = ZR3_STATS_TYPE_TIME_NE,
  kTimeLess = ZR3_STATS_TYPE_TIME_LT,
  kTimeLessOrEqual = ZR3_STATS_TYPE_TIME_LE,
  kTimeInRange = ZR3_STATS_TYPE_TIME_IN_RANGE,
  kTimeNotInRange = ZR3_STATS_TYPE_TIME_NOT_IN_RANGE,
  kCount = ZR3_STATS_TYPE_COUNT,
  kTimeDuration = ZR3_STATS_TYPE_TIME_DURATION,
};
constexpr bool IsStatisticType(std::int64_t number) {
  return number >= ZR3_STATS_TYPE_LIMIT_MIN && number <= ZR3_STATS_TYPE_LIMIT_MAX;
}

enum class InterpolationMode : std::uint8_t {
  kLinear = ZR3_REC_INTERP_QUERY_MODE_LINEAR,
  kPrevious = ZR3_REC_INTERP_QUERY_MODE_PREV,
};

// What a statistic is made of.
enum class SampleSource : std::uint8_t {
  kRecords = ZR3_STATS_SAMPLE_TYPE_RAW,
  kLinear = ZR3_STATS_SAMPLE_TYPE_LINER_INTERP,
  kPrevious = ZR3_STATS_SAMPLE_TYPE_PREV_INTERP,
};

// What becomes of a record for which the filter has no finite value.
enum class FilterFailure : std::uint8_t {
  kDrop = ZR3_STATS_FILTER_FAIL_MODE_FIL,
  kKeep = ZR3_STATS_FILTER_FAIL_MODE_NO_FIL,
};

// From one time to another, each of which is part of it or not.
struct TimeRegion {
  std::int64_t left_ms = 0;
  std::int64_t right_ms = 0;
  bool is_left_closed = false;
  bool is_right_closed = false;

  static auto Fields(auto& self) {
    return FieldList(Field{"left_ms", self.left_ms}, Field{"right_ms", self.right_ms},
                     Field{"is_left_closed", self.is_left_closed},
                     Field{"is_right_closed", self.is_right_closed});
  }
  friend bool operator==(const TimeRegion&, const TimeRegion&) = default;
};

struct StatisticRequest {
  StatisticType type = StatisticType::kMax;
  std::vector<TimeRegion> regions;  // ascending, not overlapping
  float least_percent_good = 0;     // 0: any share
  SampleSource source = SampleSource::kRecords;
  std::string filter;  // an expression, empty for none
  FilterFailure filter_failure = FilterFailure::kDrop;
  double parameter_1 = 0;
  double parameter_2 = 0;
  std::int32_t offset_s = 0;  // of samples that are interpolated: of the first, behind the left end
  std::int32_t period_s = 0;  // likewise: between them
  bool uses_bad_values = false;

  static auto Fields(auto& self) {
    return FieldList(Field{"type", self.type}, Field{"regions", self.regions},
                     Field{"least_percent_good", self.least_percent_good},
                     Field{"source", self.source}, Field{"filter", self.filter},
                     Field{"filter_failure", self.filter_failure},
                     Field{"parameter_1", self.parameter_1}, Field{"parameter_2", self.parameter_2},
                     Field{"offset_s", self.offset_s}, Field{"period_s", self.period_s},
                     Field{"uses_bad_values", self.uses_bad_values});
  }
};

}  // namespace zervane
