#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "api/words/value.h"
#include "engine/catalogue/tag_index.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"
#include "engine/tag_array.h"

namespace zervane {

// The current value of every tag, as it is stored: readers see nothing that could still be lost.
// Threads: any.
class CurrentValues {
 public:
  std::optional<Sample> Find(TagId tag) const;
  // The time of the current value, or kNoTime.
  std::int64_t TimeOf(TagId tag) const noexcept;

  // Makes a place for the tag's value, so that putting it cannot fail. The time of the value that
  // stands there, or kNoTime.
  std::int64_t Reserve(TagId tag);
  // In the place that was made.
  void Put(TagId tag, const Sample& sample) noexcept;
  void Remove(TagId tag) noexcept;

 private:
  static constexpr TagId kParts = 64;

  // A tag's value stands in the part that its identifier picks, so that readers and the writer
  // seldom meet; within the part, tags count without gaps.
  struct Part {
    Mutex mutex;
    TagArray<std::optional<Sample>, 6> samples GUARDED_BY(mutex);

    // Null when there is none.
    std::optional<Sample>* Find(TagId tag) REQUIRES(mutex) {
      std::optional<Sample>* found = samples.Find(tag / kParts);
      return found != nullptr && found->has_value() ? found : nullptr;
    }
  };

  Part& PartOf(TagId tag) const { return parts_[tag % kParts]; }

  mutable std::array<Part, kParts> parts_;
};

// What a group of records on its way to the store brings.
struct GroupMarks {
  std::vector<std::uint32_t> current;  // where those stand that become current values
  bool any_filtered = false;           // some of their tags have filters
};

// Marks the records that become current values once the group is stored: of each tag the newest (of
// equal ones the last), unless the current value is newer. Marks those that enter the archive, as
// far as their tags have it, and looks for tags with filters. For all that become current values
// there are places then. The tags have their slots; by the thread that commits.
void MarkGroup(TagIndex& tags, CurrentValues& current_values, std::span<AcceptedSample> records,
               GroupMarks* marks);

}  // namespace zervane
