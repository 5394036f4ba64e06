#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "engine/security/login_delays.h"

namespace zervane {

// Notes how long failures were to wait, and comes back at once, unless it is to hold them.
class FakePause final : public Pause {
 public:
  void Wait(std::chrono::milliseconds time) override {
    std::unique_lock lock(mutex_);
    waits_.push_back(time.count());
    changed_.notify_all();
    changed_.wait(lock, [&] { return !holds_ || has_ended_; });
  }
  void End() noexcept override {
    const std::lock_guard lock(mutex_);
    has_ended_ = true;
    changed_.notify_all();
  }

  void Hold() { Set(true); }
  void Release() { Set(false); }
  // Waits until so many waits have begun.
  void AwaitWaits(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return waits_.size() >= count; });
  }
  // In milliseconds.
  std::vector<std::int64_t> waits() {
    const std::lock_guard lock(mutex_);
    return waits_;
  }

 private:
  void Set(bool holds) {
    const std::lock_guard lock(mutex_);
    holds_ = holds;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::int64_t> waits_;
  bool holds_ = false;
  bool has_ended_ = false;
};

}  // namespace zervane
