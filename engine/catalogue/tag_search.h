#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "api/words/page.h"
#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/catalogue/tag_image.h"
#include "engine/catalogue/tag_matcher.h"

// Searches of an image of the catalogue.
namespace zervane {

// Set when searches are to end, which then answer ZR3_ERR_NOT_CONNECTED: one of many conditions
// over many tags may take long.
using StopFlag = std::atomic<bool>;

// ZR3_ERR_INVALID_MASK when a bit is set for which no tag of the classes has a property. -1 selects
// all.
Status CheckSearchMask(const PropertyMask& mask, const ClassSet& classes);

// A page has no more than that, and no fewer than one item if there is a match.
struct PageLimits {
  std::size_t items = kMaxPageItems;
  std::size_t bytes = std::size_t{1} << 20;
};

// The matches with identifiers from `from` on, in order of identifier, with the selected
// properties.
Result<Page<Tag>> FindPage(const TagImage& image, const TagMatcher& matcher,
                           const PropertyMask& mask, TagId from, const PageLimits& limits,
                           const StopFlag& is_stopped);

Result<std::int64_t> CountMatches(const TagImage& image, const TagMatcher& matcher,
                                  const StopFlag& is_stopped);

}  // namespace zervane
