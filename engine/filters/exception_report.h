#pragma once

#include <cstdint>
#include <optional>

#include "engine/assert.h"
#include "engine/filters/point.h"

namespace zervane {

// Exception reporting: holds a point back while its value is within a deviation of the last one
// passed on and that one is not too old. The point that leaves the band passes, and before it the
// last one held back, so that a step stays a step.
class ExceptionReport {
 public:
  // In engineering units, 0: everything passes; in milliseconds, 0: without a maximum.
  ExceptionReport(double deviation, std::int64_t max_time_ms)
      : deviation_(deviation), max_time_ms_(max_time_ms) {
    ZERVANE_ASSERT(deviation >= 0 && max_time_ms >= 0);
  }

  // Starts anew from a point that has been passed on.
  void Restart(const Point& passed);

  // Filters a point that is newer than all before and whose value is finite, as must be that of the
  // last one passed on.
  Passed Filter(const Point& point);

  // Forgets the point held back, for a record of its time takes its place.
  void Retract() { held_back_.reset(); }

  const Point& last_passed() const { return last_passed_; }
  const std::optional<Point>& held_back() const { return held_back_; }

 private:
  bool LeavesBand(const Point& point) const;
  bool RunsOut(const Point& point) const;

  double deviation_;
  std::int64_t max_time_ms_;
  Point last_passed_;
  std::optional<Point> held_back_;
};

}  // namespace zervane
