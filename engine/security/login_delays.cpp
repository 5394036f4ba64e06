#include "engine/security/login_delays.h"

#include <algorithm>

#include "engine/assert.h"
#include "engine/write/write_queue.h"

namespace zervane {
namespace {

class MachinesPause final : public Pause {
 public:
  void Wait(std::chrono::milliseconds time) override {
    using std::chrono::steady_clock;
    const steady_clock::time_point end = steady_clock::now() + time;
    const MutexLock lock(mutex_);
    while (!has_ended_) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
      if (left.count() <= 0) return;
      change_.WaitFor(mutex_, left);
    }
  }

  void End() noexcept override {
    const MutexLock lock(mutex_);
    has_ended_ = true;
    change_.NotifyAll();
  }

 private:
  Mutex mutex_;
  CondVar change_;
  bool has_ended_ GUARDED_BY(mutex_) = false;
};

}  // namespace

std::unique_ptr<Pause> MachinePause() { return std::make_unique<MachinesPause>(); }

// A try of a name: it waits for the one before, and lets the next one come when it ends.
class LoginDelays::Attempt {
 public:
  Attempt(LoginDelays& delays, const std::string& name) : delays_(delays) {
    const MutexLock lock(delays_.mutex_);
    name_ = delays_.FindOrAdd(name);
    Name& state = name_->second;
    ++state.waiting;
    while (state.is_tried && !delays_.is_closed_) delays_.change_.Wait(delays_.mutex_);
    if (delays_.is_closed_) return;  // it waits to the end, so that nobody removes the name
    --state.waiting;
    state.is_tried = true;
    is_mine_ = true;
  }
  // A name without failures need not be remembered, and not too many with some.
  ~Attempt() {
    const MutexLock lock(delays_.mutex_);
    Name& state = name_->second;
    if (is_mine_) {
      state.is_tried = false;
    } else {
      --state.waiting;
    }
    if (delays_.IsIdle(state) && state.failures == 0) delays_.Remove(name_);
    delays_.RemoveOldest();
    delays_.change_.NotifyAll();
  }
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;

  bool is_mine() const { return is_mine_; }

  void Succeed() noexcept {
    const MutexLock lock(delays_.mutex_);
    name_->second.failures = 0;
  }
  // How long that is to wait.
  std::chrono::milliseconds Fail() noexcept {
    const MutexLock lock(delays_.mutex_);
    return DelayOf(++name_->second.failures);
  }

 private:
  LoginDelays& delays_;
  Names::iterator name_;
  bool is_mine_ = false;
};

Status LoginDelays::Try(const std::string& name, const std::function<Status()>& check) {
  Attempt attempt(*this, name);
  if (!attempt.is_mine()) return DatabaseClosed();
  Status status = check();
  if (status.ok()) attempt.Succeed();
  if (status.code() != ZR3_ERR_LOGIN_FAILED) return status;
  pause_->Wait(attempt.Fail());
  return is_closed() ? DatabaseClosed() : status;  // a wait that was cut short tells nothing
}

void LoginDelays::Close() noexcept {
  {
    const MutexLock lock(mutex_);
    is_closed_ = true;
    change_.NotifyAll();
  }
  pause_->End();
}

bool LoginDelays::is_closed() {
  const MutexLock lock(mutex_);
  return is_closed_;
}

std::size_t LoginDelays::CountNames() {
  const MutexLock lock(mutex_);
  return names_.size();
}

std::chrono::milliseconds LoginDelays::DelayOf(int failures) {
  std::chrono::milliseconds delay = kFirst;
  for (int n = 1; n < failures && delay < kLongest; ++n) delay *= 2;
  return std::min(delay, kLongest);
}

LoginDelays::Names::iterator LoginDelays::FindOrAdd(const std::string& name) {
  const auto found = places_.find(name);
  if (found != places_.end()) {
    names_.splice(names_.begin(), names_, found->second);
    return found->second;
  }
  Names added;
  added.emplace_front(name, Name());
  places_.emplace(added.front().first, added.begin());
  names_.splice(names_.begin(), added);
  return names_.begin();
}

void LoginDelays::Remove(Names::iterator name) noexcept {
  ZERVANE_ASSERT(IsIdle(name->second));
  places_.erase(name->first);
  names_.erase(name);
}

// Those that are being tried stay, of which there are no more than threads.
void LoginDelays::RemoveOldest() noexcept {
  for (auto name = names_.end(); names_.size() > kMaxNames && name != names_.begin();) {
    const auto before = std::prev(name);
    if (IsIdle(before->second)) {
      Remove(before);
    } else {
      name = before;
    }
  }
}

}  // namespace zervane
