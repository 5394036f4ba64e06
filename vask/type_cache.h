#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "api/words/value.h"

namespace zervane {

// Which type the values of tags have, looked up without a lock. Every entry belongs to a round; to
// begin a new one is to forget all entries, at no cost.
//
// An entry is one word, and its place is the identifier modulo the size of the table, which grows
// when two entries want one place; so identifiers that were given one after the other, as they
// mostly are, have places of their own. A table that was outgrown stays, for there may be a reader
// in it; sizes double, but for the last step to the capacity, so that together these have less than
// twice the places of the one in use.
//
// Threads: any number may Find at once, beside one at a time that does anything else.
class TypeCache {
 public:
  std::optional<TagType> Find(TagId id) const noexcept {
    const Table* const table = table_.load(std::memory_order_acquire);
    if (table == nullptr) return std::nullopt;
    const std::uint64_t round = round_.load(std::memory_order_acquire);
    const std::uint64_t entry = table->entries[id % table->size].load(std::memory_order_acquire);
    if (entry >> kTypeBits != (round << kIdBits | id)) return std::nullopt;
    return static_cast<TagType>(entry & kTypeMask);
  }

  // Keeps a type, in place of another one if need be, so that there are at most `capacity` (from
  // 1). May throw std::bad_alloc, and then keeps nothing.
  void Keep(TagId id, TagType type, std::size_t capacity);

  // Forgets all entries.
  void BeginRound() noexcept;

  // How many entries there are.
  std::size_t Count() const { return count_; }

 private:
  // An entry: 24 bits of the round (from 1, so that 0 is no entry), the identifier, the type.
  static constexpr unsigned kIdBits = 32;
  static constexpr unsigned kTypeBits = 8;
  static constexpr std::uint64_t kTypeMask = (std::uint64_t{1} << kTypeBits) - 1;
  static constexpr std::uint64_t kLastRound = (std::uint64_t{1} << (64 - kIdBits - kTypeBits)) - 1;
  static constexpr std::uint32_t kFirstSize = 1'024;

  struct Table {
    explicit Table(std::uint32_t places)
        : size(places), entries(new std::atomic<std::uint64_t>[places]()) {}

    const std::uint32_t size;
    const std::unique_ptr<std::atomic<std::uint64_t>[]> entries;
  };

  bool IsOfRound(std::uint64_t entry) const;
  // Goes over to a table of that size.
  Table* ChangeTo(std::uint32_t size);

  std::atomic<std::uint64_t> round_{1};
  std::atomic<Table*> table_{nullptr};
  std::vector<std::unique_ptr<Table>> tables_;  // the last one is in use
  std::size_t count_ = 0;
};

}  // namespace zervane
