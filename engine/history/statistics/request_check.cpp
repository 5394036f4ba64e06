#include "engine/history/statistics/request_check.h"

#include <spdlog/fmt/fmt.h>

#include <cmath>
#include <string>
#include <utility>

#include "api/words/samples.h"
#include "engine/history/statistics/statistic_traits.h"

namespace zervane {
namespace {

Status InvalidArgument(std::string what) { return {ZR3_ERR_INVALID_ARGUMENT, std::move(what)}; }

bool IsTime(std::int64_t time_ms) { return time_ms >= 0 && time_ms <= kMaxTimeMs; }

std::string TextOf(const TimeRegion& region) {
  return fmt::format("region {}{}, {}{}", region.is_left_closed ? '[' : '(', region.left_ms,
                     region.right_ms, region.is_right_closed ? ']' : ')');
}

Status CheckEnumerations(const StatisticRequest& request) {
  if (!IsStatisticType(static_cast<std::int64_t>(request.type))) {
    return InvalidArgument(fmt::format("statistic type {}", static_cast<unsigned>(request.type)));
  }
  if (request.source > SampleSource::kPrevious) {
    return InvalidArgument(fmt::format("sample type {}", static_cast<unsigned>(request.source)));
  }
  if (request.filter_failure > FilterFailure::kKeep) {
    return InvalidArgument(
        fmt::format("filter fail mode {}", static_cast<unsigned>(request.filter_failure)));
  }
  return {};
}

Status CheckRegion(const TimeRegion& region) {
  if (!IsTime(region.left_ms) || !IsTime(region.right_ms)) {
    return {ZR3_ERR_INVALID_TIME, TextOf(region)};
  }
  const bool is_instant = region.left_ms == region.right_ms;
  const bool has_any = is_instant ? region.is_left_closed && region.is_right_closed
                                  : region.left_ms < region.right_ms;
  return has_any ? Status() : Status(ZR3_ERR_INVALID_REGION, TextOf(region));
}

// Regions may touch, but have no instant in common.
Status CheckRegions(const StatisticRequest& request) {
  if (request.regions.empty()) return {ZR3_ERR_INVALID_REGION, "no region"};
  const TimeRegion* before = nullptr;
  for (const TimeRegion& region : request.regions) {
    if (Status status = CheckRegion(region); !status.ok()) return status;
    const bool comes_behind =
        before == nullptr || before->right_ms < region.left_ms ||
        (before->right_ms == region.left_ms && !(before->is_right_closed && region.is_left_closed));
    if (!comes_behind) {
      return {ZR3_ERR_INVALID_REGION, TextOf(region) + " is not behind " + TextOf(*before)};
    }
    before = &region;
  }
  return {};
}

Status CheckParameters(const StatisticRequest& request, StatisticTraits::Parameters parameters) {
  using Parameters = StatisticTraits::Parameters;
  const double first = request.parameter_1;
  const double second = request.parameter_2;
  if (parameters != Parameters::kNone && std::isnan(first)) {
    return InvalidArgument(fmt::format("first parameter {}", first));
  }
  if (parameters != Parameters::kRange) return {};
  if (std::isnan(second)) return InvalidArgument(fmt::format("second parameter {}", second));
  if (first <= second) return {};
  return InvalidArgument(fmt::format("the range from {} to {}", first, second));
}

Status CheckSamples(const StatisticRequest& request) {
  if (request.source == SampleSource::kRecords) return {};
  if (request.period_s < 1) return InvalidArgument(fmt::format("period {} s", request.period_s));
  if (request.offset_s < 0) return InvalidArgument(fmt::format("offset {} s", request.offset_s));
  std::int64_t samples = 0;
  for (const TimeRegion& region : request.regions) samples += GridOf(request, region).count;
  if (samples <= kMaxSamples) return {};
  return InvalidArgument(fmt::format("{} samples, of {} at the most", samples, kMaxSamples));
}

}  // namespace

Status CheckRequest(const StatisticRequest& request, TagType type) {
  if (Status status = CheckEnumerations(request); !status.ok()) return status;
  const StatisticTraits& traits = TraitsOf(request.type);
  if (!(request.least_percent_good >= 0 && request.least_percent_good <= 100)) {
    return InvalidArgument(fmt::format("a share of {} %", request.least_percent_good));
  }
  if (Status status = CheckParameters(request, traits.parameters); !status.ok()) return status;
  if (Status status = CheckRegions(request); !status.ok()) return status;
  if (Status status = CheckSamples(request); !status.ok()) return status;
  if (!IsText(type) || traits.takes_texts) return {};
  return {ZR3_ERR_TYPE_MISMATCH, "this statistic of a text"};
}

SampleGrid GridOf(const StatisticRequest& request, const TimeRegion& region) {
  SampleGrid grid = {.first_ms = region.left_ms + std::int64_t{request.offset_s} * 1000,
                     .period_ms = std::int64_t{request.period_s} * 1000};
  const std::int64_t last_ms = region.is_right_closed ? region.right_ms : region.right_ms - 1;
  if (grid.first_ms <= last_ms) grid.count = (last_ms - grid.first_ms) / grid.period_ms + 1;
  return grid;
}

}  // namespace zervane
