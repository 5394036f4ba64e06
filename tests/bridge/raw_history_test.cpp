#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

constexpr size_t kSlot = 1000;

Ref Start() { return JavaTime("start", 10, 250); }

Ref End() { return JavaTime("end", 20, -1); }

const Lines kTimeGets = Gets("start", {"Int nSec", "Short nMsec"});
const Lines kRegionGets = kTimeGets + Gets("end", {"Int nSec", "Short nMsec"});
const std::string kRegion = "[10.250, 20.-01]";

// ---- the number of records ----

jint Count(const Ref& count) { return Call(ZR(queryRawRecordsCount), -1, Start(), End(), count); }

Ref CountHolder() { return Java().New(kIntWrapperClass, "count").Set("Value", 41); }

class RawHistory : public BridgeTest {};

TEST_F(RawHistory, CountsTheRecordsOfARegionClosedAtBothEnds) {
  Api().On<ar3_query_raw_records_number>([](uint32, const ZR3TimeRegion*, int32* count) {
    *count = 3;
    return 0;
  });
  const Ref count = CountHolder();
  EXPECT_EQ(Count(count), 0);
  EXPECT_TRUE(
      SameLines(kRegionGets + Lines{"ar3_query_raw_records_number(4294967295, " + kRegion + ", 0)",
                                    "SetIntField count.Value = 3"},
                Log().Steps()));
}

TEST_F(RawHistory, ACountThatCannotBeHadLeavesTheHolderAsItWas) {
  Api().Answer("ar3_query_raw_records_number", 119602);
  const Ref count = CountHolder();
  EXPECT_EQ(Count(count), 119602);
  EXPECT_EQ(count.Int("Value"), 41);
}

// ---- the records ----

// The two methods that return records.
struct RecordsMethod {
  const char* name;
  const char* api;
  std::string arguments;  // of the API call, up to the records
  Lines gets;             // what is read of the times
  bool presets_type;      // sends the records with the caller's type
  bool leaks_records;     // when the type cannot be had
  jint (*call)(jint capacity, const Ref& records);
};

const RecordsMethod kInterval = {"queryRawRecords",
                                 "ar3_query_raw_records",
                                 kRegion,
                                 kRegionGets,
                                 false,
                                 false,
                                 [](jint capacity, const Ref& records) {
                                   return Call(ZR(queryRawRecords), 7, 5, Start(), End(), capacity,
                                               records);
                                 }};
const RecordsMethod kFromATime = {"querySpecifyNumRawRecords",
                                  "ar3_query_specify_num_raw_recs",
                                  "10.250, 1",
                                  kTimeGets,
                                  true,
                                  true,
                                  [](jint capacity, const Ref& records) {
                                    return Call(ZR(querySpecifyNumRawRecords), 7, 5, Start(), 2,
                                                capacity, records);
                                  }};

Ref Records() {
  return Java().Array("records", {JavaRecord("mine", 1), JavaRecord("yours", 2), Ref()});
}

std::string ApiLine(const RecordsMethod& method, int capacity) {
  return std::string(method.api) + "(7, " + method.arguments + ", ZR3Record[" +
         std::to_string(capacity) + "])";
}

using Fill = std::function<void(ZR3Record* records, int32* count)>;

// Makes both queries fill their records so and answer that status.
void AnswerRecords(const Fill& fill, int32 status = 0) {
  Api().On<ar3_query_raw_records>(
      [=](uint32, const ZR3TimeRegion*, int32* count, ZR3Record* records) {
        fill(records, count);
        return status;
      });
  Api().On<ar3_query_specify_num_raw_recs>(
      [=](uint32, const ZR3Time*, bool8, int32* count, ZR3Record* records) {
        fill(records, count);
        return status;
      });
}

// ApiRecord(type, 1000 + i), keeping the buffers.
void FillNumbers(ZR3Record* records, int32* count) {
  for (int32 i = 0; i < *count; ++i) records[i] = ApiRecord(i, 1000 + i);
}

class RawRecords : public BridgeTest, public testing::WithParamInterface<RecordsMethod> {
 protected:
  const RecordsMethod& method() { return GetParam(); }
};

TEST_P(RawRecords, LookTheRecordsFieldsUpAfterTheQuerySucceeded) {
  TagsHaveType(1);
  AnswerRecords(FillNumbers);
  EXPECT_EQ(method().call(2, Records()), 0);
  EXPECT_TRUE(SameLines(
      LookUpClass(kTimeClass) + LookUpClass(kRecordClass) + LookUpFields(kTimeClass) +
          method().gets + Lines{"pt3_query_tag_type(7, out)", ApiLine(method(), 2)} +
          LookUpFields(kRecordClass) + Lines{"AllocObject ZRJniRecord#1"} +
          RecordSets("ZRJniRecord#1", 0, 1000) +
          Lines{"SetObjectArrayElement records[0] = ZRJniRecord#1", "AllocObject ZRJniRecord#2"} +
          RecordSets("ZRJniRecord#2", 1, 1001) +
          Lines{"SetObjectArrayElement records[1] = ZRJniRecord#2"},
      Log().All()));
}

TEST_P(RawRecords, AreAskedForInClearedRecords) {
  TagsHaveType(3);
  method().call(2, Records());
  std::vector<ZR3Record> expected(2);
  memset(expected.data(), 0, 2 * sizeof(ZR3Record));
  for (ZR3Record& record : expected) record.nTagType = method().presets_type ? 5 : 0;
  EXPECT_TRUE(SameBytes(expected.data(), Api().Sent<ZR3Record>().data(), 2 * sizeof(ZR3Record)));
}

TEST_P(RawRecords, FewerThanAskedForReplaceOnlyThatManyElements) {
  TagsHaveType(1);
  AnswerRecords([](ZR3Record* records, int32* count) {
    EXPECT_EQ(*count, 3);
    *count = 1;
    FillNumbers(records, count);
  });
  const Ref records = Records();
  EXPECT_EQ(method().call(3, records), 0);
  EXPECT_EQ(records->elements[0]->label, "ZRJniRecord#1");
  EXPECT_EQ(records->elements[1]->label, "yours");
}

TEST_P(RawRecords, ATypeBeyondTheListWritesNoValue) {
  TagsHaveType(1);
  AnswerRecords([](ZR3Record* records, int32* count) {
    *count = 1;
    records[0].nTagType = 8;
  });
  const Ref records = Records();
  method().call(1, records);
  EXPECT_EQ(records->elements[0]->fields.size(), 4U);
}

TEST_P(RawRecords, OfTextOrBytesAreReadFromSlotsOfOneUnclearedBlock) {
  TagsHaveType(7);
  AnswerRecords([](ZR3Record* records, int32* count) {
    const char* const block = records[0].value.strBlob.pBuf;
    EXPECT_EQ(Probe().SizeAt(block), 2 * kSlot);
    EXPECT_TRUE(Untouched(block, 2 * kSlot));
    for (int32 i = 0; i < *count; ++i) {
      ZR3StrBlob& blob = records[i].value.strBlob;
      EXPECT_EQ(blob.pBuf, block + static_cast<size_t>(i) * kSlot);
      EXPECT_EQ(blob.nLenBuf, kSlot);
      strcpy(blob.pBuf, i == 0 ? "FIRST" : "SECOND");
    }
    records[0].nTagType = 6;
    records[1].nTagType = 7;
    records[1].value.strBlob.nLenBuf = 2;
  });
  const Ref records = Records();
  EXPECT_EQ(method().call(2, records), 0);
  EXPECT_EQ(Ref(records->elements[0]).Text("strValue"), "first");
  EXPECT_EQ(Ref(records->elements[1]).Bytes("byteValue"), (std::vector<jbyte>{'S', 'E'}));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(RawRecords, OfNumbersHaveNoBuffer) {
  TagsHaveType(5);
  method().call(2, Records());
  EXPECT_EQ(Probe().count(), 1);
}

TEST_P(RawRecords, AFailedQueryLooksNoFieldUpAndWritesNothing) {
  TagsHaveType(6);
  AnswerRecords(FillNumbers, 119602);
  EXPECT_EQ(method().call(2, Records()), 119602);
  EXPECT_TRUE(
      SameLines(LookUpClass(kTimeClass) + LookUpClass(kRecordClass) + LookUpFields(kTimeClass),
                Log().Lookups()));
  EXPECT_TRUE(SameLines({}, Log().Writes()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(RawRecords, OfAnUnknownTagAreNotAskedFor) {
  Api().Answer("pt3_query_tag_type", kSomeError);
  EXPECT_EQ(method().call(2, Records()), kSomeError);
  EXPECT_TRUE(SameLines({"pt3_query_tag_type(7, out)"}, Log().Api()));
  EXPECT_EQ(Left(), method().leaks_records ? Blocks{2 * sizeof(ZR3Record)} : Blocks{});
}

TEST_P(RawRecords, WithoutMemoryForTheRecordsTheCallerSeesSuccess) {
  Probe().FailNth(1);
  EXPECT_EQ(method().call(2, Records()), 0);
  EXPECT_TRUE(SameLines(method().gets, Log().Steps()));
}

TEST_P(RawRecords, WithoutMemoryForTheSlotsTheCallerSeesSuccess) {
  TagsHaveType(6);
  Probe().FailNth(2);
  EXPECT_EQ(method().call(2, Records()), 0);
  EXPECT_TRUE(SameLines(method().gets + Lines{"pt3_query_tag_type(7, out)"}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(RawRecords, NoneAreAskedForWithACapacityOfZero) {
  TagsHaveType(6);
  EXPECT_EQ(method().call(0, Records()), 0);
  EXPECT_EQ(Log().Api().back(), ApiLine(method(), 0));
}

TEST_P(RawRecords, ANegativeCapacityAsksForMoreMemoryThanThereIs) {
  EXPECT_EQ(method().call(-1, Records()), 0);
  EXPECT_TRUE(SameLines({}, Log().Api()));
}

INSTANTIATE_TEST_SUITE_P(Method, RawRecords, testing::Values(kInterval, kFromATime),
                         [](const auto& row) { return std::string(row.param.name); });

class Direction : public BridgeTest, public testing::WithParamInterface<jint> {};

TEST_P(Direction, IsBackwardForEveryNumberButZero) {
  Call(ZR(querySpecifyNumRawRecords), 7, -3, Start(), GetParam(), 1, Records());
  const std::string backward = GetParam() == 0 ? "0" : "1";
  EXPECT_EQ(Log().Api().back(),
            "ar3_query_specify_num_raw_recs(7, 10.250, " + backward + ", ZR3Record[1])");
  EXPECT_EQ(Api().Sent<ZR3Record>().at(0).nTagType, -3);
}

INSTANTIATE_TEST_SUITE_P(Backward, Direction, testing::Values(0, 1, 2, -1, 256));

Method RowOf(const RecordsMethod& method) {
  return {.name = method.name,
          .lookups = LookUpClass(kTimeClass) + LookUpClass(kRecordClass) +
                     LookUpFields(kTimeClass) + LookUpFields(kRecordClass),
          .lookups_first = false,
          .api = {"pt3_query_tag_type(7, out)", ApiLine(method, 2)},
          .failures = {{},
                       {.of = "pt3_query_tag_type",
                        .left = method.leaks_records ? Blocks{128} : Blocks{}}},
          .call = [&method] {
            TagsHaveType(2);
            return method.call(2, Records());
          }};
}

}  // namespace

Methods RawHistoryMethods() {
  return {
      {.name = "queryRawRecordsCount",
       .lookups = LookUpClass(kTimeClass) + LookUp(kIntWrapperClass) + LookUpFields(kTimeClass),
       .api = {"ar3_query_raw_records_number(4294967295, " + kRegion + ", 0)"},
       .call = [] { return Count(CountHolder()); }},
      RowOf(kInterval),
      RowOf(kFromATime),
  };
}

}  // namespace zervane::bridge_test
