#include "engine/history/statistics/tally.h"

#include <algorithm>
#include <cmath>

#include "engine/history/statistics/statistic_traits.h"

namespace zervane {
namespace {

// The value at a time within the span between two points, which the line may reach.
double ValueOnLine(const PassedPoint& from, const PassedPoint& to, std::int64_t time_ms) {
  const auto passed = static_cast<double>(time_ms - from.time_ms);
  return std::lerp(from.value, to.value, passed / static_cast<double>(to.time_ms - from.time_ms));
}

std::int64_t GoodMsOf(const PointBlock& block, std::size_t begin, std::size_t end) {
  if (block.are_all_good) return block.times[end - 1] - block.times[begin];
  std::int64_t good_ms = 0;
  for (std::size_t at = begin; at + 1 < end; ++at) {
    if (block.is_good[at] != 0) good_ms += block.times[at + 1] - block.times[at];
  }
  return good_ms;
}

}  // namespace

StatisticNeeds NeedsOf(const StatisticRequest& request, Course course) {
  const StatisticTraits& traits = TraitsOf(request.type);
  return {.spans = traits.uses_spans || request.least_percent_good > 0,
          .line = traits.uses_line && course == Course::kLine,
          .previous = traits.uses_previous,
          .takes_runs = traits.takes_runs,
          .has_filter = !request.filter.empty(),
          .uses_bad_values = request.uses_bad_values};
}

Tally::Tally(const StatisticRequest& request, const StatisticNeeds& needs)
    : needs_(needs), accumulator_(MakeAccumulator(request, needs.line)) {}

void Tally::AddRecords(const PointBlock& block, std::size_t begin, std::size_t end) {
  if (accumulator_ != nullptr) accumulator_->AddRecords(block, begin, end);
}

void Tally::AddSpans(const PointBlock& block, std::size_t begin, std::size_t end) {
  if (!needs_.spans) return;
  if (accumulator_ != nullptr) accumulator_->AddSpans(block, begin, end);
  good_ms_ += GoodMsOf(block, begin, end);
}

void Tally::AddPiece(const PassedPoint& point, const PassedPoint& next, std::int64_t from_ms,
                     std::int64_t to_ms) {
  from_ms = std::max(from_ms, point.time_ms);
  if (next.exists()) to_ms = std::min(to_ms, next.time_ms);
  if (!needs_.spans || !point.exists() || from_ms >= to_ms) return;
  if (point.is_good) good_ms_ += to_ms - from_ms;
  if (!point.is_admitted || accumulator_ == nullptr) return;
  AdmittedSpan span = {
      .value = point.value, .from = point.value, .to = point.value, .length_ms = to_ms - from_ms};
  if (needs_.line && next.exists() && next.is_admitted) {
    span.from = ValueOnLine(point, next, from_ms);
    span.to = ValueOnLine(point, next, to_ms);
  }
  accumulator_->AddSpan(span);
}

void Tally::AddRun(const RunStatistics& run) {
  if (accumulator_ != nullptr) accumulator_->AddRun(run);
  good_ms_ += run.good_ms;
}

void Tally::PassOutside(const PointBlock& block, std::size_t begin, std::size_t end) {
  if (!needs_.previous) return;
  for (std::size_t at = end; at > begin; --at) {
    if (block.is_admitted[at - 1] != 0) return PassPrevious(block.values[at - 1]);
  }
}

void Tally::PassPrevious(double value) {
  if (accumulator_ != nullptr) accumulator_->PassPrevious(value);
}

void Tally::ForgetPrevious() {
  if (accumulator_ != nullptr) accumulator_->ForgetPrevious();
}

}  // namespace zervane
