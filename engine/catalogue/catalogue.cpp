#include "engine/catalogue/catalogue.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "api/words/ascii.h"
#include "api/words/tag_columns.h"
#include "engine/assert.h"
#include "engine/catalogue/filter_settings.h"
#include "engine/guard.h"

namespace zervane {
namespace {

TagTraits TraitsOf(const Tag& tag) {
  return {.type = static_cast<TagType>(tag.type),
          .archiving = tag.archiving,
          .filtered = FilterSettingsOf(tag).any()};
}

}  // namespace

Status Catalogue::Load() {
  Result<CatalogueImage> image = store_.LoadCatalogue();
  if (!image.ok()) return image.status();
  for (Tag& tag : image->tags) {
    if (Status status = CheckLoaded(tag, image->last_id); !status.ok()) return status;
    Enter(std::make_shared<const Tag>(std::move(tag)));
  }
  const WriterLock lock(mutex_);
  last_id_ = image->last_id;
  version_ = image->version;
  return {};
}

Status Catalogue::CheckLoaded(const Tag& tag, TagId last_id) const {
  Status status = CheckProperties(tag);
  if (status.ok()) status = CheckUnique(tag.name, tag.id);
  if (status.ok() && tag.id != kNoTag && tag.id <= last_id && Find(tag.id) == nullptr) return {};
  return {ZR3_ERR_STORAGE_DAMAGED,
          fmt::format("the stored tag {} breaks a rule: {}", tag.id,
                      status.ok() ? "identifier out of bounds or repeated" : status.message())};
}

void Catalogue::Enter(const TagPtr& tag) {
  tags_.Reserve(tag->id);
  tags_.Put(tag->id, TraitsOf(*tag));
  std::string name = FoldAscii(tag->name);
  const WriterLock lock(mutex_);
  by_name_[std::move(name)] = tag->id;
  by_id_[tag->id] = tag;
}

Catalogue::TagPtr Catalogue::Find(TagId id) const {
  const ReaderLock lock(mutex_);
  const auto found = by_id_.find(id);
  return found == by_id_.end() ? nullptr : found->second;
}

std::optional<TagId> Catalogue::FindByName(std::string_view name) const {
  const std::string folded = FoldAscii(name);
  const ReaderLock lock(mutex_);
  const auto found = by_name_.find(folded);
  if (found == by_name_.end() || found->second == kNoTag) return std::nullopt;
  return found->second;
}

std::int64_t Catalogue::Version() const {
  const ReaderLock lock(mutex_);
  return version_;
}

TagId Catalogue::LastId() const {
  const ReaderLock lock(mutex_);
  return last_id_;
}

// ---- changes ----

Result<TagId> Catalogue::Add(const Tag& given, const PropertyMask& mask, const Stamp& stamp) {
  if (Status status = CheckMask(mask, ClassOf(given.own)); !status.ok()) return status;
  Tag tag = NewTag(given, mask, stamp);
  if (Status status = CheckProperties(tag); !status.ok()) return status;
  if (Status status = CheckUnique(tag.name, kNoTag); !status.ok()) return status;
  const TagId last_id = LastId();
  if (last_id == std::numeric_limits<TagId>::max()) {
    return Status(ZR3_ERR_TAG_IDS_EXHAUSTED, fmt::format("the last identifier was {}", last_id));
  }
  tag.id = last_id + 1;
  Status status = Put(std::make_shared<const Tag>(std::move(tag)), nullptr);
  if (!status.ok()) return status;
  return last_id + 1;
}

Result<Catalogue::Change> Catalogue::Prepare(TagId id, std::int32_t tag_class, const Tag& given,
                                             const PropertyMask& mask, const Stamp& stamp) const {
  if (Status status = CheckMask(mask, tag_class); !status.ok()) return status;
  const TagPtr tag = Find(id);
  if (tag == nullptr) return NoSuchTag(id);
  if (tag->tag_class != tag_class) {
    return Status(ZR3_ERR_INVALID_TAG_CLASS,
                  fmt::format("tag {} has class {}, not {}", id, tag->tag_class, tag_class));
  }
  auto changed = std::make_shared<const Tag>(ChangedTag(*tag, given, mask, stamp));
  if (Status status = CheckProperties(*changed); !status.ok()) return status;
  if (Status status = CheckUnique(changed->name, id); !status.ok()) return status;
  return Change{.before = tag, .after = std::move(changed)};
}

Status Catalogue::Modify(const Change& change) {
  ZERVANE_ASSERT(change.before != nullptr && change.after != nullptr);
  ZERVANE_ASSERT(change.before->id == change.after->id);
  ZERVANE_ASSERT(Find(change.before->id) == change.before);  // nothing has changed it since
  return Put(change.after, change.before);
}

Status Catalogue::Remove(TagId id) {
  const TagPtr tag = Find(id);
  if (tag == nullptr) return NoSuchTag(id);
  const std::string name = FoldAscii(tag->name);
  if (Status status = store_.RemoveTag(id, Version() + 1); !status.ok()) return status;
  tags_.Remove(id);
  const WriterLock lock(mutex_);
  by_name_.erase(name);
  by_id_.erase(id);
  ++version_;
  return {};
}

Status Catalogue::CheckUnique(const std::string& name, TagId id) const {
  const std::optional<TagId> owner = FindByName(name);
  if (!owner || *owner == id) return {};
  return {ZR3_ERR_TAG_EXISTS, fmt::format("'{}' is tag {}", name, *owner)};
}

Status Catalogue::Put(const TagPtr& tag, const TagPtr& replaced) {
  const std::string name = FoldAscii(tag->name);
  const std::string old_name = replaced == nullptr ? name : FoldAscii(replaced->name);
  const std::int64_t version = Version() + 1;
  Status status = Guarded([&] {
    MakePlaces(tag->id, name);
    return store_.PutTag(*tag, version);
  });
  if (status.ok()) {
    Publish(tag, name, old_name, version);
  } else {
    RemoveEmptyPlaces(tag->id, name);
  }
  return status;
}

void Catalogue::MakePlaces(TagId id, const std::string& name) {
  tags_.Reserve(id);
  const WriterLock lock(mutex_);
  by_id_.try_emplace(id);
  by_name_.try_emplace(name, kNoTag);
}

void Catalogue::RemoveEmptyPlaces(TagId id, const std::string& name) noexcept {
  const WriterLock lock(mutex_);
  const auto tag = by_id_.find(id);
  if (tag != by_id_.end() && tag->second == nullptr) by_id_.erase(tag);
  const auto owner = by_name_.find(name);
  if (owner != by_name_.end() && owner->second == kNoTag) by_name_.erase(owner);
}

void Catalogue::Publish(const TagPtr& tag, const std::string& name, const std::string& old_name,
                        std::int64_t version) noexcept {
  const TagId id = tag->id;
  tags_.Put(id, TraitsOf(*tag));
  const WriterLock lock(mutex_);
  ZERVANE_ASSERT(by_id_.contains(id) && by_name_.contains(name));
  ZERVANE_ASSERT(by_name_.find(name)->second == kNoTag || by_name_.find(name)->second == id);
  if (old_name != name) by_name_.erase(old_name);
  by_name_.find(name)->second = id;
  by_id_.find(id)->second = tag;
  last_id_ = std::max(last_id_, id);
  version_ = version;
}

}  // namespace zervane
