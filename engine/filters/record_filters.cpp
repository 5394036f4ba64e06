#include "engine/filters/record_filters.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <utility>

#include "engine/assert.h"
#include "engine/write/acceptance.h"

namespace zervane {
namespace {

// Moves samples that enter the archive, and are not the current value, to the end of `records`.
void Archive(TagId tag, std::vector<Sample>& samples, std::vector<AcceptedSample>& records) {
  for (Sample& sample : samples) {
    records.push_back({.tag = tag, .current = false, .sample = std::move(sample)});
  }
  samples.clear();
}

// A record that a later one of its group has replaced before it got anywhere.
bool GoesNowhere(const AcceptedSample& record) {
  return !record.archive && !record.current && !record.held;
}

}  // namespace

Status RecordFilters::Append(std::span<const AcceptedSample> records) {
  ++last_group_;
  Group group;
  group.records.reserve(records.size());
  for (const AcceptedSample& record : records) {
    if (!HasFilters(record.tag)) {
      group.records.push_back(record);
    } else if (Status status = Take(record, group); !status.ok()) {
      return status;
    }
  }
  std::erase_if(group.records, GoesNowhere);
  if (Status status = store_.AppendTaking(group.records); !status.ok()) return status;
  for (const Staged& staged : group.staged) staged.entry->filter = staged.filter;
  return {};
}

Status RecordFilters::Release(TagId tag) {
  if (!HasFilters(tag)) return {};
  ++last_group_;
  Group group;
  const Result<std::size_t> staged_at = Stage(tag, group);
  if (!staged_at.ok()) return staged_at.status();
  group.staged[*staged_at].filter.Release(group.released);
  Archive(tag, group.released, group.records);
  if (!group.records.empty()) {
    if (Status status = store_.AppendTaking(group.records); !status.ok()) return status;
  }
  Forget(tag);
  return {};
}

bool RecordFilters::HasFilters(TagId tag) const {
  const std::optional<TagTraits> traits = catalogue_.tags().Find(tag);
  return traits && traits->filtered;
}

Status RecordFilters::Take(const AcceptedSample& record, Group& group) {
  const Result<std::size_t> staged_at = Stage(record.tag, group);
  if (!staged_at.ok()) return staged_at.status();
  Staged& staged = group.staged[*staged_at];
  const Fate fate = staged.filter.Take(record.sample, group.released);
  Archive(record.tag, group.released, group.records);
  if (fate == Fate::kHeld) {
    if (staged.held_at) group.records[*staged.held_at].held = false;
    staged.held_at = group.records.size();
  }
  if (fate == Fate::kHeldBack && !record.current) return {};
  group.records.push_back({.tag = record.tag,
                           .archive = fate == Fate::kArchived,
                           .current = record.current,
                           .held = fate == Fate::kHeld,
                           .sample = record.sample});
  return {};
}

Result<std::size_t> RecordFilters::Stage(TagId tag, Group& group) {
  Entry& entry = entries_[tag];
  if (entry.group == last_group_) {
    ZERVANE_ASSERT(entry.staged_at < group.staged.size());
    return std::size_t{entry.staged_at};
  }
  if (entry.filter) {
    group.staged.push_back({.entry = &entry, .filter = *entry.filter, .held_at = {}});
  } else {
    Result<RecordFilter> recovered = Recover(tag, group.released);
    if (!recovered.ok()) return recovered.status();
    Archive(tag, group.released, group.records);
    group.staged.push_back({.entry = &entry, .filter = *recovered, .held_at = {}});
  }
  entry.group = last_group_;
  entry.staged_at = group.staged.size() - 1;
  return std::size_t{entry.staged_at};
}

Result<RecordFilter> RecordFilters::Recover(TagId tag, std::vector<Sample>& archived) {
  const Catalogue::TagPtr properties = catalogue_.Find(tag);
  if (properties == nullptr) return NoSuchTag(tag);
  RecordFilter filter(FilterSettingsOf(*properties));
  if (Status status = RecoverHeld(tag, archived); !status.ok()) return status;
  const std::optional<Sample> current = current_values_.Find(tag);
  if (!current) return filter;
  const TimeRange instant = {.from_ms = current->time_ms, .to_ms = current->time_ms};
  const Result<std::vector<Sample>> stored = store_.Read(tag, instant, Direction::kBackward, 1);
  if (!stored.ok()) return stored.status();
  if (stored->empty() || stored->front() != *current) archived.push_back(*current);
  filter.StartFrom(*current);
  return filter;
}

// What a store holds back was accepted once, as the current values were.
Status RecordFilters::RecoverHeld(TagId tag, std::vector<Sample>& archived) {
  Result<std::optional<Sample>> stored = store_.ReadHeld(tag);
  if (!stored.ok()) return stored.status();
  std::optional<Sample>& held = *stored;
  if (!held) return {};
  const ZR3_STATUS code =
      JudgeRecord(*held, catalogue_.tags().Find(tag), kNoTime, WriteOrder::kAnyOrder);
  if (code != ZR3_OK) {
    return {ZR3_ERR_STORAGE_DAMAGED,
            fmt::format("what the store holds back of tag {}: {}", tag, zr3_status_text(code))};
  }
  archived.push_back(*std::move(held));
  return {};
}

}  // namespace zervane
