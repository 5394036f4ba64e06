#include "engine/history/points.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "engine/history/good_records.h"

namespace zervane {
namespace {

// Shows the tail's records where they belong among those of the archive: to the visitor of a
// forward scan last, to that of a backward one first.
class TailedVisitor final : public ScanVisitor {
 public:
  TailedVisitor(const SampleColumns& tail, TimeRange range, Direction direction,
                ScanVisitor& visitor)
      : tail_(tail), range_(range), direction_(direction), visitor_(visitor) {}

  bool UsesStatistics() const override { return visitor_.UsesStatistics(); }
  Wants Offer(const RunSummary& run) override {
    const bool is_first = newest_ms_ == kNoTime;
    newest_ms_ = std::max(newest_ms_, run.last_ms);
    if (is_first && direction_ == Direction::kBackward && !ShowTail()) return Wants::kStop;
    const Wants wants = visitor_.Offer(run);
    is_stopped_ = wants == Wants::kStop;
    return wants;
  }

  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override {
    is_stopped_ = !visitor_.Show(records, begin, end);
    return !is_stopped_;
  }

  // After the archive was scanned.
  void Finish() {
    const bool is_shown = direction_ == Direction::kBackward && newest_ms_ != kNoTime;
    if (!is_stopped_ && !is_shown) (void)ShowTail();
  }

 private:
  // What of the tail is newer than the newest archived record. Whether to go on.
  bool ShowTail() {
    const auto times = tail_.times();
    const std::int64_t from_ms = std::max(range_.from_ms, newest_ms_ + 1);
    const auto begin = std::ranges::lower_bound(times, from_ms) - times.begin();
    const auto end = std::ranges::upper_bound(times, range_.to_ms) - times.begin();
    if (begin < end) {
      is_stopped_ = !ShowRun(static_cast<std::size_t>(begin), static_cast<std::size_t>(end));
    }
    return !is_stopped_;
  }

  bool ShowRun(std::size_t begin, std::size_t end) {
    const RunStatistics statistics = StatisticsOf(tail_, begin, end);
    const Wants wants = visitor_.Offer({.first_ms = statistics.first_ms,
                                        .last_ms = statistics.last_ms,
                                        .count = statistics.count,
                                        .statistics = &statistics});
    if (wants != Wants::kRecords) return wants == Wants::kNext;
    return visitor_.Show(tail_, begin, end);
  }

  const SampleColumns& tail_;
  const TimeRange range_;
  const Direction direction_;
  ScanVisitor& visitor_;
  std::int64_t newest_ms_ = kNoTime;  // of the archived records that were offered
  bool is_stopped_ = false;
};

}  // namespace

Result<TagPoints> TagPoints::Read(Store& store, const CurrentValues& current_values, TagId tag,
                                  const TagTraits& traits, std::int64_t clock_ms) {
  TagPoints points(store, tag, traits.type, std::max(clock_ms, current_values.TimeOf(tag)));
  if (!traits.filtered) return points;
  if (Status status = points.ReadTail(current_values); !status.ok()) return status;
  return points;
}

// Without filters the archive has every record that it is ever to have. Of two records of one time
// the one that was read later counts: it took the other's place.
Status TagPoints::ReadTail(const CurrentValues& current_values) {
  const std::optional<Sample> current = current_values.Find(tag_);
  const Result<std::optional<Sample>> held = store_->ReadHeld(tag_);
  if (!held.ok()) return held.status();
  const bool has_held = held->has_value();
  if (has_held && (*held)->type != type_) {
    return {ZR3_ERR_STORAGE_DAMAGED,
            fmt::format("what the store holds back of tag {} is of another type", tag_)};
  }
  const bool has_current =
      current && current->type == type_ && !(has_held && (*held)->time_ms == current->time_ms);
  const bool is_held_older = has_held && has_current && (*held)->time_ms < current->time_ms;
  if (is_held_older) tail_.Add(**held);
  if (has_current) tail_.Add(*current);
  if (has_held && !is_held_older) tail_.Add(**held);
  if (!tail_.empty()) now_ms_ = std::max(now_ms_, std::as_const(tail_).times().back());
  return {};
}

Status TagPoints::Visit(TimeRange range, Direction direction, ScanVisitor& visitor) const {
  range.to_ms = std::min(range.to_ms, now_ms_);
  if (range.empty()) return {};
  GoodRecords good(direction, visitor);
  TailedVisitor tailed(tail_, range, direction, has_bad_ ? visitor : good);
  if (Status status = store_->Scan(tag_, range, direction, tailed); !status.ok()) return status;
  tailed.Finish();
  return {};
}

}  // namespace zervane
