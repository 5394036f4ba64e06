#include "engine/catalogue/tag_index.h"

#include <gtest/gtest.h>

#include <limits>

namespace zervane {
namespace {

constexpr TagId kGreatest = std::numeric_limits<TagId>::max();

void Put(TagIndex& index, TagId id, const TagTraits& traits) {
  index.Reserve(id);
  index.Put(id, traits);
}

TEST(TagIndex, KnowsNoTagAtFirst) {
  const TagIndex index;
  for (TagId id : {TagId{0}, TagId{1}, TagId{65535}, TagId{65536}, kGreatest}) {
    EXPECT_EQ(index.Find(id), std::nullopt) << id;
  }
}

TEST(TagIndex, RemembersTheTraitsOfEveryKindOfTag) {
  TagIndex index;
  TagId id = 1;
  for (int type = ZR3_TAG_TYPE_MIN; type <= ZR3_TAG_TYPE_MAX; ++type) {
    for (bool archiving : {false, true}) {
      for (bool filtered : {false, true}) {
        const TagTraits traits = {static_cast<TagType>(type), archiving, filtered};
        Put(index, id, traits);
        EXPECT_EQ(index.Find(id), traits) << type << archiving << filtered;
        ++id;
      }
    }
  }
}

TEST(TagIndex, TakesIdentifiersAnywhere) {
  TagIndex index;
  const TagTraits traits = {TagType::kBlob, false};
  for (TagId id : {TagId{0}, TagId{65535}, TagId{65536}, TagId{1'000'000}, kGreatest}) {
    Put(index, id, traits);
    EXPECT_EQ(index.Find(id), traits) << id;
  }
  EXPECT_EQ(index.Find(kGreatest - 1), std::nullopt);
  EXPECT_EQ(index.Find(65537), std::nullopt);
}

TEST(TagIndex, ForgetsARemovedTag) {
  TagIndex index;
  Put(index, 5, {});
  index.Remove(5);
  index.Remove(kGreatest);
  EXPECT_EQ(index.Find(5), std::nullopt);
}

TEST(TagIndex, HasNoTagWhereRoomIsReserved) {
  TagIndex index;
  index.Reserve(9);
  EXPECT_EQ(index.Find(9), std::nullopt);
}

}  // namespace
}  // namespace zervane
