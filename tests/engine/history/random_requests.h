#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "api/words/samples.h"
#include "api/words/statistics.h"
#include "tests/engine/history/oracle.h"
#include "tests/engine/history/random_series.h"

namespace zervane {

// A filter, and what it says of a record.
struct FilterCase {
  const char* text;
  oracle::Filter filter;
};

inline const FilterCase kFilters[] = {
    {"", {}},
    {"value > 1",
     [](double value, double, double) {
       return std::isnan(value) ? value : static_cast<double>(value > 1);
     }},
    {"quality >= 193", [](double, double quality, double) { return quality >= 193 ? 1.0 : 0.0; }},
    {"time - 20", [](double, double, double time) { return time - 20; }},
    {"1 / value", [](double value, double, double) { return 1 / value; }},
};

// Draws requests for statistics, too.
class RequestDrawer : public SeriesDrawer {
 public:
  using SeriesDrawer::SeriesDrawer;

  const FilterCase& Filter() { return kFilters[OneIn(2) ? 0 : Draw(1, 4)]; }

  StatisticRequest Request(const std::vector<Sample>& records, TagType type) {
    StatisticRequest request;
    do {
      request.type = static_cast<StatisticType>(Draw(0, 25));
    } while (IsText(type) && !SuitsTexts(request.type));
    request.regions = Regions(records);
    if (OneIn(4)) request.least_percent_good = static_cast<float>(Draw(0, 100));
    if (OneIn(3)) request.source = static_cast<SampleSource>(Draw(1, 2));
    request.uses_bad_values = OneIn(4);
    request.filter_failure = static_cast<FilterFailure>(Draw(0, 1));
    request.parameter_1 = static_cast<double>(Draw(-8, 8)) / 8;
    // Not where a value on a line may lie just beside it.
    if (request.source == SampleSource::kLinear) request.parameter_1 += 0.0123;
    request.parameter_2 = request.parameter_1 + static_cast<double>(Draw(0, 12)) / 8;
    request.offset_s = static_cast<std::int32_t>(OneIn(2) ? 0 : Draw(0, 9));
    request.period_s = static_cast<std::int32_t>(Draw(1, 7));
    return request;
  }

  std::vector<TimeRegion> Regions(const std::vector<Sample>& records) {
    std::vector<std::int64_t> ends;
    for (auto count = 2 * Draw(1, OneIn(3) ? 6 : 2); count > 0; --count) {
      ends.push_back(TimeNear(records));
    }
    std::sort(ends.begin(), ends.end());
    std::vector<TimeRegion> regions;
    for (std::size_t at = 0; at + 1 < ends.size(); at += OneIn(3) ? 1 : 2) {
      TimeRegion region{ends[at], ends[at + 1], !OneIn(3), OneIn(2)};
      const bool touches = !regions.empty() && regions.back().right_ms == region.left_ms;
      if (touches && regions.back().is_right_closed) region.is_left_closed = false;
      const bool is_instant = region.left_ms == region.right_ms;
      if (is_instant) region.is_right_closed = true;
      if (!is_instant || region.is_left_closed) regions.push_back(region);
    }
    if (regions.empty()) regions.push_back({ends[0], ends[0] + Draw(1, 9000), true, false});
    return regions;
  }

 private:
  static bool SuitsTexts(StatisticType type) {
    return type == StatisticType::kCount || type == StatisticType::kCountOfChanges ||
           type == StatisticType::kPercentGood || type == StatisticType::kTimeDuration;
  }
};

inline std::string Describe(const StatisticRequest& request) {
  std::string text =
      "type " + std::to_string(static_cast<int>(request.type)) + ", source " +
      std::to_string(static_cast<int>(request.source)) + ", bad " +
      std::to_string(request.uses_bad_values) + ", filter '" + request.filter + "', failure " +
      std::to_string(static_cast<int>(request.filter_failure)) + ", p " +
      std::to_string(request.parameter_1) + " " + std::to_string(request.parameter_2) + ", grid " +
      std::to_string(request.offset_s) + " " + std::to_string(request.period_s) + ", regions";
  for (const TimeRegion& region : request.regions) {
    text += std::string(region.is_left_closed ? " [" : " (") + std::to_string(region.left_ms) +
            "," + std::to_string(region.right_ms) + (region.is_right_closed ? "]" : ")");
  }
  return text;
}

// Sums of floating-point numbers are rounded in another order; the rest is what it is.
inline bool IsRounded(StatisticType type) {
  return type == StatisticType::kSum || type == StatisticType::kArithmeticMean ||
         type == StatisticType::kTimeWeightedMean || type == StatisticType::kIntegral ||
         type == StatisticType::kStandardDeviation || type == StatisticType::kPercentGood;
}

// The rounding of a sum is that of its terms, which may be far greater than it.
inline double RoundingOf(const std::vector<Sample>& records, const StatisticRequest& request) {
  const bool has_lines = request.source == SampleSource::kLinear;
  if (!IsRounded(request.type) && !has_lines) return 0;
  const bool is_total =
      request.type == StatisticType::kSum || request.type == StatisticType::kIntegral;
  return 1e-12 * GreatestOf(records) * (is_total ? 1000 : 1);
}

// Beyond the range of doubles all are alike.
inline bool IsNear(double value, double expected, double rounding) {
  return value == expected || std::abs(value - expected) <= rounding;
}

}  // namespace zervane
