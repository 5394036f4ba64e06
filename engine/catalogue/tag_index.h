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
  bool is_read = false;   // other tags read it: alarms watch its values
  bool is_own = false;    // its records are the database's own: nobody else writes or corrects them

  friend bool operator==(const TagTraits&, const TagTraits&) = default;
};

// What is looked up for every record, by identifier, in a few nanoseconds and without a lock.
//
// Tags stand in chunks that are made when an identifier of theirs is first put, and that never move
// or go away before the table does. Threads: any may look up; what changes the table is called by
// one thread at a time.
class TagIndex {
 public:
  TagIndex();
  ~TagIndex();
  TagIndex(const TagIndex&) = delete;
  TagIndex& operator=(const TagIndex&) = delete;

  std::optional<TagTraits> Find(TagId id) const;

  // Makes room for the tag, so that putting it cannot fail.
  void Reserve(TagId id);
  // Adds or changes a tag for which there is room.
  void Put(TagId id, const TagTraits& traits) noexcept;
  void Remove(TagId id) noexcept;

 private:
  static constexpr std::size_t kChunkBits = 16;
  // Encoded traits, 0 when there is no such tag.
  using Code = std::atomic<std::uint8_t>;
  using Chunk = std::array<Code, std::size_t{1} << kChunkBits>;
  using Chunks = std::array<std::atomic<Chunk*>, std::size_t{1} << (32 - kChunkBits)>;

  // Null for some tags that never were.
  Code* CodeOf(TagId id) const;

  const std::unique_ptr<Chunks> chunks_;
};

inline TagIndex::Code* TagIndex::CodeOf(TagId id) const {
  Chunk* chunk = (*chunks_)[id >> kChunkBits].load(std::memory_order_acquire);
  return chunk == nullptr ? nullptr : &(*chunk)[id & (chunk->size() - 1)];
}

inline std::optional<TagTraits> TagIndex::Find(TagId id) const {
  const Code* place = CodeOf(id);
  const std::uint8_t code = place == nullptr ? 0 : place->load(std::memory_order_acquire);
  if (code == 0) return std::nullopt;
  return TagTraits{.type = static_cast<TagType>((code >> 4) - 1),
                   .archiving = (code & 8) != 0,
                   .filtered = (code & 4) != 0,
                   .is_read = (code & 2) != 0,
                   .is_own = (code & 1) != 0};
}

}  // namespace zervane
