#include "tests/engine/fake_store.h"

#include <algorithm>
#include <new>
#include <utility>

namespace zervane {

void FakeDisk::FailAppends(int times) {
  const std::lock_guard lock(mutex_);
  failing_appends_ = times;
}

void FakeDisk::FailAppendsOf(TagId tag) {
  const std::lock_guard lock(mutex_);
  failing_tags_.insert(tag);
}

void FakeDisk::FailCatalogue(bool fails) {
  const std::lock_guard lock(mutex_);
  catalogue_fails_ = fails;
}

void FakeDisk::ThrowOnAppend() {
  const std::lock_guard lock(mutex_);
  throws_ = true;
}

void FakeDisk::Hold() {
  const std::lock_guard lock(mutex_);
  holds_ = true;
}

void FakeDisk::Release() {
  const std::lock_guard lock(mutex_);
  holds_ = false;
  changed_.notify_all();
}

bool FakeDisk::AwaitHeld() {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] { return is_held_; });
}

CatalogueImage FakeDisk::image() const {
  const std::lock_guard lock(mutex_);
  CatalogueImage image{.tags = {}, .last_id = last_id_, .version = version_};
  for (const auto& [id, tag] : tags_) image.tags.push_back(tag);
  return image;
}

void FakeDisk::set_image(CatalogueImage image) {
  const std::lock_guard lock(mutex_);
  for (Tag& tag : image.tags) tags_[tag.id] = std::move(tag);
  last_id_ = image.last_id;
  version_ = image.version;
}

void FakeDisk::set_current(TagSample current) {
  const std::lock_guard lock(mutex_);
  current_[current.tag] = std::move(current.sample);
}

void FakeDisk::LoseCurrent(TagId tag) {
  const std::lock_guard lock(mutex_);
  current_.erase(tag);
}

void FakeDisk::LoseArchive(TagId tag) {
  const std::lock_guard lock(mutex_);
  archive_.erase(tag);
}

std::map<std::int64_t, Sample> FakeDisk::archive(TagId tag) const {
  const std::lock_guard lock(mutex_);
  const auto found = archive_.find(tag);
  return found == archive_.end() ? std::map<std::int64_t, Sample>() : found->second;
}

std::optional<Sample> FakeDisk::current(TagId tag) const {
  const std::lock_guard lock(mutex_);
  const auto found = current_.find(tag);
  return found == current_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<Sample> FakeDisk::held(TagId tag) const {
  const std::lock_guard lock(mutex_);
  const auto found = held_.find(tag);
  return found == held_.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::size_t> FakeDisk::append_sizes() const {
  const std::lock_guard lock(mutex_);
  return append_sizes_;
}

int FakeDisk::orphans() const {
  const std::lock_guard lock(mutex_);
  return orphans_;
}

void FakeDisk::WaitWhileHeld(std::unique_lock<std::mutex>& lock) {
  is_held_ = holds_;
  changed_.notify_all();
  changed_.wait(lock, [&] { return !holds_; });
  is_held_ = false;
}

Status FakeDisk::PutTag(const Tag& properties, std::int64_t version) {
  std::unique_lock lock(mutex_);
  WaitWhileHeld(lock);
  if (catalogue_fails_) return {ZR3_ERR_STORAGE_FULL, "dictated"};
  tags_[properties.id] = properties;
  last_id_ = std::max(last_id_, properties.id);
  version_ = version;
  return {};
}

Status FakeDisk::RemoveTag(TagId id, std::int64_t version) {
  std::unique_lock lock(mutex_);
  WaitWhileHeld(lock);
  if (catalogue_fails_) return {ZR3_ERR_STORAGE_FULL, "dictated"};
  tags_.erase(id);
  archive_.erase(id);
  current_.erase(id);
  held_.erase(id);
  version_ = version;
  return {};
}

std::vector<TagSample> FakeDisk::LoadCurrent() const {
  const std::lock_guard lock(mutex_);
  std::vector<TagSample> all;
  for (const auto& [tag, sample] : current_) all.push_back({tag, sample});
  return all;
}

Status FakeDisk::Append(std::span<const AcceptedSample> records) {
  std::unique_lock lock(mutex_);
  WaitWhileHeld(lock);
  if (Status failure = FailureOf(records); !failure.ok()) return failure;
  append_sizes_.push_back(records.size());
  for (const AcceptedSample& record : records) {
    if (!tags_.contains(record.tag)) ++orphans_;
    Take(record);
  }
  return {};
}

void FakeDisk::Take(const AcceptedSample& record) {
  const Sample& sample = record.sample;
  if (record.current) current_[record.tag] = sample;
  if (record.archive) {
    archive_[record.tag][sample.time_ms] = sample;
    const auto held = held_.find(record.tag);
    if (held != held_.end() && held->second.time_ms <= sample.time_ms) held_.erase(held);
  }
  if (record.held) held_[record.tag] = sample;
}

Status FakeDisk::FailureOf(std::span<const AcceptedSample> records) {
  if (std::exchange(throws_, false)) throw std::bad_alloc();
  const bool has_failing_tag =
      std::any_of(records.begin(), records.end(),
                  [&](const AcceptedSample& record) { return failing_tags_.contains(record.tag); });
  if (failing_appends_ == 0 && !has_failing_tag) return {};
  if (failing_appends_ > 0) --failing_appends_;
  return {ZR3_ERR_STORAGE_FAILED, "dictated"};
}

Result<std::vector<Sample>> FakeStore::Read(TagId id, TimeRange range, Direction direction,
                                            std::size_t limit) {
  std::vector<Sample> samples;
  for (const auto& [time_ms, sample] : disk_->archive(id)) {
    if (time_ms >= range.from_ms && time_ms <= range.to_ms) samples.push_back(sample);
  }
  if (direction == Direction::kBackward) std::reverse(samples.begin(), samples.end());
  samples.resize(std::min(limit, samples.size()));
  return samples;
}

Result<std::int64_t> FakeStore::Count(TagId id, TimeRange range) {
  Result<std::vector<Sample>> samples = Read(id, range, Direction::kForward, SIZE_MAX);
  return static_cast<std::int64_t>(samples->size());
}

}  // namespace zervane
