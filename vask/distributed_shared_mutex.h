#pragma once

#include <pthread.h>

#include <array>
#include <cstddef>

namespace zervane {

// A shared mutex for many short shared holds on many threads: each thread takes a stripe of its
// own, so that threads do not pass one cache line to and fro; an exclusive hold takes every stripe.
// Who waits for an exclusive hold goes before shared holds that come later, so endless calls cannot
// keep it out. No thread may hold it twice. To be used with std::shared_lock and std::unique_lock.
class DistributedSharedMutex {
 public:
  DistributedSharedMutex();
  ~DistributedSharedMutex();
  DistributedSharedMutex(const DistributedSharedMutex&) = delete;
  DistributedSharedMutex& operator=(const DistributedSharedMutex&) = delete;

  void lock();
  void unlock();
  void lock_shared();
  void unlock_shared();

 private:
  static constexpr std::size_t kStripes = 32;
  static constexpr std::size_t kCacheLineBytes = 64;

  struct alignas(kCacheLineBytes) Stripe {
    pthread_rwlock_t lock;
  };

  Stripe& StripeOfThisThread();

  std::array<Stripe, kStripes> stripes_;
};

}  // namespace zervane
