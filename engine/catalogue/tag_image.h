#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/catalogue/name_index.h"
#include "engine/catalogue/packed_tag.h"
#include "engine/catalogue/tag_tree.h"

namespace zervane {

// The whole catalogue as it stands at one instant. Readers share images that never change; a change
// is made in a copy, which shares all but a few nodes with the one it was made from.
//
// Threads: as a container; copies may be used by different threads.
class TagImage {
 public:
  // Null when there is none.
  const PackedTag* Find(TagId id) const { return tags_.Find(id); }
  // Without regard to ASCII case. Null when there is none.
  const PackedTag* FindByName(std::string_view name) const;
  const TagTree& tags() const { return tags_; }

  // How many tags there are of a class (ZR3_TAG_CLASS_...).
  std::int64_t CountOf(std::int32_t tag_class) const { return counts_[Index(tag_class)]; }
  // The highest identifier ever given.
  TagId last_id() const { return last_id_; }
  // Goes up by one with every change.
  std::int64_t version() const { return version_; }

  void SetLastId(TagId id) { last_id_ = id; }
  void SetVersion(std::int64_t version) { version_ = version; }
  // In the place of the tag of that identifier. REQUIRES: no other tag has the name.
  void Put(const Ref<const PackedTag>& tag);
  // REQUIRES: there is one.
  void Remove(TagId id);

 private:
  friend class TagImageBuilder;
  static std::size_t Index(std::int32_t tag_class) { return static_cast<std::size_t>(tag_class); }

  TagTree tags_;
  NameIndex names_;
  std::array<std::int64_t, ZR3_TAG_CLASS_ALL> counts_{};
  TagId last_id_ = 0;
  std::int64_t version_ = 0;
};

using TagImagePtr = std::shared_ptr<const TagImage>;

// Makes an image of many tags in a fraction of the time that it takes to put them one by one: names
// are indexed in order of their hashes, so that what is needed next is near in memory.
class TagImageBuilder {
 public:
  // REQUIRES: no tag of that identifier was added, and nothing is indexed yet.
  void Add(const Ref<const PackedTag>& tag);
  // Called once, last. A tag that has the name of another; null when there is none.
  const PackedTag* IndexNames();

  TagImage& image() { return image_; }

 private:
  TagImage image_;
  std::vector<std::pair<std::uint32_t, TagId>> hashes_;  // of the names
};

}  // namespace zervane
