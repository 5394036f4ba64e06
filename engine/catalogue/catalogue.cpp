#include "engine/catalogue/catalogue.h"

#include <spdlog/fmt/fmt.h>

#include <limits>
#include <string>
#include <utility>
#include <variant>

#include "api/words/tag_columns.h"
#include "engine/assert.h"
#include "engine/catalogue/filter_settings.h"
#include "engine/storage/table.h"
#include "engine/storage/tables.h"

namespace zervane {
namespace {

constexpr TagId kGreatestId = std::numeric_limits<TagId>::max();

TagTraits TraitsOf(const Tag& tag) {
  return {.type = static_cast<TagType>(tag.type),
          .archiving = tag.archiving,
          .filtered = FilterSettingsOf(tag).any()};
}

Status Damaged(std::string what) { return {ZR3_ERR_STORAGE_DAMAGED, std::move(what)}; }

// ZR3_ERR_TAG_EXISTS when another tag than `id` has the name.
Status CheckUnique(const TagImage& image, std::string_view name, TagId id) {
  const PackedTag* const owner = image.FindByName(name);
  if (owner == nullptr || owner->id() == id) return {};
  return {ZR3_ERR_TAG_EXISTS, fmt::format("'{}' is tag {}", name, owner->id())};
}

// A number that is kept as a setting; 0 when it is not there yet.
Result<std::int64_t> ReadNumber(Store& store, std::string_view name, std::int64_t max) {
  const Result<std::optional<Setting>> setting = Table<Setting>(store).Read(std::string(name));
  if (!setting.ok()) return setting.status();
  if (!setting->has_value()) return std::int64_t{0};
  const auto* number = std::get_if<std::int64_t>(&(*setting)->value);
  if (number == nullptr || *number < 0 || *number > max) {
    return Damaged(fmt::format("the setting {} is out of bounds", name));
  }
  return *number;
}

void PutNumber(std::string_view name, std::int64_t number, StoreBatch& batch) {
  Table<Setting>::Put({.name = std::string(name), .value = number}, batch);
}

// All rules but the one that names are unique.
Status CheckLoaded(const Tag& tag, TagId last_id) {
  Status status = CheckProperties(tag);
  if (status.ok() && tag.id != 0 && tag.id <= last_id) return {};
  return Damaged(fmt::format("the stored tag {} breaks a rule: {}", tag.id,
                             status.ok() ? "identifier out of bounds" : status.message()));
}

}  // namespace

Catalogue::Catalogue(Store& store) : store_(store), image_(std::make_shared<TagImage>()) {}

// ---- loading and reading ----

Status Catalogue::Load() {
  const Result<std::int64_t> last_id = ReadNumber(store_, kLastIdSetting, kGreatestId);
  if (!last_id.ok()) return last_id.status();
  const Result<std::int64_t> version =
      ReadNumber(store_, kCatalogueVersionSetting, std::numeric_limits<std::int64_t>::max() - 1);
  if (!version.ok()) return version.status();
  TagImageBuilder builder;
  builder.image().SetLastId(static_cast<TagId>(*last_id));
  builder.image().SetVersion(*version);
  if (Status status = LoadTags(builder); !status.ok()) return status;
  Publish(std::make_shared<const TagImage>(std::move(builder.image())));
  return {};
}

Status Catalogue::LoadTags(TagImageBuilder& builder) {
  const TagId last_id = builder.image().last_id();
  Status fault;
  const auto take = [&](const Tag& tag) {
    fault = CheckLoaded(tag, last_id);
    if (!fault.ok()) return false;
    builder.Add(PackedTag::Pack(tag));
    tags_.Reserve(tag.id);
    tags_.Put(tag.id, TraitsOf(tag));
    return true;
  };
  Status status = Table<Tag>(store_).Visit({.table = TableId::kTag},
                                           std::numeric_limits<std::size_t>::max(), take);
  if (!fault.ok()) return fault;
  if (!status.ok()) return status;
  const PackedTag* const second = builder.IndexNames();
  if (second == nullptr) return {};
  return Damaged(fmt::format("the stored tag {} has the name of another", second->id()));
}

TagImagePtr Catalogue::image() const {
  const MutexLock lock(mutex_);
  return image_;
}

Result<Tag> Catalogue::Find(TagId id) const {
  const TagImagePtr image = this->image();
  const PackedTag* const tag = image->Find(id);
  if (tag == nullptr) return NoSuchTag(id);
  return tag->Unpack();
}

Result<TagId> Catalogue::FindByName(std::string_view name) const {
  const TagImagePtr image = this->image();
  const PackedTag* const tag = image->FindByName(name);
  if (tag == nullptr)
    return Status(ZR3_ERR_NAME_NOT_FOUND, fmt::format("no tag '{}'", name.substr(0, 100)));
  return tag->id();
}

// ---- changes ----

Result<CatalogueChange> Catalogue::PlanAdd(const Tag& given, const PropertyMask& mask,
                                           const Stamp& stamp, StoreBatch& batch) {
  if (Status status = CheckMask(mask, ClassOf(given.own)); !status.ok()) return status;
  Tag tag = NewTag(given, mask, stamp);
  if (Status status = CheckProperties(tag); !status.ok()) return status;
  TagImagePtr image = this->image();
  if (Status status = CheckUnique(*image, tag.name, 0); !status.ok()) return status;
  if (image->last_id() == kGreatestId) {
    return Status(ZR3_ERR_TAG_IDS_EXHAUSTED,
                  fmt::format("the last identifier was {}", kGreatestId));
  }
  tag.id = image->last_id() + 1;
  return Plan(std::move(image), std::nullopt, std::move(tag), batch);
}

Result<CatalogueChange> Catalogue::PlanModify(TagId id, std::int32_t tag_class, const Tag& given,
                                              const PropertyMask& mask, const Stamp& stamp,
                                              StoreBatch& batch) {
  if (Status status = CheckMask(mask, tag_class); !status.ok()) return status;
  TagImagePtr image = this->image();
  const PackedTag* const tag = image->Find(id);
  if (tag == nullptr) return NoSuchTag(id);
  const bool has_other_own = mask.extension != 0 && ClassOf(given.own) != tag_class;
  if (tag->tag_class() != tag_class || has_other_own) {
    return Status(ZR3_ERR_INVALID_TAG_CLASS,
                  fmt::format("tag {} has class {}, not {}", id, tag->tag_class(), tag_class));
  }
  Tag before = tag->Unpack();
  Tag after = ChangedTag(before, given, mask, stamp);
  if (Status status = CheckProperties(after); !status.ok()) return status;
  if (Status status = CheckUnique(*image, after.name, id); !status.ok()) return status;
  return Plan(std::move(image), std::move(before), std::move(after), batch);
}

Result<CatalogueChange> Catalogue::PlanRemove(TagId id, StoreBatch& batch) {
  TagImagePtr image = this->image();
  const PackedTag* const tag = image->Find(id);
  if (tag == nullptr) return NoSuchTag(id);
  Tag before = tag->Unpack();
  return Plan(std::move(image), std::move(before), std::nullopt, batch);
}

Result<CatalogueChange> Catalogue::Plan(TagImagePtr image, std::optional<Tag> before,
                                        std::optional<Tag> after, StoreBatch& batch) {
  auto next = std::make_shared<TagImage>(*image);
  next->SetVersion(image->version() + 1);
  if (after) {
    next->Put(PackedTag::Pack(*after));
    tags_.Reserve(after->id);
    Table<Tag>::Put(*after, batch);
  } else {
    next->Remove(before->id);
    batch.emptied.push_back(before->id);
    Table<Tag>::Remove(before->id, batch);
  }
  if (!before) {
    next->SetLastId(after->id);
    PutNumber(kLastIdSetting, after->id, batch);
  }
  PutNumber(kCatalogueVersionSetting, next->version(), batch);
  return CatalogueChange{.before = std::move(before),
                         .after = std::move(after),
                         .old_image = std::move(image),
                         .new_image = std::move(next)};
}

void Catalogue::Adopt(const CatalogueChange& change) noexcept {
  ZERVANE_ASSERT(change.old_image == image());  // nothing has changed since
  if (change.after) {
    tags_.Put(change.id(), TraitsOf(*change.after));
  } else {
    tags_.Remove(change.id());
  }
  Publish(change.new_image);
}

// The version follows the image: what somebody looks up in the old one and keeps is kept as of the
// old version.
void Catalogue::Publish(const TagImagePtr& image) noexcept {
  TagImagePtr old = image;
  {
    const MutexLock lock(mutex_);
    std::swap(image_, old);
  }
  version_.store(image->version(), std::memory_order_release);
}

}  // namespace zervane
