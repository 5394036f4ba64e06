#include "engine/snapshots/current_values.h"

#include "engine/snapshots/acceptance.h"

namespace zervane {

std::optional<Sample> CurrentValues::Find(TagId tag) const {
  Part& part = PartOf(tag);
  const std::lock_guard lock(part.mutex);
  const std::optional<Sample>* found = part.Find(tag);
  return found == nullptr ? std::nullopt : *found;
}

std::int64_t CurrentValues::TimeOf(TagId tag) const noexcept {
  Part& part = PartOf(tag);
  const std::lock_guard lock(part.mutex);
  const std::optional<Sample>* found = part.Find(tag);
  return found == nullptr ? kNoTime : (*found)->time_ms;
}

void CurrentValues::Put(TagId tag, const Sample& sample) {
  Part& part = PartOf(tag);
  const std::lock_guard lock(part.mutex);
  part.samples.At(tag / kParts) = sample;
}

void CurrentValues::Remove(TagId tag) {
  Part& part = PartOf(tag);
  const std::lock_guard lock(part.mutex);
  if (std::optional<Sample>* found = part.Find(tag)) found->reset();
}

void MarkGroup(TagIndex& tags, const CurrentValues& current_values,
               std::span<AcceptedSample> records, GroupMarks* marks) {
  marks->any_filtered = false;
  marks->current.clear();
  marks->current.reserve(records.size());  // before the slots are touched: it may throw
  std::uint32_t position = 0;
  for (AcceptedSample& record : records) {
    ++position;
    TagIndex::Slot& slot = *tags.FindSlot(record.tag);
    const std::optional<TagTraits> traits = TagIndex::TraitsOf(slot);
    record.archive = traits && traits->archiving;
    marks->any_filtered |= traits && traits->filtered;
    AcceptedSample* newest =
        slot.newest_in_group == 0 ? nullptr : &records[slot.newest_in_group - 1];
    const std::int64_t newest_ms =
        newest != nullptr ? newest->sample.time_ms : current_values.TimeOf(record.tag);
    record.current = MovesForward(record.sample.time_ms, newest_ms);
    if (!record.current) continue;
    if (newest != nullptr) {
      newest->current = false;
    } else {
      marks->current.push_back(position - 1);
    }
    slot.newest_in_group = position;
  }
  // So far they are the first of their tags; and the slots are to be as they were.
  for (std::uint32_t& current : marks->current) {
    TagIndex::Slot& slot = *tags.FindSlot(records[current].tag);
    current = slot.newest_in_group - 1;
    slot.newest_in_group = 0;
  }
}

}  // namespace zervane
