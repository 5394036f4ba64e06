#include "engine/subscriptions/value_subscription.h"

#include <algorithm>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "engine/assert.h"
#include "engine/log.h"

namespace zervane {

Status ValueSubscription::Register(std::span<const Wish> wishes) {
  if (wishes.empty()) return {};
  Drain();  // so that little of it is left for the turn
  return writes_.Change([&](Turn&, StoreBatch&) { return Prepare(wishes); }, [](Turn&) {});
}

// Nothing that follows a plan without changes can fail, so the registrations stand at once.
Status ValueSubscription::Prepare(std::span<const Wish> wishes) {
  const MutexLock lock(mutex_);
  for (const Wish& wish : wishes) {
    if (!tags_.Find(wish.tag)) {
      return {ZR3_ERR_TAG_NOT_FOUND, "a subscription to tag " + std::to_string(wish.tag)};
    }
  }
  if (consumer_ == nullptr) {
    Result<std::unique_ptr<FeedConsumer>> consumer = writes_.feed().Register(limits_.ring_changes);
    if (!consumer.ok()) return consumer.status();
    consumer_ = *std::move(consumer);
  }
  DrainAll();
  try {
    return Watch(wishes);
  } catch (...) {
    RemoveUnused();
    throw;
  }
}

Status ValueSubscription::Watch(std::span<const Wish> wishes) {
  for (const Wish& wish : wishes) {
    const auto [place, is_new] = registrations_.try_emplace(wish.tag);
    if (!is_new) continue;
    place->second.newest = writes_.current_values().Find(wish.tag);
    consumer_->WatchTag(wish.tag, true);
  }
  for (const Wish& wish : wishes) registrations_.find(wish.tag)->second.interests |= wish.interest;
  return {};
}

void ValueSubscription::Unregister(std::span<const Wish> wishes) {
  Drain();
  const MutexLock lock(mutex_);
  if (consumer_ == nullptr) return;
  DrainAll();
  for (const Wish& wish : wishes) {
    const auto place = registrations_.find(wish.tag);
    if (place == registrations_.end()) continue;
    place->second.interests &= static_cast<Interests>(~wish.interest);
    if (place->second.interests != 0) continue;
    consumer_->WatchTag(wish.tag, false);
    registrations_.erase(place);
  }
}

Result<SampleBatch> ValueSubscription::Poll() {
  Drain();
  if (Status status = CatchUp(); !status.ok()) return status;
  const MutexLock lock(mutex_);
  SampleBatch changes = waiting_.PopAll();
  if (const std::uint64_t gone = waiting_.CountGone(); gone > 0) {
    LogWarning("a session polls too seldom: {} changes of tags that have newer ones went", gone);
  }
  return changes;
}

Status ValueSubscription::CatchUp() {
  {
    const MutexLock lock(mutex_);
    if (!is_behind_) return {};
  }
  Status status = writes_.Change([&](Turn&, StoreBatch&) { return CatchUpInTurn(); }, [](Turn&) {});
  // Of a store that takes nothing any more the values stay as they are, without a turn, too.
  return status.code() == ZR3_ERR_STORAGE_FAILED ? CatchUpInTurn() : status;
}

Status ValueSubscription::CatchUpInTurn() {
  const MutexLock lock(mutex_);
  DrainAll();
  if (!is_behind_) return {};  // somebody else was quicker
  AddNewest();
  is_behind_ = false;
  return {};
}

// In order of their times, which is all that is known of when they were committed. What was seen
// last, before the gap or behind it, is not delivered again.
void ValueSubscription::AddNewest() {
  std::vector<std::tuple<std::int64_t, TagId, Sample>> missed;
  for (auto& [tag, registration] : registrations_) {
    std::optional<Sample> current = writes_.current_values().Find(tag);
    if (!current) registration.newest.reset();
    if (!current) continue;
    if (registration.newest && IsSameSample(*registration.newest, *current)) continue;
    missed.emplace_back(current->time_ms, tag, *std::move(current));
  }
  std::sort(missed.begin(), missed.end(), [](const auto& a, const auto& b) {
    return std::tie(std::get<0>(a), std::get<1>(a)) < std::tie(std::get<0>(b), std::get<1>(b));
  });
  for (auto& [time_ms, tag, sample] : missed) {
    Registration& registration = registrations_.find(tag)->second;
    if (IsWanted(registration, sample)) waiting_.Add(tag, sample);
    registration.newest = std::move(sample);
  }
  std::erase_if(registrations_, [this](const auto& entry) {
    mutex_.AssertHeld();
    if (tags_.Find(entry.first)) return false;
    consumer_->WatchTag(entry.first, false);
    return true;
  });
}

void ValueSubscription::Drain() {
  // All that waits now, but not for ever, where records come in as fast as they are looked at.
  for (std::size_t seen = 0; seen <= 4 * limits_.ring_changes;) {
    const MutexLock lock(mutex_);
    const std::size_t next = consumer_ == nullptr ? 0 : DrainNext();
    if (next == 0) return;
    seen += next;
  }
}

void ValueSubscription::DrainAll() {
  while (DrainNext() > 0) {
  }
}

std::size_t ValueSubscription::DrainNext() {
  if (open_ == nullptr) {
    std::optional<FeedConsumer::Delivery> delivery = consumer_->Poll();
    if (!delivery) return 0;
    if (delivery->is_gap()) {
      is_behind_ = true;
      LogWarning("a session polls too seldom: from commit {} on it hears of newest values alone",
                 delivery->gap_from);
      return 1;
    }
    open_ = std::move(delivery->group);
    open_at_ = 0;
  }
  const std::size_t size = open_->size();
  Follow(*open_);
  open_.reset();
  return size;
}

void ValueSubscription::Follow(const CommittedGroup& group) {
  for (; open_at_ < group.tags.size(); ++open_at_) {
    if (group.was_newest[open_at_] != 0) FollowRecord(group, open_at_);
  }
  for (const TagId tag : group.emptied) ForgetEmptied(tag);
}

void ValueSubscription::FollowRecord(const CommittedGroup& group, std::size_t at) {
  const auto place = registrations_.find(group.tags[at]);
  if (place == registrations_.end()) return;
  Registration& registration = place->second;
  Sample next = group.samples.At(at);
  if (IsWanted(registration, next)) waiting_.Add(group.tags[at], group.samples, at);
  registration.newest = std::move(next);
}

void ValueSubscription::ForgetEmptied(TagId tag) {
  const auto place = registrations_.find(tag);
  if (place == registrations_.end()) return;
  if (tags_.Find(tag)) {
    place->second.newest.reset();
    return;
  }
  consumer_->WatchTag(tag, false);
  registrations_.erase(place);
}

void ValueSubscription::RemoveUnused() noexcept {
  std::erase_if(registrations_, [this](const auto& entry) {
    mutex_.AssertHeld();
    if (entry.second.interests != 0) return false;
    consumer_->WatchTag(entry.first, false);
    return true;
  });
}

}  // namespace zervane
