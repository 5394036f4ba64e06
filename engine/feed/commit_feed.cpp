#include "engine/feed/commit_feed.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <utility>

#include "engine/assert.h"

namespace zervane {

CommitFeed::~CommitFeed() { ZERVANE_ASSERT(!HasConsumers()); }

Result<std::unique_ptr<FeedConsumer>> CommitFeed::Register(std::size_t max_changes,
                                                           FeedConsumer::WhenFull when_full) {
  std::unique_ptr<FeedConsumer> consumer;
  const MutexLock lock(mutex_);
  if (is_closed_) return Status(ZR3_ERR_NOT_CONNECTED, "the database is closed");
  if (consumers_.size() >= kMaxConsumers) {
    return Status(ZR3_ERR_OUT_OF_MEMORY, fmt::format("{} consumers of commits", kMaxConsumers));
  }
  consumers_.reserve(kMaxConsumers);
  consumer.reset(new FeedConsumer(*this, max_changes, when_full));
  consumers_.push_back(consumer.get());
  count_.store(consumers_.size(), std::memory_order_release);
  return consumer;
}

bool CommitFeed::IsHeard() const {
  if (!HasConsumers()) return false;
  const MutexLock lock(mutex_);
  return std::any_of(consumers_.begin(), consumers_.end(),
                     [](const FeedConsumer* consumer) { return consumer->Listens(); });
}

void CommitFeed::Publish(std::int64_t commit, const CommittedGroupPtr& group) noexcept {
  if (!HasConsumers()) return;
  ZERVANE_ASSERT(group == nullptr || group->commit == commit);
  const MutexLock lock(mutex_);
  for (FeedConsumer* consumer : consumers_) {
    if (group == nullptr) {
      consumer->OfferGap(commit);
    } else {
      consumer->Offer(group);
    }
  }
}

void CommitFeed::Close() noexcept {
  const MutexLock lock(mutex_);
  is_closed_ = true;
  for (FeedConsumer* consumer : consumers_) consumer->Close();
}

void CommitFeed::Remove(FeedConsumer& consumer) noexcept {
  const MutexLock lock(mutex_);
  std::erase(consumers_, &consumer);
  count_.store(consumers_.size(), std::memory_order_release);
}

}  // namespace zervane
