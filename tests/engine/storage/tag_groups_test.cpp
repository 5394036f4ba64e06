#include "engine/storage/tag_groups.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

#include "tests/support/seed.h"

namespace zervane::storage {
namespace {

std::map<TagId, std::vector<std::uint32_t>> Groups(TagGroups& groups,
                                                   const std::vector<TagId>& tags) {
  groups.Sort(tags);
  std::map<TagId, std::vector<std::uint32_t>> found;
  TagId before = 0;
  for (const TagGroups::Group& group : groups.all()) {
    EXPECT_TRUE(found.empty() || group.tag > before) << "in order of tag, each once";
    before = group.tag;
    found[group.tag].assign(group.records.begin(), group.records.end());
  }
  return found;
}

TEST(TagGroups, HaveTheRecordsOfEachTagInTheBatchsOrder) {
  const Seed seed;
  std::mt19937 random(seed.value());
  TagGroups groups;
  for (const std::uint64_t tags_there : {1ULL, 3ULL, 1000ULL, 5'000'000ULL, 4'294'967'295ULL}) {
    for (const std::size_t size : {0U, 1U, 2U, 100U, 5000U}) {
      std::vector<TagId> tags;
      std::map<TagId, std::vector<std::uint32_t>> expected;
      for (std::uint32_t i = 0; i < size; ++i) {
        tags.push_back(static_cast<TagId>(1 + random() % tags_there));
        expected[tags.back()].push_back(i);
      }
      EXPECT_EQ(Groups(groups, tags), expected) << size << " records of " << tags_there;
    }
  }
}

TEST(TagGroups, TakeABatchThatIsInOrderAsItIs) {
  TagGroups groups;
  const std::map<TagId, std::vector<std::uint32_t>> expected = {{2, {0, 1}}, {9, {2}}};
  EXPECT_EQ(Groups(groups, {2, 2, 9}), expected);
}

}  // namespace
}  // namespace zervane::storage
