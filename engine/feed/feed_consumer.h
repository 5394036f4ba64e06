#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "engine/feed/committed_group.h"
#include "engine/mutex.h"
#include "engine/tag_array.h"

namespace zervane {

class CommitFeed;

// One who follows what is committed: it says what it is interested in, and takes the groups that
// have some of that, in order of commit, from a ring of its own.
//
//   const auto consumer = feed.Register(kMaxChanges);
//   (*consumer)->WatchTag(id, true);
//   while (const auto delivery = (*consumer)->Await()) ...
//
// The ring is full with so many changes; the group that gets it there is still taken. What comes
// then is dropped, until the consumer has taken what waits and then heard of the gap: nobody ever
// waits for a consumer.
//
// Threads: any.
class FeedConsumer {
 public:
  // A group, or that there are none from some commit on to the next delivery's.
  struct Delivery {
    CommittedGroupPtr group;    // null: a gap
    std::int64_t gap_from = 0;  // the first commit that may be missing

    bool is_gap() const { return group == nullptr; }
  };

  ~FeedConsumer();
  FeedConsumer(const FeedConsumer&) = delete;
  FeedConsumer& operator=(const FeedConsumer&) = delete;

  // What it wants to hear of: records of a tag (and that they are gone), those of all tags, rows of
  // a table. A group comes whole when it has any of these. It holds for what is committed from the
  // return of the call on.
  void WatchTag(TagId tag, bool watches) EXCLUDES(mutex_);
  void WatchAllTags(bool watches) EXCLUDES(mutex_);
  void WatchTable(TableId table, bool watches) EXCLUDES(mutex_);

  // The next delivery; none when nothing waits.
  std::optional<Delivery> Poll() EXCLUDES(mutex_);
  // The same, but waits for one; none when it is closed and nothing waits any more.
  std::optional<Delivery> Await() EXCLUDES(mutex_);

  // From now on nothing more comes in, and nobody waits.
  void Close() noexcept EXCLUDES(mutex_);

 private:
  friend class CommitFeed;
  static constexpr std::size_t kMaxTables = 256;

  FeedConsumer(CommitFeed& feed, std::size_t max_changes)
      : feed_(feed), max_changes_(max_changes) {}

  // For the feed.
  void Offer(const CommittedGroupPtr& group) noexcept EXCLUDES(mutex_);
  void OfferGap(std::int64_t commit) noexcept EXCLUDES(mutex_);

  bool Wants(const CommittedGroup& group) const REQUIRES(mutex_);
  bool WatchesAny(const std::vector<TagId>& tags) const REQUIRES(mutex_);
  void BeginGap(std::int64_t commit) noexcept REQUIRES(mutex_);
  std::optional<Delivery> Next() REQUIRES(mutex_);

  CommitFeed& feed_;
  const std::size_t max_changes_;

  Mutex mutex_;
  CondVar has_come_;
  TagArray<bool> tags_ GUARDED_BY(mutex_);
  bool watches_all_tags_ GUARDED_BY(mutex_) = false;
  std::bitset<kMaxTables> tables_ GUARDED_BY(mutex_);
  std::deque<CommittedGroupPtr> waiting_ GUARDED_BY(mutex_);
  std::size_t waiting_changes_ GUARDED_BY(mutex_) = 0;
  std::optional<std::int64_t> gap_from_ GUARDED_BY(mutex_);  // behind what waits
  bool is_closed_ GUARDED_BY(mutex_) = false;
};

}  // namespace zervane
