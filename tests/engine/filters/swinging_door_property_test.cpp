// What compression promises, on signals of many shapes: every point is within the deviation of the
// line between the archived points around it, and few points are kept.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "engine/filters/swinging_door.h"
#include "tests/engine/filters/points.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

using Random = std::mt19937_64;

double Uniform(Random& random, double low, double high) {
  return std::uniform_real_distribution(low, high)(random);
}

struct Signal {
  const char* name;
  // The value of point i, given the one before.
  double (*value)(Random& random, int i, double before);
  std::int64_t longest_gap_ms = 1000;  // 1000: a point every second
};

class Compression : public testing::TestWithParam<Signal> {};

INSTANTIATE_TEST_SUITE_P(
    Of, Compression,
    testing::Values(
        Signal{"ARandomWalk",
               [](Random& random, int, double before) { return before + Uniform(random, -1, 1); }},
        Signal{"Noise", [](Random& random, int, double) { return Uniform(random, -5, 5); }},
        Signal{"Steps",
               [](Random& random, int i, double before) {
                 return i % 37 == 0 ? Uniform(random, -100, 100) : before;
               }},
        Signal{"ANoisyRamp",
               [](Random& random, int i, double) { return 0.37 * i + Uniform(random, -0.4, 0.4); }},
        Signal{"ASawtooth", [](Random&, int i, double) { return 0.1 * (i % 41); }},
        Signal{"AWave", [](Random&, int i, double) { return 20 * std::sin(0.05 * i); }},
        Signal{"AnAcceleration", [](Random&, int i, double) { return 0.001 * i * i; }},
        Signal{"TenthsThatNoDoubleHolds",
               [](Random& random, int, double before) {
                 return before + 0.1 * std::floor(Uniform(random, -2, 3));
               }},
        Signal{"AWalkWithGaps",
               [](Random& random, int, double before) { return before + Uniform(random, -1, 1); },
               3'000'000},
        Signal{"AWalkInBursts",
               [](Random& random, int, double before) { return before + Uniform(random, -1, 1); },
               2},
        Signal{"GreatValues",
               [](Random& random, int, double) { return 1e15 + Uniform(random, -5, 5); }},
        Signal{"ValuesBeyondAllDeviations",
               [](Random& random, int, double) { return Uniform(random, -8e307, 8e307); }}),
    CaseName());

std::vector<Point> PointsOf(const Signal& signal, Random& random, int count) {
  std::vector<Point> points;
  Point point = {1'700'000'000'000, 0};
  for (int i = 0; i < count; ++i) {
    point.value = signal.value(random, i, point.value);
    points.push_back(point);
    point.time_ms += signal.longest_gap_ms == 1000 ? 1000
                                                   : std::uniform_int_distribution<std::int64_t>(
                                                         1, signal.longest_gap_ms)(random);
  }
  return points;
}

// How far the roundings of slopes and of the line itself may add up: eight units in the last place
// of the greatest value.
double RoundingOf(const std::vector<Point>& points, double deviation) {
  double greatest = deviation;
  for (const Point& point : points) greatest = std::max(greatest, std::abs(point.value));
  return 8 * std::numeric_limits<double>::epsilon() * greatest;
}

// The point that is rebuilt worst from those kept, or null when all are near enough. `kept` starts
// with the first of `points` and ends with the last.
const Point* FindBadlyRebuilt(const std::vector<Point>& points, const std::vector<Point>& kept,
                              double deviation) {
  const double bound = deviation + RoundingOf(points, deviation);
  const Point* worst = nullptr;
  double greatest_error = bound;
  auto end = kept.begin();
  for (const Point& point : points) {
    while (end->time_ms < point.time_ms) ++end;
    const double rebuilt =
        end->time_ms == point.time_ms ? end->value : LineAt(*std::prev(end), *end, point.time_ms);
    const double error = std::abs(rebuilt - point.value);
    if (error > greatest_error) {
      greatest_error = error;
      worst = &point;
    }
  }
  return worst;
}

constexpr double kDeviations[] = {0.01, 0.1, 0.5, 1, 3, 1000};
constexpr int kStreams = 8;
constexpr int kPoints = 3000;

// What is archived, and what would be if nothing more came.
std::vector<Point> KeptOf(SwingingDoor door, const std::vector<Point>& points) {
  std::vector<Point> kept = PassedBy(door, points);
  if (door.held()) kept.push_back(*door.held());
  return kept;
}

TEST_P(Compression, RebuildsEveryPointWithinTheDeviation) {
  const Seed seed;
  Random random(seed.value());
  for (const double deviation : kDeviations) {
    for (const std::int64_t max_ms : {0, 60'000}) {
      for (int stream = 0; stream < kStreams; ++stream) {
        SCOPED_TRACE(testing::Message() << "stream " << stream << ", deviation " << deviation
                                        << ", maximum " << max_ms << " ms");
        const std::vector<Point> points = PointsOf(GetParam(), random, kPoints);
        const std::vector<Point> kept = KeptOf({deviation, max_ms}, points);
        ASSERT_EQ(kept.back(), points.back());
        const Point* badly_rebuilt = FindBadlyRebuilt(points, kept, deviation);
        ASSERT_EQ(badly_rebuilt, nullptr) << testing::PrintToString(*badly_rebuilt);
      }
    }
  }
}

TEST_P(Compression, ArchivesAtLeastEveryMaximumTimeWherePointsComeThatOften) {
  constexpr std::int64_t kMaxMs = 20'000;
  const Seed seed;
  Random random(seed.value());
  for (int stream = 0; stream < kStreams; ++stream) {
    SCOPED_TRACE(testing::Message() << "stream " << stream);
    const std::vector<Point> points = PointsOf(GetParam(), random, kPoints);
    const std::vector<Point> kept = KeptOf({1000, kMaxMs}, points);
    for (std::size_t i = 1; i < kept.size(); ++i) {
      if (kept[i].time_ms - kept[i - 1].time_ms <= kMaxMs) continue;
      const auto next = std::find(points.begin(), points.end(), kept[i - 1]) + 1;
      ASSERT_EQ(*next, kept[i]) << "points between were dropped";
    }
  }
}

TEST(SwingingDoor, KeepsFewPointsOfARampWithNoiseBelowTheDeviation) {
  Random random(1);
  std::vector<Point> points;
  for (int i = 0; i < 10'000; ++i) {
    points.push_back({1000 * std::int64_t{i}, 0.37 * i + Uniform(random, -0.4, 0.4)});
  }
  EXPECT_LE(KeptOf({1, 0}, points).size(), 100U);
}

}  // namespace
}  // namespace zervane
