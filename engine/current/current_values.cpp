#include "engine/current/current_values.h"

#include "engine/assert.h"
#include "engine/write/acceptance.h"

namespace zervane {

std::optional<Sample> CurrentValues::Find(TagId tag) const {
  Part& part = PartOf(tag);
  const MutexLock lock(part.mutex);
  const std::optional<Sample>* found = part.Find(tag);
  return found == nullptr ? std::nullopt : *found;
}

std::int64_t CurrentValues::TimeOf(TagId tag) const noexcept {
  Part& part = PartOf(tag);
  const MutexLock lock(part.mutex);
  const std::optional<Sample>* found = part.Find(tag);
  return found == nullptr ? kNoTime : (*found)->time_ms;
}

std::int64_t CurrentValues::Reserve(TagId tag) {
  Part& part = PartOf(tag);
  const MutexLock lock(part.mutex);
  const std::optional<Sample>& place = part.samples.At(tag / kParts);
  return place ? place->time_ms : kNoTime;
}

void CurrentValues::Put(TagId tag, const Sample& sample) noexcept {
  Part& part = PartOf(tag);
  const MutexLock lock(part.mutex);
  std::optional<Sample>* place = part.samples.Find(tag / kParts);
  ZERVANE_ASSERT(place != nullptr);  // it was reserved
  *place = sample;
}

void CurrentValues::Remove(TagId tag) noexcept {
  Part& part = PartOf(tag);
  const MutexLock lock(part.mutex);
  if (std::optional<Sample>* found = part.Find(tag)) found->reset();
}

namespace {

// Notes in the tags' slots where a group has their newest records. When it ends, however that is,
// the slots are as they were, and the marks tell which records become current values.
class GroupSlots {
 public:
  GroupSlots(TagIndex& tags, std::span<AcceptedSample> records, std::vector<std::uint32_t>& current)
      : tags_(tags), records_(records), current_(current) {
    current_.clear();
    current_.reserve(records.size());
  }
  GroupSlots(const GroupSlots&) = delete;
  GroupSlots& operator=(const GroupSlots&) = delete;
  // So far the marks are of the first records of their tags.
  ~GroupSlots() {
    for (std::uint32_t& current : current_) {
      TagIndex::Slot& slot = SlotOf(records_[current]);
      current = slot.newest_in_group - 1;
      slot.newest_in_group = 0;
    }
  }

  TagIndex::Slot& SlotOf(const AcceptedSample& record) const {
    TagIndex::Slot* slot = tags_.FindSlot(record.tag);
    ZERVANE_ASSERT(slot != nullptr);
    return *slot;
  }

  // The record so far; null when there is none.
  AcceptedSample* Newest(const TagIndex::Slot& slot) const {
    ZERVANE_ASSERT(slot.newest_in_group <= records_.size());
    return slot.newest_in_group == 0 ? nullptr : &records_[slot.newest_in_group - 1];
  }

  void SetNewest(TagIndex::Slot& slot, std::uint32_t at) {
    if (slot.newest_in_group == 0) current_.push_back(at);
    slot.newest_in_group = at + 1;
  }

 private:
  TagIndex& tags_;
  const std::span<AcceptedSample> records_;
  std::vector<std::uint32_t>& current_;
};

}  // namespace

void MarkGroup(TagIndex& tags, CurrentValues& current_values, std::span<AcceptedSample> records,
               GroupMarks* marks) {
  marks->any_filtered = false;
  GroupSlots slots(tags, records, marks->current);
  std::uint32_t at = 0;
  for (AcceptedSample& record : records) {
    TagIndex::Slot& slot = slots.SlotOf(record);
    const std::optional<TagTraits> traits = TagIndex::TraitsOf(slot);
    record.archive = traits && traits->archiving;
    marks->any_filtered |= traits && traits->filtered;
    AcceptedSample* newest = slots.Newest(slot);
    const std::int64_t newest_ms =
        newest != nullptr ? newest->sample.time_ms : current_values.Reserve(record.tag);
    record.current = MovesForward(record.sample.time_ms, newest_ms);
    if (record.current) {
      if (newest != nullptr) newest->current = false;
      slots.SetNewest(slot, at);
    }
    ++at;
  }
}

}  // namespace zervane
