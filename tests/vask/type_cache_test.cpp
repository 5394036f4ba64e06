#include "vask/type_cache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <limits>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr std::size_t kRoom = 100'000;

// A type that follows from the identifier.
TagType TypeOf(TagId id) { return static_cast<TagType>(id % 8); }

TEST(TypeCache, FindsWhatItKeeps) {
  TypeCache types;
  EXPECT_EQ(types.Find(1), std::nullopt);
  for (const TagId id : {TagId{0}, TagId{1}, TagId{1'024}, std::numeric_limits<TagId>::max()}) {
    types.Keep(id, TypeOf(id), kRoom);
    EXPECT_EQ(types.Find(id), TypeOf(id)) << id;
  }
  EXPECT_EQ(types.Find(2), std::nullopt);
}

TEST(TypeCache, HasAPlaceForEachOfTheIdentifiersThatWereGivenInTurn) {
  TypeCache types;
  for (TagId id = 1; id <= 20'000; ++id) types.Keep(id, TypeOf(id), kRoom);
  EXPECT_EQ(types.Count(), 20'000U);
  for (TagId id = 1; id <= 20'000; ++id) ASSERT_EQ(types.Find(id), TypeOf(id)) << id;
}

TEST(TypeCache, StaysSmallForIdentifiersFarApart) {
  TypeCache types;
  constexpr std::size_t kHuge = std::numeric_limits<std::int32_t>::max();
  const TagId far = TagId{1} << 31;
  types.Keep(7, TypeOf(7), kHuge);
  types.Keep(far + 7, TypeOf(far + 7), kHuge);
  EXPECT_EQ(types.Find(far + 7), TypeOf(far + 7));
  EXPECT_EQ(types.Count(), 1U) << "it grew until both had a place";
}

TEST(TypeCache, ForgetsAllWithARound) {
  TypeCache types;
  for (TagId id = 1; id <= 3'000; ++id) types.Keep(id, TypeOf(id), kRoom);
  types.BeginRound();
  EXPECT_EQ(types.Count(), 0U);
  for (TagId id = 1; id <= 3'000; ++id) ASSERT_EQ(types.Find(id), std::nullopt);
  types.Keep(5, TagType::kBlob, kRoom);
  EXPECT_EQ(types.Find(5), TagType::kBlob);
  EXPECT_EQ(types.Count(), 1U);
}

TEST(TypeCache, IsRightWhenTheRoundsBeginAnew) {
  constexpr std::uint32_t kRounds = 1U << 24;  // more than an entry tells apart
  TypeCache types;
  types.Keep(1, TagType::kString, kRoom);
  for (std::uint32_t i = 0; i < kRounds; ++i) {
    types.BeginRound();
    if (types.Find(1)) FAIL() << "of a round long past, after " << i;
    if (i % 65'537 != 0) continue;
    types.Keep(i, TypeOf(i), kRoom);
    ASSERT_EQ(types.Find(i), TypeOf(i));
  }
}

TEST(TypeCache, KeepsNoMoreThanItMayHoweverThatChanges) {
  const Seed seed;
  std::mt19937 random(seed.value());
  std::uniform_int_distribution<TagId> ids(1, 5'000);
  std::uniform_int_distribution<std::size_t> capacities(1, 3'000);
  TypeCache types;
  std::size_t capacity = 10;
  for (int i = 0; i < 50'000; ++i) {
    if (i % 1'000 == 0) {
      capacity = capacities(random);
      if (types.Count() > capacity) types.BeginRound();
    }
    const TagId id = ids(random);
    types.Keep(id, TypeOf(id), capacity);
    ASSERT_LE(types.Count(), capacity);
    ASSERT_EQ(types.Find(id), TypeOf(id));
    const TagId other = ids(random);
    ASSERT_EQ(types.Find(other).value_or(TypeOf(other)), TypeOf(other));
  }
}

TEST(TypeCache, IsReadWhileItGrows) {
  TypeCache types;
  std::atomic<bool> is_over{false};
  std::vector<std::thread> readers;
  for (TagId first = 1; first <= 3; ++first) {
    readers.emplace_back([&, first] {
      for (TagId id = first; !is_over; id = id % 40'000 + 1) {
        ASSERT_EQ(types.Find(id).value_or(TypeOf(id)), TypeOf(id));
      }
    });
  }
  for (TagId id = 1; id <= 40'000; ++id) {
    types.Keep(id, TypeOf(id), kRoom);
    if (id % 9'999 == 0) types.BeginRound();
  }
  is_over = true;
  for (std::thread& reader : readers) reader.join();
}

}  // namespace
}  // namespace zervane
