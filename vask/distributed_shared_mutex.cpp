#include "vask/distributed_shared_mutex.h"

#include <atomic>

namespace zervane {

DistributedSharedMutex::DistributedSharedMutex() {
  pthread_rwlockattr_t attributes;
  pthread_rwlockattr_init(&attributes);
  pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
  for (Part& part : parts_) pthread_rwlock_init(&part.lock, &attributes);
  pthread_rwlockattr_destroy(&attributes);
}

DistributedSharedMutex::~DistributedSharedMutex() {
  for (Part& part : parts_) pthread_rwlock_destroy(&part.lock);
}

void DistributedSharedMutex::lock() {
  for (Part& part : parts_) pthread_rwlock_wrlock(&part.lock);
}

void DistributedSharedMutex::unlock() {
  for (Part& part : parts_) pthread_rwlock_unlock(&part.lock);
}

void DistributedSharedMutex::lock_shared() { pthread_rwlock_rdlock(&PartOfThisThread().lock); }

void DistributedSharedMutex::unlock_shared() { pthread_rwlock_unlock(&PartOfThisThread().lock); }

DistributedSharedMutex::Part& DistributedSharedMutex::PartOfThisThread() {
  static std::atomic<std::size_t> next_part{0};
  thread_local const std::size_t part = next_part.fetch_add(1, std::memory_order_relaxed) % kParts;
  return parts_[part];
}

}  // namespace zervane
