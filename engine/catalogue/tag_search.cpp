#include "engine/catalogue/tag_search.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>

#include "api/words/tag_columns.h"

namespace zervane {
namespace {

Status Stopped() { return {ZR3_ERR_NOT_CONNECTED, "the search was ended with the database"}; }

// take(tag) for the matches from `from` on until it answers false; take_any(tag), before a tag is
// judged, answers whether to go on to that.
template <typename TakeAny, typename Take>
Status ForEachMatch(const TagImage& image, const TagMatcher& matcher, TagId from,
                    const StopFlag& is_stopped, TakeAny take_any, Take take) {
  bool stopped = false;
  const auto visit = [&](const PackedTag& tag) {
    stopped = is_stopped.load(std::memory_order_relaxed);
    if (stopped || !take_any(tag)) return false;
    if (matcher.Matches(tag)) take(tag);
    return true;
  };
  if (matcher.only_name()) {
    const PackedTag* const tag = image.FindByName(*matcher.only_name());
    if (tag != nullptr && tag->id() >= from) visit(*tag);
  } else {
    image.tags().VisitFrom(from, visit);
  }
  return stopped ? Stopped() : Status();
}

}  // namespace

Status CheckSearchMask(const PropertyMask& mask, const ClassSet& classes) {
  std::size_t own_columns = 0;
  for (std::int32_t tag_class = 0; tag_class < ZR3_TAG_CLASS_ALL; ++tag_class) {
    if (classes.Has(tag_class)) own_columns = std::max(own_columns, OwnColumns(tag_class).size());
  }
  if (IsMaskOf(mask.common, CommonColumns().size()) && IsMaskOf(mask.extension, own_columns)) {
    return {};
  }
  return {ZR3_ERR_INVALID_MASK, fmt::format("mask {:#x}, {:#x}", mask.common, mask.extension)};
}

Result<Page<Tag>> FindPage(const TagImage& image, const TagMatcher& matcher,
                           const PropertyMask& mask, TagId from, const PageLimits& limits,
                           const StopFlag& is_stopped) {
  Page<Tag> page;
  std::size_t bytes = 0;
  // The next page begins with the first tag that this one has no room for, whether or not it
  // matches: to look for the next match may take as long as the whole search.
  const auto take_any = [&](const PackedTag& tag) {
    const bool is_full = page.items.size() >= limits.items || bytes >= limits.bytes;
    if (is_full) page.next = tag.id();
    return !is_full;
  };
  const auto take = [&](const PackedTag& tag) {
    tag.Unpack(mask, page.items.emplace_back());
    bytes += tag.size();
  };
  Status status = ForEachMatch(image, matcher, from, is_stopped, take_any, take);
  if (!status.ok()) return status;
  return page;
}

Result<std::int64_t> CountMatches(const TagImage& image, const TagMatcher& matcher,
                                  const StopFlag& is_stopped) {
  std::int64_t count = 0;
  if (matcher.has_no_test()) {
    for (std::int32_t tag_class = 0; tag_class < ZR3_TAG_CLASS_ALL; ++tag_class) {
      if (matcher.asked_classes().Has(tag_class)) count += image.CountOf(tag_class);
    }
    return count;
  }
  const auto take_any = [](const PackedTag&) { return true; };
  Status status =
      ForEachMatch(image, matcher, 0, is_stopped, take_any, [&](const PackedTag&) { ++count; });
  if (!status.ok()) return status;
  return count;
}

}  // namespace zervane
