#include "tests/vask/whole_stack.h"

#include <gtest/gtest.h>

namespace zervane {

WholeStack::WholeStack() {
  EXPECT_EQ(Connect(), ZR3_OK);
  AddTags();
  const float64 values[] = {1, 2, 95, 4};
  for (int32 i = 0; i < 4; ++i) {
    const ZR3Record record = NumberAt(i + 1, values[i]);
    EXPECT_EQ(sn3_save_snapshot(kSource, &record), ZR3_OK);
  }
}

WholeStack::~WholeStack() { (void)nt3_disconnect(); }

int32 WholeStack::Connect() const {
  ZR3Connection connection{};
  Put("embedded:" + folder_.path().string(), connection.szAddress);
  return nt3_connect(&connection);
}

int32 WholeStack::ConnectElsewhere() {
  ZR3Connection connection{};
  Put("memory:", connection.szAddress);
  return nt3_connect(&connection);
}

void WholeStack::AddTags() {
  ZR3PtTagProp source{};
  Put("source", source.szTagName);
  source.nTagType = ZR3_TAG_TYPE_FLOAT64;
  source.bArchiving = 1;
  uint32 id = 0;
  EXPECT_EQ(pt3_add_tag(&source, &kAllSelected, nullptr, &id), ZR3_OK);
  EXPECT_EQ(id, kSource);
  ZR3AlarmGroup group{};
  Put("plant", group.szName);
  EXPECT_EQ(am3_add_group(&group, &id), ZR3_OK);
  EXPECT_EQ(id, kGroup);
  ZR3AlarmTagProp alarm{};
  Put("alarm", alarm.szTagName);
  Put("source", alarm.szSourceTagName);
  Put("HIGH > 90", alarm.szTest1);
  alarm.nAlarmGroupID = kGroup;
  const ZR3Mask own = {.nCommMask = 0, .nExtMask = -1};
  EXPECT_EQ(am3_add_tag(&alarm, &own, nullptr, &id), ZR3_OK);
  EXPECT_EQ(id, kAlarm);
}

ZR3Record NumberAt(int32 second, float64 value) {
  ZR3Record record{};
  record.nSec = second;
  record.nQuality = ZR3_QUALITY_GOOD;
  record.nTagType = ZR3_TAG_TYPE_FLOAT64;
  record.value.fFloat64 = value;
  return record;
}

int CountItems(ZR3HANDLE iterator) {
  // As large as the largest record that iterators hand out.
  union {
    ZR3PtTagProp tag;
    ZR3CommTagProp common;
    ZR3AlarmRecord alarm;
    ZR3AlarmGroup group;
    ZR3SecUser user;
    ZR3SecGroup user_group;
    ZR3SecAuthItem item;
  } any;
  int count = 0;
  int32 status = ZR3_OK;
  while ((status = ut3_get_item_step(iterator, &any)) == ZR3_OK) ++count;
  EXPECT_EQ(status, ZR3_ERR_END_OF_ITERATION);
  EXPECT_EQ(ut3_free_handle(iterator), ZR3_OK);
  return count;
}

}  // namespace zervane
