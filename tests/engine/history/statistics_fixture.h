#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include "engine/history/statistics/calculate.h"
#include "tests/engine/history/history_fixture.h"

// What the suites of statistics share.
namespace zervane {

using Type = StatisticType;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kNone = kNan;  // of a statistic: there is nothing to calculate it from
constexpr std::int64_t kNowMs = 100'000;

inline Sample At(int second, double value, std::uint16_t quality = kGood) {
  return FloatAt(1000LL * second, value, quality);
}

inline TimeRegion From(int left_s, int right_s, bool is_left_closed = true,
                       bool is_right_closed = false) {
  return {1000LL * left_s, 1000LL * right_s, is_left_closed, is_right_closed};
}

// Of regions, with 2 and 4 as parameters.
inline StatisticRequest Of(std::vector<TimeRegion> regions) {
  StatisticRequest request;
  request.regions = std::move(regions);
  request.parameter_1 = 2;
  request.parameter_2 = 4;
  return request;
}

inline StatisticRequest With(StatisticRequest request,
                             const std::function<void(StatisticRequest&)>& set) {
  set(request);
  return request;
}

inline Result<double> Calculate(const std::vector<Sample>& records, const StatisticRequest& request,
                                const RunShape& shape = {}, TagType type = TagType::kFloat64) {
  RunStore store(shape);
  store.Put(1, records);
  CurrentValues values;
  if (!records.empty()) PutCurrent(values, 1, records.back());
  return CalculateStatisticOf(PointsIn(store, type, kNowMs, values, shape.unarchived > 0), request);
}

}  // namespace zervane
