#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "engine/status.h"
#include "engine/storage/sqlite.h"
#include "engine/storage/store.h"

// The table of accepted batches that wait to be brought into chunks, in their order.
namespace zervane::storage {

// The records, which are valid, as the rows of the journal that hold them.
std::vector<std::string> EncodeForJournal(std::span<const AcceptedSample> records);

// Adds the rows, at least one, within the caller's transaction. Answers the last one's sequence
// number.
Result<std::int64_t> WriteJournal(Connection& connection, std::span<const std::string> rows);

// Hands the batches to `take` in their order, each with its sequence number. A batch that does not
// decode costs only itself: it is logged and moved to the table of damaged payloads.
Status ReplayJournal(Connection& connection,
                     const std::function<void(std::int64_t, std::vector<AcceptedSample>)>& take);

// Removes the batches up to a sequence number.
Status ClearJournal(Connection& connection, std::int64_t last_seq);

}  // namespace zervane::storage
