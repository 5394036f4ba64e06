#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "api/operations/values.h"
#include "engine/catalogue/tag_index.h"
#include "engine/clock.h"
#include "engine/current/current_values.h"
#include "engine/storage/store.h"

namespace zervane {

// Lets records into the write queue, batch by batch. Order is judged against what was accepted
// before, stored or still queued, so a batch that is answered when queued is judged all the same.
// Threads: all calls under the mutex of the write queue, which guards the newest times.
class Admission {
 public:
  Admission(TagIndex& tags, const CurrentValues& current_values, Clock clock)
      : tags_(tags), current_values_(current_values), clock_(std::move(clock)) {}

  // Takes note of the current value that is stored of a tag, before the first batch.
  void Know(TagId tag, std::int64_t time_ms);

  // Judges the batch in its order: codes[i], of as many as there are records, receives the status
  // of record i, and the samples of those accepted move to the end of `accepted`. Records of time 0
  // take the clock. When it throws, nothing has changed.
  void Admit(std::span<TagSample> batch, WriteOrder order, std::span<std::int32_t> codes,
             std::vector<AcceptedSample>& accepted);

  // Whether the tag holds a record, stored or queued.
  bool HoldsRecords(TagId tag) const;

  // Some records of `settled` could not be stored: what counts as accepted for their tags is what
  // is stored and what is still `queued`.
  void FallBack(std::span<const AcceptedSample> settled,
                std::span<const AcceptedSample> queued) noexcept;

 private:
  TagIndex::Slot& SlotOf(TagId tag) const;  // of a tag that is or was in the index

  TagIndex& tags_;
  const CurrentValues& current_values_;
  const Clock clock_;
};

}  // namespace zervane
