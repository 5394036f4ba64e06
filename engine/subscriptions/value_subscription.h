#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <unordered_map>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "engine/catalogue/tag_index.h"
#include "engine/feed/feed_consumer.h"
#include "engine/mutex.h"
#include "engine/subscriptions/registration.h"
#include "engine/subscriptions/waiting_changes.h"
#include "engine/write/write_path.h"

namespace zervane {

// What one session has registered of values, and the changes that wait for it.
//
// It looks at what was committed when it is asked, and registering takes its turn among the
// commits: what was registered when a change was committed decides whether it is delivered.
//
// Threads: any.
class ValueSubscription {
 public:
  struct Limits {
    std::size_t ring_changes = 1'048'576;  // of the consumer
    std::size_t waiting_changes = 65'536;
  };

  // The index and the path outlive it.
  ValueSubscription(const TagIndex& tags, WritePath& writes)
      : ValueSubscription(tags, writes, {}) {}
  ValueSubscription(const TagIndex& tags, WritePath& writes, const Limits& limits)
      : tags_(tags), writes_(writes), limits_(limits), waiting_(limits.waiting_changes) {}

  // Registers all of them, or none: ZR3_ERR_TAG_NOT_FOUND, the statuses of a change, or
  // ZR3_ERR_OUT_OF_MEMORY when too many sessions follow the database.
  Status Register(std::span<const Wish> wishes) EXCLUDES(mutex_);
  // Takes back what is registered of them. What was committed before is still delivered.
  void Unregister(std::span<const Wish> wishes) EXCLUDES(mutex_);

  // The changes since the last poll. When it fails or throws, the next one has them.
  Result<SampleBatch> Poll() EXCLUDES(mutex_);

 private:
  // For plans, with the turn: nothing is committed meanwhile.
  Status Prepare(std::span<const Wish> wishes) EXCLUDES(mutex_);
  Status Watch(std::span<const Wish> wishes) REQUIRES(mutex_);
  Status CatchUpInTurn() EXCLUDES(mutex_);

  // Learns of what a gap has hidden, in its turn.
  Status CatchUp() EXCLUDES(mutex_);
  void AddNewest() REQUIRES(mutex_);

  // Looks at what was committed, a group at a time, so that nobody waits long for the mutex; or at
  // all of it.
  void Drain() EXCLUDES(mutex_);
  void DrainAll() REQUIRES(mutex_);
  // Looks at the next group, whose size it answers; 0 when there is none.
  std::size_t DrainNext() REQUIRES(mutex_);
  void Follow(const CommittedGroup& group) REQUIRES(mutex_);
  void FollowRecord(const CommittedGroup& group, std::size_t at) REQUIRES(mutex_);
  void ForgetEmptied(TagId tag) REQUIRES(mutex_);
  // Removes the tags of which nothing is registered.
  void RemoveUnused() noexcept REQUIRES(mutex_);

  const TagIndex& tags_;
  WritePath& writes_;
  const Limits limits_;

  Mutex mutex_;  // under it the consumer's; never held while the write queue is waited for
  std::unique_ptr<FeedConsumer> consumer_ GUARDED_BY(mutex_);  // none before the first registration
  std::unordered_map<TagId, Registration> registrations_ GUARDED_BY(mutex_);
  WaitingChanges waiting_ GUARDED_BY(mutex_);
  // The group that is being looked at, and how far: what needs memory may stop in its midst.
  CommittedGroupPtr open_ GUARDED_BY(mutex_);
  std::size_t open_at_ GUARDED_BY(mutex_) = 0;
  bool is_behind_ GUARDED_BY(mutex_) = false;  // there was a gap
};

}  // namespace zervane
