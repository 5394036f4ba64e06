#pragma once

#include "engine/mutex.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {

// A mutex for two threads: one that locks it again and again lets the other have it in between,
// since whoever waits keeps it from queuing up anew. Among more than two, those that wait come in
// no order.
class CAPABILITY("mutex") FairMutex {
 public:
  // What one of its mutexes is to the other is beyond analysis: the first is held only to wait for
  // the second.
  void Lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS {
    const MutexLock next(next_);
    held_.Lock();
  }
  void Unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { held_.Unlock(); }

 private:
  Mutex next_;  // of the one who is next to have it
  Mutex held_;  // of the one who has it
};

// Holds the writing connection.
using WriterHold = BasicLock<FairMutex>;

}  // namespace zervane::storage
