#include "engine/history/last_good.h"

#include <algorithm>
#include <cmath>

namespace zervane {

bool IsGoodAt(const SampleColumns& records, std::size_t at) {
  if (!IsGoodQuality(records.qualities()[at])) return false;
  return IsText(records.types()[at]) || std::isfinite(NumberAt(records, at));
}

void LastGood::PassGood(const SampleColumns& records, std::size_t at) {
  state_ = State::kKnown;
  point_ = {records.times()[at], NumberAt(records, at)};
  if (IsText(records.types()[at])) text_ = records.TextAt(at);
  first_bad_ms_ = kNever;
}

void LastGood::PassBad(std::int64_t time_ms) { first_bad_ms_ = std::min(first_bad_ms_, time_ms); }

void LastGood::Pass(const SampleColumns& records, std::size_t begin, std::size_t end) {
  std::size_t bad = end;  // the first of those that are not good at the end
  while (bad > begin && !IsGoodAt(records, bad - 1)) --bad;
  if (bad > begin) PassGood(records, bad - 1);
  if (bad < end) PassBad(records.times()[bad]);
}

// When the first record that is not good came is not known, but that it came before the run's end:
// whoever asks does so for instants behind the run.
void LastGood::Pass(const RunStatistics& run) {
  if (run.good > 0) {
    state_ = run.course == Course::kNone ? State::kUnknown : State::kKnown;
    point_ = run.last_good;
    first_bad_ms_ = kNever;
  }
  if (!run.IsLastGood()) PassBad(run.last_ms);
}

// Runs come newest first: what came behind them, not good, stays behind whatever they have.
ScanVisitor::Wants LastGoodFinder::Offer(const RunSummary& run) {
  if (run.statistics == nullptr) return Wants::kRecords;
  const bool has_good = run.statistics->good > 0;
  if (has_good && run.statistics->course == Course::kNone) return Wants::kRecords;
  const std::int64_t first_bad_ms = found_.first_bad_ms();
  found_.Pass(*run.statistics);
  found_.PassBad(first_bad_ms);
  return has_good ? Wants::kStop : Wants::kNext;
}

bool LastGoodFinder::Show(const SampleColumns& records, std::size_t begin, std::size_t end) {
  const std::int64_t first_bad_ms = found_.first_bad_ms();
  found_.Pass(records, begin, end);
  found_.PassBad(first_bad_ms);
  return found_.state() == LastGood::State::kNone;
}

}  // namespace zervane
