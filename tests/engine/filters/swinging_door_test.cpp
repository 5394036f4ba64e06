#include "engine/filters/swinging_door.h"

#include <gtest/gtest.h>

#include "tests/engine/filters/points.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

constexpr std::int64_t kNoMaximum = 0;

struct DoorCase {
  const char* name;
  double deviation;
  std::int64_t max_seconds;
  std::vector<Point> points;
  std::vector<Point> archived;
  std::optional<Point> held;
};

class Door : public testing::TestWithParam<DoorCase> {};

TEST_P(Door, Archives) {
  const DoorCase& row = GetParam();
  SwingingDoor door(row.deviation, row.max_seconds * 1000);
  EXPECT_EQ(PassedBy(door, row.points), row.archived);
  EXPECT_EQ(door.last_archived(), row.archived.back());
  EXPECT_EQ(door.held(), row.held);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, Door,
    testing::Values(
        DoorCase{"NothingOfAConstant", 1, kNoMaximum, PointsAt({{0, 5}, {1, 5}, {9, 5}}),
                 PointsAt({{0, 5}}), Point{9000, 5}},
        DoorCase{"NothingOfARamp", 1, kNoMaximum, PointsAt({{0, 0}, {1, 7}, {2, 14}, {5, 35}}),
                 PointsAt({{0, 0}}), Point{5000, 35}},
        DoorCase{"TheCorner", 1, kNoMaximum, PointsAt({{0, 0}, {1, 0}, {2, 0}, {3, 10}, {4, 20}}),
                 PointsAt({{0, 0}, {2, 0}}), Point{4000, 20}},
        // From 0 the cone to 0 +- 1 at 1 s has the slopes -1 and 1; 4 at 4 s lies on its edge.
        DoorCase{"NothingOnTheEdgeOfTheCone", 1, kNoMaximum, PointsAt({{0, 0}, {1, 0}, {4, 4}}),
                 PointsAt({{0, 0}}), Point{4000, 4}},
        DoorCase{"ThePointBeforeOnePastTheEdge", 1, kNoMaximum,
                 PointsAt({{0, 0}, {1, 0}, {4, 4.0625}}), PointsAt({{0, 0}, {1, 0}}),
                 Point{4000, 4.0625}},
        // The cones to the points still meet, for (3 - 1) / 2 is not above 1; but a line to 3 at 2
        // s would miss 0 at 1 s by 1.5.
        DoorCase{"ByThePointsOwnSlope", 1, kNoMaximum, PointsAt({{0, 0}, {1, 0}, {2, 3}}),
                 PointsAt({{0, 0}, {1, 0}}), Point{2000, 3}},
        DoorCase{"APeakOfOnePoint", 1, kNoMaximum,
                 PointsAt({{0, 0}, {1, 0}, {2, 50}, {3, 0}, {4, 0}}),
                 PointsAt({{0, 0}, {1, 0}, {2, 50}, {3, 0}}), Point{4000, 0}},
        DoorCase{"AllWithoutADeviation", 0, kNoMaximum, PointsAt({{0, 5}, {1, 5}, {2, 5}}),
                 PointsAt({{0, 5}, {1, 5}, {2, 5}}), std::nullopt},
        DoorCase{"BothEndsOfADifferenceThatNoDoubleHolds", 1, kNoMaximum,
                 PointsAt({{0, -1.7e308}, {1, 1.7e308}, {2, 1.7e308}, {3, 1.7e308}}),
                 PointsAt({{0, -1.7e308}, {1, 1.7e308}}), Point{3000, 1.7e308}}),
    CaseName());

INSTANTIATE_TEST_SUITE_P(
    MaximumTime, Door,
    testing::Values(
        DoorCase{"ThePointWithWhichItHasRunOut", 1, 10,
                 PointsAt({{0, 5}, {4, 5}, {10, 5}, {14, 5}, {20, 5}}),
                 PointsAt({{0, 5}, {10, 5}, {20, 5}}), std::nullopt},
        DoorCase{"ThePointBeforeIfItHasRunOutSince", 1, 10, PointsAt({{0, 5}, {4, 5}, {12, 5}}),
                 PointsAt({{0, 5}, {4, 5}}), Point{12'000, 5}},
        DoorCase{"ThePointBeforeIfTheLastIsOutsideTheCone", 1, 10,
                 PointsAt({{0, 5}, {4, 5}, {10, 50}}), PointsAt({{0, 5}, {4, 5}}),
                 Point{10'000, 50}},
        DoorCase{"PointsThatAreFurtherApart", 1, 10, PointsAt({{0, 5}, {4, 5}, {30, 5}, {60, 5}}),
                 PointsAt({{0, 5}, {4, 5}, {30, 5}, {60, 5}}), std::nullopt},
        DoorCase{
            "NothingAMillisecondBefore", 1, 10, {{0, 5}, {9999, 5}}, {{0, 5}}, Point{9999, 5}}),
    CaseName());

TEST(SwingingDoor, EndsALineBeforeThePointWhosePlaceIsTaken) {
  SwingingDoor door(1, 0);
  PassedBy(door, PointsAt({{0, 0}, {1, 0.5}, {2, 0}}));
  EXPECT_EQ(door.Retract(), (Point{1000, 0.5}));
  EXPECT_EQ(door.last_archived(), (Point{1000, 0.5}));
  EXPECT_EQ(door.held(), std::nullopt);
}

TEST(SwingingDoor, EndsALineBeforeAnArchivedPointWhosePlaceIsTaken) {
  SwingingDoor door(1, 2000);
  PassedBy(door, PointsAt({{0, 0}, {1, 0.5}, {2, 0}}));
  ASSERT_EQ(door.last_archived(), (Point{2000, 0}));
  EXPECT_EQ(door.Retract(), (Point{1000, 0.5}));
}

TEST(SwingingDoor, HasNoLineToEndBeforeTheFirstPointHeld) {
  SwingingDoor door(1, 0);
  PassedBy(door, PointsAt({{0, 0}, {1, 0.5}}));
  EXPECT_EQ(door.Retract(), std::nullopt);
  EXPECT_EQ(door.last_archived(), (Point{0, 0}));
  EXPECT_EQ(door.Filter({1000, 70}), Passed{}) << "the cone of the point retracted is gone";
}

}  // namespace
}  // namespace zervane
