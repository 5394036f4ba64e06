#include "engine/catalogue/tag_tree.h"

#include <algorithm>
#include <utility>

#include "engine/assert.h"

namespace zervane {

const PackedTag* TagTree::Find(TagId id) const {
  if (!root_ || !Spans(id)) return nullptr;
  const Node* node = root_.get();
  for (unsigned height = height_; height > 0; --height) {
    node = static_cast<const Branch*>(node)->nodes[IndexOf(id, height)].get();
    if (node == nullptr) return nullptr;
  }
  return static_cast<const Block*>(node)->tags[IndexOf(id, 0)].get();
}

void TagTree::Put(Ref<const PackedTag> tag) {
  while (!Spans(tag->id())) {
    if (root_) {
      Ref<Node> above(new Branch);
      static_cast<Branch&>(*above).nodes[0] = std::move(root_);
      root_ = std::move(above);
    }
    ++height_;
  }
  Put(root_, height_, std::move(tag));
}

void TagTree::Remove(TagId id) {
  ZERVANE_ASSERT(Find(id) != nullptr);
  Remove(root_, height_, id);
}

template <typename AnyNode>
AnyNode& TagTree::Own(Ref<Node>& node) {
  if (!node) {
    node = Ref<Node>(new AnyNode);
  } else if (!node.IsOnly()) {
    node = Ref<Node>(new AnyNode(static_cast<const AnyNode&>(*node)));
  }
  return static_cast<AnyNode&>(*node);
}

void TagTree::Put(Ref<Node>& node, unsigned height, Ref<const PackedTag> tag) {
  const TagId id = tag->id();
  if (height == 0) {
    Own<Block>(node).tags[IndexOf(id, 0)] = std::move(tag);
  } else {
    Put(Own<Branch>(node).nodes[IndexOf(id, height)], height - 1, std::move(tag));
  }
}

// A node that is left without anything goes, too.
void TagTree::Remove(Ref<Node>& node, unsigned height, TagId id) {
  const auto is_none = [](const auto& element) { return !element; };
  if (height == 0) {
    auto& tags = Own<Block>(node).tags;
    tags[IndexOf(id, 0)] = {};
    if (std::ranges::all_of(tags, is_none)) node = {};
  } else {
    auto& nodes = Own<Branch>(node).nodes;
    Remove(nodes[IndexOf(id, height)], height - 1, id);
    if (std::ranges::all_of(nodes, is_none)) node = {};
  }
}

}  // namespace zervane
