#include "engine/filters/exception_report.h"

#include <gtest/gtest.h>

#include "tests/engine/filters/points.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

struct ReportCase {
  const char* name;
  double deviation;
  std::int64_t max_seconds;
  std::vector<Point> points;
  std::vector<Point> passed;
  std::optional<Point> held_back;
};

class Exceptions : public testing::TestWithParam<ReportCase> {};

TEST_P(Exceptions, ArePassedOn) {
  const ReportCase& row = GetParam();
  ExceptionReport report(row.deviation, row.max_seconds * 1000);
  EXPECT_EQ(PassedBy(report, row.points), row.passed);
  EXPECT_EQ(report.last_passed(), row.passed.back());
  EXPECT_EQ(report.held_back(), row.held_back);
}

constexpr std::int64_t kNoMaximum = 0;

INSTANTIATE_TEST_SUITE_P(
    Band, Exceptions,
    testing::Values(
        ReportCase{"TheLastHeldBackBeforeTheOneThatLeaves", 1, 1000,
                   PointsAt({{100, 10}, {101, 10.5}, {102, 9.5}, {103, 10.9}, {104, 20}}),
                   PointsAt({{100, 10}, {103, 10.9}, {104, 20}}), std::nullopt},
        ReportCase{"TheOneThatLeavesAloneWhenNothingIsHeldBack", 1, kNoMaximum,
                   PointsAt({{100, 10}, {101, 20}, {102, 30}}),
                   PointsAt({{100, 10}, {101, 20}, {102, 30}}), std::nullopt},
        ReportCase{"NotOnTheEdge", 1, kNoMaximum, PointsAt({{100, 10}, {101, 11}, {102, 9}}),
                   PointsAt({{100, 10}}), Point{102'000, 9}},
        ReportCase{"JustPastTheEdge", 1, kNoMaximum, PointsAt({{100, 10}, {101, 8.9375}}),
                   PointsAt({{100, 10}, {101, 8.9375}}), std::nullopt},
        ReportCase{"AgainstTheLastPassedNotTheLastHeldBack", 1, kNoMaximum,
                   PointsAt({{100, 10}, {101, 10.75}, {102, 11.5}, {103, 12.25}, {104, 10.5}}),
                   PointsAt({{100, 10}, {101, 10.75}, {102, 11.5}}), Point{104'000, 10.5}},
        ReportCase{"OfAConstantNever", 1, kNoMaximum,
                   PointsAt({{100, 10}, {1'000'000, 10}, {2'000'000, 10}}), PointsAt({{100, 10}}),
                   Point{2'000'000'000, 10}},
        ReportCase{"AllWithoutADeviation", 0, 1000, PointsAt({{100, 10}, {101, 10}, {102, 10}}),
                   PointsAt({{100, 10}, {101, 10}, {102, 10}}), std::nullopt},
        ReportCase{"AcrossTheGreatestDifference", 1, kNoMaximum,
                   PointsAt({{100, -1.7e308}, {101, 1.7e308}}),
                   PointsAt({{100, -1.7e308}, {101, 1.7e308}}), std::nullopt}),
    CaseName());

INSTANTIATE_TEST_SUITE_P(
    MaximumTime, Exceptions,
    testing::Values(
        ReportCase{"WhenItHasRunOutByThemselves", 1, 10,
                   PointsAt({{100, 10}, {109, 10.5}, {110, 10.25}, {119, 10}, {121, 10}}),
                   PointsAt({{100, 10}, {110, 10.25}, {121, 10}}), std::nullopt},
        ReportCase{
            "NotAMillisecondBefore", 1, 10, {{0, 10}, {9999, 10.5}}, {{0, 10}}, Point{9999, 10.5}},
        ReportCase{"AfterTheLastHeldBackWhenTheyLeaveTheBandToo", 1, 10,
                   PointsAt({{100, 10}, {105, 10.5}, {120, 20}}),
                   PointsAt({{100, 10}, {105, 10.5}, {120, 20}}), std::nullopt}),
    CaseName());

TEST(ExceptionReport, ForgetsAPointWhosePlaceIsTaken) {
  ExceptionReport report(1, 0);
  report.Restart({1000, 10});
  EXPECT_EQ(report.Filter({2000, 10.5}), Passed{});
  report.Retract();
  EXPECT_EQ(report.held_back(), std::nullopt);
  EXPECT_EQ(report.Filter({2000, 20}), (Passed{.held = std::nullopt, .point = true}));
}

}  // namespace
}  // namespace zervane
