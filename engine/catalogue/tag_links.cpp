#include "engine/catalogue/tag_links.h"

#include <algorithm>
#include <utility>

#include "engine/assert.h"
#include "engine/storage/cells.h"

namespace zervane {

Row RowFormat<TagLink>::KeyCells(const Key& key) { return {CellOf(key.tag), CellOf(key.place)}; }

Row RowFormat<TagLink>::RowOf(const TagLink& link) {
  return {CellOf(link.tag), CellOf(link.place), CellOf(link.target)};
}

std::optional<TagLink> RowFormat<TagLink>::FromRow(RowView row) {
  TagLink link;
  const bool is_whole = FromCell(row[0], &link.tag) && FromCell(row[1], &link.place) &&
                        FromCell(row[2], &link.target);
  return is_whole ? std::optional(link) : std::nullopt;
}

TagLinks TagLinkMap::Of(TagId tag) const {
  TagLinks links;
  for (auto at = from_tags_.lower_bound({tag, 0, 0}); at != from_tags_.end() && (*at)[0] == tag;
       ++at) {
    links.resize((*at)[1] + std::size_t{1});
    links.back() = (*at)[2];
  }
  return links;
}

// Nodes are made by a set of their own, and change hands.
void TagLinkMap::Reserve(std::size_t links) {
  const std::size_t nodes = 2 * links;  // each stands in both sets
  room_.reserve(nodes);
  while (room_.size() < nodes) {
    Links one = {{0, 0, 0}};
    room_.push_back(one.extract(one.begin()));
  }
}

void TagLinkMap::Put(TagId tag, const TagLinks& links) noexcept {
  for (auto at = from_tags_.lower_bound({tag, 0, 0}); at != from_tags_.end() && (*at)[0] == tag;) {
    to_targets_.erase({(*at)[2], tag, (*at)[1]});
    at = from_tags_.erase(at);
  }
  for (std::uint32_t place = 0; place < links.size(); ++place) {
    if (links[place] == 0) continue;
    PutInto(from_tags_, {tag, place, links[place]});
    PutInto(to_targets_, {links[place], tag, place});
  }
}

void TagLinkMap::PutInto(Links& links, const Links::value_type& link) noexcept {
  ZERVANE_ASSERT(!room_.empty());  // it was reserved
  Links::node_type node = std::move(room_.back());
  room_.pop_back();
  node.value() = link;
  links.insert(std::move(node));
}

void PutLinks(TagId tag, const TagLinks& before, const TagLinks& after, StoreBatch& batch) {
  const auto at = [](const TagLinks& links, std::size_t place) {
    return place < links.size() ? links[place] : TagId{0};
  };
  for (std::uint32_t place = 0; place < std::max(before.size(), after.size()); ++place) {
    const TagId target = at(after, place);
    if (target == at(before, place)) continue;
    if (target == 0) {
      Table<TagLink>::Remove({.tag = tag, .place = place}, batch);
    } else {
      Table<TagLink>::Put({.tag = tag, .place = place, .target = target}, batch);
    }
  }
}

}  // namespace zervane
