// Following what changes, from the exported functions to the database in memory and back.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "vask/handed_out.h"
#include "vask/polled.h"
#include "zervane.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A batch of changes as it is handed out.
struct Changes {
  int32 count = -1;
  uint32* tags = nullptr;
  ZR3Record* records = nullptr;

  int32 Poll() { return sn3_get_callback_sn(&count, &tags, &records); }
  int32 Free() { return sn3_free_callback_sn(count, tags, records); }
  // Tag, seconds of each.
  std::vector<std::pair<uint32, int32>> Seen() const {
    std::vector<std::pair<uint32, int32>> seen;
    for (int32 i = 0; i < count; ++i) seen.emplace_back(tags[i], records[i].nSec);
    return seen;
  }
};

struct Alarms {
  int32 count = -1;
  ZR3AlarmRecord* records = nullptr;

  int32 Poll() { return am3_get_callback_am(&count, &records); }
  int32 Free() { return am3_free_callback_am(count, records); }
};

class Subscriptions : public testing::Test {
 protected:
  void SetUp() override { Connect(); }
  void TearDown() override {
    (void)nt3_disconnect();
    EXPECT_EQ(ProcessHandedOut().size(), 0U);
  }

  void Connect() {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, "memory:");
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
    number = AddTag("number", ZR3_TAG_TYPE_FLOAT64);
    text = AddTag("text", ZR3_TAG_TYPE_STRING);
    blob = AddTag("blob", ZR3_TAG_TYPE_BLOB);
  }

  static uint32 AddTag(const char* name, ZR3_TAG_TYPE type) {
    ZR3PtTagProp tag{};
    std::strcpy(tag.szTagName, name);
    tag.nTagType = type;
    const ZR3Mask mask{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, .nExtMask = 0};
    uint32 id = 0;
    EXPECT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
    return id;
  }

  static int32 Save(uint32 tag, int32 seconds, float64 value) {
    ZR3Record record{};
    record.nSec = seconds;
    record.nQuality = ZR3_QUALITY_GOOD;
    record.nTagType = ZR3_TAG_TYPE_FLOAT64;
    record.value.fFloat64 = value;
    return sn3_save_snapshot(tag, &record);
  }
  static int32 Save(uint32 tag, int32 seconds, ZR3_TAG_TYPE type, std::string bytes) {
    ZR3Record record{};
    record.nSec = seconds;
    record.nTagType = type;
    const std::size_t terminator = type == ZR3_TAG_TYPE_STRING ? 1 : 0;
    record.value.strBlob = {bytes.data(), static_cast<uint16>(bytes.size() + terminator)};
    return sn3_save_snapshot(tag, &record);
  }

  // An alarm tag that stands while the number is above 95.
  static uint32 AddAlarm() {
    ZR3AlarmTagProp tag{};
    std::strcpy(tag.szTagName, "alarm");
    std::strcpy(tag.szSourceTagName, "number");
    std::strcpy(tag.szTest1, "HIGH > 95");
    const auto bit = [](int32 column) {
      return int64{1} << (column - ZR3_TAG_COL_AM_EXT_PROP_MIN);
    };
    const ZR3Mask mask{
        .nCommMask = 0,
        .nExtMask = bit(ZR3_TAG_COL_AM_EXT_PROP_TEST1) | bit(ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG)};
    uint32 id = 0;
    EXPECT_EQ(am3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
    return id;
  }

  uint32 number = 0;
  uint32 text = 0;
  uint32 blob = 0;
};

// ---- registering ----

TEST_F(Subscriptions, ChangesOfRegisteredTagsAreHandedOutOnceInOrder) {
  const std::vector<uint32> ids = {text, number, number};
  ASSERT_EQ(Save(number, 1, 0.5), ZR3_OK);
  ASSERT_EQ(sn3_register_callback(3, ids.data(), nullptr), ZR3_OK);
  ASSERT_EQ(Save(number, 2, 1.5), ZR3_OK);
  ASSERT_EQ(Save(text, 1, ZR3_TAG_TYPE_STRING, "on"), ZR3_OK);
  ASSERT_EQ(Save(blob, 1, ZR3_TAG_TYPE_BLOB, "off"), ZR3_OK);
  ASSERT_EQ(Save(number, 3, 2.5), ZR3_OK);
  Changes changes;
  ASSERT_EQ(changes.Poll(), ZR3_OK);
  EXPECT_THAT(changes.Seen(),
              ElementsAre(std::pair(number, 2), std::pair(text, 1), std::pair(number, 3)));
  EXPECT_EQ(changes.records[0].nTagType, ZR3_TAG_TYPE_FLOAT64);
  EXPECT_EQ(changes.records[0].nQuality, ZR3_QUALITY_GOOD);
  EXPECT_EQ(changes.records[0].value.fFloat64, 1.5);
  EXPECT_STREQ(changes.records[1].value.strBlob.pBuf, "on");
  EXPECT_EQ(changes.records[1].value.strBlob.nLenBuf, 3U);
  EXPECT_EQ(changes.Free(), ZR3_OK);

  ASSERT_EQ(sn3_unregister_callback_of_sometag(2, ids.data()), ZR3_OK);
  ASSERT_EQ(Save(number, 4, 3.5), ZR3_OK);
  Changes none;
  ASSERT_EQ(none.Poll(), ZR3_OK);
  EXPECT_EQ(none.count, 0);
}

TEST_F(Subscriptions, PairsAreRegisteredAndTakenBack) {
  const ZRRegInfo pairs[] = {{number, 1}, {number, 1}};
  ASSERT_EQ(sn3_register_rest(2, pairs), ZR3_OK);
  ASSERT_EQ(Save(number, 1, 5), ZR3_OK);
  ASSERT_EQ(Save(number, 2, 5), ZR3_OK);
  ASSERT_EQ(Save(number, 3, 6), ZR3_OK);
  Changes changes;
  ASSERT_EQ(changes.Poll(), ZR3_OK);
  EXPECT_THAT(changes.Seen(), ElementsAre(std::pair(number, 1), std::pair(number, 3)));
  EXPECT_EQ(changes.Free(), ZR3_OK);
  ASSERT_EQ(sn3_unregister_callback_rest(1, pairs), ZR3_OK);
  ASSERT_EQ(Save(number, 4, 7), ZR3_OK);
  ASSERT_EQ(changes.Poll(), ZR3_OK);
  EXPECT_EQ(changes.count, 0);
}

TEST_F(Subscriptions, WrongArgumentsRegisterNothing) {
  const uint32 ids[] = {number, 99};
  const ZRRegInfo field[] = {{number, 0}, {number, 3}};
  const ZRRegInfo unknown[] = {{number, 0}, {99, 0}};
  int32 reserved = 0;
  EXPECT_EQ(sn3_register_callback(2, ids, nullptr), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(sn3_register_callback(1, ids, &reserved), ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(sn3_register_callback(-1, ids, nullptr), ZR3_ERR_INVALID_COUNT);
  EXPECT_EQ(sn3_register_callback(1, nullptr, nullptr), ZR3_ERR_NULL_ARGUMENT);
  EXPECT_EQ(sn3_register_rest(2, field), ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(sn3_register_rest(2, unknown), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(sn3_register_rest(-1, field), ZR3_ERR_INVALID_COUNT);
  EXPECT_EQ(am3_register_alarm_record_info(&reserved), ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(sn3_register_callback(0, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(sn3_register_rest(0, nullptr), ZR3_OK);
  EXPECT_EQ(sn3_unregister_callback_of_sometag(2, ids), ZR3_OK);
  EXPECT_EQ(sn3_unregister_callback_rest(2, field), ZR3_OK);
  ASSERT_EQ(Save(number, 1, 1), ZR3_OK);
  Changes changes;
  ASSERT_EQ(changes.Poll(), ZR3_OK);
  EXPECT_EQ(changes.count, 0);
  Alarms alarms;
  ASSERT_EQ(alarms.Poll(), ZR3_OK);
  EXPECT_EQ(alarms.count, 0);
}

TEST_F(Subscriptions, AnotherSessionHasNothingOfTheOneBefore) {
  ASSERT_EQ(sn3_register_callback(1, &number, nullptr), ZR3_OK);
  ASSERT_EQ(am3_register_alarm_record_info(nullptr), ZR3_OK);
  ASSERT_EQ(Save(number, 1, 1), ZR3_OK);
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  Changes changes;
  EXPECT_EQ(changes.Poll(), ZR3_ERR_NOT_CONNECTED);
  Connect();
  AddAlarm();
  ASSERT_EQ(Save(number, 1, 99), ZR3_OK);
  ASSERT_EQ(changes.Poll(), ZR3_OK);
  EXPECT_EQ(changes.count, 0);
  Alarms alarms;
  ASSERT_EQ(alarms.Poll(), ZR3_OK);
  EXPECT_EQ(alarms.count, 0);
}

// ---- batches ----

TEST_F(Subscriptions, ABatchOfNothingIsNull) {
  ASSERT_EQ(sn3_register_callback(1, &number, nullptr), ZR3_OK);
  uint32 tag = 0;
  ZR3Record record{};
  Changes changes{.count = 7, .tags = &tag, .records = &record};
  ASSERT_EQ(changes.Poll(), ZR3_OK);
  EXPECT_EQ(changes.count, 0);
  EXPECT_EQ(changes.tags, nullptr);
  EXPECT_EQ(changes.records, nullptr);
  EXPECT_EQ(changes.Free(), ZR3_OK);
  ZR3AlarmRecord alarm{};
  Alarms alarms{.count = 7, .records = &alarm};
  ASSERT_EQ(alarms.Poll(), ZR3_OK);
  EXPECT_EQ(alarms.count, 0);
  EXPECT_EQ(alarms.records, nullptr);
  EXPECT_EQ(alarms.Free(), ZR3_OK);
}

TEST_F(Subscriptions, ABatchOutlivesItsSession) {
  ASSERT_EQ(sn3_register_callback(1, &text, nullptr), ZR3_OK);
  ASSERT_EQ(Save(text, 1, ZR3_TAG_TYPE_STRING, "still here"), ZR3_OK);
  Changes changes;
  ASSERT_EQ(changes.Poll(), ZR3_OK);
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  ASSERT_EQ(changes.count, 1);
  EXPECT_STREQ(changes.records[0].value.strBlob.pBuf, "still here");
  EXPECT_EQ(changes.Free(), ZR3_OK);
}

TEST_F(Subscriptions, ABatchIsFreedOnceAndWithItsCount) {
  ASSERT_EQ(sn3_register_callback(1, &number, nullptr), ZR3_OK);
  ASSERT_EQ(Save(number, 1, 1), ZR3_OK);
  Changes changes;
  ASSERT_EQ(changes.Poll(), ZR3_OK);
  uint32 foreign_tag = 0;
  ZR3Record foreign{};
  EXPECT_EQ(sn3_free_callback_sn(2, changes.tags, changes.records), ZR3_ERR_INVALID_COUNT);
  EXPECT_EQ(sn3_free_callback_sn(-1, changes.tags, changes.records), ZR3_ERR_INVALID_COUNT);
  EXPECT_EQ(sn3_free_callback_sn(1, &foreign_tag, changes.records), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(sn3_free_callback_sn(1, changes.tags, &foreign), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(sn3_free_callback_sn(1, nullptr, changes.records), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(sn3_free_callback_sn(1, changes.tags, nullptr), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(am3_free_callback_am(1, reinterpret_cast<ZR3AlarmRecord*>(changes.records)),
            ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(changes.records[0].value.fFloat64, 1) << "nothing was freed";
  EXPECT_EQ(changes.Free(), ZR3_OK);
  EXPECT_EQ(changes.Free(), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(sn3_free_callback_sn(7, nullptr, nullptr), ZR3_OK);
}

TEST_F(Subscriptions, TextsHaveBuffersOfTheirOwn) {
  const uint32 ids[] = {text, blob};
  ASSERT_EQ(sn3_register_callback(2, ids, nullptr), ZR3_OK);
  const std::string longest(999, 'x');
  const std::string bytes("\0\xFF\0", 3);
  ASSERT_EQ(Save(text, 1, ZR3_TAG_TYPE_STRING, longest), ZR3_OK);
  ASSERT_EQ(Save(text, 2, ZR3_TAG_TYPE_STRING, ""), ZR3_OK);
  ASSERT_EQ(Save(blob, 1, ZR3_TAG_TYPE_BLOB, bytes), ZR3_OK);
  ASSERT_EQ(Save(blob, 2, ZR3_TAG_TYPE_BLOB, ""), ZR3_OK);
  ASSERT_EQ(Save(blob, 3, ZR3_TAG_TYPE_BLOB, std::string(1000, 'b')), ZR3_OK);
  Changes changes;
  ASSERT_EQ(changes.Poll(), ZR3_OK);
  ASSERT_EQ(changes.count, 5);
  const auto buffer = [&](int32 i) { return changes.records[i].value.strBlob; };
  EXPECT_EQ(std::string(buffer(0).pBuf), longest);
  EXPECT_EQ(buffer(0).nLenBuf, 1000U);
  EXPECT_STREQ(buffer(1).pBuf, "");
  EXPECT_EQ(buffer(1).nLenBuf, 1U);
  EXPECT_EQ(std::string(buffer(2).pBuf, buffer(2).nLenBuf), bytes);
  EXPECT_NE(buffer(3).pBuf, nullptr);
  EXPECT_EQ(buffer(3).nLenBuf, 0U);
  EXPECT_EQ(std::string(buffer(4).pBuf, buffer(4).nLenBuf), std::string(1000, 'b'));
  buffer(0).pBuf[0] = 'y';  // they are the caller's, until he frees them
  EXPECT_EQ(changes.Free(), ZR3_OK);
}

// ---- alarms ----

TEST_F(Subscriptions, TransitionsOfAlarmsAreHandedOutAsTheyThenStood) {
  const uint32 alarm = AddAlarm();
  ASSERT_EQ(am3_register_alarm_record_info(nullptr), ZR3_OK);
  ASSERT_EQ(Save(number, 10, 96), ZR3_OK);
  ASSERT_EQ(Save(number, 20, 90), ZR3_OK);
  const ZR3Time start = {10, 0};
  ASSERT_EQ(am3_acknowledge_alarms(1, &alarm, &start, nullptr), ZR3_OK);
  char comment[ZR3_LEN_ALARM_RECORD_COMMENT] = "looked at";
  ASSERT_EQ(am3_comment_alarms(1, &alarm, &start, comment, nullptr), ZR3_OK);
  Alarms alarms;
  ASSERT_EQ(alarms.Poll(), ZR3_OK);
  ASSERT_EQ(alarms.count, 4);
  for (int32 i = 0; i < 4; ++i) {
    const ZR3AlarmRecord& record = alarms.records[i];
    EXPECT_EQ(record.nAlarmTagID, alarm);
    EXPECT_EQ(record.tvStartTime.nSec, 10);
    EXPECT_EQ(record.tvEndTime.nSec, i < 1 ? 0 : 20);
    EXPECT_EQ(record.nRestored, i < 1 ? ZR3_AM_REC_RESTORE_STATE_NO : ZR3_AM_REC_RESTORE_STATE_YES);
    EXPECT_EQ(record.nAcked, i < 2 ? ZR3_AM_REC_ACK_STATE_NO : ZR3_AM_REC_ACK_STATE_YES);
    EXPECT_STREQ(record.szComment, i < 3 ? "" : "looked at");
    EXPECT_STREQ(record.szSrcValue, "96");
    EXPECT_STREQ(record.szTest, "HIGH > 95");
  }
  EXPECT_EQ(am3_free_callback_am(3, alarms.records), ZR3_ERR_INVALID_COUNT);
  EXPECT_EQ(alarms.Free(), ZR3_OK);
  EXPECT_EQ(alarms.Free(), ZR3_ERR_INVALID_HANDLE);
  ASSERT_EQ(alarms.Poll(), ZR3_OK);
  EXPECT_EQ(alarms.count, 0);
}

// ---- what cannot be handed out ----

TEST(PolledBatch, IsHandedOutByTheNextPollWhenThisOneFails) {
  Polled<std::vector<int>> polled;
  int polls = 0;
  std::vector<int> seen;
  const auto poll = [&] { return Result<std::vector<int>>(std::vector{++polls}); };
  const auto fail = [](const std::vector<int>&) { return Status(ZR3_ERR_OUT_OF_MEMORY, {}); };
  const auto fault = [](const std::vector<int>&) -> Status { throw std::bad_alloc(); };
  const auto take = [&](const std::vector<int>& batch) {
    seen = batch;
    return Status();
  };
  EXPECT_EQ(polled.HandOver(poll, fail).code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_THROW((void)polled.HandOver(poll, fault), std::bad_alloc);
  EXPECT_TRUE(polled.HandOver(poll, take).ok());
  EXPECT_THAT(seen, ElementsAre(1));
  EXPECT_TRUE(polled.HandOver(poll, take).ok());
  EXPECT_THAT(seen, ElementsAre(2));
  EXPECT_EQ(polled.HandOver(poll, fail).code(), ZR3_ERR_OUT_OF_MEMORY);
  polled.Clear();
  EXPECT_TRUE(polled.HandOver(poll, take).ok());
  EXPECT_THAT(seen, ElementsAre(4)) << "what a session left is not the next one's";
}

TEST(HandedOutBatches, AreNoMoreThanThereMayBe) {
  HandedOut batches;
  std::vector<char> addresses(HandedOut::kMaxBatches + 1);
  for (std::size_t i = 0; i < HandedOut::kMaxBatches; ++i) {
    ASSERT_TRUE(batches.Add({.records = &addresses[i], .count = 1}, nullptr).ok());
  }
  EXPECT_EQ(batches.Add({.records = &addresses.back(), .count = 1}, nullptr).code(),
            ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_TRUE(batches.Free({.records = addresses.data(), .count = 1}).ok());
  EXPECT_TRUE(batches.Add({.records = &addresses.back(), .count = 1}, nullptr).ok());
}

}  // namespace
}  // namespace zervane
