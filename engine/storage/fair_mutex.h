#pragma once

#include <mutex>

namespace zervane::storage {

// A mutex that goes to those who ask in their order, so that a thread which takes it again and
// again keeps no other waiting. For std::unique_lock and std::lock_guard.
class FairMutex {
 public:
  void lock() {
    const std::lock_guard turn(next_);
    held_.lock();
  }
  void unlock() { held_.unlock(); }

 private:
  std::mutex next_;  // held by the one who waits longest
  std::mutex held_;
};

}  // namespace zervane::storage
