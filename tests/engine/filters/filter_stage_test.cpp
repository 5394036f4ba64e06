#include "engine/filters/filter_stage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <vector>

#include "tests/engine/short_memory.h"
#include "tests/engine/write/commit_fixture.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr TagId kReporting = 1;
constexpr TagId kBoth = 2;
constexpr TagId kPlain = 3;
constexpr FilterSettings kReports = {.exception_deviation = 1};
constexpr FilterSettings kReportsAndCompresses = {.exception_deviation = 1,
                                                  .compression_deviation = 1};

class FilterStageTest : public CommitTest {
 protected:
  FilterStageTest() {
    settings_ = {{kReporting, kReports}, {kBoth, kReportsAndCompresses}};
    StartAnew();
    EXPECT_TRUE(PutTag(kReporting, {.filtered = true}).ok());
    EXPECT_TRUE(PutTag(kBoth, {.filtered = true}).ok());
    EXPECT_TRUE(PutTag(kPlain).ok());
  }

  // As if the database were opened again: filters are not kept.
  void StartAnew() {
    run_ = std::make_unique<FilteredRun>(*this);
    ASSERT_TRUE(run_->committer.Start(turn_).ok());
  }

  CommitAnswer Filter(const std::vector<TagSample>& records) {
    RecordBatch batch = UnmarkedOf(records);
    return run_->committer.Commit(turn_, batch);
  }
  void FilterEach(TagId tag, const std::vector<Sample>& samples) {
    for (const Sample& sample : samples) EXPECT_EQ(Filter({{tag, sample}}).fate, Fate::kStored);
  }
  Status PutTag(TagId tag, const TagTraits& traits = {}) {
    return Change(tag, [&](Turn&) { tags_.Put(tag, traits); });
  }
  Status Change(TagId tag, const Committer::Adopt& adopt) {
    return run_->committer.Change(
        turn_,
        [&](Turn&, StoreBatch& batch) {
          Table<Tag>::Put(storage::TagNamed(tag, "T" + std::to_string(tag)), batch);
          tags_.Reserve(tag);
          return Status();
        },
        adopt);
  }
  // A tag of which one value is archived, one held by compression, one by exception reporting.
  void HoldTwo() {
    FilterEach(kBoth, {NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(3000, 9.5)});
    ASSERT_EQ(Held(kBoth), NumberAt(2000, 9));
    ASSERT_EQ(StoredCurrent(kBoth), NumberAt(3000, 9.5));
    ASSERT_THAT(Archive(kBoth), ElementsAre(NumberAt(1000, 0)));
  }

  struct FilteredRun {
    explicit FilteredRun(FilterStageTest& test)
        : stage(test.store_, test.tags_, test.current_values_,
                [&test](TagId tag) {
                  const auto found = test.settings_.find(tag);
                  return found == test.settings_.end() ? std::nullopt
                                                       : std::optional(found->second);
                }),
          committer(test.store_, test.tags_, test.current_values_, test.feed_) {
      committer.AddStage(stage);
    }
    FilterStage stage;
    Committer committer;
  };

  std::map<TagId, FilterSettings> settings_;
  std::unique_ptr<FilteredRun> run_;
};

TEST_F(FilterStageTest, FiltersTheRecordsOfAGroupAsIfEachCameAlone) {
  EXPECT_EQ(Filter({{kReporting, NumberAt(1, 10)},
                    {kReporting, NumberAt(2, 10.5)},
                    {kReporting, NumberAt(3, 10.9)},
                    {kReporting, NumberAt(4, 20)}})
                .fate,
            Fate::kStored);
  EXPECT_THAT(Archive(kReporting),
              ElementsAre(NumberAt(1, 10), NumberAt(3, 10.9), NumberAt(4, 20)));
  EXPECT_EQ(StoredCurrent(kReporting), NumberAt(4, 20));
}

TEST_F(FilterStageTest, GivesTheStoreNoMoreThanWhatAGroupComesTo) {
  std::vector<TagSample> ramp;
  settings_[kBoth] = {.compression_deviation = 1};
  for (int i = 0; i < 1000; ++i) ramp.push_back({kBoth, NumberAt(1000 + i, i)});
  EXPECT_EQ(Filter(ramp).fate, Fate::kStored);
  EXPECT_EQ(faults_->commit_sizes().back(), 2U) << "the first, and the last as held and current";
  EXPECT_THAT(Archive(kBoth), ElementsAre(NumberAt(1000, 0)));
  EXPECT_EQ(Held(kBoth), NumberAt(1999, 999));
  EXPECT_EQ(StoredCurrent(kBoth), NumberAt(1999, 999));
}

TEST_F(FilterStageTest, LeavesOtherTagsOfAGroupAlone) {
  EXPECT_EQ(Filter({{kPlain, NumberAt(1)},
                    {kReporting, NumberAt(1)},
                    {kPlain, NumberAt(2)},
                    {kReporting, NumberAt(2)}})
                .fate,
            Fate::kStored);
  EXPECT_THAT(Archive(kPlain), ElementsAre(NumberAt(1), NumberAt(2)));
  EXPECT_THAT(Archive(kReporting), ElementsAre(NumberAt(1)));
  EXPECT_EQ(StoredCurrent(kReporting), NumberAt(2));
}

TEST_F(FilterStageTest, ArchivesInOneGroupWhatALateRecordOfAHeldOnesTimeReplaces) {
  HoldTwo();
  EXPECT_EQ(Filter({{kBoth, NumberAt(2000, 70)}}).fate, Fate::kStored);
  EXPECT_THAT(Archive(kBoth),
              ElementsAre(NumberAt(1000, 0), NumberAt(2000, 70), NumberAt(3000, 9.5)));
  EXPECT_EQ(Held(kBoth), std::nullopt);
  EXPECT_EQ(StoredCurrent(kBoth), NumberAt(3000, 9.5));
}

TEST_F(FilterStageTest, HoldsNothingInTheStoreThatTheSameGroupHasArchived) {
  // The second is held, and then let go by the late one behind it.
  EXPECT_EQ(
      Filter({{kBoth, NumberAt(1000, 0)}, {kBoth, NumberAt(3000, 9)}, {kBoth, NumberAt(2000, 5)}})
          .fate,
      Fate::kStored);
  EXPECT_THAT(Archive(kBoth), ElementsAre(NumberAt(1000, 0), NumberAt(2000, 5), NumberAt(3000, 9)));
  EXPECT_EQ(Held(kBoth), std::nullopt);
}

TEST_F(FilterStageTest, ArchivesAllThatWasHeldBeforeTheFirstRecordOfTheNextRun) {
  HoldTwo();
  StartAnew();
  FilterEach(kBoth, {NumberAt(4000, 9.5)});
  EXPECT_THAT(Archive(kBoth),
              ElementsAre(NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(3000, 9.5)));
}

TEST_F(FilterStageTest, RefusesAGroupWhenWhatIsStoredCannotBeReadAndThenGoesOn) {
  HoldTwo();
  StartAnew();
  for (const Faults::Call call : {Faults::Call::kReadHeld, Faults::Call::kScan}) {
    faults_->Fail(call, ZR3_ERR_STORAGE_FAILED);
    EXPECT_EQ(Filter({{kBoth, NumberAt(4000, 9.5)}}).status.code(), ZR3_ERR_STORAGE_FAILED);
    EXPECT_THAT(Archive(kBoth), ElementsAre(NumberAt(1000, 0)));
  }
  FilterEach(kBoth, {NumberAt(4000, 9.5)});
  EXPECT_EQ(Archive(kBoth).size(), 3U);
}

TEST_F(FilterStageTest, ArchivesAllThatIsHeldWithAChangeOfTheTagInOneBatch) {
  HoldTwo();
  const std::int64_t before = LastCommit();
  EXPECT_TRUE(PutTag(kBoth).ok());
  EXPECT_EQ(LastCommit(), before + 1);
  EXPECT_THAT(Archive(kBoth),
              ElementsAre(NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(3000, 9.5)));
  EXPECT_EQ(Held(kBoth), std::nullopt);
}

TEST_F(FilterStageTest, ArchivesNothingWhenTheStoreRefusesTheChange) {
  HoldTwo();
  faults_->FailCommitsTo(TableId::kTag, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(PutTag(kBoth).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_THAT(Archive(kBoth), ElementsAre(NumberAt(1000, 0)));
  EXPECT_EQ(Held(kBoth), NumberAt(2000, 9));
  FilterEach(kBoth, {NumberAt(4000, 9.75)});
  EXPECT_EQ(Held(kBoth), NumberAt(2000, 9)) << "the filters go on as if nobody had asked";
}

TEST_F(FilterStageTest, TakesNewSettingsWithTheNextRecordAfterAChange) {
  FilterEach(kReporting, {NumberAt(1000, 5), NumberAt(2000, 5.5)});
  settings_[kReporting].exception_deviation = 100;
  EXPECT_TRUE(PutTag(kReporting, {.filtered = true}).ok());
  FilterEach(kReporting, {NumberAt(3000, 90), NumberAt(4000, 190)});
  EXPECT_THAT(Archive(kReporting), ElementsAre(NumberAt(1000, 5), NumberAt(2000, 5.5),
                                               NumberAt(3000, 90), NumberAt(4000, 190)));
}

TEST_F(FilterStageTest, ForgetsATagThatGoes) {
  HoldTwo();
  EXPECT_TRUE(run_->committer
                  .Change(
                      turn_,
                      [](Turn&, StoreBatch& batch) {
                        Table<Tag>::Remove(std::int64_t{kBoth}, batch);
                        return Status();
                      },
                      [&](Turn&) { tags_.Remove(kBoth); })
                  .ok());
  EXPECT_TRUE(PutTag(kBoth, {.filtered = true}).ok());
  FilterEach(kBoth, {NumberAt(500, 3)});
  EXPECT_THAT(Archive(kBoth), ElementsAre(NumberAt(500, 3)));
}

TEST_F(FilterStageTest, GoesOnFromWhatIsStoredWhenTheStoreRefuses) {
  HoldTwo();
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Filter({{kBoth, NumberAt(4000, 70)}}).fate, Fate::kRefused);
  FilterEach(kBoth, {NumberAt(4000, 9.75)});
  EXPECT_EQ(Held(kBoth), NumberAt(2000, 9)) << "in the band as if nothing had been refused";
  FilterEach(kBoth, {NumberAt(5000, 70)});
  EXPECT_THAT(Archive(kBoth),
              ElementsAre(NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(4000, 9.75)));
}

TEST_F(FilterStageTest, RefusesAHeldRecordThatCouldNotHaveBeenAccepted) {
  HoldTwo();
  StartAnew();
  tags_.Put(kBoth, {.type = TagType::kInt32, .filtered = true});
  Sample sample = NumberAt(4000);
  sample.type = TagType::kInt32;
  sample.value = 1;
  EXPECT_EQ(Filter({{kBoth, sample}}).status.code(), ZR3_ERR_STORAGE_DAMAGED);
}

// Whether records come alone, in groups, from one run or another, the store has the same in the
// end.
TEST_F(FilterStageTest, ComesToTheSameHoweverRecordsAreGrouped) {
  const Seed seed;
  std::mt19937_64 random(seed.value());
  const auto below = [&](int bound) { return std::uniform_int_distribution(0, bound - 1)(random); };
  for (TagId pair = 0; pair < 20; ++pair) {
    SCOPED_TRACE(testing::Message() << "pair " << pair);
    const TagId alone = 100 + 2 * pair;
    const TagId grouped = alone + 1;
    for (const TagId tag : {alone, grouped}) {
      settings_[tag] = {.exception_deviation = 0.5, .compression_deviation = 1};
      ASSERT_TRUE(PutTag(tag, {.filtered = true}).ok());
    }
    std::vector<TagSample> group;
    for (int i = 0; i < 300; ++i) {
      const std::int64_t time_ms = 1000 + 100 * i - (below(10) == 0 ? 100 * below(8) : 0);
      Sample sample = NumberAt(time_ms, 0.25 * below(12));
      if (below(20) == 0) sample.quality = 0;
      FilterEach(alone, {sample});
      group.push_back({grouped, sample});
      if (below(30) != 0) continue;
      ASSERT_EQ(Filter(group).fate, Fate::kStored);
      group.clear();
    }
    ASSERT_EQ(Filter(group).fate, Fate::kStored);
    EXPECT_EQ(Archive(alone), Archive(grouped));
    EXPECT_EQ(Held(alone), Held(grouped));
    EXPECT_EQ(StoredCurrent(alone), StoredCurrent(grouped));
  }
}

}  // namespace
}  // namespace zervane
