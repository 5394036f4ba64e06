#include "engine/write/write_queue.h"

#include <utility>

#include "engine/assert.h"
#include "engine/guard.h"
#include "engine/log.h"

namespace zervane {
namespace {

// Under the mutex of the queue.
void Answer(Ticket& ticket) noexcept {
  ZERVANE_ASSERT(!ticket.is_answered);
  ticket.is_answered = true;
  ticket.answered.NotifyOne();
}

}  // namespace

Status DatabaseClosed() { return {ZR3_ERR_NOT_CONNECTED, "the database is closed"}; }

WriteQueue::WriteQueue(Owner& owner, const Limits& limits)
    : owner_(owner), limits_(limits), thread_([this] { Loop(); }) {}

WriteQueue::~WriteQueue() { Close(); }

Status WriteQueue::Write(WriteAnswer answer, const Admit& admit) {
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(!IsCarriedOutHere());
  while (!is_closing_ && IsFull()) room_.Wait(mutex_);
  if (is_closing_) return DatabaseClosed();

  Ticket ticket;
  const bool waits = answer == WriteAnswer::kDurable;
  const std::size_t begin = waiting_.records.size();
  waiting_.ReserveBatch();
  admit(waiting_.records);
  if (waiting_.records.size() == begin) return {};
  waiting_.CloseBatch(begin, waits ? &ticket : nullptr);
  if (waits) return CarryOutOrAwait(ticket);
  if (!IsCarryingOut()) work_.NotifyOne();
  return {};
}

Status WriteQueue::Run(const std::function<Status()>& change) {
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(!IsCarriedOutHere());
  if (is_closing_) return DatabaseClosed();
  Ticket ticket;
  waiting_.changes.push_back({.run = &change, .ticket = &ticket});
  return CarryOutOrAwait(ticket);
}

Status WriteQueue::TakeFailure() {
  const MutexLock lock(mutex_);
  return std::exchange(failure_, Status());
}

void WriteQueue::Close() {
  {
    const MutexLock lock(mutex_);
    ZERVANE_ASSERT(!IsCarriedOutHere());
    is_closing_ = true;
  }
  work_.NotifyAll();
  room_.NotifyAll();
  const MutexLock lock(join_mutex_);
  if (thread_.joinable()) thread_.join();
}

bool WriteQueue::IsFull() const {
  return waiting_.records.size() >= limits_.max_records || waiting_.bytes >= limits_.max_bytes;
}

void WriteQueue::Loop() noexcept {
  const MutexLock lock(mutex_);
  for (;;) {
    while (IsCarryingOut() || (!is_closing_ && waiting_.IsEmpty())) work_.Wait(mutex_);
    if (waiting_.IsEmpty()) return;
    CarryOut();
  }
}

Status WriteQueue::CarryOutOrAwait(Ticket& ticket) noexcept {
  if (IsCarryingOut()) {
    while (!ticket.is_answered) ticket.answered.Wait(mutex_);
  } else {
    CarryOut();
    // What came meanwhile is for the queue's thread, so that no caller works for others for ever.
    if (is_closing_ || !waiting_.IsEmpty()) work_.NotifyOne();
  }
  ZERVANE_ASSERT(ticket.is_answered);
  return std::move(ticket.status);
}

void WriteQueue::CarryOut() noexcept {
  ZERVANE_ASSERT(!IsCarryingOut() && taken_.IsEmpty() && taken_.records.empty());
  carrier_ = std::this_thread::get_id();
  std::swap(waiting_, taken_);
  room_.NotifyAll();
  mutex_.Unlock();
  CommitGroup();
  mutex_.Lock();
  SettleBatches();
  mutex_.Unlock();
  RunChanges();
  mutex_.Lock();
  SettleChanges();
  taken_.Clear();
  ZERVANE_ASSERT(IsCarriedOutHere());
  carrier_ = std::thread::id();
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
