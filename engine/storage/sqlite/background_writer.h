#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "api/words/status.h"
#include "engine/mutex.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/one_at_a_time.h"
#include "engine/storage/sqlite/generation_writer.h"
#include "engine/storage/sqlite/pending.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/sqlite/writer.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {

// The thread that works behind the back of those who append: it writes the frozen generation into
// chunks (generation_writer.h), sorts what was adopted to its tags, and folds SQLite's log into the
// file, the last two also while it writes a generation. A generation that cannot be written is
// tried again after a pause, until it is.
//
// Threads: all calls from the one that changes the store.
class BackgroundWriter {
 public:
  // `reader` is a connection of its own. STRINGs of earlier formats are converted by the decoder.
  BackgroundWriter(Writer& writer, std::unique_ptr<Connection> reader, Pending& pending,
                   ArchiveSizes sizes, ChunkIds ids, TextDecoder decoder);
  BackgroundWriter(const BackgroundWriter&) = delete;
  BackgroundWriter& operator=(const BackgroundWriter&) = delete;
  ~BackgroundWriter();  // finishes what was begun

  // The tags whose held-back record stands in the file. Before the first generation.
  void NoteHeldRow(TagId tag) EXCLUDES(writing_);

  // Begins to write the frozen generation, whose records the journal has up to the commit that is
  // the last of `journal_cuts`: it is trimmed up to one after the other. The one before is done.
  void Begin(std::vector<std::int64_t> journal_cuts) EXCLUDES(writing_, mutex_);

  // Whether nothing is under way, nor still frozen since it failed.
  bool IsDone() EXCLUDES(mutex_);

  // Waits until the generation is written; one that had failed is tried once more, at once. When it
  // fails again, it is still frozen.
  Status Finish() EXCLUDES(mutex_);

  void SortSoon() EXCLUDES(mutex_);
  void FoldLogSoon() EXCLUDES(mutex_);

 private:
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
  void DoSmallTasks() EXCLUDES(mutex_);
  Status WriteGeneration() EXCLUDES(writing_);
  Status FoldLog();

  Writer& writer_;
  const std::unique_ptr<Connection> reader_;  // of the thread
  Pending& pending_;

  // Of the thread while it writes a generation, else of the caller.
  OneAtATime writing_;
  GenerationWriter generation_ GUARDED_BY(writing_);

  Mutex mutex_;
  CondVar begun_;  // there is work, or an end
  CondVar done_;
  bool is_working_ GUARDED_BY(mutex_) = false;
  bool folds_log_ GUARDED_BY(mutex_) = false;
  bool sorts_ GUARDED_BY(mutex_) = false;
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
