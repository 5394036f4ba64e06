#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "api/words/value.h"
#include "engine/catalogue/ref.h"

namespace zervane {

// Identifiers of tags by a hash of their names, folded. It does not keep the names: whoever asks
// compares them against those of the tags that are found.
//
// A tree over the bits of the hash, four a level, that ends in buckets of a few entries. Copies
// share nodes, as those of TagTree do. Threads: as a container.
class NameIndex {
 public:
  // Two names that differ in the case of ASCII letters alone have one hash.
  static std::uint32_t HashOf(std::string_view name);

  // The identifier of the hash for which is_it(identifier) holds; 0 when there is none.
  template <typename IsIt>
  TagId Find(std::uint32_t hash, IsIt&& is_it) const;

  void Add(std::uint32_t hash, TagId id);
  // REQUIRES: it was added.
  void Remove(std::uint32_t hash, TagId id);

 private:
  static constexpr unsigned kBits = 4;
  static constexpr std::size_t kFanOut = std::size_t{1} << kBits;
  static constexpr unsigned kLevels = 32 / kBits;
  // A fuller bucket becomes a branch, unless no bits are left to tell its entries apart.
  static constexpr std::size_t kBucketSize = 64;

  struct Entry {
    std::uint32_t hash;
    TagId id;
    friend bool operator==(const Entry&, const Entry&) = default;
  };
  struct Node : Counted {
    explicit Node(bool bucket) : is_bucket(bucket) {}
    virtual ~Node() = default;
    const bool is_bucket;
  };
  struct Bucket final : Node {
    Bucket() : Node(true) {}
    std::vector<Entry> entries;
  };
  struct Branch final : Node {
    Branch() : Node(false) {}
    std::array<Ref<Node>, kFanOut> nodes;
  };

  static constexpr std::size_t IndexOf(std::uint32_t hash, unsigned level) {
    return (hash >> (kBits * (kLevels - 1 - level))) & (kFanOut - 1);
  }

  template <typename AnyNode>
  static AnyNode& Own(Ref<Node>& node);
  static void Add(Ref<Node>& node, unsigned level, Entry entry);
  static void AddToBucket(Ref<Node>& node, unsigned level, Entry entry);
  static void Remove(Ref<Node>& node, unsigned level, Entry entry);

  Ref<Node> root_;
};

template <typename IsIt>
TagId NameIndex::Find(std::uint32_t hash, IsIt&& is_it) const {
  const Node* node = root_.get();
  for (unsigned level = 0; node != nullptr && !node->is_bucket; ++level) {
    node = static_cast<const Branch*>(node)->nodes[IndexOf(hash, level)].get();
  }
  if (node == nullptr) return 0;
  for (const Entry& entry : static_cast<const Bucket*>(node)->entries) {
    if (entry.hash == hash && is_it(entry.id)) return entry.id;
  }
  return 0;
}

}  // namespace zervane
