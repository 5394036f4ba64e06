#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "engine/embedded.h"
#include "tests/engine/embedded_fixture.h"

namespace zervane {
namespace {

constexpr std::int64_t kTypeBit = std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE;

class EmbeddedCatalogue : public EmbeddedTest {
 protected:
  TagType TypeOf(TagId id) {
    TagType type = TagType::kBlob;
    EXPECT_EQ(database_->GetTagType(id, &type), ZR3_OK);
    return type;
  }

  Status Retype(TagId id, TagType type) {
    Tag given;
    given.type = static_cast<std::int32_t>(type);
    return database_->ModifyTag(id, ZR3_TAG_CLASS_BASIC, given, {kTypeBit, 0});
  }
};

TEST_F(EmbeddedCatalogue, AnswersByIdentifierAndByName) {
  const TagId id = AddTag("Pump.On", TagType::kDigital);
  EXPECT_EQ(database_->GetTag(id)->name, "Pump.On");
  EXPECT_EQ(TypeOf(id), TagType::kDigital);
  EXPECT_EQ(*database_->FindTag("pump.on"), id);
  EXPECT_EQ(*database_->CatalogueVersion(), 1);
}

TEST_F(EmbeddedCatalogue, StampsTagsWithItsClockAndItsUser) {
  const TagId id = AddTag("a");
  const Result<Tag> tag = database_->GetTag(id);
  EXPECT_EQ(tag->creation_date, 1'700'000'000U);
  EXPECT_EQ(tag->creator, "admin");
  EXPECT_EQ(tag->changer, "admin");
}

TEST_F(EmbeddedCatalogue, SaysSoWhenThereIsNoSuchTag) {
  EXPECT_EQ(database_->GetTag(1).code(), ZR3_ERR_TAG_NOT_FOUND);
  TagType type = TagType::kBlob;
  EXPECT_EQ(database_->GetTagType(0, &type), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(database_->GetTagType(0xFFFFFFFF, &type), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(type, TagType::kBlob);  // untouched
  EXPECT_EQ(database_->FindTag("a").code(), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(database_->FindTag(std::string(100'000, 'x')).code(), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(database_->DeleteTag(1).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(database_->ModifyTag(1, ZR3_TAG_CLASS_BASIC, {}, {}).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(database_->ReadCurrent(1).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(database_->CountRecords(1, {}).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(database_->ReadRecords(1, {}, Direction::kForward, 1).code(), ZR3_ERR_TAG_NOT_FOUND);
}

TEST_F(EmbeddedCatalogue, StaysAsItWasWhenTheStoreRefuses) {
  AddTag("a");
  disk_->FailCatalogue(true);
  Tag other;
  other.name = "b";
  EXPECT_EQ(database_->AddTag(other, {}).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(database_->DeleteTag(1).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(*database_->FindTag("a"), 1U);
  EXPECT_EQ(WriteAt(1, 10), ZR3_OK);
  EXPECT_EQ(StoredTimes(1).size(), 1U);
}

TEST_F(EmbeddedCatalogue, KeepsTheTypeOfATagWithRecords) {
  const TagId id = AddTag("a");
  EXPECT_TRUE(Retype(id, TagType::kInt32).ok());
  EXPECT_TRUE(Retype(id, TagType::kFloat64).ok());
  EXPECT_EQ(WriteAt(id, 10), ZR3_OK);
  EXPECT_EQ(Retype(id, TagType::kInt32).code(), ZR3_ERR_TAG_HAS_RECORDS);
  EXPECT_TRUE(Retype(id, TagType::kFloat64).ok());
  Reopen();
  EXPECT_EQ(Retype(id, TagType::kInt32).code(), ZR3_ERR_TAG_HAS_RECORDS);
}

TEST_F(EmbeddedCatalogue, KeepsTheTypeOfATagThatLostItsCurrentValueAlone) {
  const TagId id = AddTag("a");
  EXPECT_EQ(WriteAt(id, 10), ZR3_OK);
  disk_->LoseCurrent(id);
  Reopen();
  EXPECT_EQ(database_->ReadCurrent(id).code(), ZR3_ERR_NO_RECORD);
  EXPECT_EQ(Retype(id, TagType::kInt32).code(), ZR3_ERR_TAG_HAS_RECORDS);
}

TEST_F(EmbeddedCatalogue, ChangesTheTypeOfATagWhoseOnlyRecordWasRefusedByTheStore) {
  const TagId id = AddTag("a");
  disk_->FailCommits(1);
  EXPECT_EQ(WriteAt(id, 10), ZR3_ERR_STORAGE_FAILED);
  EXPECT_TRUE(Retype(id, TagType::kInt32).ok());
  EXPECT_EQ(WriteAt(id, 10), ZR3_ERR_TYPE_MISMATCH);
}

TEST_F(EmbeddedCatalogue, AcceptsNoRecordWhileTheStoreChangesATagsType) {
  const TagId id = AddTag("a");
  disk_->Hold();
  std::thread retyping([&] { EXPECT_TRUE(Retype(id, TagType::kString).ok()); });
  ASSERT_TRUE(disk_->AwaitHeld());
  std::atomic<bool> is_answered{false};
  ZR3_STATUS code = ZR3_OK;
  std::thread writing([&] {
    code = WriteAt(id, 10, WriteAnswer::kQueued);
    is_answered = true;
  });
  for (int chances = 20'000; chances > 0 && !is_answered; --chances) std::this_thread::yield();
  EXPECT_FALSE(is_answered);
  disk_->Release();
  retyping.join();
  writing.join();
  EXPECT_EQ(code, ZR3_ERR_TYPE_MISMATCH);
}

TEST_F(EmbeddedCatalogue, DeletesATagWithItsRecordsForGood) {
  const TagId id = AddTag("a");
  EXPECT_EQ(WriteAt(id, 10), ZR3_OK);
  EXPECT_TRUE(database_->DeleteTag(id).ok());
  EXPECT_EQ(database_->ReadCurrent(id).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(WriteAt(id, 11), ZR3_ERR_TAG_NOT_FOUND);
  const TagId next = AddTag("a");
  EXPECT_EQ(next, id + 1);
  EXPECT_EQ(database_->ReadCurrent(next).code(), ZR3_ERR_NO_RECORD);
  EXPECT_EQ(*database_->CountRecords(next, {}), 0);
  EXPECT_EQ(disk_->orphans(), 0);
}

TEST_F(EmbeddedCatalogue, DeletesATagWhoseRecordsStillWait) {
  const TagId doomed = AddTag("doomed");
  const TagId other = AddTag("other");
  disk_->Hold();
  std::thread deleting([&] { EXPECT_TRUE(database_->DeleteTag(doomed).ok()); });
  // The store is about to remove the tag; until it has, records of the tag are accepted.
  ASSERT_TRUE(disk_->AwaitHeld());
  for (std::int64_t time_ms = 11; time_ms < 40; ++time_ms) {
    EXPECT_EQ(WriteAt(doomed, time_ms, WriteAnswer::kQueued), ZR3_OK);
    EXPECT_EQ(WriteAt(other, time_ms, WriteAnswer::kQueued), ZR3_OK);
  }
  disk_->Release();
  deleting.join();
  EXPECT_EQ(WriteAt(doomed, 50), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_TRUE(database_->Close().ok());
  EXPECT_EQ(disk_->orphans(), 0);
  EXPECT_TRUE(disk_->archive(doomed).empty());
  EXPECT_EQ(StoredTimes(other).size(), 29U);
}

TEST_F(EmbeddedCatalogue, KeepsTheQueuedRecordsOfATagThatTheStoreDidNotRemove) {
  const TagId id = AddTag("a");
  disk_->FailCatalogue(true);
  disk_->Hold();
  std::thread deleting([&] { EXPECT_EQ(database_->DeleteTag(id).code(), ZR3_ERR_STORAGE_FULL); });
  ASSERT_TRUE(disk_->AwaitHeld());
  EXPECT_EQ(WriteAt(id, 10, WriteAnswer::kQueued), ZR3_OK);
  disk_->Release();
  deleting.join();
  EXPECT_EQ(WriteAt(id, 11), ZR3_OK);
  EXPECT_EQ(StoredTimes(id).size(), 2U);
}

TEST_F(EmbeddedCatalogue, HoldsAfterReopeningWhatItHeldBefore) {
  const TagId id = AddTag("a", TagType::kString);
  EXPECT_EQ(Write({{id, TextAt(10, "on")}}).status, ZR3_OK);
  const Tag before = *database_->GetTag(id);
  Reopen();
  EXPECT_EQ(*database_->GetTag(id), before);
  EXPECT_EQ(*database_->CatalogueVersion(), 1);
  EXPECT_EQ(*database_->ReadCurrent(id), TextAt(10, "on"));
  EXPECT_EQ(AddTag("b"), id + 1);
}

// ---- opening ----

TEST_F(EmbeddedCatalogue, StampsTagsWithTheUserWhoAsks) {
  Tag tag;
  tag.name = "a";
  const Result<TagId> id = database_->database().Do({.user = "anna"}, zervane::AddTag{tag, {}});
  ASSERT_TRUE(id.ok());
  EXPECT_EQ(database_->GetTag(*id)->creator, "anna");
  EXPECT_EQ(database_->database()
                .Do({.user = std::string(190, 'x')},
                    ModifyTag{*id, ZR3_TAG_CLASS_BASIC, {}, {.common = 0, .extension = 0}})
                .code(),
            ZR3_ERR_INVALID_PROPERTY);
}

TEST(OpenEmbedded, RefusesACurrentValueThatBreaksARule) {
  Tag tag;
  tag.name = "a";
  tag.id = 1;
  const Sample damaged[] = {TextAt(10, "x"), {.time_ms = 10, .type = TagType::kInt32, .value = 3}};
  for (const Sample& current : damaged) {
    auto disk = std::make_shared<TestDisk>();
    disk->Put(tag);
    disk->Put({tag.id, current, kCurrent});
    EXPECT_EQ(OpenEmbedded(disk->Open(disk), SystemClock()).code(), ZR3_ERR_STORAGE_DAMAGED);
  }
}

TEST(OpenVolatile, GivesADatabaseOfItsOwnEachTime) {
  DatabaseClient first = *OpenVolatile();
  DatabaseClient second = *OpenVolatile();
  Tag tag;
  tag.name = "a";
  EXPECT_EQ(*first->AddTag(tag, {}), 1U);
  EXPECT_EQ(first->GetTag(1)->creator, "admin");
  EXPECT_EQ(second->FindTag("a").code(), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_GT(*first->ServerTimeMs(), 1'600'000'000'000);
}

}  // namespace
}  // namespace zervane
