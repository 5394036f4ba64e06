#pragma once

#include <functional>

#include "api/operations/history.h"
#include "api/words/status.h"
#include "engine/history/points.h"

namespace zervane {

// The points of a tag, or why they cannot be read.
using PointsReader = std::function<Result<TagPoints>(TagId)>;

// The value of tag i at instant i. The instants of one tag are answered in one pass. What keeps a
// tag from being read is the code of its instants; only a database that is closed fails them all.
// REQUIRES one tag for each instant.
Result<Interpolated> InterpolateMany(const InterpolateTags& request, const PointsReader& read);

}  // namespace zervane
