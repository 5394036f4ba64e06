#pragma once

#include "engine/assert.h"
#include "engine/mutex.h"
#include "engine/thread_annotations.h"
#ifdef ZERVANE_ASSERTS
#include <atomic>
#endif

namespace zervane::storage {

// What only one thread does at a time because its callers see to that, not because it waits: a
// second thread that comes meanwhile is a mistake, which asserts tell. What belongs to whoever does
// it is GUARDED_BY it.
class CAPABILITY("role") OneAtATime {
 public:
  void Lock() ACQUIRE() { ZERVANE_ASSERT(!is_taken_.exchange(true)); }
  void Unlock() RELEASE() { ZERVANE_ASSERT(is_taken_.exchange(false)); }

 private:
#ifdef ZERVANE_ASSERTS
  std::atomic<bool> is_taken_ = false;
#else
  struct Nothing {
    static bool exchange(bool) { return false; }
  };
  [[no_unique_address]] Nothing is_taken_;
#endif
};

using Role = BasicLock<OneAtATime>;

}  // namespace zervane::storage
