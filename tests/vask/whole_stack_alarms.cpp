// Alarm tags, alarms, groups of alarms and their subscription.

#include <gtest/gtest.h>

#include "tests/vask/whole_stack.h"

namespace zervane {
namespace {

using Stack = WholeStack;

constexpr uint32 kAlarms[] = {Stack::kAlarm, Stack::kNoTag};
constexpr ZR3Time kStarts[] = {{3, 0}, {3, 0}};
constexpr ZR3Mask kTest = {
    0, int64{1} << (ZR3_TAG_COL_AM_EXT_PROP_TEST1 - ZR3_TAG_COL_AM_EXT_PROP_MIN)};

ZR3AlarmTagProp AlarmNamed(const char* name, const char* test) {
  ZR3AlarmTagProp alarm{};
  Put(name, alarm.szTagName);
  Put("source", alarm.szSourceTagName);
  Put(test, alarm.szTest1);
  return alarm;
}

ZR3AlarmRecord Latest() {
  ZR3AlarmRecord record{};
  EXPECT_EQ(am3_query_snapshots(1, kAlarms, -1, &record, nullptr), ZR3_OK);
  return record;
}

std::vector<Deed> AlarmTags() {
  return {
      {"am3_add_tag",
       [](const Stack&) {
         ZR3AlarmTagProp alarm = AlarmNamed("new alarm", "LOW < 1");
         const ZR3Mask own = {0, -1};
         const int32 status = am3_add_tag(&alarm, &own, nullptr, &alarm.nTagID);
         EXPECT_GT(alarm.nTagID, Stack::kAlarm);
         return status;
       },
       [](const Stack&) {
         ZR3AlarmTagProp alarm = AlarmNamed("new alarm", "LOW is 1");
         const ZR3Mask own = {0, -1};
         return am3_add_tag(&alarm, &own, nullptr, &alarm.nTagID);
       },
       ZR3_ERR_INVALID_ALARM_TEST},
      {"am3_modify_tag_prop",
       [](const Stack&) {
         ZR3AlarmTagProp alarm = AlarmNamed("alarm", "LOW < 1");
         const int32 status = am3_modify_tag_prop(Stack::kAlarm, &alarm, &kTest);
         EXPECT_EQ(am3_query_tag_prop(Stack::kAlarm, &alarm), ZR3_OK);
         EXPECT_STREQ(alarm.szTest1, "LOW < 1");
         return status;
       },
       [](const Stack&) {
         const ZR3AlarmTagProp alarm = AlarmNamed("alarm", "LOW < 1");
         return am3_modify_tag_prop(Stack::kSource, &alarm, &kTest);
       },
       ZR3_ERR_INVALID_TAG_CLASS},
      {"am3_query_tag_prop",
       [](const Stack&) {
         ZR3AlarmTagProp alarm{};
         const int32 status = am3_query_tag_prop(Stack::kAlarm, &alarm);
         EXPECT_EQ(alarm.nAlarmGroupID, Stack::kGroup);
         return status;
       },
       [](const Stack&) {
         ZR3AlarmTagProp alarm{};
         return am3_query_tag_prop(Stack::kNoTag, &alarm);
       },
       ZR3_ERR_TAG_NOT_FOUND},
  };
}

std::vector<Deed> AlarmQueries() {
  return {
      {"am3_query_tags_all_records",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const ZR3AlarmQuery all{};
         const int32 status = am3_query_tags_all_records(1, kAlarms, &all, -1, &iterator);
         EXPECT_EQ(CountItems(iterator), 1);
         return status;
       },
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const ZR3AlarmQuery all{};
         return am3_query_tags_all_records(2, kAlarms, &all, -1, &iterator);
       },
       ZR3_ERR_TAG_NOT_FOUND},
      {"am3_query_tag_records",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const ZR3AlarmQuery all{};
         const int32 status = am3_query_tag_records(Stack::kAlarm, &all, -1, &iterator);
         EXPECT_EQ(CountItems(iterator), 1);
         return status;
       },
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const ZR3AlarmQuery all{};
         return am3_query_tag_records(Stack::kSource, &all, -1, &iterator);
       },
       ZR3_ERR_INVALID_TAG_CLASS},
      {"am3_query_group_records",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const ZR3AlarmQuery all{};
         const int32 status = am3_query_group_records(Stack::kGroup, &all, -1, &iterator);
         EXPECT_EQ(CountItems(iterator), 1);
         return status;
       },
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const ZR3AlarmQuery all{};
         return am3_query_group_records(7, &all, -1, &iterator);
       },
       ZR3_ERR_GROUP_NOT_FOUND},
      {"am3_query_snapshots",
       [](const Stack&) {
         ZR3AlarmRecord record{};
         const int32 status = am3_query_snapshots(1, kAlarms, -1, &record, nullptr);
         EXPECT_EQ(record.tvStartTime.nSec, 3);
         EXPECT_EQ(record.tvEndTime.nSec, 4);
         return status;
       },
       [](const Stack&) {
         ZR3AlarmRecord records[2] = {};
         int32 codes[2] = {-1, -1};
         const int32 status = am3_query_snapshots(2, kAlarms, -1, records, codes);
         EXPECT_EQ(codes[1], ZR3_ERR_TAG_NOT_FOUND);
         return status;
       },
       ZR3_ERR_SOME_ALARMS_FAILED},
  };
}

std::vector<Deed> AlarmHandling() {
  return {
      {"am3_acknowledge_alarms",
       [](const Stack&) {
         const int32 status = am3_acknowledge_alarms(1, kAlarms, kStarts, nullptr);
         EXPECT_EQ(Latest().nAcked, ZR3_AM_REC_ACK_STATE_YES);
         return status;
       },
       [](const Stack&) {
         const ZR3Time start = {77, 0};
         return am3_acknowledge_alarms(1, kAlarms, &start, nullptr);
       },
       ZR3_ERR_NO_ALARM},
      {"am3_comment_alarms",
       [](const Stack&) {
         char comment[ZR3_LEN_ALARM_COMMENT] = "seen";
         const int32 status = am3_comment_alarms(1, kAlarms, kStarts, comment, nullptr);
         EXPECT_STREQ(Latest().szComment, "seen");
         return status;
       },
       [](const Stack&) {
         char comments[2][ZR3_LEN_ALARM_COMMENT] = {"seen", "seen"};
         int32 codes[2] = {-1, -1};
         const int32 status = am3_comment_alarms(2, kAlarms, kStarts, comments[0], codes);
         EXPECT_EQ(codes[0], ZR3_OK);
         EXPECT_EQ(codes[1], ZR3_ERR_TAG_NOT_FOUND);
         return status;
       },
       ZR3_ERR_SOME_ALARMS_FAILED},
  };
}

std::vector<Deed> ChangesOfGroups() {
  return {
      {"am3_add_group",
       [](const Stack&) {
         ZR3AlarmGroup group{};
         Put("boiler", group.szName);
         group.nParentID = Stack::kGroup;
         uint32 id = 0;
         const int32 status = am3_add_group(&group, &id);
         EXPECT_GT(id, Stack::kGroup);
         return status;
       },
       [](const Stack&) {
         ZR3AlarmGroup group{};
         Put("PLANT", group.szName);
         uint32 id = 0;
         return am3_add_group(&group, &id);
       },
       ZR3_ERR_GROUP_EXISTS},
      {"am3_delete_group",
       [](const Stack&) {
         EXPECT_EQ(tag3_delete_tag(Stack::kAlarm), ZR3_OK);
         return am3_delete_group(Stack::kGroup);
       },
       [](const Stack&) { return am3_delete_group(Stack::kGroup); }, ZR3_ERR_GROUP_NOT_EMPTY},
      {"am3_modify_group",
       [](const Stack&) {
         ZR3AlarmGroup group{};
         Put("works", group.szName);
         const int32 status = am3_modify_group(Stack::kGroup, &group);
         uint32 id = 0;
         EXPECT_EQ(am3_query_group_id("works", 0, &id), ZR3_OK);
         return status;
       },
       [](const Stack&) {
         const ZR3AlarmGroup group{};
         return am3_modify_group(0, &group);
       },
       ZR3_ERR_INVALID_ARGUMENT},
  };
}

std::vector<Deed> QueriesOfGroups() {
  return {
      {"am3_query_group_id",
       [](const Stack&) {
         uint32 id = 0;
         const int32 status = am3_query_group_id("Plant", 0, &id);
         EXPECT_EQ(id, Stack::kGroup);
         return status;
       },
       [](const Stack&) {
         uint32 id = 0;
         return am3_query_group_id("plant", Stack::kGroup, &id);
       },
       ZR3_ERR_GROUP_NOT_FOUND},
      {"am3_query_group_props",
       [](const Stack&) {
         ZR3AlarmGroup group{};
         const uint32 id = Stack::kGroup;
         const int32 status = am3_query_group_props(1, &id, &group, nullptr);
         EXPECT_STREQ(group.szName, "plant");
         return status;
       },
       [](const Stack&) {
         ZR3AlarmGroup groups[2] = {};
         const uint32 ids[] = {Stack::kGroup, 7};
         return am3_query_group_props(2, ids, groups, nullptr);
       },
       ZR3_ERR_SOME_ALARMS_FAILED},
      {"am3_query_group_child_groups",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const int32 status = am3_query_group_child_groups(0, &iterator);
         EXPECT_EQ(CountItems(iterator), 1);
         return status;
       },
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         return am3_query_group_child_groups(7, &iterator);
       },
       ZR3_ERR_GROUP_NOT_FOUND},
      {"am3_query_group_child_tags",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const int32 status = am3_query_group_child_tags(Stack::kGroup, &iterator);
         EXPECT_EQ(CountItems(iterator), 1);
         return status;
       },
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         return am3_query_group_child_tags(7, &iterator);
       },
       ZR3_ERR_GROUP_NOT_FOUND},
  };
}

void RaiseAlarm() {
  const ZR3Record record = NumberAt(9, 99);
  EXPECT_EQ(sn3_save_snapshot(Stack::kSource, &record), ZR3_OK);
}

std::vector<Deed> AlarmSubscription() {
  return {
      {"am3_register_alarm_record_info",
       [](const Stack&) { return am3_register_alarm_record_info(nullptr); },
       [](const Stack&) {
         int reserved = 0;
         return am3_register_alarm_record_info(&reserved);
       },
       ZR3_ERR_INVALID_ARGUMENT},
      {"am3_get_callback_am",
       [](const Stack&) {
         EXPECT_EQ(am3_register_alarm_record_info(nullptr), ZR3_OK);
         RaiseAlarm();
         int32 count = 0;
         ZR3AlarmRecord* records = nullptr;
         const int32 status = am3_get_callback_am(&count, &records);
         EXPECT_EQ(count, 1);
         EXPECT_EQ(records[0].tvStartTime.nSec, 9);
         EXPECT_EQ(am3_free_callback_am(count, records), ZR3_OK);
         return status;
       },
       [](const Stack&) {
         int32 count = 0;
         return am3_get_callback_am(&count, nullptr);
       },
       ZR3_ERR_NULL_ARGUMENT},
      {"am3_free_callback_am", [](const Stack&) { return am3_free_callback_am(0, nullptr); },
       [](const Stack&) {
         ZR3AlarmRecord record{};
         return am3_free_callback_am(1, &record);
       },
       ZR3_ERR_INVALID_HANDLE},
  };
}

}  // namespace

std::vector<Deed> DeedsOfAlarms() {
  std::vector<Deed> all;
  for (const auto deeds : {AlarmTags, AlarmQueries, AlarmHandling, ChangesOfGroups, QueriesOfGroups,
                           AlarmSubscription}) {
    for (const Deed& deed : deeds()) all.push_back(deed);
  }
  return all;
}

}  // namespace zervane
