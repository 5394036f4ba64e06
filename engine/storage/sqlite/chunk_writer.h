#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <unordered_set>
#include <vector>

#include "api/words/status.h"
#include "engine/mutex.h"
#include "engine/storage/one_at_a_time.h"
#include "engine/storage/sqlite/chunk_merge.h"
#include "engine/storage/sqlite/pending.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/sqlite/writer.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {

// Brings the frozen generation of pending records into chunks, on a thread of its own: reading and
// encoding go on beside those who append; only the finished chunks are written in turn with them,
// some at a time. Then the journal is trimmed of what the chunks hold. A generation that cannot be
// written is tried again after a pause, until it is.
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
  ChunkWriter(const ChunkWriter&) = delete;
  ChunkWriter& operator=(const ChunkWriter&) = delete;
  ~ChunkWriter();  // finishes what was begun

  // The tags whose held-back record stands in the file. Before the first generation.
  void KnowHeldRow(TagId tag) EXCLUDES(writing_);

  // Begins to write the frozen generation, whose batches are the journal up to the last of
  // `journal_cuts`: the journal is trimmed up to one after the other. The one before is done.
  void Begin(std::vector<std::int64_t> journal_cuts) EXCLUDES(writing_, mutex_);

  // Whether nothing is under way, nor still frozen since it failed.
  bool IsDone() EXCLUDES(mutex_);

  // Waits until the generation is written; one that had failed is tried once more, at once. When it
  // fails again, it is still frozen.
  Status Finish() EXCLUDES(mutex_);

  // While one lives nothing is being written, so that what is frozen may be changed: it waits for
  // what is under way, and keeps what failed from being tried again.
  class Rest {
   public:
    explicit Rest(ChunkWriter& chunks);
    Rest(const Rest&) = delete;
    Rest& operator=(const Rest&) = delete;
    ~Rest();

   private:
    ChunkWriter& chunks_;
  };

  // What else the thread does behind the back of those who append, also while it writes a
  // generation: it sorts what was taken to its tags, and folds SQLite's log into the file.
  void SortSoon() EXCLUDES(mutex_);
  void FoldLogSoon() EXCLUDES(mutex_);

 private:
  // What goes into the file in one transaction.
  struct Slice {
    std::vector<ChunkEdits> chunks;
    // Whose current and held-back records go along.
    std::vector<const PendingTags::value_type*> tags;
    std::size_t weight = 0;
  };

  // Logs the first of failures in a row, since what fails is tried again and again.
  class FailureLog {
   public:
    explicit FailureLog(const char* consequence) : consequence_(consequence) {}
    void Note(const Status& outcome);

   private:
    const char* const consequence_;
    bool is_failing_ = false;
  };

  void AwaitDone() REQUIRES(mutex_);
  void AwaitWork() REQUIRES(mutex_);
  void EndWork(Status outcome) REQUIRES(mutex_);

  // Of the thread.
  void Loop() EXCLUDES(mutex_);
  void DoWhatWasAsked() EXCLUDES(mutex_);
  Status WriteGeneration() EXCLUDES(writing_);
  Status PlanTag(const PendingTags::value_type& tag, Slice* slice) REQUIRES(writing_);
  Status Write(const Slice& slice) REQUIRES(writing_);
  Status WriteHeld(TagId id, const HeldChange& held) REQUIRES(writing_, writer_.mutex);
  Status TrimJournal() REQUIRES(writing_);
  Status FoldLog();

  Writer& writer_;
  const std::unique_ptr<Connection> reader_;  // of the thread
  Pending& pending_;
  const std::size_t chunk_records_;

  // Of the thread while it writes a generation, else of the caller.
  OneAtATime writing_;
  std::unordered_set<TagId> held_rows_ GUARDED_BY(writing_);
  std::vector<std::int64_t> journal_cuts_ GUARDED_BY(writing_);
  // Tags of the generation up to this one are written, so that another try goes on behind it.
  TagId written_to_ GUARDED_BY(writing_) = 0;

  Mutex mutex_;
  CondVar begun_;  // there is work, or an end
  CondVar done_;
  bool is_working_ GUARDED_BY(mutex_) = false;
  bool folds_log_ GUARDED_BY(mutex_) = false;
  bool sorts_ GUARDED_BY(mutex_) = false;
  bool rests_ GUARDED_BY(mutex_) = false;
  bool is_closing_ GUARDED_BY(mutex_) = false;
  Status outcome_ GUARDED_BY(mutex_);                     // of the last try
  std::chrono::milliseconds pause_ GUARDED_BY(mutex_){};  // after the last try, which failed
  std::chrono::steady_clock::time_point next_try_ GUARDED_BY(mutex_);

  // Of the thread.
  FailureLog write_failures_{"records stay in the journal until they can be written into chunks"};
  FailureLog fold_failures_{"SQLite's log is folded later"};
  FailureLog sort_failures_{"records wait to be sorted"};

  std::thread thread_;  // last: it uses all of the above
};

}  // namespace zervane::storage
