#include "engine/derived/statistics_tags/windows.h"

#include <algorithm>
#include <chrono>

#include "engine/assert.h"
#include "engine/derived/statistics_tags/wall_clock.h"

namespace zervane {
namespace {

using std::chrono::days;

constexpr std::int64_t Milliseconds(std::int64_t seconds) { return seconds * 1000; }

constexpr std::int32_t kDayS = 86'400;

CalendarDay DayWithNumber(std::int64_t number) { return CalendarDay(days(number)); }
std::int64_t NumberOf(CalendarDay day) { return day.time_since_epoch().count(); }

// The day of a month, or its last one.
CalendarDay DayInMonth(std::int64_t month_number, unsigned day) {
  const std::chrono::year_month month(
      std::chrono::year(static_cast<int>(month_number / 12)),
      std::chrono::month(static_cast<unsigned>(1 + month_number % 12)));
  const std::chrono::day last = (month / std::chrono::last).day();
  return month / std::min(std::chrono::day(day), last);
}

std::int64_t MonthNumberOf(CalendarDay day) {
  const std::chrono::year_month_day date(day);
  return std::int64_t{static_cast<int>(date.year())} * 12 + static_cast<unsigned>(date.month()) - 1;
}

// The end of the stretch that begins at an offset on a day: at or before the begin of the day's it
// is the next day's, so 0 is the next midnight.
std::int64_t EndOfDay(CalendarDay day, std::int32_t begin_offset_s, std::int32_t end_offset_s) {
  const bool is_next_day = end_offset_s <= begin_offset_s || end_offset_s == kDayS;
  return InstantOf(is_next_day ? day + days(1) : day, end_offset_s % kDayS);
}

}  // namespace

Windows::Windows(const StatisticsProperties& properties, std::int64_t start_ms)
    : mode_(properties.sample_mode),
      start_ms_(start_ms),
      interval_ms_(Milliseconds(properties.sample_interval)),
      period_ms_(Milliseconds(properties.calc_period)),
      begin_offset_s_(properties.sample_begin_offset),
      end_offset_s_(properties.sample_end_offset),
      begin_day_(properties.sample_month_begin_day),
      end_day_(properties.sample_month_end_day) {
  ZERVANE_ASSERT(GoesByCalendar() || step_ms() > 0);
}

bool Windows::GoesByCalendar() const {
  return mode_ == ZR3_STATS_SAMPLE_MODE_EVERY_DAY || mode_ == ZR3_STATS_SAMPLE_MODE_EVERY_MONTH;
}

// From the end of a window to that of the next one.
std::int64_t Windows::step_ms() const { return AreRunning(mode_) ? period_ms_ : interval_ms_; }

std::int64_t Windows::FirstEndingAfter(std::int64_t time_ms) const {
  if (!GoesByCalendar()) return time_ms < start_ms_ ? 0 : (time_ms - start_ms_) / step_ms();
  const CalendarDay day = DayOf(std::max({time_ms, start_ms_, std::int64_t{0}}));
  // Windows of the day or month before may end after the time, or begin after the start.
  const bool is_by_day = mode_ == ZR3_STATS_SAMPLE_MODE_EVERY_DAY;
  std::int64_t number = (is_by_day ? NumberOf(day) : MonthNumberOf(day)) - 2;
  for (;; ++number) {
    const Window window = BoundsOf(number);
    if (window.end_ms > time_ms && window.begin_ms >= start_ms_) return number;
  }
}

std::optional<Window> Windows::At(std::int64_t number) const {
  if (!GoesByCalendar() && number < 0) return std::nullopt;
  const Window window = BoundsOf(number);
  const bool is_whole = AreRunning(mode_) || window.begin_ms >= start_ms_;
  if (!is_whole || window.begin_ms >= window.end_ms) return std::nullopt;
  return window;
}

Window Windows::BoundsOf(std::int64_t number) const {
  const std::int64_t end_ms = start_ms_ + (number + 1) * step_ms();
  switch (mode_) {
    case ZR3_STATS_SAMPLE_MODE_EVERY_DAY:
      return DayOfNumber(number);
    case ZR3_STATS_SAMPLE_MODE_EVERY_MONTH:
      return MonthOfNumber(number);
    case ZR3_STATS_SAMPLE_MODE_TIME_MOVING:
      return {.begin_ms = std::max<std::int64_t>(0, end_ms - interval_ms_), .end_ms = end_ms};
    case ZR3_STATS_SAMPLE_MODE_FOREVER:
      return {.begin_ms = start_ms_, .end_ms = end_ms};
    default:
      return {.begin_ms = end_ms - interval_ms_, .end_ms = end_ms};
  }
}

Window Windows::DayOfNumber(std::int64_t number) const {
  const CalendarDay day = DayWithNumber(number);
  return {.begin_ms = InstantOf(day, begin_offset_s_),
          .end_ms = EndOfDay(day, begin_offset_s_, end_offset_s_)};
}

// Whether it ends in the next month is a matter of the properties, not of how long a month is: so
// windows follow each other where they do so in any month.
Window Windows::MonthOfNumber(std::int64_t number) const {
  const auto since_month = [](unsigned day, std::int32_t offset_s) {
    return std::int64_t{day} * kDayS + offset_s;
  };
  const bool is_next_day = end_offset_s_ <= begin_offset_s_;
  const std::int64_t end_s = since_month(end_day_ + (is_next_day ? 1 : 0), end_offset_s_);
  const bool is_next_month = end_s <= since_month(begin_day_, begin_offset_s_);
  return {.begin_ms = InstantOf(DayInMonth(number, begin_day_), begin_offset_s_),
          .end_ms = EndOfDay(DayInMonth(number + (is_next_month ? 1 : 0), end_day_),
                             begin_offset_s_, end_offset_s_)};
}

}  // namespace zervane
