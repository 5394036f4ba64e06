#pragma once

#include <functional>
#include <span>
#include <vector>

#include "engine/status.h"
#include "engine/storage/sqlite.h"
#include "engine/storage/store.h"

// The table of accepted batches that wait to be brought into chunks, in their order.
namespace zervane::storage {

// Adds the records, which are valid, to the journal. Within the caller's transaction.
Status WriteJournal(Connection& connection, std::span<const AcceptedSample> records);

// Hands the batches to `take` in their order. A batch that does not decode costs only itself: it is
// logged and moved to the table of damaged payloads.
Status ReplayJournal(Connection& connection,
                     const std::function<void(std::vector<AcceptedSample>)>& take);

Status ClearJournal(Connection& connection);

}  // namespace zervane::storage
