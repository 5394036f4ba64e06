#include "engine/filters/exception_report.h"

#include <cmath>

namespace zervane {

void ExceptionReport::Restart(const Point& passed) {
  last_passed_ = passed;
  held_back_.reset();
}

Passed ExceptionReport::Filter(const Point& point) {
  ZERVANE_ASSERT(std::isfinite(point.value) && std::isfinite(last_passed_.value));
  ZERVANE_ASSERT(point.time_ms > (held_back_ ? held_back_->time_ms : last_passed_.time_ms));
  if (LeavesBand(point)) {
    const Passed passed = {.held = held_back_, .point = true};
    Restart(point);
    return passed;
  }
  if (RunsOut(point)) {
    Restart(point);
    return {.held = std::nullopt, .point = true};
  }
  held_back_ = point;
  return {};
}

bool ExceptionReport::LeavesBand(const Point& point) const {
  return deviation_ == 0 || std::abs(point.value - last_passed_.value) > deviation_;
}

bool ExceptionReport::RunsOut(const Point& point) const {
  return max_time_ms_ != 0 && point.time_ms - last_passed_.time_ms >= max_time_ms_;
}

}  // namespace zervane
