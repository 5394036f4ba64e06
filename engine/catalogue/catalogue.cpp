#include "engine/catalogue/catalogue.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <variant>

#include "api/words/tag_columns.h"
#include "engine/assert.h"
#include "engine/catalogue/filter_settings.h"
#include "engine/catalogue/tag_loops.h"
#include "engine/catalogue/tag_rows.h"
#include "engine/storage/table.h"
#include "engine/storage/tables.h"

namespace zervane {
namespace {

constexpr TagId kGreatestId = std::numeric_limits<TagId>::max();

TagTraits TraitsOf(const Tag& tag) {
  return {.type = static_cast<TagType>(tag.type),
          .archiving = tag.archiving,
          .filtered = FilterSettingsOf(tag).any(),
          .is_own = tag.tag_class != ZR3_TAG_CLASS_BASIC};
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

// Links as they are kept: without empty places behind the last.
TagLinks Trimmed(TagLinks links) {
  while (!links.empty() && links.back() == 0) links.pop_back();
  ZERVANE_ASSERT(links.size() <= kMaxTagLinks);
  return links;
}

// The tags of both, each once.
std::vector<TagId> TargetsOf(const TagLinks& a, const TagLinks& b) {
  std::vector<TagId> targets = a;
  targets.insert(targets.end(), b.begin(), b.end());
  std::ranges::sort(targets);
  targets.erase(std::unique(targets.begin(), targets.end()), targets.end());
  std::erase(targets, TagId{0});
  return targets;
}

}  // namespace

Catalogue::Catalogue(Store& store) : store_(store), image_(std::make_shared<TagImage>()) {}

void Catalogue::Register(std::int32_t tag_class, TagClass& asks) {
  ZERVANE_ASSERT(tag_class != ZR3_TAG_CLASS_BASIC && !OwnColumns(tag_class).empty());
  classes_[static_cast<std::size_t>(tag_class)] = &asks;
}

TagClass* Catalogue::AsksOf(std::int32_t tag_class) const {
  return classes_[static_cast<std::size_t>(tag_class)];
}

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
  if (Status status = LoadLinks(builder.image()); !status.ok()) return status;
  Publish(std::make_shared<const TagImage>(std::move(builder.image())));
  return {};
}

Status Catalogue::LoadTags(TagImageBuilder& builder) {
  const TagId last_id = builder.image().last_id();
  Status fault;
  const auto take = [&](const Tag& tag) {
    const Status status = CheckTag(tag);
    if (!status.ok() || tag.id == 0 || tag.id > last_id) {
      fault = Damaged(fmt::format("the stored tag {} breaks a rule: {}", tag.id,
                                  status.ok() ? "identifier out of bounds" : status.message()));
      return false;
    }
    builder.Add(PackedTag::Pack(tag));
    tags_.Reserve(tag.id);
    tags_.Put(tag.id, TraitsOf(tag));
    return true;
  };
  Status status = VisitTags(store_, take);
  if (!fault.ok()) return fault;
  if (!status.ok()) return status;
  const PackedTag* const second = builder.IndexNames();
  if (second == nullptr) return {};
  return Damaged(fmt::format("the stored tag {} has the name of another", second->id()));
}

// A target may have been deleted since.
Status Catalogue::LoadLinks(const TagImage& image) {
  TagId from = 0;
  TagLinks links;
  std::vector<TagId> readers;
  const auto put = [&] {
    links_.Reserve(links.size());
    links_.Put(from, links);
    if (!links.empty()) readers.push_back(from);
    links.clear();
  };
  Status fault;
  const auto take = [&](const TagLink& link) {
    const PackedTag* const tag = image.Find(link.tag);
    if (tag == nullptr || AsksOf(tag->tag_class()) == nullptr || link.place >= kMaxTagLinks ||
        link.target == 0 || link.target > image.last_id()) {
      fault = Damaged(fmt::format("the stored link {} of tag {} is none", link.place, link.tag));
      return false;
    }
    if (link.tag != from) put();
    from = link.tag;
    links.resize(link.place + std::size_t{1});
    links.back() = link.target;
    std::optional<TagTraits> traits = tags_.Find(link.target);
    if (traits && Reads(image, link.tag, link.place)) {
      traits->is_read = true;
      tags_.Put(link.target, *traits);
    }
    return true;
  };
  Status status = Table<TagLink>(store_).Visit({.table = TableId::kTagLink},
                                               std::numeric_limits<std::size_t>::max(), take);
  if (!fault.ok()) return fault;
  if (!status.ok()) return status;
  put();
  return CheckStoredLoops(image, readers);
}

Status Catalogue::CheckStoredLoops(const TagImage& image, std::span<const TagId> readers) const {
  const auto reads = [&](TagId id) {
    const PackedTag* const tag = image.Find(id);
    return tag == nullptr ? TagLinks() : ReadOf(links_.Of(id), tag->tag_class());
  };
  const std::vector<TagId> loop = FindLoop(readers, reads);
  if (loop.empty()) return {};
  const auto name_of = [&](TagId id) { return image.Find(id)->name(); };
  return Damaged(fmt::format("stored tags form a loop: {}", TextOfLoop(loop, name_of)));
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

// ---- rules that ask for more than a tag ----

Status Catalogue::CheckTag(const Tag& tag) const {
  if (Status status = CheckProperties(tag); !status.ok()) return status;
  if (tag.tag_class == ZR3_TAG_CLASS_BASIC || AsksOf(tag.tag_class) != nullptr) return {};
  return {ZR3_ERR_INVALID_TAG_CLASS, fmt::format("'{}': class {}", tag.name, tag.tag_class)};
}

Status Catalogue::CheckReaders(const Tag& before, const Tag& after) const {
  const bool stays =
      IsText(static_cast<TagType>(before.type)) == IsText(static_cast<TagType>(after.type));
  if (stays || !tags_.Find(before.id)->is_read) return {};
  return {ZR3_ERR_INVALID_TAG_TYPE,
          fmt::format("'{}' is read by others, to which a text is no number", before.name)};
}

Result<TagLinks> Catalogue::PlanLinks(const Tag* before, const PropertyMask& given,
                                      const TagImage& tags, Tag& after) {
  TagClass* const asks = AsksOf(after.tag_class);
  if (asks == nullptr) return TagLinks();
  const TagLinks links_before = links_.Of(after.id);
  Result<TagLinks> links = asks->Plan({.before = before,
                                       .links_before = before == nullptr ? nullptr : &links_before,
                                       .after = after,
                                       .given = given,
                                       .tags = tags});
  if (!links.ok()) return links;
  *links = Trimmed(*std::move(links));
  if (Status status = CheckLoop(after, *links, tags); !status.ok()) return status;
  for (const TagId target : TargetsOf(*links, {})) {
    const PackedTag* const tag = tags.Find(target);
    if (tag == nullptr) continue;
    if (Status status = asks->Follow(*links, target, tag->name(), after); !status.ok()) {
      return status;
    }
  }
  return links;
}

// There was none before, so one has this tag in it, and what the tag did not read yet. A tag that
// nobody reads is in none, unless it reads itself: so adding many costs nothing.
Status Catalogue::CheckLoop(const Tag& after, const TagLinks& links, const TagImage& tags) const {
  const std::optional<TagTraits> traits = tags_.Find(after.id);
  const bool is_read = traits && traits->is_read;
  if (!is_read && !ReadsBy(links, after.tag_class, after.id)) return {};
  TagLinks new_reads = ReadOf(links, after.tag_class);
  const TagLinks old_reads = ReadOf(links_.Of(after.id), after.tag_class);
  std::erase_if(new_reads, [&](TagId id) { return std::ranges::count(old_reads, id) > 0; });
  const auto reads = [&](TagId id) {
    if (id == after.id) return new_reads;
    const PackedTag* const tag = tags.Find(id);
    return tag == nullptr ? TagLinks() : ReadOf(links_.Of(id), tag->tag_class());
  };
  const std::vector<TagId> loop = FindLoop({&after.id, 1}, reads);
  if (loop.empty()) return {};
  const auto name_of = [&](TagId id) {
    return id == after.id ? std::string_view(after.name) : tags.Find(id)->name();
  };
  return {ZR3_ERR_CALCULATION_LOOP, TextOfLoop(loop, name_of)};
}

TagLinks Catalogue::ReadOf(TagLinks links, std::int32_t tag_class) const {
  for (std::size_t place = 0; place < links.size(); ++place) {
    if (links[place] != 0 && !AsksOf(tag_class)->Reads(place)) links[place] = 0;
  }
  return links;
}

// ---- changes ----

Result<CatalogueChange> Catalogue::PlanAdd(const Tag& given, const PropertyMask& mask,
                                           const Stamp& stamp, StoreBatch& batch) {
  if (Status status = CheckMask(mask, ClassOf(given.own)); !status.ok()) return status;
  Tag tag = NewTag(given, mask, stamp);
  if (Status status = CheckTag(tag); !status.ok()) return status;
  TagImagePtr image = this->image();
  if (Status status = CheckUnique(*image, tag.name, 0); !status.ok()) return status;
  if (image->last_id() == kGreatestId) {
    return Status(ZR3_ERR_TAG_IDS_EXHAUSTED,
                  fmt::format("the last identifier was {}", kGreatestId));
  }
  tag.id = image->last_id() + 1;
  Result<TagLinks> links = PlanLinks(nullptr, mask, *image, tag);
  if (!links.ok()) return links.status();
  return Plan(std::move(image), std::nullopt, std::move(tag), *std::move(links), batch);
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
  if (Status status = CheckTag(after); !status.ok()) return status;
  if (Status status = CheckUnique(*image, after.name, id); !status.ok()) return status;
  if (Status status = CheckReaders(before, after); !status.ok()) return status;
  Result<TagLinks> links = PlanLinks(&before, mask, *image, after);
  if (!links.ok()) return links.status();
  return Plan(std::move(image), std::move(before), std::move(after), *std::move(links), batch);
}

Result<CatalogueChange> Catalogue::PlanRemove(TagId id, StoreBatch& batch) {
  TagImagePtr image = this->image();
  const PackedTag* const tag = image->Find(id);
  if (tag == nullptr) return NoSuchTag(id);
  Tag before = tag->Unpack();
  return Plan(std::move(image), std::move(before), std::nullopt, {}, batch);
}

Result<CatalogueChange> Catalogue::Plan(TagImagePtr image, std::optional<Tag> before,
                                        std::optional<Tag> after, TagLinks links,
                                        StoreBatch& batch) {
  const TagId id = before ? before->id : after->id;
  auto next = std::make_shared<TagImage>(*image);
  next->SetVersion(image->version() + 1);
  if (after) {
    next->Put(PackedTag::Pack(*after));
    tags_.Reserve(id);
  } else {
    next->Remove(id);
  }
  StoreBatch followers;
  if (before && (!after || after->name != before->name)) {
    const auto name = after ? std::optional<std::string_view>(after->name) : std::nullopt;
    if (Status status = PlanFollowers(id, name, *next, followers); !status.ok()) return status;
  }
  if (!before) next->SetLastId(id);
  CatalogueChange change{.before = std::move(before),
                         .after = std::move(after),
                         .links = std::move(links),
                         .traits = {},
                         .old_image = std::move(image),
                         .new_image = std::move(next)};
  change.traits = PlanTraits(change);
  links_.Reserve(change.links.size());
  PutRows(change, batch);
  std::ranges::move(followers.rows, std::back_inserter(batch.rows));
  return change;
}

void Catalogue::PutRows(const CatalogueChange& change, StoreBatch& batch) const {
  const TagId id = change.id();
  if (change.after) {
    PutTagRows(*change.after, batch);
  } else {
    batch.emptied.push_back(id);
    RemoveTagRows(id, change.before->tag_class, batch);
  }
  PutLinks(id, links_.Of(id), change.links, batch);
  if (!change.before) PutNumber(kLastIdSetting, id, batch);
  PutNumber(kCatalogueVersionSetting, change.new_image->version(), batch);
}

// Links stay, so that what was deleted is never taken for another tag of its name.
Status Catalogue::PlanFollowers(TagId changed, std::optional<std::string_view> name,
                                TagImage& image, StoreBatch& batch) const {
  Status fault;
  TagId last = changed;
  links_.VisitLinkedTo(changed, [&](TagId id, std::size_t) {
    if (id == changed || id == last) return true;
    last = id;
    const Tag before = image.Find(id)->Unpack();
    Tag after = before;
    fault = AsksOf(before.tag_class)->Follow(links_.Of(id), changed, name, after);
    if (!fault.ok()) return false;
    if (after.own == before.own) return true;
    image.Put(PackedTag::Pack(after));
    PutOwnRow(after, batch);
    return true;
  });
  return fault;
}

// Whether a tag is read changes with the links of others alone. Who else reads it is asked only
// when this tag begins to or no longer does: many may be linked to one.
std::vector<std::pair<TagId, TagTraits>> Catalogue::PlanTraits(
    const CatalogueChange& change) const {
  const TagId id = change.id();
  const TagImage& tags = *change.new_image;
  std::vector<std::pair<TagId, TagTraits>> all;
  if (change.after) {
    TagTraits traits = TraitsOf(*change.after);
    traits.is_read = change.before && tags_.Find(id)->is_read;
    all.emplace_back(id, traits);
  }
  const std::int32_t tag_class = (change.after ? change.after : change.before)->tag_class;
  for (const TagId target : TargetsOf(links_.Of(id), change.links)) {
    std::optional<TagTraits> traits = tags_.Find(target);
    if (target == id || !traits) continue;
    const bool reads = ReadsBy(change.links, tag_class, target);
    if (reads == ReadsBy(links_.Of(id), tag_class, target)) continue;
    const bool is_read = reads || IsReadByOthers(target, id, tags);
    if (is_read == traits->is_read) continue;
    traits->is_read = is_read;
    all.emplace_back(target, *traits);
  }
  return all;
}

bool Catalogue::ReadsBy(const TagLinks& links, std::int32_t tag_class, TagId target) const {
  for (std::size_t place = 0; place < links.size(); ++place) {
    if (links[place] == target && AsksOf(tag_class)->Reads(place)) return true;
  }
  return false;
}

bool Catalogue::IsReadByOthers(TagId target, TagId but, const TagImage& tags) const {
  bool is_read = false;
  links_.VisitLinkedTo(target, [&](TagId tag, std::size_t place) {
    is_read = tag != but && Reads(tags, tag, place);
    return !is_read;
  });
  return is_read;
}

bool Catalogue::Reads(const TagImage& tags, TagId tag, std::size_t place) const {
  return AsksOf(tags.Find(tag)->tag_class())->Reads(place);
}

void Catalogue::Adopt(const CatalogueChange& change) noexcept {
  ZERVANE_ASSERT(change.old_image == image());  // nothing has changed since
  if (!change.after) tags_.Remove(change.id());
  for (const auto& [id, traits] : change.traits) tags_.Put(id, traits);
  links_.Put(change.id(), change.links);
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
