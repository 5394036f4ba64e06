#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_set>
#include <vector>

#include "engine/status.h"
#include "engine/storage/chunk_merge.h"
#include "engine/storage/fair_mutex.h"
#include "engine/storage/pending.h"
#include "engine/storage/sqlite.h"

namespace zervane::storage {

// The connection that changes the file. The thread that appends and the one that writes chunks use
// it in turn; each holds the mutex for as long as its transaction takes.
struct Writer {
  FairMutex mutex;
  std::unique_ptr<Connection> connection;
};

// Brings the frozen generation of pending records into chunks, on a thread of its own: reading and
// encoding go on beside those who append; only the finished chunks are written in turn with them,
// some at a time. Then the journal is trimmed of what the chunks hold.
//
// At any instant the chunks and the journal together hold every answered record: until the journal
// is trimmed it has all of the generation, and a replay replaces in chunks what is there already.
//
// Threads: all calls from the one that changes the store.
class ChunkWriter {
 public:
  // `reader` is a connection of its own.
  ChunkWriter(Writer& writer, std::unique_ptr<Connection> reader, Pending& pending,
              std::size_t chunk_records);
  ~ChunkWriter();  // finishes what was begun

  // The tags whose held-back record stands in the file. Before the first generation.
  void KnowHeldRow(TagId tag) { held_rows_.insert(tag); }

  // Begins to write the frozen generation, whose batches are the journal up to the last of
  // `journal_cuts`: the journal is trimmed up to one after the other. Nothing is under way.
  void Begin(std::vector<std::int64_t> journal_cuts);

  // Whether nothing is under way, nor still frozen since it failed.
  bool IsDone();

  // Waits until nothing is under way.
  void Wait();

  // Waits until the generation is written; one that had failed is tried once more. When it fails
  // again, it is still frozen.
  Status Finish();

  // What else the thread does behind the back of those who append: it folds SQLite's log into the
  // file, and sorts what was taken to its tags.
  void FoldLogSoon();
  void SortSoon();

 private:
  // What goes into the file in one transaction.
  struct Slice {
    std::vector<ChunkEdits> chunks;
    // Whose current and held-back records go along.
    std::vector<const PendingTags::value_type*> tags;
    std::size_t weight = 0;
  };

  void AwaitDone(std::unique_lock<std::mutex>& lock);
  void Loop();
  Status WriteGeneration();
  Status PlanTag(const PendingTags::value_type& tag, Slice* slice);
  Status Write(const Slice& slice);
  Status WriteHeld(TagId id, const HeldChange& held);
  Status TrimJournal();
  void FoldLog();
  void SortIfAsked();

  Writer& writer_;
  const std::unique_ptr<Connection> reader_;
  Pending& pending_;
  const std::size_t chunk_records_;

  std::unordered_set<TagId> held_rows_;  // of the writing thread
  std::vector<std::int64_t>
      journal_cuts_;  // of the writing thread while it works, else the caller's

  std::mutex mutex_;               // guards all down to `outcome_`
  std::condition_variable begun_;  // there is work, or an end
  std::condition_variable done_;
  bool is_working_ = false;
  bool folds_log_ = false;
  bool sorts_ = false;
  bool is_closing_ = false;
  Status outcome_;

  std::thread thread_;  // last: it uses all of the above
};

}  // namespace zervane::storage
