#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "engine/value.h"

namespace zervane::storage {

// Records of one tag by their time.
using Series = std::map<std::int64_t, Sample>;

// The part of a series within the range, as two iterators.
struct SeriesPart {
  Series::const_iterator begin;
  Series::const_iterator end;
};
SeriesPart PartWithin(const Series& series, TimeRange range);

// Copies of the first `limit` records of the range, in the direction's order.
std::vector<Sample> CopyWithin(const Series& series, TimeRange range, Direction direction,
                               std::size_t limit);

// Merges stored records into pending ones of the same range and direction. Where both have a
// record of one time, the pending one is the newer and counts.
class SeriesMerge {
 public:
  SeriesMerge(std::vector<Sample> pending, Direction direction, std::size_t limit);

  // Takes the next stored record in the direction's order. False once the limit is reached.
  bool Add(Sample stored);

  // What was merged, with the pending records that are left.
  std::vector<Sample> Finish();

 private:
  bool Comes(std::int64_t time_ms, std::int64_t before_ms) const;
  bool full() const { return merged_.size() >= limit_; }
  void TakePending() { merged_.push_back(std::move(pending_[next_++])); }

  std::vector<Sample> pending_;
  std::size_t next_ = 0;
  Direction direction_;
  std::size_t limit_;
  std::vector<Sample> merged_;
};

}  // namespace zervane::storage
