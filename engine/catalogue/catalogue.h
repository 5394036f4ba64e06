#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/catalogue/rules.h"
#include "engine/catalogue/tag_class.h"
#include "engine/catalogue/tag_image.h"
#include "engine/catalogue/tag_index.h"
#include "engine/catalogue/tag_links.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"

namespace zervane {

// A change of one tag that breaks no rule, and all that the catalogue needs to follow it. It holds
// until the catalogue changes.
struct CatalogueChange {
  std::optional<Tag> before;  // none: the tag is added
  std::optional<Tag> after;   // none: it is removed

  TagId id() const { return before ? before->id : after->id; }
  bool changes_type() const { return before && after && before->type != after->type; }

  TagLinks links;  // of the tag, from now on
  // The tag's, and those of others that are read from now on, or no longer.
  std::vector<std::pair<TagId, TagTraits>> traits;

  TagImagePtr old_image;
  TagImagePtr new_image;
};

// The tags, in memory and in the store. A change is planned, which checks it against all rules and
// puts its rows into a batch, and is adopted once the store has that; between the two nobody sees
// it. What needs memory is done by the plan, so that to adopt it cannot fail:
//
//   Result<CatalogueChange> change = catalogue.PlanAdd(given, mask, stamp, batch);
//   if (!change.ok()) return change.status();
//   ... store.Commit(batch) ...
//   catalogue.Adopt(*change);
//
// A plan that is not adopted leaves nothing behind.
//
// Tags of a registered class are linked to the tags that they read or set; those that are read
// never form a loop. When one of these is renamed or goes, the properties of all that are linked to
// it tell so with the same change: their own rows follow, whereas their stamps stay, and stages do
// not hear of them.
//
// Threads: any may read, and sees the catalogue of one instant in every image. Register, Load,
// plans, Adopt and LinksOf are called by one thread at a time.
class Catalogue {
 public:
  explicit Catalogue(Store& store);

  // Has tags of the class kept, which point tags are anyway; before Load. What the class asks for
  // is there for as long as the catalogue.
  void Register(std::int32_t tag_class, TagClass& asks);

  // Reads the store's catalogue; called once, first. ZR3_ERR_STORAGE_DAMAGED when it breaks a rule.
  Status Load() EXCLUDES(mutex_);

  // The catalogue as it stands, which this image remains whatever changes.
  TagImagePtr image() const EXCLUDES(mutex_);
  // The version of the image, or the one before for an instant after it changed: what was looked up
  // after the version was asked for is not older than it.
  std::int64_t version() const { return version_.load(std::memory_order_acquire); }

  // ZR3_ERR_TAG_NOT_FOUND.
  Result<Tag> Find(TagId id) const EXCLUDES(mutex_);
  // Without regard to ASCII case. ZR3_ERR_NAME_NOT_FOUND.
  Result<TagId> FindByName(std::string_view name) const EXCLUDES(mutex_);
  // Types of the tags, for those who ask with every record.
  const TagIndex& tags() const { return tags_; }
  // To what a tag is linked.
  TagLinks LinksOf(TagId id) const { return links_.Of(id); }

  // The statuses are those of the operations AddTag, ModifyTag and DeleteTag, and those of the
  // tag's class. Whether a tag holds records, which fix its type, is for others to know.
  Result<CatalogueChange> PlanAdd(const Tag& given, const PropertyMask& mask, const Stamp& stamp,
                                  StoreBatch& batch);
  Result<CatalogueChange> PlanModify(TagId id, std::int32_t tag_class, const Tag& given,
                                     const PropertyMask& mask, const Stamp& stamp,
                                     StoreBatch& batch);
  Result<CatalogueChange> PlanRemove(TagId id, StoreBatch& batch);

  // REQUIRES: no other change was adopted since it was planned.
  void Adopt(const CatalogueChange& change) noexcept EXCLUDES(mutex_);

 private:
  Status LoadTags(TagImageBuilder& builder);
  Status LoadLinks(const TagImage& image);
  // ZR3_ERR_STORAGE_DAMAGED when stored tags read each other in a loop.
  Status CheckStoredLoops(const TagImage& image, std::span<const TagId> readers) const;

  // What the class of a tag asks for, if it is registered.
  TagClass* AsksOf(std::int32_t tag_class) const;
  Status CheckTag(const Tag& tag) const;
  // A tag that others read must not change from numbers to texts, or back.
  Status CheckReaders(const Tag& before, const Tag& after) const;
  // Has the class of the tag say to what it is linked, by whose present names the tag tells then.
  Result<TagLinks> PlanLinks(const Tag* before, const PropertyMask& given, const TagImage& tags,
                             Tag& after);

  // A tag must not read itself, over others either: ZR3_ERR_CALCULATION_LOOP.
  Status CheckLoop(const Tag& after, const TagLinks& links, const TagImage& tags) const;
  // Those of the links of a tag of the class that are read.
  TagLinks ReadOf(TagLinks links, std::int32_t tag_class) const;

  // Makes the change's image and puts its rows into the batch.
  Result<CatalogueChange> Plan(TagImagePtr image, std::optional<Tag> before,
                               std::optional<Tag> after, TagLinks links, StoreBatch& batch);
  void PutRows(const CatalogueChange& change, StoreBatch& batch) const;
  // Has the tags that are linked to one that is renamed or goes (no name) tell so.
  Status PlanFollowers(TagId changed, std::optional<std::string_view> name, TagImage& image,
                       StoreBatch& batch) const;
  // The traits that are not as they were with the change.
  std::vector<std::pair<TagId, TagTraits>> PlanTraits(const CatalogueChange& change) const;
  // Whether a tag of the class with these links reads the target.
  bool ReadsBy(const TagLinks& links, std::int32_t tag_class, TagId target) const;
  // Whether any tag but this one reads the target.
  bool IsReadByOthers(TagId target, TagId but, const TagImage& tags) const;
  bool Reads(const TagImage& tags, TagId tag, std::size_t place) const;

  void Publish(const TagImagePtr& image) noexcept EXCLUDES(mutex_);

  Store& store_;
  std::array<TagClass*, ZR3_TAG_CLASS_ALL> classes_{};
  TagIndex tags_;
  TagLinkMap links_;
  std::atomic<std::int64_t> version_{0};

  mutable Mutex mutex_;
  TagImagePtr image_ GUARDED_BY(mutex_);  // never null
};

}  // namespace zervane
