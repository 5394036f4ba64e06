#include "engine/storage/series.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <span>
#include <utility>

namespace zervane::storage {
namespace {

// Late records are merged when there are at least kMinLate, and one for each kLateShare others.
constexpr std::size_t kMinLate = 64;
constexpr std::size_t kLateShare = 4;

bool IsEarlier(const Sample& a, const Sample& b) { return a.time_ms < b.time_ms; }

// Removes of each run of equal times all but the last.
void KeepLastOfEqualTimes(std::vector<Sample>* records) {
  std::size_t kept = 0;
  for (std::size_t i = 1; i < records->size(); ++i) {
    Sample& record = (*records)[i];
    if (record.time_ms != (*records)[kept].time_ms) ++kept;
    if (kept != i) (*records)[kept] = std::move(record);
  }
  if (records->empty()) return;
  records->erase(records->begin() + static_cast<std::ptrdiff_t>(kept) + 1, records->end());
}

std::span<const Sample> Within(const std::vector<Sample>& records, TimeRange range) {
  if (range.from_ms > range.to_ms) return {};
  const auto begin = std::ranges::lower_bound(records, range.from_ms, {}, &Sample::time_ms);
  const auto end = std::ranges::upper_bound(records, range.to_ms, {}, &Sample::time_ms);
  return {begin, end};
}

// Growing by doubling, so that many small requests cost no more than one.
void ReserveMore(std::vector<Sample>* records, std::size_t needed) {
  if (needed > records->capacity()) records->reserve(std::max(needed, 2 * records->capacity()));
}

}  // namespace

void Series::Reserve(std::size_t records) {
  const bool is_worth_merging =
      late_.size() >= kMinLate && late_.size() * kLateShare >= in_order_.size();
  if (is_worth_merging) MergeLate();
  ReserveMore(&in_order_, in_order_.size() + records);
  ReserveMore(&late_, late_.size() + records);
}

std::vector<Sample> Series::Copy(TimeRange range, Direction direction, std::size_t limit) const {
  const std::span<const Sample> in_order = Within(in_order_, range);
  const std::vector<const Sample*> late = LateWithin(range);
  std::vector<Sample> newer;
  const auto copy = [&](const Sample* record) { newer.push_back(*record); };
  const std::size_t taken = std::min(late.size(), limit);
  newer.reserve(taken);
  if (direction == Direction::kForward) {
    std::for_each_n(late.begin(), taken, copy);
  } else {
    std::for_each_n(late.rbegin(), taken, copy);
  }
  SeriesMerge merge(std::move(newer), direction, limit);
  if (direction == Direction::kForward) {
    merge.AddAll(in_order.begin(), in_order.end());
  } else {
    merge.AddAll(in_order.rbegin(), in_order.rend());
  }
  return merge.Finish();
}

std::span<const Sample> Series::All(std::vector<Sample>* merged) const {
  if (late_.empty()) return in_order_;
  *merged = Copy({}, Direction::kForward, in_order_.size() + late_.size());
  return *merged;
}

std::vector<std::int64_t> Series::Times(TimeRange range) const {
  std::vector<std::int64_t> times;
  for (const Sample& record : Within(in_order_, range)) times.push_back(record.time_ms);
  const auto late = LateWithin(range);
  if (late.empty()) return times;
  for (const Sample* record : late) times.push_back(record->time_ms);
  std::ranges::sort(times);
  times.erase(std::unique(times.begin(), times.end()), times.end());
  return times;
}

std::vector<const Sample*> Series::LateWithin(TimeRange range) const {
  std::vector<const Sample*> late;
  for (const Sample& record : late_) {
    if (range.Holds(record.time_ms)) late.push_back(&record);
  }
  std::ranges::stable_sort(late, {}, &Sample::time_ms);
  std::vector<const Sample*> counting;
  for (std::size_t i = 0; i < late.size(); ++i) {
    const bool is_replaced = i + 1 < late.size() && late[i + 1]->time_ms == late[i]->time_ms;
    if (!is_replaced) counting.push_back(late[i]);
  }
  return counting;
}

void Series::MergeLate() {
  in_order_.reserve(in_order_.size() + late_.size());
  const auto middle = static_cast<std::ptrdiff_t>(in_order_.size());
  std::ranges::stable_sort(late_, IsEarlier);
  std::ranges::move(late_, std::back_inserter(in_order_));
  late_.clear();
  std::inplace_merge(in_order_.begin(), in_order_.begin() + middle, in_order_.end(), IsEarlier);
  KeepLastOfEqualTimes(&in_order_);
  ZERVANE_ASSERT(std::ranges::adjacent_find(in_order_, std::ranges::greater_equal(),
                                            &Sample::time_ms) == in_order_.end());
}

SeriesMerge::SeriesMerge(std::vector<Sample> newer, Direction direction, std::size_t limit)
    : newer_(std::move(newer)), direction_(direction), limit_(limit) {}

bool SeriesMerge::Comes(std::int64_t time_ms, std::int64_t before_ms) const {
  return direction_ == Direction::kForward ? time_ms < before_ms : time_ms > before_ms;
}

bool SeriesMerge::Add(Sample older) {
  ZERVANE_ASSERT(IsNext(older.time_ms));
  while (!full() && next_ < newer_.size() && Comes(newer_[next_].time_ms, older.time_ms)) {
    TakeNewer();
  }
  if (full()) return false;
  const bool replaced = next_ < newer_.size() && newer_[next_].time_ms == older.time_ms;
  if (!replaced) merged_.push_back(std::move(older));
  return !full();
}

std::vector<Sample> SeriesMerge::Finish() {
  while (!full() && next_ < newer_.size()) TakeNewer();
  return std::move(merged_);
}

}  // namespace zervane::storage
