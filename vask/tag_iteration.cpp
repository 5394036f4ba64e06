#include "vask/tag_iteration.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/guard.h"
#include "vask/paged_iterator.h"
#include "vask/tag_properties.h"

namespace zervane {
namespace {

using TagIterator = PagedIterator<Tag>;

// The session outlives its handles, and with them the iterator.
template <typename Fill>
Status Iterate(Session& session, FindTags search, std::int64_t limit, Fill fill,
               ZR3HANDLE* handle) {
  const TagId from = search.from;
  auto fetch = [&session, search = std::move(search)](TagId key, std::int32_t at_most) mutable {
    search.from = key;
    search.limit = at_most;
    return session.Do(search);
  };
  Result<std::unique_ptr<ItemIterator>> iterator = TagIterator::Make(
      {.fetch = std::move(fetch), .key_of = [](const Tag& tag) { return tag.id; }, .fill = fill},
      from, limit);
  if (!iterator.ok()) return iterator.status();
  const Result<ZR3HANDLE> added = session.handles().Add(*std::move(iterator));
  if (!added.ok()) return added.status();
  *handle = *added;
  return {};
}

struct Free {
  void operator()(ZR3CommTagProp* properties) const { std::free(properties); }
};
using TagArray = std::unique_ptr<ZR3CommTagProp[], Free>;

// Room for so many, and for one when there is none, so that the caller has something to free.
TagArray MakeArray(std::size_t count) {
  const std::size_t bytes = std::max<std::size_t>(count, 1) * sizeof(ZR3CommTagProp);
  return TagArray(static_cast<ZR3CommTagProp*>(std::malloc(bytes)));
}

Status Inconsistent(std::size_t filled, std::size_t total) {
  return {ZR3_ERR_INTERNAL, "a listing of " + std::to_string(total) + " tags has " +
                                (filled < total ? "less" : "more")};
}

// Gives a listing up that was not seen to its end, by asking for what is behind every tag; else the
// database would keep the tags of that instant for a while. One whose page failed is over already.
class ListingGuard {
 public:
  // `list` is what the next page is asked for with.
  ListingGuard(Session& session, const ListTags& list) : session_(session), list_(list) {}
  ListingGuard(const ListingGuard&) = delete;
  ListingGuard& operator=(const ListingGuard&) = delete;
  ~ListingGuard() {
    if (list_.snapshot == 0) return;
    list_.from = std::numeric_limits<TagId>::max();
    (void)Guarded([this] { return session_.Do(list_).status(); });
  }

  void IsOver() { list_.snapshot = 0; }

 private:
  Session& session_;
  ListTags list_;
};

// The pages of a listing, the first of which was answered, into an array of its size.
Status FillAll(Session& session, ListTags list, ListTags::Reply first, ZR3CommTagProp* to) {
  StandardText& texts = TextsOfThisThread();
  const auto total = static_cast<std::size_t>(first.total);
  std::size_t filled = 0;
  for (Page<Tag> page = std::move(first.page);;) {
    if (page.items.size() > total - filled) return Inconsistent(filled + page.items.size(), total);
    for (const Tag& tag : page.items) FillCommonProperties(tag, texts, &to[filled++]);
    if (!page.next) return filled == total ? Status() : Inconsistent(filled, total);
    list.from = *page.next;
    Result<ListTags::Reply> next = session.Do(list);
    if (!next.ok()) return next.status();
    page = std::move(next->page);
  }
}

}  // namespace

Result<TagQuery> ReadTagQuery(std::int64_t class_mask, const ZR3FilterItemSet& filter,
                              StandardText& texts) {
  TagQuery query{.class_mask = class_mask, .conditions = {}};
  query.conditions.reserve(static_cast<std::size_t>(filter.nSize));
  for (int32 i = 0; i < filter.nSize; ++i) {
    const ZR3FilterItem& item = filter.pItem[i];
    const std::optional<std::string_view> value =
        ReadText(texts, item.szValue, sizeof item.szValue);
    if (!value) {
      return Status(ZR3_ERR_INVALID_TEXT, "condition " + std::to_string(i) + " does not convert");
    }
    query.conditions.push_back(
        {.column = item.nItemID, .relation = item.nRelation, .value = std::string(*value)});
  }
  return query;
}

Status IteratePointTags(Session& session, FindTags search, ZR3HANDLE* handle) {
  const auto fill = [](const Tag& tag, void* record) { FillTag(tag, TextsOfThisThread(), record); };
  return Iterate(session, std::move(search), TagIterator::kNoLimit, fill, handle);
}

Status IterateTags(Session& session, FindTags search, std::int64_t limit, ZR3HANDLE* handle) {
  const auto fill = [](const Tag& tag, void* record) {
    FillCommonProperties(tag, TextsOfThisThread(), static_cast<ZR3CommTagProp*>(record));
  };
  return Iterate(session, std::move(search), limit, fill, handle);
}

Status HandOutAllTags(Session& session, ListTags list, int32* count, ZR3CommTagProp** properties) {
  Result<ListTags::Reply> first = session.Do(list);
  if (!first.ok()) return first.status();
  list.snapshot = first->snapshot;
  ListingGuard listing(session, list);
  const std::int64_t total = first->total;
  if (total < 0 || total > kMaxListedTags) {
    return {ZR3_ERR_OUT_OF_MEMORY, std::to_string(total) + " tags at once"};
  }
  TagArray array = MakeArray(static_cast<std::size_t>(total));
  if (array == nullptr) return {ZR3_ERR_OUT_OF_MEMORY, {}};
  Status status = FillAll(session, list, *std::move(first), array.get());
  if (!status.ok()) return status;
  listing.IsOver();
  *count = static_cast<int32>(total);
  *properties = array.release();
  return {};
}

}  // namespace zervane
