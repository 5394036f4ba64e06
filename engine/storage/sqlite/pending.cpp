#include "engine/storage/sqlite/pending.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "engine/assert.h"
#include "engine/storage/record_batch.h"

namespace zervane::storage {
namespace {

// How many sorted batches leave their memory to those to come. A batch of more than kSpareRecords
// is rare, and its memory is given back.
constexpr std::size_t kSpares = 4;
constexpr std::size_t kSpareRecords = 262'144;

// The records of a batch go to the ends of as many series as there are tags: the memory of so many
// of them is on its way at a time.
constexpr std::size_t kPrefetched = 4;

bool HasMark(const RecordBatch& batch, std::size_t at, RecordMark mark) {
  return (batch.marks[at] & mark) != 0;
}

bool HaveAll(std::span<const std::uint8_t> marks, RecordMark mark) {
  unsigned all = mark;
  for (const std::uint8_t marks_of_one : marks) all &= marks_of_one;
  return all == mark;
}

bool HasAny(std::span<const std::uint8_t> marks, RecordMark mark) {
  unsigned any = 0;
  for (const std::uint8_t marks_of_one : marks) any |= marks_of_one;
  return (any & mark) != 0;
}

// The last of the records that becomes the current value.
std::optional<Sample> CurrentOf(const RecordBatch& batch, std::span<const std::uint32_t> records) {
  for (std::size_t i = records.size(); i > 0; --i) {
    if (HasMark(batch, records[i - 1], kCurrent)) return batch.samples.At(records[i - 1]);
  }
  return std::nullopt;
}

}  // namespace

// ---- tags ----

void Pending::ReserveTag(TagId id) {
  const WriteLock lock(mutex_);
  (void)places_.At(id);
}

void Pending::AddTag(TagId id) noexcept {
  const WriteLock lock(mutex_);
  Place* const place = places_.Find(id);
  ZERVANE_ASSERT(place != nullptr);
  place->is_known = true;
}

void Pending::RemoveTag(TagId id) noexcept {
  EmptyTag(id);
  const WriteLock lock(mutex_);
  if (Place* place = places_.Find(id)) *place = {};
}

// What is frozen may be read without the mutex, and stays until all of it is dropped.
void Pending::EmptyTag(TagId id) noexcept {
  const WriteLock lock(mutex_);
  ZERVANE_ASSERT(IsSorted());
  if (Place* place = places_.Find(id)) {
    place->active = nullptr;
    place->held_ms = kNoTime;
  }
  active_.erase(id);
  const auto frozen = frozen_.find(id);
  if (frozen != frozen_.end()) frozen->second.is_emptied = true;
}

void Pending::NoteHeld(TagId tag, std::int64_t time_ms) {
  const WriteLock lock(mutex_);
  places_.At(tag).held_ms = time_ms;
}

// ---- adopting ----

void Pending::Reserve() {
  const MutexLock lock(intake_mutex_);
  if (adopted_.size() == adopted_.capacity()) adopted_.reserve(16 + 2 * adopted_.size());
  spares_.reserve(kSpares);
}

std::size_t Pending::Adopt(RecordBatch& batch) noexcept {
  const MutexLock lock(intake_mutex_);
  ZERVANE_ASSERT(adopted_.size() < adopted_.capacity());
  adopted_records_ += batch.size();
  adopted_.push_back(std::exchange(batch, {}));
  if (!spares_.empty()) {
    batch = std::move(spares_.back());
    spares_.pop_back();
  }
  return adopted_records_;
}

void Pending::Sort() {
  const WriteLock lock(mutex_);
  SortUnderLock();
}

bool Pending::IsSorted() {
  const MutexLock lock(intake_mutex_);
  return sorting_.empty() && adopted_.empty();
}

void Pending::SortUnderLock() {
  SortBatches();  // that could not be sorted before, for want of memory
  {
    const MutexLock lock(intake_mutex_);
    sorting_.reserve(adopted_.capacity());  // it takes its place, with the room that was promised
    sorting_.swap(adopted_);
    adopted_records_ = 0;
  }
  SortBatches();
}

// A batch that cannot be sorted for want of memory stays, with those after it, for the next try.
void Pending::SortBatches() {
  for (RecordBatch& batch : sorting_) {
    SortBatch(batch);
    KeepMemory(std::exchange(batch, {}));
  }
  sorting_.clear();
}

void Pending::KeepMemory(RecordBatch batch) noexcept {
  if (batch.samples.capacity() > kSpareRecords) return;
  Clear(batch);
  const MutexLock lock(intake_mutex_);
  if (spares_.size() < spares_.capacity()) spares_.push_back(std::move(batch));
}

// ---- sorting ----

// What can fail comes first, so that a batch is sorted whole or not at all.
void Pending::SortBatch(const RecordBatch& batch) {
  PlanDeliveries(batch);
  for (std::size_t i = 0; i < deliveries_.size(); ++i) {
    const std::size_t ahead = std::min(i + kPrefetched, deliveries_.size() - 1);
    deliveries_[ahead].tag->archive.PrefetchEnd();
    Delivery& delivery = deliveries_[i];
    delivery.tag->archive.Put(batch.samples, delivery.archived);
    if (delivery.current) delivery.tag->current = std::move(delivery.current);
    if (delivery.held != nullptr) delivery.tag->held = std::move(delivery.held);
    delivery.place->held_ms = delivery.held_ms;
  }
  deliveries_.clear();
}

// Finds the records' tags, and makes there what each of them will need.
void Pending::PlanDeliveries(const RecordBatch& batch) {
  groups_.Sort(batch.tags);
  deliveries_.clear();
  deliveries_.reserve(groups_.all().size());
  archived_.clear();
  archived_.reserve(batch.size());  // so that what points into it stays
  const bool archives_all = HaveAll(batch.marks, kArchive);
  const bool holds_some = HasAny(batch.marks, kHeld);
  for (const TagGroups::Group& group : groups_.all()) {
    Place* const place = places_.Find(group.tag);
    if (place == nullptr || !place->is_known) continue;
    Delivery& delivery = deliveries_.emplace_back();
    delivery.place = place;
    delivery.tag = Enter(group.tag, place);
    delivery.archived = archives_all ? group.records : ArchivedOf(batch, group.records);
    delivery.tag->archive.Reserve(batch.samples, delivery.archived);
    delivery.current = CurrentOf(batch, group.records);
    if (holds_some || place->held_ms != kNoTime) PlanHeld(batch, group, &delivery);
  }
}

// The tag in the active generation.
PendingTag* Pending::Enter(TagId id, Place* place) {
  if (place->active == nullptr) {
    PendingTag& tag = active_[id];
    tag.archive.ReserveInOrder(place->usual);
    place->active = &tag;
  }
  ZERVANE_ASSERT(&active_.at(id) == place->active);
  return place->active;
}

// Which of the records enter the archive.
std::span<const std::uint32_t> Pending::ArchivedOf(const RecordBatch& batch,
                                                   std::span<const std::uint32_t> records) {
  const auto is_archived = [&](std::uint32_t at) { return HasMark(batch, at, kArchive); };
  ZERVANE_ASSERT(archived_.size() + records.size() <= archived_.capacity());
  const std::size_t begin = archived_.size();
  std::ranges::copy_if(records, std::back_inserter(archived_), is_archived);
  return std::span<const std::uint32_t>(archived_).subspan(begin);
}

// What is held back is done with once a record of its time or newer is archived.
void Pending::PlanHeld(const RecordBatch& batch, const TagGroups::Group& group,
                       Delivery* delivery) {
  delivery->held_ms = delivery->place->held_ms;
  const auto change = [&](std::optional<Sample> sample) {
    if (delivery->held == nullptr) delivery->held = std::make_unique<HeldChange>();
    delivery->held_ms = sample ? sample->time_ms : kNoTime;
    delivery->held->sample = std::move(sample);
  };
  for (const std::uint32_t at : group.records) {
    const bool ends = HasMark(batch, at, kArchive) && delivery->held_ms != kNoTime &&
                      delivery->held_ms <= batch.samples.times()[at];
    if (ends) change(std::nullopt);
    if (HasMark(batch, at, kHeld)) change(batch.samples.At(at));
  }
}

// ---- generations ----

std::size_t Pending::Freeze() {
  const WriteLock lock(mutex_);
  SortUnderLock();
  ZERVANE_ASSERT(frozen_.empty());
  frozen_.swap(active_);
  for (const auto& [id, tag] : frozen_) {
    Place& place = *places_.Find(id);
    ZERVANE_ASSERT(place.is_known && (place.active == nullptr || place.active == &tag));
    place.active = nullptr;
    place.usual = static_cast<std::uint32_t>(tag.archive.CountInOrder());
  }
  return frozen_.size();
}

void Pending::DropFrozen() noexcept {
  PendingTags dropped;  // freed after the lock
  const WriteLock lock(mutex_);
  frozen_.swap(dropped);
}

bool Pending::IsToBeWritten(TagId id) {
  const ReadLock lock(mutex_);
  return FindFrozen(id) != nullptr;
}

// ---- reading ----

void Pending::LockSorted() {
  for (;;) {
    mutex_.LockShared();
    if (IsSorted()) return;
    mutex_.UnlockShared();
    Sort();
  }
}

const PendingTag* Pending::FindActive(TagId id) {
  const Place* const place = places_.Find(id);
  return place == nullptr ? nullptr : place->active;
}

const PendingTag* Pending::FindFrozen(TagId id) {
  const auto tag = frozen_.find(id);
  return tag == frozen_.end() || tag->second.is_emptied ? nullptr : &tag->second;
}

SampleColumns Pending::Copy(TagId id, TimeRange range, Direction direction, std::size_t limit) {
  const SortedLock lock(*this);
  const PendingTag* const active = FindActive(id);
  const PendingTag* const frozen = FindFrozen(id);
  SampleColumns newer;
  if (active != nullptr) newer = active->archive.Copy(range, direction, limit);
  if (frozen == nullptr) return newer;
  SampleColumns older = frozen->archive.Copy(range, direction, limit);
  if (newer.empty()) return older;
  SampleColumns merged;
  Merge(AllOf(newer), AllOf(older), &merged);
  return FirstOf(std::move(merged), direction, limit);
}

// Of many tags those that are here, of few each, in order.
std::vector<TagId> Pending::TagsBetween(TagId first, TagId last) {
  std::vector<TagId> tags;
  if (last - first < active_.size() + frozen_.size()) {
    for (std::uint64_t id = first; id <= last; ++id) tags.push_back(static_cast<TagId>(id));
    return tags;
  }
  for (const PendingTags* const generation : {&active_, &frozen_}) {
    for (const auto& [id, tag] : *generation) {
      if (id >= first && id <= last) tags.push_back(id);
    }
  }
  std::ranges::sort(tags);
  tags.erase(std::unique(tags.begin(), tags.end()), tags.end());
  return tags;
}

SampleBatch Pending::CurrentValues(TagId first, TagId last) {
  SampleBatch values;
  if (first > last) return values;
  const SortedLock lock(*this);
  for (const TagId id : TagsBetween(first, last)) {
    for (const PendingTag* const tag : {FindActive(id), FindFrozen(id)}) {
      if (tag == nullptr || !tag->current) continue;
      values.Add(id, *tag->current);
      break;
    }
  }
  return values;
}

bool Pending::HoldsBack(TagId id) {
  const SortedLock lock(*this);
  const Place* const place = places_.Find(id);
  return place != nullptr && place->held_ms != kNoTime;
}

std::optional<HeldChange> Pending::Held(TagId id) {
  const SortedLock lock(*this);
  for (const PendingTag* const tag : {FindActive(id), FindFrozen(id)}) {
    if (tag != nullptr && tag->held != nullptr) return *tag->held;
  }
  return std::nullopt;
}

}  // namespace zervane::storage
