#include "vask/session_mutex.h"

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <list>
#include <memory>
#include <thread>

#include "os/thread_owned.h"

namespace zervane {
namespace {

// How an exclusive hold looks again for shared ones that last.
constexpr std::chrono::microseconds kPollInterval{50};

bool Membarrier(int command) { return syscall(SYS_membarrier, command, 0, 0) == 0; }

// Whether a thread holds something shared. One for each thread, on a cache line of its own.
struct alignas(64) Holder {
  std::atomic<bool> holds{false};
};

// The holders of all threads that ever held something shared and did not end since.
class Holders {
 public:
  using Place = std::list<Holder>::iterator;

  Place Add() {
    const MutexLock lock(mutex_);
    return list_.emplace(list_.end());
  }

  void Remove(Place place) {
    const MutexLock lock(mutex_);
    ZERVANE_ASSERT(!place->holds);
    list_.erase(place);
  }

  bool AnyHolds() {
    const MutexLock lock(mutex_);
    return std::any_of(list_.begin(), list_.end(), [](const Holder& holder) {
      return holder.holds.load(std::memory_order_seq_cst);
    });
  }

 private:
  Mutex mutex_;
  std::list<Holder> list_ GUARDED_BY(mutex_);
};

// Never destroyed: threads may end after the process's static objects.
Holders& AllHolders() {
  static Holders& holders = *new Holders;
  return holders;
}

}  // namespace

constinit thread_local std::atomic<bool>* SessionMutex::holds_ = nullptr;
#ifdef ZERVANE_ASSERTS
constinit thread_local const SessionMutex* SessionMutex::held_ = nullptr;
#endif

bool SessionMutex::OffersBarrier() { return Membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED); }

void SessionMutex::Register() {
  struct Registration {
    const Holders::Place place = AllHolders().Add();
    ~Registration() {
      holds_ = nullptr;
      AllHolders().Remove(place);
    }
  };
  static os::ThreadOwned<Registration> registrations;
  holds_ =
      &registrations.OfThisThread([] { return std::make_unique<Registration>(); }).place->holds;
}

// Between two looks the registry is free, so that threads may come and end meanwhile. Those that
// come find the flag set and hold nothing for longer than it takes to see it.
void SessionMutex::Lock() {
  Holders& holders = AllHolders();  // the first time it may throw
  BeginHold();
  exclusive_.Lock();
  is_exclusive_.exchange(true, std::memory_order_seq_cst);
  if (has_barrier_) Membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
  while (holders.AnyHolds()) std::this_thread::sleep_for(kPollInterval);
}

void SessionMutex::Unlock() {
  EndHold();
  is_exclusive_.store(false, std::memory_order_release);
  exclusive_.Unlock();
}

void SessionMutex::AwaitExclusiveEnd() { const MutexLock lock(exclusive_); }

}  // namespace zervane
