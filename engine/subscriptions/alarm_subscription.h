#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "api/words/alarm.h"
#include "api/words/status.h"
#include "engine/feed/feed_consumer.h"
#include "engine/mutex.h"
#include "engine/write/write_path.h"

namespace zervane {

// Whether one session follows alarms, and the transitions that wait for it, oldest first. Every
// alarm record that is put is one, in the order of the puts. Past the bound the oldest goes.
//
// Threads: any.
class AlarmSubscription {
 public:
  static constexpr std::size_t kMaxWaiting = 65'536;

  // The path outlives it.
  explicit AlarmSubscription(WritePath& writes, std::size_t max_waiting = kMaxWaiting)
      : writes_(writes), max_waiting_(max_waiting) {}

  // From its turn on, transitions are followed; more often than once changes nothing. The statuses
  // of a change, or ZR3_ERR_OUT_OF_MEMORY when too many sessions follow the database.
  Status Register() EXCLUDES(mutex_);

  // At most `max` transitions. When it throws, the next poll has them.
  std::vector<AlarmRecord> Poll(std::size_t max) EXCLUDES(mutex_);

 private:
  // For the plan.
  Status Follow() EXCLUDES(mutex_);
  void Drain() REQUIRES(mutex_);
  void AddOpen() REQUIRES(mutex_);

  WritePath& writes_;
  const std::size_t max_waiting_;

  Mutex mutex_;                                                // under it the consumer's
  std::unique_ptr<FeedConsumer> consumer_ GUARDED_BY(mutex_);  // none before it is registered
  std::deque<AlarmRecord> waiting_ GUARDED_BY(mutex_);
  std::uint64_t gone_ GUARDED_BY(mutex_) = 0;
  // The group whose rows are being looked at, and how far: what needs memory may stop in its midst.
  CommittedGroupPtr open_ GUARDED_BY(mutex_);
  std::size_t open_at_ GUARDED_BY(mutex_) = 0;
};

}  // namespace zervane
