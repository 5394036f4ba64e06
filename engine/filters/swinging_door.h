#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include "engine/assert.h"
#include "engine/filters/point.h"

namespace zervane {

// Swinging-door compression: drops points that a line between two archived ones stands for. No
// dropped value differs from that line by more than the deviation, but for the rounding of double
// arithmetic: a few units in the last place of the largest value involved.
//
// From the last archived point each later one opens a cone, to its value minus and plus the
// deviation; a line that stays inside all of them is near enough to all points. So the newest point
// may end a line only if its own slope lies inside the cones of those between. While it does, it is
// held in place of the one before; when it does not, the one held is archived, and starts the next
// line.
//
// (To compare the edges of the cones alone, without the slope of the point that ends the line, is a
// weaker rule: its lines err by up to twice the deviation.)
class SwingingDoor {
 public:
  // In engineering units, 0: everything passes; in milliseconds, 0: without a maximum.
  SwingingDoor(double deviation, std::int64_t max_time_ms)
      : deviation_(deviation), max_time_ms_(max_time_ms) {
    ZERVANE_ASSERT(deviation >= 0 && max_time_ms >= 0);
  }

  // Starts anew from an archived point.
  void Restart(const Point& archived);

  // Filters a point that is newer than all before and whose value is finite, as must be that of the
  // last one archived. What passes enters the archive. With a maximum time, archived points are no
  // further apart than that, unless nothing came in between.
  Passed Filter(const Point& point);

  // Forgets the newest point, for a record of its time takes its place. The one before it, if it
  // was dropped for the newest, is to be archived: it is answered, and starts the next line.
  std::optional<Point> Retract();

  const Point& last_archived() const { return archived_; }
  const std::optional<Point>& held() const { return held_; }

 private:
  static constexpr double kInfinity = std::numeric_limits<double>::infinity();

  double TimeTo(const Point& point) const;
  bool EndsLine(const Point& point) const;
  void Hold(const Point& point);

  double deviation_;
  std::int64_t max_time_ms_;
  Point archived_;
  std::optional<Point> previous_;  // was held before the newest, and dropped for it
  std::optional<Point> held_;
  // The slopes from `archived_` that are near enough to all points since, `held_` included.
  double low_ = -kInfinity;
  double high_ = kInfinity;
};

}  // namespace zervane
