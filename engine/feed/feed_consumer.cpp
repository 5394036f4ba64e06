#include "engine/feed/feed_consumer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "engine/assert.h"
#include "engine/feed/commit_feed.h"

namespace zervane {

FeedConsumer::~FeedConsumer() { feed_.Remove(*this); }

void FeedConsumer::WatchTag(TagId tag, bool watches) {
  const MutexLock lock(mutex_);
  if (watches) {
    has_watched_tags_ = true;
    tags_.At(tag) = true;
  } else if (bool* place = tags_.Find(tag)) {
    *place = false;
  }
}

void FeedConsumer::WatchAllTags(bool watches) {
  const MutexLock lock(mutex_);
  watches_all_tags_ = watches;
  has_watched_tags_ = has_watched_tags_ || watches;
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

std::uint64_t FeedConsumer::CountGone() {
  const MutexLock lock(mutex_);
  return std::exchange(gone_, 0);
}

void FeedConsumer::Close() noexcept {
  const MutexLock lock(mutex_);
  is_closed_ = true;
  listens_ = false;
  has_come_.NotifyAll();
}

std::optional<FeedConsumer::Delivery> FeedConsumer::Next() {
  if (!waiting_.empty()) {
    Delivery delivery = {.group = std::move(waiting_.front())};
    waiting_.pop_front();
    waiting_changes_ -= delivery.group->size();
    waiting_text_bytes_ -= delivery.group->samples.texts().size();
    return delivery;
  }
  if (!gap_from_) return std::nullopt;
  listens_ = !is_closed_;
  return Delivery{.group = nullptr, .gap_from = *std::exchange(gap_from_, std::nullopt)};
}

void FeedConsumer::Offer(const CommittedGroupPtr& group) noexcept {
  const MutexLock lock(mutex_);
  if (is_closed_ || gap_from_ || !Wants(*group)) return;
  const bool is_bounded_by_gaps = when_full_ == WhenFull::kGap;
  if (is_bounded_by_gaps && IsFull()) return BeginGap(group->commit);
  ZERVANE_ASSERT(waiting_.empty() || waiting_.back()->commit < group->commit);
  try {
    waiting_.push_back(PartOf(group));
  } catch (...) {
    return BeginGap(group->commit);  // want of memory loses what is heard of, not what is stored
  }
  waiting_changes_ += waiting_.back()->size();
  waiting_text_bytes_ += waiting_.back()->samples.texts().size();
  if (!is_bounded_by_gaps) DropOldest();
  has_come_.NotifyOne();
}

void FeedConsumer::DropOldest() noexcept {
  while (waiting_changes_ - waiting_.front()->size() >= max_changes_) {
    waiting_changes_ -= waiting_.front()->size();
    waiting_text_bytes_ -= waiting_.front()->samples.texts().size();
    gone_ += waiting_.front()->size();
    waiting_.pop_front();
  }
}

CommittedGroupPtr FeedConsumer::PartOf(const CommittedGroupPtr& group) const {
  const auto is_watched = [this](const RowChange& change) {
    mutex_.AssertHeld();
    return tables_.test(static_cast<std::size_t>(change.table));
  };
  if (has_watched_tags_) return group;
  const auto rows = std::count_if(group->rows.begin(), group->rows.end(), is_watched);
  if (static_cast<std::size_t>(rows) == group->size()) return group;
  const auto part = std::make_shared<CommittedGroup>();
  part->commit = group->commit;
  part->rows.reserve(static_cast<std::size_t>(rows));
  std::copy_if(group->rows.begin(), group->rows.end(), std::back_inserter(part->rows), is_watched);
  return part;
}

void FeedConsumer::OfferGap(std::int64_t commit) noexcept {
  const MutexLock lock(mutex_);
  if (!is_closed_ && !gap_from_) BeginGap(commit);
}

void FeedConsumer::BeginGap(std::int64_t commit) noexcept {
  gap_from_ = commit;
  listens_ = false;
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
