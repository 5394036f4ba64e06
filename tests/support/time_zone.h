#pragma once

#include <cstdlib>
#include <ctime>

namespace zervane {

// Has the process be in a time zone of the C library's for as long as it lives.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    unsetenv("TZ");
    tzset();
  }
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;
};

}  // namespace zervane
