#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>

#include "api/words/samples.h"
#include "api/words/value.h"

namespace zervane::storage {

// Part of some samples of one tag, strictly ascending in time.
struct SampleRun {
  const SampleColumns* samples = nullptr;
  std::size_t begin = 0;
  std::size_t end = 0;

  std::size_t size() const { return end - begin; }
  bool empty() const { return begin == end; }
  std::span<const std::int64_t> times() const {
    return empty() ? std::span<const std::int64_t>() : samples->times().subspan(begin, size());
  }
};

SampleRun AllOf(const SampleColumns& samples);
// What of the run lies in the range.
SampleRun Within(const SampleRun& run, TimeRange range);
// At most `limit` of them: those with which the direction begins.
SampleRun AtMost(const SampleRun& run, Direction direction, std::size_t limit);

// The same of whole columns.
SampleColumns FirstOf(SampleColumns samples, Direction direction, std::size_t limit);

// Appends both runs to `merged`, ascending; of equal times the newer one's sample alone.
void Merge(const SampleRun& newer, const SampleRun& older, SampleColumns* merged);

// Records of one tag in memory, one for each time: of equal times the last one that came counts.
//
// Nearly all records come in order, so they stand in sorted columns; those that come late wait
// beside them until there are so many that merging them costs little for each.
//
//   series.Reserve(batch.samples, group.records);  // may throw
//   series.Put(batch.samples, group.records);      // cannot fail
//
// Threads: as a container.
class Series {
 public:
  // Makes room for those samples, `which` of a batch, so that to put them, in that order, cannot
  // fail. To do so again for the same samples takes no more memory.
  void Reserve(const SampleColumns& batch, std::span<const std::uint32_t> which);
  // REQUIRES Reserve of the same, and nothing put since.
  void Put(const SampleColumns& batch, std::span<const std::uint32_t> which) noexcept;

  // Makes room for about as many that come in order, so that they need not move when they grow.
  void ReserveInOrder(std::size_t records) { in_order_.Reserve(records); }
  std::size_t CountInOrder() const { return in_order_.size(); }

  bool empty() const { return in_order_.empty(); }

  // Has the memory behind the last record fetched, where the next ones go.
  void PrefetchEnd() const {
    __builtin_prefetch(in_order_.times().data() + in_order_.size(), 1);
    __builtin_prefetch(in_order_.values().data() + in_order_.size(), 1);
  }

  // Up to `limit` records of the range, those with which the direction begins; ascending.
  SampleColumns Copy(TimeRange range, Direction direction = Direction::kForward,
                     std::size_t limit = std::numeric_limits<std::size_t>::max()) const;

  // All records. In `merged` when there are late ones to be merged, else in place, for as long as
  // nothing is put.
  SampleRun All(SampleColumns* merged) const;

 private:
  std::int64_t last_ms() const { return empty() ? kNoTime : in_order_.times().back(); }
  std::size_t CountLate() const { return late_ == nullptr ? 0 : late_->size(); }
  SampleColumns LateWithin(TimeRange range) const;
  void MergeLate();

  SampleColumns in_order_;
  // Before the last one in order; as they came. None for most tags, of which there may be many.
  std::unique_ptr<SampleColumns> late_;
};

}  // namespace zervane::storage
