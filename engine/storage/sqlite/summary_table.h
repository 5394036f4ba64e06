#pragma once

#include <cstdint>
#include <optional>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/storage/codec/summary_codec.h"
#include "engine/storage/sqlite/chunk_table.h"
#include "engine/storage/sqlite/sqlite.h"

// The table of summaries: of chunks, and of groups of chunks.
//
// No answer rests on a summary that is not whole: one that does not decode, or is not that of its
// row or its chunk, counts as none, and so does to a reader all that SQLite reports as corrupt.
namespace zervane::storage {

// Makes the table, and a spare one for when it is damaged.
Status CreateSummaries(Connection& connection);

// Puts an empty table in the place of one that is damaged, in a transaction of the caller's before
// anything else. The damaged one stays in the file by another name, since to delete it would be to
// walk its pages. No part of it is kept, for a group in it may be of chunks that are no more.
//
// The empty one is the spare one: to make a new one can be to move a page of the damaged one out of
// its way. That is tried where the spare one is used up.
Status RenewSummaries(Connection& connection);
// Tells of it, once it is committed.
void LogSummariesRenewed();

// Adds the summary, or puts it in the place of that of its tag, level and first time.
Status PutSummary(Connection& connection, const Summary& summary);
Status DeleteSummary(Connection& connection, TagId tag, SummaryLevel level, std::int64_t first_ms);
Status DeleteSummaries(Connection& connection, TagId tag);

// The group with which the direction begins, of those that lie in the range.
Result<std::optional<Summary>> NextGroup(Connection& connection, TagId tag, TimeRange range,
                                         Direction direction);

// The times of a group, as its row has them.
struct GroupExtent {
  std::int64_t first_ms = 0;
  std::int64_t last_ms = 0;
};

// The last group that starts at or before the time, and the first one that starts after it, whole
// or not: for one who changes what they are of, and must miss none. ZR3_ERR_STORAGE_DAMAGED when
// the row is another than was asked for.
Result<std::optional<GroupExtent>> GroupStartingBy(Connection& connection, TagId tag,
                                                   std::int64_t time_ms);
Result<std::optional<GroupExtent>> GroupStartingAfter(Connection& connection, TagId tag,
                                                      std::int64_t time_ms);

// The summaries of a tag's chunks, for one who visits the chunks of a range in a direction.
class ChunkSummaries {
 public:
  ChunkSummaries(Connection& connection, TagId tag, TimeRange range, Direction direction)
      : connection_(connection), tag_(tag), range_(range), direction_(direction) {}

  // That of the chunk, which comes behind those that were asked for before; null when it has none.
  // Until the next call.
  Result<const RunStatistics*> Find(const ChunkExtent& chunk);

 private:
  void Open(const ChunkExtent& first);
  bool IsBefore(const ChunkExtent& chunk) const;

  Connection& connection_;
  const TagId tag_;
  const TimeRange range_;
  const Direction direction_;
  std::optional<Query> rows_;
  bool has_row_ = false;
  RunStatistics found_;
};

}  // namespace zervane::storage
