#include "engine/history/statistics/region_walk.h"

#include <algorithm>

#include "engine/assert.h"

namespace zervane {
namespace {

PassedPoint FirstOf(const RunStatistics& run) {
  const bool is_good = run.IsFirstGood();
  return {run.first_ms, is_good ? run.first_good.value : 0, is_good, is_good};
}
PassedPoint LastOf(const RunStatistics& run) {
  const bool is_good = run.IsLastGood();
  return {run.last_ms, is_good ? run.last_good.value : 0, is_good, is_good};
}

std::size_t PlaceOf(const PointBlock& block, std::size_t from, std::int64_t time_ms) {
  const auto times = block.times.subspan(from);
  return from + static_cast<std::size_t>(std::ranges::lower_bound(times, time_ms) - times.begin());
}

}  // namespace

// ---- before a region ----

ScanVisitor::Wants PointsBefore::Offer(const RunSummary& run) {
  if (run.statistics == nullptr || !needs_.AdmitsGoodOf(*run.statistics)) return Wants::kRecords;
  const RunStatistics& statistics = *run.statistics;
  const bool has_previous = needs_.previous && statistics.good > 0;
  if (has_previous && statistics.course == Course::kNone) return Wants::kRecords;
  if (!last_.exists()) last_ = LastOf(statistics);
  if (has_previous) last_admitted_ = statistics.last_good.value;
  return IsDone() ? Wants::kStop : Wants::kNext;
}

bool PointsBefore::Show(const SampleColumns& records, std::size_t begin, std::size_t end) {
  while (begin < end && !IsDone()) {
    const std::size_t first = end - std::min(end - begin, RecordJudge::kMostRecords);
    Pass(judge_.Judge(records, first, end));
    end = first;
  }
  return !IsDone();
}

void PointsBefore::Pass(const PointBlock& block) {
  if (!last_.exists()) last_ = PointAt(block, block.size() - 1);
  for (std::size_t at = block.size(); at > 0 && !last_admitted_; --at) {
    if (block.is_admitted[at - 1] != 0) last_admitted_ = block.values[at - 1];
  }
}

// ---- the regions ----

RegionWalk::RegionWalk(const StatisticRequest& request, std::int64_t now_ms, RecordJudge& judge,
                       Tally& tally)
    : regions_(request.regions), now_ms_(now_ms), judge_(judge), tally_(tally) {}

void RegionWalk::StartFrom(const PointsBefore& before) {
  if (before.last().exists()) last_ = before.last();
  if (before.last_admitted()) tally_.PassPrevious(*before.last_admitted());
  passed_ms_ = next_ms() - 1;
  is_lost_ = false;
}

ScanVisitor::Wants RegionWalk::Offer(const RunSummary& run) {
  const StatisticNeeds& needs = tally_.needs();
  const bool serves =
      needs.takes_runs && run.statistics != nullptr && needs.AdmitsGoodOf(*run.statistics);
  const Wants wants = serves ? OfferStatistics(*run.statistics) : OfferRecords(run);
  if (wants == Wants::kNext) passed_ms_ = run.last_ms;
  return wants;
}

ScanVisitor::Wants RegionWalk::OfferStatistics(const RunStatistics& run) {
  while (!IsDone() && region().right_ms < run.first_ms) EndRegion(FirstOf(run));
  if (IsDone()) return Wants::kStop;
  if (run.last_ms < region().left_ms) {
    last_ = LastOf(run);
    return Wants::kNext;
  }
  if (!IsInside(run)) return Wants::kRecords;
  tally_.AddPiece(last_, FirstOf(run), region().left_ms, run.first_ms);
  tally_.AddRun(run);
  last_ = LastOf(run);
  return Wants::kNext;
}

// A region whose line runs to the run's first record has to wait for that. What lies before the
// next region is passed over; if something of it is needed, it is looked up from there.
ScanVisitor::Wants RegionWalk::OfferRecords(const RunSummary& run) {
  const StatisticNeeds& needs = tally_.needs();
  while (!needs.line && !IsDone() && region().right_ms < run.first_ms) EndRegion({});
  if (IsDone()) return Wants::kStop;
  if (run.last_ms >= region().left_ms) return Wants::kRecords;
  if (!needs.spans && !needs.previous) return Wants::kNext;
  is_lost_ = true;
  return Wants::kStop;
}

bool RegionWalk::Show(const SampleColumns& records, std::size_t begin, std::size_t end) {
  while (begin < end && !IsDone()) {
    const std::size_t last = begin + std::min(end - begin, RecordJudge::kMostRecords);
    PassBlock(judge_.Judge(records, begin, last));
    begin = last;
  }
  return !IsDone();
}

void RegionWalk::Finish() {
  while (!IsDone()) EndRegion({});
}

bool RegionWalk::IsInside(const RunStatistics& run) const {
  const TimeRegion& in = region();
  const std::int64_t first_ms = in.is_left_closed ? in.left_ms : in.left_ms + 1;
  const std::int64_t last_ms = in.is_right_closed ? in.right_ms : in.right_ms - 1;
  return run.first_ms >= first_ms && run.last_ms <= last_ms;
}

// A point at or behind a region's end ends it, and may lie in the next one, too.
void RegionWalk::PassBlock(const PointBlock& block) {
  std::size_t at = 0;
  while (at < block.size() && !IsDone()) {
    if (block.times[at] < region().left_ms) {
      const std::size_t inside = PlaceOf(block, at, region().left_ms);
      tally_.PassOutside(block, at, inside);
      last_ = PointAt(block, inside - 1);
      at = inside;
      continue;
    }
    const std::size_t behind = PlaceOf(block, at, region().right_ms);
    if (at < behind) AddInside(block, at, behind);
    at = behind;
    if (at == block.size()) break;
    const bool is_at_end = block.times[at] == region().right_ms;
    if (is_at_end && region().is_right_closed) tally_.AddRecords(block, at, at + 1);
    EndRegion(PointAt(block, at));
  }
  passed_ms_ = block.times.back();
}

void RegionWalk::AddInside(const PointBlock& block, std::size_t begin, std::size_t end) {
  tally_.AddPiece(last_, PointAt(block, begin), region().left_ms, block.times[begin]);
  const bool is_outside = block.times[begin] == region().left_ms && !region().is_left_closed;
  if (is_outside) tally_.PassOutside(block, begin, begin + 1);
  const std::size_t first = is_outside ? begin + 1 : begin;
  if (first < end) tally_.AddRecords(block, first, end);
  tally_.AddSpans(block, begin, end);
  last_ = PointAt(block, end - 1);
}

void RegionWalk::EndRegion(const PassedPoint& next) {
  tally_.AddPiece(last_, next, region().left_ms, std::min(region().right_ms, now_ms_));
  ++at_;
}

Status TallyRecords(const TagPoints& points, const StatisticRequest& request, RecordJudge& judge,
                    Tally& tally) {
  const StatisticNeeds& needs = tally.needs();
  RegionWalk walk(request, points.now_ms(), judge, tally);
  const std::int64_t to_ms = needs.line ? points.now_ms() : request.regions.back().right_ms;
  while (!walk.IsDone() && walk.IsLost()) {
    PointsBefore before(needs, judge);
    if (needs.spans || needs.previous) {
      const TimeRange unseen = {.from_ms = walk.passed_ms() + 1, .to_ms = walk.next_ms() - 1};
      Status status = points.Visit(unseen, Direction::kBackward, before);
      if (!status.ok()) return status;
    }
    walk.StartFrom(before);
    Status status =
        points.Visit({.from_ms = walk.next_ms(), .to_ms = to_ms}, Direction::kForward, walk);
    if (!status.ok()) return status;
  }
  walk.Finish();
  return {};
}

}  // namespace zervane
