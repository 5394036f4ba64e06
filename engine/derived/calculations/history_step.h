#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/catalogue/tag_index.h"
#include "engine/clock.h"
#include "engine/current/current_values.h"
#include "engine/derived/calculations/calculation.h"
#include "engine/derived/calculations/history_progress.h"
#include "engine/history/points.h"
#include "engine/storage/store.h"

namespace zervane {

// So many instants of one stretch a POLL tag is computed at, the latest ones.
constexpr std::int64_t kMostPolledInstants = 100'000'000;

// Whether two calculations have the same history: what they compute, at which instants, and over
// which time. Names of tags do not count, nor what only live computing looks at.
bool HaveSameHistory(const Calculation& a, const Calculation& b);

// The tags at whose records a NOTIFY tag is computed.
std::span<const TagId> TriggersOf(const Calculation& calculation);

// What of the history of a calculation lies in the range, both ends of which count. Empty when
// there is nothing, and for a POLL tag when there is no multiple of its period.
TimeRange HistoryWithin(const Calculation& calculation, TimeRange range);

// The next results of a stretch, in order of time, and how far it is when they are stored. Without
// results it is done.
struct HistoryStep {
  SampleBatch records;
  HistoryProgress after;
};

// Computes the past of calculation tags from that of their operands.
//
// Threads: any. It changes nothing.
class HistoryReader {
 public:
  // All outlive it.
  HistoryReader(Store& store, const TagIndex& tags, const CurrentValues& current_values,
                Clock clock, std::size_t most_instants)
      : store_(store),
        tags_(tags),
        current_values_(current_values),
        clock_(std::move(clock)),
        most_instants_(most_instants) {}

  // The results at some instants from where the stretch has got to. REQUIRES that it is not done.
  // The status of the store.
  Result<HistoryStep> Compute(const Calculation& calculation,
                              const HistoryProgress& progress) const;

 private:
  std::size_t InstantsOf(const Calculation& calculation) const;
  // Of each operand what it is at each instant, NaN where it is bad.
  using Operands = std::vector<std::vector<double>>;

  // No points: there is no such tag.
  Result<std::optional<TagPoints>> PointsOf(TagId tag, std::int64_t until_ms) const;
  // Where the first result is to be, at the earliest.
  Result<HistoryProgress> Begin(const Calculation& calculation, HistoryProgress progress) const;
  // When all operands have a record; none when there is one that has not.
  Result<std::optional<std::int64_t>> FirstOperandsOf(const Calculation& calculation,
                                                      std::int64_t until_ms) const;
  Result<std::optional<double>> ValueBefore(const Calculation& calculation,
                                            std::int64_t time_ms) const;
  // The next instants, and where the ones behind them begin.
  Result<std::vector<std::int64_t>> NextInstants(const Calculation& calculation,
                                                 HistoryProgress* progress) const;
  Result<std::vector<std::int64_t>> NextRecords(const Calculation& calculation,
                                                HistoryProgress* progress) const;
  // No operands: one of them is no tag any more.
  Result<std::optional<Operands>> OperandsAt(const Calculation& calculation,
                                             std::span<const std::int64_t> times_ms) const;
  static void AddResults(const Calculation& calculation, std::span<const std::int64_t> times_ms,
                         const Operands& operands, HistoryStep* step);

  Store& store_;
  const TagIndex& tags_;
  const CurrentValues& current_values_;
  const Clock clock_;
  const std::size_t most_instants_;  // of one step
};

}  // namespace zervane
