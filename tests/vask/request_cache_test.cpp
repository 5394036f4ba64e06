#include "vask/request_cache.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/vask/fake_database.h"

namespace zervane {
namespace {

class RequestCacheTest : public testing::Test {
 protected:
  TagId Find(std::string_view name) {
    const Result<TagId> id = cache.FindTagId(database, {}, name);
    EXPECT_TRUE(id.ok()) << name;
    return id.ok() ? *id : 0;
  }

  int CallsOf(std::string_view name) {
    const int before = database.calls();
    Find(name);
    return database.calls() - before;
  }

  static constexpr int kKept = 0;
  static constexpr int kNotKept = 1;

  FakeDatabase database;
  RequestCache cache;
};

TEST_F(RequestCacheTest, AsksForANameOnce) {
  const TagId id = database.Add("A", TagType::kInt8);
  EXPECT_EQ(CallsOf("A"), kNotKept);
  EXPECT_EQ(CallsOf("A"), kKept);
  EXPECT_EQ(Find("A"), id);
}

TEST_F(RequestCacheTest, ForgetsWhenTheCatalogueMoves) {
  const TagId first = database.Add("A", TagType::kInt8);
  EXPECT_EQ(Find("A"), first);
  ASSERT_EQ(database.DeleteTag(first).code(), ZR3_OK);
  EXPECT_EQ(cache.FindTagId(database, {}, "A").code(), ZR3_ERR_NAME_NOT_FOUND);
  const TagId second = database.Add("A", TagType::kInt8);
  EXPECT_EQ(Find("A"), second);
}

TEST_F(RequestCacheTest, DoesNotKeepFailures) {
  EXPECT_EQ(cache.FindTagId(database, {}, "A").code(), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(cache.size(), 0U);
}

TEST_F(RequestCacheTest, PassesFailuresOfTheDatabaseOn) {
  database.on_call = [] { return Status(ZR3_ERR_STORAGE_FAILED, {}); };
  EXPECT_EQ(cache.FindTagId(database, {}, "A").code(), ZR3_ERR_STORAGE_FAILED);
}

TEST_F(RequestCacheTest, KeepsNoMoreThanItsCapacity) {
  cache.SetCapacity(3);
  for (const char* name : {"A", "B", "C", "D", "E"}) database.Add(name, TagType::kInt8);
  for (const char* name : {"A", "B", "C", "D", "E"}) {
    Find(name);
    EXPECT_LE(cache.size(), 3U);
  }
  EXPECT_EQ(CallsOf("E"), kKept);
}

TEST_F(RequestCacheTest, KeepsNothingWithoutCapacity) {
  database.Add("A", TagType::kInt8);
  Find("A");
  cache.SetCapacity(0);
  EXPECT_EQ(cache.size(), 0U);
  Find("A");
  Find("A");
  EXPECT_EQ(cache.size(), 0U);
}

TEST_F(RequestCacheTest, ForgetsWhatALowerCapacityDoesNotHold) {
  for (const char* name : {"A", "B", "C"}) {
    database.Add(name, TagType::kInt8);
  }
  for (const char* name : {"A", "B", "C"}) Find(name);
  cache.SetCapacity(2);
  EXPECT_LE(cache.size(), 2U);
}

TEST_F(RequestCacheTest, TellsTheTruthWhileTheCatalogueMoves) {
  constexpr int kRounds = 500;
  database.Add("still", TagType::kInt8);
  std::thread mover([&] {
    for (int i = 0; i < kRounds; ++i) {
      const TagId id = database.Add("moving", TagType::kInt8);
      EXPECT_EQ(*cache.FindTagId(database, {}, "moving"), id);
      EXPECT_EQ(database.DeleteTag(id).code(), ZR3_OK);
      EXPECT_EQ(cache.FindTagId(database, {}, "moving").code(), ZR3_ERR_NAME_NOT_FOUND);
    }
  });
  std::vector<std::thread> readers;
  for (int t = 0; t < 3; ++t) {
    readers.emplace_back([&] {
      for (int i = 0; i < kRounds; ++i) {
        EXPECT_EQ(*cache.FindTagId(database, {}, "still"), 1U);
        (void)cache.FindTagId(database, {}, "moving");
      }
    });
  }
  mover.join();
  for (std::thread& reader : readers) reader.join();
}

}  // namespace
}  // namespace zervane
