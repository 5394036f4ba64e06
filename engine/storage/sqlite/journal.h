#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

#include "api/words/status.h"
#include "engine/storage/codec/bytes.h"
#include "engine/storage/codec/journal_entry.h"
#include "engine/storage/sqlite/sqlite.h"

// The table of commits whose records wait to be brought into chunks, in their order.
namespace zervane::storage {

// Turns what a commit brings into its entry of the journal, in memory that it keeps for the next
// one.
class JournalEncoder {
 public:
  // The entry, as EncodeEntry makes it; until the next call.
  std::string_view Encode(std::span<const TagId> emptied, const RecordBatch& records);

 private:
  ByteWriter entry_;
};

// Adds the entry of a commit, within the caller's transaction.
Status WriteJournal(Connection& connection, std::int64_t commit, std::string_view entry);

// Hands the entries to `take` in their order, each with the number of its commit. An entry that
// does not decode costs only itself: it is logged and moved to the table of damaged payloads, and
// its commit's number is kept.
Status ReplayJournal(Connection& connection, const TextDecoder& decoder,
                     const std::function<void(std::int64_t commit, JournalEntry entry)>& take);

// The number of the last commit that the journal has, or had. ZR3_ERR_STORAGE_DAMAGED when there is
// one that no commit can have.
Result<std::int64_t> LastCommit(Connection& connection);

// Removes the entries up to that of a commit, whose number is kept.
Status ClearJournal(Connection& connection, std::int64_t last_commit);

}  // namespace zervane::storage
