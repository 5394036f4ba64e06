#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "engine/archive/write_group.h"
#include "engine/database.h"
#include "engine/status.h"
#include "engine/storage/store.h"

namespace zervane {

// What every call answers once the database is closed: ZR3_ERR_NOT_CONNECTED.
Status DatabaseClosed();

// The one way to the store: one thread at a time commits together what many callers handed in, in
// the order in which they did, and carries out all other changes of the store in between.
//
// That is the queue's own thread, or a caller who waits anyway and finds nobody at it: waking
// another thread, handing it the batch and being woken again would take longer than most commits.
//
// The queue is bounded: once it is full, callers wait; nothing is dropped. When a group of several
// batches is refused by the store, each is tried alone, so that one takes no other along.
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
    // Stores the records, all or none, and makes them readable. When it succeeds it may have taken
    // them; on a failure they are untouched, but for their marks. On one thread at a time.
    virtual Status Commit(std::vector<AcceptedSample>& records) = 0;

    // Some of the `settled` records could not be stored; `queued` are those that still wait. On the
    // thread that committed them, under the queue's lock.
    virtual void Refused(std::span<const AcceptedSample> settled,
                         std::span<const AcceptedSample> queued) noexcept = 0;

   protected:
    ~Owner() = default;
  };

  // Appends accepted records to those that wait, under the queue's lock. When it throws, it has
  // appended nothing.
  using Admit = std::function<void(std::vector<AcceptedSample>&)>;

  // How much waits, apart from what is being committed.
  struct Load {
    std::size_t records = 0;
    std::size_t bytes = 0;
    std::size_t blocked_callers = 0;  // until there is room
  };

  // Starts the thread; throws std::system_error when there can be none.
  WriteQueue(Owner& owner, const Limits& limits);
  ~WriteQueue();
  WriteQueue(const WriteQueue&) = delete;
  WriteQueue& operator=(const WriteQueue&) = delete;

  // Queues what `admit` appends, as one batch: all or nothing of it is stored. The status of the
  // store, when the answer is to be durable; ZR3_ERR_NOT_CONNECTED after Close, and `admit` was not
  // called.
  Status Write(WriteAnswer answer, const Admit& admit);

  // Carries out a change of the store, after all that was queued before and with no commit beside
  // it, and answers its status. ZR3_ERR_NOT_CONNECTED after Close.
  Status Run(const std::function<Status()>& change);

  // The status of the first batch that nobody waited for and that could not be stored, once; then
  // 0 again until the next one.
  Status TakeFailure();

  // Stores what is queued, ends the thread and refuses all later calls.
  void Close();

  Load load();

  // While the lock is held nothing is admitted; for changes that Run carries out.
  std::unique_lock<std::mutex> Lock() { return std::unique_lock(mutex_); }
  // Forgets the queued records of a tag. Under Lock.
  void Drop(TagId tag) { waiting_.Drop(tag); }

 private:
  // From where something is carried out to where its tickets are answered nothing throws: an
  // exception on the way would leave callers who wait for ever. What may throw, the owner's commit
  // and the changes, becomes a status where it is called.
  void Loop() noexcept;
  // Carries out all that waits; nobody else does. The lock is held before and after.
  void CarryOut(std::unique_lock<std::mutex>& lock) noexcept;
  Status CarryOutOrAwait(Ticket& ticket, std::unique_lock<std::mutex>& lock) noexcept;
  void CommitGroup() noexcept;
  Status Commit(std::vector<AcceptedSample>& records) noexcept;
  Status CommitAlone(const WriteGroup::Batch& batch) noexcept;
  void RunChanges() noexcept;

  // Under the lock.
  bool IsFull() const;
  void SettleBatches() noexcept;
  void SettleChanges() noexcept;
  void KeepFailure(WriteGroup::Batch& batch) noexcept;

  Owner& owner_;
  const Limits limits_;

  std::mutex mutex_;              // guards all down to `failure_`
  std::condition_variable work_;  // something waits that nobody carries out, or the queue closes
  std::condition_variable room_;  // the queue has room, or closes
  WriteGroup waiting_;
  std::size_t blocked_callers_ = 0;
  bool is_carrying_out_ = false;  // some thread
  bool is_closing_ = false;
  Status failure_;

  WriteGroup taken_;  // of the thread that carries it out
  std::mutex join_mutex_;
  std::thread thread_;
};

}  // namespace zervane
