#include "engine/catalogue/tag_tree.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr TagId kGreatest = std::numeric_limits<TagId>::max();

Ref<const PackedTag> Packed(TagId id, const std::string& name) {
  Tag tag;
  tag.id = id;
  tag.name = name;
  return PackedTag::Pack(tag);
}

using Names = std::map<TagId, std::string>;

Names NamesFrom(const TagTree& tree, TagId first) {
  Names names;
  TagId last = 0;
  tree.VisitFrom(first, [&](const PackedTag& tag) {
    EXPECT_TRUE(names.empty() || tag.id() > last) << "in order of identifier";
    last = tag.id();
    names[tag.id()] = tag.name();
    return true;
  });
  return names;
}

TEST(TagTree, HasNothingAtFirst) {
  const TagTree tree;
  EXPECT_EQ(tree.Find(0), nullptr);
  EXPECT_EQ(tree.Find(kGreatest), nullptr);
  EXPECT_TRUE(NamesFrom(tree, 0).empty());
}

TEST(TagTree, HoldsIdentifiersAnywhere) {
  TagTree tree;
  Names expected;
  for (TagId id :
       {TagId{1}, TagId{15}, TagId{16}, TagId{255}, TagId{256}, TagId{65536}, kGreatest}) {
    tree.Put(Packed(id, std::to_string(id)));
    expected[id] = std::to_string(id);
    EXPECT_EQ(NamesFrom(tree, 0), expected);
  }
  EXPECT_EQ(tree.Find(17), nullptr);
  EXPECT_EQ(tree.Find(kGreatest - 1), nullptr);
  EXPECT_EQ(NamesFrom(tree, 256), Names(expected.find(256), expected.end()));
  EXPECT_EQ(NamesFrom(tree, kGreatest), Names(expected.find(kGreatest), expected.end()));
}

TEST(TagTree, IsVisitedUntilTheVisitorHasEnough) {
  TagTree tree;
  for (TagId id = 1; id <= 100; ++id) tree.Put(Packed(id, "x"));
  int visits = 0;
  tree.VisitFrom(50, [&](const PackedTag&) { return ++visits < 3; });
  EXPECT_EQ(visits, 3);
}

// Random changes, with copies kept on the way, against a map and its copies.
TEST(TagTree, KeepsItsCopiesAsTheyWere) {
  const Seed seed;
  std::mt19937 random(seed.value());
  struct Copy {
    TagTree tree;
    Names names;
  };
  std::vector<Copy> copies;
  TagTree tree;
  Names names;
  for (int change = 0; change < 20'000; ++change) {
    const auto id = static_cast<TagId>(1 + random() % (random() % 4 == 0 ? 5'000'000 : 500));
    if (names.contains(id) && random() % 2 == 0) {
      tree.Remove(id);
      names.erase(id);
    } else {
      names[id] = std::to_string(change);
      tree.Put(Packed(id, names[id]));
    }
    if (random() % 500 == 0) copies.push_back({tree, names});
    if (copies.size() > 20) copies.erase(copies.begin() + random() % 20);
  }
  copies.push_back({tree, names});
  for (const Copy& copy : copies) {
    ASSERT_EQ(NamesFrom(copy.tree, 0), copy.names);
    const auto from = static_cast<TagId>(random() % 600);
    EXPECT_EQ(NamesFrom(copy.tree, from), Names(copy.names.lower_bound(from), copy.names.end()));
    for (const auto& [id, name] : copy.names) ASSERT_EQ(copy.tree.Find(id)->name(), name);
  }
  while (!names.empty()) {
    tree.Remove(names.begin()->first);
    names.erase(names.begin());
  }
  EXPECT_TRUE(NamesFrom(tree, 0).empty());
}

}  // namespace
}  // namespace zervane
