#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

constexpr size_t kBuffer = 1000;

// ---- one tag ----

jint Query(const Ref& record, jint tag = 7, jbyte type = 0) {
  return Call(ZR(querySnapShot), tag, type, record);
}

Ref JavaTarget() { return JavaRecord("record", 1); }

// Makes the API answer ApiRecord(type, 1000).
void AnswerSnapshot(ZR3_TAG_TYPE type) {
  TagsHaveType(type);
  Api().On<sn3_query_snapshot>([type](uint32, ZR3Record* record) {
    *record = ApiRecord(type, 1000);
    return 0;
  });
}

class Snapshot : public BridgeTest {};

class NumericSnapshot : public Snapshot, public testing::WithParamInterface<ZR3_TAG_TYPE> {};

TEST_P(NumericSnapshot, WritesTheHeaderAndTheFieldOfItsType) {
  AnswerSnapshot(GetParam());
  EXPECT_EQ(Query(JavaTarget(), -1), 0);
  EXPECT_TRUE(SameLines(
      Lines{"pt3_query_tag_type(4294967295, out)", "sn3_query_snapshot(4294967295, ZR3Record)"} +
          RecordSets("record", GetParam(), 1000),
      Log().Steps()));
  EXPECT_EQ(Probe().count(), 0);
}

TEST_P(NumericSnapshot, IsAskedForWithAClearedRecordOfTheServersType) {
  AnswerSnapshot(GetParam());
  Query(JavaTarget());
  ZR3Record expected;
  memset(&expected, 0, sizeof expected);
  expected.nTagType = GetParam();
  EXPECT_TRUE(SameRecord(expected, Api().Sent<ZR3Record>().at(0)));
}

INSTANTIATE_TEST_SUITE_P(Type, NumericSnapshot, testing::Range(0, 6));

TEST_F(Snapshot, TheTypeArgumentHasNoEffect) {
  AnswerSnapshot(ZR3_TAG_TYPE_FLOAT64);
  const Ref record = JavaTarget();
  EXPECT_EQ(Query(record, 7, ZR3_TAG_TYPE_INT8), 0);
  EXPECT_EQ(record.Int("nTagType"), 4);
  EXPECT_EQ(record.Real("fFloat64"), -6.125);
}

TEST_F(Snapshot, FieldsOfOtherTypesKeepWhatTheyHeld) {
  AnswerSnapshot(ZR3_TAG_TYPE_INT8);
  const Ref record = JavaTarget().Set("nInt32", 12345);
  Query(record);
  EXPECT_EQ(record.Int("nInt32"), 12345);
  EXPECT_EQ(record.Text("strValue"), "abc");
}

TEST_F(Snapshot, AQualityIsZeroExtendedAndMillisecondsAreSigned) {
  TagsHaveType(ZR3_TAG_TYPE_INT8);
  Api().On<sn3_query_snapshot>([](uint32, ZR3Record* record) {
    record->nSec = -5;
    record->nMsec = -6;
    record->nQuality = 65535;
    return 0;
  });
  const Ref record = JavaTarget();
  Query(record);
  EXPECT_EQ(record.Int("nQuality"), 65535);
  EXPECT_EQ(record.Int("nSec"), -5);
  EXPECT_EQ(record.Int("nMsec"), -6);
}

TEST_F(Snapshot, ATypeBeyondTheListWritesTheHeaderAlone) {
  for (const ZR3_TAG_TYPE type : {-1, 8, 0x106}) {
    AnswerSnapshot(type);
    Query(JavaTarget());
    const std::string low_byte = std::to_string(static_cast<int8>(type));
    EXPECT_TRUE(SameLines(Sets("record", {"Int nSec = 1000", "Short nMsec = 250",
                                          "Int nQuality = 192", "Byte nTagType = " + low_byte}),
                          Log().Writes()));
  }
}

TEST_F(Snapshot, TheFieldFollowsTheTypeThatTheReadLeftInTheRecord) {
  TagsHaveType(ZR3_TAG_TYPE_INT8);
  Api().On<sn3_query_snapshot>([](uint32, ZR3Record* record) {
    *record = ApiRecord(ZR3_TAG_TYPE_INT32, 1000);
    return 0;
  });
  Query(JavaTarget());
  EXPECT_TRUE(SameLines(RecordSets("record", ZR3_TAG_TYPE_INT32, 1000), Log().Writes()));
}

// Fills the buffer of a STRING or BLOB as a read does.
int32 FillBuffer(ZR3Record* record, const std::string& bytes) {
  EXPECT_EQ(record->value.strBlob.nLenBuf, kBuffer);
  memcpy(record->value.strBlob.pBuf, bytes.data(), bytes.size());
  record->value.strBlob.nLenBuf = static_cast<uint16>(bytes.size());
  return 0;
}

TEST_F(Snapshot, AStringIsReadFromABufferOf1000Bytes) {
  TagsHaveType(ZR3_TAG_TYPE_STRING);
  Api().On<sn3_query_snapshot>([](uint32, ZR3Record* record) {
    EXPECT_EQ(Probe().SizeAt(record->value.strBlob.pBuf), kBuffer);
    return FillBuffer(record, std::string("OPEN\0", 5));
  });
  const Ref record = JavaTarget();
  EXPECT_EQ(Query(record), 0);
  EXPECT_EQ(record.Text("strValue"), "open");
  EXPECT_EQ(Log().Writes().back(), "SetObjectField record.strValue = \"open\"");
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(Snapshot, ABlobKeepsTheLengthThatTheReadReported) {
  TagsHaveType(ZR3_TAG_TYPE_BLOB);
  Api().On<sn3_query_snapshot>(
      [](uint32, ZR3Record* record) { return FillBuffer(record, std::string("\x80\0\x7F", 3)); });
  const Ref record = JavaTarget();
  EXPECT_EQ(Query(record), 0);
  EXPECT_EQ(record.Bytes("byteValue"), (std::vector<jbyte>{-128, 0, 127}));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(Snapshot, AFailedReadOfAStringFreesItsBufferAndWritesNothing) {
  TagsHaveType(ZR3_TAG_TYPE_STRING);
  Api().Answer("sn3_query_snapshot", ZR3_ERR_NO_RECORD);
  EXPECT_EQ(Query(JavaTarget()), ZR3_ERR_NO_RECORD);
  EXPECT_TRUE(SameLines({}, Log().Writes()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(Snapshot, WithoutMemoryForTheBufferTheReadIsSkippedAndReportedAsSuccess) {
  for (const ZR3_TAG_TYPE type : {ZR3_TAG_TYPE_STRING, ZR3_TAG_TYPE_BLOB}) {
    TagsHaveType(type);
    Probe().FailNth(1);
    EXPECT_EQ(Query(JavaTarget()), 0);
    EXPECT_TRUE(SameLines({"pt3_query_tag_type(7, out)"}, Log().Steps()));
  }
}

TEST_F(Snapshot, TheTypeArgumentIsWhatTheLookUpFinds) {
  Api().On<pt3_query_tag_type>([](uint32, ZR3_TAG_TYPE* type) {
    EXPECT_EQ(*type, ZR3_TAG_TYPE_FLOAT32);
    *type = ZR3_TAG_TYPE_INT8;
    return 0;
  });
  Query(JavaTarget(), 7, ZR3_TAG_TYPE_FLOAT32);
}

TEST_F(Snapshot, TheBufferGoesWithTheTypeThatWasLookedUp) {
  TagsHaveType(ZR3_TAG_TYPE_STRING);
  Api().On<sn3_query_snapshot>([](uint32, ZR3Record* sent) {
    sent->nTagType = ZR3_TAG_TYPE_INT8;
    return 0;
  });
  Query(JavaTarget());
  EXPECT_EQ(Left(), Blocks{});
  TagsHaveType(ZR3_TAG_TYPE_INT8);
  char text[] = "S";
  Api().On<sn3_query_snapshot>([&text](uint32, ZR3Record* sent) {
    sent->nTagType = ZR3_TAG_TYPE_STRING;
    sent->value.strBlob.pBuf = text;  // not the bridge's to free
    return 0;
  });
  const Ref record = JavaTarget();
  Query(record);
  EXPECT_EQ(record.Text("strValue"), "s");
}

// ---- many tags ----

struct Batch {
  Ref ids = Java().Ints("ids", {11, 12, 13});
  Ref records = Java().Array("records", {JavaRecord("mine", 1), Ref(), Ref(), JavaTarget()});
  Ref codes = Java().Ints("codes", {-1, -2, -3, -4});

  jint Query(jint count) { return Call(ZR(querySnapShots), ids, count, records, codes); }
};

// Answers every record by its type, and the codes 0, 100, 200...
void AnswerSnapshots(int32 status) {
  Api().On<sn3_query_snapshots>(
      [status](int32 count, const uint32*, ZR3Record* records, int32* codes) {
        for (int32 i = 0; i < count; ++i) {
          codes[i] = 100 * i;
          const ZR3StrBlob buffer = records[i].value.strBlob;
          records[i] = ApiRecord(records[i].nTagType, 1000 + i);
          records[i].value.strBlob = buffer;
          if (buffer.pBuf != nullptr) FillBuffer(&records[i], std::string("S\0", 2));
        }
        return status;
      });
}

using Snapshots = Snapshot;

TEST_F(Snapshots, AreReadInOneCallAfterTheirTypes) {
  TagsHaveTypes({{11, 0}, {12, 6}, {13, 4}});
  AnswerSnapshots(0);
  Batch batch;
  EXPECT_EQ(batch.Query(3), 0);
  EXPECT_TRUE(SameLines(
      Lines{"GetIntArrayRegion ids 0 3", "pt3_query_tag_type(11, out)",
            "pt3_query_tag_type(12, out)", "pt3_query_tag_type(13, out)",
            "sn3_query_snapshots(3, {11, 12, 13}, ZR3Record[3], out)",
            "SetIntArrayRegion codes 0 {0, 100, 200}", "AllocObject ZRJniRecord#1"} +
          RecordSets("ZRJniRecord#1", 0, 1000) +
          Lines{"SetObjectArrayElement records[0] = ZRJniRecord#1", "AllocObject ZRJniRecord#2"} +
          Sets("ZRJniRecord#2", {"Int nSec = 1001", "Short nMsec = 250", "Int nQuality = 192",
                                 "Byte nTagType = 6", "Object strValue = \"s\""}) +
          Lines{"SetObjectArrayElement records[1] = ZRJniRecord#2", "AllocObject ZRJniRecord#3"} +
          RecordSets("ZRJniRecord#3", 4, 1002) +
          Lines{"SetObjectArrayElement records[2] = ZRJniRecord#3"},
      Log().Steps()));
}

TEST_F(Snapshots, ReplaceTheObjectsOfTheCallerAndNoneBeyondTheCount) {
  TagsHaveType(0);
  AnswerSnapshots(0);
  Batch batch;
  batch.Query(3);
  EXPECT_EQ(batch.records->elements[0]->label, "ZRJniRecord#1");
  EXPECT_EQ(batch.records->elements[3]->label, "record");
  EXPECT_EQ(batch.codes->ints[3], -4);
  EXPECT_FALSE(Ref(batch.records->elements[0]).Has("strValue"));
  EXPECT_FALSE(Ref(batch.records->elements[0]).Has("byteValue"));
}

TEST_F(Snapshots, AreSentClearedButForTypeAndBuffer) {
  TagsHaveTypes({{11, 2}, {12, 7}});
  Batch().Query(2);
  ZR3Record expected;
  memset(&expected, 0, sizeof expected);
  expected.nTagType = 2;
  EXPECT_TRUE(SameRecord(expected, Api().Sent<ZR3Record>().at(0)));
  const ZR3Record& blob = Api().Sent<ZR3Record>().at(1);
  EXPECT_NE(blob.value.strBlob.pBuf, nullptr);
  EXPECT_EQ(blob.value.strBlob.nLenBuf, kBuffer);
}

TEST_F(Snapshots, ATagOfUnknownTypeIsSentAsIdentifier0) {
  TagsHaveTypes({{11, 0}, {13, 4}});
  AnswerSnapshots(ZR3_ERR_SOME_RECORDS_FAILED);
  Batch batch;
  EXPECT_EQ(batch.Query(3), ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(Log().Api().back(), "sn3_query_snapshots(3, {11, 0, 13}, ZR3Record[3], out)");
  EXPECT_EQ(batch.ids->ints, (std::vector<jint>{11, 12, 13}));
  EXPECT_EQ(batch.codes->ints, (std::vector<jint>{0, 100, 200, -4}));
}

TEST_F(Snapshots, AFailedReadStoresCodesAndNewObjectsAllTheSame) {
  TagsHaveTypes({{11, 0}, {12, 6}, {13, 7}});
  Api().On<sn3_query_snapshots>([](int32, const uint32*, ZR3Record*, int32* codes) {
    codes[0] = codes[1] = codes[2] = 5;
    return 119999;
  });
  Batch batch;
  EXPECT_EQ(batch.Query(3), 119999);
  EXPECT_EQ(batch.codes->ints, (std::vector<jint>{5, 5, 5, -4}));
  EXPECT_EQ(Ref(batch.records->elements[0]).Int("nSec"), 0);
  EXPECT_EQ(Ref(batch.records->elements[1]).Text("strValue"), "");
  EXPECT_EQ(Ref(batch.records->elements[2]).Bytes("byteValue"), std::vector<jbyte>(1000, 0));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(Snapshots, OfNoTagsAreAnEmptyBatch) {
  Api().Answer("sn3_query_snapshots", 4711);
  Batch batch;
  EXPECT_EQ(batch.Query(0), 4711);
  EXPECT_TRUE(
      SameLines({"GetIntArrayRegion ids 0 0", "sn3_query_snapshots(0, {}, ZR3Record[0], out)",
                 "SetIntArrayRegion codes 0 {}"},
                Log().Steps()));
}

TEST_F(Snapshots, TheErrorCodesAreNotClearedBeforeTheRead) {
  TagsHaveType(0);
  Api().On<sn3_query_snapshots>([](int32, const uint32*, ZR3Record*, int32* codes) {
    EXPECT_TRUE(Untouched(codes, 3 * sizeof(int32)));
    return 0;
  });
  Batch().Query(3);
}

TEST_F(Snapshots, ABufferGoesWithTheTypeThatTheReadLeftInTheRecord) {
  TagsHaveTypes({{11, 6}, {12, 2}});
  Api().On<sn3_query_snapshots>([](int32, const uint32*, ZR3Record* records, int32*) {
    records[0].nTagType = ZR3_TAG_TYPE_INT8;
    return 0;
  });
  Batch().Query(2);
  EXPECT_EQ(Left(), Blocks{kBuffer});
}

struct FailedAllocation {
  int nth;
  Blocks left;
  Lines steps;
};

class SnapshotsWithoutMemory : public Snapshots,
                               public testing::WithParamInterface<FailedAllocation> {};

TEST_P(SnapshotsWithoutMemory, FailWithMinusOneAndWriteNothing) {
  TagsHaveTypes({{11, 6}, {12, 0}, {13, 7}});
  Probe().FailNth(GetParam().nth);
  EXPECT_EQ(Batch().Query(3), -1);
  EXPECT_EQ(Left(), GetParam().left);
  EXPECT_TRUE(SameLines(GetParam().steps, Log().Steps()));
}

INSTANTIATE_TEST_SUITE_P(
    Allocation, SnapshotsWithoutMemory,
    testing::Values(FailedAllocation{1, {}, {}},                             // identifiers
                    FailedAllocation{2, {}, {"GetIntArrayRegion ids 0 3"}},  // records
                    FailedAllocation{3, {}, {"GetIntArrayRegion ids 0 3"}},  // error codes
                    FailedAllocation{4,
                                     {},  // the buffer of the first record
                                     {"GetIntArrayRegion ids 0 3", "pt3_query_tag_type(11, out)"}},
                    FailedAllocation{
                        5,
                        {kBuffer},  // of the third: the first one's is kept
                        {"GetIntArrayRegion ids 0 3", "pt3_query_tag_type(11, out)",
                         "pt3_query_tag_type(12, out)", "pt3_query_tag_type(13, out)"}}));

}  // namespace

Methods SnapshotReadingMethods() {
  const Lines types = {"pt3_query_tag_type(11, out)", "pt3_query_tag_type(12, out)"};
  const Lines writes = {"SetIntArrayRegion codes 0 {0, 0}"};
  return {
      {.name = "querySnapShot",
       .lookups = LookUp(kRecordClass),
       .api = {"pt3_query_tag_type(7, out)", "sn3_query_snapshot(7, ZR3Record)"},
       .failures = {{}, {.of = "pt3_query_tag_type"}},
       .call =
           [] {
             AnswerSnapshot(ZR3_TAG_TYPE_INT16);
             return Query(JavaTarget());
           }},
      {.name = "querySnapShots",
       .lookups = LookUp(kRecordClass),
       .api = types + Lines{"sn3_query_snapshots(2, {11, 12}, ZR3Record[2], out)"},
       .failures = {},  // the records are written all the same: above
       .call =
           [] {
             TagsHaveType(6);
             AnswerSnapshots(0);
             return Batch().Query(2);
           }},
  };
}

}  // namespace zervane::bridge_test
