#pragma once

#include <cstdint>
#include <optional>

#include "api/words/tag.h"

namespace zervane {

// A stretch of time of which a statistic is made: from its begin to before its end, in milliseconds
// since 1970 UTC.
struct Window {
  std::int64_t begin_ms = 0;
  std::int64_t end_ms = 0;

  bool Contains(std::int64_t time_ms) const { return begin_ms <= time_ms && time_ms < end_ms; }
  friend bool operator==(const Window&, const Window&) = default;
};

// The windows of a statistics tag, numbered so that a later one ends later. Pure but for the time
// zone, by which days and months go.
//
//   const Windows windows(tag.properties, start_ms);
//   for (std::int64_t at = windows.FirstEndingAfter(done_ms); ...; ++at)
//     if (const std::optional<Window> window = windows.At(at)) ...
//
// Threads: any.
class Windows {
 public:
  // The start, by the sampling properties, is that of the first window; where each ends a period
  // after the one before and tells of what lies behind it, the first one ends a period after the
  // start. REQUIRES properties that CheckSampling lets pass.
  Windows(const StatisticsProperties& properties, std::int64_t start_ms);

  // The number of the first window that ends after the time.
  std::int64_t FirstEndingAfter(std::int64_t time_ms) const;
  // The window of a number from that of the first one on; nothing where there is none: it would
  // begin before the start, or the clock was put forward over all of it.
  std::optional<Window> At(std::int64_t number) const;
  // Where the window of a number ends, or would.
  std::int64_t EndOf(std::int64_t number) const { return BoundsOf(number).end_ms; }

 private:
  Window BoundsOf(std::int64_t number) const;
  Window DayOfNumber(std::int64_t number) const;
  Window MonthOfNumber(std::int64_t number) const;
  bool GoesByCalendar() const;
  std::int64_t step_ms() const;

  std::int32_t mode_;
  std::int64_t start_ms_;
  std::int64_t interval_ms_;
  std::int64_t period_ms_;
  std::int32_t begin_offset_s_;
  std::int32_t end_offset_s_;
  unsigned begin_day_;
  unsigned end_day_;
};

// Whether each window tells of what lies behind it, up to its end, anew: only the latest matters.
constexpr bool AreRunning(std::int32_t sample_mode) {
  return sample_mode == ZR3_STATS_SAMPLE_MODE_TIME_MOVING ||
         sample_mode == ZR3_STATS_SAMPLE_MODE_FOREVER;
}

}  // namespace zervane
