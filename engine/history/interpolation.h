#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "api/operations/history.h"
#include "api/words/status.h"
#include "engine/history/points.h"
#include "engine/storage/run_statistics.h"

namespace zervane {

// So many bytes the texts of a reply may have in all.
constexpr std::size_t kMaxReplyTexts = std::size_t{1} << 30;

// The tag's values at instants, in any order, some of them more than once. The status of the store;
// ZR3_ERR_OUT_OF_MEMORY when the texts are too many.
Result<Interpolated> Interpolate(const TagPoints& points, InterpolationMode mode,
                                 std::span<const std::int64_t> times_ms);

// The value on the line between two good records at a time between them, as a tag of the type of a
// number has it: whole numbers rounded, halves away from zero.
double ValueBetween(TagType type, const RunStatistics::Point& from, const RunStatistics::Point& to,
                    std::int64_t time_ms);

// A number as a tag of the type has it in columns. REQUIRES one that the type holds.
std::uint64_t BitsOfNumber(TagType type, double number);

}  // namespace zervane
