#include "engine/archive/write_queue.h"

#include <utility>

#include "engine/guard.h"
#include "engine/log.h"

namespace zervane {
namespace {

void Answer(Ticket& ticket) noexcept {
  ticket.is_answered = true;
  ticket.answered.notify_one();
}

}  // namespace

Status DatabaseClosed() { return {ZR3_ERR_NOT_CONNECTED, "the database is closed"}; }

WriteQueue::WriteQueue(Owner& owner, const Limits& limits)
    : owner_(owner), limits_(limits), thread_([this] { Loop(); }) {}

WriteQueue::~WriteQueue() { Close(); }

Status WriteQueue::Write(WriteAnswer answer, const Admit& admit) {
  std::unique_lock lock(mutex_);
  ++blocked_callers_;
  room_.wait(lock, [&] { return is_closing_ || !IsFull(); });
  --blocked_callers_;
  if (is_closing_) return DatabaseClosed();

  Ticket ticket;
  const bool waits = answer == WriteAnswer::kDurable;
  const std::size_t begin = waiting_.records.size();
  waiting_.ReserveBatch();
  admit(waiting_.records);
  if (waiting_.records.size() == begin) return {};
  waiting_.CloseBatch(begin, waits ? &ticket : nullptr);
  if (waits) return CarryOutOrAwait(ticket, lock);
  if (!is_carrying_out_) work_.notify_one();
  return {};
}

Status WriteQueue::Run(const std::function<Status()>& change) {
  std::unique_lock lock(mutex_);
  if (is_closing_) return DatabaseClosed();
  Ticket ticket;
  waiting_.changes.push_back({.run = &change, .ticket = &ticket});
  return CarryOutOrAwait(ticket, lock);
}

Status WriteQueue::TakeFailure() {
  const std::lock_guard lock(mutex_);
  return std::exchange(failure_, Status());
}

void WriteQueue::Close() {
  {
    const std::lock_guard lock(mutex_);
    is_closing_ = true;
  }
  work_.notify_all();
  room_.notify_all();
  const std::lock_guard lock(join_mutex_);
  if (thread_.joinable()) thread_.join();
}

WriteQueue::Load WriteQueue::load() {
  const std::lock_guard lock(mutex_);
  return {waiting_.records.size(), waiting_.bytes, blocked_callers_};
}

bool WriteQueue::IsFull() const {
  return waiting_.records.size() >= limits_.max_records || waiting_.bytes >= limits_.max_bytes;
}

void WriteQueue::Loop() noexcept {
  std::unique_lock lock(mutex_);
  for (;;) {
    work_.wait(lock, [&] { return !is_carrying_out_ && (is_closing_ || !waiting_.IsEmpty()); });
    if (waiting_.IsEmpty()) return;
    CarryOut(lock);
  }
}

Status WriteQueue::CarryOutOrAwait(Ticket& ticket, std::unique_lock<std::mutex>& lock) noexcept {
  if (is_carrying_out_) {
    ticket.answered.wait(lock, [&] { return ticket.is_answered; });
  } else {
    CarryOut(lock);
    // What came meanwhile is for the queue's thread, so that no caller works for others for ever.
    if (is_closing_ || !waiting_.IsEmpty()) work_.notify_one();
  }
  return std::move(ticket.status);
}

void WriteQueue::CarryOut(std::unique_lock<std::mutex>& lock) noexcept {
  is_carrying_out_ = true;
  std::swap(waiting_, taken_);
  room_.notify_all();
  lock.unlock();
  CommitGroup();
  lock.lock();
  SettleBatches();
  lock.unlock();
  RunChanges();
  lock.lock();
  SettleChanges();
  taken_.Clear();
  is_carrying_out_ = false;
}

void WriteQueue::CommitGroup() noexcept {
  const Status status = Commit(taken_.records);
  const bool tries_each = !status.ok() && taken_.batches.size() > 1;
  for (WriteGroup::Batch& batch : taken_.batches) {
    batch.status = tries_each ? CommitAlone(batch) : status;
  }
}

Status WriteQueue::CommitAlone(const WriteGroup::Batch& batch) noexcept {
  return Guarded([&] {
    const std::span<AcceptedSample> records = taken_.RecordsOf(batch);
    std::vector<AcceptedSample> copies(records.begin(), records.end());
    return Commit(copies);
  });
}

Status WriteQueue::Commit(std::vector<AcceptedSample>& records) noexcept {
  if (records.empty()) return {};
  return Guarded([&] { return owner_.Commit(records); });
}

void WriteQueue::SettleBatches() noexcept {
  bool any_refused = false;
  for (WriteGroup::Batch& batch : taken_.batches) {
    if (!batch.status.ok()) any_refused = true;
    if (batch.ticket == nullptr) KeepFailure(batch);
  }
  if (any_refused) owner_.Refused(taken_.records, waiting_.records);
  for (WriteGroup::Batch& batch : taken_.batches) {
    if (batch.ticket == nullptr) continue;
    batch.ticket->status = std::move(batch.status);
    Answer(*batch.ticket);
  }
}

// Logged once until it is answered: a full disk fails every batch.
void WriteQueue::KeepFailure(WriteGroup::Batch& batch) noexcept {
  if (batch.status.ok() || !failure_.ok()) return;
  LogError("{} records that were answered when queued could not be stored: {} ({})",
           batch.end - batch.begin, zr3_status_text(batch.status.code()), batch.status.message());
  failure_ = std::move(batch.status);
}

void WriteQueue::RunChanges() noexcept {
  for (WriteGroup::Change& change : taken_.changes) change.ticket->status = Guarded(*change.run);
}

void WriteQueue::SettleChanges() noexcept {
  for (WriteGroup::Change& change : taken_.changes) Answer(*change.ticket);
}

}  // namespace zervane
