#pragma once

#include <cstdint>

#include "api/words/statistics.h"
#include "api/words/status.h"
#include "api/words/value.h"

namespace zervane {

// So many samples a statistic may be made of.
constexpr std::int64_t kMaxSamples = 10'000'000;

// Whether such a statistic of a tag of the type can be calculated, but for the filter, which is
// parsed by itself. ZR3_ERR_INVALID_ARGUMENT, ZR3_ERR_INVALID_REGION, ZR3_ERR_INVALID_TIME,
// ZR3_ERR_TYPE_MISMATCH.
Status CheckRequest(const StatisticRequest& request, TagType type);

// The instants at which a region has samples, whatever time it is: the first one, and how many. The
// one at its right end counts where that is closed. REQUIRES a period of 1 and up.
struct SampleGrid {
  std::int64_t first_ms = 0;
  std::int64_t period_ms = 1;
  std::int64_t count = 0;
};
SampleGrid GridOf(const StatisticRequest& request, const TimeRegion& region);

}  // namespace zervane
