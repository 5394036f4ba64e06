#include "engine/derived/statistics_tags/wall_clock.h"

#include <algorithm>
#include <ctime>
#include <optional>

#include "engine/assert.h"

namespace zervane {
namespace {

constexpr std::int32_t kHourSeconds = 3'600;
constexpr std::int32_t kDaySeconds = 86'400;

std::tm FieldsOf(CalendarDay day, std::int32_t second_of_day) {
  const std::chrono::year_month_day date(day);
  std::tm fields = {};
  fields.tm_year = static_cast<int>(date.year()) - 1900;
  fields.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
  fields.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
  fields.tm_hour = second_of_day / 3600;
  fields.tm_min = second_of_day / 60 % 60;
  fields.tm_sec = second_of_day % 60;
  return fields;
}

bool ShowTheSame(const std::tm& a, const std::tm& b) {
  return a.tm_year == b.tm_year && a.tm_mon == b.tm_mon && a.tm_mday == b.tm_mday &&
         a.tm_hour == b.tm_hour && a.tm_min == b.tm_min && a.tm_sec == b.tm_sec;
}

// What the clock would show by summer time, or without it.
struct Reading {
  std::int64_t time_s = 0;
  long offset_s = 0;      // from UTC
  bool is_shown = false;  // the clock shows so at that instant; what else it says is of no use
};

Reading Read(const std::tm& asked, bool by_summer_time) {
  std::tm fields = asked;
  fields.tm_isdst = by_summer_time ? 1 : 0;  // never left to the library, which would guess
  fields.tm_wday = -1;                       // and stays so where there is no such instant
  const std::time_t time_s = std::mktime(&fields);
  return {.time_s = time_s,
          .offset_s = fields.tm_gmtoff,
          .is_shown = fields.tm_wday >= 0 && ShowTheSame(asked, fields)};
}

// Whether the clock is put neither forward nor back within a day of that instant, and has no summer
// time there: then it shows a time once.
bool IsEvenAround(const Reading& standard) {
  for (const std::time_t time_s : {standard.time_s - kDaySeconds, standard.time_s + kDaySeconds}) {
    std::tm shown = {};
    if (localtime_r(&time_s, &shown) == nullptr) return false;
    if (shown.tm_isdst != 0 || shown.tm_gmtoff != standard.offset_s) return false;
  }
  return true;
}

// The instant at which the clock shows the time, the first one of two; none when it passes over it.
// Which of the two readings is the earlier one depends on the zone: some have summer time as their
// standard and set the clock back in winter. Summer time is asked for only where there may be some:
// where there is none the library looks for it over decades.
std::optional<std::int64_t> ShownAt(CalendarDay day, std::int32_t second_of_day) {
  const std::tm asked = FieldsOf(day, second_of_day);
  const Reading standard = Read(asked, false);
  if (standard.is_shown && IsEvenAround(standard)) return standard.time_s;
  const Reading summer = Read(asked, true);
  if (summer.is_shown && standard.is_shown) return std::min(summer.time_s, standard.time_s);
  if (!summer.is_shown && !standard.is_shown) return std::nullopt;
  return (summer.is_shown ? summer : standard).time_s;
}

}  // namespace

// A time that the clock passes over is so much behind the last full hours before it that the clock
// shows: mostly that is an hour, on days of summer time, but some zones have skipped a whole day.
std::int64_t InstantOf(CalendarDay day, std::int32_t second_of_day) {
  ZERVANE_ASSERT(second_of_day >= 0 && second_of_day < kDaySeconds);
  constexpr int kMostHours = 48;
  for (int back = 0; back <= kMostHours; ++back) {
    const std::int64_t second = second_of_day - std::int64_t{back} * kHourSeconds;
    const std::int64_t days = second < 0 ? (second + 1) / kDaySeconds - 1 : 0;
    const auto second_there = static_cast<std::int32_t>(second - days * kDaySeconds);
    const auto shown = ShownAt(day + std::chrono::days(days), second_there);
    if (shown) return (*shown + std::int64_t{back} * kHourSeconds) * 1000;
  }
  return std::chrono::milliseconds(day.time_since_epoch()).count() + second_of_day * 1000LL;
}

CalendarDay DayOf(std::int64_t time_ms) {
  const std::time_t time_s = time_ms / 1000;
  std::tm shown = {};
  (void)localtime_r(&time_s, &shown);
  return std::chrono::year(shown.tm_year + 1900) /
         std::chrono::month(static_cast<unsigned>(shown.tm_mon + 1)) /
         std::chrono::day(static_cast<unsigned>(shown.tm_mday));
}

}  // namespace zervane
