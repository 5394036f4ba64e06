#pragma once

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

// What sessions follow, by session.
//
//   Subscriptions subscriptions(tags, writes);
//   status = subscriptions.Register(caller.session, wishes);
//   changes = subscriptions.Poll(caller.session);
//
// Threads: any.
class Subscriptions {
 public:
  // Sessions that may have registered something. Each has up to two consumers of the feed, which
  // are fewer; it is the bound for those who never get one.
  static constexpr std::size_t kMaxSessions = 1'024;
  // Of a call, however often it names a tag.
  static constexpr std::size_t kMaxWishes = std::size_t{1} << 22;

  // The index and the path outlive it.
  Subscriptions(const TagIndex& tags, WritePath& writes) : tags_(tags), writes_(writes) {}

  // As ValueSubscription's. ZR3_ERR_INVALID_COUNT for more than kMaxWishes, ZR3_ERR_OUT_OF_MEMORY
  // for a session too many.
  Status Register(SessionId session, std::span<const Wish> wishes) EXCLUDES(mutex_);
  Status Unregister(SessionId session, std::span<const Wish> wishes) EXCLUDES(mutex_);
  Result<SampleBatch> Poll(SessionId session) EXCLUDES(mutex_);

  // As AlarmSubscription's.
  Status RegisterAlarms(SessionId session) EXCLUDES(mutex_);
  std::vector<AlarmRecord> PollAlarms(SessionId session, std::size_t max) EXCLUDES(mutex_);

  // Ends what the session has registered, and drops what waits for it.
  void EndSession(SessionId session) EXCLUDES(mutex_);

 private:
  struct Subscription {
    Subscription(const TagIndex& tags, WritePath& writes) : values(tags, writes), alarms(writes) {}

    ValueSubscription values;
    AlarmSubscription alarms;
  };
  using SubscriptionPtr = std::shared_ptr<Subscription>;

  // The session's, which is made when there is none; null when there are too many.
  SubscriptionPtr FindOrAdd(SessionId session) EXCLUDES(mutex_);
  // Null when the session has registered nothing.
  SubscriptionPtr Find(SessionId session) EXCLUDES(mutex_);

  const TagIndex& tags_;
  WritePath& writes_;

  Mutex mutex_;  // no other is taken under it
  std::map<SessionId, SubscriptionPtr> sessions_ GUARDED_BY(mutex_);
};

}  // namespace zervane
