#include "engine/subscriptions/subscriptions.h"

#include <string>
#include <utility>

namespace zervane {
namespace {

Status CheckCount(std::span<const Wish> wishes) {
  if (wishes.size() <= Subscriptions::kMaxWishes) return {};
  return {ZR3_ERR_INVALID_COUNT, std::to_string(wishes.size()) + " tags of a subscription"};
}

Status TooManySessions() { return {ZR3_ERR_OUT_OF_MEMORY, "too many sessions have subscriptions"}; }

}  // namespace

Status Subscriptions::Register(Follower follower, std::span<const Wish> wishes) {
  if (Status status = CheckCount(wishes); !status.ok()) return status;
  if (wishes.empty()) return {};
  const SubscriptionPtr subscription = FindOrAdd(follower);
  return subscription == nullptr ? TooManySessions() : subscription->values.Register(wishes);
}

Status Subscriptions::Unregister(Follower follower, std::span<const Wish> wishes) {
  if (Status status = CheckCount(wishes); !status.ok()) return status;
  if (const SubscriptionPtr subscription = Find(follower)) subscription->values.Unregister(wishes);
  return {};
}

Result<SampleBatch> Subscriptions::Poll(Follower follower) {
  const SubscriptionPtr subscription = Find(follower);
  if (subscription == nullptr) return SampleBatch();
  return subscription->values.Poll();
}

Status Subscriptions::RegisterAlarms(Follower follower) {
  const SubscriptionPtr subscription = FindOrAdd(follower);
  return subscription == nullptr ? TooManySessions() : subscription->alarms.Register();
}

std::vector<AlarmRecord> Subscriptions::PollAlarms(Follower follower, std::size_t max) {
  const SubscriptionPtr subscription = Find(follower);
  if (subscription == nullptr) return {};
  return subscription->alarms.Poll(max);
}

void Subscriptions::EndSession(SessionId session) {
  std::map<Follower, SubscriptionPtr> ended;  // go without the mutex, for the feed's is taken then
  const MutexLock lock(mutex_);
  auto place = followers_.lower_bound({.session = session, .user = 0});
  while (place != followers_.end() && place->first.session == session) {
    ended.insert(followers_.extract(place++));
  }
}

Subscriptions::SubscriptionPtr Subscriptions::FindOrAdd(Follower follower) {
  const MutexLock lock(mutex_);
  if (const auto place = followers_.find(follower); place != followers_.end()) return place->second;
  if (followers_.size() >= kMaxFollowers) return nullptr;
  return followers_.emplace(follower, std::make_shared<Subscription>(tags_, writes_)).first->second;
}

Subscriptions::SubscriptionPtr Subscriptions::Find(Follower follower) {
  const MutexLock lock(mutex_);
  const auto place = followers_.find(follower);
  return place == followers_.end() ? nullptr : place->second;
}

}  // namespace zervane
