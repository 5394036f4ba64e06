#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/storage/codec/summary_codec.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/series.h"
#include "engine/storage/sqlite/chunk_table.h"
#include "engine/storage/sqlite/sqlite.h"

namespace zervane::storage {

// A chunk that was read and does not decode, and why.
struct ChunkSetAside {
  ChunkExtent extent;
  std::string why;
};

// What brings records into the table of chunks. The work is in the planning, which only reads, so
// that others can write meanwhile.
struct ChunkEdits {
  std::vector<ChunkExtent> replaced;   // their records are in the added ones
  std::vector<ChunkSetAside> damaged;  // to be set aside
  std::vector<EncodedChunk> added;
  bool is_first = false;  // the tag had no chunks
  // Groups of chunks: the first times of those that are no more, and those that are new.
  std::vector<std::int64_t> dropped_groups;
  std::vector<Summary> groups;
  // Found by whoever planned the groups, who left them out: to be renewed before this is applied.
  bool are_summaries_damaged = false;

  bool empty() const { return replaced.empty() && damaged.empty() && added.empty(); }
};

// Plans to bring a tag's records, ascending in time, into its chunks, of up to `chunk_records`
// records each, where they replace those of equal time. Touches only the chunks that they fall
// into, and the small ones that they follow; what it touches is written in the present format, its
// STRINGs converted by the decoder where they were not yet. The plan holds as long as nothing else
// changes the tag's chunks. Groups of chunks are planned after it (group_planner.h).
//
// Chunks get a summary each, but for one at the archive's end that is far from full: it will be
// written again, and of many tags with few records each would have one.
Result<ChunkEdits> PlanMerge(Connection& connection, TagId tag, const SampleRun& records,
                             std::size_t chunk_records, const TextDecoder& decoder);

// Carries a plan out, within the caller's transaction. Where it fails because the table of
// summaries is damaged, that is noted.
Status ApplyEdits(Connection& connection, const ChunkEdits& edits, ChunkIds& ids,
                  bool* are_summaries_damaged = nullptr);

}  // namespace zervane::storage
