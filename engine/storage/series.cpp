#include "engine/storage/series.h"

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "engine/assert.h"

namespace zervane::storage {
namespace {

// Late records are merged when there are at least kMinLate, and one for each kLateShare others.
constexpr std::size_t kMinLate = 64;
constexpr std::size_t kLateShare = 4;

// What some samples need beside and behind those in order.
struct Needed {
  std::size_t in_order = 0;
  std::size_t late = 0;
  std::size_t in_order_texts = 0;  // bytes; those that replace the last one are among them
  std::size_t late_texts = 0;
};

std::size_t TextBytesAt(const SampleColumns& samples, std::size_t at) {
  return IsText(samples.types()[at]) ? samples.TextAt(at).size() : 0;
}

Needed NeededFor(const SampleColumns& batch, std::span<const std::uint32_t> which,
                 std::int64_t last_ms) {
  Needed needed;
  const std::span<const std::int64_t> times = batch.times();
  const bool has_texts = !batch.texts().empty();
  for (const std::uint32_t at : which) {
    const bool is_late = times[at] < last_ms;
    needed.late += is_late ? 1 : 0;
    needed.in_order += times[at] > last_ms ? 1 : 0;
    last_ms = std::max(last_ms, times[at]);
    if (!has_texts) continue;
    (is_late ? needed.late_texts : needed.in_order_texts) += TextBytesAt(batch, at);
  }
  return needed;
}

// How many of the times, which ascend, come before `time_ms`.
std::size_t CountBefore(std::span<const std::int64_t> times, std::int64_t time_ms) {
  return static_cast<std::size_t>(std::ranges::lower_bound(times, time_ms) - times.begin());
}

// How many come before it or at it.
std::size_t CountUpTo(std::span<const std::int64_t> times, std::int64_t time_ms) {
  return static_cast<std::size_t>(std::ranges::upper_bound(times, time_ms) - times.begin());
}

}  // namespace

// ---- runs ----

SampleRun AllOf(const SampleColumns& samples) {
  return {.samples = &samples, .begin = 0, .end = samples.size()};
}

SampleRun Within(const SampleRun& run, TimeRange range) {
  if (range.empty() || run.empty())
    return {.samples = run.samples, .begin = run.begin, .end = run.begin};
  return {.samples = run.samples,
          .begin = run.begin + CountBefore(run.times(), range.from_ms),
          .end = run.begin + CountUpTo(run.times(), range.to_ms)};
}

SampleRun AtMost(const SampleRun& run, Direction direction, std::size_t limit) {
  const std::size_t count = std::min(run.size(), limit);
  if (direction == Direction::kForward) {
    return {.samples = run.samples, .begin = run.begin, .end = run.begin + count};
  }
  return {.samples = run.samples, .begin = run.end - count, .end = run.end};
}

SampleColumns FirstOf(SampleColumns samples, Direction direction, std::size_t limit) {
  if (samples.size() <= limit) return samples;
  const SampleRun wanted = AtMost(AllOf(samples), direction, limit);
  SampleColumns first;
  first.AddRange(samples, wanted.begin, wanted.end);
  return first;
}

// Stretches of one that lie between two samples of the other are copied as a whole.
void Merge(const SampleRun& newer, const SampleRun& older, SampleColumns* merged) {
  merged->ReserveMore(newer.size() + older.size());
  SampleRun from_newer = newer;
  SampleRun from_older = older;
  while (!from_newer.empty() && !from_older.empty()) {
    const std::int64_t newer_ms = from_newer.times().front();
    const std::size_t before = CountBefore(from_older.times(), newer_ms);
    merged->AddRange(*older.samples, from_older.begin, from_older.begin + before);
    from_older.begin += before;
    if (from_older.empty()) break;
    const std::int64_t older_ms = from_older.times().front();
    const std::size_t up_to = CountUpTo(from_newer.times(), older_ms);
    merged->AddRange(*newer.samples, from_newer.begin, from_newer.begin + up_to);
    from_newer.begin += up_to;
    ZERVANE_ASSERT(up_to > 0);  // the first one at least, which no older one comes before
    const bool is_replaced = newer.samples->times()[from_newer.begin - 1] == older_ms;
    if (is_replaced) ++from_older.begin;
  }
  if (!from_older.empty()) merged->AddRange(*older.samples, from_older.begin, from_older.end);
  if (!from_newer.empty()) merged->AddRange(*newer.samples, from_newer.begin, from_newer.end);
}

// ---- putting ----

void Series::Reserve(const SampleColumns& batch, std::span<const std::uint32_t> which) {
  const bool is_worth_merging =
      CountLate() >= kMinLate && CountLate() * kLateShare >= in_order_.size();
  if (is_worth_merging) MergeLate();
  const Needed needed = NeededFor(batch, which, last_ms());
  if (in_order_.capacity() == 0) {
    in_order_.Reserve(needed.in_order);  // no more: many tags have one record and then no other
  }
  in_order_.ReserveMore(needed.in_order, needed.in_order_texts);
  if (needed.late == 0) return;
  if (late_ == nullptr) late_ = std::make_unique<SampleColumns>();
  late_->ReserveMore(needed.late, needed.late_texts);
}

void Series::Put(const SampleColumns& batch, std::span<const std::uint32_t> which) noexcept {
  const std::span<const TagType> types = batch.types();
  const std::span<const std::int64_t> times = batch.times();
  std::int64_t last = last_ms();
  for (const std::uint32_t at : which) {
    if (times[at] > last) {
      ZERVANE_ASSERT(in_order_.size() < in_order_.capacity());
      if (IsText(types[at])) {
        in_order_.AddFrom(batch, at);
      } else {
        in_order_.AddNumber(times[at], batch.qualities()[at], types[at], batch.values()[at]);
      }
      last = times[at];
    } else if (times[at] == last) {
      in_order_.ReplaceFrom(in_order_.size() - 1, batch, at);
    } else {
      ZERVANE_ASSERT(late_ != nullptr && late_->size() < late_->capacity());
      late_->AddFrom(batch, at);
    }
  }
}

// ---- reading ----

// The late records of the range that count, ascending.
SampleColumns Series::LateWithin(TimeRange range) const {
  SampleColumns counting;
  if (CountLate() == 0) return counting;
  const std::span<const std::int64_t> times = std::as_const(*late_).times();
  std::vector<std::uint32_t> order;
  for (std::size_t at = 0; at < times.size(); ++at) {
    if (range.Holds(times[at])) order.push_back(static_cast<std::uint32_t>(at));
  }
  std::ranges::stable_sort(order, {}, [&](std::uint32_t at) { return times[at]; });
  counting.Reserve(order.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    const bool is_replaced = i + 1 < order.size() && times[order[i + 1]] == times[order[i]];
    if (!is_replaced) counting.AddFrom(*late_, order[i]);
  }
  return counting;
}

SampleColumns Series::Copy(TimeRange range, Direction direction, std::size_t limit) const {
  const SampleColumns late = LateWithin(range);
  SampleColumns merged;
  Merge(AtMost(AllOf(late), direction, limit),
        AtMost(Within(AllOf(in_order_), range), direction, limit), &merged);
  return FirstOf(std::move(merged), direction, limit);
}

SampleRun Series::All(SampleColumns* merged) const {
  if (CountLate() == 0) return AllOf(in_order_);
  *merged = Copy({});
  return AllOf(*merged);
}

// All is made aside first, so that the series stays as it is when there is no memory for it.
void Series::MergeLate() {
  SampleColumns all = Copy({});
  ZERVANE_ASSERT(std::ranges::adjacent_find(all.times(), std::ranges::greater_equal()) ==
                 all.times().end());
  in_order_ = std::move(all);
  late_->Clear();
}

}  // namespace zervane::storage
