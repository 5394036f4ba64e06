#include "engine/storage/pending.h"

#include <utility>

namespace zervane::storage {
namespace {

// `batch` wins where both have a record.
void AbsorbTag(PendingTag* tag, PendingTag* batch) noexcept {
  if (batch->current) tag->current = std::move(batch->current);
  tag->archive.merge(batch->archive);
  for (auto& [time_ms, sample] : batch->archive) {
    tag->archive.find(time_ms)->second = std::move(sample);
  }
}

}  // namespace

PendingTags GroupByTag(std::span<const AcceptedSample> records) {
  PendingTags batch;
  for (const AcceptedSample& record : records) {
    PendingTag& tag = batch[record.tag];
    const Sample& sample = record.sample;
    if (record.current) tag.current = sample;
    if (!record.archive) continue;
    // Nearly every record is newer than the one before, where the hint makes it cheap.
    tag.archive.insert_or_assign(tag.archive.end(), sample.time_ms, sample);
  }
  return batch;
}

void Pending::Reserve(std::size_t tags) {
  const std::unique_lock lock(mutex_);
  tags_.reserve(tags_.size() + tags);
}

void Pending::Absorb(PendingTags batch) noexcept {
  const std::unique_lock lock(mutex_);
  while (!batch.empty()) {
    auto node = batch.extract(batch.begin());
    const auto tag = tags_.find(node.key());
    if (tag == tags_.end()) {
      tags_.insert(std::move(node));
    } else {
      AbsorbTag(&tag->second, &node.mapped());
    }
  }
}

void Pending::Remove(TagId id) noexcept {
  const std::unique_lock lock(mutex_);
  tags_.erase(id);
}

void Pending::Clear() noexcept {
  PendingTags dropped;  // freed after the lock
  const std::unique_lock lock(mutex_);
  tags_.swap(dropped);
}

std::vector<Sample> Pending::Copy(TagId id, TimeRange range, Direction direction,
                                  std::size_t limit) const {
  const std::shared_lock lock(mutex_);
  const auto tag = tags_.find(id);
  if (tag == tags_.end()) return {};
  return CopyWithin(tag->second.archive, range, direction, limit);
}

std::vector<std::int64_t> Pending::Times(TagId id, TimeRange range) const {
  std::vector<std::int64_t> times;
  const std::shared_lock lock(mutex_);
  const auto tag = tags_.find(id);
  if (tag == tags_.end()) return times;
  const auto [begin, end] = PartWithin(tag->second.archive, range);
  for (auto record = begin; record != end; ++record) times.push_back(record->first);
  return times;
}

std::vector<TagSample> Pending::CurrentValues() const {
  std::vector<TagSample> values;
  const std::shared_lock lock(mutex_);
  for (const auto& [id, tag] : tags_) {
    if (tag.current) values.push_back({id, *tag.current});
  }
  return values;
}

}  // namespace zervane::storage
