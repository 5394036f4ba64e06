#include "engine/alarms/alarm_stage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/engine/alarms/stage_fixture.h"

namespace zervane {
namespace {

using Texts = std::vector<std::string>;

TEST_F(AlarmStageTest, StoresAnAlarmWithTheValueThatRaisesIt) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5 PRIORITY 4"})).ok());
  Write(100, 6.5);
  const std::vector<AlarmRecord> records = AllRows<AlarmRecord>();
  ASSERT_EQ(records.size(), 1U);
  AlarmRecord expected;
  expected.tag = kAlarm;
  expected.start_ms = 100;
  expected.priority = 4;
  expected.type = ZR3_AM_REC_TYPE_HIGH;
  expected.source_value = "6.5";
  expected.test = "HIGH > 5 PRIORITY 4";
  EXPECT_EQ(records[0], expected);
  EXPECT_EQ(Archive(kSource).size(), 1U);
}

TEST_F(AlarmStageTest, StoresNeitherValueNorAlarmWhenTheStoreRefuses) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5"})).ok());
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Commit({{kSource, NumberAt(100, 6)}}).fate, Fate::kRefused);
  EXPECT_EQ(Records(), Texts());
  // As though it had never come: the next one is the first.
  Write(200, 7);
  EXPECT_EQ(Records(), Texts({"10: 200- 7"}));
}

TEST_F(AlarmStageTest, EndsAnAlarmAtTheTimeOfTheValueThatEndsIt) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5"})).ok());
  Write(100, 6);
  Write(200, 5);
  EXPECT_EQ(Transitions(), Texts({"10: 100- 6", "10: 100-200 6"}));
  EXPECT_TRUE(AllRows<StandingAlarm>().empty());
}

TEST_F(AlarmStageTest, JudgesTheValuesOfAGroupInTheirOrderAndTellsEveryTransition) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5", "HIHI > 8"})).ok());
  ASSERT_EQ(Commit({{kSource, NumberAt(1, 6)},
                    {kSource, NumberAt(2, 9)},
                    {kSource, NumberAt(3, 6)},
                    {kSource, NumberAt(4, 1)}})
                .fate,
            Fate::kStored);
  EXPECT_EQ(Transitions(),
            Texts({"10: 1- 6", "10: 1-2 6", "10: 2- 9", "10: 2-3 9", "10: 3- 6", "10: 3-4 6"}));
  EXPECT_EQ(Records(), Texts({"10: 1-2 6", "10: 2-3 9", "10: 3-4 6"}));
}

TEST_F(AlarmStageTest, LooksNeitherAtBadValuesNorAtLateOnes) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5"})).ok());
  Write(100, 1);
  Write(200, 6, ZR3_QUALITY_BAD);
  Write(150, 6);
  EXPECT_EQ(Records(), Texts());
  Write(300, 6);
  Write(400, 1, ZR3_QUALITY_UNCERTAIN);
  Write(350, 1);
  EXPECT_EQ(Records(), Texts({"10: 300- 6"}));
}

TEST_F(AlarmStageTest, AsksTheAlarmTagsOfASourceInOrderOfIdentifier) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5"}, 12)).ok());
  ASSERT_TRUE(Save(Rule({"LOW < 9"}, 11)).ok());
  ASSERT_TRUE(Save(Rule({"HIGH > 7"}, 13)).ok());
  Write(100, 6);
  EXPECT_EQ(Transitions(), Texts({"11: 100- 6", "12: 100- 6"}));
}

TEST_F(AlarmStageTest, TakesTheNextFreeStart) {
  ASSERT_TRUE(Save(Rule({"CHANGE", "HIGH > 5"})).ok());
  ASSERT_EQ(Commit({{kSource, NumberAt(100, 1)},
                    {kSource, NumberAt(100, 2)},
                    {kSource, NumberAt(100, 6)},
                    {kSource, NumberAt(100, 7)}})
                .fate,
            Fate::kStored);
  EXPECT_EQ(Records(), Texts({"10: 100-100 2", "10: 101- 6", "10: 102-102 6", "10: 103-103 7"}));
  // The end of one that starts later than the value that ends it.
  Write(100, 5);
  EXPECT_EQ(Records()[1], "10: 101-101 6");
}

// An alarm that starts before others, which only a look into the store can tell.
TEST_F(AlarmStageTest, TakesAFreeStartAmongThoseThatAreStored) {
  AlarmRule rule = Rule({"CHANGE", "HIGH > 5"});
  rule.conditions.time_dead_band_ms = 1'000;
  ASSERT_TRUE(Save(rule).ok());
  Write(100, 1);
  Write(200, 6);
  Write(201, 7);
  Start();  // what is known of starts is looked up again
  ASSERT_TRUE(Load({rule}).ok());
  Write(1'200, 7);
  EXPECT_EQ(Records(), Texts({"10: 200-200 6", "10: 201-201 7", "10: 202- 6"}));
}

TEST_F(AlarmStageTest, AcknowledgesByItselfWhereItIsAskedTo) {
  AlarmRule rule = Rule({"HIGH > 5"});
  rule.acknowledges_itself = true;
  ASSERT_TRUE(Save(rule).ok());
  Write(100, 6);
  const AlarmRecord record = AllRows<AlarmRecord>().at(0);
  EXPECT_TRUE(record.is_acknowledged);
  EXPECT_EQ(record.acknowledged_ms, 100);
  EXPECT_EQ(record.acknowledged_by, "system");
  EXPECT_EQ(record.acknowledgement, ZR3_AM_ACK_TYPE_AUTO);
  EXPECT_EQ(Transitions().size(), 1U);
}

TEST_F(AlarmStageTest, EndsARecordAsItWasAcknowledgedMeanwhile) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5"})).ok());
  Write(100, 6);
  AlarmRecord record = AllRows<AlarmRecord>().at(0);
  record.is_acknowledged = true;
  record.comment = "seen";
  const auto put = [&](Turn&, StoreBatch& batch) {
    Table<AlarmRecord>::Put(record, batch);
    return Status();
  };
  ASSERT_TRUE(committer_->Change(turn_, put, [](Turn&) {}).ok());
  Write(200, 1);
  record.is_restored = true;
  record.end_ms = 200;
  EXPECT_EQ(AllRows<AlarmRecord>().at(0), record);
}

// ---- changes of tags ----

TEST_F(AlarmStageTest, GoesOnWhenTheSameIsSavedAgainOrWhatIsDoneAboutAlarmsChanges) {
  AlarmRule rule = Rule({"HIGH > 5"});
  ASSERT_TRUE(Save(rule).ok());
  Write(100, 6);
  ASSERT_TRUE(Save(rule).ok());
  rule.texts[0] = "high  > 5.0";
  rule.acknowledges_itself = true;
  rule.actions[0] = {.target = 3, .number = 1};
  ASSERT_TRUE(Save(rule).ok());
  EXPECT_EQ(Transitions(), Texts({"10: 100- 6"}));
  Write(200, 1);
  Write(300, 7);
  EXPECT_EQ(Records(), Texts({"10: 100-200 6", "10: 300- 7"}));
  EXPECT_EQ(AllRows<AlarmRecord>()[0].test, "HIGH > 5");
  EXPECT_EQ(AllRows<AlarmRecord>()[1].test, "high  > 5.0");
}

TEST_F(AlarmStageTest, EndsWhatStandsWhenItIsJudgedInAnotherWay) {
  ASSERT_TRUE(PutTag(2, {.is_read = true}).ok());
  const std::vector<AlarmRule> others = {Rule({"HIGH > 6"}), Rule({"", "HIGH > 5"}),
                                         Rule({"HIGH > 5"}, kAlarm, 2)};
  std::int64_t time_ms = 100;
  for (const AlarmRule& other : others) {
    ASSERT_TRUE(Save(Rule({"HIGH > 5"})).ok());
    Write(time_ms++, 6);
    (void)Transitions();
    ASSERT_TRUE(Save(other).ok());
    EXPECT_EQ(Transitions(), Texts({fmt::format("10: {}-1000000 6", time_ms - 1)}));
    EXPECT_TRUE(AllRows<StandingAlarm>().empty());
  }
  // The next value counts, by what asks for it now.
  Write(time_ms, 9);
  EXPECT_EQ(Transitions(), Texts());
  ASSERT_EQ(Commit({{2, NumberAt(5, 9)}}).fate, Fate::kStored);
  EXPECT_EQ(Transitions(), Texts({"10: 5- 9"}));
}

TEST_F(AlarmStageTest, EndsNothingBeforeItsStart) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5"})).ok());
  Write(now_ms_ + 5'000, 6);
  ASSERT_TRUE(Save(Rule({"HIGH > 6"})).ok());
  EXPECT_EQ(Records(), Texts({"10: 1005000-1005000 6"}));
}

TEST_F(AlarmStageTest, LeavesEverythingAsItWasWhenASaveIsRefused) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5"})).ok());
  Write(100, 6);
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL, 3);
  EXPECT_FALSE(Save(Rule({"LOW < 1"})).ok());
  EXPECT_FALSE(Save(Rule({"LOW < 1"}, 11)).ok());
  EXPECT_FALSE(RemoveTag(kAlarm).ok());
  EXPECT_EQ(Records(), Texts({"10: 100- 6"}));
  Write(200, 0);
  EXPECT_EQ(Records(), Texts({"10: 100-200 6"}));
}

TEST_F(AlarmStageTest, TellsTheEndOfAnAlarmTagsRecordsBeforeTheyGo) {
  AlarmRule rule = Rule({"HIGH > 5", "CHANGE"});
  rule.actions[1] = {.target = 3, .number = 1};
  ASSERT_TRUE(Save(rule).ok());
  ASSERT_TRUE(Save(Rule({"HIGH > 5"}, 11)).ok());
  Write(100, 1);
  Write(200, 6);
  (void)Transitions();
  ASSERT_TRUE(RemoveTag(kAlarm).ok());
  EXPECT_EQ(Transitions(), Texts({"10: 200-1000000 6", "removed"}));
  EXPECT_EQ(Records(), Texts({"11: 200- 6"}));
  ASSERT_EQ(AllRows<StandingAlarm>().size(), 1U);
  EXPECT_EQ(AllRows<StandingAlarm>()[0].tag, 11U);
  EXPECT_TRUE(Actions().empty());
  Write(300, 1);
  EXPECT_EQ(Transitions(), Texts({"11: 200-300 6"}));
}

TEST_F(AlarmStageTest, EndsWhatASourceHasRaisedWhenThatGoes) {
  AlarmRule waiting = Rule({"HIGH > 5"}, 11);
  waiting.conditions.time_dead_band_ms = 1'000;
  ASSERT_TRUE(Save(Rule({"HIGH > 5"})).ok());
  ASSERT_TRUE(Save(waiting).ok());
  Write(100, 6);
  ASSERT_TRUE(RemoveTag(kSource).ok());
  EXPECT_EQ(Records(), Texts({"10: 100-1000000 6"}));
  EXPECT_TRUE(AllRows<StandingAlarm>().empty());
  EXPECT_EQ(stage_->next_deadline_ms(), AlarmBook::kNever);
}

TEST_F(AlarmStageTest, TakesTenThousandAlarmTagsOnOneSource) {
  constexpr TagId kAlarms = 10'000;
  for (TagId tag = 0; tag < kAlarms; ++tag) {
    ASSERT_TRUE(Save(Rule({"HIGH > " + std::to_string(tag)}, kAlarm + tag)).ok());
  }
  Write(100, 5'000);
  EXPECT_EQ(Records().size(), 5'000U);
  Write(200, 9'999);
  EXPECT_EQ(Records().size(), 9'999U);
  ASSERT_TRUE(RemoveTag(kSource).ok());
  EXPECT_TRUE(AllRows<StandingAlarm>().empty());
}

}  // namespace
}  // namespace zervane
