#include "engine/storage/sqlite/chunk_writer.h"

#include <algorithm>
#include <utility>

#include "engine/assert.h"
#include "engine/guard.h"
#include "engine/log.h"
#include "engine/storage/sqlite/journal.h"
#include "engine/storage/sqlite/record_table.h"

namespace zervane::storage {
namespace {

// How much goes into the file in one transaction: enough to make its end cheap, and little enough
// that those who append hardly notice it.
constexpr std::size_t kSliceBytes = 512 << 10;
constexpr std::size_t kRowBytes = 64;  // of a row without its payload

// Before a generation that failed is tried again; twice as long after each try that fails too.
constexpr std::chrono::milliseconds kFirstPause{100};
constexpr std::chrono::milliseconds kLongestPause{10'000};

std::size_t WeightOf(const ChunkEdits& edits) {
  std::size_t bytes = (edits.replaced.size() + edits.damaged.size()) * kRowBytes;
  for (const EncodedChunk& chunk : edits.added) bytes += kRowBytes + chunk.payload.size();
  return bytes;
}

}  // namespace

ChunkWriter::ChunkWriter(Writer& writer, std::unique_ptr<Connection> reader, Pending& pending,
                         std::size_t chunk_records)
    : writer_(writer),
      reader_(std::move(reader)),
      pending_(pending),
      chunk_records_(chunk_records),
      thread_([this] { Loop(); }) {}

ChunkWriter::~ChunkWriter() {
  {
    const MutexLock lock(mutex_);
    is_closing_ = true;
  }
  begun_.NotifyOne();
  thread_.join();
}

// ---- of those who call ----

void ChunkWriter::KnowHeldRow(TagId tag) {
  const Role writing(writing_);
  held_rows_.insert(tag);
}

void ChunkWriter::Begin(std::vector<std::int64_t> journal_cuts) {
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(!is_working_ && outcome_.ok() && !rests_ && !is_closing_);
  ZERVANE_ASSERT(!journal_cuts.empty() && std::ranges::is_sorted(journal_cuts));
  const Role writing(writing_);
  journal_cuts_ = std::move(journal_cuts);
  written_to_ = 0;
  is_working_ = true;
  begun_.NotifyOne();
}

bool ChunkWriter::IsDone() {
  const MutexLock lock(mutex_);
  return !is_working_ && outcome_.ok();
}

Status ChunkWriter::Finish() {
  const MutexLock lock(mutex_);
  AwaitDone();
  if (!outcome_.ok()) {
    is_working_ = true;
    begun_.NotifyOne();
    AwaitDone();
  }
  return outcome_;
}

void ChunkWriter::AwaitDone() {
  while (is_working_) done_.Wait(mutex_);
}

ChunkWriter::Rest::Rest(ChunkWriter& chunks) : chunks_(chunks) {
  const MutexLock lock(chunks_.mutex_);
  ZERVANE_ASSERT(!chunks_.rests_);
  chunks_.rests_ = true;
  chunks_.AwaitDone();
}

ChunkWriter::Rest::~Rest() {
  const MutexLock lock(chunks_.mutex_);
  chunks_.rests_ = false;
  chunks_.begun_.NotifyOne();
}

void ChunkWriter::SortSoon() {
  const MutexLock lock(mutex_);
  sorts_ = true;
  begun_.NotifyOne();
}

void ChunkWriter::FoldLogSoon() {
  const MutexLock lock(mutex_);
  folds_log_ = true;
  begun_.NotifyOne();
}

// ---- of the thread ----

void ChunkWriter::Loop() {
  MutexLock lock(mutex_);
  for (;;) {
    AwaitWork();
    if (sorts_ || folds_log_) {
      lock.Unlock();
      DoWhatWasAsked();
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
void ChunkWriter::AwaitWork() {
  while (!is_working_ && !folds_log_ && !sorts_ && !is_closing_) {
    const auto left = next_try_ - std::chrono::steady_clock::now();
    if (outcome_.ok() || rests_) {
      begun_.Wait(mutex_);
    } else if (left.count() > 0) {
      begun_.WaitFor(mutex_, std::chrono::ceil<std::chrono::milliseconds>(left));
    } else {
      is_working_ = true;
    }
  }
}

void ChunkWriter::EndWork(Status outcome) {
  ZERVANE_ASSERT(is_working_);
  pause_ = outcome_.ok() ? kFirstPause : std::min(2 * pause_, kLongestPause);
  next_try_ = std::chrono::steady_clock::now() + pause_;
  outcome_ = std::move(outcome);
  is_working_ = false;
  done_.NotifyAll();
}

// Also while a generation is written, since that takes long.
void ChunkWriter::DoWhatWasAsked() {
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

void ChunkWriter::FailureLog::Note(const Status& outcome) {
  if (!outcome.ok() && !is_failing_) LogWarning("{}: {}", consequence_, outcome.message());
  if (outcome.ok() && is_failing_) LogWarning("no longer: {}", consequence_);
  is_failing_ = !outcome.ok();
}

Status ChunkWriter::WriteGeneration() {
  const Role writing(writing_);
  // In order, so that the chunks of a tag lie near those of its neighbours.
  std::vector<const PendingTags::value_type*> generation;
  generation.reserve(pending_.frozen().size());
  for (const auto& tag : pending_.frozen()) {
    if (tag.first > written_to_) generation.push_back(&tag);
  }
  std::ranges::sort(generation, {}, [](const auto* tag) { return tag->first; });
  Slice slice;
  for (const auto* tag : generation) {
    if (Status status = PlanTag(*tag, &slice); !status.ok()) return status;
    DoWhatWasAsked();
    if (slice.weight < kSliceBytes) continue;
    if (Status status = Write(slice); !status.ok()) return status;
    slice = {};
  }
  if (Status status = Write(slice); !status.ok()) return status;
  if (Status status = TrimJournal(); !status.ok()) return status;
  pending_.DropFrozen();
  return {};
}

Status ChunkWriter::PlanTag(const PendingTags::value_type& tag, Slice* slice) {
  std::vector<Sample> merged;
  Result<ChunkEdits> edits =
      PlanMerge(*reader_, tag.first, tag.second.archive.All(&merged), chunk_records_);
  if (!edits.ok()) return edits.status();
  slice->weight += 2 * kRowBytes + WeightOf(*edits);
  slice->tags.push_back(&tag);
  slice->chunks.push_back(*std::move(edits));
  return {};
}

Status ChunkWriter::Write(const Slice& slice) {
  const Turn turn(writer_.mutex);
  Connection& file = *writer_.connection;
  Transaction transaction(file, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  for (const ChunkEdits& edits : slice.chunks) {
    if (Status status = ApplyEdits(file, edits); !status.ok()) return status;
  }
  for (const PendingTags::value_type* const entry : slice.tags) {
    const auto& [id, tag] = *entry;
    Status status =
        tag.current ? PutRecord(file, RecordTable::kCurrent, id, *tag.current) : Status();
    if (status.ok() && tag.held.is_changed) status = WriteHeld(id, tag.held);
    if (!status.ok()) return status;
  }
  if (Status status = transaction.Commit(); !status.ok()) return status;
  if (writer_.IsLogDue()) FoldLogSoon();
  if (!slice.tags.empty()) written_to_ = slice.tags.back()->first;
  for (const ChunkEdits& edits : slice.chunks) {
    for (const ChunkSetAside& chunk : edits.damaged) {
      LogError("{}; set aside for newer records", chunk.why);
    }
  }
  return {};
}

// A row that is there no more, since its transaction was undone, is deleted to no harm.
Status ChunkWriter::WriteHeld(TagId id, const HeldChange& held) {
  if (held.sample) {
    held_rows_.insert(id);
    return PutRecord(*writer_.connection, RecordTable::kHeld, id, *held.sample);
  }
  if (!held_rows_.contains(id)) return {};
  return DeleteRecord(*writer_.connection, RecordTable::kHeld, id);
}

Status ChunkWriter::TrimJournal() {
  for (const std::int64_t cut : journal_cuts_) {
    {
      const Turn turn(writer_.mutex);
      if (Status status = ClearJournal(*writer_.connection, cut); !status.ok()) return status;
      if (writer_.IsLogDue()) FoldLogSoon();
    }
    DoWhatWasAsked();
  }
  return {};
}

// Most of it goes on beside those who append. They wait for the small rest, after which the log
// starts over instead of growing.
Status ChunkWriter::FoldLog() {
  if (Status status = reader_->FoldLog(); !status.ok()) return status;
  const Turn turn(writer_.mutex);
  return reader_->FoldLog();
}

}  // namespace zervane::storage
