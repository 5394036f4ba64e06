#include "engine/catalogue/tag_image.h"

#include <algorithm>

#include "api/words/ascii.h"
#include "engine/assert.h"

namespace zervane {

const PackedTag* TagImage::FindByName(std::string_view name) const {
  const TagId id = names_.Find(NameIndex::HashOf(name), [&](TagId candidate) {
    return EqualsFolded(tags_.Find(candidate)->name(), name);
  });
  return id == 0 ? nullptr : tags_.Find(id);
}

void TagImage::Put(const Ref<const PackedTag>& tag) {
  ZERVANE_ASSERT(FindByName(tag->name()) == nullptr || FindByName(tag->name())->id() == tag->id());
  const PackedTag* const before = tags_.Find(tag->id());
  const std::uint32_t hash = NameIndex::HashOf(tag->name());
  const std::uint32_t hash_before = before == nullptr ? 0 : NameIndex::HashOf(before->name());
  if (before != nullptr) --counts_[Index(before->tag_class())];
  if (before == nullptr || hash_before != hash) names_.Add(hash, tag->id());
  if (before != nullptr && hash_before != hash) names_.Remove(hash_before, tag->id());
  ++counts_[Index(tag->tag_class())];
  tags_.Put(tag);
}

void TagImage::Remove(TagId id) {
  const PackedTag* const tag = tags_.Find(id);
  ZERVANE_ASSERT(tag != nullptr);
  names_.Remove(NameIndex::HashOf(tag->name()), id);
  --counts_[Index(tag->tag_class())];
  tags_.Remove(id);
}

// ---- many at once ----

void TagImageBuilder::Add(const Ref<const PackedTag>& tag) {
  ZERVANE_ASSERT(image_.Find(tag->id()) == nullptr);
  hashes_.emplace_back(NameIndex::HashOf(tag->name()), tag->id());
  ++image_.counts_[TagImage::Index(tag->tag_class())];
  image_.tags_.Put(tag);
}

const PackedTag* TagImageBuilder::IndexNames() {
  std::ranges::sort(hashes_);
  for (const auto& [hash, id] : hashes_) {
    const auto has_its_name = [&, tag = id](TagId other) {
      return EqualsFolded(image_.Find(other)->name(), image_.Find(tag)->name());
    };
    if (image_.names_.Find(hash, has_its_name) != 0) return image_.Find(id);
    image_.names_.Add(hash, id);
  }
  return nullptr;
}

}  // namespace zervane
