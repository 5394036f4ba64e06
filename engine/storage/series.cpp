#include "engine/storage/series.h"

#include <iterator>
#include <utility>

namespace zervane::storage {
namespace {

template <typename Iterator>
std::vector<Sample> CopyUpTo(Iterator begin, Iterator end, std::size_t limit) {
  std::vector<Sample> records;
  for (; begin != end && records.size() < limit; ++begin) records.push_back(begin->second);
  return records;
}

}  // namespace

SeriesPart PartWithin(const Series& series, TimeRange range) {
  if (range.from_ms > range.to_ms) return {series.end(), series.end()};
  return {series.lower_bound(range.from_ms), series.upper_bound(range.to_ms)};
}

std::vector<Sample> CopyWithin(const Series& series, TimeRange range, Direction direction,
                               std::size_t limit) {
  const auto [begin, end] = PartWithin(series, range);
  if (direction == Direction::kForward) return CopyUpTo(begin, end, limit);
  return CopyUpTo(std::make_reverse_iterator(end), std::make_reverse_iterator(begin), limit);
}

SeriesMerge::SeriesMerge(std::vector<Sample> pending, Direction direction, std::size_t limit)
    : pending_(std::move(pending)), direction_(direction), limit_(limit) {}

bool SeriesMerge::Comes(std::int64_t time_ms, std::int64_t before_ms) const {
  return direction_ == Direction::kForward ? time_ms < before_ms : time_ms > before_ms;
}

bool SeriesMerge::Add(Sample stored) {
  while (!full() && next_ < pending_.size() && Comes(pending_[next_].time_ms, stored.time_ms)) {
    TakePending();
  }
  if (full()) return false;
  const bool replaced = next_ < pending_.size() && pending_[next_].time_ms == stored.time_ms;
  if (!replaced) merged_.push_back(std::move(stored));
  return !full();
}

std::vector<Sample> SeriesMerge::Finish() {
  while (!full() && next_ < pending_.size()) TakePending();
  return std::move(merged_);
}

}  // namespace zervane::storage
