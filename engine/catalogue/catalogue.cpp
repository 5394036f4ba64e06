#include "engine/catalogue/catalogue.h"

#include <spdlog/fmt/fmt.h>

#include <limits>
#include <mutex>
#include <utility>

#include "engine/catalogue/filter_settings.h"

namespace zervane {
namespace {

TagTraits TraitsOf(const TagProperties& tag) {
  return {.type = static_cast<TagType>(tag.type),
          .archiving = tag.archiving,
          .filtered = FilterSettingsOf(tag).any()};
}

}  // namespace

Status Catalogue::Load() {
  Result<CatalogueImage> image = store_.LoadCatalogue();
  if (!image.ok()) return image.status();
  for (TagProperties& tag : image->tags) {
    if (Status status = CheckLoaded(tag, image->last_id); !status.ok()) return status;
    Publish(std::make_shared<TagProperties>(std::move(tag)), nullptr, image->version);
  }
  const std::unique_lock lock(mutex_);
  last_id_ = image->last_id;
  version_ = image->version;
  return {};
}

Status Catalogue::CheckLoaded(const TagProperties& tag, TagId last_id) const {
  Status status = CheckProperties(tag);
  if (status.ok()) status = CheckUnique(tag.name, tag.id);
  if (status.ok() && tag.id != 0 && tag.id <= last_id && !by_id_.contains(tag.id)) return {};
  return {ZR3_ERR_STORAGE_DAMAGED,
          fmt::format("the stored tag {} breaks a rule: {}", tag.id,
                      status.ok() ? "identifier out of bounds or repeated" : status.message())};
}

Catalogue::Tag Catalogue::Find(TagId id) const {
  const std::shared_lock lock(mutex_);
  const auto found = by_id_.find(id);
  return found == by_id_.end() ? nullptr : found->second;
}

std::optional<TagId> Catalogue::FindByName(std::string_view name) const {
  const std::string folded = FoldName(name);
  const std::shared_lock lock(mutex_);
  const auto found = by_name_.find(folded);
  if (found == by_name_.end()) return std::nullopt;
  return found->second;
}

std::int64_t Catalogue::Version() const {
  const std::shared_lock lock(mutex_);
  return version_;
}

Result<TagId> Catalogue::Add(const TagProperties& given, const PropertyMask& mask,
                             const Stamp& stamp) {
  if (Status status = CheckMask(mask); !status.ok()) return status;
  TagProperties tag = NewTag(given, mask, stamp);
  if (Status status = CheckProperties(tag); !status.ok()) return status;
  if (Status status = CheckUnique(tag.name, 0); !status.ok()) return status;
  if (last_id_ == std::numeric_limits<TagId>::max()) {
    return Status(ZR3_ERR_TAG_IDS_EXHAUSTED, fmt::format("the last identifier was {}", last_id_));
  }
  const TagId id = last_id_ + 1;
  tag.id = id;
  tags_.Reserve(id);
  auto added = std::make_shared<const TagProperties>(std::move(tag));
  if (Status status = store_.PutTag(*added, version_ + 1); !status.ok()) return status;
  Publish(std::move(added), nullptr, version_ + 1);
  return id;
}

bool Catalogue::ChangesType(TagId id, const TagProperties& given, const PropertyMask& mask) const {
  const Tag tag = Find(id);
  return tag != nullptr && SelectsCommon(mask, ZR3_TAG_COL_COMM_PROP_TAG_TYPE) &&
         tag->type != given.type;
}

Status Catalogue::Modify(TagId id, std::int32_t tag_class, const TagProperties& given,
                         const PropertyMask& mask, const Stamp& stamp, bool holds_records) {
  if (Status status = CheckMask(mask); !status.ok()) return status;
  const Tag tag = Find(id);
  if (tag == nullptr) return NoSuchTag(id);
  if (tag->tag_class != tag_class) {
    return {ZR3_ERR_INVALID_TAG_CLASS,
            fmt::format("tag {} has class {}, not {}", id, tag->tag_class, tag_class)};
  }
  auto changed = std::make_shared<const TagProperties>(ChangedTag(*tag, given, mask, stamp));
  if (Status status = CheckProperties(*changed); !status.ok()) return status;
  if (Status status = CheckUnique(changed->name, id); !status.ok()) return status;
  if (holds_records && changed->type != tag->type) {
    return {ZR3_ERR_TAG_HAS_RECORDS,
            fmt::format("tag {} cannot change from type {} to {}", id, tag->type, changed->type)};
  }
  if (Status status = store_.PutTag(*changed, version_ + 1); !status.ok()) return status;
  Publish(std::move(changed), tag, version_ + 1);
  return {};
}

Status Catalogue::Remove(TagId id) {
  const Tag tag = Find(id);
  if (tag == nullptr) return NoSuchTag(id);
  if (Status status = store_.RemoveTag(id, version_ + 1); !status.ok()) return status;
  tags_.Remove(id);
  const std::unique_lock lock(mutex_);
  by_name_.erase(FoldName(tag->name));
  by_id_.erase(id);
  ++version_;
  return {};
}

Status Catalogue::CheckUnique(const std::string& name, TagId id) const {
  const std::optional<TagId> owner = FindByName(name);
  if (!owner || *owner == id) return {};
  return {ZR3_ERR_TAG_EXISTS, fmt::format("'{}' is tag {}", name, *owner)};
}

void Catalogue::Publish(Tag tag, const Tag& replaced, std::int64_t version) {
  const TagId id = tag->id;
  const std::string folded = FoldName(tag->name);
  tags_.Put(id, TraitsOf(*tag));
  const std::unique_lock lock(mutex_);
  if (replaced != nullptr) by_name_.erase(FoldName(replaced->name));
  by_name_[folded] = id;
  by_id_[id] = std::move(tag);
  last_id_ = std::max(last_id_, id);
  version_ = version;
}

}  // namespace zervane
