#pragma once

#include <atomic>
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
// The ring is full with so many changes, or with kMaxTextBytes of texts among their values; the
// group that gets it there is still taken. What comes then is dropped, until the consumer has taken
// what waits and then heard of the gap; or the oldest groups go, and as many changes as fill the
// ring stay. Nobody ever waits for a consumer.
//
// Threads: any.
class FeedConsumer {
 public:
  enum class WhenFull : std::uint8_t { kGap, kOldestGo };

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
  // a table. A group comes whole when it has any of these; to one who never watched a tag, with the
  // rows of its tables alone, so that few rows keep no many records in memory. It holds for what is
  // committed from the return of the call on.
  void WatchTag(TagId tag, bool watches) EXCLUDES(mutex_);
  void WatchAllTags(bool watches) EXCLUDES(mutex_);
  void WatchTable(TableId table, bool watches) EXCLUDES(mutex_);

  // The next delivery; none when nothing waits.
  std::optional<Delivery> Poll() EXCLUDES(mutex_);
  // The same, but waits for one; none when it is closed and nothing waits any more.
  std::optional<Delivery> Await() EXCLUDES(mutex_);

  // How many changes went because they were the oldest of a full ring, since this was asked last.
  std::uint64_t CountGone() EXCLUDES(mutex_);

  // From now on nothing more comes in, and nobody waits.
  void Close() noexcept EXCLUDES(mutex_);

 private:
  friend class CommitFeed;
  static constexpr std::size_t kMaxTables = 256;

  FeedConsumer(CommitFeed& feed, std::size_t max_changes, WhenFull when_full)
      : feed_(feed), max_changes_(max_changes), when_full_(when_full) {}

  // For the feed. Whether it would take a group; it may be over as soon as it is answered.
  bool Listens() const { return listens_.load(std::memory_order_relaxed); }
  void Offer(const CommittedGroupPtr& group) noexcept EXCLUDES(mutex_);
  void OfferGap(std::int64_t commit) noexcept EXCLUDES(mutex_);

  bool Wants(const CommittedGroup& group) const REQUIRES(mutex_);
  bool WatchesAny(const std::vector<TagId>& tags) const REQUIRES(mutex_);
  // The group as it is to be held.
  CommittedGroupPtr PartOf(const CommittedGroupPtr& group) const REQUIRES(mutex_);
  void DropOldest() noexcept REQUIRES(mutex_);
  void BeginGap(std::int64_t commit) noexcept REQUIRES(mutex_);
  std::optional<Delivery> Next() REQUIRES(mutex_);
  bool IsFull() const REQUIRES(mutex_) {
    return waiting_changes_ >= max_changes_ || waiting_text_bytes_ >= kMaxTextBytes;
  }

  CommitFeed& feed_;
  // How many bytes of texts wait, where a ring may hold a million of them.
  static constexpr std::size_t kMaxTextBytes = std::size_t{256} << 20;

  const std::size_t max_changes_;
  const WhenFull when_full_;

  std::atomic<bool> listens_ = true;  // neither closed nor in a gap

  Mutex mutex_;
  CondVar has_come_;
  TagArray<bool> tags_ GUARDED_BY(mutex_);
  bool watches_all_tags_ GUARDED_BY(mutex_) = false;
  bool has_watched_tags_ GUARDED_BY(mutex_) = false;
  std::bitset<kMaxTables> tables_ GUARDED_BY(mutex_);
  std::deque<CommittedGroupPtr> waiting_ GUARDED_BY(mutex_);
  std::size_t waiting_changes_ GUARDED_BY(mutex_) = 0;
  std::size_t waiting_text_bytes_ GUARDED_BY(mutex_) = 0;
  std::uint64_t gone_ GUARDED_BY(mutex_) = 0;
  std::optional<std::int64_t> gap_from_ GUARDED_BY(mutex_);  // behind what waits
  bool is_closed_ GUARDED_BY(mutex_) = false;
};

}  // namespace zervane
