#include "engine/write/write_queue.h"

#include <utility>

#include "engine/assert.h"
#include "engine/guard.h"
#include "engine/storage/record_batch.h"

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

WriteQueue::WriteQueue(Owner& owner, Turn turn, const Limits& limits)
    : owner_(owner), limits_(limits), turn_(std::move(turn)), thread_([this] { Loop(); }) {}

WriteQueue::~WriteQueue() { Close(); }

WriteQueue::Outcome WriteQueue::Write(const Offer& offer, const Admit& admit) {
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(!IsCarriedOutHere());
  while (!is_closing_ && (IsFull() || is_paused_)) room_.Wait(mutex_);
  if (is_closing_) return {.status = DatabaseClosed(), .lost = {}};

  Ticket ticket;
  const bool waits = offer.answer == WriteAnswer::kDurable;
  WriteGroup& group = GroupFor(offer.bytes);
  const std::size_t begin = group.records.size();
  const std::size_t bytes = group.Bytes();
  group.ReserveBatch(offer.rows.size());
  admit(group.records);
  if (group.records.size() == begin) {
    return {.status = {}, .lost = waits ? lost_.Tell(offer.session) : Status()};
  }
  group.CloseBatch(begin, offer.session, waits ? &ticket : nullptr, offer.rows);
  waiting_records_ += group.records.size() - begin;
  waiting_bytes_ += group.Bytes() - bytes;
  if (!waits) {
    if (!IsCarryingOut()) work_.NotifyOne();
    return {};
  }
  Outcome outcome = {.status = CarryOutOrAwait(ticket), .lost = {}};
  if (outcome.status.ok()) outcome.lost = lost_.Tell(offer.session);
  return outcome;
}

Status WriteQueue::Run(const ChangeFunction& change) {
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(!IsCarriedOutHere());
  if (is_closing_) return DatabaseClosed();
  Ticket ticket;
  GroupFor(0).AddChange(change, ticket);
  return CarryOutOrAwait(ticket);
}

void WriteQueue::PauseAdmission(Turn& turn) noexcept {
  turn.AssertHeld();
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(IsCarriedOutHere());
  is_paused_ = true;
}

Status WriteQueue::TellLost(SessionId session) noexcept {
  const MutexLock lock(mutex_);
  return lost_.Tell(session);
}

Status WriteQueue::TellAnyLost() noexcept {
  const MutexLock lock(mutex_);
  return lost_.TellAnyone();
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
  return waiting_records_ >= limits_.max_records || waiting_bytes_ >= limits_.max_bytes;
}

WriteGroup& WriteQueue::GroupFor(std::size_t bytes) {
  if (!groups_.empty() && groups_.back()->HasRoomFor(bytes)) return *groups_.back();
  std::unique_ptr<WriteGroup> group =
      spare_ != nullptr ? std::move(spare_) : std::make_unique<WriteGroup>();
  groups_.push_back(std::move(group));
  return *groups_.back();
}

std::unique_ptr<WriteGroup> WriteQueue::PopGroup() noexcept {
  std::unique_ptr<WriteGroup> group = std::move(groups_.front());
  groups_.pop_front();
  ZERVANE_ASSERT(waiting_records_ >= group->records.size() && waiting_bytes_ >= group->Bytes());
  waiting_records_ -= group->records.size();
  waiting_bytes_ -= group->Bytes();
  return group;
}

void WriteQueue::Loop() noexcept {
  const MutexLock lock(mutex_);
  for (;;) {
    while (IsCarryingOut() || (!is_closing_ && !HasWork())) work_.Wait(mutex_);
    if (!HasWork()) return;
    CarryOut();
  }
}

// A caller carries out no more than his own group and those before it, so that he does not work for
// others for ever.
Status WriteQueue::CarryOutOrAwait(Ticket& ticket) noexcept {
  const bool carries_out = !IsCarryingOut();
  if (carries_out) {
    while (!ticket.is_answered) CarryOut();
    // What came meanwhile is for the queue's thread.
    if (is_closing_ || HasWork()) work_.NotifyOne();
  }
  while (!ticket.is_answered) ticket.answered.Wait(mutex_);
  return std::move(ticket.status);
}

void WriteQueue::CarryOut() noexcept {
  ZERVANE_ASSERT(!IsCarryingOut() && HasWork());
  Turn turn = *std::move(turn_);
  turn_.reset();
  carrier_ = std::this_thread::get_id();
  std::unique_ptr<WriteGroup> group = PopGroup();
  room_.NotifyAll();
  if (!group->batches.empty()) {
    mutex_.Unlock();
    CommitGroup(turn, *group);
    mutex_.Lock();
    SettleBatches(*group);
  }
  for (const WriteGroup::Change& change : group->changes) RunChange(turn, change);
  group->Clear();
  if (spare_ == nullptr) spare_ = std::move(group);
  carrier_ = std::thread::id();
  turn_.emplace(std::move(turn));
}

void WriteQueue::CommitGroup(Turn& turn, WriteGroup& group) noexcept {
  const CommitAnswer answer = Commit(turn, group.records, group.rows);
  const bool tries_each = answer.fate == CommitAnswer::Fate::kRefused && group.batches.size() > 1;
  bool goes_on = tries_each;
  for (WriteGroup::Batch& batch : group.batches) {
    if (!goes_on) {
      batch.status = tries_each ? Status(ZR3_ERR_STORAGE_FAILED, {}) : answer.status;
      continue;
    }
    CommitAnswer alone = CommitAlone(turn, group, batch);
    goes_on = alone.fate != CommitAnswer::Fate::kUnknown;
    batch.status = std::move(alone.status);
  }
}

CommitAnswer WriteQueue::CommitAlone(Turn& turn, const WriteGroup& group,
                                     const WriteGroup::Batch& batch) noexcept {
  RecordBatch copies;
  Status copied = Guarded([&] {
    AddRange(copies, group.records, batch.begin, batch.end);
    return Status();
  });
  if (!copied.ok()) return {CommitAnswer::Fate::kRefused, std::move(copied)};
  return Commit(turn, copies, group.RowsOf(batch));
}

// What the owner throws, it throws before the store was asked.
CommitAnswer WriteQueue::Commit(Turn& turn, RecordBatch& records,
                                std::span<const RowChange> rows) noexcept {
  try {
    return owner_.Commit(turn, records, rows);
  } catch (...) {
    return {CommitAnswer::Fate::kRefused, StatusOfException()};
  }
}

void WriteQueue::SettleBatches(WriteGroup& group) noexcept {
  bool any_refused = false;
  for (WriteGroup::Batch& batch : group.batches) {
    if (batch.status.ok()) continue;
    any_refused = true;
    if (batch.ticket == nullptr) {
      lost_.Note(batch.session, batch.end - batch.begin, batch.status);
    }
  }
  if (any_refused) FallBack(group);
  for (WriteGroup::Batch& batch : group.batches) {
    if (batch.ticket == nullptr) continue;
    batch.ticket->status = std::move(batch.status);
    Answer(*batch.ticket);
  }
}

void WriteQueue::FallBack(const WriteGroup& group) noexcept {
  owner_.FallBackToStored(group.records);
  for (const std::unique_ptr<WriteGroup>& waiting : groups_) {
    owner_.CountQueued(waiting->records);
  }
}

void WriteQueue::RunChange(Turn& turn, const WriteGroup::Change& change) noexcept {
  mutex_.Unlock();
  Status status = Guarded([&] { return (*change.run)(turn); });
  mutex_.Lock();
  change.ticket->status = std::move(status);
  Answer(*change.ticket);
  if (!is_paused_) return;
  is_paused_ = false;
  room_.NotifyAll();
}

}  // namespace zervane
