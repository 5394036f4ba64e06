#include "engine/catalogue/tag_listings.h"

#include <spdlog/fmt/fmt.h>

#include <chrono>
#include <utility>

#include "engine/guard.h"
#include "engine/log.h"

namespace zervane {
namespace {

Result<TagMatcher> MatcherOfClasses(std::int64_t class_mask) {
  return TagMatcher::Compile({.class_mask = class_mask, .conditions = {}});
}

}  // namespace

Clock SteadyClock() {
  return [] {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::int64_t{std::chrono::duration_cast<std::chrono::milliseconds>(now).count()};
  };
}

Result<ListTags::Reply> TagListings::List(const Caller& caller, const ListTags& operation,
                                          const TagImagePtr& current, const StopFlag& is_stopped) {
  Result<Listing> listing = operation.snapshot == 0 ? Begin(caller, operation, current)
                                                    : GoOn(caller, operation.snapshot);
  if (!listing.ok()) return listing.status();
  Result<ListTags::Reply> reply =
      Guarded([&] { return ReadPage(operation, *std::move(listing), is_stopped); });
  if (!reply.ok() || reply->snapshot == 0) End(operation.snapshot);
  return reply;
}

Result<ListTags::Reply> TagListings::ReadPage(const ListTags& operation, Listing listing,
                                              const StopFlag& is_stopped) {
  const Result<TagMatcher> matcher = MatcherOfClasses(listing.class_mask);
  if (!matcher.ok()) return matcher.status();
  Result<Page<Tag>> page =
      FindPage(*listing.image, *matcher, {listing.mask, 0}, operation.from, {}, is_stopped);
  if (!page.ok()) return page.status();
  ListTags::Reply reply{.snapshot = 0, .total = listing.total, .page = *std::move(page)};
  if (!reply.page.next) return reply;
  const Result<std::uint64_t> snapshot = Keep(operation.snapshot, std::move(listing));
  if (!snapshot.ok()) return snapshot.status();
  reply.snapshot = *snapshot;
  return reply;
}

std::size_t TagListings::size() const {
  const MutexLock lock(mutex_);
  return listings_.size();
}

Result<TagListings::Listing> TagListings::Begin(const Caller& caller, const ListTags& operation,
                                                const TagImagePtr& image) {
  {
    const MutexLock lock(mutex_);
    RemoveIdle(clock_());
  }
  const Result<TagMatcher> matcher = MatcherOfClasses(operation.class_mask);
  if (!matcher.ok()) return matcher.status();
  Status status = CheckSearchMask({operation.mask, 0}, matcher->asked_classes());
  if (!status.ok()) return status;
  const Result<std::int64_t> total = CountMatches(*image, *matcher, StopFlag(false));
  if (!total.ok()) return total.status();
  if (*total > limits_.tags) {
    LogWarning("{} tags are too many to list at once (at most {}): search for them by pages",
               *total, limits_.tags);
    return Status(ZR3_ERR_OUT_OF_MEMORY, fmt::format("{} tags at once", *total));
  }
  return Listing{.session = caller.session,
                 .image = image,
                 .class_mask = operation.class_mask,
                 .mask = operation.mask,
                 .total = *total};
}

Result<TagListings::Listing> TagListings::GoOn(const Caller& caller, std::uint64_t snapshot) {
  const MutexLock lock(mutex_);
  RemoveIdle(clock_());
  const auto found = listings_.find(snapshot);
  if (found == listings_.end() || found->second.session != caller.session) {
    return Status(ZR3_ERR_INVALID_HANDLE, fmt::format("no snapshot {}", snapshot));
  }
  return found->second;
}

Result<std::uint64_t> TagListings::Keep(std::uint64_t snapshot, Listing listing) {
  const MutexLock lock(mutex_);
  const std::int64_t now_ms = clock_();
  RemoveIdle(now_ms);
  if (snapshot == 0) {
    if (listings_.size() >= limits_.listings) {
      return Status(ZR3_ERR_OUT_OF_MEMORY, fmt::format("{} listings go on", listings_.size()));
    }
    snapshot = ++last_snapshot_;
  }
  listing.last_asked_ms = now_ms;
  listings_.insert_or_assign(snapshot, std::move(listing));
  return snapshot;
}

void TagListings::End(std::uint64_t snapshot) {
  const MutexLock lock(mutex_);
  listings_.erase(snapshot);
}

void TagListings::RemoveIdle(std::int64_t now_ms) {
  std::erase_if(listings_, [&](const auto& entry) {
    return now_ms - entry.second.last_asked_ms > kMaxIdleMs;
  });
}

}  // namespace zervane
