#include "engine/alarms/alarm_tags.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "tests/engine/alarms/alarm_database.h"
#include "tests/engine/records.h"
#include "tests/engine/test_disk.h"
#include "tests/support/case_name.h"

// Which alarm tags may be saved, and to which tags they are linked.
namespace zervane {
namespace {

constexpr PropertyMask OwnAlone(std::int32_t column) {
  return {.common = 0, .extension = std::int64_t{1} << (column - ZR3_TAG_COL_AM_EXT_PROP_MIN)};
}
constexpr PropertyMask kNameAlone = {.common = std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAG_NAME,
                                     .extension = 0};

class AlarmTagsTest : public testing::Test {
 protected:
  AlarmTagsTest() {
    number_ = database_.AddPoint("NUMBER");
    database_.AddPoint("TEXT", TagType::kString);
    database_.AddPoint("BYTE", TagType::kInt8);
    database_.Add(AlarmTagOf("OTHER", "NUMBER", {}));
  }

  ZR3_STATUS StatusOfAdding(const Tag& tag) {
    return database_.Do(AddTag{.tag = tag, .mask = {}}).code();
  }
  AlarmProperties Own(TagId id) {
    const Result<Tag> tag = database_.Do(GetTag{.id = id});
    EXPECT_TRUE(tag.ok());
    return std::get<AlarmProperties>(tag->own);
  }
  ZR3_STATUS ModifyOwn(TagId id, const AlarmProperties& own, std::int32_t column) {
    Tag tag;
    tag.own = own;
    return database_
        .Do(ModifyTag{
            .id = id, .tag_class = ZR3_TAG_CLASS_ALARM, .tag = tag, .mask = OwnAlone(column)})
        .code();
  }
  ZR3_STATUS Rename(TagId id, const std::string& name) {
    Tag tag;
    tag.name = name;
    return database_.Do(ModifyTag{.id = id, .tag = tag, .mask = kNameAlone}).code();
  }

  const std::shared_ptr<TestDisk> disk_ = std::make_shared<TestDisk>();
  AlarmDatabase database_{[this] { return disk_->Open(disk_); }};
  TagId number_ = 0;
};

struct SavingCase {
  const char* name;
  const char* source;
  const char* test;
  const char* action;
  ZR3_STATUS status;
};

class SavingAlarmTags : public AlarmTagsTest, public testing::WithParamInterface<SavingCase> {};

TEST_P(SavingAlarmTags, IsRefusedForWhatCannotBeJudgedOrDone) {
  Tag tag = AlarmTagOf("ALARM", GetParam().source, {GetParam().test});
  std::get<AlarmProperties>(tag.own).action1 = GetParam().action;
  EXPECT_EQ(StatusOfAdding(tag), GetParam().status);
  EXPECT_EQ(database_.Do(FindTagId{"ALARM"}).ok(), GetParam().status == ZR3_OK);
}

INSTANTIATE_TEST_SUITE_P(
    Tags, SavingAlarmTags,
    testing::Values(
        SavingCase{"WithoutATest", "NUMBER", "", "", ZR3_OK},
        SavingCase{"SourceInAnyCase", "number", "HIGH > 5", "", ZR3_OK},
        SavingCase{"NoSource", "", "HIGH > 5", "", ZR3_ERR_NAME_NOT_FOUND},
        SavingCase{"UnknownSource", "NOBODY", "HIGH > 5", "", ZR3_ERR_NAME_NOT_FOUND},
        SavingCase{"AlarmAsSource", "OTHER", "HIGH > 5", "", ZR3_ERR_INVALID_TAG_CLASS},
        SavingCase{"ItselfAsSource", "ALARM", "HIGH > 5", "", ZR3_ERR_NAME_NOT_FOUND},
        SavingCase{"LimitOfTexts", "TEXT", "HIGH > 5", "", ZR3_ERR_INVALID_TAG_TYPE},
        SavingCase{"LeastOfTexts", "TEXT", "CHANGE 2", "", ZR3_ERR_INVALID_TAG_TYPE},
        SavingCase{"ChangeOfTexts", "TEXT", "CHANGE", "", ZR3_OK},
        SavingCase{"NoTest", "NUMBER", "HIGH", "", ZR3_ERR_INVALID_ALARM_TEST},
        SavingCase{"NoAction", "NUMBER", "", "SET", ZR3_ERR_INVALID_ALARM_TEST},
        SavingCase{"UnknownTarget", "NUMBER", "", "SET 'NOBODY' 1", ZR3_ERR_NAME_NOT_FOUND},
        SavingCase{"AlarmAsTarget", "NUMBER", "", "SET 'OTHER' 1", ZR3_ERR_INVALID_TAG_CLASS},
        SavingCase{"TextAsTarget", "NUMBER", "", "SET 'TEXT' 1", ZR3_ERR_INVALID_TAG_TYPE},
        SavingCase{"BeyondTarget", "NUMBER", "", "SET 'BYTE' 128", ZR3_ERR_TYPE_MISMATCH},
        SavingCase{"FractionOfTarget", "NUMBER", "", "SET 'BYTE' 1.5", ZR3_ERR_TYPE_MISMATCH},
        SavingCase{"Target", "NUMBER", "", "SET 'byte' -128", ZR3_OK}),
    CaseName());

TEST_F(AlarmTagsTest, AsksForAGroupThatExists) {
  Tag tag = AlarmTagOf("ALARM", "NUMBER", {});
  std::get<AlarmProperties>(tag.own).alarm_group_id = 1;
  EXPECT_EQ(StatusOfAdding(tag), ZR3_ERR_GROUP_NOT_FOUND);
  AlarmGroup group;
  group.name = "UNIT";
  EXPECT_EQ(*database_.Do(AddAlarmGroup{.group = group}), 1U);
  EXPECT_EQ(StatusOfAdding(tag), ZR3_OK);
}

TEST_F(AlarmTagsTest, StaysLinkedToASourceThatIsRenamed) {
  const TagId alarm = database_.Add(AlarmTagOf("ALARM", "NUMBER", {"HIGH > 5"}));
  EXPECT_EQ(Rename(number_, "RENAMED"), ZR3_OK);
  EXPECT_EQ(Own(alarm).source_tag, "RENAMED");
  const TagId second = database_.AddPoint("NUMBER");
  database_.Write(second, NumberAt(100, 9));
  EXPECT_TRUE(database_.Records(alarm).empty());
  database_.Write(number_, NumberAt(100, 9));
  EXPECT_EQ(database_.Records(alarm).size(), 1U);
}

TEST_F(AlarmTagsTest, StaysWithoutASourceThatWasDeletedUntilAnotherIsGiven) {
  const TagId alarm = database_.Add(AlarmTagOf("ALARM", "NUMBER", {"HIGH > 5"}));
  EXPECT_TRUE(database_.Do(DeleteTag{.id = number_}).ok());
  EXPECT_EQ(Own(alarm).source_tag, "");
  const TagId second = database_.AddPoint("NUMBER");
  AlarmProperties own = Own(alarm);
  own.test1 = "HIGH > 6";
  EXPECT_EQ(ModifyOwn(alarm, own, ZR3_TAG_COL_AM_EXT_PROP_TEST1), ZR3_OK);
  database_.Reopen();
  database_.Write(second, NumberAt(100, 9));
  EXPECT_TRUE(database_.Records(alarm).empty());
  EXPECT_EQ(ModifyOwn(alarm, own, ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG), ZR3_ERR_NAME_NOT_FOUND);
  own.source_tag = "NUMBER";
  EXPECT_EQ(ModifyOwn(alarm, own, ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG), ZR3_OK);
  database_.Write(second, NumberAt(200, 9));
  EXPECT_EQ(database_.Records(alarm).size(), 1U);
}

TEST_F(AlarmTagsTest, LooksAtTheTypeOfAKeptSourceWhenTestsChange) {
  const TagId alarm = database_.Add(AlarmTagOf("ALARM", "TEXT", {"CHANGE"}));
  AlarmProperties own = Own(alarm);
  own.test2 = "HIGH > 5";
  EXPECT_EQ(ModifyOwn(alarm, own, ZR3_TAG_COL_AM_EXT_PROP_TEST2), ZR3_ERR_INVALID_TAG_TYPE);
  EXPECT_EQ(Own(alarm).test2, "");
}

TEST_F(AlarmTagsTest, RefusesANameWithWhichAnActionDoesNotFitAnyMore) {
  const TagId target = database_.AddPoint("T");
  Tag tag = AlarmTagOf("ALARM", "NUMBER", {});
  std::get<AlarmProperties>(tag.own).action1 = "SET 'T' 1";
  const TagId alarm = database_.Add(tag);
  // Quotes are doubled, so a name may take twice its room in an action.
  EXPECT_EQ(Rename(target, std::string(100, '\'')), ZR3_OK);
  EXPECT_EQ(Rename(target, std::string(200, '\'')), ZR3_ERR_INVALID_PROPERTY);
  EXPECT_EQ(Own(alarm).action1.size(), 208U);
}

// ---- at opening ----

struct StoredCase {
  const char* name;
  const char* action;
  TagLinks links;
  ZR3_STATUS status;
};

constexpr TagId kNumber = 1;
constexpr TagId kText = 2;
constexpr TagId kAlarm = 3;
constexpr TagId kGone = 9;

class StoredAlarmTag : public testing::TestWithParam<StoredCase> {};

INSTANTIATE_TEST_SUITE_P(
    Linked, StoredAlarmTag,
    testing::Values(StoredCase{"ToItsSource", "", {kNumber}, ZR3_OK},
                    StoredCase{"ToASourceThatIsGone", "", {kGone}, ZR3_OK},
                    StoredCase{"ToItsTarget", "SET 'NUMBER' 1", {kNumber, kNumber}, ZR3_OK},
                    StoredCase{"ToNothing", "", {}, ZR3_ERR_STORAGE_DAMAGED},
                    StoredCase{"ToAText", "", {kText}, ZR3_ERR_STORAGE_DAMAGED},
                    StoredCase{"ToItself", "", {kAlarm}, ZR3_ERR_STORAGE_DAMAGED},
                    StoredCase{
                        "ToATargetOfNoAction", "", {kNumber, kNumber}, ZR3_ERR_STORAGE_DAMAGED},
                    StoredCase{"ToNoTarget", "SET 'NUMBER' 1", {kNumber}, ZR3_ERR_STORAGE_DAMAGED}),
    CaseName());

TEST_P(StoredAlarmTag, CouldHaveBeenSavedOrIsDamaged) {
  TagImageBuilder builder;
  const auto add = [&](TagId id, Tag tag) {
    tag.id = id;
    builder.Add(PackedTag::Pack(tag));
  };
  Tag number;
  number.name = "NUMBER";
  Tag text;
  text.name = "TEXT";
  text.type = ZR3_TAG_TYPE_STRING;
  Tag alarm = AlarmTagOf("ALARM", "NUMBER", {"HIGH > 1"});
  std::get<AlarmProperties>(alarm.own).action1 = GetParam().action;
  add(kNumber, number);
  add(kText, text);
  add(kAlarm, alarm);
  ASSERT_EQ(builder.IndexNames(), nullptr);
  const auto rules = RulesOf(builder.image(), [](TagId) { return GetParam().links; });
  EXPECT_EQ(rules.code(), GetParam().status);
}

}  // namespace
}  // namespace zervane
