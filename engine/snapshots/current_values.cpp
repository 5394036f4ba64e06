#include "engine/snapshots/current_values.h"

#include "engine/snapshots/acceptance.h"

namespace zervane {

std::optional<Sample> CurrentValues::Find(TagId tag) const {
  Part& part = PartOf(tag);
  const std::lock_guard lock(part.mutex);
  const auto found = part.samples.find(tag);
  if (found == part.samples.end()) return std::nullopt;
  return found->second;
}

std::int64_t CurrentValues::TimeOf(TagId tag) const {
  Part& part = PartOf(tag);
  const std::lock_guard lock(part.mutex);
  const auto found = part.samples.find(tag);
  return found == part.samples.end() ? kNoTime : found->second.time_ms;
}

void CurrentValues::Put(TagId tag, const Sample& sample) {
  Part& part = PartOf(tag);
  const std::lock_guard lock(part.mutex);
  part.samples.insert_or_assign(tag, sample);
}

void CurrentValues::Remove(TagId tag) {
  Part& part = PartOf(tag);
  const std::lock_guard lock(part.mutex);
  part.samples.erase(tag);
}

void MarkCurrent(TagIndex& tags, const CurrentValues& current_values,
                 std::span<AcceptedSample> records) {
  std::uint32_t position = 0;
  for (AcceptedSample& record : records) {
    ++position;
    std::uint32_t& newest = tags.FindSlot(record.tag)->newest_in_group;
    AcceptedSample* marked = newest == 0 ? nullptr : &records[newest - 1];
    const std::int64_t newest_ms =
        marked != nullptr ? marked->sample.time_ms : current_values.TimeOf(record.tag);
    record.current = MovesForward(record.sample.time_ms, newest_ms);
    if (!record.current) continue;
    if (marked != nullptr) marked->current = false;
    newest = position;
  }
  for (const AcceptedSample& record : records) tags.FindSlot(record.tag)->newest_in_group = 0;
}

}  // namespace zervane
