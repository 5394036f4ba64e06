#include "engine/tag_array.h"

#include <gtest/gtest.h>

#include <limits>

namespace zervane {
namespace {

constexpr TagId kGreatest = std::numeric_limits<TagId>::max();

TEST(TagArray, HasNothingAtFirst) {
  TagArray<int> array;
  for (const TagId tag : {TagId{0}, TagId{1}, kGreatest}) EXPECT_EQ(array.Find(tag), nullptr);
}

TEST(TagArray, HasAPlaceOfItsOwnForEveryTag) {
  TagArray<TagId> array;
  const TagId tags[] = {0, 1, 1023, 1024, 100'000, kGreatest};
  for (const TagId tag : tags) array.At(tag) = tag + 7;
  for (const TagId tag : tags) {
    ASSERT_NE(array.Find(tag), nullptr) << tag;
    EXPECT_EQ(*array.Find(tag), tag + 7) << tag;
  }
}

TEST(TagArray, MakesTheNeighboursOfATagEmpty) {
  TagArray<int> array;
  array.At(5) = 9;
  EXPECT_EQ(*array.Find(6), 0);
  EXPECT_EQ(array.Find(1024), nullptr);  // of the next piece
}

TEST(TagArray, KeepsThingsWhereTheyAre) {
  TagArray<int> array;
  int* const place = &array.At(5);
  array.At(1'000'000) = 1;
  EXPECT_EQ(&array.At(5), place);
}

TEST(TagArray, KnowsHowFarItIsWithoutAGap) {
  TagArray<int> array;
  EXPECT_FALSE(array.HasAllUpTo(0));
  array.At(1024);
  EXPECT_FALSE(array.HasAllUpTo(1024));
  array.At(1);
  EXPECT_TRUE(array.HasAllUpTo(2047));
  EXPECT_FALSE(array.HasAllUpTo(2048));
}

TEST(SharedTagArray, HasAPlaceOfItsOwnForEveryTag) {
  SharedTagArray<TagId> array;
  for (const TagId tag : {TagId{0}, TagId{1}, kGreatest}) EXPECT_EQ(array.Find(tag), nullptr);
  const TagId tags[] = {0, 1, 1023, 1024, 100'000, (1U << 21) - 1, 1U << 21, kGreatest};
  for (const TagId tag : tags) array.At(tag) = tag + 7;
  for (const TagId tag : tags) {
    ASSERT_NE(array.Find(tag), nullptr) << tag;
    EXPECT_EQ(*array.Find(tag), tag + 7) << tag;
    EXPECT_EQ(&array.At(tag), array.Find(tag)) << tag;
  }
  EXPECT_EQ(*array.Find(2), 0U);
  EXPECT_EQ(array.Find(2048), nullptr);
}

}  // namespace
}  // namespace zervane
