#include "vask/distributed_shared_mutex.h"

#include <atomic>

namespace zervane {

DistributedSharedMutex::DistributedSharedMutex() {
  pthread_rwlockattr_t attributes;
  pthread_rwlockattr_init(&attributes);
  pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
  for (Stripe& stripe : stripes_) pthread_rwlock_init(&stripe.lock, &attributes);
  pthread_rwlockattr_destroy(&attributes);
}

DistributedSharedMutex::~DistributedSharedMutex() {
  for (Stripe& stripe : stripes_) pthread_rwlock_destroy(&stripe.lock);
}

void DistributedSharedMutex::lock() {
  for (Stripe& stripe : stripes_) pthread_rwlock_wrlock(&stripe.lock);
}

void DistributedSharedMutex::unlock() {
  for (Stripe& stripe : stripes_) pthread_rwlock_unlock(&stripe.lock);
}

void DistributedSharedMutex::lock_shared() { pthread_rwlock_rdlock(&StripeOfThisThread().lock); }

void DistributedSharedMutex::unlock_shared() { pthread_rwlock_unlock(&StripeOfThisThread().lock); }

DistributedSharedMutex::Stripe& DistributedSharedMutex::StripeOfThisThread() {
  static std::atomic<std::size_t> next_stripe{0};
  thread_local const std::size_t stripe =
      next_stripe.fetch_add(1, std::memory_order_relaxed) % kStripes;
  return stripes_[stripe];
}

}  // namespace zervane
