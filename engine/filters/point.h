#pragma once

#include <cstdint>
#include <optional>

namespace zervane {

// What the filters see of a sample of a number.
struct Point {
  std::int64_t time_ms = 0;
  double value = 0;

  friend bool operator==(const Point&, const Point&) = default;
};

// What a filter lets through when a point comes: what it held until then, if that was due, and
// after it the point itself, unless it holds that now.
struct Passed {
  std::optional<Point> held;
  bool point = false;

  friend bool operator==(const Passed&, const Passed&) = default;
};

}  // namespace zervane
