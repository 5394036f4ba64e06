#pragma once

#include <optional>
#include <utility>

#include "api/words/status.h"
#include "engine/mutex.h"

namespace zervane {

// What a poll has got from the database until the caller has it: where handing it out fails, for
// want of memory, the next poll begins with it, so that nothing that has changed is lost.
//
// Threads: any; polls are served in turn, so that what is handed out is in order.
template <typename Batch>
class Polled {
 public:
  // Hands out what is left of an earlier poll, else what Result<Batch> poll() answers, by Status
  // hand_out(const Batch&).
  template <typename Poll, typename HandOut>
  Status HandOver(Poll&& poll, HandOut&& hand_out) EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    if (!left_) {
      Result<Batch> polled = poll();
      if (!polled.ok()) return polled.status();
      left_ = *std::move(polled);
    }
    Status status = hand_out(std::as_const(*left_));
    if (status.ok()) left_.reset();
    return status;
  }

  // Forgets what is left: the session has ended.
  void Clear() EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    left_.reset();
  }

 private:
  Mutex mutex_;
  std::optional<Batch> left_ GUARDED_BY(mutex_);
};

}  // namespace zervane
