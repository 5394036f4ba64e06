#include "engine/filters/filter_stage.h"

#include <spdlog/fmt/fmt.h>

#include <utility>

#include "engine/assert.h"
#include "engine/storage/record_batch.h"
#include "engine/write/acceptance.h"

namespace zervane {
namespace {

// Finds the one record of an instant.
class InstantReader : public ScanVisitor {
 public:
  Wants Offer(const RunSummary&) override { return Wants::kRecords; }
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override {
    if (begin < end) found_ = records.At(begin);
    return false;
  }

  const std::optional<Sample>& found() const { return found_; }

 private:
  std::optional<Sample> found_;
};

// What a store holds was accepted once.
Status CheckHeld(TagId tag, const Sample& held, const std::optional<TagTraits>& traits) {
  const ZR3_STATUS code = JudgeSample(held, traits);
  if (code == ZR3_OK) return {};
  return {ZR3_ERR_STORAGE_DAMAGED,
          fmt::format("what the store holds back of tag {}: {}", tag, zr3_status_text(code))};
}

}  // namespace

FilterStage::FilterStage(Store& store, const TagIndex& tags, const CurrentValues& current_values,
                         SettingsLookup settings_of)
    : store_(store),
      tags_(tags),
      current_values_(current_values),
      settings_of_(std::move(settings_of)) {}

Status FilterStage::Process(Turn& turn, const StagedRecords& group, StoreBatch& batch) {
  turn.AssertHeld();
  for (const std::uint32_t at : group.filtered) {
    if (!HasFilters(group.tags[at])) continue;
    if (Status status = Filter(group, at, batch); !status.ok()) return status;
  }
  return {};
}

Status FilterStage::PrepareTagChange(Turn& turn, TagId tag, StoreBatch& batch) {
  turn.AssertHeld();
  return HasFilters(tag) ? EndFilters(tag, batch) : Status();
}

Status FilterStage::PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch&) {
  turn.AssertHeld();
  removed_.push_back(tag);
  return {};
}

Status FilterStage::PrepareRecord(Turn& turn, TagId tag, std::int64_t time_ms, std::uint8_t* marks,
                                  StoreBatch& batch) {
  turn.AssertHeld();
  if (!HasFilters(tag) || !MattersToFilters(tag, time_ms, *marks)) return {};
  *marks = static_cast<std::uint8_t>((*marks & ~kHeld) | kArchive);
  return EndFilters(tag, batch);
}

void FilterStage::Keep(Turn& turn) noexcept {
  for (Trial& trial : trials_) {
    if (trial.ends) {
      entries_.erase(trial.tag);
    } else {
      trial.entry->filter = trial.filter;
    }
  }
  for (const TagId tag : removed_) entries_.erase(tag);
  Discard(turn);
}

void FilterStage::Discard(Turn& turn) noexcept {
  turn.AssertHeld();
  ++batch_number_;
  trials_.clear();
  removed_.clear();
  released_.clear();
}

bool FilterStage::HasFilters(TagId tag) const {
  const std::optional<TagTraits> traits = tags_.Find(tag);
  return traits && traits->filtered;
}

// Without filters in memory, what the store holds back and the current value are all that they
// would be made from.
bool FilterStage::MattersToFilters(TagId tag, std::int64_t time_ms, std::uint8_t marks) const {
  const auto entry = entries_.find(tag);
  if (entry == entries_.end() || !entry->second.filter) return (marks & (kHeld | kCurrent)) != 0;
  return time_ms >= entry->second.filter->last_archived_ms();
}

Status FilterStage::EndFilters(TagId tag, StoreBatch& batch) {
  const Result<std::size_t> trial_at = Try(tag, batch);
  if (!trial_at.ok()) return trial_at.status();
  Trial& trial = trials_[*trial_at];
  trial.filter.Release(released_);
  ArchiveReleased(tag, batch);
  trial.ends = true;
  return {};
}

Status FilterStage::Filter(const StagedRecords& group, std::uint32_t at, StoreBatch& batch) {
  const TagId tag = group.tags[at];
  const Result<std::size_t> trial_at = Try(tag, batch);
  if (!trial_at.ok()) return trial_at.status();
  Trial& trial = trials_[*trial_at];
  const Filtered filtered = trial.filter.Filter(group.samples.At(at), released_);
  ArchiveReleased(tag, batch);
  MarkHeld(group, at, filtered, trial);
  return {};
}

// At most one record of a tag stays held in a group: the one that compression still holds.
void FilterStage::MarkHeld(const StagedRecords& group, std::uint32_t at, Filtered filtered,
                           Trial& trial) {
  if (filtered != Filtered::kArchived) group.marks[at] &= static_cast<std::uint8_t>(~kArchive);
  const bool is_held = filtered == Filtered::kHeld;
  if (trial.held_at && (is_held || !trial.filter.HoldsOne())) {
    group.marks[*trial.held_at] &= static_cast<std::uint8_t>(~kHeld);
    trial.held_at.reset();
  }
  if (!is_held) return;
  group.marks[at] |= kHeld;
  trial.held_at = at;
}

Result<std::size_t> FilterStage::Try(TagId tag, StoreBatch& batch) {
  Entry& entry = entries_[tag];
  if (entry.batch == batch_number_) {
    ZERVANE_ASSERT(entry.trial_at < trials_.size() && trials_[entry.trial_at].tag == tag);
    return std::size_t{entry.trial_at};
  }
  if (entry.filter) {
    trials_.push_back({.tag = tag, .entry = &entry, .filter = *entry.filter});
  } else {
    const Result<RecordFilter> recovered = Recover(tag, batch);
    if (!recovered.ok()) return recovered.status();
    trials_.push_back({.tag = tag, .entry = &entry, .filter = *recovered});
  }
  entry.batch = batch_number_;
  entry.trial_at = trials_.size() - 1;
  return std::size_t{entry.trial_at};
}

Result<RecordFilter> FilterStage::Recover(TagId tag, StoreBatch& batch) {
  const std::optional<FilterSettings> settings = settings_of_(tag);
  if (!settings) return Status(ZR3_ERR_TAG_NOT_FOUND, fmt::format("tag {}", tag));
  RecordFilter filter(*settings);
  if (Status status = RecoverHeld(tag, batch); !status.ok()) return status;
  const std::optional<Sample> current = current_values_.Find(tag);
  if (!current) return filter;
  const Result<bool> is_archived = IsArchived(tag, *current);
  if (!is_archived.ok()) return is_archived.status();
  if (!*is_archived) AddRecord(batch.records, tag, *current, kArchive);
  filter.StartFrom(*current);
  return filter;
}

Status FilterStage::RecoverHeld(TagId tag, StoreBatch& batch) {
  const Result<std::optional<Sample>> held = store_.ReadHeld(tag);
  if (!held.ok()) return held.status();
  if (!*held) return {};
  if (Status status = CheckHeld(tag, **held, tags_.Find(tag)); !status.ok()) return status;
  AddRecord(batch.records, tag, **held, kArchive);
  return {};
}

Result<bool> FilterStage::IsArchived(TagId tag, const Sample& sample) {
  const TimeRange instant = {.from_ms = sample.time_ms, .to_ms = sample.time_ms};
  InstantReader reader;
  if (Status status = store_.Scan(tag, instant, Direction::kBackward, reader); !status.ok()) {
    return status;
  }
  return reader.found() == sample;
}

void FilterStage::ArchiveReleased(TagId tag, StoreBatch& batch) {
  for (const Sample& sample : released_) AddRecord(batch.records, tag, sample, kArchive);
  released_.clear();
}

}  // namespace zervane
