#pragma once

#include "engine/mutex.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {

// A mutex for two threads: one that takes it again and again lets the other have it in between.
// Among more than two, those that wait come in no order.
class CAPABILITY("mutex") FairMutex {
 public:
  // What one of its mutexes is to the other is beyond analysis: the first is held only to wait for
  // the second.
  void Lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS {
    const MutexLock turn(next_);
    held_.Lock();
  }
  void Unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { held_.Unlock(); }

 private:
  Mutex next_;  // of the one who waits longest
  Mutex held_;
};

using Turn = BasicLock<FairMutex>;

}  // namespace zervane::storage
