#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "api/words/statistics.h"
#include "engine/history/statistics/point_block.h"
#include "engine/storage/run_statistics.h"

namespace zervane {

// A span of an admitted point, as far as it lies in a region.
struct AdmittedSpan {
  double value = 0;  // of the point
  double from = 0;   // the values at its ends
  double to = 0;
  std::int64_t length_ms = 0;
};

// Adds up one statistic. What its type does not look at it is not told, or passes over. Blocks come
// whole, so that no call is made for a single record where records are many.
class Accumulator {
 public:
  virtual ~Accumulator() = default;

  // The admitted ones among the points from `begin` to before `end`, which lie inside a region.
  virtual void AddRecords(const PointBlock&, std::size_t /*begin*/, std::size_t /*end*/) {}
  // The spans of the admitted ones among them, each to the next point; the last one has none.
  virtual void AddSpans(const PointBlock&, std::size_t /*begin*/, std::size_t /*end*/) {}
  virtual void AddSpan(const AdmittedSpan&) {}
  // Records inside a region, and the spans between them.
  virtual void AddRun(const RunStatistics&) {}
  // An admitted point outside of all regions that the next one is compared with.
  virtual void PassPrevious(double /*value*/) {}
  virtual void ForgetPrevious() {}

  // Nothing when there is nothing to calculate it from.
  virtual std::optional<double> Value() const = 0;
};

// Of the request's type; none for the share of good, which is added up beside any other. `is_line`:
// whether values run to the next admitted point's. REQUIRES a valid request.
std::unique_ptr<Accumulator> MakeAccumulator(const StatisticRequest& request, bool is_line);

// The families that it chooses among.
std::unique_ptr<Accumulator> MakeRecordAccumulator(const StatisticRequest& request);
std::unique_ptr<Accumulator> MakeChangeAccumulator(const StatisticRequest& request);
std::unique_ptr<Accumulator> MakeSpanAccumulator(const StatisticRequest& request, bool is_line);

// Calls the body with each admitted one's place.
template <typename Body>
void ForEachAdmitted(const PointBlock& block, std::size_t begin, std::size_t end, Body body) {
  if (block.are_all_admitted) {
    for (std::size_t at = begin; at < end; ++at) body(at);
    return;
  }
  for (std::size_t at = begin; at < end; ++at) {
    if (block.is_admitted[at] != 0) body(at);
  }
}

}  // namespace zervane
