#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/storage/sqlite/sqlite.h"

// Reading a tag's archive: its chunks together with its pending records.
//
// The rule that makes it right beside a writer: a caller copies the pending records first and
// opens the chunks after. A record leaves the pending ones only after the chunks that hold it are
// committed, so it is in the copy, in the chunks, or in both; in both, the copy counts once.
namespace zervane::storage {

// Up to `limit` records of the range in the direction's order; `pending` as Pending::Copy gives
// them for the same arguments.
Result<std::vector<Sample>> ReadArchive(Connection& connection, std::vector<Sample> pending,
                                        TagId tag, TimeRange range, Direction direction,
                                        std::size_t limit);

// How many records the range has; `pending` as Pending::Times gives them. A chunk is decoded only
// where it crosses the range's ends or where pending records fall into it.
Result<std::int64_t> CountArchive(Connection& connection, const std::vector<std::int64_t>& pending,
                                  TagId tag, TimeRange range);

}  // namespace zervane::storage
