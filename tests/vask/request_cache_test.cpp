#include "vask/request_cache.h"

#include <gtest/gtest.h>

#include <string>
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

  TagType TypeOf(TagId id) {
    const Result<TagType> type = cache.GetTagType(database, {}, id);
    EXPECT_TRUE(type.ok()) << id;
    return type.ok() ? *type : TagType::kBlob;
  }

  int CallsOfType(TagId id) {
    const int before = database.calls();
    TypeOf(id);
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
  EXPECT_EQ(cache.name_count(), 0U);
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
    EXPECT_LE(cache.name_count(), 3U);
  }
  EXPECT_EQ(CallsOf("E"), kKept);
}

TEST_F(RequestCacheTest, KeepsNothingWithoutCapacity) {
  database.Add("A", TagType::kInt8);
  Find("A");
  cache.SetCapacity(0);
  EXPECT_EQ(cache.name_count(), 0U);
  Find("A");
  Find("A");
  EXPECT_EQ(cache.name_count(), 0U);
}

TEST_F(RequestCacheTest, ForgetsWhatALowerCapacityDoesNotHold) {
  for (const char* name : {"A", "B", "C"}) {
    database.Add(name, TagType::kInt8);
  }
  for (const char* name : {"A", "B", "C"}) Find(name);
  cache.SetCapacity(2);
  EXPECT_LE(cache.name_count(), 2U);
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

TEST_F(RequestCacheTest, AsksForATypeOnce) {
  const TagId id = database.Add("A", TagType::kString);
  EXPECT_EQ(CallsOfType(id), kNotKept);
  EXPECT_EQ(CallsOfType(id), kKept);
  EXPECT_EQ(TypeOf(id), TagType::kString);
  EXPECT_EQ(cache.type_count(), 1U);
}

TEST_F(RequestCacheTest, ForgetsTypesWhenTheCatalogueMoves) {
  const TagId first = database.Add("A", TagType::kInt8);
  EXPECT_EQ(TypeOf(first), TagType::kInt8);
  ASSERT_EQ(database.DeleteTag(first).code(), ZR3_OK);
  EXPECT_EQ(cache.GetTagType(database, {}, first).code(), ZR3_ERR_TAG_NOT_FOUND);
  const TagId second = database.Add("A", TagType::kInt16);
  EXPECT_EQ(TypeOf(second), TagType::kInt16);
  EXPECT_EQ(CallsOfType(second), kKept);
}

TEST_F(RequestCacheTest, PassesFailuresOnAndDoesNotKeepThem) {
  EXPECT_EQ(cache.GetTagType(database, {}, 7).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(cache.type_count(), 0U);
  database.on_call = [] { return Status(ZR3_ERR_STORAGE_FAILED, {}); };
  EXPECT_EQ(cache.GetTagType(database, {}, 7).code(), ZR3_ERR_STORAGE_FAILED);
}

TEST_F(RequestCacheTest, AnswersNothingWhileNoVersionIsHeard) {
  const TagId id = database.Add("A", TagType::kInt8);
  Find("A");
  TypeOf(id);
  database.hears_version = false;
  EXPECT_EQ(CallsOf("A"), kNotKept);
  EXPECT_EQ(CallsOf("A"), kNotKept);
  EXPECT_EQ(CallsOfType(id), kNotKept);
  EXPECT_EQ(CallsOfType(id), kNotKept);
  database.hears_version = true;  // and it is the one it was
  EXPECT_EQ(CallsOf("A"), kKept);
  EXPECT_EQ(CallsOfType(id), kKept);
}

TEST_F(RequestCacheTest, IsEmptiedWhole) {
  const TagId id = database.Add("A", TagType::kInt8);
  Find("A");
  TypeOf(id);
  cache.Clear();
  EXPECT_EQ(cache.name_count(), 0U);
  EXPECT_EQ(cache.type_count(), 0U);
  EXPECT_EQ(CallsOf("A"), kNotKept);
  EXPECT_EQ(CallsOfType(id), kNotKept);
}

TEST_F(RequestCacheTest, KeepsNoMoreTypesThanItsCapacity) {
  for (int i = 0; i < 20; ++i) database.Add("T" + std::to_string(i), TagType::kInt8);
  cache.SetCapacity(5);
  for (TagId id = 1; id <= 20; ++id) {
    TypeOf(id);
    EXPECT_LE(cache.type_count(), 5U);
    EXPECT_EQ(CallsOfType(id), kKept);
  }
  cache.SetCapacity(3);
  EXPECT_LE(cache.type_count(), 3U);
  cache.SetCapacity(0);
  EXPECT_EQ(CallsOfType(1), kNotKept);
  EXPECT_EQ(CallsOfType(1), kNotKept);
  EXPECT_EQ(cache.type_count(), 0U);
}

// A tag's type is one number in the round of the tag, so that a stale answer shows.
TEST_F(RequestCacheTest, TellsTheTruthOfTypesWhileTheCatalogueMoves) {
  constexpr int kRounds = 500;
  const TagId still = database.Add("still", TagType::kDigital);
  std::thread mover([&] {
    for (int i = 0; i < kRounds; ++i) {
      const TagType type = i % 2 == 0 ? TagType::kInt8 : TagType::kInt16;
      const TagId id = database.Add("moving", type);
      EXPECT_EQ(*cache.GetTagType(database, {}, id), type);
      EXPECT_EQ(*cache.GetTagType(database, {}, id), type);
      EXPECT_EQ(database.DeleteTag(id).code(), ZR3_OK);
      EXPECT_EQ(cache.GetTagType(database, {}, id).code(), ZR3_ERR_TAG_NOT_FOUND);
    }
  });
  std::vector<std::thread> readers;
  for (int t = 0; t < 3; ++t) {
    readers.emplace_back([&, t] {
      for (int i = 0; i < kRounds; ++i) {
        EXPECT_EQ(*cache.GetTagType(database, {}, still), TagType::kDigital);
        (void)cache.GetTagType(database, {}, still + static_cast<TagId>(i + t));
      }
    });
  }
  mover.join();
  for (std::thread& reader : readers) reader.join();
}

}  // namespace
}  // namespace zervane
