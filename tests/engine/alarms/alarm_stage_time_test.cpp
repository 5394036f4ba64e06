#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/engine/alarms/stage_fixture.h"

// What time makes of alarms, the states that are stored, and opening.
namespace zervane {
namespace {

using Texts = std::vector<std::string>;

class AlarmTimeTest : public AlarmStageTest {
 protected:
  static AlarmRule Patient(const Texts& tests, std::int64_t band_ms = 5'000) {
    AlarmRule rule = Rule(tests);
    rule.conditions.time_dead_band_ms = band_ms;
    return rule;
  }
};

TEST_F(AlarmTimeTest, CompletesAHoldWhenTheClockHasGoneOnForLongEnough) {
  ASSERT_TRUE(Save(Patient({"HIGH > 5"})).ok());
  EXPECT_EQ(stage_->next_deadline_ms(), AlarmBook::kNever);
  Write(100, 6);
  EXPECT_EQ(stage_->next_deadline_ms(), now_ms_ + 5'000);
  EXPECT_EQ(wakes_, 1);
  now_ms_ += 4'999;
  ASSERT_TRUE(CompleteHolds().ok());
  EXPECT_EQ(Records(), Texts());
  now_ms_ += 1;
  ASSERT_TRUE(CompleteHolds().ok());
  EXPECT_EQ(Records(), Texts({"10: 100- 6"}));
  EXPECT_EQ(stage_->next_deadline_ms(), AlarmBook::kNever);
}

TEST_F(AlarmTimeTest, CompletesAHoldThatIsDueBeforeAValueOfItsSourceIsJudged) {
  const AlarmRule rule = Patient({"HIGH > 5"});
  ASSERT_TRUE(Save(rule).ok());
  Write(100, 6);
  now_ms_ += 60'000;
  Write(200, 1);
  EXPECT_EQ(Transitions(), Texts({"10: 100- 6", "10: 100-200 6"}));
  // Nor does it matter whether the database was opened meanwhile.
  Write(300, 6);
  Start();
  ASSERT_TRUE(Load({rule}).ok());
  now_ms_ += 60'000;
  Write(400, 1);
  EXPECT_EQ(Transitions(), Texts({"10: 300- 6", "10: 300-400 6"}));
}

TEST_F(AlarmTimeTest, GoesOverInSilenceAtTheNewestGoodValue) {
  ASSERT_TRUE(Save(Patient({"HIGH > 5", "HIHI > 8"})).ok());
  Write(100, 6);
  now_ms_ += 5'000;
  ASSERT_TRUE(CompleteHolds().ok());
  Write(200, 9);
  Write(300, 10);
  now_ms_ += 5'000;
  ASSERT_TRUE(CompleteHolds().ok());
  EXPECT_EQ(Transitions(), Texts({"10: 100- 6", "10: 100-300 6", "10: 300- 10"}));
}

TEST_F(AlarmTimeTest, CompletesHoldsOfBeforeTheOpening) {
  const AlarmRule rule = Patient({"HIGH > 5"});
  ASSERT_TRUE(Save(rule).ok());
  Write(100, 6);
  Start();
  now_ms_ += 60'000;
  ASSERT_TRUE(Load({rule}).ok());
  EXPECT_LE(stage_->next_deadline_ms(), now_ms_);
  ASSERT_TRUE(CompleteHolds().ok());
  EXPECT_EQ(Records(), Texts({"10: 100- 6"}));
}

// A tag without an archive whose current value is bad: the values that met the tests are known.
TEST_F(AlarmTimeTest, GoesOverAtTheValueThatMetTheTestWhereNoNewerGoodOneIsFound) {
  constexpr TagId kBare = 2;
  ASSERT_TRUE(PutTag(kBare, {.archiving = false, .is_read = true}).ok());
  AlarmRule rule = Patient({"HIGH > 5", "HIHI > 8"});
  rule.source = kBare;
  ASSERT_TRUE(Save(rule).ok());
  const auto write = [&](std::int64_t time_ms, double value, std::uint16_t quality) {
    Sample sample = NumberAt(time_ms, value);
    sample.quality = quality;
    EXPECT_EQ(Commit({{kBare, sample}}).fate, Fate::kStored);
  };
  write(100, 6, ZR3_QUALITY_GOOD);
  now_ms_ += 5'000;
  ASSERT_TRUE(CompleteHolds().ok());
  write(200, 9, ZR3_QUALITY_GOOD);
  write(300, 1, ZR3_QUALITY_BAD);
  Start();
  ASSERT_TRUE(Load({rule}).ok());
  now_ms_ += 5'000;
  ASSERT_TRUE(CompleteHolds().ok());
  EXPECT_EQ(Records(), Texts({"10: 100-200 6", "10: 200- 9"}));
}

TEST_F(AlarmTimeTest, DropsPendingHoldsWhenItIsJudgedInAnotherWay) {
  ASSERT_TRUE(Save(Patient({"HIGH > 5"})).ok());
  Write(100, 6);
  ASSERT_TRUE(Save(Patient({"HIGH > 5"}, 4'000)).ok());
  EXPECT_TRUE(AllRows<StandingAlarm>().empty());
  EXPECT_EQ(stage_->next_deadline_ms(), AlarmBook::kNever);
  Write(200, 6);
  EXPECT_EQ(stage_->next_deadline_ms(), now_ms_ + 4'000);
}

TEST_F(AlarmTimeTest, TriesAgainWhatTheStoreRefusedInSilence) {
  ASSERT_TRUE(Save(Patient({"HIGH > 5"})).ok());
  Write(100, 6);
  now_ms_ += 5'000;
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  EXPECT_FALSE(CompleteHolds().ok());
  EXPECT_LE(stage_->next_deadline_ms(), now_ms_);
  ASSERT_TRUE(CompleteHolds().ok());
  EXPECT_EQ(Records(), Texts({"10: 100- 6"}));
}

// ---- what stands, over openings ----

TEST_F(AlarmTimeTest, KeepsARowForAnAlarmTagWhileATestOfItHolds) {
  ASSERT_TRUE(Save(Patient({"HIGH > 5", "HIHI > 8"})).ok());
  Write(100, 1);
  EXPECT_TRUE(AllRows<StandingAlarm>().empty());
  Write(200, 6);
  ASSERT_EQ(AllRows<StandingAlarm>().size(), 1U);
  const StandingAlarm row = AllRows<StandingAlarm>()[0];
  EXPECT_EQ(row.tag, kAlarm);
  EXPECT_EQ(row.state.tests[0].hold, TestState::Hold::kPending);
  EXPECT_EQ(row.state.tests[0].since_ms, 200);
  EXPECT_EQ(row.state.tests[0].value, 6);
  EXPECT_EQ(row.state.tests[0].stored_ms, now_ms_);
  Write(300, 1);
  EXPECT_TRUE(AllRows<StandingAlarm>().empty());
}

TEST_F(AlarmTimeTest, WritesNothingForAValueWithoutATransition) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5"})).ok());
  Write(100, 6);
  const auto consumer = *feed_.Register(100);
  consumer->WatchAllTags(true);
  Write(200, 7);
  EXPECT_TRUE(consumer->Poll()->group->rows.empty());
}

TEST_F(AlarmTimeTest, LetsStandAgainWhatStood) {
  const AlarmRule rule = Rule({"HIGH > 5"});
  ASSERT_TRUE(Save(rule).ok());
  Write(100, 6);
  Start();
  ASSERT_TRUE(Load({rule}).ok());
  Write(200, 7);
  EXPECT_EQ(Records(), Texts({"10: 100- 6"}));
  Write(300, 1);
  EXPECT_EQ(Records(), Texts({"10: 100-300 6"}));
}

TEST_F(AlarmTimeTest, DoesNotStartOnRowsThatNoAlarmCanHaveLeft) {
  const AlarmRule rule = Rule({"HIGH > 5", "CHANGE"});
  ASSERT_TRUE(Save(rule).ok());
  const StandingAlarm sound = {
      .tag = kAlarm,
      .state = {.tests = {TestState{.hold = TestState::Hold::kComplete, .since_ms = 5, .value = 6}},
                .position = 0,
                .start_ms = 5}};
  std::vector<StandingAlarm> damaged(5, sound);
  damaged[0].tag = 11;                               // no such alarm tag
  damaged[1].state.position = 1;                     // of a test that does not hold
  damaged[2].state.tests[1] = sound.state.tests[0];  // a CHANGE does not hold
  damaged[3].state.tests[2] = sound.state.tests[0];  // there is no such test
  damaged[4].state.tests[0].since_ms = -1;
  const auto load_with = [&](const StandingAlarm& alarm) {
    const auto put = [&](Turn&, StoreBatch& batch) {
      Table<StandingAlarm>::Remove(11, batch);
      Table<StandingAlarm>::Put(alarm, batch);
      return Status();
    };
    EXPECT_TRUE(committer_->Change(turn_, put, [](Turn&) {}).ok());
    Start();
    return Load({rule}).code();
  };
  for (const StandingAlarm& alarm : damaged) {
    EXPECT_EQ(load_with(alarm), ZR3_ERR_STORAGE_DAMAGED);
  }
  EXPECT_EQ(load_with(sound), ZR3_OK);
  AlarmRule lost = rule;
  lost.group = 7;
  Start();
  EXPECT_EQ(Load({lost}).code(), ZR3_ERR_STORAGE_DAMAGED);
}

// ---- actions ----

class AlarmActionTest : public AlarmStageTest {
 protected:
  static AlarmRule Acting() {
    AlarmRule rule = Rule({"HIGH > 5", "CHANGE"});
    rule.actions[0] = {.target = 3, .number = 0.1};
    return rule;
  }

  // Judges one record of the source that is written because of an action so deep in its chain.
  Status JudgeActionOf(const PendingAction& because) {
    const auto put = [&](Turn&, StoreBatch& batch) {
      Table<PendingAction>::Put(because, batch);
      return Status();
    };
    EXPECT_TRUE(committer_->Change(turn_, put, [](Turn&) {}).ok());
    const std::vector<TagId> tags = {kSource};
    SampleColumns samples;
    samples.Add(NumberAt(because.key.start_ms, 6));
    std::vector<std::uint8_t> marks = {kArchive};
    const std::vector<std::uint8_t> was_newest = {1};
    const std::vector<std::uint32_t> read = {0};
    const std::vector<RowChange> rows = {
        {.table = TableId::kProgress, .key = RowFormat<PendingAction>::KeyCells(because.key)}};
    const auto plan = [&](Turn& turn, StoreBatch& batch) {
      return stage_->Process(turn,
                             {.tags = tags,
                              .samples = samples,
                              .marks = marks,
                              .was_newest = was_newest,
                              .filtered = {},
                              .read = read,
                              .rows = rows},
                             batch);
    };
    return committer_->Change(turn_, plan, [](Turn&) {});
  }
};

TEST_F(AlarmActionTest, WaitsInTheBatchOfTheRecordThatStarts) {
  ASSERT_TRUE(Save(Acting()).ok());
  (void)stage_->HasNewActions();
  Write(100, 1);
  EXPECT_TRUE(Actions().empty());
  EXPECT_FALSE(stage_->HasNewActions());
  Write(200, 6);
  const PendingAction expected = {
      .key = {.alarm = kAlarm, .start_ms = 200}, .target = 3, .number = 0.1, .depth = 1};
  EXPECT_EQ(Actions(), std::vector<PendingAction>({expected}));
  EXPECT_TRUE(stage_->HasNewActions());
  EXPECT_FALSE(stage_->HasNewActions());
  EXPECT_EQ(wakes_, 1);
}

TEST_F(AlarmActionTest, IsOneDeeperThanTheOneWhoseValueRaisedIt) {
  ASSERT_TRUE(Save(Acting()).ok());
  const PendingAction because = {
      .key = {.alarm = 99, .start_ms = 200}, .target = kSource, .number = 6, .depth = 4};
  ASSERT_TRUE(JudgeActionOf(because).ok());
  ASSERT_EQ(Actions().size(), 2U);
  EXPECT_EQ(Actions()[0].key.alarm, kAlarm);
  EXPECT_EQ(Actions()[0].depth, 5);
}

TEST_F(AlarmActionTest, IsLeftOutBehindSixteenOthers) {
  ASSERT_TRUE(Save(Acting()).ok());
  const PendingAction because = {
      .key = {.alarm = 99, .start_ms = 200}, .target = kSource, .number = 6, .depth = 16};
  ASSERT_TRUE(JudgeActionOf(because).ok());
  EXPECT_EQ(Records(), Texts({"10: 200- 6"}));
  EXPECT_EQ(Actions(), std::vector<PendingAction>({because}));
}

TEST_F(AlarmActionTest, IsAsDeepAsTheValueThatBeganItsHoldAsksFor) {
  AlarmRule rule = Acting();
  rule.conditions.time_dead_band_ms = 1'000;
  ASSERT_TRUE(Save(rule).ok());
  const PendingAction because = {
      .key = {.alarm = 99, .start_ms = 200}, .target = kSource, .number = 6, .depth = 4};
  ASSERT_TRUE(JudgeActionOf(because).ok());
  Start();
  ASSERT_TRUE(Load({rule}).ok());
  now_ms_ += 1'000;
  ASSERT_TRUE(CompleteHolds().ok());
  ASSERT_EQ(Actions().size(), 2U);
  EXPECT_EQ(Actions()[0].depth, 5);
}

TEST_F(AlarmActionTest, ThatCannotBeReadKeepsTheDatabaseShut) {
  const auto put = [&](Turn&, StoreBatch& batch) {
    Row row = RowFormat<PendingAction>::RowOf({.key = {.alarm = kAlarm, .start_ms = 1}});
    row[3] = Cell(std::string("3 1"));
    Row key(row.begin(), row.begin() + 3);
    batch.rows.push_back(
        {.table = TableId::kProgress, .key = std::move(key), .row = std::move(row)});
    return Status();
  };
  ASSERT_TRUE(committer_->Change(turn_, put, [](Turn&) {}).ok());
  Start();
  EXPECT_EQ(Load({}).code(), ZR3_ERR_STORAGE_DAMAGED);
}

}  // namespace
}  // namespace zervane
