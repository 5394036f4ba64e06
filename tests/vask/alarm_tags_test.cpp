// am3: alarm tags, through the exported functions of a volatile database.

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/case_name.h"
#include "zervane.h"

namespace zervane {
namespace {

constexpr ZR3Mask kNothing = {.nCommMask = 0, .nExtMask = 0};
constexpr ZR3Mask kOwn = {.nCommMask = 0, .nExtMask = -1};

constexpr int64 Common(int32 column) { return int64{1} << column; }
constexpr int64 Own(int32 column) { return int64{1} << (column - ZR3_TAG_COL_AM_EXT_PROP_MIN); }

ZR3AlarmTagProp AlarmOn(const std::string& source) {
  ZR3AlarmTagProp tag{};
  std::strcpy(tag.szTagName, "ALARM");
  std::strcpy(tag.szSourceTagName, source.c_str());
  std::strcpy(tag.szTest1, "HIGH > 90");
  return tag;
}

// A database with the point tags 1 "SOURCE", 2 "TARGET", both of numbers, and 3 "TEXT".
class AlarmTags : public testing::Test {
 protected:
  void SetUp() override {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, "memory:");
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
    AddPoint("SOURCE", ZR3_TAG_TYPE_FLOAT64);
    AddPoint("TARGET", ZR3_TAG_TYPE_INT8);
    AddPoint("TEXT", ZR3_TAG_TYPE_STRING);
  }

  void TearDown() override { EXPECT_EQ(nt3_disconnect(), ZR3_OK); }

  static uint32 AddPoint(const std::string& name, int32 type) {
    ZR3PtTagProp tag{};
    std::strcpy(tag.szTagName, name.c_str());
    tag.nTagType = static_cast<ZR3_TAG_TYPE>(type);
    const ZR3Mask mask{.nCommMask = Common(ZR3_TAG_COL_COMM_PROP_TAG_TYPE), .nExtMask = 0};
    uint32 id = 0;
    EXPECT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
    return id;
  }

  static uint32 Add(const ZR3AlarmTagProp& tag, const ZR3Mask& mask = kOwn) {
    ZR3AlarmTagProp record = tag;
    uint32 id = 0;
    EXPECT_EQ(am3_add_tag(&record, &mask, nullptr, &id), ZR3_OK);
    return id;
  }

  static ZR3AlarmTagProp Get(uint32 id) {
    ZR3AlarmTagProp tag;
    std::memset(static_cast<void*>(&tag), 0xA5, sizeof tag);
    EXPECT_EQ(am3_query_tag_prop(id, &tag), ZR3_OK);
    return tag;
  }

  static std::vector<uint32> Find(int32 column, ZR3_RELATION relation, const char* value) {
    ZR3FilterItem item{};
    item.nItemID = column;
    item.nRelation = relation;
    std::strcpy(item.szValue, value);
    const ZR3FilterItemSet set{.nSize = 1, .pItem = &item};
    ZR3HANDLE iterator = nullptr;
    EXPECT_EQ(tag3_query_tags_cond(-1, &set, -1, &iterator), ZR3_OK);
    std::vector<uint32> ids;
    ZR3CommTagProp tag{};
    while (ut3_get_item_step(iterator, &tag) == ZR3_OK) ids.push_back(tag.nTagID);
    EXPECT_EQ(ut3_free_handle(iterator), ZR3_OK);
    return ids;
  }
};

TEST_F(AlarmTags, ComeBackAsTheyWereAdded) {
  ZR3AlarmTagProp tag = AlarmOn("SOURCE");
  tag.nTagClass = ZR3_TAG_CLASS_ALARM;
  tag.nTagType = ZR3_TAG_TYPE_INT32;
  std::strcpy(tag.szDescriptor, "too hot");
  std::strcpy(tag.szTest2, "CHANGE 5 PRIORITY 4");
  std::strcpy(tag.szTest4, "lolo <= -1e3");
  std::strcpy(tag.szAction1, "SET 'TARGET' 7");
  tag.nAutoAck = ZR3_AM_ACK_TYPE_AUTO;
  tag.nTimeDeadBand = 30;
  tag.fValueDeadBand = 2.5F;
  tag.nTagID = Add(tag, {.nCommMask = -1, .nExtMask = -1});

  const ZR3AlarmTagProp stored = Get(tag.nTagID);
  tag.nChangeDate = stored.nChangeDate;  // stamped, as are the others
  tag.nCreationDate = stored.nCreationDate;
  std::strcpy(tag.szChanger, stored.szChanger);
  std::strcpy(tag.szCreator, stored.szCreator);
  EXPECT_EQ(std::memcmp(&stored, &tag, sizeof tag), 0);
}

TEST_F(AlarmTags, HaveDefaultsOfWhatIsNotSelected) {
  const ZR3Mask mask{.nCommMask = 0, .nExtMask = Own(ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG)};
  ZR3AlarmTagProp tag;
  std::memset(static_cast<void*>(&tag), 0xFF, sizeof tag);  // what is not selected is garbage
  std::strcpy(tag.szTagName, "ALARM");
  std::strcpy(tag.szSourceTagName, "SOURCE");
  const ZR3AlarmTagProp stored = Get(Add(tag, mask));
  EXPECT_EQ(stored.nTagClass, ZR3_TAG_CLASS_ALARM);
  EXPECT_STREQ(stored.szTest1, "");
  EXPECT_STREQ(stored.szAction4, "");
  EXPECT_EQ(stored.nAlarmGroupID, 0U);
  EXPECT_EQ(stored.nAutoAck, ZR3_AM_ACK_TYPE_MANUAL);
  EXPECT_EQ(stored.nTimeDeadBand, 0);
  EXPECT_EQ(stored.fValueDeadBand, 0);
}

TEST_F(AlarmTags, CanHaveTheirIdentifierPutIntoTheirOwnRecord) {
  ZR3AlarmTagProp tag = AlarmOn("SOURCE");
  ASSERT_EQ(am3_add_tag(&tag, &kOwn, "any node", &tag.nTagID), ZR3_OK);
  EXPECT_EQ(tag.nTagID, 4U);
}

TEST_F(AlarmTags, ChangeWhatIsSelectedAlone) {
  const uint32 id = Add(AlarmOn("SOURCE"));
  ZR3AlarmTagProp changes;
  std::memset(static_cast<void*>(&changes), 0xFF, sizeof changes);
  changes.nTimeDeadBand = 5;
  std::strcpy(changes.szTest1, "LOW < 1");
  const ZR3Mask mask{
      .nCommMask = 0,
      .nExtMask = Own(ZR3_TAG_COL_AM_EXT_PROP_TIME_DEADBAND) | Own(ZR3_TAG_COL_AM_EXT_PROP_TEST1)};
  ASSERT_EQ(am3_modify_tag_prop(id, &changes, &mask), ZR3_OK);
  const ZR3AlarmTagProp stored = Get(id);
  EXPECT_STREQ(stored.szTest1, "LOW < 1");
  EXPECT_EQ(stored.nTimeDeadBand, 5);
  EXPECT_STREQ(stored.szSourceTagName, "SOURCE");
}

TEST_F(AlarmTags, AreOfTheirClass) {
  const uint32 alarm = Add(AlarmOn("SOURCE"));
  ZR3AlarmTagProp tag = AlarmOn("SOURCE");
  ZR3PtTagProp point{};
  EXPECT_EQ(am3_query_tag_prop(1, &tag), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(am3_modify_tag_prop(1, &tag, &kOwn), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(pt3_query_tag_prop(alarm, &point), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(pt3_modify_tag_prop(alarm, &point, &kNothing), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_STREQ(tag.szTagName, "ALARM") << "untouched";
  for (const uint32 id : {0U, 5U, UINT32_MAX}) {
    EXPECT_EQ(am3_query_tag_prop(id, &tag), ZR3_ERR_TAG_NOT_FOUND);
    EXPECT_EQ(am3_modify_tag_prop(id, &tag, &kOwn), ZR3_ERR_TAG_NOT_FOUND);
  }
}

TEST_F(AlarmTags, AreFoundByTheirOwnColumns) {
  AddPoint("OTHER", ZR3_TAG_TYPE_FLOAT64);
  ZR3AlarmTagProp tag = AlarmOn("SOURCE");
  tag.nTimeDeadBand = 30;
  const uint32 first = Add(tag);
  std::strcpy(tag.szTagName, "SECOND");
  std::strcpy(tag.szSourceTagName, "OTHER");
  tag.nAutoAck = ZR3_AM_ACK_TYPE_AUTO;
  const uint32 second = Add(tag);
  using Ids = std::vector<uint32>;
  EXPECT_EQ(Find(ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG, ZR3_RELATION_EQUAL, "other"), Ids{second});
  EXPECT_EQ(Find(ZR3_TAG_COL_AM_EXT_PROP_TEST1, ZR3_RELATION_LIKE, "high*"), (Ids{first, second}));
  EXPECT_EQ(Find(ZR3_TAG_COL_AM_EXT_PROP_AUTOACK, ZR3_RELATION_EQUAL, "0"), Ids{first});
  EXPECT_EQ(Find(ZR3_TAG_COL_AM_EXT_PROP_TIME_DEADBAND, ZR3_RELATION_GREAT, "29.5"),
            (Ids{first, second}));
}

TEST_F(AlarmTags, TellTheNamesOfTheirTagsAsTheyAreNow) {
  ZR3AlarmTagProp tag = AlarmOn("source");
  std::strcpy(tag.szAction1, "SET 'target' 1");
  const uint32 id = Add(tag);
  ZR3PtTagProp renamed{};
  std::strcpy(renamed.szTagName, "NEW'S");
  const ZR3Mask name{.nCommMask = 1, .nExtMask = 0};
  EXPECT_STREQ(Get(id).szSourceTagName, "SOURCE");
  ASSERT_EQ(pt3_modify_tag_prop(1, &renamed, &name), ZR3_OK);
  EXPECT_STREQ(Get(id).szSourceTagName, "NEW'S");
  ASSERT_EQ(tag3_delete_tag(1), ZR3_OK);
  ASSERT_EQ(pt3_modify_tag_prop(2, &renamed, &name), ZR3_OK);
  EXPECT_STREQ(Get(id).szSourceTagName, "");
  EXPECT_STREQ(Get(id).szAction1, "SET 'NEW''S' 1");
  ASSERT_EQ(tag3_delete_tag(2), ZR3_OK);
  EXPECT_STREQ(Get(id).szAction1, "SET 'NEW''S' 1");
  EXPECT_TRUE(Find(ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG, ZR3_RELATION_EQUAL, "SOURCE").empty());
}

// "SET '" + name + "' 1" has eight characters beside the name.
TEST_F(AlarmTags, KeepTheTagsThatTheySetFromNamesTooLongForAnAction) {
  ZR3AlarmTagProp tag = AlarmOn("SOURCE");
  std::strcpy(tag.szAction1, "SET 'TARGET' 1");
  const uint32 id = Add(tag);
  const ZR3Mask name{.nCommMask = 1, .nExtMask = 0};
  ZR3PtTagProp renamed{};
  std::memset(renamed.szTagName, 'n', 248);
  EXPECT_EQ(pt3_modify_tag_prop(2, &renamed, &name), ZR3_ERR_INVALID_PROPERTY);
  EXPECT_STREQ(Get(id).szAction1, "SET 'TARGET' 1");
  uint32 found = 0;
  EXPECT_EQ(tag3_query_id_by_name("TARGET", &found), ZR3_OK);
  EXPECT_EQ(pt3_modify_tag_prop(1, &renamed, &name), ZR3_OK) << "the source's name has room";
  renamed.szTagName[247] = '\0';
  EXPECT_EQ(pt3_modify_tag_prop(2, &renamed, &name), ZR3_OK);
  EXPECT_EQ(Get(id).szAction1, "SET '" + std::string(247, 'n') + "' 1");
}

TEST_F(AlarmTags, KeepTheTagThatTheyReadANumber) {
  Add(AlarmOn("SOURCE"));
  ZR3PtTagProp tag{};
  const ZR3Mask type{.nCommMask = Common(ZR3_TAG_COL_COMM_PROP_TAG_TYPE), .nExtMask = 0};
  tag.nTagType = ZR3_TAG_TYPE_STRING;
  EXPECT_EQ(pt3_modify_tag_prop(1, &tag, &type), ZR3_ERR_INVALID_TAG_TYPE);
  tag.nTagType = ZR3_TAG_TYPE_INT8;
  EXPECT_EQ(pt3_modify_tag_prop(1, &tag, &type), ZR3_OK);
}

TEST_F(AlarmTags, HoldNoValues) {
  const uint32 id = Add(AlarmOn("SOURCE"));
  ZR3Record record{};
  record.nTagType = ZR3_TAG_TYPE_FLOAT64;
  record.nSec = 10;
  EXPECT_EQ(sn3_save_snapshot(id, &record), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(ar3_modify_record(id, &record), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(sn3_query_snapshot(id, &record), ZR3_ERR_NO_RECORD);
  const ZR3TimeRegion all{.left = {0, 0}, .right = {-1, 999}, .bLeftClosed = 1, .bRightClosed = 1};
  int32 number = 77;
  EXPECT_EQ(ar3_query_raw_records_number(id, &all, &number), ZR3_OK);
  EXPECT_EQ(number, 0);
}

struct RefusalCase {
  const char* name;
  std::function<void(ZR3AlarmTagProp&)> change;
  ZR3_STATUS status;
};

class RefusedAlarmTag : public AlarmTags, public testing::WithParamInterface<RefusalCase> {};

TEST_P(RefusedAlarmTag, LeavesEverythingAsItWas) {
  ZR3AlarmTagProp tag = AlarmOn("SOURCE");
  GetParam().change(tag);
  uint32 id = 77;
  EXPECT_EQ(am3_add_tag(&tag, &kOwn, nullptr, &id), GetParam().status);
  EXPECT_EQ(id, 77U);
  EXPECT_EQ(tag3_query_id_by_name("ALARM", &id), ZR3_ERR_NAME_NOT_FOUND);

  const uint32 sound = Add(AlarmOn("SOURCE"));
  const ZR3AlarmTagProp before = Get(sound);
  EXPECT_EQ(am3_modify_tag_prop(sound, &tag, &kOwn), GetParam().status);
  const ZR3AlarmTagProp after = Get(sound);
  EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
}

std::function<void(ZR3AlarmTagProp&)> With(char (ZR3AlarmTagProp::*text)[256],
                                           const std::string& value) {
  return [=](ZR3AlarmTagProp& tag) { std::strcpy(tag.*text, value.c_str()); };
}

INSTANTIATE_TEST_SUITE_P(
    AlarmTags, RefusedAlarmTag,
    testing::Values(
        RefusalCase{"NoSource", With(&ZR3AlarmTagProp::szSourceTagName, ""),
                    ZR3_ERR_NAME_NOT_FOUND},
        RefusalCase{"UnknownSource", With(&ZR3AlarmTagProp::szSourceTagName, "NOBODY"),
                    ZR3_ERR_NAME_NOT_FOUND},
        RefusalCase{"TextForASource", With(&ZR3AlarmTagProp::szSourceTagName, "TEXT"),
                    ZR3_ERR_INVALID_TAG_TYPE},
        RefusalCase{"TestThatDoesNotParse", With(&ZR3AlarmTagProp::szTest3, "HIGH > many"),
                    ZR3_ERR_INVALID_ALARM_TEST},
        RefusalCase{"ActionThatDoesNotParse", With(&ZR3AlarmTagProp::szAction2, "SET TARGET 1"),
                    ZR3_ERR_INVALID_ALARM_TEST},
        RefusalCase{"UnknownTarget", With(&ZR3AlarmTagProp::szAction4, "SET 'NOBODY' 1"),
                    ZR3_ERR_NAME_NOT_FOUND},
        RefusalCase{"TextForATarget", With(&ZR3AlarmTagProp::szAction1, "SET 'TEXT' 1"),
                    ZR3_ERR_INVALID_TAG_TYPE},
        RefusalCase{"NumberBeyondTheTarget", With(&ZR3AlarmTagProp::szAction1, "SET 'TARGET' 128"),
                    ZR3_ERR_TYPE_MISMATCH},
        RefusalCase{"UnknownGroup", [](ZR3AlarmTagProp& tag) { tag.nAlarmGroupID = 9; },
                    ZR3_ERR_GROUP_NOT_FOUND},
        RefusalCase{"UnknownAcknowledgement",
                    [](ZR3AlarmTagProp& tag) { tag.nAutoAck = static_cast<ZR3_AM_ACK_TYPE>(2); },
                    ZR3_ERR_INVALID_PROPERTY},
        RefusalCase{"NegativeTimeDeadBand", [](ZR3AlarmTagProp& tag) { tag.nTimeDeadBand = -1; },
                    ZR3_ERR_INVALID_PROPERTY},
        RefusalCase{"NegativeValueDeadBand", [](ZR3AlarmTagProp& tag) { tag.fValueDeadBand = -1; },
                    ZR3_ERR_INVALID_PROPERTY},
        RefusalCase{"TextThatDoesNotEnd",
                    [](ZR3AlarmTagProp& tag) { std::memset(tag.szTest2, 'x', sizeof tag.szTest2); },
                    ZR3_ERR_INVALID_TEXT}),
    CaseName());

TEST_F(AlarmTags, AreNoSourceOfOthers) {
  Add(AlarmOn("SOURCE"));
  ZR3AlarmTagProp tag = AlarmOn("ALARM");
  std::strcpy(tag.szTagName, "SECOND");
  uint32 id = 0;
  EXPECT_EQ(am3_add_tag(&tag, &kOwn, nullptr, &id), ZR3_ERR_INVALID_TAG_CLASS);
  std::strcpy(tag.szSourceTagName, "SOURCE");
  std::strcpy(tag.szAction1, "SET 'ALARM' 1");
  EXPECT_EQ(am3_add_tag(&tag, &kOwn, nullptr, &id), ZR3_ERR_INVALID_TAG_CLASS);
}

}  // namespace
}  // namespace zervane
