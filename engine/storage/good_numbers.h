#pragma once

#include <cstddef>
#include <optional>

#include "api/words/samples.h"
#include "engine/storage/run_statistics.h"

namespace zervane {

// So many records at the most are looked at together.
constexpr std::size_t kPieceRecords = 256;

// The statistics of the records from `begin` to before `end`, 1 to kPieceRecords of one type and
// ascending in time, several at a time: each pass over them does one thing, in a way that the
// processor does to more than one of them at once. None when one of them is not good, is no number,
// or when their sum is beyond the range of doubles; then they have to be taken one by one.
std::optional<RunStatistics> StatisticsOfGoodNumbers(const SampleColumns& samples,
                                                     std::size_t begin, std::size_t end);

}  // namespace zervane
