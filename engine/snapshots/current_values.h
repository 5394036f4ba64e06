#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <unordered_map>

#include "engine/catalogue/tag_index.h"
#include "engine/storage/store.h"
#include "engine/value.h"

namespace zervane {

// The current value of every tag, as it is stored: readers see nothing that could still be lost.
// Threads: any.
class CurrentValues {
 public:
  std::optional<Sample> Find(TagId tag) const;
  // The time of the current value, or kNoTime.
  std::int64_t TimeOf(TagId tag) const;

  void Put(TagId tag, const Sample& sample);
  void Remove(TagId tag);

 private:
  // A tag's value stands in the part that its identifier picks, so that readers and the writer
  // seldom meet.
  struct Part {
    std::mutex mutex;
    std::unordered_map<TagId, Sample> samples;
  };

  Part& PartOf(TagId tag) const { return parts_[tag % parts_.size()]; }

  mutable std::array<Part, 64> parts_;
};

// Marks in a group of records those that become current values once the group is stored: of each
// tag the newest (of equal ones the last), unless the current value is newer.
// The tags have their slots; on the write queue's thread.
void MarkCurrent(TagIndex& tags, const CurrentValues& current_values,
                 std::span<AcceptedSample> records);

}  // namespace zervane
