#include "engine/derived/statistics_tags/windows.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "engine/derived/statistics_tags/wall_clock.h"
#include "tests/support/time_zone.h"

namespace zervane {
namespace {

// "2026-03-29 01:00" in UTC, with seconds where there are some.
std::string TextOf(std::int64_t time_ms) {
  const std::time_t time_s = time_ms / 1000;
  std::tm fields = {};
  (void)gmtime_r(&time_s, &fields);
  char text[32];
  (void)std::strftime(text, sizeof text, fields.tm_sec != 0 ? "%F %T" : "%F %H:%M", &fields);
  return text;
}

std::int64_t TimeOf(const std::string& text) {
  std::tm fields = {};
  const char* const rest = strptime(text.c_str(), "%Y-%m-%d %H:%M", &fields);
  EXPECT_NE(rest, nullptr) << text;
  return std::int64_t{timegm(&fields)} * 1000;
}

struct CalendarCase {
  const char* name;
  const char* zone;
  std::int32_t mode;
  std::int32_t begin_s;
  std::int32_t end_s;
  unsigned begin_day;
  unsigned end_day;
  const char* after;                 // UTC
  std::vector<const char*> windows;  // those that end next, "begin, end" in UTC
};

constexpr std::int32_t kDay = ZR3_STATS_SAMPLE_MODE_EVERY_DAY;
constexpr std::int32_t kMonth = ZR3_STATS_SAMPLE_MODE_EVERY_MONTH;
constexpr std::int32_t kHour = 3600;

class CalendarWindows : public testing::TestWithParam<CalendarCase> {};

TEST_P(CalendarWindows, GoByTheClockOnTheWall) {
  const CalendarCase& c = GetParam();
  const ScopedTimeZone zone(c.zone);
  StatisticsProperties properties;
  properties.sample_mode = c.mode;
  properties.sample_begin_offset = c.begin_s;
  properties.sample_end_offset = c.end_s;
  properties.sample_month_begin_day = static_cast<std::uint8_t>(c.begin_day);
  properties.sample_month_end_day = static_cast<std::uint8_t>(c.end_day);
  const Windows windows(properties, 0);
  std::int64_t number = windows.FirstEndingAfter(TimeOf(c.after));
  for (const char* expected : c.windows) {
    std::optional<Window> window = windows.At(number++);
    while (!window) window = windows.At(number++);
    EXPECT_EQ(TextOf(window->begin_ms) + ", " + TextOf(window->end_ms), expected);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Days, CalendarWindows,
    testing::Values(
        CalendarCase{"AreFromMidnightToMidnight",
                     "UTC",
                     kDay,
                     0,
                     0,
                     1,
                     31,
                     "2026-06-10 12:00",
                     {"2026-06-10 00:00, 2026-06-11 00:00", "2026-06-11 00:00, 2026-06-12 00:00"}},
        CalendarCase{"EndAtMidnightByADayOfSeconds",
                     "UTC",
                     kDay,
                     0,
                     86400,
                     1,
                     31,
                     "2026-06-10 12:00",
                     {"2026-06-10 00:00, 2026-06-11 00:00"}},
        CalendarCase{"EndOnTheSameDay",
                     "UTC",
                     kDay,
                     8 * kHour,
                     17 * kHour,
                     1,
                     31,
                     "2026-06-10 17:00",
                     {"2026-06-11 08:00, 2026-06-11 17:00"}},
        CalendarCase{"EndOnTheNextDayWhenNotBehindTheBegin",
                     "UTC",
                     kDay,
                     22 * kHour,
                     6 * kHour,
                     1,
                     31,
                     "2026-06-10 05:59",
                     {"2026-06-09 22:00, 2026-06-10 06:00", "2026-06-10 22:00, 2026-06-11 06:00"}},
        CalendarCase{"EndADayLaterWhenTheOffsetsAreEqual",
                     "UTC",
                     kDay,
                     6 * kHour,
                     6 * kHour,
                     1,
                     31,
                     "2026-06-10 12:00",
                     {"2026-06-10 06:00, 2026-06-11 06:00"}},
        CalendarCase{"LastTheirLastSecond",
                     "UTC",
                     kDay,
                     86399,
                     86400,
                     1,
                     31,
                     "2026-06-10 12:00",
                     {"2026-06-10 23:59:59, 2026-06-11 00:00"}},
        CalendarCase{"AreTheZones",
                     "Asia/Kolkata",
                     kDay,
                     0,
                     0,
                     1,
                     31,
                     "2026-06-10 12:00",
                     {"2026-06-09 18:30, 2026-06-10 18:30"}},
        CalendarCase{"HaveTwentyThreeHoursInSpring",
                     "Europe/Berlin",
                     kDay,
                     0,
                     0,
                     1,
                     31,
                     "2026-03-29 12:00",
                     {"2026-03-28 23:00, 2026-03-29 22:00", "2026-03-29 22:00, 2026-03-30 22:00"}},
        CalendarCase{"HaveTwentyFiveHoursInAutumn",
                     "Europe/Berlin",
                     kDay,
                     0,
                     0,
                     1,
                     31,
                     "2026-10-25 12:00",
                     {"2026-10-24 22:00, 2026-10-25 23:00"}},
        CalendarCase{"BeginAnHourLaterWhereTheTimeIsPassedOver",
                     "Europe/Berlin",
                     kDay,
                     2 * kHour + 1800,
                     12 * kHour,
                     1,
                     31,
                     "2026-03-29 00:00",
                     {"2026-03-29 01:30, 2026-03-29 10:00"}},
        CalendarCase{"BeginAtTheFirstOfTwoTimes",
                     "Europe/Berlin",
                     kDay,
                     2 * kHour + 1800,
                     12 * kHour,
                     1,
                     31,
                     "2026-10-25 00:00",
                     {"2026-10-25 00:30, 2026-10-25 11:00"}},
        CalendarCase{"AreNoneWhereTheClockPassesOverThem",
                     "Europe/Berlin",
                     kDay,
                     2 * kHour + 1800,
                     3 * kHour,
                     1,
                     31,
                     "2026-03-28 12:00",
                     {"2026-03-30 00:30, 2026-03-30 01:00"}},
        CalendarCase{"GoWestAsWell",
                     "America/New_York",
                     kDay,
                     0,
                     0,
                     1,
                     31,
                     "2026-03-08 12:00",
                     {"2026-03-08 05:00, 2026-03-09 04:00"}},
        CalendarCase{"GoSouthAsWell",
                     "Australia/Sydney",
                     kDay,
                     2 * kHour + 1800,
                     12 * kHour,
                     1,
                     31,
                     "2026-04-04 12:00",
                     {"2026-04-04 15:30, 2026-04-05 02:00"}},
        CalendarCase{"KnowHalfHours",
                     "Australia/Lord_Howe",
                     kDay,
                     0,
                     0,
                     1,
                     31,
                     "2026-04-05 10:00",
                     {"2026-04-04 13:00, 2026-04-05 13:30"}},
        CalendarCase{"BeginAtTheFirstOfTwoTimesWhereWinterIsTheException",
                     "Europe/Dublin",
                     kDay,
                     kHour + 1800,
                     12 * kHour,
                     1,
                     31,
                     "2026-10-25 00:00",
                     {"2026-10-25 00:30, 2026-10-25 12:00"}},
        CalendarCase{"KnowLeapDays",
                     "UTC",
                     kDay,
                     0,
                     0,
                     1,
                     31,
                     "2028-02-28 12:00",
                     {"2028-02-28 00:00, 2028-02-29 00:00", "2028-02-29 00:00, 2028-03-01 00:00"}},
        CalendarCase{"GoOnBehind2038",
                     "Europe/Berlin",
                     kDay,
                     0,
                     0,
                     1,
                     31,
                     "2038-01-19 12:00",
                     {"2038-01-18 23:00, 2038-01-19 23:00"}},
        CalendarCase{"GoOnUpTo2106",
                     "UTC",
                     kDay,
                     0,
                     0,
                     1,
                     31,
                     "2106-02-05 12:00",
                     {"2106-02-05 00:00, 2106-02-06 00:00"}}),
    [](const auto& c) { return std::string(c.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Months, CalendarWindows,
    testing::Values(
        CalendarCase{"AreFromTheFirstToTheLastDay",
                     "UTC",
                     kMonth,
                     0,
                     0,
                     1,
                     31,
                     "2026-02-10 00:00",
                     {"2026-02-01 00:00, 2026-03-01 00:00", "2026-03-01 00:00, 2026-04-01 00:00"}},
        CalendarCase{"KnowLeapYears",
                     "UTC",
                     kMonth,
                     0,
                     0,
                     1,
                     31,
                     "2028-02-10 00:00",
                     {"2028-02-01 00:00, 2028-03-01 00:00"}},
        CalendarCase{"BeginOnTheLastDayOfAShortMonth",
                     "UTC",
                     kMonth,
                     0,
                     0,
                     31,
                     31,
                     "2026-02-10 00:00",
                     {"2026-02-28 00:00, 2026-03-01 00:00", "2026-03-31 00:00, 2026-04-01 00:00"}},
        CalendarCase{"EndInTheNextMonthWhenTheDayIsBefore",
                     "UTC",
                     kMonth,
                     0,
                     0,
                     15,
                     14,
                     "2026-06-14 00:00",
                     {"2026-05-15 00:00, 2026-06-15 00:00", "2026-06-15 00:00, 2026-07-15 00:00"}},
        CalendarCase{"EndInTheNextMonthInAShortOneToo",
                     "UTC",
                     kMonth,
                     0,
                     0,
                     30,
                     29,
                     "2026-02-10 00:00",
                     {"2026-01-30 00:00, 2026-03-01 00:00", "2026-02-28 00:00, 2026-03-30 00:00"}},
        CalendarCase{"MayBeASingleDay",
                     "UTC",
                     kMonth,
                     0,
                     0,
                     10,
                     10,
                     "2026-06-01 00:00",
                     {"2026-06-10 00:00, 2026-06-11 00:00"}},
        CalendarCase{"HaveTheOffsetsOfDays",
                     "UTC",
                     kMonth,
                     6 * kHour,
                     6 * kHour,
                     1,
                     31,
                     "2026-06-01 07:00",
                     {"2026-06-01 06:00, 2026-07-01 06:00"}},
        CalendarCase{"EndOnTheirLastDay",
                     "UTC",
                     kMonth,
                     8 * kHour,
                     17 * kHour,
                     1,
                     31,
                     "2026-06-01 07:00",
                     {"2026-06-01 08:00, 2026-06-30 17:00"}},
        CalendarCase{"AreTheZones",
                     "Europe/Berlin",
                     kMonth,
                     0,
                     0,
                     1,
                     31,
                     "2026-03-10 00:00",
                     {"2026-02-28 23:00, 2026-03-31 22:00"}},
        CalendarCase{"CrossTheYear",
                     "UTC",
                     kMonth,
                     0,
                     0,
                     20,
                     5,
                     "2026-12-25 00:00",
                     {"2026-12-20 00:00, 2027-01-06 00:00"}}),
    [](const auto& c) { return std::string(c.param.name); });

struct GapCase {
  const char* name;
  const char* zone;
  CalendarDay day;
  std::int32_t second_of_day;
  const char* instant;  // UTC
};

class TimesThatTheClockPassesOver : public testing::TestWithParam<GapCase> {};

TEST_P(TimesThatTheClockPassesOver, AreAsMuchLaterAsItIsPutForward) {
  const GapCase& c = GetParam();
  const ScopedTimeZone zone(c.zone);
  EXPECT_EQ(TextOf(InstantOf(c.day, c.second_of_day)), c.instant);
}

using std::chrono::year;

INSTANTIATE_TEST_SUITE_P(
    Gaps, TimesThatTheClockPassesOver,
    testing::Values(GapCase{"BySummerTime", "Europe/Berlin", year(2026) / 3 / 29,
                            2 * kHour + kHour / 2, "2026-03-29 01:30"},
                    GapCase{"ByHalfAnHour", "Australia/Lord_Howe", year(2026) / 10 / 4,
                            2 * kHour + kHour / 4, "2026-10-03 15:45"},
                    GapCase{"ByTwoHours", "Antarctica/Troll", year(2026) / 3 / 29,
                            kHour + kHour / 2, "2026-03-29 01:30"},
                    GapCase{"ByADay", "Pacific/Apia", year(2011) / 12 / 30, 10 * kHour,
                            "2011-12-30 20:00"},
                    GapCase{"ByAnotherStandardTime", "America/Caracas", year(2016) / 5 / 1,
                            2 * kHour + kHour / 2, "2016-05-01 07:00"}),
    [](const auto& given) { return std::string(given.param.name); });

TEST(CalendarWindow, BeginsAtTheStartOrBehind) {
  const ScopedTimeZone zone("UTC");
  StatisticsProperties properties;
  properties.sample_mode = kDay;
  const std::int64_t start_ms = TimeOf("2026-06-10 00:01");
  const Windows windows(properties, start_ms);
  const std::int64_t first = windows.FirstEndingAfter(kNoTime);
  EXPECT_EQ(windows.At(first)->begin_ms, TimeOf("2026-06-11 00:00"));
  EXPECT_EQ(windows.At(first - 1), std::nullopt);
}

StatisticsProperties SteadyOf(std::int32_t mode) {
  StatisticsProperties properties;
  properties.sample_mode = mode;
  properties.sample_interval = 10;
  properties.calc_period = 3;
  return properties;
}

TEST(IntervalWindows, FollowEachOtherFromTheStartOn) {
  const Windows windows(SteadyOf(ZR3_STATS_SAMPLE_MODE_INTERVAL), 5'000);
  EXPECT_EQ(windows.FirstEndingAfter(kNoTime), 0);
  EXPECT_EQ(windows.At(-1), std::nullopt);
  EXPECT_EQ(windows.At(0), (Window{.begin_ms = 5'000, .end_ms = 15'000}));
  EXPECT_EQ(windows.FirstEndingAfter(14'999), 0);
  EXPECT_EQ(windows.FirstEndingAfter(15'000), 1);
  EXPECT_EQ(windows.At(1), (Window{.begin_ms = 15'000, .end_ms = 25'000}));
}

TEST(MovingWindows, EndAPeriodAfterTheOneBeforeAndBehindTheStart) {
  const Windows windows(SteadyOf(ZR3_STATS_SAMPLE_MODE_TIME_MOVING), 5'000);
  EXPECT_EQ(windows.At(0), (Window{.begin_ms = 0, .end_ms = 8'000}));
  EXPECT_EQ(windows.At(1), (Window{.begin_ms = 1'000, .end_ms = 11'000}));
  EXPECT_EQ(windows.FirstEndingAfter(8'000), 1);
}

TEST(WindowsForEver, BeginWithTheStart) {
  const Windows windows(SteadyOf(ZR3_STATS_SAMPLE_MODE_FOREVER), 5'000);
  EXPECT_EQ(windows.At(0), (Window{.begin_ms = 5'000, .end_ms = 8'000}));
  EXPECT_EQ(windows.At(9), (Window{.begin_ms = 5'000, .end_ms = 35'000}));
}

}  // namespace
}  // namespace zervane
