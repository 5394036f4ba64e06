#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/storage/record_batch.h"
#include "tests/engine/alarms/stage_fixture.h"

// Alarms of CHANGE tests, which need the good value before.
namespace zervane {
namespace {

using Texts = std::vector<std::string>;
using AlarmChangeTest = AlarmStageTest;

TEST_F(AlarmChangeTest, IsARecordOfItsOwnThatEndsAtOnceBesideWhatStands) {
  ASSERT_TRUE(Save(Rule({"HIGH > 5", "CHANGE 2"})).ok());
  Write(100, 6);
  Write(200, 7.5);
  Write(300, 9.5);
  EXPECT_EQ(Records(), Texts({"10: 100- 6", "10: 300-300 9.5"}));
  const AlarmRecord record = AllRows<AlarmRecord>()[1];
  EXPECT_EQ(record.type, ZR3_AM_REC_TYPE_CHANGE);
  EXPECT_EQ(record.priority, 3);
  EXPECT_EQ(record.test, "CHANGE 2");
  EXPECT_EQ(Transitions().size(), 2U);
}

TEST_F(AlarmChangeTest, ComparesWithTheGoodValueBeforeWhateverCameBetween) {
  ASSERT_TRUE(Save(Rule({"CHANGE"})).ok());
  Write(100, 1);
  Write(200, 2, ZR3_QUALITY_BAD);
  Write(150, 3);
  Write(300, 1);
  EXPECT_EQ(Records(), Texts());
  Write(400, 2);
  EXPECT_EQ(Records(), Texts({"10: 400-400 2"}));
}

TEST_F(AlarmChangeTest, ComparesTheFirstValueAfterOpeningWithTheCurrentOneThatIsGood) {
  Write(100, 1);
  const AlarmRule rule = Rule({"CHANGE"});
  ASSERT_TRUE(Save(rule).ok());
  Start();
  ASSERT_TRUE(Load({rule}).ok());
  Write(200, 1);
  EXPECT_EQ(Records(), Texts());
  Start();
  ASSERT_TRUE(Load({rule}).ok());
  Write(300, 2);
  EXPECT_EQ(Records(), Texts({"10: 300-300 2"}));
}

TEST_F(AlarmChangeTest, ComparesItWithTheLastGoodPointWhenTheCurrentOneIsBad) {
  const AlarmRule rule = Rule({"CHANGE"});
  ASSERT_TRUE(Save(rule).ok());
  Write(100, 1);
  Write(200, 5, ZR3_QUALITY_BAD);
  Start();
  ASSERT_TRUE(Load({rule}).ok());
  Write(300, 1);
  EXPECT_EQ(Records(), Texts());
  Write(400, 5);
  EXPECT_EQ(Records(), Texts({"10: 400-400 5"}));
}

TEST_F(AlarmChangeTest, IsNoneWhereThereIsNoGoodValueBefore) {
  ASSERT_TRUE(Save(Rule({"CHANGE"})).ok());
  Write(100, 1, ZR3_QUALITY_BAD);
  Write(200, 2);
  EXPECT_EQ(Records(), Texts());
}

TEST_F(AlarmChangeTest, DoesNotCompareWithALateValueThatCameBetween) {
  ASSERT_TRUE(Save(Rule({"CHANGE"})).ok());
  Write(100, 1, ZR3_QUALITY_BAD);
  Write(50, 7);
  Write(200, 2);
  EXPECT_EQ(Records(), Texts());
}

TEST_F(AlarmChangeTest, ComparesWithACorrectedValueFromItsCorrectionOn) {
  ASSERT_TRUE(Save(Rule({"CHANGE"})).ok());
  Write(100, 1);
  Write(200, 1);
  const auto correct = [&](std::int64_t time_ms, std::uint8_t marks) {
    const auto plan = [&](Turn&, StoreBatch& batch) {
      AddRecord(batch.records, kSource, NumberAt(time_ms, 3), marks);
      return Status();
    };
    EXPECT_TRUE(committer_->Change(turn_, plan, [](Turn&) {}).ok());
  };
  correct(100, kArchive);
  Write(300, 1);
  EXPECT_EQ(Records(), Texts());
  correct(300, kArchive | kCurrent);
  Write(400, 3);
  EXPECT_EQ(Records(), Texts());
  Write(500, 1);
  EXPECT_EQ(Records(), Texts({"10: 500-500 1"}));
}

TEST_F(AlarmChangeTest, IsAnyOtherTextOfASourceThatHasTexts) {
  constexpr TagId kText = 2;
  ASSERT_TRUE(PutTag(kText, {.type = TagType::kString, .is_read = true}).ok());
  ASSERT_TRUE(Save(Rule({"CHANGE"}, kAlarm, kText)).ok());
  const auto write = [&](std::int64_t time_ms, const std::string& text) {
    EXPECT_EQ(Commit({{kText, TextAt(time_ms, text)}}).fate, Fate::kStored);
  };
  write(100, "on");
  write(200, "on");
  write(300, "off");
  EXPECT_EQ(Records(), Texts({"10: 300-300 off"}));
}

TEST_F(AlarmChangeTest, ComparesATextWithTheOneBeforeThoughNoTestAskedForThat) {
  constexpr TagId kText = 2;
  ASSERT_TRUE(PutTag(kText, {.type = TagType::kString, .is_read = true}).ok());
  const auto write = [&](std::int64_t time_ms, const std::string& text) {
    EXPECT_EQ(Commit({{kText, TextAt(time_ms, text)}}).fate, Fate::kStored);
  };
  ASSERT_TRUE(Save(Rule({"CHANGE"}, kAlarm, kText)).ok());
  write(100, "a");
  ASSERT_TRUE(Save(Rule({}, kAlarm, kText)).ok());
  write(200, "b");
  ASSERT_TRUE(Save(Rule({"CHANGE"}, kAlarm, kText)).ok());
  write(300, "a");
  write(400, "a");
  EXPECT_EQ(Records(), Texts({"10: 300-300 a"}));
}

TEST_F(AlarmChangeTest, StartsNothingBeyondTheGreatestTime) {
  ASSERT_TRUE(Save(Rule({"CHANGE 1", "CHANGE 2"})).ok());
  Write(kMaxTimeMs - 1, 1);
  Write(kMaxTimeMs, 5);
  Write(kMaxTimeMs, 1);
  Texts starts;
  for (const AlarmRecord& record : AllRows<AlarmRecord>()) {
    starts.push_back(
        fmt::format("{} {}", record.start_ms - kMaxTimeMs, record.end_ms - kMaxTimeMs));
  }
  EXPECT_EQ(starts, Texts({"-3 -3", "-2 -2", "-1 -1", "0 0"}));
}

TEST_F(AlarmChangeTest, KnowsNothingOfWhatCameWhileNothingWatched) {
  ASSERT_TRUE(Save(Rule({"CHANGE"})).ok());
  Write(100, 1);
  ASSERT_TRUE(RemoveTag(kAlarm).ok());
  Write(200, 2);  // (In a database the trait would be gone: nobody would be asked.)
  ASSERT_TRUE(Save(Rule({"CHANGE"}, 11)).ok());
  Write(300, 2);
  EXPECT_EQ(Records(), Texts());
}

// A thousand of one time cost no more than others: each goes on behind the one before.
TEST_F(AlarmChangeTest, GivesAThousandRecordsOfOneTimeStartsOfTheirOwn) {
  ASSERT_TRUE(Save(Rule({"CHANGE"})).ok());
  std::vector<TagSample> records;
  for (int i = 0; i < 1'001; ++i) records.push_back({kSource, NumberAt(100, i % 2)});
  ASSERT_EQ(Commit(records).fate, Fate::kStored);
  const std::vector<AlarmRecord> stored = AllRows<AlarmRecord>();
  ASSERT_EQ(stored.size(), 1'000U);
  EXPECT_EQ(stored.back().start_ms, 1'099);
}

}  // namespace
}  // namespace zervane
