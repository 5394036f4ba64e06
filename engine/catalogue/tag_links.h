#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "api/words/value.h"
#include "engine/catalogue/tag_class.h"
#include "engine/storage/table.h"

namespace zervane {

// One tag that a tag reads or sets, in the place that its class gives it.
struct TagLink {
  TagId tag = 0;
  std::uint32_t place = 0;
  TagId target = 0;

  friend bool operator==(const TagLink&, const TagLink&) = default;
};

struct TagLinkKey {
  TagId tag = 0;
  std::uint32_t place = 0;
};

template <>
struct RowFormat<TagLink> {
  static constexpr TableId kTable = TableId::kTagLink;
  using Key = TagLinkKey;
  static Key KeyOf(const TagLink& link) { return {.tag = link.tag, .place = link.place}; }
  static Row KeyCells(const Key& key);
  static Row RowOf(const TagLink& link);
  static std::optional<TagLink> FromRow(RowView row);
};

// No class has more places than that.
constexpr std::uint32_t kMaxTagLinks = 256;

// All links between tags, to be looked up from either end. Tags that are linked to may have been
// deleted since.
//
// Threads: whoever has the turn.
class TagLinkMap {
 public:
  // To what a tag is linked, without empty places behind the last.
  TagLinks Of(TagId tag) const;

  // Calls visit(tag, place) for every tag that is linked to the target, in order of identifier,
  // until it answers false.
  template <typename Visit>
  void VisitLinkedTo(TagId target, Visit&& visit) const;

  // Makes room for so many links, so that putting them cannot fail.
  void Reserve(std::size_t links);
  // Has the tag linked to these and nothing else. REQUIRES: there is room for them.
  void Put(TagId tag, const TagLinks& links) noexcept;

 private:
  // {tag, place, target}, and {target, tag, place}.
  using Links = std::set<std::array<std::uint32_t, 3>>;

  void PutInto(Links& links, const Links::value_type& link) noexcept;

  Links from_tags_;
  Links to_targets_;
  std::vector<Links::node_type> room_;
};

// Has the batch keep the links of a tag in the place of those before. None: it has none.
void PutLinks(TagId tag, const TagLinks& before, const TagLinks& after, StoreBatch& batch);

// ---- implementation ----

template <typename Visit>
void TagLinkMap::VisitLinkedTo(TagId target, Visit&& visit) const {
  for (auto at = to_targets_.lower_bound({target, 0, 0});
       at != to_targets_.end() && (*at)[0] == target; ++at) {
    if (!visit(TagId{(*at)[1]}, std::size_t{(*at)[2]})) return;
  }
}

}  // namespace zervane
