#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

namespace zervane {

// How long to wait before the next try: twice as long each time, until something has succeeded.
class BackOff {
 public:
  static constexpr std::chrono::milliseconds kFirst{100};
  static constexpr std::chrono::milliseconds kLongest{30'000};

  std::chrono::milliseconds Next() { return std::exchange(next_, std::min(2 * next_, kLongest)); }
  void Reset() { next_ = kFirst; }

 private:
  std::chrono::milliseconds next_ = kFirst;
};

}  // namespace zervane
