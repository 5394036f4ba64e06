#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "api/words/status.h"
#include "engine/mutex.h"

namespace zervane {

// How a failed login waits. Threads: any.
class Pause {
 public:
  virtual ~Pause() = default;
  // Comes back after the time, or once End was called.
  virtual void Wait(std::chrono::milliseconds time) = 0;
  virtual void End() noexcept = 0;
};
// By the machine's clock.
std::unique_ptr<Pause> MachinePause();

// Has those who guess passwords wait: each failure of a name in a row is answered later than the
// one before, and tries of one name are made one after the other, so that trying from many sides
// makes nothing faster. Other names do not wait. Success makes good again what has failed.
//
//   status = delays.Try(name, [&] { return CheckPassword(name, password); });
//
// Threads: any.
class LoginDelays {
 public:
  // Of how many names failures are remembered: those that failed last.
  static constexpr std::size_t kMaxNames = 10'000;
  static constexpr std::chrono::milliseconds kFirst{100};  // and twice that with every failure
  static constexpr std::chrono::milliseconds kLongest{30'000};

  explicit LoginDelays(std::unique_ptr<Pause> pause) : pause_(std::move(pause)) {}

  // The status of check(), of which ZR3_ERR_LOGIN_FAILED is a failure, answered when the time has
  // come. ZR3_ERR_NOT_CONNECTED once it is closed, for those that wait then, too.
  Status Try(const std::string& name, const std::function<Status()>& check) EXCLUDES(mutex_);

  // Ends all waits, and refuses what is tried later.
  void Close() noexcept EXCLUDES(mutex_);

  // How many names are remembered.
  std::size_t CountNames() EXCLUDES(mutex_);

 private:
  struct Name {
    int failures = 0;
    bool is_tried = false;  // now
    int waiting = 0;        // tries that wait for that one
  };
  // The one that was tried last in front.
  using Names = std::list<std::pair<const std::string, Name>>;

  class Attempt;

  static std::chrono::milliseconds DelayOf(int failures);
  Names::iterator FindOrAdd(const std::string& name) REQUIRES(mutex_);
  bool is_closed() EXCLUDES(mutex_);
  bool IsIdle(const Name& name) const { return !name.is_tried && name.waiting == 0; }
  void Remove(Names::iterator name) noexcept REQUIRES(mutex_);
  void RemoveOldest() noexcept REQUIRES(mutex_);

  const std::unique_ptr<Pause> pause_;

  Mutex mutex_;
  CondVar change_;
  Names names_ GUARDED_BY(mutex_);
  std::unordered_map<std::string_view, Names::iterator> places_ GUARDED_BY(mutex_);
  bool is_closed_ GUARDED_BY(mutex_) = false;
};

}  // namespace zervane
