#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <thread>
#include <vector>

#include "api/operations/values.h"
#include "api/words/status.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"
#include "engine/write/write_group.h"

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

  // Starts the thread; throws std::system_error when there can be none.
  WriteQueue(Owner& owner, const Limits& limits);
  ~WriteQueue();
  WriteQueue(const WriteQueue&) = delete;
  WriteQueue& operator=(const WriteQueue&) = delete;

  // Queues what `admit` appends, as one batch: all or nothing of it is stored. The status of the
  // store, when the answer is to be durable; ZR3_ERR_NOT_CONNECTED after Close, and `admit` was not
  // called.
  Status Write(WriteAnswer answer, const Admit& admit) EXCLUDES(mutex_);

  // Carries out a change of the store, after all that was queued before and with no commit beside
  // it, and answers its status. ZR3_ERR_NOT_CONNECTED after Close.
  Status Run(const std::function<Status()>& change) EXCLUDES(mutex_);

  // The status of the first batch that nobody waited for and that could not be stored, once; then
  // 0 again until the next one.
  Status TakeFailure() EXCLUDES(mutex_);

  // Stores what is queued, ends the thread and refuses all later calls.
  void Close() EXCLUDES(mutex_, join_mutex_);

  // While it is held nothing is admitted; for changes that Run carries out:
  //
  //   const MutexLock no_admission(queue.mutex());
  //   queue.Drop(tag);
  Mutex& mutex() RETURN_CAPABILITY(mutex_) { return mutex_; }
  // Forgets the queued records of a tag.
  void Drop(TagId tag) noexcept REQUIRES(mutex_) { waiting_.Drop(tag); }

 private:
  // From where something is carried out to where its tickets are answered nothing throws: an
  // exception on the way would leave callers who wait for ever. What may throw, the owner's commit
  // and the changes, becomes a status where it is called.
  void Loop() noexcept EXCLUDES(mutex_);
  // Carries out all that waits; nobody else does. In between the mutex is given up.
  void CarryOut() noexcept REQUIRES(mutex_);
  Status CarryOutOrAwait(Ticket& ticket) noexcept REQUIRES(mutex_);
  bool IsCarryingOut() const REQUIRES(mutex_) { return carrier_ != std::thread::id(); }
  bool IsCarriedOutHere() const REQUIRES(mutex_) { return carrier_ == std::this_thread::get_id(); }

  // By the thread that carries out, without the mutex: these take long.
  void CommitGroup() noexcept;
  Status Commit(std::vector<AcceptedSample>& records) noexcept;
  Status CommitAlone(const WriteGroup::Batch& batch) noexcept;
  void RunChanges() noexcept;

  bool IsFull() const REQUIRES(mutex_);
  void SettleBatches() noexcept REQUIRES(mutex_);
  void SettleChanges() noexcept REQUIRES(mutex_);
  void KeepFailure(WriteGroup::Batch& batch) noexcept REQUIRES(mutex_);

  Owner& owner_;
  const Limits limits_;

  Mutex mutex_;
  CondVar work_;  // something waits that nobody carries out, or the queue closes
  CondVar room_;  // the queue has room, or closes
  WriteGroup waiting_ GUARDED_BY(mutex_);
  std::thread::id carrier_ GUARDED_BY(mutex_);  // the thread that carries out; of none: nobody
  bool is_closing_ GUARDED_BY(mutex_) = false;
  Status failure_ GUARDED_BY(mutex_);

  WriteGroup taken_;  // of the carrier; empty when there is none
  Mutex join_mutex_;
  std::thread thread_ GUARDED_BY(join_mutex_);
};

}  // namespace zervane
