#include "engine/history/statistics/calculate.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "engine/derived/expression/filter_expression.h"
#include "engine/history/statistics/point_block.h"
#include "engine/history/statistics/region_walk.h"
#include "engine/history/statistics/request_check.h"
#include "engine/history/statistics/sample_walk.h"
#include "engine/history/statistics/tally.h"

namespace zervane {
namespace {

Result<std::optional<FilterExpression>> FilterOf(const StatisticRequest& request) {
  if (request.filter.empty()) return std::optional<FilterExpression>();
  Result<FilterExpression> filter = FilterExpression::Parse(request.filter);
  if (!filter.ok()) return filter.status();
  return std::optional<FilterExpression>(*std::move(filter));
}

// Of the regions up to now.
std::int64_t LengthOf(const StatisticRequest& request, std::int64_t now_ms) {
  std::int64_t length_ms = 0;
  for (const TimeRegion& region : request.regions) {
    length_ms += std::max<std::int64_t>(0, std::min(region.right_ms, now_ms) - region.left_ms);
  }
  return length_ms;
}

double PercentGood(const Tally& tally, std::int64_t length_ms) {
  if (length_ms == 0) return 0;
  return 100 * static_cast<double>(tally.good_ms()) / static_cast<double>(length_ms);
}

Result<double> ValueOf(const StatisticRequest& request, const Tally& tally,
                       std::int64_t length_ms) {
  const double percent_good = PercentGood(tally, length_ms);
  if (request.type == StatisticType::kPercentGood) return percent_good;
  if (static_cast<float>(percent_good) < request.least_percent_good) {  // as it was given
    return Status(ZR3_ERR_TOO_FEW_GOOD, fmt::format("{} % good, of {} % at least", percent_good,
                                                    request.least_percent_good));
  }
  const std::optional<double> value = tally.Value();
  if (!value) return Status(ZR3_ERR_NO_RECORD, "nothing to calculate the statistic from");
  return *value;
}

}  // namespace

Result<double> CalculateStatisticOf(const TagPoints& points, const StatisticRequest& request) {
  if (Status status = CheckRequest(request, points.type()); !status.ok()) return status;
  const Result<std::optional<FilterExpression>> filter = FilterOf(request);
  if (!filter.ok()) return filter.status();
  const bool has_records = request.source == SampleSource::kRecords;
  const Course course = has_records ? CourseOf(points.type()) : Course::kStep;
  Tally tally(request, NeedsOf(request, course));
  const auto judge =
      std::make_unique<RecordJudge>(request, *filter ? &**filter : nullptr);  // it is large
  Status status = has_records ? TallyRecords(points, request, *judge, tally)
                              : TallySamples(points, request, *judge, tally);
  if (!status.ok()) return status;
  return ValueOf(request, tally, LengthOf(request, points.now_ms()));
}

}  // namespace zervane
