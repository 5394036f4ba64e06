#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "api/words/statistics.h"
#include "engine/history/statistics/accumulator.h"
#include "engine/history/statistics/point_block.h"
#include "engine/storage/run_statistics.h"

namespace zervane {

// What a request wants of the points, beside what its type is made of.
struct StatisticNeeds {
  bool spans = false;       // what lies between records
  bool line = false;        // the value along them, and so the record behind a region
  bool previous = false;    // the admitted record before each
  bool takes_runs = false;  // the statistics of runs, where they tell what is admitted
  bool has_filter = false;
  bool uses_bad_values = false;

  // Whether the good records of a run are the admitted ones: so they are where there is no filter
  // and bad ones do not count, or are none.
  bool AdmitsGoodOf(const RunStatistics& run) const {
    return !has_filter && (!uses_bad_values || run.good == run.count);
  }
};
// `course`: how the values go on. The needs of the share of good are among them.
StatisticNeeds NeedsOf(const StatisticRequest& request, Course course);

// Adds up one statistic of a request and, beside it, the share of good.
class Tally {
 public:
  Tally(const StatisticRequest& request, const StatisticNeeds& needs);

  const StatisticNeeds& needs() const { return needs_; }

  // Points inside a region, as records.
  void AddRecords(const PointBlock& block, std::size_t begin, std::size_t end);
  // The spans between them.
  void AddSpans(const PointBlock& block, std::size_t begin, std::size_t end);
  // Of the span that a point begins, the piece between two times. `next` is the point behind it, or
  // none.
  void AddPiece(const PassedPoint& point, const PassedPoint& next, std::int64_t from_ms,
                std::int64_t to_ms);
  // Records inside a region, and the spans between them.
  void AddRun(const RunStatistics& run);
  // Points outside of all regions.
  void PassOutside(const PointBlock& block, std::size_t begin, std::size_t end);
  void PassPrevious(double value);
  void ForgetPrevious();

  std::int64_t good_ms() const { return good_ms_; }
  std::optional<double> Value() const { return accumulator_->Value(); }

 private:
  const StatisticNeeds needs_;
  const std::unique_ptr<Accumulator> accumulator_;  // none for the share of good by itself
  std::int64_t good_ms_ = 0;
};

}  // namespace zervane
