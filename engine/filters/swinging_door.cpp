#include "engine/filters/swinging_door.h"

#include <algorithm>
#include <cmath>

namespace zervane {

void SwingingDoor::Restart(const Point& archived) {
  archived_ = archived;
  previous_.reset();
  held_.reset();
  low_ = -kInfinity;
  high_ = kInfinity;
}

Passed SwingingDoor::Filter(const Point& point) {
  ZERVANE_ASSERT(std::isfinite(point.value) && std::isfinite(archived_.value));
  ZERVANE_ASSERT(point.time_ms > (held_ ? held_->time_ms : archived_.time_ms));
  Passed passed;
  if (held_ && !EndsLine(point)) {
    passed.held = held_;
    Restart(*passed.held);
  }
  passed.point =
      deviation_ == 0 || (max_time_ms_ != 0 && point.time_ms - archived_.time_ms >= max_time_ms_);
  if (passed.point) {
    const std::optional<Point> previous = held_;
    Restart(point);
    previous_ = previous;
  } else {
    Hold(point);
  }
  return passed;
}

std::optional<Point> SwingingDoor::Retract() {
  const std::optional<Point> ended = previous_;
  Restart(ended.value_or(archived_));
  return ended;
}

double SwingingDoor::TimeTo(const Point& point) const {
  return static_cast<double>(point.time_ms - archived_.time_ms);
}

// A difference too great for a double has no slope, and no line could be drawn along it.
bool SwingingDoor::EndsLine(const Point& point) const {
  if (max_time_ms_ != 0 && point.time_ms - archived_.time_ms > max_time_ms_) return false;
  const double slope = (point.value - archived_.value) / TimeTo(point);
  return std::isfinite(slope) && low_ <= slope && slope <= high_;
}

void SwingingDoor::Hold(const Point& point) {
  const double rise = point.value - archived_.value;
  low_ = std::max(low_, (rise - deviation_) / TimeTo(point));
  high_ = std::min(high_, (rise + deviation_) / TimeTo(point));
  previous_ = held_;
  held_ = point;
}

}  // namespace zervane
