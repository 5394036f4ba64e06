#include "harness/alarm_samples.h"
#include "harness/method.h"

namespace zervane::bridge_test {
namespace {

constexpr jlong kHandle = 81985529216486895;  // 0x0123456789ABCDEF
constexpr jint kLowHalf = -1985229329;        // 0x89ABCDEF
const std::string kStored = "SetLongField holder.Value = 81985529216486895";

Ref Holder() { return Java().New(kLongWrapperClass, "holder").Set("Value", 41); }

Ref Query() {
  return Java()
      .New(kAlarmQueryClass, "query")
      .Set("nStartSec", 10)
      .Set("nStartMsec", 11)
      .Set("nEndSec", -12)
      .Set("nEndMsec", -13)
      .Set("nAckMask", -1)
      .Set("nTypeMask", 127)
      .Set("nPriorMask", -128)
      .Set("nRestoreMask", 3)
      .Set("nCommentMask", 5);
}

const Lines kQueryGets =
    Gets("query", {"Int nStartSec", "Short nStartMsec", "Int nEndSec", "Short nEndMsec",
                   "Byte nAckMask", "Byte nTypeMask", "Byte nPriorMask", "Byte nRestoreMask"});

Ref Ids() { return Java().Ints("ids", {5, -6, 7}); }

// ---- queries that make an iterator ----

// What is queried, and how the handle is handed out.
struct QueryMethod {
  const char* name;
  std::string function;
  std::string of;  // first arguments of the API call
  bool has_holder;
  bool many_tags;
  jint (*call)(const Ref& holder);
};

const QueryMethod kQueryMethods[] = {
    {"queryAllAlarmRecordsHandle", "am3_query_tags_all_records", "2, {5, 4294967290}", true, true,
     [](const Ref& holder) {
       return Call(ZR(queryAllAlarmRecordsHandle), Ids(), 2, Query(), -9, holder);
     }},
    {"queryAllAlarmRecordsEx", "am3_query_tags_all_records", "2, {5, 4294967290}", true, true,
     [](const Ref& holder) {
       return Call(ZR(queryAllAlarmRecordsEx), Ids(), 2, Query(), -9, holder);
     }},
    {"queryAllAlarmRecords", "am3_query_tags_all_records", "2, {5, 4294967290}", false, true,
     [](const Ref&) { return Call(ZR(queryAllAlarmRecords), Ids(), 2, Query(), -9); }},
    {"queryAlarmRecordsEx", "am3_query_tag_records", "4294967294", true, false,
     [](const Ref& holder) { return Call(ZR(queryAlarmRecordsEx), -2, Query(), -9, holder); }},
    {"queryAlarmRecords", "am3_query_tag_records", "4294967294", false, false,
     [](const Ref&) { return Call(ZR(queryAlarmRecords), -2, Query(), -9); }},
    {"queryAlarmGroupRecordsEx", "am3_query_group_records", "4294967294", true, false,
     [](const Ref& holder) { return Call(ZR(queryAlarmGroupRecordsEx), -2, Query(), -9, holder); }},
    {"queryAlarmGroupRecords", "am3_query_group_records", "4294967294", false, false,
     [](const Ref&) { return Call(ZR(queryAlarmGroupRecords), -2, Query(), -9); }},
};

std::string ApiLine(const QueryMethod& method) {
  return method.function + "(" + method.of + ", ZR3AlarmQuery, -9, out)";
}

// Makes every query hand out kHandle with that status.
void AnswerQueries(int32 status) {
  const auto answer = [status](auto, auto, auto, ZR3HANDLE* handle) {
    *handle = reinterpret_cast<ZR3HANDLE>(kHandle);
    return status;
  };
  Api().On<am3_query_tag_records>(answer);
  Api().On<am3_query_group_records>(answer);
  Api().On<am3_query_tags_all_records>(
      [answer](auto, auto ids, auto query, auto mask, ZR3HANDLE* handle) {
        return answer(ids, query, mask, handle);
      });
}

class AlarmQueries : public BridgeTest, public testing::WithParamInterface<QueryMethod> {
 protected:
  const QueryMethod& method() { return GetParam(); }
};

TEST_P(AlarmQueries, ReadTheConditionThenQuery) {
  AnswerQueries(0);
  EXPECT_EQ(method().call(Holder()), method().has_holder ? 0 : kLowHalf);
  const Lines pinned = method().many_tags ? Lines{"GetIntArrayElements ids"} : Lines{};
  const Lines stored = method().has_holder ? Lines{kStored} : Lines{};
  EXPECT_TRUE(SameLines(kQueryGets + pinned + Lines{ApiLine(method())} + stored, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(AlarmQueries, MasksAreSignExtendedTo64Bits) {
  method().call(Holder());
  const ZR3AlarmQuery& sent = Api().Sent<ZR3AlarmQuery>().at(0);
  EXPECT_EQ(sent.tvStart.nSec, 10);
  EXPECT_EQ(sent.tvStart.nMsec, 11);
  EXPECT_EQ(sent.tvEnd.nSec, -12);
  EXPECT_EQ(sent.tvEnd.nMsec, -13);
  EXPECT_EQ(sent.nAckMask, -1);
  EXPECT_EQ(sent.nTypeMask, 127);
  EXPECT_EQ(sent.nPriorMask, -128);
  EXPECT_EQ(sent.nRestoreMask, 3);
}

TEST_P(AlarmQueries, AFailureStoresTheHandleOrReturnsMinusOne) {
  AnswerQueries(119602);
  EXPECT_EQ(method().call(Holder()), method().has_holder ? 119602 : -1);
  EXPECT_TRUE(SameLines(method().has_holder ? Lines{kStored} : Lines{}, Log().Writes()));
  EXPECT_EQ(Left(), Blocks{});
}

INSTANTIATE_TEST_SUITE_P(Method, AlarmQueries, testing::ValuesIn(kQueryMethods),
                         [](const auto& row) { return std::string(row.param.name); });

class ManyTagsQueries : public AlarmQueries {};

TEST_P(ManyTagsQueries, WithoutMemoryForTheIdentifiersNothingIsSent) {
  Probe().FailNth(1);
  EXPECT_EQ(method().call(Holder()), -1);
  const Lines wrapper = method().has_holder ? LookUp(kLongWrapperClass) : Lines{};
  EXPECT_TRUE(SameLines(wrapper + LookUp(kAlarmQueryClass) + kQueryGets, Log().All()));
}

TEST_P(ManyTagsQueries, AnArrayThatCannotBePinnedSendsNothing) {
  Java().FailPinning();
  EXPECT_EQ(method().call(Holder()), -1);
  EXPECT_TRUE(SameLines(kQueryGets + Lines{"GetIntArrayElements ids"}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

INSTANTIATE_TEST_SUITE_P(Method, ManyTagsQueries,
                         testing::Values(kQueryMethods[0], kQueryMethods[1], kQueryMethods[2]),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- steps ----

using Step = jint (*)(JNIEnv*, jclass, jlong, jobject);

Ref JavaAlarm() { return Java().New(kAlarmRecordClass, "alarm").Set("nCommented", 9); }

void AnswerAlarm(const std::string& comment) {
  Api().On<ut3_get_item_step>([comment](ZR3HANDLE, void* item) {
    EXPECT_TRUE(HoldsOldBytes(item, sizeof(ZR3AlarmRecord)));
    *static_cast<ZR3AlarmRecord*>(item) = AlarmSample(comment);
    return 0;
  });
}

const std::string kStep = "ut3_get_item_step(handle 77, out)";

class AlarmSteps : public BridgeTest {};

TEST_F(AlarmSteps, ARecordOfATagTellsWhetherItIsCommentedAfterItsComment) {
  for (const auto& [comment, commented] :
       {std::pair("", Commented::kNo), std::pair("SEEN", Commented::kYes)}) {
    AnswerAlarm(comment);
    EXPECT_EQ(Call(ZR(getAmTagRecordsItemStep), 77, JavaAlarm()), 0);
    EXPECT_TRUE(SameLines(Lines{kStep} + AlarmSets("alarm", comment, commented), Log().Steps()));
  }
}

TEST_F(AlarmSteps, ARecordOfAGroupLeavesTheFlagAsItWas) {
  AnswerAlarm("SEEN");
  const Ref alarm = JavaAlarm();
  EXPECT_EQ(Call(ZR(getAmGroupRecordsItemStep), 77, alarm), 0);
  EXPECT_TRUE(
      SameLines(Lines{kStep} + AlarmSets("alarm", "SEEN", Commented::kUnwritten), Log().Steps()));
  EXPECT_EQ(alarm.Int("nCommented"), 9);
}

TEST_F(AlarmSteps, HandleZeroReachesTheApiOnlyForAGroup) {
  EXPECT_EQ(Call(ZR(getAmTagRecordsItemStep), 0, JavaAlarm()), 110191);
  EXPECT_TRUE(SameLines(LookUp(kAlarmRecordClass), Log().All()));
  Api().Answer("ut3_get_item_step", 4711);
  EXPECT_EQ(Call(ZR(getAmGroupRecordsItemStep), 0, JavaAlarm()), 4711);
  EXPECT_TRUE(SameLines({"ut3_get_item_step(handle 0, out)"}, Log().Steps()));
}

// ---- the latest alarms ----

void AnswerSnapshots(const std::vector<std::string>& comments, int32 status, int32 code) {
  Api().On<am3_query_snapshots>(
      [=](int32 count, auto, auto, ZR3AlarmRecord* records, int32* codes) {
        for (size_t i = 0; i < static_cast<size_t>(count); ++i) {
          records[i] = AlarmSample(comments[i]);
          codes[i] = code;
        }
        return status;
      });
}

jint Latest(const Ref& alarm) { return Call(ZR(queryAlarmSnapshot), -2, -9, alarm); }

const std::string kLatest = "am3_query_snapshots(1, {4294967294}, -9, ZR3AlarmRecord[1], {0})";

class LatestAlarms : public BridgeTest {};

TEST_F(LatestAlarms, OneIsWrittenWithItsFlag) {
  AnswerSnapshots({"SEEN"}, 0, 0);
  EXPECT_EQ(Latest(JavaAlarm()), 0);
  EXPECT_TRUE(
      SameLines(Lines{kLatest} + AlarmSets("alarm", "SEEN", Commented::kYes), Log().Steps()));
}

TEST_F(LatestAlarms, OneWhoseCodeAloneIsNotZeroReturnsTheCode) {
  AnswerSnapshots({""}, 0, 119603);
  EXPECT_EQ(Latest(JavaAlarm()), 119603);
  EXPECT_TRUE(SameLines({}, Log().Writes()));
}

TEST_F(LatestAlarms, OneThatFailsReturnsTheStatusNotTheCode) {
  AnswerSnapshots({""}, 119624, 119603);
  EXPECT_EQ(Latest(JavaAlarm()), 119624);
  EXPECT_TRUE(SameLines({}, Log().Writes()));
}

struct Batch {
  Ref ids = Ids();
  Ref records = Java().Array("records", {JavaAlarm(), Ref(), Ref(), JavaAlarm()});
  Ref codes = Java().Ints("codes", {-1, -2, -3, -4});

  jint Query(jint count) { return Call(ZR(queryAlarmSnapshots), ids, count, -9, records, codes); }
};

Lines Stored(int i, const std::string& comment, Commented commented) {
  const std::string label = "ZRJniAlarmRecord#" + std::to_string(i + 1);
  return Lines{"AllocObject " + label} + AlarmSets(label, comment, commented) +
         Lines{"SetObjectArrayElement records[" + std::to_string(i) + "] = " + label};
}

const std::string kMany =
    "am3_query_snapshots(3, {5, 4294967290, 7}, -9, ZR3AlarmRecord[3], {0, 0, 0})";

TEST_F(LatestAlarms, ManyAreCommentedFromTheFirstCommentOn) {
  AnswerSnapshots({"", "SEEN", ""}, 0, 0);
  Batch batch;
  EXPECT_EQ(batch.Query(3), 0);
  EXPECT_TRUE(
      SameLines(Lines{"GetIntArrayRegion ids 0 3", kMany, "SetIntArrayRegion codes 0 {0, 0, 0}"} +
                    Stored(0, "", Commented::kNo) + Stored(1, "SEEN", Commented::kYes) +
                    Stored(2, "", Commented::kYes),
                Log().Steps()));
  EXPECT_EQ(batch.records->elements[3]->label, "alarm");
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(LatestAlarms, AllThreeAreCommentedWhenTheFirstIs) {
  AnswerSnapshots({"SEEN", "", ""}, 0, 0);
  Batch batch;
  batch.Query(3);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Ref(batch.records->elements[i]).Int("nCommented"), 1);
}

TEST_F(LatestAlarms, SomeThatFailedAreDeliveredAllTheSame) {
  AnswerSnapshots({"", "", ""}, 119624, 119603);
  Batch batch;
  EXPECT_EQ(batch.Query(3), 0);
  EXPECT_EQ(batch.codes->ints, (std::vector<jint>{119603, 119603, 119603, -4}));
  EXPECT_EQ(batch.records->elements[2]->label, "ZRJniAlarmRecord#3");
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(LatestAlarms, AnyOtherStatusWritesNothing) {
  AnswerSnapshots({"", "", ""}, 119602, 1);
  EXPECT_EQ(Batch().Query(3), 119602);
  EXPECT_TRUE(SameLines({}, Log().Writes()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(LatestAlarms, ManyAreAskedForInClearedRecords) {
  Batch().Query(2);
  std::vector<ZR3AlarmRecord> cleared(2);
  memset(cleared.data(), 0, 2 * sizeof(ZR3AlarmRecord));
  EXPECT_TRUE(
      SameBytes(cleared.data(), Api().Sent<ZR3AlarmRecord>().data(), 2 * sizeof(ZR3AlarmRecord)));
}

TEST_F(LatestAlarms, NoneAreAnEmptyBatch) {
  EXPECT_EQ(Batch().Query(0), 0);
  EXPECT_TRUE(SameLines({"SetIntArrayRegion codes 0 {}"}, Log().Writes()));
}

class LatestAlarmsWithoutMemory : public LatestAlarms, public testing::WithParamInterface<int> {};

TEST_P(LatestAlarmsWithoutMemory, FailWithMinusOneAndFreeWhatTheyHad) {
  Probe().FailNth(GetParam());
  EXPECT_EQ(Batch().Query(2), -1);
  const Lines copied = GetParam() == 1 ? Lines{} : Lines{"GetIntArrayRegion ids 0 2"};
  EXPECT_TRUE(SameLines(LookUp(kAlarmRecordClass) + copied, Log().All()));
  EXPECT_EQ(Left(), Blocks{});
}

INSTANTIATE_TEST_SUITE_P(Allocation, LatestAlarmsWithoutMemory, testing::Values(1, 2, 3));

Method RowOf(const QueryMethod& method) {
  const Lines wrapper = method.has_holder ? LookUp(kLongWrapperClass) : Lines{};
  const Failure failure = method.has_holder ? Failure{.writes = {"SetLongField holder.Value = ..."}}
                                            : Failure{.result = -1};
  return {.name = method.name,
          .lookups = wrapper + LookUp(kAlarmQueryClass),
          .api = {ApiLine(method)},
          .result = method.has_holder ? 0 : kLowHalf,
          .failures = {failure},
          .call = [&method] {
            AnswerQueries(0);
            return method.call(Holder());
          }};
}

Method StepRow(const char* name, Step step) {
  return {.name = name, .lookups = LookUp(kAlarmRecordClass), .api = {kStep}, .call = [step] {
            AnswerAlarm("SEEN");
            return Call(step, 77, JavaAlarm());
          }};
}

}  // namespace

Methods AlarmRecordMethods() {
  Methods methods;
  for (const QueryMethod& method : kQueryMethods) methods.push_back(RowOf(method));
  methods.push_back(StepRow("getAmTagRecordsItemStep", ZR(getAmTagRecordsItemStep)));
  methods.push_back(StepRow("getAmGroupRecordsItemStep", ZR(getAmGroupRecordsItemStep)));
  methods.push_back({.name = "queryAlarmSnapshot",
                     .lookups = LookUp(kAlarmRecordClass),
                     .api = {kLatest},
                     .call = [] {
                       AnswerSnapshots({"SEEN"}, 0, 0);
                       return Latest(JavaAlarm());
                     }});
  methods.push_back({.name = "queryAlarmSnapshots",
                     .lookups = LookUp(kAlarmRecordClass),
                     .api = {kMany},
                     .call = [] {
                       AnswerSnapshots({"", "SEEN", ""}, 0, 0);
                       return Batch().Query(3);
                     }});
  return methods;
}

}  // namespace zervane::bridge_test
