#include "engine/storage/sqlite/pending.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "engine/assert.h"

namespace zervane::storage {
namespace {

// How many sorted batches leave their memory to those to come. A batch of more than kSpareRecords
// is rare, and its memory is given back.
constexpr std::size_t kSpares = 4;
constexpr std::size_t kSpareRecords = 262'144;

// The records of a batch go to as many ends of series as there are tags: the memory of so many of
// them is on its way at a time.
constexpr std::size_t kPrefetched = 12;

const PendingTag* FindIn(const PendingTags& tags, TagId id) {
  const auto tag = tags.find(id);
  return tag == tags.end() ? nullptr : &tag->second;
}

}  // namespace

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
  const WriteLock lock(mutex_);
  ZERVANE_ASSERT(IsSorted());
  if (Place* place = places_.Find(id)) *place = {};
  held_ms_.erase(id);
  active_.erase(id);
  frozen_.erase(id);
}

void Pending::KnowHeld(TagId tag, std::int64_t time_ms) {
  const WriteLock lock(mutex_);
  held_ms_[tag] = time_ms;
}

// ---- taking ----

void Pending::Reserve() {
  const MutexLock lock(intake_mutex_);
  if (taken_.size() == taken_.capacity()) taken_.reserve(16 + 2 * taken_.size());
  spares_.reserve(kSpares);
}

std::size_t Pending::Take(std::vector<AcceptedSample>& batch) noexcept {
  const MutexLock lock(intake_mutex_);
  ZERVANE_ASSERT(taken_.size() < taken_.capacity());
  taken_records_ += batch.size();
  taken_.push_back(std::exchange(batch, {}));
  if (!spares_.empty()) {
    batch = std::move(spares_.back());
    spares_.pop_back();
  }
  return taken_records_;
}

void Pending::Sort() {
  const WriteLock lock(mutex_);
  SortUnderLock();
}

bool Pending::IsSorted() {
  const MutexLock lock(intake_mutex_);
  return sorting_.empty() && taken_.empty();
}

void Pending::SortUnderLock() {
  SortBatches();  // that could not be sorted before, for want of memory
  {
    const MutexLock lock(intake_mutex_);
    sorting_.reserve(taken_.capacity());  // it takes its place, with the room that was promised
    sorting_.swap(taken_);
    taken_records_ = 0;
  }
  SortBatches();
}

// A batch that cannot be sorted for want of memory stays, with those after it, for the next try.
void Pending::SortBatches() {
  for (std::vector<AcceptedSample>& batch : sorting_) {
    SortBatch(batch);
    KeepMemory(std::exchange(batch, {}));
  }
  sorting_.clear();
}

void Pending::KeepMemory(std::vector<AcceptedSample> batch) noexcept {
  batch.clear();
  if (batch.capacity() > kSpareRecords) return;
  const MutexLock lock(intake_mutex_);
  if (spares_.size() < spares_.capacity()) spares_.push_back(std::move(batch));
}

// What can fail comes first, so that a batch is sorted whole or not at all.
void Pending::SortBatch(std::span<const AcceptedSample> records) {
  try {
    ExpectBatch(records);
  } catch (...) {  // or the next try would expect the same records once more
    for (PendingTag* target : targets_) {
      if (target != nullptr) target->archive.ExpectNothing();
    }
    throw;
  }
  ZERVANE_ASSERT(targets_.size() == records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    const std::size_t ahead = std::min(i + kPrefetched, records.size() - 1);
    if (targets_[ahead] != nullptr) targets_[ahead]->archive.PrefetchEnd();
    if (targets_[i] != nullptr) Put(records[i], targets_[i]);
  }
}

// Finds the records' tags and makes room there for each.
void Pending::ExpectBatch(std::span<const AcceptedSample> records) {
  targets_.clear();
  targets_.reserve(records.size());
  PendingTag* tag = nullptr;
  TagId id = 0;  // of no tag
  for (const AcceptedSample& record : records) {
    if (record.tag != id) {
      id = record.tag;
      tag = Enter(id);
    }
    targets_.push_back(tag);
    if (tag == nullptr) continue;
    if (record.archive) tag->archive.Expect();
    if (record.held) held_ms_.try_emplace(id, kNoTime);
  }
}

// The tag in the active generation; null when it is not known.
PendingTag* Pending::Enter(TagId id) {
  Place* place = places_.Find(id);
  if (place == nullptr || !place->is_known) return nullptr;
  if (place->active == nullptr) {
    PendingTag& tag = active_[id];
    tag.archive.ReserveInOrder(place->usual);
    place->active = &tag;
  }
  ZERVANE_ASSERT(FindIn(active_, id) == place->active);
  return place->active;
}

void Pending::Put(const AcceptedSample& record, PendingTag* tag) noexcept {
  if (record.archive) {
    tag->archive.Put(record.sample);
    if (!held_ms_.empty()) EndHeld(record, tag);
  }
  if (record.current) tag->current = record.sample;
  if (record.held) {
    tag->held = {.is_changed = true, .sample = record.sample};
    const auto held = held_ms_.find(record.tag);
    ZERVANE_ASSERT(held != held_ms_.end());
    held->second = record.sample.time_ms;
  }
}

// What is held back is done with once a record of its time or newer is archived. Its entry stays:
// a later record of the batch may need it.
void Pending::EndHeld(const AcceptedSample& record, PendingTag* tag) noexcept {
  const auto held = held_ms_.find(record.tag);
  const bool is_done =
      held != held_ms_.end() && held->second != kNoTime && held->second <= record.sample.time_ms;
  if (!is_done) return;
  held->second = kNoTime;
  tag->held = {.is_changed = true, .sample = {}};
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
    place.usual = tag.archive.CountInOrder();
  }
  return frozen_.size();
}

void Pending::DropFrozen() noexcept {
  PendingTags dropped;  // freed after the lock
  const WriteLock lock(mutex_);
  frozen_.swap(dropped);
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

std::vector<Sample> Pending::Copy(TagId id, TimeRange range, Direction direction,
                                  std::size_t limit) {
  const SortedLock lock(*this);
  const PendingTag* active = FindIn(active_, id);
  const PendingTag* frozen = FindIn(frozen_, id);
  std::vector<Sample> newer;
  if (active != nullptr) newer = active->archive.Copy(range, direction, limit);
  if (frozen == nullptr) return newer;
  std::vector<Sample> older = frozen->archive.Copy(range, direction, limit);
  if (newer.empty()) return older;
  SeriesMerge merge(std::move(newer), direction, limit);
  merge.AddAll(std::make_move_iterator(older.begin()), std::make_move_iterator(older.end()));
  return merge.Finish();
}

std::vector<std::int64_t> Pending::Times(TagId id, TimeRange range) {
  std::vector<std::int64_t> times;
  const SortedLock lock(*this);
  for (const PendingTags* tags : {&frozen_, &active_}) {
    const PendingTag* tag = FindIn(*tags, id);
    if (tag == nullptr) continue;
    const std::vector<std::int64_t> more = tag->archive.Times(range);
    std::vector<std::int64_t> both;
    std::ranges::set_union(times, more, std::back_inserter(both));
    times = std::move(both);
  }
  return times;
}

std::vector<TagSample> Pending::CurrentValues() {
  std::unordered_map<TagId, const Sample*> newest;
  const SortedLock lock(*this);
  for (const PendingTags* tags : {&active_, &frozen_}) {
    for (const auto& [id, tag] : *tags) {
      if (tag.current) newest.emplace(id, &*tag.current);
    }
  }
  std::vector<TagSample> values;
  values.reserve(newest.size());
  for (const auto& [id, sample] : newest) values.push_back({id, *sample});
  return values;
}

HeldChange Pending::Held(TagId id) {
  const SortedLock lock(*this);
  for (const PendingTags* tags : {&active_, &frozen_}) {
    const PendingTag* tag = FindIn(*tags, id);
    if (tag != nullptr && tag->held.is_changed) return tag->held;
  }
  return {};
}

}  // namespace zervane::storage
