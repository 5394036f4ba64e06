#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "engine/guard.h"
#include "engine/storage/record_check.h"
#include "engine/storage/series.h"
#include "engine/storage/store.h"
#include "engine/storage/writer_first_mutex.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {
namespace {

struct StoredTag {
  Tag properties;
  std::optional<Sample> current;
  std::optional<Sample> held;
  Series archive;
};

// The archive expects it.
void Take(const AcceptedSample& record, StoredTag* tag) noexcept {
  const Sample& sample = record.sample;
  if (record.current) tag->current = sample;
  if (record.archive) {
    tag->archive.Put(sample);
    if (tag->held && tag->held->time_ms <= sample.time_ms) tag->held.reset();
  }
  if (record.held) tag->held = sample;
}

class MemoryStore final : public Store {
 public:
  Result<CatalogueImage> LoadCatalogue() override {
    return Guarded([&]() -> Result<CatalogueImage> {
      const ReadLock lock(mutex_);
      CatalogueImage image{.tags = {}, .last_id = last_id_, .version = version_};
      for (const auto& [id, tag] : tags_) image.tags.push_back(tag.properties);
      return image;
    });
  }

  Status PutTag(const Tag& properties, std::int64_t version) override {
    return Guarded([&]() -> Status {
      Tag copy = properties;  // what can fail comes before anything is changed
      const WriteLock lock(mutex_);
      tags_[properties.id].properties = std::move(copy);
      last_id_ = std::max(last_id_, properties.id);
      version_ = version;
      return {};
    });
  }

  Status RemoveTag(TagId id, std::int64_t version) override {
    return Guarded([&]() -> Status {
      const WriteLock lock(mutex_);
      tags_.erase(id);
      version_ = version;
      return {};
    });
  }

  Result<std::vector<TagSample>> LoadCurrent() override {
    return Guarded([&]() -> Result<std::vector<TagSample>> {
      const ReadLock lock(mutex_);
      std::vector<TagSample> values;
      for (const auto& [id, tag] : tags_) {
        if (tag.current) values.push_back({id, *tag.current});
      }
      return values;
    });
  }

  Status Append(std::span<const AcceptedSample> records) override {
    return Guarded([&]() -> Status {
      if (Status status = CheckRecords(records); !status.ok()) return status;
      const WriteLock lock(mutex_);
      const std::vector<StoredTag*> targets = Expect(records);
      for (std::size_t i = 0; i < records.size(); ++i) {
        if (targets[i] != nullptr) Take(records[i], targets[i]);
      }
      return {};
    });
  }

  Result<std::vector<Sample>> Read(TagId id, TimeRange range, Direction direction,
                                   std::size_t limit) override {
    return Guarded([&]() -> Result<std::vector<Sample>> {
      const ReadLock lock(mutex_);
      return ArchiveOf(id).Copy(range, direction, limit);
    });
  }

  Result<std::int64_t> Count(TagId id, TimeRange range) override {
    return Guarded([&]() -> Result<std::int64_t> {
      const ReadLock lock(mutex_);
      return std::ssize(ArchiveOf(id).Times(range));
    });
  }

  Result<std::optional<Sample>> ReadHeld(TagId id) override {
    return Guarded([&]() -> Result<std::optional<Sample>> {
      const ReadLock lock(mutex_);
      const auto tag = tags_.find(id);
      return tag == tags_.end() ? std::nullopt : tag->second.held;
    });
  }

 private:
  // Makes room for the records, so that to take them cannot fail. Their tags; null for one that is
  // not there.
  std::vector<StoredTag*> Expect(std::span<const AcceptedSample> records) REQUIRES(mutex_) {
    std::vector<StoredTag*> targets;
    targets.reserve(records.size());
    try {
      for (const AcceptedSample& record : records) {
        const auto tag = tags_.find(record.tag);
        targets.push_back(tag == tags_.end() ? nullptr : &tag->second);
        if (tag != tags_.end() && record.archive) tag->second.archive.Expect();
      }
    } catch (...) {  // or the next try would expect the same records once more
      for (StoredTag* target : targets) {
        if (target != nullptr) target->archive.ExpectNothing();
      }
      throw;
    }
    return targets;
  }

  // Of a tag that is not there: an empty one.
  const Series& ArchiveOf(TagId id) const REQUIRES_SHARED(mutex_) {
    static const Series empty;
    const auto tag = tags_.find(id);
    return tag == tags_.end() ? empty : tag->second.archive;
  }

  WriterFirstMutex mutex_;
  std::map<TagId, StoredTag> tags_ GUARDED_BY(mutex_);
  TagId last_id_ GUARDED_BY(mutex_) = 0;
  std::int64_t version_ GUARDED_BY(mutex_) = 0;
};

}  // namespace
}  // namespace zervane::storage

namespace zervane {

std::unique_ptr<Store> OpenMemoryStore() { return std::make_unique<storage::MemoryStore>(); }

}  // namespace zervane
