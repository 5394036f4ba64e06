#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "api/words/tag.h"
#include "api/words/value.h"
#include "engine/derived/statistics_tags/windows.h"

namespace zervane {

struct ExpectedStatistic {
  std::optional<double> number;  // none: there is no result, the value is the one before
  bool is_good = false;
};

inline constexpr std::int64_t kPlainDayMs = 86'400'000;

// A statistics tag as the plain list has it. Days are those of UTC.
struct PlainTag {
  TagId id = 0;
  StatisticsProperties properties;
  TagType type = TagType::kFloat64;
  std::size_t filter = 0;
  bool is_of_texts = false;
  std::optional<std::int64_t> start_ms;
  std::int64_t until_ms = kNoTime;       // windows up to it are computed or passed over
  std::int64_t computed_ms = kNoTime;    // as of the last that was stored
  std::int64_t from_ms = kNoTime;        // those up to it are none of the present properties
  std::optional<std::int64_t> known_ms;  // running windows up to it but the latest do not count
  std::vector<std::int64_t> late;
  std::vector<Window> late_running;
  std::map<std::int64_t, ExpectedStatistic> records;

  bool IsRunning() const {
    return properties.sample_mode == ZR3_STATS_SAMPLE_MODE_TIME_MOVING ||
           properties.sample_mode == ZR3_STATS_SAMPLE_MODE_FOREVER;
  }

  // All windows that end up to the time, by their ends.
  std::vector<Window> WindowsUpTo(std::int64_t time_ms) const {
    std::vector<Window> windows;
    const std::int64_t interval_ms = std::int64_t{properties.sample_interval} * 1000;
    const std::int64_t period_ms = std::int64_t{properties.calc_period} * 1000;
    const auto add = [&](std::int64_t begin_ms, std::int64_t end_ms) {
      if (end_ms <= time_ms) windows.push_back({.begin_ms = begin_ms, .end_ms = end_ms});
    };
    switch (properties.sample_mode) {
      case ZR3_STATS_SAMPLE_MODE_INTERVAL:
        for (std::int64_t at = *start_ms; at + interval_ms <= time_ms; at += interval_ms) {
          add(at, at + interval_ms);
        }
        break;
      case ZR3_STATS_SAMPLE_MODE_TIME_MOVING:
        for (std::int64_t at = *start_ms + period_ms; at <= time_ms; at += period_ms) {
          add(at - interval_ms, at);
        }
        break;
      case ZR3_STATS_SAMPLE_MODE_FOREVER:
        for (std::int64_t at = *start_ms + period_ms; at <= time_ms; at += period_ms) {
          add(*start_ms, at);
        }
        break;
      case ZR3_STATS_SAMPLE_MODE_EVERY_MONTH:
        for (year_month month = MonthOf(*start_ms); MidnightOf(month, 1) <= time_ms;
             month += std::chrono::months(1)) {
          const Window window = WindowOf(month);
          if (window.begin_ms >= *start_ms) add(window.begin_ms, window.end_ms);
        }
        break;
      default:
        for (std::int64_t day_ms = *start_ms / kPlainDayMs * kPlainDayMs; day_ms <= time_ms;
             day_ms += kPlainDayMs) {
          const std::int64_t begin_ms =
              day_ms + std::int64_t{properties.sample_begin_offset} * 1000;
          std::int64_t end_ms = day_ms + std::int64_t{properties.sample_end_offset} * 1000;
          if (end_ms <= begin_ms) end_ms += kPlainDayMs;
          if (begin_ms >= *start_ms) add(begin_ms, end_ms);
        }
    }
    return windows;
  }

 private:
  using year_month = std::chrono::year_month;

  static year_month MonthOf(std::int64_t time_ms) {
    const std::chrono::year_month_day date(
        std::chrono::sys_days(std::chrono::days(time_ms / kPlainDayMs)));
    return date.year() / date.month();
  }
  // When a day of the month begins, or its last one.
  static std::int64_t MidnightOf(year_month month, unsigned day) {
    const std::chrono::day last = (month / std::chrono::last).day();
    const std::chrono::sys_days date = month / std::min(std::chrono::day(day), last);
    return std::int64_t{date.time_since_epoch().count()} * kPlainDayMs;
  }
  // The one that begins in the month. Of one that would end at or before its begin in a month that
  // has all of its days, the end is in the next.
  Window WindowOf(year_month month) const {
    const unsigned from = properties.sample_month_begin_day;
    const unsigned to = properties.sample_month_end_day;
    const std::int64_t begin_ms = std::int64_t{properties.sample_begin_offset} * 1000;
    std::int64_t end_ms = std::int64_t{properties.sample_end_offset} * 1000;
    if (end_ms <= begin_ms) end_ms += kPlainDayMs;
    const bool is_in_next = to * kPlainDayMs + end_ms <= from * kPlainDayMs + begin_ms;
    const year_month last_month = is_in_next ? month + std::chrono::months(1) : month;
    return {.begin_ms = MidnightOf(month, from) + begin_ms,
            .end_ms = MidnightOf(last_month, to) + end_ms};
  }
};

}  // namespace zervane
