#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "engine/storage/store.h"
#include "engine/storage/table.h"
#include "tests/engine/storage/any_store.h"
#include "tests/support/case_name.h"

// What every store must do with records, run on each of them.
namespace zervane::storage {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Conformance = AnyStore;

INSTANTIATE_TEST_SUITE_P(Store, Conformance,
                         testing::ValuesIn(AllStores().begin(), AllStores().end()), CaseName());

// ---- commits ----

TEST_P(Conformance, CountsCommits) {
  const std::int64_t before = store_->Lease(LeaseWish::kLook)->last_commit;
  EXPECT_EQ(before, 2);
  Append({Record(1, 10, 1)});
  EXPECT_EQ(store_->Lease(LeaseWish::kLook)->last_commit, before + 1);
  StoreBatch refused;
  AddTo(refused.records, Record(1, -1, 0));
  EXPECT_EQ(driver_->Commit(refused).fate, CommitAnswer::Fate::kRefused);
  EXPECT_EQ(store_->Lease(LeaseWish::kLook)->last_commit, before + 1);
}

TEST_P(Conformance, GoesOnCountingWhenItIsOpenedAgain) {
  AppendTens(100);
  const std::int64_t before = driver_->last_commit();
  for (int i = 0; i < 3; ++i) {
    Reopen();
    EXPECT_EQ(driver_->last_commit(), before);
  }
}

TEST_P(Conformance, CountsACommitOfNothing) {
  driver_->MustCommit({});
  driver_->MustCommit({});
  Reopen();
  EXPECT_EQ(driver_->last_commit(), 4);
  EXPECT_EQ(CountOf({}), 0);
}

TEST_P(Conformance, MayWriteAlone) {
  for (const LeaseWish wish :
       {LeaseWish::kTake, LeaseWish::kRenew, LeaseWish::kLook, LeaseWish::kRelease}) {
    const Result<LeaseAnswer> lease = store_->Lease(wish);
    ASSERT_TRUE(lease.ok()) << lease.status().message();
    EXPECT_TRUE(lease->is_mine);
    EXPECT_EQ(lease->epoch, 1);
    EXPECT_FALSE(lease->unknown_is_stored.has_value());
  }
}

TEST_P(Conformance, StoresRecordsAndRowsOfOneBatchTogether) {
  StoreBatch batch;
  AddTo(batch.records, Record(1, 10, 1));
  AddTo(batch.records, Record(2, 20, 1));  // its tag goes
  AddTo(batch.records, Record(3, 10, 1));  // its tag comes
  Table<Tag>::Put(TagNamed(3, "THREE"), batch);
  batch.emptied = {2};
  Table<Tag>::Remove(2, batch);
  Append({Record(2, 10, 1)});
  driver_->MustCommit(std::move(batch));
  Reopen();
  EXPECT_THAT(Tags(*store_), ElementsAre(TagNamed(1, "ONE"), TagNamed(3, "THREE")));
  EXPECT_EQ(CountOf({}, 1), 1);
  EXPECT_EQ(CountOf({}, 2), 0);
  EXPECT_EQ(CountOf({}, 3), 1);
  EXPECT_THAT(CurrentValues(*store_), ElementsAre(TagSample{1, Record(1, 10, 1).sample},
                                                  TagSample{3, Record(3, 10, 1).sample}));
}

TEST_P(Conformance, StoresNothingOfABatchThatItRefuses) {
  Append({Record(1, 10, 1)});
  StoreBatch batch;
  batch.emptied = {1};
  AddTo(batch.records, Record(2, 20, 1));
  AddTo(batch.records, Record(2, kMaxTimeMs + 1, 1));
  Table<Tag>::Put(TagNamed(3, "THREE"), batch);
  const CommitAnswer answer = driver_->Commit(batch);
  EXPECT_EQ(answer.fate, CommitAnswer::Fate::kRefused);
  EXPECT_EQ(answer.status.code(), ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(batch.records.size(), 2U);
  Reopen();
  EXPECT_THAT(Tags(*store_), ElementsAre(TagNamed(1, "ONE"), TagNamed(2, "TWO")));
  EXPECT_EQ(CountOf({}, 1), 1);
  EXPECT_EQ(CountOf({}, 2), 0);
}

// ---- tags and their records ----

TEST_P(Conformance, KeepsTagsInOrderOfIdentifier) {
  driver_->PutTag(TagNamed(9, "NINE"));
  driver_->PutTag(TagNamed(5, "FIVE"));
  EXPECT_THAT(Tags(*store_), ElementsAre(TagNamed(1, "ONE"), TagNamed(2, "TWO"),
                                         TagNamed(5, "FIVE"), TagNamed(9, "NINE")));
}

TEST_P(Conformance, ReplacesATagAndKeepsItsRecords) {
  AppendTens(3);
  driver_->PutTag(TagNamed(1, "RENAMED"));
  EXPECT_EQ(Tags(*store_).front(), TagNamed(1, "RENAMED"));
  EXPECT_EQ(CountOf({}), 3);
}

TEST_P(Conformance, EmptiesATagOfItsCurrentValueAndArchive) {
  AppendTens(100);
  Append({Record(2, 10, 1), Record(1, 2000, 0, kHeld)});
  driver_->RemoveTag(1);
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(Times({}, Direction::kForward, 10), IsEmpty());
    EXPECT_EQ(CountOf({}), 0);
    EXPECT_FALSE(store_->ReadHeld(1)->has_value());
    EXPECT_THAT(CurrentValues(*store_), ElementsAre(TagSample{2, Record(2, 10, 1).sample}));
    Reopen();
  }
}

// Its row stays, and so it takes records anew, those of the same batch too.
TEST_P(Conformance, EmptiesATagThatStays) {
  AppendTens(100);
  StoreBatch batch;
  batch.emptied = {1};
  AddTo(batch.records, Record(1, 15, 7));
  driver_->MustCommit(std::move(batch));
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(Times({}, Direction::kForward, 10), ElementsAre(15));
    EXPECT_THAT(CurrentValues(*store_), ElementsAre(TagSample{1, Record(1, 15, 7).sample}));
    Append({Record(1, 15, 7)});
    Reopen();
  }
}

TEST_P(Conformance, TakesTheRemovalOfATagThatIsNotThere) {
  driver_->RemoveTag(77);
  EXPECT_EQ(Tags(*store_).size(), 2U);
}

TEST_P(Conformance, LeavesOutRecordsOfTagsThatAreNotThere) {
  Append({Record(77, 10, 1), Record(1, 10, 1)});
  EXPECT_EQ(CountOf({}, 77), 0);
  EXPECT_EQ(CountOf({}, 1), 1);
  EXPECT_EQ(CurrentValues(*store_).size(), 1U);
}

// ---- current values ----

TEST_P(Conformance, KeepsTheLastCurrentValueOfEveryTag) {
  EXPECT_THAT(CurrentValues(*store_), IsEmpty());
  Append({Record(1, 10, 1), Record(2, 10, 2), Record(1, 20, 3)});
  Append({Record(2, 5, 4)});
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(CurrentValues(*store_), ElementsAre(TagSample{1, Record(1, 20, 3).sample},
                                                    TagSample{2, Record(2, 5, 4).sample}));
    Reopen();
  }
}

TEST_P(Conformance, ReadsCurrentValuesOfARangeOfTags) {
  for (TagId tag = 3; tag <= 6; ++tag) driver_->PutTag(TagNamed(tag, std::to_string(tag)));
  Append({Record(2, 10, 2), Record(3, 10, 3), Record(4, 10, 4), Record(6, 10, 6)});
  const auto tags = [&](TagId first, TagId last) { return store_->ReadCurrent(first, last)->tags; };
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(tags(3, 6), ElementsAre(3, 4, 6));
    EXPECT_THAT(tags(4, 5), ElementsAre(4));
    EXPECT_THAT(tags(5, 5), IsEmpty());
    EXPECT_THAT(tags(6, 2), IsEmpty());
    EXPECT_THAT(tags(0, std::numeric_limits<TagId>::max()), ElementsAre(2, 3, 4, 6));
    Reopen();
  }
}

TEST_P(Conformance, KeepsArchiveAndCurrentValueApart) {
  const MarkedSample current = Record(1, 20, 2, kCurrent);
  Append({Record(1, 10, 1, kArchive), current});
  EXPECT_THAT(Times({}, Direction::kForward, 10), ElementsAre(10));
  EXPECT_THAT(CurrentValues(*store_), ElementsAre(TagSample{1, current.sample}));
}

TEST_P(Conformance, KeepsValuesOfEveryType) {
  const std::string text = "a text of more than a few bytes";
  const std::vector<std::pair<TagType, Value>> values = {
      {TagType::kInt8, -128},
      {TagType::kInt16, 32767},
      {TagType::kInt32, -70'000},
      {TagType::kFloat32, 0.1F},
      {TagType::kFloat64, 1e-300},
      {TagType::kDigital, 1},
      {TagType::kString, text},
      {TagType::kString, std::string()},
      {TagType::kBlob, std::string("\0\xFF\0", 3)}};
  std::vector<MarkedSample> records;
  std::vector<TagSample> expected;
  TagId id = 10;
  for (const auto& [type, value] : values) {
    ++id;
    driver_->PutTag(TagNamed(id, "T" + std::to_string(id)));
    MarkedSample record{.tag = id, .sample = {.time_ms = id, .type = type, .value = value}};
    record.sample.quality = 64;
    expected.push_back({id, record.sample});
    records.push_back(std::move(record));
  }
  Append(records);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(CurrentValues(*store_), expected);
    for (const TagSample& sample : expected) {
      EXPECT_THAT(ReadAll(*store_, sample.tag), ElementsAre(sample.sample));
    }
    Reopen();
  }
}

// ---- archive ----

TEST_P(Conformance, ReadsUpToTheLimitFromEitherEnd) {
  AppendTens(100);
  EXPECT_THAT(Times({}, Direction::kForward, 3), ElementsAre(10, 20, 30));
  EXPECT_THAT(Times({}, Direction::kBackward, 3), ElementsAre(1000, 990, 980));
  EXPECT_EQ(Times({}, Direction::kForward, SIZE_MAX).size(), 100U);
  EXPECT_EQ(Times({}, Direction::kBackward, SIZE_MAX).size(), 100U);
  EXPECT_THAT(Times({}, Direction::kForward, 0), IsEmpty());
}

TEST_P(Conformance, CountsBothEndsOfARange) {
  AppendTens(100);
  EXPECT_THAT(Times({20, 40}, Direction::kForward, 10), ElementsAre(20, 30, 40));
  EXPECT_THAT(Times({21, 39}, Direction::kBackward, 10), ElementsAre(30));
  EXPECT_EQ(CountOf({20, 40}), 3);
  EXPECT_EQ(CountOf({21, 39}), 1);
  EXPECT_EQ(CountOf({31, 39}), 0);
  EXPECT_EQ(CountOf({15, 985}), 97);
  EXPECT_EQ(CountOf({}), 100);
}

TEST_P(Conformance, HasNothingInARangeThatEndsBeforeItStarts) {
  AppendTens(100);
  EXPECT_THAT(Times({40, 20}, Direction::kForward, 10), IsEmpty());
  EXPECT_EQ(CountOf({40, 20}), 0);
}

TEST_P(Conformance, TakesRangesBeyondAllTimes) {
  AppendTens(3);
  constexpr TimeRange kAll{std::numeric_limits<std::int64_t>::min(),
                           std::numeric_limits<std::int64_t>::max()};
  EXPECT_THAT(Times(kAll, Direction::kForward, 10), ElementsAre(10, 20, 30));
  EXPECT_EQ(CountOf(kAll), 3);
}

TEST_P(Conformance, ReplacesARecordOfEqualTime) {
  AppendTens(100);
  Append({Record(1, 500, -1), Record(1, 500, -2)});
  Append({Record(1, 1000, -3)});
  EXPECT_EQ(CountOf({}), 100);
  EXPECT_EQ(ReadRange(*store_, 1, {500, 500}, Direction::kForward, 1).front().value, Value(-2.0));
  EXPECT_EQ(ReadRange(*store_, 1, {}, Direction::kBackward, 1).front().value, Value(-3.0));
}

TEST_P(Conformance, PutsLateRecordsInTheirPlace) {
  AppendTens(100);
  for (int time = 995; time > 0; time -= 10) Append({Record(1, time, time)});
  EXPECT_EQ(CountOf({}), 200);
  std::vector<std::int64_t> expected;
  for (int time = 5; time <= 1000; time += 5) expected.push_back(time);
  EXPECT_EQ(Times({}, Direction::kForward, SIZE_MAX), expected);
  std::ranges::reverse(expected);
  EXPECT_EQ(Times({}, Direction::kBackward, SIZE_MAX), expected);
}

TEST_P(Conformance, KeepsTheFirstAndTheLastTimeThereIs) {
  Append({Record(1, kMaxTimeMs, 1), Record(1, 0, 2)});
  EXPECT_THAT(Times({}, Direction::kForward, 10), ElementsAre(0, kMaxTimeMs));
}

TEST_P(Conformance, StopsAScanWhereTheVisitorDoes) {
  AppendTens(100);
  class Stopper : public ScanVisitor {
   public:
    explicit Stopper(Wants wants) : wants_(wants) {}
    Wants Offer(const RunSummary&) override {
      ++offered;
      return wants_;
    }
    bool Show(const SampleColumns&, std::size_t, std::size_t) override {
      ++shown;
      return false;
    }
    int offered = 0;
    int shown = 0;

   private:
    const Wants wants_;
  };
  for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
    Stopper at_once(ScanVisitor::Wants::kStop);
    EXPECT_TRUE(store_->Scan(1, {}, direction, at_once).ok());
    EXPECT_EQ(at_once.offered, 1);
    EXPECT_EQ(at_once.shown, 0);
    Stopper after_one(ScanVisitor::Wants::kRecords);
    EXPECT_TRUE(store_->Scan(1, {}, direction, after_one).ok());
    EXPECT_GE(after_one.offered, 1);
    EXPECT_LE(after_one.offered, 2) << "a group of chunks, and the first of them";
    EXPECT_EQ(after_one.shown, 1);
  }
}

// ---- what cannot be stored ----

TEST_P(Conformance, RefusesABatchWholeForOneRecordThatCannotBeStored) {
  const auto with = [](TagType type, Value value) {
    MarkedSample record = Record(1, 10, 0);
    record.sample.type = type;
    record.sample.value = std::move(value);
    return record;
  };
  for (const MarkedSample& bad :
       {Record(0, 10, 0), Record(1, -1, 0), Record(1, kMaxTimeMs + 1, 0), with(TagType::kInt8, 128),
        with(TagType::kString, std::string("a\0b", 3)),
        with(TagType::kBlob, std::string(kMaxBlobBytes + 1, 'x')),
        with(static_cast<TagType>(99), 0)}) {
    StoreBatch batch;
    AddTo(batch.records, Record(1, 5, 1));
    AddTo(batch.records, bad);
    const CommitAnswer answer = driver_->Commit(batch);
    EXPECT_EQ(answer.fate, CommitAnswer::Fate::kRefused);
    EXPECT_EQ(answer.status.code(), ZR3_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(batch.records.size(), 2U);
  }
  EXPECT_EQ(CountOf({}), 0);
  EXPECT_THAT(CurrentValues(*store_), IsEmpty());
}

// ---- the end ----

TEST_P(Conformance, AnswersNothingOnceItIsClosed) {
  AppendTens(10);
  EXPECT_TRUE(store_->Close().ok());
  StoreBatch batch;
  EXPECT_EQ(driver_->Commit(batch).fate, CommitAnswer::Fate::kRefused);
  EXPECT_EQ(driver_->Commit(batch).status.code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(store_->ReadHeld(1).code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(store_->ReadCurrent(0, 9).code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(store_->Lease(LeaseWish::kLook).code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(store_->Rows({.table = TableId::kTag}, 1, [](RowView) { return true; }).code(),
            ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(store_->Close().code(), ZR3_ERR_NOT_CONNECTED);
}

TEST_P(Conformance, ClosesOnceTheCallsThatAreUnderWayAreDone) {
  std::atomic<bool> is_visiting = false;
  std::atomic<bool> may_end = false;
  std::atomic<bool> is_done = false;
  std::thread reader([&] {
    const Status status = store_->Rows({.table = TableId::kTag}, 1, [&](RowView) {
      is_visiting = true;
      is_visiting.notify_all();
      may_end.wait(false);
      is_done = true;
      return true;
    });
    EXPECT_TRUE(status.ok()) << status.message();
  });
  is_visiting.wait(false);
  std::thread closer([&] {
    EXPECT_TRUE(store_->Close().ok());
    EXPECT_TRUE(is_done);
  });
  // Refused as soon as the end has begun, which then waits for the reader alone.
  while (store_->Lease(LeaseWish::kLook).ok()) std::this_thread::yield();
  may_end = true;
  may_end.notify_all();
  reader.join();
  closer.join();
}

TEST_P(Conformance, WhatAVisitorThrowsIsAStatus) {
  const auto thrower = [](RowView) -> bool { throw std::bad_alloc(); };
  EXPECT_EQ(store_->Rows({.table = TableId::kTag}, 9, thrower).code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(Tags(*store_).size(), 2U);
  EXPECT_TRUE(store_->Close().ok());
}

}  // namespace
}  // namespace zervane::storage
