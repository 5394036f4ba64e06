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
// A tag that has no group yet costs one query once, and one that has few chunks behind its last
// group one each time.
//
// Threads: one at a time.
class GroupPlanner {
 public:
  // The connection is one that sees the chunks that the edits are for.
  GroupPlanner(Connection& connection, std::size_t group_chunks);

  // Adds to the edits of a tag what becomes of its groups. They hold as long as the edits do. Where
  // the table of summaries is damaged, it is that the table is, and nothing of groups.
  Status Plan(TagId tag, ChunkEdits* edits);

  // Some edits that were planned may not have been carried out.
  void Forget() { tags_ = {}; }

 private:
  struct Window;
  class Planning;

  // What is known of a tag.
  struct Known {
    // How many chunks it has behind its last group. It may have fewer, and where it says that there
    // are many() it may have more.
    std::uint16_t chunks_behind = 0;
    bool is_counted = false;
    bool has_no_groups = false;  // for certain
  };

  Status PlanGroups(TagId tag, ChunkEdits* edits);
  Result<bool> FallIntoGroups(const ChunkEdits& edits, TagId tag, std::int64_t* group_end_ms);
  Status CountBehind(const ChunkEdits& edits, TagId tag, std::int64_t group_end_ms);
  std::int64_t many() const { return 2 * group_chunks_ + 1; }

  Connection& connection_;
  const std::int64_t group_chunks_;
  TagArray<Known> tags_;
};

}  // namespace zervane::storage
