#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

// ---- many records ----

// The three methods that take a tag for each record.
struct BatchMethod {
  const char* name;
  const char* api;
  bool clears_codes;  // and has them before the records are read
  jint (*call)(const Ref& ids, jint count, const Ref& records, const Ref& codes);
};

const BatchMethod kSaveSnapshots = {
    "saveSnapshots", "sn3_save_snapshots", true,
    [](const Ref& ids, jint count, const Ref& records, const Ref& codes) {
      return Call(ZR(saveSnapshots), ids, count, records, codes);
    }};
const BatchMethod kSaveNowait = {
    "saveSnapshotsNowait", "sn3_save_snapshots_nowait", true,
    [](const Ref& ids, jint count, const Ref& records, const Ref& codes) {
      return Call(ZR(saveSnapshotsNowait), ids, count, records, codes);
    }};
const BatchMethod kSaveTagsDisorder = {
    "saveTagsDisorderSnapshots", "sn3_save_tags_disorder_snapshots", false,
    [](const Ref& ids, jint count, const Ref& records, const Ref& codes) {
      return Call(ZR(saveTagsDisorderSnapshots), count, ids, records, codes);
    }};

struct Batch {
  Ref ids = Java().Ints("ids", {11, 12, 13, 14});
  Ref records = Java().Array(
      "records", {JavaRecord("r0", 1000), JavaRecord("r1", 1001), JavaRecord("r2", 1002), Ref()});
  Ref codes = Java().Ints("codes", {-1, -2, -3, -4});

  jint Save(const BatchMethod& method, jint count) {
    return method.call(ids, count, records, codes);
  }
};

std::string ApiLine(const BatchMethod& method, const std::string& ids, int count) {
  const std::string codes = count == 0 ? "{}" : count == 2 ? "{0, 0}" : "{0, 0, 0}";
  return std::string(method.api) + "(" + std::to_string(count) + ", " + ids + ", ZR3Record[" +
         std::to_string(count) + "], " + (method.clears_codes ? codes : "out") + ")";
}

// Taking element i of the batch: an object made and dropped, then the element's fields.
Lines Taken(int i, const std::string& get) {
  const std::string label = "r" + std::to_string(i);
  return Lines{"AllocObject ZRJniRecord#" + std::to_string(i + 1),
               "GetObjectArrayElement records[" + std::to_string(i) + "]"} +
         RecordHeaderGets(label) + Gets(label, {get});
}

// Makes every save answer that status and the codes 0, 100, 200...
void AnswerSaves(int32 status) {
  const auto answer = [status](int32 count, const uint32*, const ZR3Record*, int32* codes) {
    for (int32 i = 0; i < count; ++i) codes[i] = 100 * i;
    return status;
  };
  Api().On<sn3_save_snapshots>(answer);
  Api().On<sn3_save_snapshots_nowait>(answer);
  Api().On<sn3_save_tags_disorder_snapshots>(answer);
}

class SaveBatch : public BridgeTest, public testing::WithParamInterface<BatchMethod> {
 protected:
  const BatchMethod& method() { return GetParam(); }

  // The type look-ups fail from the nth on (from 1); the tags are STRINGs.
  static void TypesFailFrom(int nth) {
    Api().On<pt3_query_tag_type>([calls = 0, nth](uint32, ZR3_TAG_TYPE* type) mutable {
      *type = ZR3_TAG_TYPE_STRING;
      return ++calls >= nth ? kSomeError : 0;
    });
  }
};

TEST_P(SaveBatch, AsksTheTypesConvertsSendsStoresTheCodesAndAsksTheTypesAgain) {
  TagsHaveTypes({{11, 2}, {12, 6}, {13, 0}});
  AnswerSaves(0);
  EXPECT_EQ(Batch().Save(method(), 3), 0);
  EXPECT_TRUE(SameLines(
      Lines{"GetIntArrayRegion ids 0 3", "pt3_query_tag_type(11, out)"} + Taken(0, "Int nInt32") +
          Lines{"pt3_query_tag_type(12, out)"} + Taken(1, "Object strValue") +
          Lines{"pt3_query_tag_type(13, out)"} + Taken(2, "Byte nInt8") +
          Lines{ApiLine(method(), "{11, 12, 13}", 3), "SetIntArrayRegion codes 0 {0, 100, 200}",
                "pt3_query_tag_type(11, out)", "pt3_query_tag_type(12, out)",
                "pt3_query_tag_type(13, out)"},
      Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(SaveBatch, SendsClearedRecordsWithTheServersTypes) {
  TagsHaveTypes({{11, 2}, {12, 4}});
  Batch().Save(method(), 2);
  ZR3Record expected[2];
  memset(expected, 0, sizeof expected);
  expected[0].nSec = 1000;
  expected[0].nTagType = 2;
  expected[0].value.nInt32 = -320000;
  expected[1].nSec = 1001;
  expected[1].nTagType = 4;
  expected[1].value.fFloat64 = -6.125;
  for (ZR3Record& record : expected) {
    record.nMsec = 250;
    record.nQuality = 0xC0;
  }
  const auto& sent = Api().Sent<ZR3Record>();
  EXPECT_TRUE(SameBytes(expected, sent.data(), sizeof expected));
}

TEST_P(SaveBatch, AFailedSaveStoresTheCodesAllTheSame) {
  TagsHaveType(6);
  AnswerSaves(119610);
  Batch batch;
  EXPECT_EQ(batch.Save(method(), 3), 119610);
  EXPECT_EQ(batch.codes->ints, (std::vector<jint>{0, 100, 200, -4}));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(SaveBatch, AnUnknownTagFailsTheWholeBatchBeforeAnythingIsSent) {
  TypesFailFrom(2);
  Batch batch;
  EXPECT_EQ(batch.Save(method(), 3), kSomeError);
  EXPECT_TRUE(SameLines(Lines{"GetIntArrayRegion ids 0 3", "pt3_query_tag_type(11, out)"} +
                            Taken(0, "Object strValue") + Lines{"pt3_query_tag_type(12, out)"},
                        Log().Steps()));
  EXPECT_EQ(Left(), Blocks{TextBlock(3)});  // the first record's string
}

TEST_P(SaveBatch, ATypeThatCannotBeHadAgainHidesTheStatusAndLeaksTheRemainingValues) {
  TypesFailFrom(3 + 2);
  AnswerSaves(119610);
  Batch batch;
  EXPECT_EQ(batch.Save(method(), 3), kSomeError);
  EXPECT_EQ(Log().Api().back(), "pt3_query_tag_type(12, out)");
  EXPECT_EQ(batch.codes->ints, (std::vector<jint>{0, 100, 200, -4}));
  EXPECT_EQ(Left(), (Blocks{TextBlock(3), TextBlock(3)}));
}

TEST_P(SaveBatch, TheSecondTypeDecidesWhatIsFreed) {
  Api().On<pt3_query_tag_type>([calls = 0](uint32, ZR3_TAG_TYPE* type) mutable {
    *type = ++calls <= 2 ? ZR3_TAG_TYPE_STRING : ZR3_TAG_TYPE_INT8;
    return 0;
  });
  Batch().Save(method(), 2);
  EXPECT_EQ(Left(), (Blocks{TextBlock(3), TextBlock(3)}));
}

TEST_P(SaveBatch, OfNoRecordsIsSentAsAnEmptyOne) {
  Api().Answer(method().api, 4711);
  EXPECT_EQ(Batch().Save(method(), 0), 4711);
  EXPECT_TRUE(SameLines(
      {"GetIntArrayRegion ids 0 0", ApiLine(method(), "{}", 0), "SetIntArrayRegion codes 0 {}"},
      Log().Steps()));
}

TEST_P(SaveBatch, WithoutMemoryForTheIdentifiersNothingIsRead) {
  Probe().FailNth(1);
  EXPECT_EQ(Batch().Save(method(), 2), -1);
  EXPECT_TRUE(SameLines({}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(SaveBatch, WithoutMemoryForTheRecordsNothingIsAsked) {
  Probe().FailNth(2);
  EXPECT_EQ(Batch().Save(method(), 2), -1);
  EXPECT_TRUE(SameLines({"GetIntArrayRegion ids 0 2"}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

INSTANTIATE_TEST_SUITE_P(Method, SaveBatch,
                         testing::Values(kSaveSnapshots, kSaveNowait, kSaveTagsDisorder),
                         [](const auto& row) { return std::string(row.param.name); });

class SaveInOrder : public SaveBatch {};

TEST_P(SaveInOrder, WithoutMemoryForTheCodesLeaksTheRecords) {
  Probe().FailNth(3);
  EXPECT_EQ(Batch().Save(method(), 2), -1);
  EXPECT_TRUE(SameLines({"GetIntArrayRegion ids 0 2"}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{2 * sizeof(ZR3Record)});
}

INSTANTIATE_TEST_SUITE_P(Method, SaveInOrder, testing::Values(kSaveSnapshots, kSaveNowait),
                         [](const auto& row) { return std::string(row.param.name); });

class SaveTagsDisorder : public BridgeTest {};

TEST_F(SaveTagsDisorder, DoesNotClearItsCodes) {
  TagsHaveType(0);
  Api().On<sn3_save_tags_disorder_snapshots>(
      [](int32, const uint32*, const ZR3Record*, int32* codes) {
        EXPECT_TRUE(Untouched(codes, 2 * sizeof(int32)));
        return 0;
      });
  EXPECT_EQ(Batch().Save(kSaveTagsDisorder, 2), 0);
}

TEST_F(SaveTagsDisorder, TakesItsCodesAfterTheRecordsWereRead) {
  Api().Answer("pt3_query_tag_type", kSomeError);
  Batch().Save(kSaveTagsDisorder, 2);
  EXPECT_EQ(Probe().count(), 2);  // identifiers and records
}

TEST_F(SaveTagsDisorder, CodesThatCannotBeHadAreSentAsNull) {
  Probe().FailNth(3);
  EXPECT_EQ(Batch().Save(kSaveTagsDisorder, 0), 0);
  EXPECT_EQ(Log().Api().back(), "sn3_save_tags_disorder_snapshots(0, {}, ZR3Record[0], null)");
}

// ---- many records of one tag ----

jint SaveDisorder(jint count) { return Call(ZR(saveDisorderSnapshots), count, 7, Batch().records); }

class SaveDisorderly : public BridgeTest {};

TEST_F(SaveDisorderly, AsksTheTypeOnceAndKeepsTheCodesToItself) {
  TagsHaveType(6);
  Api().On<sn3_save_disorder_snapshots>([](int32, uint32, const ZR3Record* sent, int32* codes) {
    EXPECT_TRUE(Untouched(codes, 2 * sizeof(int32)));
    EXPECT_EQ(BufferOf(sent[1]), std::string("ABC\0", 4));
    codes[0] = codes[1] = 119605;
    return 0;
  });
  EXPECT_EQ(SaveDisorder(2), 0);
  EXPECT_TRUE(SameLines(Lines{"pt3_query_tag_type(7, out)"} + Taken(0, "Object strValue") +
                            Taken(1, "Object strValue") +
                            Lines{"sn3_save_disorder_snapshots(2, 7, ZR3Record[2], out)"},
                        Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(SaveDisorderly, SendsClearedRecords) {
  TagsHaveType(5);
  SaveDisorder(1);
  ZR3Record expected;
  memset(&expected, 0, sizeof expected);
  expected.nSec = 1000;
  expected.nMsec = 250;
  expected.nQuality = 0xC0;
  expected.nTagType = 5;
  expected.value.nDigital = 17;
  EXPECT_TRUE(SameRecord(expected, Api().Sent<ZR3Record>().at(0)));
}

TEST_F(SaveDisorderly, AFailedSaveFreesTheValues) {
  TagsHaveType(7);
  Api().Answer("sn3_save_disorder_snapshots", 4711);
  EXPECT_EQ(SaveDisorder(3), 4711);
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(SaveDisorderly, AnUnknownTagSendsNothing) {
  Api().Answer("pt3_query_tag_type", kSomeError);
  EXPECT_EQ(SaveDisorder(2), kSomeError);
  EXPECT_TRUE(SameLines({"pt3_query_tag_type(7, out)"}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(SaveDisorderly, WithoutMemoryForTheRecordsNothingIsAsked) {
  Probe().FailNth(1);
  EXPECT_EQ(SaveDisorder(2), -1);
  EXPECT_TRUE(SameLines({}, Log().Steps()));
}

TEST_F(SaveDisorderly, TakesItsCodesAfterTheRecordsWereRead) {
  TagsHaveType(6);
  Probe().FailNth(4);  // after the records and their two strings
  EXPECT_EQ(SaveDisorder(2), 0);
  EXPECT_EQ(Log().Api().back(), "sn3_save_disorder_snapshots(2, 7, ZR3Record[2], null)");
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(SaveDisorderly, CodesThatCannotBeHadAreSentAsNull) {
  TagsHaveType(0);
  Probe().FailNth(2);
  EXPECT_EQ(SaveDisorder(2), 0);
  EXPECT_EQ(Log().Api().back(), "sn3_save_disorder_snapshots(2, 7, ZR3Record[2], null)");
  EXPECT_EQ(Left(), Blocks{});
}

Method RowOf(const BatchMethod& method) {
  const Lines types = {"pt3_query_tag_type(11, out)", "pt3_query_tag_type(12, out)"};
  const std::string codes = method.clears_codes ? "{0, 0}" : "{0, 100}";
  return {.name = method.name,
          .lookups = LookUp(kRecordClass),
          .api = types + Lines{ApiLine(method, "{11, 12}", 2)} + types,
          .failures = {{.of = "pt3_query_tag_type"}},  // and of the save: above
          .call = [&method] {
            TagsHaveType(6);
            AnswerSaves(0);
            return Batch().Save(method, 2);
          }};
}

}  // namespace

Methods SnapshotWritingMethods() {
  const auto save_disorder = [] {
    TagsHaveType(7);
    return SaveDisorder(2);
  };
  return {
      RowOf(kSaveSnapshots),
      RowOf(kSaveNowait),
      {.name = "saveDisorderSnapshots",
       .lookups = LookUp(kRecordClass),
       .api = {"pt3_query_tag_type(7, out)",
               "sn3_save_disorder_snapshots(2, 7, ZR3Record[2], out)"},
       .failures = {{}, {.of = "pt3_query_tag_type"}},
       .call = save_disorder},
      RowOf(kSaveTagsDisorder),
  };
}

}  // namespace zervane::bridge_test
