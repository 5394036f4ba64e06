#include "engine/catalogue/tag_index.h"

#include "engine/assert.h"

namespace zervane {
namespace {

// Never 0: that stands for no tag.
std::uint8_t Encode(const TagTraits& traits) {
  ZERVANE_ASSERT(IsTagType(static_cast<ZR3_TAG_TYPE>(traits.type)));
  const int type = static_cast<int>(traits.type) + 1;
  return static_cast<std::uint8_t>(type << 4 | (traits.archiving ? 8 : 0) |
                                   (traits.filtered ? 4 : 0) | (traits.is_read ? 2 : 0) |
                                   (traits.is_own ? 1 : 0));
}

}  // namespace

TagIndex::TagIndex() : chunks_(std::make_unique<Chunks>()) {}

TagIndex::~TagIndex() {
  for (const std::atomic<Chunk*>& chunk : *chunks_) delete chunk.load(std::memory_order_relaxed);
}

void TagIndex::Reserve(TagId id) {
  if (CodeOf(id) != nullptr) return;
  (*chunks_)[id >> kChunkBits].store(new Chunk, std::memory_order_release);
}

void TagIndex::Put(TagId id, const TagTraits& traits) noexcept {
  ZERVANE_ASSERT(CodeOf(id) != nullptr);  // it was reserved
  CodeOf(id)->store(Encode(traits), std::memory_order_release);
}

void TagIndex::Remove(TagId id) noexcept {
  if (Code* place = CodeOf(id)) place->store(0, std::memory_order_release);
}

}  // namespace zervane
