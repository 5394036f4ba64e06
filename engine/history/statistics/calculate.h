#pragma once

#include "api/words/statistics.h"
#include "api/words/status.h"
#include "engine/history/points.h"

namespace zervane {

// One statistic of a tag's values; docs/statistics.md has the formulas. ZR3_ERR_INVALID_ARGUMENT,
// ZR3_ERR_INVALID_REGION, ZR3_ERR_INVALID_TIME, ZR3_ERR_TYPE_MISMATCH, ZR3_ERR_INVALID_EXPRESSION;
// ZR3_ERR_TOO_FEW_GOOD when less is good than the request asks for; ZR3_ERR_NO_RECORD when there is
// nothing to calculate it from. The status of the store.
//
// Memory is needed for a chunk, whatever is asked for.
Result<double> CalculateStatisticOf(const TagPoints& points, const StatisticRequest& request);

}  // namespace zervane
