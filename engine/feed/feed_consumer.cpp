#include "engine/feed/feed_consumer.h"

#include <algorithm>
#include <utility>

#include "engine/assert.h"
#include "engine/feed/commit_feed.h"

namespace zervane {

FeedConsumer::~FeedConsumer() { feed_.Remove(*this); }

void FeedConsumer::WatchTag(TagId tag, bool watches) {
  const MutexLock lock(mutex_);
  if (watches) {
    tags_.At(tag) = true;
  } else if (bool* place = tags_.Find(tag)) {
    *place = false;
  }
}

void FeedConsumer::WatchAllTags(bool watches) {
  const MutexLock lock(mutex_);
  watches_all_tags_ = watches;
}

void FeedConsumer::WatchTable(TableId table, bool watches) {
  const MutexLock lock(mutex_);
  tables_.set(static_cast<std::size_t>(table), watches);
}

std::optional<FeedConsumer::Delivery> FeedConsumer::Poll() {
  const MutexLock lock(mutex_);
  return Next();
}

std::optional<FeedConsumer::Delivery> FeedConsumer::Await() {
  const MutexLock lock(mutex_);
  for (;;) {
    if (std::optional<Delivery> next = Next()) return next;
    if (is_closed_) return std::nullopt;
    has_come_.Wait(mutex_);
  }
}

void FeedConsumer::Close() noexcept {
  const MutexLock lock(mutex_);
  is_closed_ = true;
  has_come_.NotifyAll();
}

std::optional<FeedConsumer::Delivery> FeedConsumer::Next() {
  if (!waiting_.empty()) {
    Delivery delivery = {.group = std::move(waiting_.front())};
    waiting_.pop_front();
    waiting_changes_ -= delivery.group->size();
    return delivery;
  }
  if (!gap_from_) return std::nullopt;
  return Delivery{.group = nullptr, .gap_from = *std::exchange(gap_from_, std::nullopt)};
}

void FeedConsumer::Offer(const CommittedGroupPtr& group) noexcept {
  const MutexLock lock(mutex_);
  if (is_closed_ || gap_from_ || !Wants(*group)) return;
  if (waiting_changes_ >= max_changes_) return BeginGap(group->commit);
  ZERVANE_ASSERT(waiting_.empty() || waiting_.back()->commit < group->commit);
  try {
    waiting_.push_back(group);
  } catch (...) {
    return BeginGap(group->commit);  // want of memory loses what is heard of, not what is stored
  }
  waiting_changes_ += group->size();
  has_come_.NotifyOne();
}

void FeedConsumer::OfferGap(std::int64_t commit) noexcept {
  const MutexLock lock(mutex_);
  if (!is_closed_ && !gap_from_) BeginGap(commit);
}

void FeedConsumer::BeginGap(std::int64_t commit) noexcept {
  gap_from_ = commit;
  has_come_.NotifyOne();
}

bool FeedConsumer::Wants(const CommittedGroup& group) const {
  const bool wants_rows =
      std::any_of(group.rows.begin(), group.rows.end(), [this](const RowChange& change) {
        mutex_.AssertHeld();
        return tables_.test(static_cast<std::size_t>(change.table));
      });
  return wants_rows || WatchesAny(group.tags) || WatchesAny(group.emptied);
}

bool FeedConsumer::WatchesAny(const std::vector<TagId>& tags) const {
  if (watches_all_tags_) return !tags.empty();
  return std::any_of(tags.begin(), tags.end(), [this](TagId tag) {
    mutex_.AssertHeld();
    const bool* place = tags_.Find(tag);
    return place != nullptr && *place;
  });
}

}  // namespace zervane
