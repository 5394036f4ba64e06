#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/catalogue/rules.h"
#include "engine/catalogue/tag_image.h"
#include "engine/catalogue/tag_index.h"
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
// Threads: any may read, and sees the catalogue of one instant in every image. Load, plans and
// Adopt are called by one thread at a time.
class Catalogue {
 public:
  explicit Catalogue(Store& store);

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

  // The statuses are those of the operations AddTag, ModifyTag and DeleteTag. Whether a tag holds
  // records, which fix its type, is for others to know.
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
  // Makes the change's image and puts its rows into the batch.
  Result<CatalogueChange> Plan(TagImagePtr image, std::optional<Tag> before,
                               std::optional<Tag> after, StoreBatch& batch);
  void Publish(const TagImagePtr& image) noexcept EXCLUDES(mutex_);

  Store& store_;
  TagIndex tags_;
  std::atomic<std::int64_t> version_{0};

  mutable Mutex mutex_;
  TagImagePtr image_ GUARDED_BY(mutex_);  // never null
};

}  // namespace zervane
