#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "api/caller.h"
#include "api/operations/values.h"
#include "api/words/status.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"
#include "engine/write/lost_batches.h"
#include "engine/write/turn.h"
#include "engine/write/write_group.h"

namespace zervane {

// What every call answers once the database is closed: ZR3_ERR_NOT_CONNECTED.
Status DatabaseClosed();

// The one way to the store: one thread at a time has the turn. It commits together what many
// callers handed in, group by group, in the order in which they did, and carries out all other
// changes of the store in between.
//
// That is the queue's own thread, or a caller who waits anyway and finds nobody at it: waking
// another thread, handing it the batch and being woken again would take longer than most commits.
//
// The queue is bounded: once it is full, callers wait; nothing is dropped. When a group of several
// batches is refused by the store, each is tried alone, so that one takes no other along; when it
// is unknown whether the store has it, nothing more is tried.
//
// Threads: any may call, but Write, Run and Close not from within a commit or a change.
class WriteQueue {
 public:
  // The queue is full with as many records or bytes; the batch that gets it there is still taken.
  struct Limits {
    std::size_t max_records = 262'144;
    std::size_t max_bytes = 64U << 20;
  };

  // What goes through the queue belongs to someone who knows what it means.
  class Owner {
   public:
    // Stores the records and the rows that go with them, all or none, and makes them readable. When
    // it succeeds it may have taken the records; on a failure they are untouched, but for their
    // marks.
    virtual CommitAnswer Commit(Turn& turn, RecordBatch& records,
                                std::span<const RowChange> rows) = 0;

    // Some of the `settled` records could not be stored; after that it is told all that still wait,
    // group by group. On the thread that committed them, under the queue's lock.
    virtual void FallBackToStored(const RecordBatch& settled) noexcept = 0;
    virtual void CountQueued(const RecordBatch& queued) noexcept = 0;

   protected:
    ~Owner() = default;
  };

  // A batch that is handed in. Its size may be overstated.
  struct Offer {
    WriteAnswer answer = WriteAnswer::kDurable;
    SessionId session = 0;
    std::size_t bytes = 0;
    // Stored with the batch's records or not at all; taken when these are queued.
    std::span<RowChange> rows = {};
  };

  // What became of it: the status of the store, when the answer is to be durable, or
  // ZR3_ERR_NOT_CONNECTED after Close. When a durable batch is stored, also that of the session's
  // first batch that was lost since it was told last.
  struct Outcome {
    Status status;
    Status lost;
  };

  // Appends accepted records to those that wait, under the queue's lock. When it throws, it has
  // appended nothing.
  using Admit = std::function<void(RecordBatch&)>;
  // A change of the store, by whoever has the turn.
  using ChangeFunction = std::function<Status(Turn&)>;

  // Starts the thread; throws std::system_error when there can be none.
  WriteQueue(Owner& owner, Turn turn, const Limits& limits);
  ~WriteQueue();
  WriteQueue(const WriteQueue&) = delete;
  WriteQueue& operator=(const WriteQueue&) = delete;

  // Queues what `admit` appends, as one batch: all or nothing of it is stored. When it appends
  // nothing, no row is stored, either. After Close `admit` is not called.
  Outcome Write(const Offer& offer, const Admit& admit) EXCLUDES(mutex_);

  // Carries out a change of the store, after all that was queued before and with no commit beside
  // it, and answers its status. ZR3_ERR_NOT_CONNECTED after Close.
  Status Run(const ChangeFunction& change) EXCLUDES(mutex_);

  // Until the change that runs is over, nothing is admitted: callers wait. To be called by it.
  void PauseAdmission(Turn& turn) noexcept EXCLUDES(mutex_);

  // The status of the first batch of the session that nobody waited for and that could not be
  // stored, unless it was told, once; then 0 again until the next one. And that of any session.
  Status TellLost(SessionId session) noexcept EXCLUDES(mutex_);
  Status TellAnyLost() noexcept EXCLUDES(mutex_);

  // Stores what is queued, ends the thread and refuses all later calls.
  void Close() EXCLUDES(mutex_, join_mutex_);

  // What Admit is called under, and whatever else must not meet it.
  Mutex& mutex() RETURN_CAPABILITY(mutex_) { return mutex_; }

 private:
  // From where something is carried out to where its tickets are answered nothing throws: an
  // exception on the way would leave callers who wait for ever. What may throw, the owner's commit
  // and the changes, becomes a status where it is called.
  void Loop() noexcept EXCLUDES(mutex_);
  // Carries out the first group that waits; nobody else does. In between the mutex is given up.
  void CarryOut() noexcept REQUIRES(mutex_);
  Status CarryOutOrAwait(Ticket& ticket) noexcept REQUIRES(mutex_);
  bool IsCarryingOut() const REQUIRES(mutex_) { return !turn_.has_value(); }
  bool IsCarriedOutHere() const REQUIRES(mutex_) { return carrier_ == std::this_thread::get_id(); }

  // By the thread that carries out, without the mutex: these take long.
  void CommitGroup(Turn& turn, WriteGroup& group) noexcept;
  CommitAnswer Commit(Turn& turn, RecordBatch& records, std::span<const RowChange> rows) noexcept;
  CommitAnswer CommitAlone(Turn& turn, const WriteGroup& group,
                           const WriteGroup::Batch& batch) noexcept;

  bool HasWork() const REQUIRES(mutex_) { return !groups_.empty() && !groups_.front()->IsEmpty(); }
  bool IsFull() const REQUIRES(mutex_);
  // The group for so many more bytes, the last one or a new one behind it.
  WriteGroup& GroupFor(std::size_t bytes) REQUIRES(mutex_);
  std::unique_ptr<WriteGroup> PopGroup() noexcept REQUIRES(mutex_);
  void SettleBatches(WriteGroup& group) noexcept REQUIRES(mutex_);
  void FallBack(const WriteGroup& group) noexcept REQUIRES(mutex_);
  void RunChange(Turn& turn, const WriteGroup::Change& change) noexcept REQUIRES(mutex_);

  Owner& owner_;
  const Limits limits_;

  Mutex mutex_;
  CondVar work_;  // something waits that nobody carries out, or the queue closes
  CondVar room_;  // the queue has room and admits, or it closes
  // What waits. Only the last group may be empty.
  std::deque<std::unique_ptr<WriteGroup>> groups_ GUARDED_BY(mutex_);
  std::size_t waiting_records_ GUARDED_BY(mutex_) = 0;  // of the groups
  std::size_t waiting_bytes_ GUARDED_BY(mutex_) = 0;
  std::unique_ptr<WriteGroup> spare_ GUARDED_BY(mutex_);  // empty, with memory for the next one
  std::optional<Turn> turn_ GUARDED_BY(mutex_);           // none while someone carries out
  std::thread::id carrier_ GUARDED_BY(mutex_);            // who does
  bool is_paused_ GUARDED_BY(mutex_) = false;
  bool is_closing_ GUARDED_BY(mutex_) = false;
  LostBatches lost_ GUARDED_BY(mutex_);

  Mutex join_mutex_;
  std::thread thread_ GUARDED_BY(join_mutex_);
};

}  // namespace zervane
