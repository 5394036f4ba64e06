#pragma once

#include <atomic>

#include "engine/mutex.h"

namespace zervane {

// Ends the wait of a thread that waits for a socket, too: it waits for this one's descriptor to be
// readable. Once set it stays so until it is cleared.
//
// Threads: any.
class WakeUp {
 public:
  // Throws std::system_error when there can be no descriptor.
  WakeUp();
  ~WakeUp();
  WakeUp(const WakeUp&) = delete;
  WakeUp& operator=(const WakeUp&) = delete;

  // Setting it again costs an instruction.
  void Set() noexcept EXCLUDES(mutex_);
  // By the one who waits, before he looks at what it is about.
  void Clear() noexcept EXCLUDES(mutex_);

  bool is_set() const noexcept { return is_set_.load(); }
  int descriptor() const noexcept { return descriptor_; }

 private:
  const int descriptor_;
  Mutex mutex_;                       // for both to change together
  std::atomic<bool> is_set_ = false;  // and the descriptor is readable
};

}  // namespace zervane
