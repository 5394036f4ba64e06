#include "engine/subscription_family.h"

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace zervane {
namespace {

std::vector<Wish> WishesOf(const std::vector<TagId>& ids) {
  std::vector<Wish> wishes;
  wishes.reserve(ids.size());
  for (const TagId id : ids) wishes.push_back({.tag = id, .interest = kOfIdentifier});
  return wishes;
}

// What a field is registered as; 0 when there is no such field.
Interests InterestIn(std::uint32_t field) {
  static constexpr std::array<Interests, kLastTagField + 1> kInterests = {kOfAnyField, kOfValue,
                                                                          kOfQuality};
  return field <= kLastTagField ? kInterests[field] : Interests{0};
}

std::vector<Wish> WishesOf(const std::vector<TagField>& fields) {
  std::vector<Wish> wishes;
  wishes.reserve(fields.size());
  for (const auto& [tag, field] : fields) {
    wishes.push_back({.tag = tag, .interest = InterestIn(field)});
  }
  return wishes;
}

Result<Nothing> Answer(Status status) {
  if (!status.ok()) return status;
  return Nothing{};
}

}  // namespace

Result<Nothing> SubscriptionFamily::Handle(const Caller& caller, const SubscribeTags& operation) {
  return Answer(subscriptions_.Register(Follower::Of(caller), WishesOf(operation.ids)));
}

Result<Nothing> SubscriptionFamily::Handle(const Caller& caller, const UnsubscribeTags& operation) {
  return Answer(subscriptions_.Unregister(Follower::Of(caller), WishesOf(operation.ids)));
}

Result<Nothing> SubscriptionFamily::Handle(const Caller& caller, const SubscribeFields& operation) {
  for (const auto& [tag, field] : operation.fields) {
    if (InterestIn(field) == 0) {
      return Status(ZR3_ERR_INVALID_ARGUMENT,
                    "field " + std::to_string(field) + " of tag " + std::to_string(tag));
    }
  }
  return Answer(subscriptions_.Register(Follower::Of(caller), WishesOf(operation.fields)));
}

// A field that is none is one of which nothing is registered.
Result<Nothing> SubscriptionFamily::Handle(const Caller& caller,
                                           const UnsubscribeFields& operation) {
  return Answer(subscriptions_.Unregister(Follower::Of(caller), WishesOf(operation.fields)));
}

Result<PollChanges::Reply> SubscriptionFamily::Handle(const Caller& caller, const PollChanges&) {
  return subscriptions_.Poll(Follower::Of(caller));
}

Result<Nothing> SubscriptionFamily::Handle(const Caller& caller, const SubscribeAlarms&) {
  return Answer(subscriptions_.RegisterAlarms(Follower::Of(caller)));
}

Result<PollAlarms::Reply> SubscriptionFamily::Handle(const Caller& caller, const PollAlarms&) {
  return subscriptions_.PollAlarms(Follower::Of(caller), kMaxPolledAlarms);
}

}  // namespace zervane
