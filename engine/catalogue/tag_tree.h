#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "engine/catalogue/packed_tag.h"
#include "engine/catalogue/ref.h"

namespace zervane {

// The tags by identifier, in blocks of 16 below branches of 16. To copy a tree takes an instruction
// or two: copies share what they hold, and whoever changes one copies the blocks and branches on
// the way to the tag that others share, one per level. So a change costs the same whatever the
// number of tags, and what was copied before does not see it. (A block that is copied touches every
// tag in it, to count itself among the owners: with greater blocks the tags of a large catalogue
// would have to come from far memory for it.)
//
// Threads: as a container; copies may be used by different threads.
class TagTree {
 public:
  // Null when there is none.
  const PackedTag* Find(TagId id) const;

  // In the place of the tag of that identifier.
  void Put(Ref<const PackedTag> tag);
  void Remove(TagId id);

  // visit(tag) in order of identifier from `first` on, until it answers false.
  template <typename Visit>
  void VisitFrom(TagId first, Visit&& visit) const;

 private:
  static constexpr unsigned kBits = 4;
  static constexpr std::size_t kFanOut = std::size_t{1} << kBits;

  struct Node : Counted {
    virtual ~Node() = default;
  };
  struct Block final : Node {
    std::array<Ref<const PackedTag>, kFanOut> tags;
  };
  struct Branch final : Node {
    std::array<Ref<Node>, kFanOut> nodes;
  };

  // Which element of a node at the height, blocks being at 0, is the way to an identifier.
  static constexpr std::size_t IndexOf(TagId id, unsigned height) {
    return (id >> (kBits * height)) & (kFanOut - 1);
  }
  bool Spans(TagId id) const { return std::uint64_t{id} >> (kBits * (height_ + 1)) == 0; }

  // Makes the node one's own, so that it may change.
  template <typename AnyNode>
  static AnyNode& Own(Ref<Node>& node);
  static void Put(Ref<Node>& node, unsigned height, Ref<const PackedTag> tag);
  static void Remove(Ref<Node>& node, unsigned height, TagId id);

  template <typename Visit>
  static bool VisitFrom(const Node& node, unsigned height, TagId first, Visit& visit);

  Ref<Node> root_;
  unsigned height_ = 0;
};

template <typename Visit>
void TagTree::VisitFrom(TagId first, Visit&& visit) const {
  if (root_ && Spans(first)) VisitFrom(*root_, height_, first, visit);
}

template <typename Visit>
bool TagTree::VisitFrom(const Node& node, unsigned height, TagId first, Visit& visit) {
  std::size_t index = IndexOf(first, height);
  if (height == 0) {
    const auto& tags = static_cast<const Block&>(node).tags;
    for (; index < kFanOut; ++index) {
      if (tags[index] && !visit(*tags[index])) return false;
    }
    return true;
  }
  const auto& nodes = static_cast<const Branch&>(node).nodes;
  for (; index < kFanOut; ++index) {
    if (nodes[index] && !VisitFrom(*nodes[index], height - 1, first, visit)) return false;
    first = 0;  // what follows is looked at from its begin
  }
  return true;
}

}  // namespace zervane
