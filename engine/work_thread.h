#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include "api/words/status.h"
#include "engine/clock.h"
#include "engine/mutex.h"

namespace zervane {

// A thread that does what the database has to do by itself, whenever there is something: woken, or
// when a deadline has passed. What fails is tried again every second, and told once.
//
//   WorkThread thread({.what = "alarms", .work = ..., .next_deadline_ms = ...}, clock);
//   thread.Start();
//
// Threads: any may call Wake and is_stopping; the others one after the other.
class WorkThread {
 public:
  struct Job {
    std::string what;  // it is about, for the log
    // Does all that is to be done now, and looks at is_stopping between its steps.
    std::function<Status()> work;
    // When by the clock there is something to do next; the greatest number: never.
    std::function<std::int64_t()> next_deadline_ms;
  };

  WorkThread(Job job, Clock clock) : job_(std::move(job)), clock_(std::move(clock)) {}
  ~WorkThread() { Stop(); }
  WorkThread(const WorkThread&) = delete;
  WorkThread& operator=(const WorkThread&) = delete;

  // Throws std::system_error when there can be no thread.
  void Start() EXCLUDES(mutex_);
  // Ends the thread, with the step that it is at done. It does not start again.
  void Stop() noexcept EXCLUDES(mutex_);
  // There may be something to do sooner than the thread knows.
  void Wake() noexcept EXCLUDES(mutex_);

  bool is_stopping() const { return is_stopping_.load(); }

 private:
  // The clock may be set while the thread sleeps; and what has failed is tried again.
  static constexpr std::chrono::milliseconds kLongestSleep{1'000};

  void Loop() noexcept EXCLUDES(mutex_);
  void Sleep(bool has_failed) noexcept EXCLUDES(mutex_);

  const Job job_;
  const Clock clock_;
  std::atomic<bool> is_stopping_ = false;

  Mutex mutex_;
  CondVar change_;
  bool is_awake_ GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace zervane
