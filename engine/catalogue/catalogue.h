#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "engine/catalogue/rules.h"
#include "engine/catalogue/tag.h"
#include "engine/catalogue/tag_index.h"
#include "engine/status.h"
#include "engine/storage/store.h"

namespace zervane {

// The tags, in memory and in the store. A change reaches the store first; when the store refuses
// it, memory stays as it was.
//
// Threads: any may read; Load, Add, Modify and Remove are called by one thread at a time.
class Catalogue {
 public:
  using Tag = std::shared_ptr<const TagProperties>;

  explicit Catalogue(Store& store) : store_(store) {}

  // Reads the store's catalogue; called once, first. ZR3_ERR_STORAGE_DAMAGED when it breaks a rule.
  Status Load();

  // Null when there is none.
  Tag Find(TagId id) const;
  // Without regard to ASCII case.
  std::optional<TagId> FindByName(std::string_view name) const;
  std::int64_t Version() const;

  // Types of the tags, for those who ask with every record.
  const TagIndex& tags() const { return tags_; }
  TagIndex& tags() { return tags_; }

  Result<TagId> Add(const TagProperties& given, const PropertyMask& mask, const Stamp& stamp);

  // Whether Modify with these arguments would give the tag another type.
  bool ChangesType(TagId id, const TagProperties& given, const PropertyMask& mask) const;

  // `holds_records` tells whether the type is fixed; it counts only when ChangesType.
  Status Modify(TagId id, std::int32_t tag_class, const TagProperties& given,
                const PropertyMask& mask, const Stamp& stamp, bool holds_records);

  Status Remove(TagId id);

 private:
  Status CheckLoaded(const TagProperties& tag, TagId last_id) const;
  // ZR3_ERR_TAG_EXISTS when another tag than `id` has the name.
  Status CheckUnique(const std::string& name, TagId id) const;
  // Takes over a tag that is in the store, in place of `replaced`.
  void Publish(Tag tag, const Tag& replaced, std::int64_t version);

  Store& store_;
  TagIndex tags_;

  mutable std::shared_mutex mutex_;  // guards all below
  std::map<TagId, Tag> by_id_;
  std::unordered_map<std::string, TagId> by_name_;  // folded
  TagId last_id_ = 0;                               // the highest identifier ever given
  std::int64_t version_ = 0;
};

}  // namespace zervane
