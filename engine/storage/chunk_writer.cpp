#include "engine/storage/chunk_writer.h"

#include <algorithm>
#include <utility>

#include "engine/guard.h"
#include "engine/log.h"
#include "engine/storage/journal.h"
#include "engine/storage/record_table.h"

namespace zervane::storage {
namespace {

// How much goes into the file in one transaction: enough to make its end cheap, and little enough
// that those who append hardly notice it.
constexpr std::size_t kSliceBytes = 512 << 10;
constexpr std::size_t kRowBytes = 64;  // of a row without its payload

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
    const std::lock_guard lock(mutex_);
    is_closing_ = true;
  }
  begun_.notify_one();
  thread_.join();
}

void ChunkWriter::Begin(std::vector<std::int64_t> journal_cuts) {
  const std::lock_guard lock(mutex_);
  journal_cuts_ = std::move(journal_cuts);
  is_working_ = true;
  begun_.notify_one();
}

bool ChunkWriter::IsDone() {
  const std::lock_guard lock(mutex_);
  return !is_working_ && outcome_.ok();
}

void ChunkWriter::Wait() {
  std::unique_lock lock(mutex_);
  AwaitDone(lock);
}

Status ChunkWriter::Finish() {
  std::unique_lock lock(mutex_);
  AwaitDone(lock);
  if (!outcome_.ok()) {
    is_working_ = true;
    begun_.notify_one();
    AwaitDone(lock);
  }
  return outcome_;
}

void ChunkWriter::AwaitDone(std::unique_lock<std::mutex>& lock) {
  done_.wait(lock, [&] { return !is_working_; });
}

void ChunkWriter::FoldLogSoon() {
  const std::lock_guard lock(mutex_);
  folds_log_ = true;
  begun_.notify_one();
}

void ChunkWriter::SortSoon() {
  const std::lock_guard lock(mutex_);
  sorts_ = true;
  begun_.notify_one();
}

void ChunkWriter::Loop() {
  std::unique_lock lock(mutex_);
  for (;;) {
    begun_.wait(lock, [&] { return is_working_ || folds_log_ || sorts_ || is_closing_; });
    if (sorts_) {
      lock.unlock();
      SortIfAsked();
      lock.lock();
    } else if (std::exchange(folds_log_, false)) {
      lock.unlock();
      FoldLog();
      lock.lock();
    } else if (is_working_) {
      lock.unlock();
      Status status = Guarded([&] { return WriteGeneration(); });
      lock.lock();
      outcome_ = std::move(status);
      is_working_ = false;
      done_.notify_all();
    } else {
      return;
    }
  }
}

Status ChunkWriter::WriteGeneration() {
  // In order, so that the chunks of a tag lie near those of its neighbours.
  std::vector<const PendingTags::value_type*> generation;
  generation.reserve(pending_.frozen().size());
  for (const auto& tag : pending_.frozen()) generation.push_back(&tag);
  std::ranges::sort(generation, {}, [](const auto* tag) { return tag->first; });
  Slice slice;
  for (const auto* tag : generation) {
    if (Status status = PlanTag(*tag, &slice); !status.ok()) return status;
    SortIfAsked();
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
  const std::lock_guard turn(writer_.mutex);
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
  return transaction.Commit();
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
    const std::lock_guard turn(writer_.mutex);
    if (Status status = ClearJournal(*writer_.connection, cut); !status.ok()) return status;
  }
  return {};
}

// Most of it goes on beside those who append. They wait for the small rest, after which the log
// starts over instead of growing.
void ChunkWriter::FoldLog() {
  Status status = reader_->FoldLog();
  if (status.ok()) {
    const std::lock_guard turn(writer_.mutex);
    status = reader_->FoldLog();
  }
  if (!status.ok()) LogWarning("SQLite's log is folded later: {}", status.message());
}

// Also while a generation is written, since that takes long. What cannot be sorted for want of
// memory now stays for the next who tries.
void ChunkWriter::SortIfAsked() {
  {
    const std::lock_guard lock(mutex_);
    if (!std::exchange(sorts_, false)) return;
  }
  const Status status = Guarded([&] {
    pending_.Sort();
    return Status();
  });
  if (!status.ok()) LogWarning("records wait to be sorted: {}", status.message());
}

}  // namespace zervane::storage
