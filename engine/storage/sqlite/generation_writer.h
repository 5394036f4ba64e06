#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_set>
#include <vector>

#include "api/words/status.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/sqlite/chunk_merge.h"
#include "engine/storage/sqlite/chunk_table.h"
#include "engine/storage/sqlite/group_planner.h"
#include "engine/storage/sqlite/pending.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/sqlite/writer.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {

struct ArchiveSizes {
  std::size_t chunk_records;  // of a full chunk
  std::size_t group_chunks;   // of the least group
};

// Brings a frozen generation of pending records into chunks: reading and encoding go on beside
// those who append; only the finished chunks are written in turn with them, some at a time. Then
// the journal is trimmed of what the chunks hold. A generation whose writing failed goes on behind
// what is written.
//
// At any instant the chunks and the journal together hold every answered record: until the journal
// is trimmed it has all of the generation, and a replay replaces in chunks what is there already.
//
// A tag may be emptied meanwhile (Pending::EmptyTag), within a transaction of the same writer: its
// part of the generation is passed over from then on.
//
// Threads: one at a time.
class GenerationWriter {
 public:
  // `reader` is a connection that nobody else uses while a generation is written. `after_each` is
  // called after each tag and each transaction, without a lock, with whether SQLite's log should be
  // folded.
  using AfterEach = std::function<void(bool is_log_due)>;
  GenerationWriter(Writer& writer, Connection& reader, Pending& pending, ArchiveSizes sizes,
                   ChunkIds ids, TextDecoder decoder, AfterEach after_each);

  // The tags whose held-back record stands in the file. Before the first generation.
  void NoteHeldRow(TagId tag) { held_rows_.insert(tag); }

  // What is frozen is a new generation, whose records the journal has up to the last of the commits
  // of `journal_cuts`, ascending: it is trimmed up to one after the other.
  void Begin(std::vector<std::int64_t> journal_cuts);

  // Writes the generation and drops it.
  Status Write();

 private:
  struct TagEdits {
    const PendingTags::value_type* tag;  // whose current and held-back records go along
    ChunkEdits chunks;
  };
  // What goes into the file in one transaction.
  struct Slice {
    std::vector<TagEdits> tags;
    std::size_t weight = 0;
  };

  std::vector<const PendingTags::value_type*> TagsToWrite() const;
  Status PlanTag(const PendingTags::value_type& tag, Slice* slice);
  Status WriteTags();
  Status WriteSlice(const Slice& slice);
  Status WriteWithSummaries(const Slice& slice) REQUIRES(writer_.mutex);
  Status WriteInTransaction(const Slice& slice, bool renews_summaries, bool* are_summaries_damaged)
      REQUIRES(writer_.mutex);
  Status WriteTag(const TagEdits& edits, bool* are_summaries_damaged) REQUIRES(writer_.mutex);
  Status WriteHeld(TagId id, const HeldChange& held) REQUIRES(writer_.mutex);
  Status TrimJournal();

  Writer& writer_;
  Connection& reader_;
  Pending& pending_;
  const ArchiveSizes sizes_;
  ChunkIds ids_;
  GroupPlanner groups_;
  const TextDecoder decoder_;
  const AfterEach after_each_;
  std::unordered_set<TagId> held_rows_;
  std::vector<std::int64_t> journal_cuts_;
  bool is_begun_ = false;  // and was not written to its end
  TagId written_to_ = 0;   // tags of the generation up to this one are written
};

}  // namespace zervane::storage
