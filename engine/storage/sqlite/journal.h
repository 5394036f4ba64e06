#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "api/words/status.h"
#include "engine/storage/codec/bytes.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/store.h"

// The table of accepted batches that wait to be brought into chunks, in their order.
namespace zervane::storage {

// Turns records into rows of the journal, in memory that it keeps for the next ones.
class JournalEncoder {
 public:
  // The rows that hold the records, which are valid; until the next call.
  std::span<const std::string_view> Encode(std::span<const AcceptedSample> records);

 private:
  std::vector<ByteWriter> blocks_;
  std::vector<std::string_view> rows_;
};

// Adds the rows, at least one, within the caller's transaction. Answers the last one's sequence
// number.
Result<std::int64_t> WriteJournal(Connection& connection, std::span<const std::string_view> rows);

// Hands the batches to `take` in their order, each with its sequence number. A batch that does not
// decode costs only itself: it is logged and moved to the table of damaged payloads.
Status ReplayJournal(Connection& connection,
                     const std::function<void(std::int64_t, std::vector<AcceptedSample>)>& take);

// Removes the batches up to a sequence number.
Status ClearJournal(Connection& connection, std::int64_t last_seq);

}  // namespace zervane::storage
