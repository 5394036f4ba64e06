#include <optional>

#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

constexpr size_t kSlot = 1000;
constexpr int32 kSomeFailed = 119611;

struct Batch {
  Ref ids = Java().Ints("ids", {11, -12, 13});
  Ref records = Java().Array(
      "records", {JavaRecord("r0", 100), JavaRecord("r1", 101), JavaRecord("mine", 102)});
  Ref codes = Java().Ints("codes", {-1, -2, -3});
};

// The three methods; those of one tag take a type that they ignore.
struct InterpolationMethod {
  const char* name;
  std::string function;
  std::string before;  // arguments of the API call, before the records
  bool many_tags;
  bool presets_first_type;
  int32 partial_result;  // what a partial success returns
  jint (*call)(const Batch& batch, jint count);
};

const InterpolationMethod kLinear = {"queryInterpRecords",
                                     "ar3_query_interp_records_by_mode",
                                     "0, 7, ",
                                     false,
                                     true,
                                     0,
                                     [](const Batch& batch, jint count) {
                                       return Call(ZR(queryInterpRecords), 7, 5, count,
                                                   batch.records, batch.codes);
                                     }};
const InterpolationMethod kByMode = {"queryInterpRecordsByMode",
                                     "ar3_query_interp_records_by_mode",
                                     "1, 7, ",
                                     false,
                                     false,
                                     0,
                                     [](const Batch& batch, jint count) {
                                       return Call(ZR(queryInterpRecordsByMode), 7, 5, count,
                                                   batch.records, batch.codes, 1);
                                     }};
const InterpolationMethod kManyTags = {"queryTagsInterpRecordsByMode",
                                       "ar3_query_tags_interp_records_by_mode",
                                       "1, {11, 4294967284}, ",
                                       true,
                                       false,
                                       kSomeFailed,
                                       [](const Batch& batch, jint count) {
                                         return Call(ZR(queryTagsInterpRecordsByMode), 1, batch.ids,
                                                     count, batch.records, batch.codes);
                                       }};

std::string ApiLine(const InterpolationMethod& method) {
  return method.function + "(" + method.before + "ZR3Record[2], {0, 0})";
}

Lines TypeLines(const InterpolationMethod& method) {
  return method.many_tags
             ? Lines{"pt3_query_tag_type(11, out)", "pt3_query_tag_type(4294967284, out)"}
             : Lines{"pt3_query_tag_type(7, out)"};
}

// What precedes the look-up of the types, of which the fake answers the first.
Lines Pinned(const InterpolationMethod& method) {
  return method.many_tags ? Lines{"GetIntArrayElements ids"} : Lines{};
}

Lines InstantsTaken() {
  const Lines time = {"Int nSec", "Short nMsec"};
  return Lines{"AllocObject ZRJniRecord#1", "GetObjectArrayElement records[0]"} + Gets("r0", time) +
         Lines{"AllocObject ZRJniRecord#2", "GetObjectArrayElement records[1]"} + Gets("r1", time);
}

using Fill = std::function<void(ZR3Record* records, int32* codes)>;

// Makes every query fill two records so and answer that status.
void AnswerQueries(int32 status, const Fill& fill) {
  Api().On<ar3_query_interp_records_by_mode>(
      [=](auto, uint32, int32, ZR3Record* records, int32* codes) {
        fill(records, codes);
        return status;
      });
  Api().On<ar3_query_tags_interp_records_by_mode>(
      [=](auto, int32, auto, ZR3Record* records, int32* codes) {
        fill(records, codes);
        return status;
      });
}

void FillNumbers(ZR3Record* records, int32* /*codes*/) {
  records[0] = ApiRecord(2, 1000);
  records[1] = ApiRecord(4, 1001);
}

void FailTheFirst(ZR3Record* records, int32* codes) {
  FillNumbers(records, codes);
  codes[0] = 119603;
}

class Interpolation : public BridgeTest, public testing::WithParamInterface<InterpolationMethod> {
 protected:
  const InterpolationMethod& method() { return GetParam(); }
  jint Query(jint count = 2) { return method().call(*batch_, count); }

  Batch& batch() { return *batch_; }

  void SetUp() override {
    BridgeTest::SetUp();
    batch_.emplace();
  }

 private:
  std::optional<Batch> batch_;
};

TEST_P(Interpolation, TakesTheInstantsAndReplacesTheObjects) {
  TagsHaveType(2);
  AnswerQueries(0, FillNumbers);
  EXPECT_EQ(Query(), 0);
  EXPECT_TRUE(SameLines(
      Pinned(method()) + TypeLines(method()) + InstantsTaken() +
          Lines{ApiLine(method()), "SetIntArrayRegion codes 0 {0, 0}",
                "AllocObject ZRJniRecord#3"} +
          RecordSets("ZRJniRecord#3", 2, 1000) +
          Lines{"SetObjectArrayElement records[0] = ZRJniRecord#3", "AllocObject ZRJniRecord#4"} +
          RecordSets("ZRJniRecord#4", 4, 1001) +
          Lines{"SetObjectArrayElement records[1] = ZRJniRecord#4"},
      Log().Steps()));
  EXPECT_EQ(batch().records->elements[2]->label, "mine");
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(Interpolation, SendsClearedRecordsWithTheirTimes) {
  TagsHaveType(3);
  Query();
  ZR3Record expected[2];
  memset(expected, 0, sizeof expected);
  for (int i = 0; i < 2; ++i) {
    expected[i].nSec = 100 + i;
    expected[i].nMsec = 250;
  }
  if (method().presets_first_type) expected[0].nTagType = 3;
  EXPECT_TRUE(SameBytes(expected, Api().Sent<ZR3Record>().data(), sizeof expected));
}

TEST_P(Interpolation, APartialSuccessIsDeliveredAndAFailedInstantHasItsTimeAlone) {
  TagsHaveType(2);
  AnswerQueries(kSomeFailed, FailTheFirst);
  EXPECT_EQ(Query(), method().partial_result);
  EXPECT_EQ(batch().codes->ints, (std::vector<jint>{119603, 0, -3}));
  EXPECT_TRUE(SameLines(Lines{"SetIntArrayRegion codes 0 {119603, 0}"} +
                            Sets("ZRJniRecord#3", {"Int nSec = 1000", "Short nMsec = 250"}) +
                            Lines{"SetObjectArrayElement records[0] = ZRJniRecord#3"} +
                            RecordSets("ZRJniRecord#4", 4, 1001) +
                            Lines{"SetObjectArrayElement records[1] = ZRJniRecord#4"},
                        Log().Writes()));
  EXPECT_EQ(batch().records->elements[0]->fields.size(), 2U);
}

TEST_P(Interpolation, AFailedInstantIsToldByItsCodeAloneUnderStatus0Too) {
  TagsHaveType(2);
  AnswerQueries(0, FailTheFirst);
  EXPECT_EQ(Query(), 0);
  EXPECT_EQ(batch().records->elements[0]->fields.size(), 2U);
}

TEST_P(Interpolation, AnyOtherStatusWritesNothing) {
  TagsHaveType(6);
  AnswerQueries(119602, FailTheFirst);
  EXPECT_EQ(Query(), 119602);
  EXPECT_TRUE(SameLines({}, Log().Writes()));
  EXPECT_EQ(Left(), method().many_tags ? Blocks{2 * kSlot} : Blocks{});
}

TEST_P(Interpolation, ATypeBeyondTheListWritesNoValue) {
  TagsHaveType(2);
  AnswerQueries(0, [](ZR3Record* records, int32*) { records[0].nTagType = 8; });
  Query();
  EXPECT_EQ(batch().records->elements[0]->fields.size(), 4U);
}

TEST_P(Interpolation, NoInstantsAreAskedForAllTheSame) {
  TagsHaveType(6);
  Api().Answer(method().function, 4711);
  EXPECT_EQ(Query(0), 4711);
}

TEST_P(Interpolation, ANegativeCountReadsAsSuccess) {
  EXPECT_EQ(Query(-1), 0);
  EXPECT_TRUE(SameLines({}, Log().Steps()));
}

TEST_P(Interpolation, WithoutMemoryForTheRecordsTheCallerSeesSuccess) {
  Probe().FailNth(1);
  EXPECT_EQ(Query(), 0);
  EXPECT_TRUE(SameLines({}, Log().Steps()));
}

TEST_P(Interpolation, WithoutMemoryForTheCodesTheCallerSeesSuccess) {
  TagsHaveType(2);
  Probe().FailNth(2);
  EXPECT_EQ(Query(), 0);
  EXPECT_TRUE(SameLines(Pinned(method()) + TypeLines(method()), Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(Interpolation, WithoutMemoryForTheSlotsTheCallerSeesSuccess) {
  TagsHaveType(7);
  Probe().FailNth(2);
  EXPECT_EQ(Query(), 0);
  EXPECT_TRUE(SameLines(Pinned(method()) + Lines{TypeLines(method())[0]}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

INSTANTIATE_TEST_SUITE_P(Method, Interpolation, testing::Values(kLinear, kByMode, kManyTags),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- one tag ----

class OneTagInterpolation : public Interpolation {};

TEST_P(OneTagInterpolation, AnUnknownTagIsNotAskedForAndLeaksTheRecords) {
  Api().Answer("pt3_query_tag_type", kSomeError);
  EXPECT_EQ(Query(), kSomeError);
  EXPECT_TRUE(SameLines({"pt3_query_tag_type(7, out)"}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{2 * sizeof(ZR3Record)});
}

TEST_P(OneTagInterpolation, TextIsReadFromClearedSlotsOfOneBlock) {
  TagsHaveType(6);
  AnswerQueries(0, [](ZR3Record* records, int32*) {
    const char* const block = records[0].value.strBlob.pBuf;
    EXPECT_EQ(Probe().SizeAt(block), 2 * kSlot);
    EXPECT_TRUE(SameBytes(std::string(2 * kSlot, '\0').data(), block, 2 * kSlot));
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(records[i].value.strBlob.pBuf, block + static_cast<size_t>(i) * kSlot);
      EXPECT_EQ(records[i].value.strBlob.nLenBuf, kSlot);
      strcpy(records[i].value.strBlob.pBuf, i == 0 ? "FIRST" : "SECOND");
      records[i].nTagType = 6;
    }
  });
  EXPECT_EQ(Query(), 0);
  EXPECT_EQ(Ref(batch().records->elements[0]).Text("strValue"), "first");
  EXPECT_EQ(Ref(batch().records->elements[1]).Text("strValue"), "second");
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(OneTagInterpolation, WithoutMemoryForTheCodesTheSlotsAreFreedToo) {
  TagsHaveType(6);
  Probe().FailNth(3);
  EXPECT_EQ(Query(), 0);
  EXPECT_TRUE(SameLines(TypeLines(method()), Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

INSTANTIATE_TEST_SUITE_P(Method, OneTagInterpolation, testing::Values(kLinear, kByMode),
                         [](const auto& row) { return std::string(row.param.name); });

struct ModeCase {
  jint mode;
  const char* sent;
};

class InterpolationMode : public BridgeTest, public testing::WithParamInterface<ModeCase> {};

TEST_P(InterpolationMode, KeepsItsLowEightBits) {
  const Batch batch;
  Call(ZR(queryInterpRecordsByMode), 7, 0, 0, batch.records, batch.codes, GetParam().mode);
  EXPECT_EQ(Log().Api().back(), "ar3_query_interp_records_by_mode(" + std::string(GetParam().sent) +
                                    ", 7, ZR3Record[0], {})");
  Call(ZR(queryTagsInterpRecordsByMode), GetParam().mode, batch.ids, 0, batch.records, batch.codes);
  EXPECT_EQ(Log().Api().back(), "ar3_query_tags_interp_records_by_mode(" +
                                    std::string(GetParam().sent) + ", {}, ZR3Record[0], {})");
}

INSTANTIATE_TEST_SUITE_P(Mode, InterpolationMode,
                         testing::Values(ModeCase{0, "0"}, ModeCase{1, "1"}, ModeCase{256, "0"},
                                         ModeCase{-1, "255"}));

// ---- many tags ----

class ManyTagsInterpolation : public BridgeTest {
 protected:
  static jint Query(const Batch& batch) { return kManyTags.call(batch, 3); }
};

TEST_F(ManyTagsInterpolation, EveryTextHasItsOwnSlotInABlockOfItsOwn) {
  TagsHaveTypes({{11, 6}, {4294967284U, 2}, {13, 7}});
  AnswerQueries(0, [](ZR3Record* records, int32*) {
    char* const first = records[0].value.strBlob.pBuf;
    char* const third = records[2].value.strBlob.pBuf;
    EXPECT_EQ(Probe().SizeAt(first), 3 * kSlot);
    EXPECT_EQ(Probe().SizeAt(third - 2 * kSlot), 3 * kSlot);
    for (const char* const block : {first, third - 2 * kSlot}) {
      EXPECT_TRUE(SameBytes(std::string(3 * kSlot, '\0').data(), block, 3 * kSlot));
    }
    EXPECT_EQ(records[0].value.strBlob.nLenBuf, kSlot);
    EXPECT_EQ(records[1].value.strBlob.pBuf, nullptr);
    EXPECT_EQ(records[2].value.strBlob.nLenBuf, kSlot);
    strcpy(first, "FIRST");
    strcpy(third, "THIRD");
    records[0].nTagType = records[2].nTagType = 6;
  });
  const Batch batch;
  EXPECT_EQ(Query(batch), 0);
  EXPECT_EQ(Ref(batch.records->elements[0]).Text("strValue"), "first");
  EXPECT_EQ(Ref(batch.records->elements[2]).Text("strValue"), "third");
  EXPECT_EQ(Left(), Blocks{3 * kSlot});  // the first block
}

TEST_F(ManyTagsInterpolation, AnUnknownTagEndsTheQueryAndFreesTheLastBlock) {
  TagsHaveTypes({{11, 6}, {4294967284U, 7}});
  EXPECT_EQ(Query(Batch()), kSomeError);
  EXPECT_TRUE(SameLines({"GetIntArrayElements ids", "pt3_query_tag_type(11, out)",
                         "pt3_query_tag_type(4294967284, out)", "pt3_query_tag_type(13, out)"},
                        Log().Steps()));
  EXPECT_EQ(Left(), Blocks{3 * kSlot});
}

TEST_F(ManyTagsInterpolation, WithoutMemoryForALaterBlockTheEarlierOnesLeak) {
  TagsHaveType(6);
  Probe().FailNth(3);
  EXPECT_EQ(Query(Batch()), 0);
  EXPECT_EQ(Left(), Blocks{3 * kSlot});
  EXPECT_TRUE(SameLines({}, Log().Writes()));
}

Method RowOf(const InterpolationMethod& method) {
  const Blocks records = {2 * sizeof(ZR3Record)};
  return {
      .name = method.name,
      .lookups = LookUp(kRecordClass),
      .api = TypeLines(method) + Lines{ApiLine(method)},
      .failures = {{}, {.of = "pt3_query_tag_type", .left = method.many_tags ? Blocks{} : records}},
      .call = [&method] {
        TagsHaveType(2);
        AnswerQueries(0, FillNumbers);
        return method.call(Batch(), 2);
      }};
}

}  // namespace

Methods InterpolatedHistoryMethods() { return {RowOf(kLinear), RowOf(kByMode), RowOf(kManyTags)}; }

}  // namespace zervane::bridge_test
