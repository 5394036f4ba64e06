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
#include "engine/tag_array.h"

namespace zervane::storage {

// What becomes of a tag's held-back record.
struct HeldChange {
  bool is_changed = false;
  std::optional<Sample> sample;  // none: nothing is held back any more
};

// What one tag has in the journal only.
struct PendingTag {
  Series archive;
  std::optional<Sample> current;
  HeldChange held;
};

using PendingTags = std::unordered_map<TagId, PendingTag>;

// The records that are durable in the journal and not yet in chunks, by tag, in two generations:
// the active one takes new records, the frozen one is being written into chunks. Where both have a
// record of one time, the active one's counts.
//
// A batch is taken as it is, which cannot fail and takes no time, and sorted to its tags by whoever
// comes next: a thread that has nothing better to do, or the first reader. Whoever wrote it waits
// neither for that nor for batches before it that are being sorted.
//
// Threads: any; frozen() is read by one that writes it into chunks, while no other freezes, removes
// or drops.
class Pending {
 public:
  // Makes room for the tag, so that adding it cannot fail.
  void ReserveTag(TagId id);
  // Only records of tags that were added are kept. ReserveTag was called for it.
  void AddTag(TagId id) noexcept;
  // Removes the tag with its records. Everything that was taken is sorted.
  void RemoveTag(TagId id) noexcept;

  // Takes note that the file holds back a record of the tag, before the first batch.
  void KnowHeld(TagId tag, std::int64_t time_ms);

  // Makes room, so that taking a batch cannot fail.
  void Reserve();
  // Takes a batch, which readers see from now on, and leaves an empty one in its place, whose
  // memory was used before if there is some. Answers how many taken records are not sorted.
  std::size_t Take(std::vector<AcceptedSample>& batch) noexcept;
  // Sorts to their tags what was taken.
  void Sort();

  // Makes the active generation the frozen one; there is none. How many tags it has.
  std::size_t Freeze();
  void DropFrozen() noexcept;
  const PendingTags& frozen() const { return frozen_; }

  std::vector<Sample> Copy(TagId id, TimeRange range, Direction direction, std::size_t limit);
  // Ascending.
  std::vector<std::int64_t> Times(TagId id, TimeRange range);
  std::vector<TagSample> CurrentValues();
  HeldChange Held(TagId id);

 private:
  using ReadLock = std::shared_lock<WriterFirstMutex>;

  // What is known of a tag, by its identifier.
  struct Place {
    bool is_known = false;
    PendingTag* active = nullptr;  // in active_, when it has something there
    std::size_t usual = 0;         // how many archived records its last generation had
  };

  // Under it everything is sorted.
  ReadLock LockForReading();
  bool IsSorted();
  void SortUnderLock();
  void SortBatches();
  void KeepMemory(std::vector<AcceptedSample> batch) noexcept;
  void SortBatch(std::span<const AcceptedSample> records);
  PendingTag* Enter(TagId id);
  void Put(const AcceptedSample& record, PendingTag* tag) noexcept;
  void EndHeld(const AcceptedSample& record, PendingTag* tag) noexcept;

  // Guards what stands up to the next mutex, for a few instructions at a time.
  std::mutex intake_mutex_;
  std::vector<std::vector<AcceptedSample>> taken_;  // not sorted yet
  std::size_t taken_records_ = 0;
  std::vector<std::vector<AcceptedSample>> spares_;  // sorted batches' memory

  // Guards all below; taken before the other. Batches leave taken_ under both, so that whoever
  // holds this one, and finds taken_ and sorting_ empty, knows that everything is sorted.
  WriterFirstMutex mutex_;
  std::vector<std::vector<AcceptedSample>> sorting_;  // batches that left taken_
  TagArray<Place> places_;
  std::unordered_map<TagId, std::int64_t> held_ms_;  // of all held-back records, stored ones too
  std::vector<PendingTag*> targets_;  // of the records of the batch being sorted; null: left out
  PendingTags active_;
  PendingTags frozen_;
};

}  // namespace zervane::storage
