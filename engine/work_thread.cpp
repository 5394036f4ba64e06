#include "engine/work_thread.h"

#include <algorithm>

#include "engine/guard.h"
#include "engine/log.h"

namespace zervane {

void WorkThread::Start() {
  thread_ = std::thread([this] { Loop(); });
}

void WorkThread::Stop() noexcept {
  {
    const MutexLock lock(mutex_);
    is_stopping_.store(true);
    change_.NotifyAll();
  }
  if (thread_.joinable()) thread_.join();
}

void WorkThread::Wake() noexcept {
  const MutexLock lock(mutex_);
  is_awake_ = true;
  change_.NotifyAll();
}

void WorkThread::Loop() noexcept {
  bool has_failed = false;  // which is told once
  for (;;) {
    const Status status = Guarded(job_.work);
    if (is_stopping()) return;
    if (!status.ok() && !has_failed) {
      LogError("{}: what failed is tried again every second: {}", job_.what, status.message());
    }
    has_failed = !status.ok();
    Sleep(has_failed);
  }
}

void WorkThread::Sleep(bool has_failed) noexcept {
  std::chrono::milliseconds sleep = kLongestSleep;
  if (!has_failed) {
    const std::int64_t deadline_ms = job_.next_deadline_ms();
    const std::int64_t now_ms = clock_();
    const std::int64_t left_ms = deadline_ms > now_ms ? deadline_ms - now_ms : 0;
    sleep = std::chrono::milliseconds(std::min<std::int64_t>(left_ms, kLongestSleep.count()));
  }
  const MutexLock lock(mutex_);
  const bool may_sleep = !is_stopping() && (has_failed || !is_awake_) && sleep.count() > 0;
  if (may_sleep) change_.WaitFor(mutex_, sleep);
  is_awake_ = false;
}

}  // namespace zervane
