#include "engine/storage/tag_groups.h"

#include <algorithm>
#include <bit>
#include <numeric>

#include "engine/assert.h"

namespace zervane::storage {
namespace {

// Identifiers count up from 1, so that one or two digits are enough for nearly all databases; the
// counts of a digit's values fit the nearest cache.
constexpr unsigned kDigitBits = 11;
constexpr std::size_t kDigits = std::size_t{1} << kDigitBits;
constexpr TagId kDigitMask = kDigits - 1;

}  // namespace

// By the least digit first; each step leaves the order of equal digits as it is.
void TagGroups::Sort(std::span<const TagId> tags) {
  ZERVANE_ASSERT(tags.size() <= UINT32_MAX);
  groups_.clear();
  order_.resize(tags.size());
  std::iota(order_.begin(), order_.end(), 0U);
  if (!std::ranges::is_sorted(tags)) {
    const auto bits = static_cast<unsigned>(std::bit_width(std::ranges::max(tags)));
    for (unsigned shift = 0; shift < bits; shift += kDigitBits) Scatter(tags, shift);
  }
  const std::span<const std::uint32_t> order = order_;
  for (std::size_t begin = 0; begin < order.size();) {
    const TagId tag = tags[order[begin]];
    std::size_t end = begin + 1;
    while (end < order.size() && tags[order[end]] == tag) ++end;
    groups_.push_back({.tag = tag, .records = order.subspan(begin, end - begin)});
    begin = end;
  }
}

void TagGroups::Scatter(std::span<const TagId> tags, unsigned shift) {
  const auto digit = [&](std::uint32_t record) { return (tags[record] >> shift) & kDigitMask; };
  ends_.assign(kDigits + 1, 0);
  for (const std::uint32_t record : order_) ++ends_[digit(record) + 1];
  std::partial_sum(ends_.begin(), ends_.end(), ends_.begin());
  scattered_.resize(order_.size());
  for (const std::uint32_t record : order_) scattered_[ends_[digit(record)]++] = record;
  order_.swap(scattered_);
}

}  // namespace zervane::storage
