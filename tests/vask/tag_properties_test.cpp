#include "vask/tag_properties.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "api/words/tag_columns.h"

namespace zervane {
namespace {

constexpr PropertyMask kAll = {.common = -1, .extension = -1};

std::int64_t Bit(int32 column) { return std::int64_t{1} << (column % 100); }

Result<Tag> ReadPointTag(const ZR3PtTagProp& record, PropertyMask mask) {
  return ReadTag(&record, ZR3_TAG_CLASS_BASIC, mask, TextsOfThisThread());
}

void FillPointTag(const Tag& tag, ZR3PtTagProp* record) {
  FillTag(tag, TextsOfThisThread(), record);
}

// Every member has a value of its own, so that two that were swapped would be seen.
ZR3PtTagProp DistinctRecord() {
  ZR3PtTagProp record;
  std::memset(static_cast<void*>(&record), 0, sizeof record);  // the padding, too
  std::strcpy(record.szTagName, "name");
  record.bArchiving = 0;
  record.nChangeDate = 4'000'000'001;
  std::strcpy(record.szChanger, "changer");
  record.fCompDev = 1.25F;
  record.nCompMaxTime = 11;
  record.nCompType = ZR3_COMP_TYPE_SDT;
  record.nCreationDate = 4'000'000'002;
  std::strcpy(record.szCreator, "creator");
  record.nRecAccess = 201;
  std::strcpy(record.szRecNormalGroup, "record group");
  std::strcpy(record.szRecOwnerGroup, "record owner");
  std::strcpy(record.szDescriptor, "descriptor");
  std::strcpy(record.szDigitalSet, "digital set");
  std::strcpy(record.szEngUnits, "m3/h");
  record.nExcMaxTime = 12;
  record.fExcDev = 2.25F;
  record.nTagID = 4'000'000'003;
  record.nTagType = ZR3_TAG_TYPE_STRING;
  record.nTagAccess = 202;
  std::strcpy(record.szTagNormalGroup, "tag group");
  std::strcpy(record.szTagOwnerGroup, "tag owner");
  record.bScan = 0;
  record.fSpan = 3.25F;
  record.fMinValue = -4.25F;
  record.nTagClass = ZR3_TAG_CLASS_SYS;
  record.nTagAvaliable = ZR3_TAG_AVALIABLE_NO;
  record.nParam1 = 211;
  record.nParam2 = 212;
  record.nParam3 = 213;
  record.nParam4 = 214;
  record.nParam5 = 215;
  record.nOpcState = ZR3_TAG_OPC_STATE_RELEASE;
  std::strcpy(record.szIMVString, "imv");
  std::strcpy(record.szExtString1, "ext1");
  std::strcpy(record.szExtString2, "ext2");
  std::strcpy(record.szInstrumentAddress, "instrument");
  record.nInstrumentAddressType = 221;
  std::strcpy(record.szCollectorName, "collector");
  record.nCollectorID = -31;
  std::strcpy(record.szDeviceName, "device");
  record.nDeviceID = 4'000'000'004;
  std::strcpy(record.szScanGroupName, "scan group");
  record.nScanGroupID = 4'000'000'005;
  record.nDataOrder = ZR3_DATA_ORDER_87654321;
  return record;
}

Tag DistinctProperties() {
  Tag tag;
  tag.name = "name";
  tag.archiving = false;
  tag.change_date = 4'000'000'001;
  tag.changer = "changer";
  tag.comp_dev = 1.25F;
  tag.comp_max_time = 11;
  tag.comp_type = ZR3_COMP_TYPE_SDT;
  tag.creation_date = 4'000'000'002;
  tag.creator = "creator";
  tag.rec_access = 201;
  tag.rec_normal_group = "record group";
  tag.rec_owner_group = "record owner";
  tag.descriptor = "descriptor";
  tag.digital_set = "digital set";
  tag.eng_units = "m3/h";
  tag.exc_max_time = 12;
  tag.exc_dev = 2.25F;
  tag.id = 4'000'000'003;
  tag.type = ZR3_TAG_TYPE_STRING;
  tag.tag_access = 202;
  tag.tag_normal_group = "tag group";
  tag.tag_owner_group = "tag owner";
  tag.scan = false;
  tag.span = 3.25F;
  tag.min_value = -4.25F;
  tag.tag_class = ZR3_TAG_CLASS_SYS;
  tag.available = ZR3_TAG_AVALIABLE_NO;
  tag.param1 = 211;
  tag.param2 = 212;
  tag.param3 = 213;
  tag.param4 = 214;
  tag.param5 = 215;
  tag.opc_state = ZR3_TAG_OPC_STATE_RELEASE;
  tag.imv_string = "imv";
  tag.ext_string1 = "ext1";
  tag.ext_string2 = "ext2";
  tag.point().instrument_address = "instrument";
  tag.point().instrument_address_type = 221;
  tag.point().collector_name = "collector";
  tag.point().collector_id = -31;
  tag.point().device_name = "device";
  tag.point().device_id = 4'000'000'004;
  tag.point().scan_group_name = "scan group";
  tag.point().scan_group_id = 4'000'000'005;
  tag.point().data_order = ZR3_DATA_ORDER_87654321;
  return tag;
}

TEST(PointTag, IsReadMemberByMember) {
  const Result<Tag> tag = ReadPointTag(DistinctRecord(), kAll);
  ASSERT_TRUE(tag.ok());
  EXPECT_EQ(*tag, DistinctProperties());
}

TEST(PointTag, IsFilledWholeWithItsPaddingCleared) {
  const ZR3PtTagProp expected = DistinctRecord();
  ZR3PtTagProp record;
  std::memset(static_cast<void*>(&record), 0xA5, sizeof record);
  FillPointTag(DistinctProperties(), &record);
  EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0);
}

TEST(PointTag, HasTheDefaultsOfWhatIsNotSelected) {
  const PropertyMask mask = {.common = Bit(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR),
                             .extension = Bit(ZR3_TAG_COL_PT_EXT_PROP_DEVICE_ID)};
  Tag expected;
  expected.descriptor = "descriptor";
  expected.point().device_id = 4'000'000'004;
  EXPECT_EQ(*ReadPointTag(DistinctRecord(), mask), expected);
}

TEST(PointTag, SelectsEachColumnByItsBitAlone) {
  for (const PropertyColumn& column : CommonColumns()) {
    const Tag tag = *ReadPointTag(DistinctRecord(), {.common = Bit(column.column), .extension = 0});
    const Tag all = DistinctProperties();
    const Tag none;
    for (const PropertyColumn& other : CommonColumns()) {
      Tag expected = none;
      CopyProperty(other, other.column == column.column ? all : none, expected);
      Tag found = none;
      CopyProperty(other, tag, found);
      EXPECT_EQ(found, expected) << other.name << " when " << column.name << " is selected";
    }
  }
}

TEST(PointTag, LooksAtNothingThatIsNotSelected) {
  ZR3PtTagProp record;
  std::memset(static_cast<void*>(&record), 0xFF, sizeof record);  // no text ends anywhere
  const PropertyMask numbers = {
      .common = Bit(ZR3_TAG_COL_COMM_PROP_PARAM1) | Bit(ZR3_TAG_COL_COMM_PROP_ARCHIVING),
      .extension = Bit(ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_ID)};
  const Result<Tag> tag = ReadPointTag(record, numbers);
  ASSERT_TRUE(tag.ok());
  EXPECT_EQ(tag->param1, 255);
  EXPECT_TRUE(tag->archiving) << "every value but 0 is true";
  EXPECT_EQ(tag->point().collector_id, -1);
}

TEST(PointTag, RefusesEverySelectedTextThatDoesNotEnd) {
  const auto record = std::make_unique<ZR3PtTagProp>();
  std::memset(static_cast<void*>(record.get()), 'x', sizeof *record);
  const auto refuses = [&](const PropertyColumn& column, PropertyMask mask) {
    const bool is_text = column.kind == PropertyKind::kText;
    EXPECT_EQ(ReadPointTag(*record, mask).code(), is_text ? ZR3_ERR_INVALID_TEXT : ZR3_OK)
        << column.name;
  };
  for (const PropertyColumn& column : CommonColumns()) {
    refuses(column, {.common = Bit(column.column), .extension = 0});
  }
  for (const PropertyColumn& column : PointColumns()) {
    refuses(column, {.common = 0, .extension = Bit(column.column)});
  }
}

TEST(PointTag, CarriesTextsThatFillTheirArrays) {
  ZR3PtTagProp record;
  std::memset(static_cast<void*>(&record), 0, sizeof record);
  std::memset(record.szTagName, 'n', sizeof record.szTagName - 1);
  std::memset(record.szDescriptor, 'd', sizeof record.szDescriptor - 1);
  std::memset(record.szInstrumentAddress, 'i', sizeof record.szInstrumentAddress - 1);
  const Result<Tag> tag = ReadPointTag(record, kAll);
  ASSERT_TRUE(tag.ok());
  EXPECT_EQ(tag->name, std::string(255, 'n'));
  EXPECT_EQ(tag->descriptor, std::string(2047, 'd'));
  EXPECT_EQ(tag->point().instrument_address, std::string(511, 'i'));
  ZR3PtTagProp again;
  FillPointTag(*tag, &again);
  EXPECT_EQ(std::memcmp(&again, &record, sizeof record), 0);
}

// ---- the own properties of alarm tags ----

ZR3AlarmTagProp DistinctAlarmRecord() {
  ZR3AlarmTagProp record;
  std::memset(static_cast<void*>(&record), 0, sizeof record);  // the padding, too
  std::strcpy(record.szTagName, "alarm");
  record.nTagType = ZR3_TAG_TYPE_INT32;
  record.nTagClass = ZR3_TAG_CLASS_ALARM;
  record.nTagAvaliable = ZR3_TAG_AVALIABLE_YES;
  record.bArchiving = record.bScan = 1;
  record.fSpan = 100;
  std::strcpy(record.szTest1, "test 1");
  std::strcpy(record.szTest2, "test 2");
  std::strcpy(record.szTest3, "test 3");
  std::strcpy(record.szTest4, "test 4");
  std::strcpy(record.szAction1, "action 1");
  std::strcpy(record.szAction2, "action 2");
  std::strcpy(record.szAction3, "action 3");
  std::strcpy(record.szAction4, "action 4");
  std::strcpy(record.szSourceTagName, "source");
  record.nAlarmGroupID = 4'000'000'001;
  record.nAutoAck = ZR3_AM_ACK_TYPE_AUTO;
  record.nTimeDeadBand = 17;
  record.fValueDeadBand = 2.5F;
  return record;
}

Tag DistinctAlarmTag() {
  Tag tag;
  tag.name = "alarm";
  tag.type = ZR3_TAG_TYPE_INT32;
  tag.tag_class = ZR3_TAG_CLASS_ALARM;
  AlarmProperties alarm;
  alarm.test1 = "test 1";
  alarm.test2 = "test 2";
  alarm.test3 = "test 3";
  alarm.test4 = "test 4";
  alarm.action1 = "action 1";
  alarm.action2 = "action 2";
  alarm.action3 = "action 3";
  alarm.action4 = "action 4";
  alarm.source_tag = "source";
  alarm.alarm_group_id = 4'000'000'001;
  alarm.auto_ack = ZR3_AM_ACK_TYPE_AUTO;
  alarm.time_dead_band = 17;
  alarm.value_dead_band = 2.5F;
  tag.own = alarm;
  return tag;
}

TEST(AlarmTag, IsReadMemberByMember) {
  const ZR3AlarmTagProp record = DistinctAlarmRecord();
  const Result<Tag> tag = ReadTag(&record, ZR3_TAG_CLASS_ALARM, kAll, TextsOfThisThread());
  ASSERT_TRUE(tag.ok());
  EXPECT_EQ(*tag, DistinctAlarmTag());
}

TEST(AlarmTag, IsFilledWholeWithItsPaddingCleared) {
  const ZR3AlarmTagProp expected = DistinctAlarmRecord();
  ZR3AlarmTagProp record;
  std::memset(static_cast<void*>(&record), 0xA5, sizeof record);
  FillTag(DistinctAlarmTag(), TextsOfThisThread(), &record);
  EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0);
}

TEST(AlarmTag, RefusesEverySelectedTextThatDoesNotEnd) {
  const auto record = std::make_unique<ZR3AlarmTagProp>();
  std::memset(static_cast<void*>(record.get()), 'x', sizeof *record);
  for (const PropertyColumn& column : AlarmColumns()) {
    const bool is_text = column.kind == PropertyKind::kText;
    const PropertyMask mask = {.common = 0, .extension = Bit(column.column)};
    EXPECT_EQ(ReadTag(record.get(), ZR3_TAG_CLASS_ALARM, mask, TextsOfThisThread()).code(),
              is_text ? ZR3_ERR_INVALID_TEXT : ZR3_OK)
        << column.name;
  }
}

TEST(Mask, AlwaysSelectsTheNameOnAdding) {
  const PropertyMask mask = ReadMaskToAdd({.nCommMask = 0, .nExtMask = 5});
  EXPECT_EQ(mask.common, Bit(ZR3_TAG_COL_COMM_PROP_TAG_NAME));
  EXPECT_EQ(mask.extension, 5);
  EXPECT_EQ(ReadMask({.nCommMask = 0, .nExtMask = 5}).common, 0);
  EXPECT_EQ(ReadMaskToAdd({.nCommMask = -1, .nExtMask = -1}).common, -1);
}

}  // namespace
}  // namespace zervane
