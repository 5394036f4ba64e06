#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/catalogue/rules.h"
#include "engine/catalogue/tag_index.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"

namespace zervane {

// The tags, in memory and in the store. A change reaches the store first; when the store refuses
// it, memory stays as it was. Once the store has it, memory follows for certain: whatever needs
// memory for that comes before.
//
// Threads: any may read; Load and all that changes are called by one thread at a time.
class Catalogue {
 public:
  using TagPtr = std::shared_ptr<const Tag>;

  // A change of a tag that breaks no rule. It holds until the catalogue changes.
  struct Change {
    TagPtr before;
    TagPtr after;

    bool changes_type() const { return before->type != after->type; }
  };

  explicit Catalogue(Store& store) : store_(store) {}

  // Reads the store's catalogue; called once, first. ZR3_ERR_STORAGE_DAMAGED when it breaks a rule.
  Status Load() EXCLUDES(mutex_);

  // Null when there is none.
  TagPtr Find(TagId id) const EXCLUDES(mutex_);
  // Without regard to ASCII case.
  std::optional<TagId> FindByName(std::string_view name) const EXCLUDES(mutex_);
  std::int64_t Version() const EXCLUDES(mutex_);

  // Types of the tags, for those who ask with every record.
  const TagIndex& tags() const { return tags_; }
  TagIndex& tags() { return tags_; }

  Result<TagId> Add(const Tag& given, const PropertyMask& mask, const Stamp& stamp);

  // Checks a change against all rules but one: whether the tag holds records, which fix its type,
  // is for others to know. Nothing has happened yet:
  //
  //   const Result<Catalogue::Change> change = catalogue.Prepare(...);
  //   if (!change.ok()) return change.status();
  //   return catalogue.Modify(*change);
  Result<Change> Prepare(TagId id, std::int32_t tag_class, const Tag& given,
                         const PropertyMask& mask, const Stamp& stamp) const;
  Status Modify(const Change& change);

  Status Remove(TagId id);

 private:
  Status CheckLoaded(const Tag& tag, TagId last_id) const;
  void Enter(const TagPtr& tag) EXCLUDES(mutex_);  // that is loaded
  // ZR3_ERR_TAG_EXISTS when another tag than `id` has the name.
  Status CheckUnique(const std::string& name, TagId id) const;
  TagId LastId() const EXCLUDES(mutex_);

  // Has the store keep the tag, in place of `replaced` unless that is null, and memory follow.
  Status Put(const TagPtr& tag, const TagPtr& replaced);

  // Places for a tag and its folded name, where there are none yet. Nobody finds a tag by an empty
  // one; filling it cannot fail.
  void MakePlaces(TagId id, const std::string& name) EXCLUDES(mutex_);
  void RemoveEmptyPlaces(TagId id, const std::string& name) noexcept EXCLUDES(mutex_);
  // Fills the places of a tag, and frees the folded name that it had, if that was another.
  void Publish(const TagPtr& tag, const std::string& name, const std::string& old_name,
               std::int64_t version) noexcept EXCLUDES(mutex_);

  Store& store_;
  TagIndex tags_;

  static constexpr TagId kNoTag = 0;

  mutable SharedMutex mutex_;
  std::map<TagId, TagPtr> by_id_ GUARDED_BY(mutex_);                      // null: an empty place
  std::unordered_map<std::string, TagId> by_name_ GUARDED_BY(mutex_);  // folded; kNoTag: likewise
  TagId last_id_ GUARDED_BY(mutex_) = 0;  // the highest identifier ever given
  std::int64_t version_ GUARDED_BY(mutex_) = 0;
};

}  // namespace zervane
