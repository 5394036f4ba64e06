#include "vask/type_cache.h"

#include <algorithm>
#include <limits>

#include "engine/assert.h"

namespace zervane {
namespace {

// A table grows when an entry's place is taken and at least one in so many is: identifiers far
// apart may want one place of however large a table.
constexpr std::uint32_t kFullShare = 4;

}  // namespace

void TypeCache::Keep(TagId id, TagType type, std::size_t capacity) {
  ZERVANE_ASSERT(capacity > 0);
  const auto most = static_cast<std::uint32_t>(
      std::min<std::size_t>(capacity, std::numeric_limits<std::uint32_t>::max()));
  Table* table = table_.load(std::memory_order_relaxed);
  if (table == nullptr) table = ChangeTo(std::min(kFirstSize, most));
  const auto place_in = [id](Table& in) -> std::atomic<std::uint64_t>& {
    return in.entries[id % in.size];
  };
  const auto is_of = [](std::uint64_t entry, TagId tag) {
    return static_cast<TagId>(entry >> kTypeBits) == tag;
  };

  std::uint64_t kept = place_in(*table).load(std::memory_order_relaxed);
  const bool is_taken = IsOfRound(kept) && !is_of(kept, id);
  if (is_taken && table->size < most && count_ >= table->size / kFullShare) {
    table = ChangeTo(table->size > most / 2 ? most : 2 * table->size);
    kept = place_in(*table).load(std::memory_order_relaxed);
  }
  if (!IsOfRound(kept)) {
    if (count_ >= most) BeginRound();
    ++count_;
  }
  const std::uint64_t round = round_.load(std::memory_order_relaxed);
  place_in(*table).store((round << kIdBits | id) << kTypeBits | static_cast<std::uint64_t>(type),
                         std::memory_order_release);
}

// The entries of a round must be gone when it comes again.
void TypeCache::BeginRound() noexcept {
  count_ = 0;
  const std::uint64_t round = round_.load(std::memory_order_relaxed);
  if (round < kLastRound) {
    round_.store(round + 1, std::memory_order_release);
    return;
  }
  for (const std::unique_ptr<Table>& table : tables_) {
    std::for_each_n(table->entries.get(), table->size,
                    [](std::atomic<std::uint64_t>& entry) { entry.store(0); });
  }
  round_.store(1);
}

bool TypeCache::IsOfRound(std::uint64_t entry) const {
  return entry >> (kIdBits + kTypeBits) == round_.load(std::memory_order_relaxed);
}

TypeCache::Table* TypeCache::ChangeTo(std::uint32_t size) {
  tables_.push_back(std::make_unique<Table>(size));
  Table* const next = tables_.back().get();
  const Table* const last = table_.load(std::memory_order_relaxed);
  count_ = 0;
  for (std::uint32_t i = 0; last != nullptr && i < last->size; ++i) {
    const std::uint64_t entry = last->entries[i].load(std::memory_order_relaxed);
    if (!IsOfRound(entry)) continue;
    std::atomic<std::uint64_t>& place =
        next->entries[static_cast<TagId>(entry >> kTypeBits) % size];
    if (!IsOfRound(place.load(std::memory_order_relaxed))) ++count_;
    place.store(entry, std::memory_order_relaxed);
  }
  table_.store(next, std::memory_order_release);
  return next;
}

}  // namespace zervane
