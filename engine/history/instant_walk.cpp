#include "engine/history/instant_walk.h"

#include <algorithm>

#include "engine/assert.h"

namespace zervane {
namespace {

// Uncertain, sub-normal: a record that is not good was passed over on the way.
constexpr std::uint16_t kPassedOverBad = 88;

std::uint16_t QualityOf(bool is_followed_by_bad) {
  return is_followed_by_bad ? kPassedOverBad : std::uint16_t{ZR3_QUALITY_GOOD};
}

}  // namespace

InstantWalk::InstantWalk(bool is_line, const Instants& instants, InstantSink& sink)
    : is_line_(is_line), instants_(instants), sink_(sink) {
  MoveTo(0);
}

// A text that was passed unread may be any before the instant.
TimeRange InstantWalk::UnseenBefore() const {
  return {.from_ms = IsLost() ? 0 : passed_ms_ + 1, .to_ms = next_ms_ - 1};
}

void InstantWalk::StartFrom(const LastGood& unseen) {
  ZERVANE_ASSERT(!IsWaiting() && next_ < instants_.size());
  if (IsLost() || unseen.state() != LastGood::State::kNone) {
    before_ = unseen;
  } else {
    before_.PassBad(unseen.first_bad_ms());
  }
  passed_ms_ = next_ms_ - 1;
  starts_anew_ = false;
}

ScanVisitor::Wants InstantWalk::Offer(const RunSummary& run) {
  if (IsLost() && next_ms_ <= run.last_ms) {
    starts_anew_ = true;
    return Wants::kStop;
  }
  PassInstants(run.first_ms);
  if (IsDone()) return Wants::kStop;
  if (next_ms_ <= run.last_ms) return Wants::kRecords;
  if (run.statistics != nullptr) {
    PassRun(*run.statistics);
    passed_ms_ = run.last_ms;
    return IsDone() ? Wants::kStop : Wants::kNext;
  }
  if (IsWaiting()) return Wants::kRecords;
  starts_anew_ = true;
  return Wants::kStop;
}

// Where no instant waits, the records before the next one are passed in one go.
bool InstantWalk::Show(const SampleColumns& records, std::size_t begin, std::size_t end) {
  const auto times = records.times().first(end);
  for (std::size_t at = begin; at < end && !IsDone();) {
    if (IsWaiting() || next_ms_ <= times[at]) {
      PassRecord(records, at++);
      continue;
    }
    const auto next = std::ranges::lower_bound(times.subspan(at), next_ms_) - times.begin();
    before_.Pass(records, at, static_cast<std::size_t>(next));
    at = static_cast<std::size_t>(next);
  }
  passed_ms_ = times.back();
  return !IsDone();
}

void InstantWalk::Finish() {
  if (starts_anew_) return;
  if (IsLost() && next_ < instants_.size()) {
    starts_anew_ = true;
    return;
  }
  PassInstants(kNever);
  TellHeld();
}

void InstantWalk::MoveTo(std::size_t next) {
  next_ = next;
  next_ms_ = next < instants_.size() ? instants_.At(next) : kNever;
}

void InstantWalk::PassInstants(std::int64_t time_ms) {
  if (next_ms_ >= time_ms) return;
  ZERVANE_ASSERT(!IsLost());
  const std::size_t first = next_;
  while (next_ms_ < time_ms) MoveTo(next_ + 1);
  if (before_.state() == LastGood::State::kNone) {
    sink_.Miss(first, next_);
    first_waiting_ = next_;
  } else if (!is_line_) {
    TellHeld();
  }
}

void InstantWalk::TellHeld() {
  const InstantSink::Held held = {before_.point(), before_.text()};
  std::size_t at = first_waiting_;
  while (at < next_ && instants_.At(at) < before_.first_bad_ms()) ++at;
  if (first_waiting_ < at) sink_.Hold(first_waiting_, at, held, QualityOf(false));
  if (at < next_) sink_.Hold(at, next_, held, QualityOf(true));
  first_waiting_ = next_;
}

void InstantWalk::TellWaiting(const RunStatistics::Point& next_good) {
  if (!IsWaiting()) return;
  sink_.Line(first_waiting_, next_, before_.point(), next_good,
             QualityOf(before_.IsFollowedByBad()));
  first_waiting_ = next_;
}

// It has no instant in it.
void InstantWalk::PassRun(const RunStatistics& run) {
  if (run.good > 0) {
    if (!run.IsFirstGood()) before_.PassBad(run.first_ms);
    TellWaiting(run.first_good);
  } else if (IsWaiting()) {
    before_.PassBad(run.first_ms);
  }
  before_.Pass(run);
}

void InstantWalk::PassRecord(const SampleColumns& records, std::size_t at) {
  const std::int64_t time_ms = records.times()[at];
  PassInstants(time_ms);
  if (!IsGoodAt(records, at)) return before_.PassBad(time_ms);
  TellWaiting({time_ms, NumberAt(records, at)});
  before_.PassGood(records, at);
  if (next_ms_ != time_ms) return;
  const std::size_t first = next_;
  while (next_ms_ == time_ms) MoveTo(next_ + 1);
  sink_.Match(first, next_, records, at);
  first_waiting_ = next_;
}

Status InterpolateAt(const TagPoints& points, InterpolationMode mode, const Instants& instants,
                     InstantSink& sink) {
  const bool is_line =
      mode == InterpolationMode::kLinear && CourseOf(points.type()) == Course::kLine;
  InstantWalk walk(is_line, instants, sink);
  if (instants.size() == 0) return {};
  const std::int64_t to_ms = is_line ? points.now_ms() : instants.At(instants.size() - 1);
  while (!walk.IsDone()) {
    LastGoodFinder unseen;
    Status status = points.Visit(walk.UnseenBefore(), Direction::kBackward, unseen);
    if (!status.ok()) return status;
    walk.StartFrom(unseen.found());
    const TimeRange rest = {.from_ms = walk.next_ms(), .to_ms = to_ms};
    status = points.Visit(rest, Direction::kForward, walk);
    if (!status.ok()) return status;
    walk.Finish();
  }
  return {};
}

}  // namespace zervane
