#pragma once

#include "api/words/statistics.h"
#include "api/words/status.h"
#include "engine/history/points.h"
#include "engine/history/statistics/point_block.h"
#include "engine/history/statistics/tally.h"

namespace zervane {

// Adds up the samples of a request's regions, which are taken by interpolation: each holds to the
// next one, the last one to the region's end, and nothing comes before the first. In one pass, and
// without keeping them. The status of the store.
//
// REQUIRES a request for samples. `judge` and `tally` are new; values hold.
Status TallySamples(const TagPoints& points, const StatisticRequest& request, RecordJudge& judge,
                    Tally& tally);

}  // namespace zervane
