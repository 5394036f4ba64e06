#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/embedded_fixture.h"

namespace zervane {
namespace {

constexpr WriteAnswer kDurable = WriteAnswer::kDurable;
constexpr WriteAnswer kQueued = WriteAnswer::kQueued;
constexpr WriteOrder kAnyOrder = WriteOrder::kAnyOrder;

using EmbeddedWrite = EmbeddedTest;

// ---- acceptance ----

TEST_F(EmbeddedWrite, MakesADurableRecordReadable) {
  const TagId id = AddTag("a");
  Sample sample = NumberAt(1234, 2.5);
  sample.quality = 0xFFFF;
  EXPECT_EQ(Write({{id, sample}}).status, ZR3_OK);
  EXPECT_EQ(*database_->ReadCurrent(id), sample);
  EXPECT_EQ(*database_->ReadRecords(id, {}, Direction::kForward, 10), std::vector{sample});
}

TEST_F(EmbeddedWrite, RefusesSingleRecordsAndCarriesOutTheOthers) {
  const TagId id = AddTag("a");
  const Answer answer = Write({{id, NumberAt(10)},
                               {id, NumberAt(5)},
                               {id + 1, NumberAt(20)},
                               {id, TextAt(20, "x")},
                               {id, NumberAt(kMaxTimeMs + 1)},
                               {id, NumberAt(11)}});
  EXPECT_EQ(answer.status, ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(answer.codes, (Codes{ZR3_OK, ZR3_ERR_OUT_OF_ORDER, ZR3_ERR_TAG_NOT_FOUND,
                                 ZR3_ERR_TYPE_MISMATCH, ZR3_ERR_INVALID_TIME, ZR3_OK}));
  EXPECT_EQ(StoredTimes(id), (std::vector<std::int64_t>{10, 11}));
}

TEST_F(EmbeddedWrite, AnswersSomeFailedWhenAllDid) {
  EXPECT_EQ(Write({{1, NumberAt(10)}}).status, ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(Write({{1, NumberAt(10)}}, kQueued).status, ZR3_ERR_SOME_RECORDS_FAILED);
}

TEST_F(EmbeddedWrite, TakesAnEmptyBatch) {
  EXPECT_EQ(Write({}).status, ZR3_OK);
  EXPECT_EQ(Write({}, kQueued).status, ZR3_OK);
}

TEST_F(EmbeddedWrite, RefusesABatchWithoutASamplePerTag) {
  const TagId id = AddTag("a");
  WriteSamples write;
  write.batch.Add(id, NumberAt(10));
  write.batch.tags.push_back(id);
  EXPECT_EQ(database_->Do(write).code(), ZR3_ERR_INVALID_COUNT);
  EXPECT_TRUE(StoredTimes(id).empty());
}

TEST_F(EmbeddedWrite, ReplacesTheValueOfEqualTime) {
  const TagId id = AddTag("a");
  EXPECT_EQ(Write({{id, NumberAt(10, 1)}}).status, ZR3_OK);
  EXPECT_EQ(Write({{id, NumberAt(10, 2)}}).status, ZR3_OK);
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(10, 2));
  EXPECT_EQ(*database_->CountRecords(id, {}), 1);
}

TEST_F(EmbeddedWrite, MovesTheCurrentValueOnlyForward) {
  const TagId id = AddTag("a");
  EXPECT_EQ(Write({{id, NumberAt(10)}, {id, NumberAt(30)}, {id, NumberAt(20)}}, kDurable, kAnyOrder)
                .status,
            ZR3_OK);
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(30));
  EXPECT_EQ(Write({{id, NumberAt(5)}}, kDurable, kAnyOrder).status, ZR3_OK);
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(30));
  EXPECT_EQ(disk_->current(id), NumberAt(30));
  EXPECT_EQ(StoredTimes(id), (std::vector<std::int64_t>{5, 10, 20, 30}));
  EXPECT_EQ(WriteAt(id, 29), ZR3_ERR_OUT_OF_ORDER);
}

TEST_F(EmbeddedWrite, GivesRecordsOfTimeZeroTheClock) {
  const TagId id = AddTag("a");
  now_ms_ = 4567;
  EXPECT_EQ(WriteAt(id, 0), ZR3_OK);
  EXPECT_EQ(database_->ReadCurrent(id)->time_ms, 4567);
  EXPECT_EQ(*database_->ServerTimeMs(), 4567);
}

TEST_F(EmbeddedWrite, JudgesOrderAgainstCurrentValuesOfAnEarlierRun) {
  const TagId id = AddTag("a");
  EXPECT_EQ(WriteAt(id, 10), ZR3_OK);
  Reopen();
  EXPECT_EQ(WriteAt(id, 9), ZR3_ERR_OUT_OF_ORDER);
  EXPECT_EQ(WriteAt(id, 11), ZR3_OK);
}

TEST_F(EmbeddedWrite, ArchivesOnlyTagsThatArchive) {
  const TagId id = AddTag("a", TagType::kFloat64, false);
  EXPECT_EQ(WriteAt(id, 10), ZR3_OK);
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(10));
  EXPECT_EQ(*database_->CountRecords(id, {}), 0);
  EXPECT_EQ(disk_->current(id), NumberAt(10));

  Tag archiving;
  const PropertyMask mask = {std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_ARCHIVING, 0};
  EXPECT_TRUE(database_->ModifyTag(id, ZR3_TAG_CLASS_BASIC, archiving, mask).ok());
  EXPECT_EQ(WriteAt(id, 11), ZR3_OK);
  EXPECT_EQ(StoredTimes(id), std::vector<std::int64_t>{11});
}

TEST_F(EmbeddedWrite, HasNoCurrentValueBeforeTheFirstRecord) {
  EXPECT_EQ(database_->ReadCurrent(AddTag("a")).code(), ZR3_ERR_NO_RECORD);
}

// ---- history ----

TEST_F(EmbeddedWrite, ReadsTheArchiveInBothDirections) {
  const TagId id = AddTag("a");
  for (std::int64_t time_ms : {10, 20, 30, 40}) EXPECT_EQ(WriteAt(id, time_ms), ZR3_OK);
  const TimeRange range = {.from_ms = 20, .to_ms = 40};
  EXPECT_EQ(*database_->CountRecords(id, range), 3);
  EXPECT_EQ(*database_->ReadRecords(id, range, Direction::kForward, 2),
            (std::vector{NumberAt(20), NumberAt(30)}));
  EXPECT_EQ(*database_->ReadRecords(id, range, Direction::kBackward, 2),
            (std::vector{NumberAt(40), NumberAt(30)}));
}

TEST_F(EmbeddedWrite, FindsNothingInAnEmptyRangeOrForNoRoom) {
  const TagId id = AddTag("a");
  EXPECT_EQ(WriteAt(id, 10), ZR3_OK);
  const TimeRange empty = {.from_ms = 11, .to_ms = 10};
  EXPECT_EQ(*database_->CountRecords(id, empty), 0);
  EXPECT_TRUE(database_->ReadRecords(id, empty, Direction::kForward, 9)->empty());
  EXPECT_TRUE(database_->ReadRecords(id, {}, Direction::kForward, 0)->empty());
}

// ---- queued writes ----

TEST_F(EmbeddedWrite, ShowsAQueuedRecordOnlyOnceItIsStored) {
  const TagId id = AddTag("a");
  disk_->Hold();
  EXPECT_EQ(WriteAt(id, 10, kQueued), ZR3_OK);
  ASSERT_TRUE(disk_->AwaitHeld());
  EXPECT_EQ(database_->ReadCurrent(id).code(), ZR3_ERR_NO_RECORD);
  disk_->Release();
  EXPECT_EQ(WriteAt(id, 11), ZR3_OK);
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(11));
  EXPECT_EQ(*database_->CountRecords(id, {}), 2);
}

TEST_F(EmbeddedWrite, JudgesAQueuedBatchAgainstWhatIsStillQueued) {
  const TagId id = AddTag("a");
  disk_->Hold();
  EXPECT_EQ(WriteAt(id, 10, kQueued), ZR3_OK);
  ASSERT_TRUE(disk_->AwaitHeld());
  EXPECT_EQ(WriteAt(id, 20, kQueued), ZR3_OK);
  EXPECT_EQ(WriteAt(id, 9, kQueued), ZR3_ERR_OUT_OF_ORDER);
  EXPECT_EQ(WriteAt(id, 19, kQueued), ZR3_ERR_OUT_OF_ORDER);
}

TEST_F(EmbeddedWrite, KeepsTheOrderOfCalls) {
  const TagId id = AddTag("a");
  for (int value = 1; value <= 1000; ++value) {
    EXPECT_EQ(Write({{id, NumberAt(10, value)}}, value % 7 == 0 ? kDurable : kQueued).status,
              ZR3_OK);
  }
  EXPECT_TRUE(database_->Close().ok());
  EXPECT_EQ(disk_->archive(id)[10], NumberAt(10, 1000));
  EXPECT_EQ(disk_->current(id), NumberAt(10, 1000));
}

TEST_F(EmbeddedWrite, LosesNoQueuedRecordOnClose) {
  const TagId id = AddTag("a");
  disk_->Hold();
  for (std::int64_t time_ms = 1; time_ms <= 5000; ++time_ms) {
    ASSERT_EQ(WriteAt(id, time_ms, kQueued), ZR3_OK);
  }
  std::thread closing([&] { EXPECT_TRUE(database_->Close().ok()); });
  disk_->Release();
  closing.join();
  EXPECT_EQ(StoredTimes(id).size(), 5000U);
}

TEST_F(EmbeddedWrite, LosesNoQueuedRecordWhenItIsDestroyed) {
  const TagId id = AddTag("a");
  for (std::int64_t time_ms = 1; time_ms <= 500; ++time_ms) {
    ASSERT_EQ(WriteAt(id, time_ms, kQueued), ZR3_OK);
  }
  database_.reset();
  EXPECT_EQ(StoredTimes(id).size(), 500U);
}

TEST_F(EmbeddedWrite, RefusesEveryCallOnceItIsClosed) {
  const TagId id = AddTag("a");
  EXPECT_TRUE(database_->Close().ok());
  EXPECT_TRUE(database_->Close().ok());
  const ZR3_STATUS closed = ZR3_ERR_NOT_CONNECTED;
  EXPECT_EQ(database_->AddTag({}, {}).code(), closed);
  EXPECT_EQ(database_->ModifyTag(id, ZR3_TAG_CLASS_BASIC, {}, {}).code(), closed);
  EXPECT_EQ(database_->DeleteTag(id).code(), closed);
  EXPECT_EQ(database_->GetTag(id).code(), closed);
  TagType type;
  EXPECT_EQ(database_->GetTagType(id, &type), closed);
  EXPECT_EQ(database_->FindTag("a").code(), closed);
  EXPECT_EQ(database_->CatalogueVersion().code(), closed);
  EXPECT_EQ(Write({{id, NumberAt(10)}}).status, closed);
  EXPECT_EQ(Write({{id, NumberAt(10)}}, kQueued).codes, Codes{closed});
  EXPECT_EQ(database_->ReadCurrent(id).code(), closed);
  EXPECT_EQ(database_->CountRecords(id, {}).code(), closed);
  EXPECT_EQ(database_->ReadRecords(id, {}, Direction::kForward, 1).code(), closed);
  EXPECT_EQ(database_->ServerTimeMs().code(), closed);
}

// ---- failures of the store ----

TEST_F(EmbeddedWrite, AnswersTheStatusOfTheStoreForAllThatWasNotRefused) {
  const TagId id = AddTag("a");
  disk_->FailCommits(1);
  const Answer answer = Write({{id, NumberAt(10)}, {id, NumberAt(9)}, {id, NumberAt(11)}});
  EXPECT_EQ(answer.status, ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(answer.codes,
            (Codes{ZR3_ERR_STORAGE_FAILED, ZR3_ERR_OUT_OF_ORDER, ZR3_ERR_STORAGE_FAILED}));
  EXPECT_EQ(database_->ReadCurrent(id).code(), ZR3_ERR_NO_RECORD);
  EXPECT_TRUE(StoredTimes(id).empty());
}

TEST_F(EmbeddedWrite, FallsBackToWhatIsStoredWhenTheStoreRefuses) {
  const TagId id = AddTag("a");
  EXPECT_EQ(WriteAt(id, 10), ZR3_OK);
  disk_->FailCommits(1);
  EXPECT_EQ(WriteAt(id, 30), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(10));
  EXPECT_EQ(WriteAt(id, 9), ZR3_ERR_OUT_OF_ORDER);
  EXPECT_EQ(WriteAt(id, 20), ZR3_OK);
}

TEST_F(EmbeddedWrite, TakesALateRecordAsCurrentWhenTheNewerOneWasLost) {
  const TagId id = AddTag("a");
  disk_->Hold();
  disk_->FailCommits(1);
  EXPECT_EQ(WriteAt(id, 30, kQueued), ZR3_OK);
  ASSERT_TRUE(disk_->AwaitHeld());
  EXPECT_EQ(Write({{id, NumberAt(20)}}, kQueued, kAnyOrder).status, ZR3_OK);
  disk_->Release();
  EXPECT_EQ(database_->Close().code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(disk_->current(id), NumberAt(20));
}

TEST_F(EmbeddedWrite, AnswersALostQueuedBatchWithTheNextDurableWrite) {
  const TagId id = AddTag("a");
  disk_->Hold();
  disk_->FailCommits(1);
  EXPECT_EQ(WriteAt(id, 10, kQueued), ZR3_OK);
  ASSERT_TRUE(disk_->AwaitHeld());
  disk_->Release();
  const Answer answer = Write({{id, NumberAt(20)}});
  EXPECT_EQ(answer.status, ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(answer.codes, Codes{ZR3_OK});
  EXPECT_EQ(Write({{id, NumberAt(30)}}).status, ZR3_OK);
  EXPECT_EQ(StoredTimes(id), (std::vector<std::int64_t>{20, 30}));
  EXPECT_TRUE(database_->Close().ok());
}

TEST_F(EmbeddedWrite, AnswersALostQueuedBatchWithClose) {
  const TagId id = AddTag("a");
  disk_->FailCommits(TestDisk::kForever);
  EXPECT_EQ(WriteAt(id, 10, kQueued), ZR3_OK);
  EXPECT_EQ(database_->Close().code(), ZR3_ERR_STORAGE_FAILED);
}

TEST_F(EmbeddedWrite, LetsNoOtherBatchSufferFromOneThatTheStoreRefuses) {
  const TagId good = AddTag("good");
  const TagId bad = AddTag("bad");
  disk_->FailCommitsOfTag(bad);
  disk_->Hold();
  EXPECT_EQ(WriteAt(good, 1, kQueued), ZR3_OK);
  ASSERT_TRUE(disk_->AwaitHeld());
  EXPECT_EQ(WriteAt(good, 2, kQueued), ZR3_OK);
  EXPECT_EQ(WriteAt(bad, 2, kQueued), ZR3_OK);
  EXPECT_EQ(WriteAt(good, 3, kQueued), ZR3_OK);
  disk_->Release();
  EXPECT_EQ(database_->Close().code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(StoredTimes(good), (std::vector<std::int64_t>{1, 2, 3}));
  EXPECT_TRUE(StoredTimes(bad).empty());
}

}  // namespace
}  // namespace zervane
