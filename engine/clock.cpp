#include "engine/clock.h"

#include <chrono>

namespace zervane {

Clock SystemClock() {
  return [] {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::int64_t{std::chrono::duration_cast<std::chrono::milliseconds>(now).count()};
  };
}

}  // namespace zervane
