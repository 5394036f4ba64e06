#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <span>
#include <unordered_map>
#include <vector>

#include "engine/storage/series.h"
#include "engine/storage/store.h"
#include "engine/storage/writer_first_mutex.h"

namespace zervane::storage {

// What one tag has in the journal only.
struct PendingTag {
  Series archive;
  std::optional<Sample> current;
};

using PendingTags = std::unordered_map<TagId, PendingTag>;

// A batch by tag: the last record of a time wins, and the last that becomes the current value.
PendingTags GroupByTag(std::span<const AcceptedSample> records);

// The records that are durable in the journal and not yet in chunks, by tag.
//
// Threads: the changing functions and tags() from one thread at a time, the copying ones from any.
class Pending {
 public:
  // Makes room, so that absorbing a batch of as many tags cannot fail.
  void Reserve(std::size_t tags);

  // Takes over a batch: its nodes move, nothing is allocated. Readers see all of it or none.
  void Absorb(PendingTags batch) noexcept;

  void Remove(TagId id) noexcept;
  void Clear() noexcept;

  const PendingTags& tags() const { return tags_; }

  std::vector<Sample> Copy(TagId id, TimeRange range, Direction direction, std::size_t limit) const;
  std::vector<std::int64_t> Times(TagId id, TimeRange range) const;
  std::vector<TagSample> CurrentValues() const;

 private:
  mutable WriterFirstMutex mutex_;  // guards tags_; the changing thread reads without it
  PendingTags tags_;
};

}  // namespace zervane::storage
