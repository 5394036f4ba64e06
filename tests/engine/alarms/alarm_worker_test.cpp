#include "engine/alarms/alarm_worker.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "engine/alarms/alarm_rows.h"
#include "tests/engine/alarms/alarm_database.h"
#include "tests/engine/records.h"
#include "tests/engine/test_disk.h"

// What alarms ask for when no value comes, in a whole database.
namespace zervane {
namespace {

using Faults = storage::Faults;

class AlarmWorkerTest : public testing::Test {
 protected:
  TagId AddAlarm(const std::string& source, const std::vector<std::string>& tests,
                 const std::string& action1, const std::string& action2 = "") {
    Tag tag = AlarmTagOf("ALARM" + std::to_string(++alarms_), source, tests);
    std::get<AlarmProperties>(tag.own).action1 = action1;
    std::get<AlarmProperties>(tag.own).action2 = action2;
    return database_.Add(tag);
  }

  std::vector<Sample> Archive(TagId tag) {
    std::vector<Sample> samples;
    for (const auto& [time_ms, sample] : disk_->archive(tag)) samples.push_back(sample);
    return samples;
  }
  std::size_t PendingActions() {
    const auto store = disk_->Open(disk_);
    const Row all = RowFormat<PendingAction>::AllKeys();
    const auto page = Table<PendingAction>(*store).ReadPage(
        {.table = TableId::kProgress, .from = all, .to = all}, 1'000);
    EXPECT_TRUE(page.ok());
    return page->items.size();
  }

  const std::shared_ptr<TestDisk> disk_ = std::make_shared<TestDisk>();
  AlarmDatabase database_{[this] { return disk_->Open(disk_); }};
  int alarms_ = 0;
};

TEST_F(AlarmWorkerTest, WritesTheValueOfAnActionAtTheStartOfTheRecord) {
  const TagId source = database_.AddPoint("SOURCE");
  const TagId target = database_.AddPoint("TARGET", TagType::kInt16);
  AddAlarm("SOURCE", {"HIGH > 5"}, "SET 'TARGET' -7");
  database_.Write(source, NumberAt(100, 6));
  EXPECT_TRUE(Archive(target).empty());
  database_.Work();
  const Sample expected = {.time_ms = 100, .type = TagType::kInt16, .value = std::int32_t{-7}};
  EXPECT_EQ(Archive(target), std::vector<Sample>({expected}));
  EXPECT_EQ(PendingActions(), 0U);
  database_.Work();
  EXPECT_EQ(Archive(target).size(), 1U);
}

TEST_F(AlarmWorkerTest, WritesItBehindNewerValuesToo) {
  const TagId source = database_.AddPoint("SOURCE");
  const TagId target = database_.AddPoint("TARGET");
  AddAlarm("SOURCE", {"HIGH > 5"}, "SET 'TARGET' 1");
  database_.Write(target, NumberAt(500, 9));
  database_.Write(source, NumberAt(100, 6));
  database_.Work();
  ASSERT_EQ(Archive(target).size(), 2U);
  EXPECT_EQ(Archive(target)[0], NumberAt(100, 1));
}

TEST_F(AlarmWorkerTest, WritesAfterTheNextOpeningWhatWasStillPending) {
  const TagId source = database_.AddPoint("SOURCE");
  const TagId target = database_.AddPoint("TARGET");
  AddAlarm("SOURCE", {"HIGH > 5"}, "SET 'TARGET' 1");
  database_.Write(source, NumberAt(100, 6));
  database_.Reopen();
  EXPECT_EQ(PendingActions(), 1U);
  database_.Work();
  EXPECT_EQ(Archive(target), std::vector<Sample>({NumberAt(100, 1)}));
  EXPECT_EQ(PendingActions(), 0U);
}

TEST_F(AlarmWorkerTest, TriesAgainWhatTheStoreRefuses) {
  const TagId source = database_.AddPoint("SOURCE");
  const TagId target = database_.AddPoint("TARGET");
  AddAlarm("SOURCE", {"HIGH > 5"}, "SET 'TARGET' 1");
  database_.Write(source, NumberAt(100, 6));
  disk_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(database_.engine().Work().code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(PendingActions(), 1U);
  database_.Work();
  EXPECT_EQ(Archive(target), std::vector<Sample>({NumberAt(100, 1)}));
}

TEST_F(AlarmWorkerTest, LeavesOutAnActionWhoseTargetIsGoneOrHoldsOtherValuesByNow) {
  const TagId source = database_.AddPoint("SOURCE");
  const TagId gone = database_.AddPoint("GONE");
  const TagId narrow = database_.AddPoint("NARROW", TagType::kInt32);
  const TagId text = database_.AddPoint("TEXT");
  AddAlarm("SOURCE", {"HIGH > 5"}, "SET 'GONE' 1");
  AddAlarm("SOURCE", {"HIGH > 5"}, "SET 'NARROW' 1000");
  AddAlarm("SOURCE", {"HIGH > 5"}, "SET 'TEXT' 1");
  EXPECT_TRUE(database_.Do(DeleteTag{.id = gone}).ok());
  const auto become = [&](TagId id, TagType type) {
    Tag tag;
    tag.type = static_cast<std::int32_t>(type);
    const PropertyMask type_alone = {.common = std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE,
                                     .extension = 0};
    return database_.Do(ModifyTag{.id = id, .tag = tag, .mask = type_alone}).status();
  };
  EXPECT_TRUE(become(narrow, TagType::kInt8).ok());
  EXPECT_TRUE(become(text, TagType::kString).ok());
  database_.Write(source, NumberAt(100, 6));
  EXPECT_EQ(PendingActions(), 3U);
  database_.Work();
  EXPECT_EQ(PendingActions(), 0U);
  EXPECT_TRUE(Archive(narrow).empty());
  EXPECT_TRUE(Archive(text).empty());
}

TEST_F(AlarmWorkerTest, WritesToATargetThatWasRenamed) {
  const TagId source = database_.AddPoint("SOURCE");
  const TagId target = database_.AddPoint("TARGET");
  const TagId alarm = AddAlarm("SOURCE", {"HIGH > 5"}, "SET 'target' 1");
  Tag renamed;
  renamed.name = "NEW'NAME";
  const PropertyMask name_alone = {.common = std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAG_NAME,
                                   .extension = 0};
  ASSERT_TRUE(database_.Do(ModifyTag{.id = target, .tag = renamed, .mask = name_alone}).ok());
  const Result<Tag> read_back = database_.Do(GetTag{.id = alarm});
  ASSERT_TRUE(read_back.ok());
  EXPECT_EQ(std::get<AlarmProperties>(read_back->own).action1, "SET 'NEW''NAME' 1");
  database_.Write(source, NumberAt(100, 6));
  database_.Work();
  EXPECT_EQ(Archive(target).size(), 1U);
}

TEST_F(AlarmWorkerTest, JudgesWhatAnActionWrites) {
  const TagId source = database_.AddPoint("SOURCE");
  database_.AddPoint("NEXT");
  AddAlarm("SOURCE", {"HIGH > 5"}, "SET 'NEXT' 8");
  const TagId second = AddAlarm("NEXT", {"HIHI > 7"}, "");
  database_.Write(source, NumberAt(100, 6));
  database_.Work();
  ASSERT_EQ(database_.Records(second).size(), 1U);
  EXPECT_EQ(database_.Records(second)[0].start_ms, 100);
}

TEST_F(AlarmWorkerTest, EndsAChainOfAlarmsThatSetEachOthersSources) {
  const TagId source = database_.AddPoint("SOURCE");
  const TagId alarm =
      AddAlarm("SOURCE", {"HIGH > 5", "LOW < 5"}, "SET 'SOURCE' 0", "SET 'SOURCE' 10");
  database_.Write(source, NumberAt(100, 10));
  database_.Work();
  // The first one, and one for each of sixteen actions.
  EXPECT_EQ(database_.Records(alarm).size(), 17U);
  EXPECT_EQ(PendingActions(), 0U);
  // Another value of a caller's begins another chain.
  database_.Write(source, NumberAt(1'000, 5));
  database_.Write(source, NumberAt(2'000, 10));
  database_.Work();
  EXPECT_EQ(database_.Records(alarm).size(), 34U);
}

TEST_F(AlarmWorkerTest, CompletesHoldsWhoseTimePassedWhileTheDatabaseWasShutBeforeItIsOpen) {
  const TagId source = database_.AddPoint("SOURCE");
  Tag tag = AlarmTagOf("ALARM", "SOURCE", {"HIGH > 5"});
  std::get<AlarmProperties>(tag.own).time_dead_band = 5;
  const TagId alarm = database_.Add(tag);
  database_.Write(source, NumberAt(100, 6));
  database_.Work();
  database_.Reopen();
  EXPECT_TRUE(database_.Records(alarm).empty());
  database_.SetClock(database_.now_ms() + 5'000);
  database_.Reopen();
  EXPECT_EQ(database_.Records(alarm).size(), 1U);
}

TEST_F(AlarmWorkerTest, OpensThoughTheStoreRefusesToCompleteAHold) {
  const TagId source = database_.AddPoint("SOURCE");
  Tag tag = AlarmTagOf("ALARM", "SOURCE", {"HIGH > 5"});
  std::get<AlarmProperties>(tag.own).time_dead_band = 5;
  const TagId alarm = database_.Add(tag);
  database_.Write(source, NumberAt(100, 6));
  database_.SetClock(database_.now_ms() + 5'000);
  disk_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  database_.Reopen();
  EXPECT_TRUE(database_.Records(alarm).empty());
  database_.Work();
  EXPECT_EQ(database_.Records(alarm).size(), 1U);
}

// Two actions of each value, each of which is another's source: without a bound 2^16 and more.
TEST_F(AlarmWorkerTest, EndsAChainThatBranches) {
  const TagId x = database_.AddPoint("X");
  database_.AddPoint("Y");
  AddAlarm("X", {"CHANGE", "CHANGE"}, "SET 'Y' 1", "SET 'Y' 2");
  AddAlarm("Y", {"CHANGE", "CHANGE"}, "SET 'X' 1", "SET 'X' 2");
  database_.Write(x, NumberAt(100, 8));
  database_.Write(x, NumberAt(200, 9));
  database_.Work();
  EXPECT_EQ(PendingActions(), 0U);
  std::size_t actions = 0;
  for (TagId alarm = 3; alarm <= 4; ++alarm) actions += database_.Records(alarm).size();
  EXPECT_GT(actions, 16U);
  EXPECT_LE(actions, 2U * (2 * ActionChain::kWholeShare + 1));
}

TEST_F(AlarmWorkerTest, EndsAChainWhoseAlarmsWaitForTheirTimeDeadBands) {
  const TagId source = database_.AddPoint("SOURCE");
  Tag tag = AlarmTagOf("ALARM", "SOURCE", {"HIGH > 5", "LOW < 5"});
  auto& own = std::get<AlarmProperties>(tag.own);
  own.action1 = "SET 'SOURCE' 0";
  own.action2 = "SET 'SOURCE' 10";
  own.time_dead_band = 1;
  const TagId alarm = database_.Add(tag);
  database_.Write(source, NumberAt(100, 10));
  for (int second = 0; second < 40; ++second) {
    database_.SetClock(database_.now_ms() + 1'000);
    if (second % 7 == 3) database_.Reopen();
    database_.Work();
  }
  EXPECT_EQ(database_.Records(alarm).size(), 17U);
}

// With the thread of an ordinary opening: nobody calls for it.
TEST_F(AlarmWorkerTest, IsDoneByAThreadOfTheDatabase) {
  const auto shared = std::make_shared<TestDisk>();
  auto engine = *Engine::Open(shared->Open(shared), SystemClock());
  const auto handle = [&](const auto& operation) { return engine->Handle(Caller(), operation); };
  Tag point;
  point.name = "SOURCE";
  const TagId source = *handle(AddTag{.tag = point, .mask = {}});
  point.name = "TARGET";
  const TagId target = *handle(AddTag{.tag = point, .mask = {}});
  Tag tag = AlarmTagOf("ALARM", "SOURCE", {"HIGH > 5"});
  std::get<AlarmProperties>(tag.own).action1 = "SET 'TARGET' 1";
  ASSERT_TRUE(handle(AddTag{.tag = tag, .mask = {}}).ok());
  WriteSamples write;
  write.batch.Add(source, NumberAt(100, 6));
  ASSERT_TRUE(handle(write).ok());
  const CountRecords written = {.id = target, .range = {}};
  while (*handle(written) == 0) std::this_thread::yield();
  EXPECT_TRUE(engine->Close().ok());
  EXPECT_EQ(shared->archive(target).size(), 1U);
}

}  // namespace
}  // namespace zervane
