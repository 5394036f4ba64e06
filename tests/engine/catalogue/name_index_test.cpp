#include "engine/catalogue/name_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/support/seed.h"

namespace zervane {
namespace {

using Entries = std::map<std::uint32_t, std::set<TagId>>;

void ExpectHas(const NameIndex& index, const Entries& entries) {
  for (const auto& [hash, ids] : entries) {
    for (const TagId id : ids) {
      ASSERT_EQ(index.Find(hash, [&, wanted = id](TagId found) { return found == wanted; }), id);
    }
    std::set<TagId> seen;
    EXPECT_EQ(index.Find(hash, [&](TagId found) { return !seen.insert(found).second; }), 0U);
    EXPECT_EQ(seen, ids) << "every identifier of the hash is offered once";
  }
}

TEST(NameHash, IsOneForNamesThatDifferInAsciiCaseAlone) {
  EXPECT_EQ(NameIndex::HashOf("FIC101.pv"), NameIndex::HashOf("fic101.PV"));
  EXPECT_NE(NameIndex::HashOf("FIC101.PV"), NameIndex::HashOf("FIC102.PV"));
  EXPECT_NE(NameIndex::HashOf("\xC3\x84"), NameIndex::HashOf("\xC3\xA4"));
}

// Else the buckets of names that are counted up would fill far beyond the others.
TEST(NameHash, SpreadsNamesThatAreCountedUp) {
  std::vector<int> in_bucket(4096);
  for (int i = 0; i < 40'960; ++i) {
    ++in_bucket[NameIndex::HashOf("UNIT.FIC" + std::to_string(i)) >> 20];
  }
  EXPECT_LT(*std::ranges::max_element(in_bucket), 40);
}

TEST(NameIndex, HoldsAnyNumberOfIdentifiersOfOneHash) {
  NameIndex index;
  Entries entries;
  for (TagId id = 1; id <= 100; ++id) {
    index.Add(0xABCDEF01, id);
    entries[0xABCDEF01].insert(id);
  }
  ExpectHas(index, entries);
  for (TagId id = 1; id <= 99; ++id) {
    index.Remove(0xABCDEF01, id);
    entries[0xABCDEF01].erase(id);
  }
  ExpectHas(index, entries);
}

TEST(NameIndex, KeepsItsCopiesAsTheyWere) {
  const Seed seed;
  std::mt19937 random(seed.value());
  struct Copy {
    NameIndex index;
    Entries entries;
  };
  std::vector<Copy> copies;
  NameIndex index;
  Entries entries;
  TagId next_id = 1;
  for (int change = 0; change < 20'000; ++change) {
    // Half of the hashes differ in their last bits alone, so that the tree grows deep.
    const auto hash =
        static_cast<std::uint32_t>(random() % 2 == 0 ? random() : 0xFFFF0000 | random() % 64);
    if (!entries.empty() && random() % 3 == 0) {
      const auto at = entries.lower_bound(hash);
      const auto found = at == entries.end() ? entries.begin() : at;
      index.Remove(found->first, *found->second.begin());
      found->second.erase(found->second.begin());
      if (found->second.empty()) entries.erase(found);
    } else {
      index.Add(hash, next_id);
      entries[hash].insert(next_id++);
    }
    if (random() % 1'000 == 0) copies.push_back({index, entries});
  }
  copies.push_back({index, entries});
  for (const Copy& copy : copies) ExpectHas(copy.index, copy.entries);
}

}  // namespace
}  // namespace zervane
