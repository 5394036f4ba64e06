#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "api/words/status.h"
#include "engine/feed/committed_group.h"
#include "engine/feed/feed_consumer.h"
#include "engine/mutex.h"

namespace zervane {

// Tells consumers what was committed, after it is stored and readable. Without a consumer it costs
// the one who commits a test.
//
//   std::shared_ptr<CommittedGroup> news;
//   if (feed.IsHeard()) news = ...;  // before the store is asked, which may take the records
//   ... the store keeps it ...
//   feed.Publish(commit, news);
//
// It outlives its consumers. Threads: any may register and look; Publish is called by one at a
// time, with commit numbers that ascend.
class CommitFeed {
 public:
  static constexpr std::size_t kMaxConsumers = 64;

  CommitFeed() = default;
  ~CommitFeed();
  CommitFeed(const CommitFeed&) = delete;
  CommitFeed& operator=(const CommitFeed&) = delete;

  // A consumer whose ring is full with so many changes. ZR3_ERR_OUT_OF_MEMORY when there are as
  // many consumers as there may be, ZR3_ERR_NOT_CONNECTED after Close.
  Result<std::unique_ptr<FeedConsumer>> Register(
      std::size_t max_changes, FeedConsumer::WhenFull when_full = FeedConsumer::WhenFull::kGap)
      EXCLUDES(mutex_);

  bool HasConsumers() const { return count_.load(std::memory_order_acquire) > 0; }

  // Whether anybody would take a group. Consumers whose rings are full do not, until they have
  // heard of their gap: so one who never polls costs a commit no more than this.
  bool IsHeard() const EXCLUDES(mutex_);

  // Hands the group of that commit to those who want it. Null: it could not be made, or nobody was
  // there when it had to be; whoever is there now misses it, and is told so.
  void Publish(std::int64_t commit, const CommittedGroupPtr& group) noexcept EXCLUDES(mutex_);

  // Closes all consumers.
  void Close() noexcept EXCLUDES(mutex_);

 private:
  friend class FeedConsumer;
  void Remove(FeedConsumer& consumer) noexcept EXCLUDES(mutex_);

  std::atomic<std::size_t> count_ = 0;
  mutable Mutex mutex_;  // a consumer's own is taken under it
  std::vector<FeedConsumer*> consumers_ GUARDED_BY(mutex_);
  bool is_closed_ GUARDED_BY(mutex_) = false;
};

}  // namespace zervane
