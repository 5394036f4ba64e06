#pragma once

#include <cstddef>
#include <cstdint>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/storage/sqlite/chunk_merge.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/tag_array.h"

namespace zervane::storage {

// Plans the groups of a tag's chunks, whose summaries stand for those of their chunks: so a scan of
// a long range passes over them in steps of hundreds of thousands of records.
//
// A group has `group_chunks` chunks or up to twice as many, one behind the other, each with a
// summary and all of one course. A group goes with any chunk of it, and where so many are left
// ungrouped, they are grouped anew, evenly. Where the archive ends, groups have exactly
// `group_chunks`, and the last chunk, which is the one that changes, stays out of them.
//
// A tag that has few chunks behind its last group costs one query.
//
// Threads: one at a time.
class GroupPlanner {
 public:
  // The connection is one that sees the chunks that the edits are for.
  GroupPlanner(Connection& connection, std::size_t group_chunks);

  // Adds to the edits of a tag what becomes of its groups. They hold as long as the edits do.
  Status Plan(TagId tag, ChunkEdits* edits);

  // Some edits that were planned may not have been carried out.
  void ForgetCounts() { counts_ = {}; }

 private:
  struct Window;
  class Planning;

  // Whether there are too few chunks behind the last group for another one. It may overestimate.
  Result<bool> HasFewBehind(TagId tag, std::int64_t group_end_ms, const ChunkEdits& edits);
  std::int64_t many() const { return 2 * group_chunks_ + 1; }

  Connection& connection_;
  const std::int64_t group_chunks_;
  // How many chunks a tag has behind its last group, and one; 0 when that is not known. Those who
  // have many have many() at least.
  TagArray<std::uint16_t> counts_;
};

}  // namespace zervane::storage
