#pragma once

#include <atomic>

#include "engine/assert.h"
#include "engine/mutex.h"
#include "engine/thread_annotations.h"

namespace zervane {

// A shared mutex for very many short shared holds on many threads, and exclusive ones now and then:
// a shared hold writes to a place of its thread alone and costs about a nanosecond; an exclusive
// one makes all processor cores take note of it and waits for the shared ones to end. While one
// waits, later shared holds wait for it, so endless calls cannot keep it out.
//
// That place is one for all mutexes of this class, so no thread may hold one twice, or two of them
// at a time, in whichever way. Asserted. To be used with SessionLock and SharedSessionLock.
class CAPABILITY("mutex") SessionMutex {
 public:
  // Shared holds are that cheap where the system offers a barrier for all cores, and may use it.
  explicit SessionMutex(bool may_use_barrier = true)
      : has_barrier_(may_use_barrier && OffersBarrier()) {}
  SessionMutex(const SessionMutex&) = delete;
  SessionMutex& operator=(const SessionMutex&) = delete;

  void Lock() ACQUIRE();
  void Unlock() RELEASE();

  // A shared hold is announced by a plain store before the look at is_exclusive_, which the
  // processor may let pass each other. The barrier in Lock() makes every core finish what it began:
  // a hold that did not see the flag is seen by Lock(), and whoever comes later sees the flag. A
  // system without that barrier makes every shared hold pay for one.
  void LockShared() ACQUIRE_SHARED() {
    std::atomic<bool>& holds = HoldsOfThisThread();  // the first time it may throw
    BeginHold();
    for (;;) {
      if (has_barrier_) {
        holds.store(true, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);  // for the compiler
      } else {
        holds.exchange(true, std::memory_order_seq_cst);
      }
      if (!is_exclusive_.load(std::memory_order_seq_cst)) return;
      holds.store(false, std::memory_order_release);
      AwaitExclusiveEnd();
    }
  }

  void UnlockShared() RELEASE_SHARED() {
    EndHold();
    std::atomic<bool>& holds = HoldsOfThisThread();
    ZERVANE_ASSERT(holds.load(std::memory_order_relaxed));
    holds.store(false, std::memory_order_release);
  }

  // For where analysis cannot follow: this thread holds it, shared or not. Checked where asserts
  // are.
  void AssertHeld() const ASSERT_HELD_SHARED() { ZERVANE_ASSERT(IsHeldByThisThread()); }

 private:
  static bool OffersBarrier();

  // Whether the thread holds one shared; registered at its first hold, until it ends.
  static std::atomic<bool>& HoldsOfThisThread() {
    if (holds_ == nullptr) Register();
    return *holds_;
  }
  static void Register();
  void AwaitExclusiveEnd() EXCLUDES(exclusive_);

#ifdef ZERVANE_ASSERTS
  void BeginHold() const {
    ZERVANE_ASSERT(held_ == nullptr);
    held_ = this;
  }
  void EndHold() const {
    ZERVANE_ASSERT(IsHeldByThisThread());
    held_ = nullptr;
  }
  bool IsHeldByThisThread() const { return held_ == this; }

  static constinit thread_local const SessionMutex* held_;  // in whichever way
#else
  void BeginHold() const {}
  void EndHold() const {}
  static constexpr bool IsHeldByThisThread() { return true; }
#endif

  // Found without a call of the dynamic linker, which costs more than the rest of a hold.
  [[gnu::tls_model("initial-exec")]] static constinit thread_local std::atomic<bool>* holds_;

  const bool has_barrier_;
  std::atomic<bool> is_exclusive_{false};  // or waits to be
  Mutex exclusive_;                        // held by the one who is
};

using SessionLock = BasicLock<SessionMutex>;
using SharedSessionLock = BasicSharedLock<SessionMutex>;

}  // namespace zervane
