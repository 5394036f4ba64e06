#pragma once

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <span>
#include <utility>
#include <vector>

#include "engine/filters/point.h"

namespace zervane {

inline void PrintTo(const Point& point, std::ostream* out) {
  *out << point.value << " at " << point.time_ms << " ms";
}

// Points at whole seconds.
inline std::vector<Point> PointsAt(std::initializer_list<std::pair<std::int64_t, double>> seconds) {
  std::vector<Point> points;
  for (const auto& [second, value] : seconds) points.push_back({second * 1000, value});
  return points;
}

// The value at a time between two points, on the line from one to the other.
inline double LineAt(const Point& from, const Point& to, std::int64_t time_ms) {
  const double share =
      static_cast<double>(time_ms - from.time_ms) / static_cast<double>(to.time_ms - from.time_ms);
  return from.value + (to.value - from.value) * share;
}

// All that a filter lets through of some points, of which the first has passed it already.
template <typename Filter>
std::vector<Point> PassedBy(Filter& filter, std::span<const Point> points) {
  std::vector<Point> all = {points.front()};
  filter.Restart(points.front());
  for (const Point& point : points.subspan(1)) {
    const Passed passed = filter.Filter(point);
    if (passed.held) all.push_back(*passed.held);
    if (passed.point) all.push_back(point);
  }
  return all;
}

}  // namespace zervane
