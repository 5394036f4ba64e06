#pragma once

#include <cstdint>
#include <optional>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/catalogue/tag_index.h"
#include "engine/clock.h"
#include "engine/current/current_values.h"
#include "engine/derived/statistics_tags/statistics_rule.h"
#include "engine/derived/statistics_tags/windows.h"
#include "engine/history/points.h"
#include "engine/storage/store.h"

namespace zervane {

// Computes the records of statistics tags, from what is stored of their sources.
//
// Threads: any.
class WindowValues {
 public:
  // All outlive it.
  WindowValues(Store& store, const TagIndex& tags, const CurrentValues& current_values, Clock clock)
      : store_(store), tags_(tags), current_values_(current_values), clock_(std::move(clock)) {}

  // What of the source a rule reads; none: there is no such tag any more. The status of the store.
  Result<std::optional<TagPoints>> PointsOf(const StatisticsRule& rule) const;

  // The time of the first record, or kNoTime.
  static Result<std::int64_t> FirstRecordOf(const TagPoints& points);

  // The record of a window; none where its stamp would be no time. `previous`: the tag's value
  // before it, where that is known. The status of the store.
  Result<std::optional<Sample>> RecordOf(const StatisticsRule& rule, const TagPoints& points,
                                         const Window& window,
                                         const std::optional<Value>& previous) const;

 private:
  Result<Value> ValueBefore(const StatisticsRule& rule, std::int64_t time_ms) const;

  Store& store_;
  const TagIndex& tags_;
  const CurrentValues& current_values_;
  const Clock clock_;
};

// What a statistic becomes as a value of the tag: converted and rounded to its type; none when the
// type has no such value.
std::optional<Value> ConvertedTo(const StatisticsRule& rule, double statistic);

}  // namespace zervane
