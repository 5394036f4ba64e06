#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <utility>
#include <vector>

#include "api/words/value.h"
#include "engine/assert.h"

namespace zervane::storage {

// Records of one tag in memory, one for each time: of equal times the last one that came counts.
//
// Nearly all records come in order, so they stand in a sorted vector; those that come late wait
// beside it until there are so many that merging them costs little for each.
//
// Threads: as a container.
class Series {
 public:
  // Makes room, so that as many calls of Put cannot fail.
  void Reserve(std::size_t records);

  // There is room for it.
  void Put(Sample sample) noexcept;

  // Makes room for about as many that come in order, so that they need not move when they grow.
  void ReserveInOrder(std::size_t records) { in_order_.reserve(records); }
  std::size_t CountInOrder() const { return in_order_.size(); }

  // Makes room for one more call of Put, beside those that were expected before and are still to
  // come.
  void Expect() {
    ++expected_;
    const bool has_room = in_order_.capacity() - in_order_.size() >= expected_ &&
                          late_.capacity() - late_.size() >= expected_;
    if (!has_room) Reserve(expected_);
  }

  // Gives up what was expected, for instance since there was no memory for all of it.
  void ExpectNothing() noexcept { expected_ = 0; }

  // Has the memory behind the last record fetched, where the next one goes.
  void PrefetchEnd() const { __builtin_prefetch(in_order_.data() + in_order_.size(), 1); }

  bool empty() const { return in_order_.empty(); }

  // The first `limit` records of the range, in the direction's order.
  std::vector<Sample> Copy(TimeRange range, Direction direction, std::size_t limit) const;

  // All records, ascending. In `merged` when there are late ones to be merged, else in place, for
  // as long as nothing is put.
  std::span<const Sample> All(std::vector<Sample>* merged) const;

  // The times of the range's records, ascending.
  std::vector<std::int64_t> Times(TimeRange range) const;

 private:
  // The late records of the range that count, ascending.
  std::vector<const Sample*> LateWithin(TimeRange range) const;
  void MergeLate();

  std::vector<Sample> in_order_;  // strictly ascending in time
  std::vector<Sample> late_;      // before the last one in order; as they came
  std::size_t expected_ = 0;      // calls of Put to come, at most
};

inline void Series::Put(Sample sample) noexcept {
  if (expected_ > 0) --expected_;
  if (in_order_.empty() || sample.time_ms > in_order_.back().time_ms) {
    ZERVANE_ASSERT(in_order_.size() < in_order_.capacity());
    in_order_.push_back(std::move(sample));
  } else if (sample.time_ms == in_order_.back().time_ms) {
    in_order_.back() = std::move(sample);
  } else {
    ZERVANE_ASSERT(late_.size() < late_.capacity());
    late_.push_back(std::move(sample));
  }
}

// Merges older records into newer ones of the same range and direction. Where both have a record of
// one time, the newer counts.
class SeriesMerge {
 public:
  SeriesMerge(std::vector<Sample> newer, Direction direction, std::size_t limit);

  // Takes the next of the older records, which come in the direction's order. False once the limit
  // is reached.
  bool Add(Sample older);

  // Takes the older records from `begin` on, likewise.
  template <typename Iterator>
  bool AddAll(Iterator begin, Iterator end);

  // What was merged, with the newer records that are left.
  std::vector<Sample> Finish();

 private:
  bool Comes(std::int64_t time_ms, std::int64_t before_ms) const;
  // Whether all that was merged so far comes before the time.
  bool IsNext(std::int64_t time_ms) const {
    return merged_.empty() || Comes(merged_.back().time_ms, time_ms);
  }
  bool full() const { return merged_.size() >= limit_; }
  void TakeNewer() { merged_.push_back(std::move(newer_[next_++])); }

  std::vector<Sample> newer_;
  std::size_t next_ = 0;
  Direction direction_;
  std::size_t limit_;
  std::vector<Sample> merged_;
};

template <typename Iterator>
bool SeriesMerge::AddAll(Iterator begin, Iterator end) {
  if (next_ < newer_.size()) {
    while (begin != end && Add(*begin)) ++begin;
  } else {
    ZERVANE_ASSERT(begin == end || IsNext((*begin).time_ms));
    const auto room = static_cast<std::ptrdiff_t>(
        std::min<std::size_t>(limit_ - merged_.size(), std::numeric_limits<std::ptrdiff_t>::max()));
    merged_.insert(merged_.end(), begin, begin + std::min(room, end - begin));
  }
  return !full();
}

}  // namespace zervane::storage
