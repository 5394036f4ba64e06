// Alarm records at the frontier: what functions ask the database for, and what they make of its
// answers.

#include "vask/alarm_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "api/operation_table.h"
#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

using testing::ElementsAre;

AlarmRecord FullRecord() {
  AlarmRecord alarm;
  alarm.tag = 7;
  alarm.start_ms = 1'001;
  alarm.end_ms = 2'002;
  alarm.acknowledged_ms = 3'003;
  alarm.commented_ms = 0xFFFFFFFFLL * 1000 + 999;
  alarm.is_acknowledged = true;
  alarm.priority = ZR3_AM_REC_PRIORITY_FORTH;
  alarm.acknowledgement = ZR3_AM_ACK_TYPE_AUTO;
  alarm.type = ZR3_AM_REC_TYPE_CHANGE;
  alarm.source_value = "97.5";
  alarm.test = "HIGH > 95";
  alarm.comment = "looked at";
  alarm.acknowledged_by = "admin";
  alarm.commented_by = "operator";
  return alarm;
}

TEST(AlarmRecordFrontier, EveryFieldOfARecordIsFilled) {
  ZR3AlarmRecord record;
  std::memset(&record, 0x7F, sizeof record);
  FillAlarmRecord(FullRecord(), TextsOfThisThread(), &record);
  EXPECT_EQ(record.nAlarmTagID, 7U);
  EXPECT_EQ(record.tvStartTime.nSec, 1);
  EXPECT_EQ(record.tvStartTime.nMsec, 1);
  EXPECT_EQ(record.tvEndTime.nSec, 2);
  EXPECT_EQ(record.tvEndTime.nMsec, 2);
  EXPECT_EQ(record.tvAckTime.nSec, 3);
  EXPECT_EQ(record.tvAckTime.nMsec, 3);
  EXPECT_EQ(record.tvCommentTime.nSec, -1);
  EXPECT_EQ(record.tvCommentTime.nMsec, 999);
  EXPECT_EQ(record.nAcked, ZR3_AM_REC_ACK_STATE_YES);
  EXPECT_EQ(record.nRestored, ZR3_AM_REC_RESTORE_STATE_NO);
  EXPECT_EQ(record.nPriority, ZR3_AM_REC_PRIORITY_FORTH);
  EXPECT_EQ(record.nAckType, ZR3_AM_ACK_TYPE_AUTO);
  EXPECT_EQ(record.nAlarmType, ZR3_AM_REC_TYPE_CHANGE);
  EXPECT_STREQ(record.szSrcValue, "97.5");
  EXPECT_STREQ(record.szTest, "HIGH > 95");
  EXPECT_STREQ(record.szComment, "looked at");
  EXPECT_STREQ(record.szAcker, "admin");
  EXPECT_STREQ(record.szCommentor, "operator");
}

TEST(AlarmRecordFrontier, TextsAreCutToTheirArraysAfterAWholeCharacter) {
  AlarmRecord alarm = FullRecord();
  alarm.comment.clear();
  while (alarm.comment.size() < 765) alarm.comment += "\xE6\xB5\x8B";
  alarm.acknowledged_by = std::string(100, 'a');
  ZR3AlarmRecord record;
  FillAlarmRecord(alarm, TextsOfThisThread(), &record);
  EXPECT_EQ(std::strlen(record.szComment), 510U);
  EXPECT_EQ(std::strlen(record.szAcker), ZR3_LEN_NAME - 1U);
}

TEST(AlarmRecordFrontier, TheTimesOfAQueryAreOnesInOrderAndAnEndOfZeroIsNone) {
  struct Case {
    ZR3Time start;
    ZR3Time end;
    ZR3_STATUS status;
  };
  const std::vector<Case> cases = {
      {{2, 0}, {0, 0}, ZR3_OK},
      {{2, 0}, {2, 0}, ZR3_OK},
      {{2, 0}, {-1, 999}, ZR3_OK},
      {{2, 0}, {1, 999}, ZR3_ERR_INVALID_REGION},
      {{1, 0}, {0, 1}, ZR3_ERR_INVALID_REGION},
      {{1, 1000}, {2, 0}, ZR3_ERR_INVALID_TIME},
      {{1, 0}, {2, -1}, ZR3_ERR_INVALID_TIME},
  };
  for (const Case& c : cases) {
    ZR3AlarmQuery query{};
    query.tvStart = c.start;
    query.tvEnd = c.end;
    EXPECT_EQ(ReadAlarmQuery(query).code(), c.status) << c.start.nSec << " to " << c.end.nSec;
  }
}

// A database of alarms that keeps what it is asked for and answers as it is told.
class AlarmDatabase final : public Database {
 public:
  std::optional<std::int64_t> HeardCatalogueVersion(const Caller&) const override { return 1; }
  Status Close() override { return {}; }
  Status Carry(const Caller&, OperationNumber number, const void* operation, void* reply) override {
    switch (number) {
      case OperationNumber::kFindAlarmsOfTags:
        of_tags = *static_cast<const FindAlarmsOfTags*>(operation);
        return AnswerPage(of_tags.from, of_tags.limit, reply);
      case OperationNumber::kFindAlarmsOfGroup:
        of_group = *static_cast<const FindAlarmsOfGroup*>(operation);
        return AnswerPage(of_group.from, of_group.limit, reply);
      case OperationNumber::kReadLatestAlarms:
        latest = *static_cast<const ReadLatestAlarms*>(operation);
        *static_cast<ReadLatestAlarms::Reply*>(reply) = {.records = records, .codes = codes};
        return {};
      case OperationNumber::kAcknowledgeAlarms:
        acknowledged = *static_cast<const AcknowledgeAlarms*>(operation);
        *static_cast<AcknowledgeAlarms::Reply*>(reply) = codes;
        return {};
      case OperationNumber::kCommentAlarms:
        commented = *static_cast<const CommentAlarms*>(operation);
        *static_cast<CommentAlarms::Reply*>(reply) = codes;
        return {};
      default:
        return {ZR3_ERR_NOT_SUPPORTED, {}};
    }
  }

  // What it answers; pages have the records from the key on.
  std::vector<AlarmRecord> records;
  std::vector<std::int32_t> codes;
  std::size_t page_records = 2;

  // What it was asked for last.
  FindAlarmsOfTags of_tags;
  FindAlarmsOfGroup of_group;
  ReadLatestAlarms latest;
  AcknowledgeAlarms acknowledged;
  CommentAlarms commented;

 private:
  Status AnswerPage(const AlarmKey& from, std::int32_t limit, void* reply) const {
    EXPECT_GE(limit, 1);
    AlarmPage page;
    for (const AlarmRecord& record : records) {
      if (record.key() < from) continue;
      if (page.items.size() == page_records) {
        page.next = record.key();
        break;
      }
      page.items.push_back(record);
    }
    *static_cast<AlarmPage*>(reply) = page;
    return {};
  }
};

class AlarmRecordFunctions : public testing::Test {
 protected:
  void SetUp() override {
    auto made = std::make_unique<AlarmDatabase>();
    database = made.get();
    ConnectTo(std::move(made));
  }
  void TearDown() override { (void)ProcessSession().Disconnect(); }

  AlarmDatabase* database = nullptr;
  ZR3HANDLE handle = nullptr;
};

constexpr ZR3AlarmQuery kQuery = {.tvStart = {1, 5},
                                  .tvEnd = {9, 0},
                                  .nAckMask = -1,
                                  .nTypeMask = 8,
                                  .nPriorMask = 4,
                                  .nRestoreMask = 1};
const AlarmQuery kAsked = {.start_ms = 1'005,
                           .end_ms = 9'000,
                           .acknowledged_mask = -1,
                           .type_mask = 8,
                           .priority_mask = 4,
                           .restored_mask = 1};

TEST_F(AlarmRecordFunctions, QueriesAskForWhatTheySay) {
  const uint32 ids[] = {3, 1, 3};
  EXPECT_EQ(am3_query_tags_all_records(3, ids, &kQuery, 21, &handle), ZR3_OK);
  EXPECT_THAT(database->of_tags.ids, ElementsAre(3, 1, 3));
  EXPECT_EQ(database->of_tags.query, kAsked);
  EXPECT_EQ(database->of_tags.mask, 21);
  EXPECT_EQ(database->of_tags.from, (AlarmKey{.start_ms = 1'005}));
  EXPECT_EQ(am3_query_tag_records(8, &kQuery, -1, &handle), ZR3_OK);
  EXPECT_THAT(database->of_tags.ids, ElementsAre(8));
  EXPECT_EQ(am3_query_group_records(5, &kQuery, 0, &handle), ZR3_OK);
  EXPECT_EQ(database->of_group.group, 5U);
  EXPECT_EQ(database->of_group.query, kAsked);
  EXPECT_EQ(database->of_group.mask, 0);
  EXPECT_EQ(am3_query_tags_all_records(0, nullptr, &kQuery, -1, &handle), ZR3_OK);
}

TEST_F(AlarmRecordFunctions, IteratorsGoOnFromPageToPage) {
  for (std::int64_t start_ms : {2'000, 3'000, 4'000, 5'000, 6'000}) {
    database->records.push_back(FullRecord());
    database->records.back().start_ms = start_ms;
  }
  ASSERT_EQ(am3_query_tag_records(7, &kQuery, -1, &handle), ZR3_OK);
  std::vector<int32> seconds;
  ZR3AlarmRecord record{};
  while (ut3_get_item_step(handle, &record) == ZR3_OK) seconds.push_back(record.tvStartTime.nSec);
  EXPECT_THAT(seconds, ElementsAre(2, 3, 4, 5, 6));
  EXPECT_EQ(ut3_get_item_step(handle, &record), ZR3_ERR_END_OF_ITERATION);
}

TEST_F(AlarmRecordFunctions, AQueryWithoutRightTimesLeavesNoHandle) {
  const uint32 id = 1;
  int garbage = 0;
  ZR3AlarmQuery query = kQuery;
  query.tvEnd = {1, 0};
  const std::function<int32()> calls[] = {
      [&] { return am3_query_tags_all_records(1, &id, &query, -1, &handle); },
      [&] { return am3_query_tag_records(1, &query, -1, &handle); },
      [&] { return am3_query_group_records(1, &query, -1, &handle); },
  };
  for (const auto& call : calls) {
    handle = &garbage;
    EXPECT_EQ(call(), ZR3_ERR_INVALID_REGION);
    EXPECT_EQ(handle, nullptr);
  }
}

TEST_F(AlarmRecordFunctions, SnapshotsHaveACodeEachAndFailedOnesAreUntouched) {
  database->records = {FullRecord(), AlarmRecord(), FullRecord()};
  database->codes = {ZR3_OK, ZR3_ERR_NO_ALARM, ZR3_OK};
  const uint32 ids[] = {7, 8, 7};
  ZR3AlarmRecord records[3] = {};
  records[1].nAlarmTagID = 99;
  int32 codes[3] = {-1, -1, -1};
  EXPECT_EQ(am3_query_snapshots(3, ids, 5, records, codes), ZR3_ERR_SOME_ALARMS_FAILED);
  EXPECT_EQ(ZR3_ERR_SOME_ALARMS_FAILED, 119624);
  EXPECT_THAT(codes, ElementsAre(ZR3_OK, ZR3_ERR_NO_ALARM, ZR3_OK));
  EXPECT_THAT(database->latest.ids, ElementsAre(7, 8, 7));
  EXPECT_EQ(database->latest.mask, 5);
  EXPECT_EQ(records[0].nAlarmTagID, 7U);
  EXPECT_EQ(records[1].nAlarmTagID, 99U);
  EXPECT_STREQ(records[2].szComment, "looked at");
  EXPECT_EQ(am3_query_snapshots(3, ids, 5, records, nullptr), ZR3_ERR_SOME_ALARMS_FAILED);
  database->codes = {ZR3_OK, ZR3_OK, ZR3_OK};
  EXPECT_EQ(am3_query_snapshots(3, ids, 5, records, codes), ZR3_OK);
}

TEST_F(AlarmRecordFunctions, TheCodeOfASingleAlarmIsTheStatusToo) {
  const uint32 id = 7;
  const ZR3Time time{1, 1};
  const char comment[ZR3_LEN_ALARM_COMMENT] = "c";
  database->records = {AlarmRecord()};
  database->codes = {ZR3_ERR_NO_ALARM};
  ZR3AlarmRecord record{};
  int32 code = -1;
  EXPECT_EQ(am3_query_snapshots(1, &id, -1, &record, &code), ZR3_ERR_NO_ALARM);
  EXPECT_EQ(code, ZR3_ERR_NO_ALARM);
  code = -1;
  EXPECT_EQ(am3_acknowledge_alarms(1, &id, &time, &code), ZR3_ERR_NO_ALARM);
  EXPECT_EQ(code, ZR3_ERR_NO_ALARM);
  code = -1;
  EXPECT_EQ(am3_comment_alarms(1, &id, &time, comment, &code), ZR3_ERR_NO_ALARM);
  EXPECT_EQ(code, ZR3_ERR_NO_ALARM);
  EXPECT_EQ(am3_acknowledge_alarms(1, &id, &time, nullptr), ZR3_ERR_NO_ALARM);
}

TEST_F(AlarmRecordFunctions, AcknowledgingSendsAllButWrongTimes) {
  database->codes = {ZR3_OK, ZR3_ERR_ALREADY_ACKNOWLEDGED};
  const uint32 ids[] = {4, 5, 6};
  const ZR3Time times[] = {{1, 2}, {1, 1000}, {-1, 0}};
  int32 codes[3] = {-1, -1, -1};
  EXPECT_EQ(am3_acknowledge_alarms(3, ids, times, codes), ZR3_ERR_SOME_ALARMS_FAILED);
  EXPECT_THAT(codes, ElementsAre(ZR3_OK, ZR3_ERR_INVALID_TIME, ZR3_ERR_ALREADY_ACKNOWLEDGED));
  EXPECT_THAT(database->acknowledged.alarms,
              ElementsAre(AlarmKey{.start_ms = 1'002, .tag = 4},
                          AlarmKey{.start_ms = 0xFFFFFFFFLL * 1000, .tag = 6}));
}

TEST_F(AlarmRecordFunctions, CommentsStandInTheirSlots) {
  database->codes = {ZR3_OK, ZR3_OK, ZR3_OK};
  const uint32 ids[] = {4, 5, 6, 7, 8};
  const ZR3Time times[] = {{1, 0}, {2, 0}, {3, -1}, {4, 0}, {5, 0}};
  std::string comments(5 * ZR3_LEN_ALARM_COMMENT, '\0');
  const auto put = [&](std::size_t slot, const std::string& text) {
    comments.replace(slot * ZR3_LEN_ALARM_COMMENT, text.size(), text);
  };
  put(0, std::string(ZR3_LEN_ALARM_COMMENT - 1, 'c'));
  put(2, "never sent");
  put(3, std::string(ZR3_LEN_ALARM_COMMENT, 'x'));  // without an end
  put(4, "last");
  int32 codes[5] = {-1, -1, -1, -1, -1};
  EXPECT_EQ(am3_comment_alarms(5, ids, times, comments.data(), codes), ZR3_ERR_SOME_ALARMS_FAILED);
  EXPECT_THAT(codes,
              ElementsAre(ZR3_OK, ZR3_OK, ZR3_ERR_INVALID_TIME, ZR3_ERR_INVALID_TEXT, ZR3_OK));
  EXPECT_THAT(database->commented.alarms, ElementsAre(AlarmKey{.start_ms = 1'000, .tag = 4},
                                                      AlarmKey{.start_ms = 2'000, .tag = 5},
                                                      AlarmKey{.start_ms = 5'000, .tag = 8}));
  EXPECT_THAT(database->commented.comments, ElementsAre(std::string(255, 'c'), "", "last"));
}

TEST_F(AlarmRecordFunctions, BatchesOfNothingSucceed) {
  EXPECT_EQ(am3_query_snapshots(0, nullptr, -1, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(am3_acknowledge_alarms(0, nullptr, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(am3_comment_alarms(0, nullptr, nullptr, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(am3_acknowledge_alarms(-1, nullptr, nullptr, nullptr), ZR3_ERR_INVALID_COUNT);
}

}  // namespace
}  // namespace zervane
