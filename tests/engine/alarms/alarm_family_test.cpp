#include "engine/alarm_family.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/engine/alarms/alarm_database.h"
#include "tests/engine/storage/faulty_store.h"

namespace zervane {
namespace {

using storage::Faults;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr TagId kUnknown = 999;

std::vector<AlarmKey> KeysOf(const Result<AlarmPage>& page) {
  EXPECT_TRUE(page.ok()) << page.status().message();
  std::vector<AlarmKey> keys;
  if (!page.ok()) return keys;
  for (const AlarmRecord& record : page->items) keys.push_back(record.key());
  return keys;
}

AlarmKey Key(TagId tag, std::int64_t start_ms) { return {.start_ms = start_ms, .tag = tag}; }

FindAlarmsOfTags OfTags(const std::vector<TagId>& ids, const AlarmQuery& query = {},
                        std::int64_t mask = -1, std::int32_t limit = kMaxPageItems) {
  return {.ids = ids, .query = query, .mask = mask, .from = {}, .limit = limit};
}
FindAlarmsOfGroup OfGroup(GroupId group, const AlarmQuery& query = {}, std::int64_t mask = -1,
                          std::int32_t limit = kMaxPageItems) {
  return {.group = group, .query = query, .mask = mask, .from = {}, .limit = limit};
}

// A source, and two alarm tags on it that stand for as long as it is above 10 and 20.
class AlarmFamilyTest : public testing::Test {
 protected:
  AlarmFamilyTest() {
    source_ = database_.AddPoint("source");
    above_10_ = database_.Add(AlarmTagOf("above 10", "source", {"HIGH > 10"}));
    above_20_ = database_.Add(AlarmTagOf("above 20", "source", {"HIHI > 20"}));
  }

  void Write(std::int64_t time_ms, double value) {
    const Sample sample = {
        .time_ms = time_ms, .quality = ZR3_QUALITY_GOOD, .type = TagType::kFloat64, .value = value};
    database_.Write(source_, sample);
  }
  AlarmRecord Latest(TagId tag) {
    const auto reply = database_.Do(ReadLatestAlarms{.ids = {tag}});
    EXPECT_TRUE(reply.ok());
    EXPECT_EQ(reply->codes.front(), ZR3_OK);
    return reply->records.front();
  }
  GroupId AddGroup(const std::string& name, GroupId parent = kRootGroup) {
    const auto id =
        database_.Do(AddAlarmGroup{{.id = 0, .parent = parent, .name = name, .description = {}}});
    EXPECT_TRUE(id.ok()) << id.status().message();
    return id.ok() ? *id : 0;
  }
  TagId AddIn(GroupId group, const std::string& name) {
    Tag tag = AlarmTagOf(name, "source", {"HIGH > 10"});
    std::get<AlarmProperties>(tag.own).alarm_group_id = group;
    return database_.Add(tag);
  }

  std::shared_ptr<Store> below_ = OpenMemoryStore();
  std::shared_ptr<Faults> faults_ = std::make_shared<Faults>();
  AlarmDatabase database_{[this]() -> std::unique_ptr<Store> {
    return std::make_unique<storage::FaultyStore>(below_, faults_);
  }};
  TagId source_ = 0;
  TagId above_10_ = 0;
  TagId above_20_ = 0;
};

// ---- queries ----

TEST_F(AlarmFamilyTest, ATagThatIsNamedTwiceComesOnce) {
  Write(1'000, 15);
  Write(2'000, 25);
  EXPECT_THAT(KeysOf(database_.Do(OfTags({above_20_, above_10_, above_20_}))),
              ElementsAre(Key(above_10_, 1'000), Key(above_20_, 2'000)));
}

TEST_F(AlarmFamilyTest, TagsThatAreUnknownOrNoAlarmTagsFailAQuery) {
  EXPECT_EQ(database_.Do(OfTags({above_10_, kUnknown})).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(database_.Do(OfTags({above_10_, source_})).code(), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(database_.Do(OfGroup(9)).code(), ZR3_ERR_GROUP_NOT_FOUND);
}

TEST_F(AlarmFamilyTest, MasksLimitsAndRangesThatAreNoneFailAQuery) {
  const auto status = [&](std::int64_t mask, std::int32_t limit, std::int64_t end_ms) {
    const AlarmQuery query = {.start_ms = 1'000, .end_ms = end_ms};
    const ZR3_STATUS of_tags = database_.Do(OfTags({above_10_}, query, mask, limit)).code();
    EXPECT_EQ(database_.Do(OfGroup(kRootGroup, query, mask, limit)).code(), of_tags);
    return of_tags;
  };
  EXPECT_EQ(status(-1, 1, 0), ZR3_OK);
  EXPECT_EQ(status(-1, 1, 1'000), ZR3_OK);
  EXPECT_EQ(status(1 << 15, 1, 0), ZR3_ERR_INVALID_MASK);
  EXPECT_EQ(status(-1, 0, 0), ZR3_ERR_INVALID_COUNT);
  EXPECT_EQ(status(-1, 1, 999), ZR3_ERR_INVALID_REGION);
  EXPECT_EQ(database_.Do(ReadLatestAlarms{.ids = {above_10_}, .mask = 1 << 15}).code(),
            ZR3_ERR_INVALID_MASK);
}

TEST_F(AlarmFamilyTest, AGroupIsAskedWithTheGroupsUnderIt) {
  const GroupId area = AddGroup("area");
  const GroupId boiler = AddGroup("boiler", area);
  const TagId in_area = AddIn(area, "in area");
  const TagId in_boiler = AddIn(boiler, "in boiler");
  Write(1'000, 15);
  EXPECT_THAT(KeysOf(database_.Do(OfGroup(boiler))), ElementsAre(Key(in_boiler, 1'000)));
  EXPECT_THAT(KeysOf(database_.Do(OfGroup(area))),
              ElementsAre(Key(in_area, 1'000), Key(in_boiler, 1'000)));
  EXPECT_THAT(KeysOf(database_.Do(OfGroup(kRootGroup))),
              ElementsAre(Key(above_10_, 1'000), Key(in_area, 1'000), Key(in_boiler, 1'000)));
  database_.Reopen();
  EXPECT_THAT(KeysOf(database_.Do(OfGroup(area))),
              ElementsAre(Key(in_area, 1'000), Key(in_boiler, 1'000)));
}

TEST_F(AlarmFamilyTest, ATagThatIsDeletedBetweenPagesIsPassedOver) {
  Write(1'000, 25);
  Write(2'000, 5);
  Write(3'000, 25);
  FindAlarmsOfTags find = OfTags({above_10_, above_20_});
  find.limit = 1;
  const Result<AlarmPage> first = database_.Do(find);
  EXPECT_THAT(KeysOf(first), ElementsAre(Key(above_10_, 1'000)));
  ASSERT_TRUE(database_.Do(DeleteTag{above_20_}).ok());
  find.from = *first->next;
  EXPECT_THAT(KeysOf(database_.Do(find)), ElementsAre(Key(above_10_, 3'000)));
}

TEST_F(AlarmFamilyTest, TheLatestHaveACodeEach) {
  Write(1'000, 15);
  const auto reply =
      database_.Do(ReadLatestAlarms{.ids = {above_10_, above_20_, source_, kUnknown}, .mask = 0});
  ASSERT_TRUE(reply.ok());
  EXPECT_THAT(reply->codes, ElementsAre(ZR3_OK, ZR3_ERR_NO_ALARM, ZR3_ERR_INVALID_TAG_CLASS,
                                        ZR3_ERR_TAG_NOT_FOUND));
  AlarmRecord only_key;
  only_key.tag = above_10_;
  only_key.start_ms = 1'000;
  EXPECT_THAT(reply->records, ElementsAre(only_key, AlarmRecord(), AlarmRecord(), AlarmRecord()));
}

TEST_F(AlarmFamilyTest, ADeletedAlarmTagsRecordsAreGone) {
  Write(1'000, 25);
  ASSERT_TRUE(database_.Do(DeleteTag{above_20_}).ok());
  EXPECT_THAT(KeysOf(database_.Do(OfGroup(kRootGroup))), ElementsAre(Key(above_10_, 1'000)));
  EXPECT_EQ(database_.Do(AcknowledgeAlarms{{Key(above_20_, 1'000)}}).code(), ZR3_OK);
  EXPECT_THAT(*database_.Do(AcknowledgeAlarms{{Key(above_20_, 1'000)}}),
              ElementsAre(ZR3_ERR_TAG_NOT_FOUND));
}

// ---- acknowledging and commenting ----

TEST_F(AlarmFamilyTest, AcknowledgingSetsTheClockAndTheUserOnce) {
  Write(1'000, 15);
  database_.SetClock(1'700'000'005'000);
  EXPECT_THAT(*database_.Do(AcknowledgeAlarms{{Key(above_10_, 1'000)}}), ElementsAre(ZR3_OK));
  database_.SetClock(1'700'000'009'000);
  EXPECT_THAT(*database_.Do(AcknowledgeAlarms{{Key(above_10_, 1'000)}}),
              ElementsAre(ZR3_ERR_ALREADY_ACKNOWLEDGED));
  const AlarmRecord record = Latest(above_10_);
  EXPECT_TRUE(record.is_acknowledged);
  EXPECT_EQ(record.acknowledged_ms, 1'700'000'005'000);
  EXPECT_EQ(record.acknowledged_by, "admin");
}

TEST_F(AlarmFamilyTest, ABatchHasACodeForEachAndOneNamedTwiceIsAcknowledgedAlready) {
  Write(1'000, 25);
  const auto codes = database_.Do(
      AcknowledgeAlarms{{Key(above_10_, 1'000), Key(above_10_, 1'000), Key(above_10_, 1'001),
                         Key(source_, 1'000), Key(kUnknown, 1'000), Key(above_20_, 1'000)}});
  EXPECT_THAT(*codes, ElementsAre(ZR3_OK, ZR3_ERR_ALREADY_ACKNOWLEDGED, ZR3_ERR_NO_ALARM,
                                  ZR3_ERR_INVALID_TAG_CLASS, ZR3_ERR_TAG_NOT_FOUND, ZR3_OK));
}

TEST_F(AlarmFamilyTest, ABatchInWhichAllFailCommitsNothing) {
  Write(1'000, 15);
  const std::size_t commits = faults_->commit_sizes().size();
  EXPECT_THAT(*database_.Do(AcknowledgeAlarms{{Key(above_10_, 1'001)}}),
              ElementsAre(ZR3_ERR_NO_ALARM));
  EXPECT_THAT(*database_.Do(CommentAlarms{{Key(above_10_, 1'000)}, {std::string(766, 'c')}}),
              ElementsAre(ZR3_ERR_INVALID_TEXT));
  EXPECT_EQ(faults_->commit_sizes().size(), commits);
  EXPECT_THAT(*database_.Do(AcknowledgeAlarms{{Key(above_10_, 1'000)}}), ElementsAre(ZR3_OK));
  EXPECT_EQ(faults_->commit_sizes().size(), commits + 1);
}

TEST_F(AlarmFamilyTest, ACommentReplacesTheOneBeforeAndAnEmptyOneIsOne) {
  Write(1'000, 15);
  database_.SetClock(1'700'000'005'000);
  EXPECT_THAT(*database_.Do(CommentAlarms{{Key(above_10_, 1'000)}, {"first"}}),
              ElementsAre(ZR3_OK));
  EXPECT_EQ(Latest(above_10_).comment, "first");
  database_.SetClock(1'700'000'006'000);
  EXPECT_THAT(*database_.Do(CommentAlarms{{Key(above_10_, 1'000)}, {""}}), ElementsAre(ZR3_OK));
  const AlarmRecord record = Latest(above_10_);
  EXPECT_EQ(record.comment, "");
  EXPECT_EQ(record.commented_ms, 1'700'000'006'000);
  EXPECT_EQ(record.commented_by, "admin");
}

TEST_F(AlarmFamilyTest, CommentsAreAsManyAsAlarms) {
  EXPECT_EQ(database_.Do(CommentAlarms{{Key(above_10_, 1'000)}, {}}).code(), ZR3_ERR_INVALID_COUNT);
}

TEST_F(AlarmFamilyTest, WhatIsNotedWhileAnAlarmStandsIsThereWhenItHasEnded) {
  Write(1'000, 15);
  EXPECT_THAT(*database_.Do(AcknowledgeAlarms{{Key(above_10_, 1'000)}}), ElementsAre(ZR3_OK));
  EXPECT_THAT(*database_.Do(CommentAlarms{{Key(above_10_, 1'000)}, {"seen"}}), ElementsAre(ZR3_OK));
  Write(2'000, 5);
  const AlarmRecord record = Latest(above_10_);
  EXPECT_TRUE(record.is_restored);
  EXPECT_EQ(record.end_ms, 2'000);
  EXPECT_TRUE(record.is_acknowledged);
  EXPECT_EQ(record.comment, "seen");
}

TEST_F(AlarmFamilyTest, AnEndedAlarmIsAcknowledgedAndCommentedToo) {
  Write(1'000, 15);
  Write(2'000, 5);
  EXPECT_THAT(*database_.Do(AcknowledgeAlarms{{Key(above_10_, 1'000)}}), ElementsAre(ZR3_OK));
  database_.Reopen();
  const AlarmRecord record = Latest(above_10_);
  EXPECT_TRUE(record.is_acknowledged);
  EXPECT_EQ(record.end_ms, 2'000);
}

TEST_F(AlarmFamilyTest, WhatTheStoreRefusesIsTheStatusOfTheWholeBatch) {
  Write(1'000, 15);
  faults_->FailCommitsTo(TableId::kAlarmRecord, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(database_.Do(AcknowledgeAlarms{{Key(above_10_, 1'000)}}).code(), ZR3_ERR_STORAGE_FULL);
  faults_->EndFailingCommits();
  EXPECT_FALSE(Latest(above_10_).is_acknowledged);
  faults_->Fail(Faults::Call::kRows, ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(database_.Do(AcknowledgeAlarms{{Key(above_10_, 1'000)}}).code(),
            ZR3_ERR_STORAGE_FAILED);
}

// ---- groups ----

TEST_F(AlarmFamilyTest, GroupsAreThereAfterReopening) {
  const GroupId area = AddGroup("area");
  ASSERT_TRUE(database_.Do(ModifyAlarmGroup{.id = area, .name = {}, .description = "north"}).ok());
  database_.Reopen();
  const auto groups = database_.Do(ReadAlarmGroups{{area, 9}});
  EXPECT_THAT(groups->codes, ElementsAre(ZR3_OK, ZR3_ERR_GROUP_NOT_FOUND));
  EXPECT_EQ(groups->groups[0].description, "north");
  EXPECT_EQ(groups->groups[1], AlarmGroup());
  EXPECT_EQ(*database_.Do(FindAlarmGroup{"AREA", kRootGroup}), area);
}

TEST_F(AlarmFamilyTest, AGroupWithAlarmTagsIsNotDeletedUntilTheyAreElsewhere) {
  const GroupId area = AddGroup("area");
  const TagId tag = AddIn(area, "in area");
  EXPECT_THAT(database_.Do(ListTagsOfGroup{.group = area})->items, ElementsAre(tag));
  EXPECT_EQ(database_.Do(DeleteAlarmGroup{area}).code(), ZR3_ERR_GROUP_NOT_EMPTY);
  database_.Reopen();
  EXPECT_EQ(database_.Do(DeleteAlarmGroup{area}).code(), ZR3_ERR_GROUP_NOT_EMPTY);
  ASSERT_TRUE(database_.Do(DeleteTag{tag}).ok());
  EXPECT_EQ(database_.Do(DeleteAlarmGroup{area}).code(), ZR3_OK);
  EXPECT_EQ(database_.Do(ListTagsOfGroup{.group = area}).code(), ZR3_ERR_GROUP_NOT_FOUND);
}

TEST_F(AlarmFamilyTest, AGroupThatTheStoreRefusesIsNotThere) {
  faults_->FailCommitsTo(TableId::kAlarmGroup, ZR3_ERR_STORAGE_FULL);
  const AddAlarmGroup add{{.id = 0, .parent = kRootGroup, .name = "area", .description = {}}};
  EXPECT_EQ(database_.Do(add).code(), ZR3_ERR_STORAGE_FULL);
  faults_->EndFailingCommits();
  EXPECT_THAT(database_.Do(ListAlarmGroups{})->items, IsEmpty());
  EXPECT_EQ(*database_.Do(add), 1U);
}

TEST_F(AlarmFamilyTest, PagesOfGroupsWantALimit) {
  EXPECT_EQ(database_.Do(ListAlarmGroups{.limit = 0}).code(), ZR3_ERR_INVALID_COUNT);
  EXPECT_EQ(database_.Do(ListTagsOfGroup{.limit = -1}).code(), ZR3_ERR_INVALID_COUNT);
}

}  // namespace
}  // namespace zervane
