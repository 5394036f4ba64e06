#include "engine/catalogue/name_index.h"

#include <algorithm>
#include <utility>

#include "api/words/ascii.h"
#include "engine/assert.h"

namespace zervane {

// FNV-1a, whose bits are then mixed so that the low ones tell names apart that differ at their
// ends.
std::uint32_t NameIndex::HashOf(std::string_view name) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char c : name) {
    hash = (hash ^ static_cast<unsigned char>(FoldAscii(c))) * 0x100000001B3;
  }
  hash ^= hash >> 32;
  hash *= 0xD6E8FEB86659FD93;
  return static_cast<std::uint32_t>(hash >> 32);
}

void NameIndex::Add(std::uint32_t hash, TagId id) { Add(root_, 0, {hash, id}); }

void NameIndex::Remove(std::uint32_t hash, TagId id) { Remove(root_, 0, {hash, id}); }

template <typename AnyNode>
AnyNode& NameIndex::Own(Ref<Node>& node) {
  if (!node) {
    node = Ref<Node>(new AnyNode);
  } else if (!node.IsOnly()) {
    node = Ref<Node>(new AnyNode(static_cast<const AnyNode&>(*node)));
  }
  return static_cast<AnyNode&>(*node);
}

void NameIndex::Add(Ref<Node>& node, unsigned level, Entry entry) {
  if (!node || node->is_bucket) {
    AddToBucket(node, level, entry);
  } else {
    Add(Own<Branch>(node).nodes[IndexOf(entry.hash, level)], level + 1, entry);
  }
}

void NameIndex::AddToBucket(Ref<Node>& node, unsigned level, Entry entry) {
  std::vector<Entry>& entries = Own<Bucket>(node).entries;
  if (entries.size() < kBucketSize || level == kLevels) {
    entries.push_back(entry);
    return;
  }
  Ref<Node> branch(new Branch);
  for (const Entry& before : entries) Add(branch, level, before);
  Add(branch, level, entry);
  node = std::move(branch);
}

// A node that is left without anything goes, too.
void NameIndex::Remove(Ref<Node>& node, unsigned level, Entry entry) {
  ZERVANE_ASSERT(node);
  if (node->is_bucket) {
    std::vector<Entry>& entries = Own<Bucket>(node).entries;
    ZERVANE_ASSERT(std::ranges::count(entries, entry) == 1);
    std::erase(entries, entry);
    if (entries.empty()) node = {};
  } else {
    auto& nodes = Own<Branch>(node).nodes;
    Remove(nodes[IndexOf(entry.hash, level)], level + 1, entry);
    if (std::ranges::none_of(nodes, [](const Ref<Node>& child) { return bool(child); })) node = {};
  }
}

}  // namespace zervane
