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

Status Subscriptions::Register(SessionId session, std::span<const Wish> wishes) {
  if (Status status = CheckCount(wishes); !status.ok()) return status;
  if (wishes.empty()) return {};
  const SubscriptionPtr subscription = FindOrAdd(session);
  return subscription == nullptr ? TooManySessions() : subscription->values.Register(wishes);
}

Status Subscriptions::Unregister(SessionId session, std::span<const Wish> wishes) {
  if (Status status = CheckCount(wishes); !status.ok()) return status;
  if (const SubscriptionPtr subscription = Find(session)) subscription->values.Unregister(wishes);
  return {};
}

Result<SampleBatch> Subscriptions::Poll(SessionId session) {
  const SubscriptionPtr subscription = Find(session);
  if (subscription == nullptr) return SampleBatch();
  return subscription->values.Poll();
}

Status Subscriptions::RegisterAlarms(SessionId session) {
  const SubscriptionPtr subscription = FindOrAdd(session);
  return subscription == nullptr ? TooManySessions() : subscription->alarms.Register();
}

std::vector<AlarmRecord> Subscriptions::PollAlarms(SessionId session, std::size_t max) {
  const SubscriptionPtr subscription = Find(session);
  if (subscription == nullptr) return {};
  return subscription->alarms.Poll(max);
}

void Subscriptions::EndSession(SessionId session) {
  SubscriptionPtr ended;  // goes without the mutex, for the feed's is taken then
  const MutexLock lock(mutex_);
  const auto place = sessions_.find(session);
  if (place == sessions_.end()) return;
  ended = std::move(place->second);
  sessions_.erase(place);
}

Subscriptions::SubscriptionPtr Subscriptions::FindOrAdd(SessionId session) {
  const MutexLock lock(mutex_);
  if (const auto place = sessions_.find(session); place != sessions_.end()) return place->second;
  if (sessions_.size() >= kMaxSessions) return nullptr;
  return sessions_.emplace(session, std::make_shared<Subscription>(tags_, writes_)).first->second;
}

Subscriptions::SubscriptionPtr Subscriptions::Find(SessionId session) {
  const MutexLock lock(mutex_);
  const auto place = sessions_.find(session);
  return place == sessions_.end() ? nullptr : place->second;
}

}  // namespace zervane
