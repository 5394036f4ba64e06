#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <shared_mutex>

#include "engine/assert.h"
#include "engine/thread_annotations.h"
#ifdef ZERVANE_ASSERTS
#include <atomic>
#include <thread>
#endif

// The standard library's mutexes, in words that thread-safety analysis understands:
//
//   Mutex mutex_;
//   std::size_t waiting_ GUARDED_BY(mutex_) = 0;
//   CondVar room_;
//
//   const MutexLock lock(mutex_);
//   while (waiting_ > 0) room_.Wait(mutex_);
namespace zervane {

class CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void Lock() ACQUIRE() {
    mutex_.lock();
    BeginHold();
  }
  void Unlock() RELEASE() {
    EndHold();
    mutex_.unlock();
  }

  // For where analysis cannot follow. Checked where asserts are.
  void AssertHeld() const ASSERT_HELD() { ZERVANE_ASSERT(IsHeldByThisThread()); }

 private:
  friend class CondVar;

#ifdef ZERVANE_ASSERTS
  void BeginHold() { holder_.store(std::this_thread::get_id(), std::memory_order_relaxed); }
  void EndHold() {
    ZERVANE_ASSERT(IsHeldByThisThread());
    holder_.store(std::thread::id(), std::memory_order_relaxed);
  }
  bool IsHeldByThisThread() const {
    return holder_.load(std::memory_order_relaxed) == std::this_thread::get_id();
  }
  std::atomic<std::thread::id> holder_;
#else
  void BeginHold() {}
  void EndHold() {}
  static constexpr bool IsHeldByThisThread() { return true; }
#endif

  std::mutex mutex_;
};

class CAPABILITY("mutex") SharedMutex {
 public:
  SharedMutex() = default;
  SharedMutex(const SharedMutex&) = delete;
  SharedMutex& operator=(const SharedMutex&) = delete;

  void Lock() ACQUIRE() { mutex_.lock(); }
  void Unlock() RELEASE() { mutex_.unlock(); }
  void LockShared() ACQUIRE_SHARED() { mutex_.lock_shared(); }
  void UnlockShared() RELEASE_SHARED() { mutex_.unlock_shared(); }

 private:
  std::shared_mutex mutex_;
};

// Holds a mutex as long as it lives; in between it may be given up with Unlock.
template <typename AnyMutex>
class SCOPED_CAPABILITY BasicLock {
 public:
  explicit BasicLock(AnyMutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex.Lock(); }
  BasicLock(const BasicLock&) = delete;
  BasicLock& operator=(const BasicLock&) = delete;
  ~BasicLock() RELEASE() {
    if (holds_) mutex_.Unlock();
  }

  void Unlock() RELEASE() {
    ZERVANE_ASSERT(holds_);
    holds_ = false;
    mutex_.Unlock();
  }
  void Lock() ACQUIRE() {
    ZERVANE_ASSERT(!holds_);
    mutex_.Lock();
    holds_ = true;
  }

 private:
  AnyMutex& mutex_;
  bool holds_ = true;
};

// Holds a mutex shared with other such holds.
template <typename AnyMutex>
class SCOPED_CAPABILITY BasicSharedLock {
 public:
  explicit BasicSharedLock(AnyMutex& mutex) ACQUIRE_SHARED(mutex) : mutex_(mutex) {
    mutex.LockShared();
  }
  BasicSharedLock(const BasicSharedLock&) = delete;
  BasicSharedLock& operator=(const BasicSharedLock&) = delete;
  ~BasicSharedLock() RELEASE_ANY() { mutex_.UnlockShared(); }

 private:
  AnyMutex& mutex_;
};

using MutexLock = BasicLock<Mutex>;
using WriterLock = BasicLock<SharedMutex>;
using ReaderLock = BasicSharedLock<SharedMutex>;

// Waiting gives the mutex up meanwhile and may end for no reason: loop on what is waited for.
class CondVar {
 public:
  void Wait(Mutex& mutex) REQUIRES(mutex) {
    mutex.EndHold();
    std::unique_lock lock(mutex.mutex_, std::adopt_lock);
    condition_.wait(lock);
    lock.release();
    mutex.BeginHold();
  }

  // No longer than the time.
  void WaitFor(Mutex& mutex, std::chrono::milliseconds time) REQUIRES(mutex) {
    mutex.EndHold();
    std::unique_lock lock(mutex.mutex_, std::adopt_lock);
    condition_.wait_for(lock, time);
    lock.release();
    mutex.BeginHold();
  }

  void NotifyOne() { condition_.notify_one(); }
  void NotifyAll() { condition_.notify_all(); }

 private:
  std::condition_variable condition_;
};

}  // namespace zervane
