#include "engine/write/committer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "engine/storage/record_batch.h"
#include "tests/engine/short_memory.h"
#include "tests/engine/write/commit_fixture.h"
#include "tests/engine/write/tasks.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr TagId kTag = 1;
constexpr TagId kOther = 2;
constexpr TagId kWatched = 3;

// Notes what it is asked, refuses when it is told to, and adds a record of time 1 for every
// filtered one.
class NotingStage : public Stage {
 public:
  Status Process(Turn&, const StagedRecords& group, StoreBatch& batch) override {
    notes.push_back("process " + std::to_string(group.filtered.size()));
    for (const std::uint32_t at : group.filtered) {
      AddRecord(batch.records, group.tags[at], NumberAt(1), kArchive);
      group.marks[at] = keeps_records ? group.marks[at] : 0;
    }
    for (const RowChange& row : group.rows) {
      notes.push_back("row " + std::to_string(TimesOf({&row, 1})[0]));
    }
    if (removes_task != 0) batch.rows.push_back(TaskRemoval(removes_task));
    return refusal;
  }
  Status PrepareTagChange(Turn&, TagId tag, StoreBatch&) override {
    notes.push_back("change " + std::to_string(tag));
    return refusal;
  }
  Status PrepareTagRemoval(Turn&, TagId tag, StoreBatch&) override {
    notes.push_back("remove " + std::to_string(tag));
    return refusal;
  }
  Status PrepareRecord(Turn&, TagId tag, std::int64_t time_ms, std::uint8_t* marks,
                       StoreBatch& batch) override {
    notes.push_back("record " + std::to_string(tag) + " at " + std::to_string(time_ms));
    if (adds_records) AddRecord(batch.records, tag, NumberAt(time_ms, -1), kArchive);
    *marks |= kArchive;
    return refusal;
  }
  void Keep(Turn&) noexcept override { notes.emplace_back("keep"); }
  void Discard(Turn&) noexcept override { notes.emplace_back("discard"); }

  Status refusal;
  bool keeps_records = true;
  bool adds_records = false;
  std::int64_t removes_task = 0;
  std::vector<std::string> notes;
};

class CommitterTest : public CommitTest {
 protected:
  CommitterTest() {
    committer_.AddStage(stage_);
    EXPECT_TRUE(PutTag(kTag).ok());
    EXPECT_TRUE(PutTag(kOther, {.archiving = false}).ok());
    EXPECT_TRUE(PutTag(kWatched, {.filtered = true}).ok());
    stage_.notes.clear();
  }

  Status PutRecord(TagId tag, const Sample& sample, std::uint8_t marks) {
    return committer_.Change(
        turn_,
        [&](Turn&, StoreBatch& batch) {
          AddRecord(batch.records, tag, sample, marks);
          return Status();
        },
        [](Turn&) {});
  }

  NotingStage stage_;
};

// ---- records ----

TEST_F(CommitterTest, StoresRecordsAndMakesTheNewestCurrent) {
  MustCommit({{kTag, NumberAt(10)}, {kOther, NumberAt(7)}, {kTag, NumberAt(9)}});
  EXPECT_THAT(Archive(kTag), ElementsAre(NumberAt(9), NumberAt(10)));
  EXPECT_THAT(Archive(kOther), IsEmpty());
  EXPECT_EQ(current_values_.Find(kTag), NumberAt(10));
  EXPECT_EQ(current_values_.Find(kOther), NumberAt(7));
  EXPECT_EQ(StoredCurrent(kTag), NumberAt(10));
  EXPECT_EQ(StoredCurrent(kOther), NumberAt(7));
}

TEST_F(CommitterTest, NumbersBatchesOnFromTheStoresLast) {
  const std::int64_t before = LastCommit();
  MustCommit({{kTag, NumberAt(10)}});
  EXPECT_EQ(LastCommit(), before + 1);
  Committer next(store_, tags_, current_values_, feed_);
  ASSERT_TRUE(next.Start(turn_).ok());
  RecordBatch batch = UnmarkedOf({{kTag, NumberAt(11)}});
  EXPECT_EQ(next.Commit(turn_, batch).fate, Fate::kStored);
  EXPECT_EQ(LastCommit(), before + 2);
}

TEST_F(CommitterTest, SendsNothingToTheStoreThatGoesNowhere) {
  MustCommit(NumbersAt(kOther, {5, 6, 7}));
  EXPECT_EQ(faults_->commit_sizes().back(), 1U);
  EXPECT_TRUE(RemoveTag(kTag).ok());
  const std::int64_t before = LastCommit();
  MustCommit({{kTag, NumberAt(10)}});
  EXPECT_EQ(LastCommit(), before);
  EXPECT_EQ(current_values_.Find(kTag), std::nullopt);
  EXPECT_EQ(faults_->orphans(), 0);
}

TEST_F(CommitterTest, LeavesARefusedGroupAsItWasButForItsMarks) {
  const std::vector<TagSample> records = {{kTag, NumberAt(10)}, {kOther, NumberAt(7)}};
  RecordBatch batch = UnmarkedOf(records);
  const RecordBatch same = UnmarkedOf(records);
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  const CommitAnswer answer = committer_.Commit(turn_, batch);
  EXPECT_EQ(answer.fate, Fate::kRefused);
  EXPECT_EQ(answer.status.code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(batch.tags, same.tags);
  EXPECT_EQ(batch.samples, same.samples);
  EXPECT_EQ(current_values_.Find(kTag), std::nullopt);
  EXPECT_EQ(committer_.Commit(turn_, batch).fate, Fate::kStored);
  EXPECT_EQ(current_values_.Find(kTag), NumberAt(10));
}

TEST_F(CommitterTest, TriesNothingMoreOnceTheFateOfABatchIsUnknown) {
  faults_->MakeUnknown(true);
  const CommitAnswer unknown = Commit({{kTag, NumberAt(10)}});
  EXPECT_EQ(unknown.fate, Fate::kUnknown);
  EXPECT_EQ(unknown.status.code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(current_values_.Find(kTag), std::nullopt);
  const int calls = faults_->calls(Faults::Call::kCommit);
  faults_->Settle();
  EXPECT_EQ(Commit({{kTag, NumberAt(11)}}).status.code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(PutTag(kTag).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(faults_->calls(Faults::Call::kCommit), calls);
}

TEST_F(CommitterTest, ChangesNothingWhicheverRequestForMemoryFails) {
  auto consumer = *feed_.Register(100);
  consumer->WatchAllTags(true);
  const std::string text(100, 'x');
  EXPECT_TRUE(PutTag(9, {.type = TagType::kString}).ok());
  std::int64_t time_ms = 10;
  bool has_failed = true;
  for (std::uint64_t nth = 1; has_failed; ++nth) {
    RecordBatch batch = UnmarkedOf({{9, TextAt(time_ms, text)}, {kWatched, NumberAt(time_ms)}});
    const std::int64_t before = LastCommit();
    CommitAnswer answer = {.fate = Fate::kRefused, .status = {}};
    try {
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      answer = committer_.Commit(turn_, batch);
    } catch (const std::bad_alloc&) {
    }
    has_failed = ShortMemory::Failed() > 0;
    const bool is_stored = answer.fate == Fate::kStored;
    EXPECT_EQ(LastCommit(), before + (is_stored ? 1 : 0));
    EXPECT_EQ(current_values_.Find(9), StoredCurrent(9)) << "request " << nth;
    EXPECT_EQ(batch.size(), is_stored ? batch.size() : 2U);
    EXPECT_EQ(stage_.notes.back(), is_stored ? "keep" : "discard");
    if (is_stored) ++time_ms;
  }
  EXPECT_GT(time_ms, 10);
}

// ---- rows that go with records ----

TEST_F(CommitterTest, StoresRowsInTheBatchOfTheirRecords) {
  const std::int64_t before = LastCommit();
  EXPECT_EQ(Commit({{kTag, NumberAt(10)}}, {TaskAt(1), TaskAt(2), TaskRemoval(1)}).fate,
            Fate::kStored);
  EXPECT_EQ(LastCommit(), before + 1);
  EXPECT_THAT(TasksIn(*below_), ElementsAre(2));
  EXPECT_THAT(Archive(kTag), ElementsAre(NumberAt(10)));
  MustCommit({{kTag, NumberAt(11)}});
  EXPECT_THAT(TasksIn(*below_), ElementsAre(2)) << "they are of one batch";
}

TEST_F(CommitterTest, StoresRowsBeforeWhatStagesAddWhichSeeThem) {
  stage_.removes_task = 2;
  EXPECT_EQ(Commit({{kWatched, NumberAt(10)}}, {TaskAt(1), TaskAt(2)}).fate, Fate::kStored);
  EXPECT_THAT(stage_.notes, ElementsAre("process 1", "row 1", "row 2", "keep"));
  EXPECT_THAT(TasksIn(*below_), ElementsAre(1));
}

TEST_F(CommitterTest, ShowsStagesRowsOfRecordsThatNobodyLooksAtToo) {
  EXPECT_EQ(Commit({{kTag, NumberAt(10)}}, {TaskAt(1)}).fate, Fate::kStored);
  EXPECT_THAT(stage_.notes, ElementsAre("process 0", "row 1", "keep"));
  stage_.refusal = {ZR3_ERR_STORAGE_DAMAGED, {}};
  EXPECT_EQ(Commit({{kTag, NumberAt(11)}}, {TaskAt(2)}).fate, Fate::kRefused);
  EXPECT_THAT(TasksIn(*below_), ElementsAre(1));
}

TEST_F(CommitterTest, StoresNeitherRowsNorRecordsWhenTheStoreOrAStageRefuses) {
  faults_->FailCommitsTo(TableId::kProgress, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Commit({{kTag, NumberAt(10)}}, {TaskAt(1)}).status.code(), ZR3_ERR_STORAGE_FULL);
  faults_->EndFailingCommits();
  stage_.refusal = {ZR3_ERR_STORAGE_DAMAGED, {}};
  EXPECT_EQ(Commit({{kWatched, NumberAt(10)}}, {TaskAt(1)}).fate, Fate::kRefused);
  EXPECT_THAT(TasksIn(*below_), IsEmpty());
  EXPECT_THAT(Archive(kTag), IsEmpty());
  EXPECT_EQ(current_values_.Find(kTag), std::nullopt);
}

// What the rows say was done, was: nobody has to do it again for a tag that is no more.
TEST_F(CommitterTest, StoresRowsThoughTheRecordsAreOfATagThatHasGone) {
  EXPECT_EQ(Commit({{kTag, NumberAt(10)}}, {TaskAt(1), TaskAt(2)}).fate, Fate::kStored);
  EXPECT_TRUE(RemoveTag(kTag).ok());
  EXPECT_EQ(Commit({{kTag, NumberAt(11)}}, {TaskRemoval(1)}).fate, Fate::kStored);
  EXPECT_THAT(TasksIn(*below_), ElementsAre(2));
  EXPECT_THAT(Archive(kTag), IsEmpty());
}

TEST_F(CommitterTest, TellsTheFeedTheRowsThatGoWithRecords) {
  auto consumer = *feed_.Register(100);
  consumer->WatchTag(kTag, true);
  consumer->WatchTable(TableId::kProgress, true);
  EXPECT_EQ(Commit({{kTag, NumberAt(10)}}, {TaskAt(1)}).fate, Fate::kStored);
  const auto delivery = consumer->Poll();
  ASSERT_TRUE(delivery && delivery->group);
  EXPECT_THAT(TimesOf(delivery->group->rows), ElementsAre(1));
  EXPECT_THAT(delivery->group->tags, ElementsAre(kTag));
}

// ---- stages ----

TEST_F(CommitterTest, AsksStagesOnlyForRecordsOfTagsThatTheyWatch) {
  MustCommit({{kTag, NumberAt(10)}});
  EXPECT_THAT(stage_.notes, ElementsAre("keep"));
  MustCommit({{kTag, NumberAt(11)}, {kWatched, NumberAt(11)}});
  EXPECT_THAT(stage_.notes, ElementsAre("keep", "process 1", "keep"));
}

TEST_F(CommitterTest, StoresWhatAStageAddsBeforeTheGroupInTheSameBatch) {
  const std::int64_t before = LastCommit();
  MustCommit({{kWatched, NumberAt(1, 5)}, {kWatched, NumberAt(2, 6)}});
  EXPECT_EQ(LastCommit(), before + 1);
  EXPECT_THAT(Archive(kWatched), ElementsAre(NumberAt(1, 5), NumberAt(2, 6)));
}

TEST_F(CommitterTest, KeepsFromTheArchiveWhatAStageTakesOutOfIt) {
  stage_.keeps_records = false;
  MustCommit({{kWatched, NumberAt(10)}, {kTag, NumberAt(10)}, {kWatched, NumberAt(11)}});
  EXPECT_THAT(Archive(kWatched), ElementsAre(NumberAt(1)));
  EXPECT_THAT(Archive(kTag), ElementsAre(NumberAt(10)));
}

TEST_F(CommitterTest, DiscardsTheStagesWorkWhenOneOfThemOrTheStoreRefuses) {
  stage_.refusal = {ZR3_ERR_STORAGE_DAMAGED, {}};
  EXPECT_EQ(Commit({{kWatched, NumberAt(10)}}).status.code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_THAT(stage_.notes, ElementsAre("process 1", "discard"));
  stage_.refusal = {};
  stage_.notes.clear();
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Commit({{kWatched, NumberAt(10)}}).status.code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_THAT(stage_.notes, ElementsAre("process 1", "discard"));
  EXPECT_THAT(Archive(kWatched), IsEmpty());
}

// ---- changes ----

TEST_F(CommitterTest, CarriesOutAChangeInTheStoreAndThenInMemory) {
  bool is_stored = false;
  const Status status = committer_.Change(
      turn_,
      [](Turn&, StoreBatch& batch) {
        Table<Tag>::Put(storage::TagNamed(9, "NINE"), batch);
        return Status();
      },
      [&](Turn&) { is_stored = !storage::Tags(*below_).empty(); });
  EXPECT_TRUE(status.ok());
  EXPECT_TRUE(is_stored);
}

TEST_F(CommitterTest, AdoptsNothingOfAChangeThatIsRefused) {
  bool is_adopted = false;
  const auto adopt = [&](Turn&) { is_adopted = true; };
  const std::int64_t before = LastCommit();
  const auto refuse = [](Turn&, StoreBatch& batch) {
    Table<Tag>::Put(storage::TagNamed(9, "NINE"), batch);
    return Status(ZR3_ERR_TAG_EXISTS, "NINE");
  };
  EXPECT_EQ(committer_.Change(turn_, refuse, adopt).code(), ZR3_ERR_TAG_EXISTS);
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(PutTag(9).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(LastCommit(), before);
  EXPECT_FALSE(is_adopted);
  EXPECT_EQ(tags_.Find(9), std::nullopt);
}

TEST_F(CommitterTest, CommitsNothingForAPlanThatChangesNothing) {
  const std::int64_t before = LastCommit();
  bool is_adopted = false;
  EXPECT_TRUE(
      committer_
          .Change(
              turn_, [](Turn&, StoreBatch&) { return Status(); }, [&](Turn&) { is_adopted = true; })
          .ok());
  EXPECT_EQ(LastCommit(), before);
  EXPECT_TRUE(is_adopted);
}

TEST_F(CommitterTest, TellsStagesOfTagsThatChangeAndGo) {
  EXPECT_TRUE(PutTag(kTag).ok());
  EXPECT_TRUE(RemoveTag(kOther).ok());
  EXPECT_THAT(stage_.notes, ElementsAre("change 1", "keep", "remove 2", "keep"));
  stage_.refusal = {ZR3_ERR_STORAGE_DAMAGED, {}};
  EXPECT_EQ(RemoveTag(kTag).code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ(storage::Tags(*below_).size(), 2U);
}

TEST_F(CommitterTest, TakesATagsRecordsAlongWhenItGoes) {
  MustCommit({{kTag, NumberAt(10)}, {kOther, NumberAt(10)}});
  EXPECT_TRUE(RemoveTag(kTag).ok());
  EXPECT_EQ(current_values_.Find(kTag), std::nullopt);
  EXPECT_EQ(StoredCurrent(kTag), std::nullopt);
  EXPECT_THAT(Archive(kTag), IsEmpty());
  EXPECT_EQ(current_values_.Find(kOther), NumberAt(10));
}

TEST_F(CommitterTest, FollowsTheRecordsOfAPlan) {
  MustCommit({{kTag, NumberAt(10)}});
  EXPECT_TRUE(committer_
                  .Change(
                      turn_,
                      [](Turn&, StoreBatch& batch) {
                        AddRecord(batch.records, kTag, NumberAt(20), kArchive | kCurrent);
                        AddRecord(batch.records, kTag, NumberAt(5), kArchive);
                        return Status();
                      },
                      [](Turn&) {})
                  .ok());
  EXPECT_EQ(current_values_.Find(kTag), NumberAt(20));
  EXPECT_THAT(Archive(kTag), ElementsAre(NumberAt(5), NumberAt(10), NumberAt(20)));
}

TEST_F(CommitterTest, HasStagesPrepareTheRecordsOfAPlanAndMarkThemAnew) {
  MustCommit({{kOther, NumberAt(10)}});
  stage_.notes.clear();
  stage_.adds_records = true;
  EXPECT_TRUE(PutRecord(kOther, NumberAt(10, 5), kCurrent).ok());
  EXPECT_THAT(stage_.notes, ElementsAre("record 2 at 10", "keep"));
  EXPECT_THAT(Archive(kOther), ElementsAre(NumberAt(10, 5))) << "behind what the stage added";
  EXPECT_EQ(current_values_.Find(kOther), NumberAt(10, 5));
}

TEST_F(CommitterTest, StoresNothingOfAPlanWhoseRecordAStageRefuses) {
  stage_.refusal = {ZR3_ERR_STORAGE_DAMAGED, {}};
  const std::int64_t before = LastCommit();
  EXPECT_EQ(PutRecord(kTag, NumberAt(10), kArchive).code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_THAT(stage_.notes, ElementsAre("record 1 at 10", "discard"));
  EXPECT_EQ(LastCommit(), before);
}

#ifdef ZERVANE_ASSERTS
TEST_F(CommitterTest, DoesNotMakeARecordCurrentOfATagThatItEmpties) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto plan = [](Turn&, StoreBatch& batch) {
    batch.emptied.push_back(kTag);
    AddRecord(batch.records, kTag, NumberAt(20), kArchive | kCurrent);
    return Status();
  };
  EXPECT_DEATH((void)committer_.Change(turn_, plan, [](Turn&) {}), "does not hold: ");
}
#endif

// ---- the feed ----

TEST_F(CommitterTest, TellsTheFeedWhatWasAcceptedAndChanged) {
  auto consumer = *feed_.Register(100);
  consumer->WatchAllTags(true);
  consumer->WatchTable(TableId::kTag, true);
  MustCommit({{kOther, NumberAt(10)}, {kOther, NumberAt(12)}, {kOther, NumberAt(11)}});
  const auto records = consumer->Poll();
  ASSERT_TRUE(records && records->group);
  EXPECT_EQ(records->group->commit, LastCommit());
  EXPECT_THAT(records->group->tags, ElementsAre(kOther, kOther, kOther));
  EXPECT_THAT(records->group->samples.times(), ElementsAre(10, 12, 11));
  EXPECT_THAT(records->group->was_newest, ElementsAre(1, 1, 0));
  EXPECT_TRUE(RemoveTag(kOther).ok());
  const auto removal = consumer->Poll();
  ASSERT_TRUE(removal && removal->group);
  EXPECT_THAT(removal->group->emptied, ElementsAre(kOther));
  ASSERT_EQ(removal->group->rows.size(), 1U);
  EXPECT_FALSE(removal->group->rows[0].row.has_value());
}

// They were accepted while the tag was there, and another tag's record takes them into a batch.
TEST_F(CommitterTest, TellsTheFeedOfRecordsOfATagThatHasGoneAsNeverTheNewest) {
  auto consumer = *feed_.Register(100);
  consumer->WatchAllTags(true);
  EXPECT_TRUE(RemoveTag(kTag).ok());
  (void)consumer->Poll();
  MustCommit({{kTag, NumberAt(10)}, {kOther, NumberAt(10)}, {kTag, NumberAt(11)}});
  const auto delivery = consumer->Poll();
  ASSERT_TRUE(delivery && delivery->group);
  EXPECT_THAT(delivery->group->tags, ElementsAre(kTag, kOther, kTag));
  EXPECT_THAT(delivery->group->was_newest, ElementsAre(0, 1, 0));
}

TEST_F(CommitterTest, TellsTheFeedTheRecordsOfAChangeAndNothingOfWhatStagesAdd) {
  auto consumer = *feed_.Register(100);
  consumer->WatchAllTags(true);
  stage_.adds_records = true;
  EXPECT_TRUE(PutRecord(kTag, NumberAt(10, 5), kArchive | kCurrent).ok());
  EXPECT_TRUE(PutRecord(kTag, NumberAt(9, 4), kArchive).ok());
  const auto current = consumer->Poll();
  ASSERT_TRUE(current && current->group);
  EXPECT_THAT(current->group->samples.times(), ElementsAre(10));
  EXPECT_THAT(current->group->was_newest, ElementsAre(1));
  const auto older = consumer->Poll();
  ASSERT_TRUE(older && older->group);
  EXPECT_THAT(older->group->samples.times(), ElementsAre(9));
  EXPECT_THAT(older->group->was_newest, ElementsAre(0));
}

TEST_F(CommitterTest, TellsTheFeedNothingThatIsNotStored) {
  auto consumer = *feed_.Register(100);
  consumer->WatchAllTags(true);
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Commit({{kTag, NumberAt(10)}}).fate, Fate::kRefused);
  EXPECT_FALSE(consumer->Poll());
}

}  // namespace
}  // namespace zervane
