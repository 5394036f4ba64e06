#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

#include "api/caller.h"
#include "api/operations/tags.h"
#include "engine/catalogue/tag_image.h"
#include "engine/catalogue/tag_matcher.h"
#include "engine/catalogue/tag_search.h"
#include "engine/clock.h"
#include "engine/mutex.h"

namespace zervane {

// Milliseconds since some instant, of a clock that nobody sets.
Clock SteadyClock();

// Lists the tags of some classes, all as they were at one instant, page by page: the image that a
// listing began with is kept from its first page to its last, and for a minute after a page was
// last asked for; a page that fails ends it. A listing belongs to the session that began it.
//
// Threads: any.
class TagListings {
 public:
  struct Limits {
    std::int64_t tags = kMaxListedTags;  // of one listing
    std::size_t listings = 1'024;        // that go on; images share what they have in common
  };
  static constexpr std::int64_t kMaxIdleMs = 60'000;

  // The clock is one that nobody sets, for it tells how long a listing has been idle.
  explicit TagListings(Clock clock) : TagListings(std::move(clock), Limits()) {}
  TagListings(Clock clock, const Limits& limits) : clock_(std::move(clock)), limits_(limits) {}

  // ZR3_ERR_INVALID_MASK; ZR3_ERR_OUT_OF_MEMORY for more tags than may be, or while as many others
  // go on; ZR3_ERR_INVALID_HANDLE for a snapshot that the session does not have (any more).
  Result<ListTags::Reply> List(const Caller& caller, const ListTags& operation,
                               const TagImagePtr& current, const StopFlag& is_stopped)
      EXCLUDES(mutex_);

  // How many listings are under way.
  std::size_t size() const EXCLUDES(mutex_);

 private:
  struct Listing {
    SessionId session = 0;
    TagImagePtr image;
    std::int64_t class_mask = -1;
    std::int64_t mask = -1;
    std::int64_t total = 0;
    std::int64_t last_asked_ms = 0;
  };

  Result<Listing> Begin(const Caller& caller, const ListTags& operation, const TagImagePtr& image)
      EXCLUDES(mutex_);
  Result<Listing> GoOn(const Caller& caller, std::uint64_t snapshot) EXCLUDES(mutex_);
  // The page of it that is asked for; when there is another one behind it, the listing is kept.
  Result<ListTags::Reply> ReadPage(const ListTags& operation, Listing listing,
                                   const StopFlag& is_stopped) EXCLUDES(mutex_);
  // Keeps the listing under the number, or a new one, which it answers.
  Result<std::uint64_t> Keep(std::uint64_t snapshot, Listing listing) EXCLUDES(mutex_);
  void End(std::uint64_t snapshot) EXCLUDES(mutex_);
  // Also takes listings away that nobody has asked for in time.
  void RemoveIdle(std::int64_t now_ms) REQUIRES(mutex_);

  const Clock clock_;
  const Limits limits_;
  mutable Mutex mutex_;
  std::map<std::uint64_t, Listing> listings_ GUARDED_BY(mutex_);
  std::uint64_t last_snapshot_ GUARDED_BY(mutex_) = 0;
};

}  // namespace zervane
