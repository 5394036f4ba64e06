#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

namespace zervane {

// How long to wait before the next try: twice as long each time, until something has succeeded, or
// held for longer than the last wait was.
class BackOff {
 public:
  static constexpr std::chrono::milliseconds kFirst{100};
  static constexpr std::chrono::milliseconds kLongest{30'000};

  std::chrono::milliseconds Next() {
    last_ = std::exchange(next_, std::min(2 * next_, kLongest));
    return last_;
  }
  void Reset() { next_ = kFirst; }
  void NoteHeld(std::chrono::steady_clock::duration time) {
    if (time > last_) Reset();
  }

 private:
  std::chrono::milliseconds last_{0};
  std::chrono::milliseconds next_ = kFirst;
};

}  // namespace zervane
