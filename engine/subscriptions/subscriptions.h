#pragma once

#include <compare>
#include <cstddef>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "api/caller.h"
#include "api/words/alarm.h"
#include "api/words/samples.h"
#include "api/words/status.h"
#include "engine/mutex.h"
#include "engine/subscriptions/alarm_subscription.h"
#include "engine/subscriptions/value_subscription.h"

namespace zervane {

// Whose a subscription is. Of a session that another user has taken over, what the user before
// registered meanwhile is not the new one's.
struct Follower {
  static Follower Of(const Caller& caller) {
    return {.session = caller.session, .user = caller.user_id};
  }
  friend auto operator<=>(const Follower&, const Follower&) = default;

  SessionId session = 0;
  UserId user = 0;
};

// What users of sessions follow.
//
//   Subscriptions subscriptions(tags, writes);
//   status = subscriptions.Register(Follower::Of(caller), wishes);
//   changes = subscriptions.Poll(Follower::Of(caller));
//
// Threads: any.
class Subscriptions {
 public:
  // Followers that may have registered something. Each has up to two consumers of the feed, which
  // are fewer; it is the bound for those who never get one.
  static constexpr std::size_t kMaxFollowers = 1'024;
  // Of a call, however often it names a tag.
  static constexpr std::size_t kMaxWishes = std::size_t{1} << 22;

  // The index and the path outlive it.
  Subscriptions(const TagIndex& tags, WritePath& writes) : tags_(tags), writes_(writes) {}

  // As ValueSubscription's. ZR3_ERR_INVALID_COUNT for more than kMaxWishes, ZR3_ERR_OUT_OF_MEMORY
  // for a follower too many.
  Status Register(Follower follower, std::span<const Wish> wishes) EXCLUDES(mutex_);
  Status Unregister(Follower follower, std::span<const Wish> wishes) EXCLUDES(mutex_);
  Result<SampleBatch> Poll(Follower follower) EXCLUDES(mutex_);

  // As AlarmSubscription's.
  Status RegisterAlarms(Follower follower) EXCLUDES(mutex_);
  std::vector<AlarmRecord> PollAlarms(Follower follower, std::size_t max) EXCLUDES(mutex_);

  // Ends what was registered in the session, and drops what waits there.
  void EndSession(SessionId session) EXCLUDES(mutex_);

 private:
  struct Subscription {
    Subscription(const TagIndex& tags, WritePath& writes) : values(tags, writes), alarms(writes) {}

    ValueSubscription values;
    AlarmSubscription alarms;
  };
  using SubscriptionPtr = std::shared_ptr<Subscription>;

  // The follower's, which is made when there is none; null when there are too many.
  SubscriptionPtr FindOrAdd(Follower follower) EXCLUDES(mutex_);
  // Null when the follower has registered nothing.
  SubscriptionPtr Find(Follower follower) EXCLUDES(mutex_);

  const TagIndex& tags_;
  WritePath& writes_;

  Mutex mutex_;  // no other is taken under it
  std::map<Follower, SubscriptionPtr> followers_ GUARDED_BY(mutex_);
};

}  // namespace zervane
