#pragma once

#include <atomic>
#include <mutex>

namespace zervane {

// A shared mutex for very many short shared holds on many threads, and exclusive ones now and then:
// a shared hold writes to a place of its thread alone and costs a few nanoseconds; an exclusive one
// makes all processor cores take note of it and waits for the shared ones to end. While one waits,
// later shared holds wait for it, so endless calls cannot keep it out.
//
// No thread may hold it twice, or two of them at a time. To be used with std::shared_lock and
// std::unique_lock.
class SessionMutex {
 public:
  // Shared holds are that cheap where the system offers a barrier for all cores, and may use it.
  explicit SessionMutex(bool may_use_barrier = true)
      : has_barrier_(may_use_barrier && OffersBarrier()) {}
  SessionMutex(const SessionMutex&) = delete;
  SessionMutex& operator=(const SessionMutex&) = delete;

  void lock();
  void unlock();

  // A shared hold is announced by a plain store before the look at is_exclusive_, which the
  // processor may let pass each other. The barrier in lock() makes every core finish what it began:
  // a hold that did not see the flag is seen by lock(), and whoever comes later sees the flag. A
  // system without that barrier makes every shared hold pay for one.
  void lock_shared() {
    std::atomic<bool>& holds = HoldsOfThisThread();
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

  void unlock_shared() { HoldsOfThisThread().store(false, std::memory_order_release); }

 private:
  static bool OffersBarrier();

  // Whether the thread holds one shared; registered at its first hold, until it ends.
  static std::atomic<bool>& HoldsOfThisThread() {
    if (holds_ == nullptr) Register();
    return *holds_;
  }
  static void Register();
  void AwaitExclusiveEnd();

  // Found without a call of the dynamic linker, which costs more than the rest of a hold.
  [[gnu::tls_model("initial-exec")]] static constinit thread_local std::atomic<bool>* holds_;

  const bool has_barrier_;
  std::atomic<bool> is_exclusive_{false};  // or waits to be
  std::mutex exclusive_;                   // held by the one who is
};

}  // namespace zervane
