#pragma once

#include <pthread.h>

#include <new>

#include "engine/mutex.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {

// A shared mutex under which a waiting writer goes before readers that come later, so that many
// busy readers cannot keep it waiting without end, as they can with SharedMutex. A thread must not
// take it twice.
class CAPABILITY("mutex") WriterFirstMutex {
 public:
  WriterFirstMutex() {
    pthread_rwlockattr_t attributes;
    pthread_rwlockattr_init(&attributes);
    pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
    const int error = pthread_rwlock_init(&lock_, &attributes);
    pthread_rwlockattr_destroy(&attributes);
    if (error != 0) throw std::bad_alloc();
  }
  WriterFirstMutex(const WriterFirstMutex&) = delete;
  WriterFirstMutex& operator=(const WriterFirstMutex&) = delete;
  ~WriterFirstMutex() { pthread_rwlock_destroy(&lock_); }

  void Lock() ACQUIRE() { pthread_rwlock_wrlock(&lock_); }
  void Unlock() RELEASE() { pthread_rwlock_unlock(&lock_); }
  void LockShared() ACQUIRE_SHARED() { pthread_rwlock_rdlock(&lock_); }
  void UnlockShared() RELEASE_SHARED() { pthread_rwlock_unlock(&lock_); }

 private:
  pthread_rwlock_t lock_;
};

using WriteLock = BasicLock<WriterFirstMutex>;
using ReadLock = BasicSharedLock<WriterFirstMutex>;

}  // namespace zervane::storage
