#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "engine/mutex.h"
#include "engine/storage/series.h"
#include "engine/storage/store.h"
#include "engine/storage/writer_first_mutex.h"
#include "engine/tag_array.h"
#include "engine/thread_annotations.h"

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
  void ReserveTag(TagId id) EXCLUDES(mutex_);
  // Only records of tags that were added are kept. ReserveTag was called for it.
  void AddTag(TagId id) noexcept EXCLUDES(mutex_);
  // Removes the tag with its records. Everything that was taken is sorted.
  void RemoveTag(TagId id) noexcept EXCLUDES(mutex_);

  // Takes note that the file holds back a record of the tag, before the first batch.
  void KnowHeld(TagId tag, std::int64_t time_ms) EXCLUDES(mutex_);

  // Makes room, so that taking a batch cannot fail.
  void Reserve() EXCLUDES(intake_mutex_);
  // Takes a batch, for which there is room; readers see it from now on. Leaves an empty one in its
  // place, whose memory was used before if there is some. Answers how many taken records are not
  // sorted.
  std::size_t Take(std::vector<AcceptedSample>& batch) noexcept EXCLUDES(intake_mutex_);
  // Sorts to their tags what was taken.
  void Sort() EXCLUDES(mutex_);

  // Makes the active generation the frozen one; there is none. How many tags it has.
  std::size_t Freeze() EXCLUDES(mutex_);
  void DropFrozen() noexcept EXCLUDES(mutex_);
  // Without the mutex, which its reader need not hold as long as no other changes it.
  const PendingTags& frozen() const NO_THREAD_SAFETY_ANALYSIS { return frozen_; }

  std::vector<Sample> Copy(TagId id, TimeRange range, Direction direction, std::size_t limit)
      EXCLUDES(mutex_);
  // Ascending.
  std::vector<std::int64_t> Times(TagId id, TimeRange range) EXCLUDES(mutex_);
  std::vector<TagSample> CurrentValues() EXCLUDES(mutex_);
  HeldChange Held(TagId id) EXCLUDES(mutex_);

 private:
  // What is known of a tag, by its identifier.
  struct Place {
    bool is_known = false;
    PendingTag* active = nullptr;  // in active_, when it has something there
    std::size_t usual = 0;         // how many archived records its last generation had
  };

  // Holds the mutex for reading, with every taken batch sorted to its tags.
  class SCOPED_CAPABILITY SortedLock {
   public:
    explicit SortedLock(Pending& pending) ACQUIRE_SHARED(pending.mutex_) : pending_(pending) {
      pending.LockSorted();
    }
    SortedLock(const SortedLock&) = delete;
    SortedLock& operator=(const SortedLock&) = delete;
    ~SortedLock() RELEASE_ANY() { pending_.mutex_.UnlockShared(); }

   private:
    Pending& pending_;
  };

  void LockSorted() ACQUIRE_SHARED(mutex_);
  bool IsSorted() REQUIRES_SHARED(mutex_);
  void SortUnderLock() REQUIRES(mutex_);
  void SortBatches() REQUIRES(mutex_);
  void KeepMemory(std::vector<AcceptedSample> batch) noexcept EXCLUDES(intake_mutex_);
  void SortBatch(std::span<const AcceptedSample> records) REQUIRES(mutex_);
  void ExpectBatch(std::span<const AcceptedSample> records) REQUIRES(mutex_);
  PendingTag* Enter(TagId id) REQUIRES(mutex_);
  void Put(const AcceptedSample& record, PendingTag* tag) noexcept REQUIRES(mutex_);
  void EndHeld(const AcceptedSample& record, PendingTag* tag) noexcept REQUIRES(mutex_);

  // Held for a few instructions at a time; taken after the other.
  Mutex intake_mutex_;
  std::vector<std::vector<AcceptedSample>> taken_ GUARDED_BY(intake_mutex_);  // not sorted yet
  std::size_t taken_records_ GUARDED_BY(intake_mutex_) = 0;
  // The memory of sorted batches.
  std::vector<std::vector<AcceptedSample>> spares_ GUARDED_BY(intake_mutex_);

  // Batches leave taken_ under both mutexes, so that whoever holds this one, and finds taken_ and
  // sorting_ empty, knows that everything is sorted.
  WriterFirstMutex mutex_;
  // Batches that left taken_; those that are sorted are empty.
  std::vector<std::vector<AcceptedSample>> sorting_ GUARDED_BY(mutex_);
  TagArray<Place> places_ GUARDED_BY(mutex_);
  // The times of all held-back records, stored ones too.
  std::unordered_map<TagId, std::int64_t> held_ms_ GUARDED_BY(mutex_);
  // Of the records of the batch that is being sorted; null where one is left out.
  std::vector<PendingTag*> targets_ GUARDED_BY(mutex_);
  PendingTags active_ GUARDED_BY(mutex_);
  PendingTags frozen_ GUARDED_BY(mutex_);
};

}  // namespace zervane::storage
