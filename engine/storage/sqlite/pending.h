#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "api/words/samples.h"
#include "engine/mutex.h"
#include "engine/storage/series.h"
#include "engine/storage/store.h"
#include "engine/storage/tag_groups.h"
#include "engine/storage/writer_first_mutex.h"
#include "engine/tag_array.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {

// What became of a tag's held-back record.
struct HeldChange {
  std::optional<Sample> sample;  // none: nothing is held back any more
};

// What one tag has in the journal only. A million tags may have one each.
struct PendingTag {
  Series archive;
  std::optional<Sample> current;
  std::unique_ptr<HeldChange> held;  // none: it is as it was
  // Since it was frozen, the tag's records went: nothing here counts any more. For Pending alone.
  bool is_emptied = false;
};

using PendingTags = std::unordered_map<TagId, PendingTag>;

// The records that are durable in the journal and not yet in chunks, by tag, in two generations:
// the active one takes new records, the frozen one is being written into chunks. Where both have a
// record of one time, the active one's counts.
//
// A batch is adopted as it is, which cannot fail and takes no time, and sorted to its tags by
// whoever comes next: a thread that has nothing better to do, or the first reader. Whoever wrote it
// waits neither for that nor for batches before it that are being sorted.
//
// Threads: any; frozen() is read by one that writes it into chunks, while no other freezes or
// drops.
class Pending {
 public:
  // Makes room for the tag, so that adding it cannot fail.
  void ReserveTag(TagId id) EXCLUDES(mutex_);
  // Only records of tags that were added are kept. ReserveTag was called for it.
  void AddTag(TagId id) noexcept EXCLUDES(mutex_);
  // Empties the tag, and keeps none of its records from now on.
  void RemoveTag(TagId id) noexcept EXCLUDES(mutex_);

  // Drops the tag's records, and has a generation that is being written pass it over. Everything
  // that was adopted is sorted. Where the tag is to vanish from the file too, the caller holds on
  // to the file from the commit that says so until this is done, so that nothing is written in
  // between.
  void EmptyTag(TagId id) noexcept EXCLUDES(mutex_);

  // Takes note that the file holds back a record of the tag, before the first batch.
  void NoteHeld(TagId tag, std::int64_t time_ms) EXCLUDES(mutex_);

  // Makes room, so that adopting a batch cannot fail.
  void Reserve() EXCLUDES(intake_mutex_);
  // Adopts a batch, for which there is room; readers see it from now on. Leaves an empty one in its
  // place, whose memory was used before if there is some. Answers how many adopted records are not
  // sorted.
  std::size_t Adopt(RecordBatch& batch) noexcept EXCLUDES(intake_mutex_);
  // Sorts to their tags what was adopted.
  void Sort() EXCLUDES(mutex_);

  // Makes the active generation the frozen one; there is none. How many tags it has.
  std::size_t Freeze() EXCLUDES(mutex_);
  void DropFrozen() noexcept EXCLUDES(mutex_);
  // Without the mutex, which its reader need not hold as long as no other changes it.
  const PendingTags& frozen() const NO_THREAD_SAFETY_ANALYSIS { return frozen_; }
  // Whether what is frozen of the tag is still to be written.
  bool IsToBeWritten(TagId id) EXCLUDES(mutex_);

  // Up to `limit` archived records of the range, those with which the direction begins; ascending.
  SampleColumns Copy(TagId id, TimeRange range, Direction direction, std::size_t limit)
      EXCLUDES(mutex_);
  // Those of tags from `first` to `last` that have one here, in order of tag.
  SampleBatch CurrentValues(TagId first, TagId last) EXCLUDES(mutex_);
  // Whether a record of the tag is held back, here or in the file.
  bool HoldsBack(TagId id) EXCLUDES(mutex_);
  // None when what is held back of the tag is what the file says.
  std::optional<HeldChange> Held(TagId id) EXCLUDES(mutex_);

 private:
  // What is known of a tag, by its identifier.
  struct Place {
    PendingTag* active = nullptr;    // in active_, when it has something there
    std::int64_t held_ms = kNoTime;  // the time of its held-back record, a stored one too
    std::uint32_t usual = 0;         // how many archived records its last generation had
    bool is_known = false;
  };
  static_assert(sizeof(Place) <= 24);  // every tag has one

  // What a batch brings to a tag, with all memory that it needs.
  struct Delivery {
    PendingTag* tag = nullptr;
    Place* place = nullptr;
    std::span<const std::uint32_t> archived;  // which of the batch's records
    std::optional<Sample> current;
    std::unique_ptr<HeldChange> held;
    std::int64_t held_ms = kNoTime;
  };

  // Holds the mutex for reading, with every adopted batch sorted to its tags.
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
  void KeepMemory(RecordBatch batch) noexcept EXCLUDES(intake_mutex_);
  void SortBatch(const RecordBatch& batch) REQUIRES(mutex_);
  void PlanDeliveries(const RecordBatch& batch) REQUIRES(mutex_);
  void PlanHeld(const RecordBatch& batch, const TagGroups::Group& group, Delivery* delivery)
      REQUIRES(mutex_);
  std::span<const std::uint32_t> ArchivedOf(const RecordBatch& batch,
                                            std::span<const std::uint32_t> records)
      REQUIRES(mutex_);
  PendingTag* Enter(TagId id, Place* place) REQUIRES(mutex_);
  const PendingTag* FindActive(TagId id) REQUIRES_SHARED(mutex_);
  const PendingTag* FindFrozen(TagId id) REQUIRES_SHARED(mutex_);
  std::vector<TagId> TagsBetween(TagId first, TagId last) REQUIRES_SHARED(mutex_);

  // Held for a few instructions at a time; taken after the other.
  Mutex intake_mutex_;
  std::vector<RecordBatch> adopted_ GUARDED_BY(intake_mutex_);  // not sorted yet
  std::size_t adopted_records_ GUARDED_BY(intake_mutex_) = 0;
  // The memory of sorted batches.
  std::vector<RecordBatch> spares_ GUARDED_BY(intake_mutex_);

  // Batches leave adopted_ under both mutexes, so that whoever holds this one, and finds adopted_
  // and sorting_ empty, knows that everything is sorted.
  WriterFirstMutex mutex_;
  // Batches that left adopted_; those that are sorted are empty.
  std::vector<RecordBatch> sorting_ GUARDED_BY(mutex_);
  TagArray<Place> places_ GUARDED_BY(mutex_);
  PendingTags active_ GUARDED_BY(mutex_);
  PendingTags frozen_ GUARDED_BY(mutex_);

  // Of the batch that is being sorted.
  TagGroups groups_ GUARDED_BY(mutex_);
  std::vector<Delivery> deliveries_ GUARDED_BY(mutex_);
  std::vector<std::uint32_t> archived_ GUARDED_BY(mutex_);
};

}  // namespace zervane::storage
