#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "api/words/value.h"

namespace zervane {

// What the path of a record needs to know of its tag.
struct TagTraits {
  TagType type = TagType::kFloat64;
  bool archiving = true;
  bool filtered = false;  // its records pass filters on their way to the archive

  friend bool operator==(const TagTraits&, const TagTraits&) = default;
};

// What is looked up for every record, by identifier, in a few nanoseconds and without a lock.
//
// Slots stand in chunks that are made when an identifier of theirs is first put, and that never
// move or go away before the table does: whoever found a slot may keep it. Threads: any may look
// up; Put and Remove are called by one thread at a time.
class TagIndex {
 public:
  // What three parts of the engine keep of a tag, side by side since every record asks for all of
  // it; each touches only its own.
  class Slot {
   public:
    // Of Admission, under the mutex of the write queue: the newest time among the tag's accepted
    // records, those still queued included, or kNoTime.
    std::int64_t newest_ms = kNoTime;
    // Of MarkGroup, within one call on the thread that commits: where the group of records has the
    // tag's newest one, from 1; 0 at all other times.
    std::uint32_t newest_in_group = 0;

   private:
    friend class TagIndex;
    // Encoded traits, 0 when there is no such tag.
    std::atomic<std::uint8_t> traits_{0};
  };

  TagIndex();
  ~TagIndex();
  TagIndex(const TagIndex&) = delete;
  TagIndex& operator=(const TagIndex&) = delete;

  std::optional<TagTraits> Find(TagId id) const;

  // The slot of an identifier that is or was in the table; null for some that never were.
  Slot* FindSlot(TagId id) const;
  static std::optional<TagTraits> TraitsOf(const Slot& slot);

  // Makes room for the tag, so that putting it cannot fail.
  void Reserve(TagId id);
  // Adds or changes a tag for which there is room.
  void Put(TagId id, const TagTraits& traits) noexcept;
  void Remove(TagId id) noexcept;

 private:
  static constexpr std::size_t kChunkBits = 16;
  using Chunk = std::array<Slot, std::size_t{1} << kChunkBits>;
  using Chunks = std::array<std::atomic<Chunk*>, std::size_t{1} << (32 - kChunkBits)>;

  const std::unique_ptr<Chunks> chunks_;
};

inline TagIndex::Slot* TagIndex::FindSlot(TagId id) const {
  Chunk* chunk = (*chunks_)[id >> kChunkBits].load(std::memory_order_acquire);
  return chunk == nullptr ? nullptr : &(*chunk)[id & (chunk->size() - 1)];
}

inline std::optional<TagTraits> TagIndex::TraitsOf(const Slot& slot) {
  const std::uint8_t code = slot.traits_.load(std::memory_order_acquire);
  if (code == 0) return std::nullopt;
  return TagTraits{static_cast<TagType>((code >> 2) - 1), (code & 2) != 0, (code & 1) != 0};
}

inline std::optional<TagTraits> TagIndex::Find(TagId id) const {
  const Slot* slot = FindSlot(id);
  return slot == nullptr ? std::nullopt : TraitsOf(*slot);
}

}  // namespace zervane
