#include "engine/storage/sqlite/background_writer.h"

#include <algorithm>
#include <utility>

#include "engine/assert.h"
#include "engine/guard.h"
#include "engine/log.h"

namespace zervane::storage {
namespace {

// Before a generation that failed is tried again; twice as long after each try that fails too.
constexpr std::chrono::milliseconds kFirstPause{100};
constexpr std::chrono::milliseconds kLongestPause{10'000};

}  // namespace

BackgroundWriter::BackgroundWriter(Writer& writer, std::unique_ptr<Connection> reader,
                                   Pending& pending, ArchiveSizes sizes, ChunkIds ids,
                                   TextDecoder decoder)
    : writer_(writer),
      reader_(std::move(reader)),
      pending_(pending),
      generation_(writer, *reader_, pending, sizes, ids, std::move(decoder),
                  [this](bool is_log_due) {
                    if (is_log_due) FoldLogSoon();
                    DoSmallTasks();
                  }),
      thread_([this] { Loop(); }) {}

BackgroundWriter::~BackgroundWriter() {
  {
    const MutexLock lock(mutex_);
    is_closing_ = true;
  }
  begun_.NotifyOne();
  thread_.join();
}

// ---- of those who call ----

void BackgroundWriter::NoteHeldRow(TagId tag) {
  const Role writing(writing_);
  generation_.NoteHeldRow(tag);
}

void BackgroundWriter::Begin(std::vector<std::int64_t> journal_cuts) {
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(!is_working_ && outcome_.ok() && !is_closing_);
  const Role writing(writing_);
  generation_.Begin(std::move(journal_cuts));
  is_working_ = true;
  begun_.NotifyOne();
}

bool BackgroundWriter::IsDone() {
  const MutexLock lock(mutex_);
  return !is_working_ && outcome_.ok();
}

Status BackgroundWriter::Finish() {
  const MutexLock lock(mutex_);
  AwaitDone();
  if (!outcome_.ok()) {
    is_working_ = true;
    begun_.NotifyOne();
    AwaitDone();
  }
  return outcome_;
}

void BackgroundWriter::AwaitDone() {
  while (is_working_) done_.Wait(mutex_);
}

void BackgroundWriter::SortSoon() {
  const MutexLock lock(mutex_);
  sorts_ = true;
  begun_.NotifyOne();
}

void BackgroundWriter::FoldLogSoon() {
  const MutexLock lock(mutex_);
  folds_log_ = true;
  begun_.NotifyOne();
}

// ---- of the thread ----

void BackgroundWriter::Loop() {
  MutexLock lock(mutex_);
  for (;;) {
    AwaitWork();
    if (sorts_ || folds_log_) {
      lock.Unlock();
      DoSmallTasks();
      lock.Lock();
    } else if (is_working_) {
      lock.Unlock();
      Status outcome = Guarded([&] { return WriteGeneration(); });
      write_failures_.Note(outcome);
      lock.Lock();
      EndWork(std::move(outcome));
    } else {
      return;
    }
  }
}

// A generation that failed is work again when its pause is over.
void BackgroundWriter::AwaitWork() {
  while (!is_working_ && !folds_log_ && !sorts_ && !is_closing_) {
    const auto left = next_try_ - std::chrono::steady_clock::now();
    if (outcome_.ok()) {
      begun_.Wait(mutex_);
    } else if (left.count() > 0) {
      begun_.WaitFor(mutex_, std::chrono::ceil<std::chrono::milliseconds>(left));
    } else {
      is_working_ = true;
    }
  }
}

void BackgroundWriter::EndWork(Status outcome) {
  ZERVANE_ASSERT(is_working_);
  pause_ = outcome_.ok() ? kFirstPause : std::min(2 * pause_, kLongestPause);
  next_try_ = std::chrono::steady_clock::now() + pause_;
  outcome_ = std::move(outcome);
  is_working_ = false;
  done_.NotifyAll();
}

// Also while a generation is written, since that takes long.
void BackgroundWriter::DoSmallTasks() {
  bool sorts = false;
  bool folds_log = false;
  {
    const MutexLock lock(mutex_);
    std::swap(sorts, sorts_);
    std::swap(folds_log, folds_log_);
  }
  const auto sort = [&] {
    pending_.Sort();
    return Status();
  };
  if (sorts) sort_failures_.Note(Guarded(sort));
  if (folds_log) fold_failures_.Note(Guarded([&] { return FoldLog(); }));
}

void BackgroundWriter::FailureLog::Note(const Status& outcome) {
  if (!outcome.ok() && !is_failing_) LogWarning("{}: {}", consequence_, outcome.message());
  if (outcome.ok() && is_failing_) LogWarning("no longer: {}", consequence_);
  is_failing_ = !outcome.ok();
}

Status BackgroundWriter::WriteGeneration() {
  const Role writing(writing_);
  return generation_.Write();
}

// Most of it goes on beside those who append. They wait for the small rest, after which the log
// starts over instead of growing.
Status BackgroundWriter::FoldLog() {
  if (Status status = reader_->FoldLog(); !status.ok()) return status;
  const WriterHold hold(writer_.mutex);
  return reader_->FoldLog();
}

}  // namespace zervane::storage
