#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

// ---- by tag ----

struct TagsMethod {
  const char* name;
  std::string function;
  std::string after;  // arguments after the identifiers
  jint (*call)(JNIEnv*, jclass, jint, jintArray);
};

const TagsMethod kRegister = {"registerSnCallback", "sn3_register_callback", ", null",
                              ZR(registerSnCallback)};
const TagsMethod kUnregister = {"unregisterSnCallback", "sn3_unregister_callback_of_sometag", "",
                                ZR(unregisterSnCallback)};

Ref Ids() { return Java().Ints("ids", {5, -6, 7}); }

std::string ApiLine(const TagsMethod& method, const std::string& ids) {
  return method.function + "(" + ids + method.after + ")";
}

class Subscription : public BridgeTest {};

class ByTag : public Subscription, public testing::WithParamInterface<TagsMethod> {
 protected:
  const TagsMethod& method() { return GetParam(); }
};

TEST_P(ByTag, CopiesTheIdentifiersAndPassesThemOn) {
  Api().Answer(method().function, 4711);
  EXPECT_EQ(Call(method().call, 2, Ids()), 4711);
  EXPECT_TRUE(SameLines({"GetIntArrayRegion ids 0 2", ApiLine(method(), "2, {5, 4294967290}")},
                        Log().All()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(ByTag, NoTagsArePassedOn) {
  EXPECT_EQ(Call(method().call, 0, Ids()), 0);
  EXPECT_TRUE(SameLines({ApiLine(method(), "0, {}")}, Log().Api()));
}

TEST_P(ByTag, WithoutMemoryNothingIsRead) {
  Probe().FailNth(1);
  EXPECT_EQ(Call(method().call, 2, Ids()), -1);
  EXPECT_TRUE(SameLines({}, Log().All()));
  EXPECT_EQ(Call(method().call, -1, Ids()), -1);
}

INSTANTIATE_TEST_SUITE_P(Method, ByTag, testing::Values(kRegister, kUnregister),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- by tag and field ----

struct PairsMethod {
  const char* name;
  std::string function;
  std::string accessor;  // of both fields
  jint (*call)(JNIEnv*, jclass, jint, jobjectArray);
};

const PairsMethod kRegisterRest = {"register_1rest", "sn3_register_rest", "Int",
                                   ZR(register_1rest)};
const PairsMethod kUnregisterRest = {"unregister_1rest", "sn3_unregister_callback_rest", "Byte",
                                     ZR(unregister_1rest)};

Ref Pair(const std::string& label, jint tag, jint field) {
  return Java().New(kTagInfoClass, label).Set("m_nTagID", tag).Set("m_nFieldID", field);
}

Ref Pairs() { return Java().Array("pairs", {Pair("p0", 300, -1), Pair("p1", 200, 127)}); }

class ByTagAndField : public Subscription, public testing::WithParamInterface<PairsMethod> {
 protected:
  const PairsMethod& method() { return GetParam(); }
};

TEST_P(ByTagAndField, MakesAndDropsAnObjectBeforeEveryElement) {
  Api().Answer(method().function, 4711);
  EXPECT_EQ(Call(method().call, 2, Pairs()), 4711);
  const Lines fields = {method().accessor + " m_nTagID", method().accessor + " m_nFieldID"};
  EXPECT_TRUE(
      SameLines(Lines{"AllocObject TagInfoWithField#1", "GetObjectArrayElement pairs[0]"} +
                    Gets("p0", fields) +
                    Lines{"AllocObject TagInfoWithField#2", "GetObjectArrayElement pairs[1]"} +
                    Gets("p1", fields) + Lines{method().function + "(2, ZRRegInfo[2])"},
                Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(ByTagAndField, WithoutMemoryNothingIsRead) {
  Probe().FailNth(1);
  EXPECT_EQ(Call(method().call, 2, Pairs()), -1);
  EXPECT_TRUE(SameLines({}, Log().Steps()));
  EXPECT_EQ(Call(method().call, -1, Pairs()), -1);
}

INSTANTIATE_TEST_SUITE_P(Method, ByTagAndField, testing::Values(kRegisterRest, kUnregisterRest),
                         [](const auto& row) { return std::string(row.param.name); });

using SentPairs = std::vector<std::pair<int32, int32>>;

SentPairs Sent() {
  SentPairs pairs;
  for (const ZRRegInfo& info : Api().Sent<ZRRegInfo>()) {
    pairs.emplace_back(static_cast<int32>(info.nTagID), static_cast<int32>(info.nFieldID));
  }
  return pairs;
}

TEST_F(Subscription, PairsAreRegisteredWhole) {
  Call(kRegisterRest.call, 2, Pairs());
  EXPECT_EQ(Sent(), (SentPairs{{300, -1}, {200, 127}}));
}

TEST_F(Subscription, PairsAreUnregisteredByTheirLowBytesSignExtended) {
  Call(kUnregisterRest.call, 2, Pairs());
  EXPECT_EQ(Sent(), (SentPairs{{44, -1}, {-56, 127}}));
}

// ---- batches ----

constexpr size_t kHolder = 24;  // a count and two pointers

struct Batch {
  uint32 ids[3] = {5, 4294967290U, 7};
  ZR3Record records[3] = {ApiRecord(2, 1000), ApiRecord(6, 1001), ApiRecord(7, 1002)};

  Batch() {
    records[1].value.strBlob = {text, 2};
    records[2].value.strBlob = {text, 0};
    Api().On<sn3_get_callback_sn>([this](int32* count, uint32** ids_out, ZR3Record** records_out) {
      EXPECT_TRUE(Untouched(count, sizeof *count));
      *count = size;
      *ids_out = size == 0 ? nullptr : ids;
      *records_out = size == 0 ? nullptr : records;
      return 0;
    });
  }

  char text[2] = "S";
  int32 size = 3;
};

Ref Wrapper() { return Java().New(kLongWrapperClass, "wrapper").Set("Value", 41); }

jlong Take() {
  const Ref wrapper = Wrapper();
  EXPECT_EQ(Call(ZR(getRegisterTagSnHandle), wrapper), 0);
  return wrapper.Int("Value");
}

void Free(jlong handle) { Call(ZR(freeRegisterTagSnHandle), handle); }

TEST_F(Subscription, ABatchIsTakenIntoAHolderWhoseAddressIsItsHandle) {
  Batch batch;
  const jlong handle = Take();
  EXPECT_EQ(Left(), Blocks{kHolder});
  EXPECT_EQ(Probe().SizeAt(reinterpret_cast<void*>(handle)), kHolder);
  EXPECT_EQ(Call(ZR(getRegisterTagSnNum), handle), 3);
  EXPECT_TRUE(SameLines({}, Log().All()));
}

TEST_F(Subscription, ABatchIsReadIntoNewRecordsThenIdentifiersAsOftenAsAsked) {
  Batch batch;
  const jlong handle = Take();
  for (int i = 0; i < 2; ++i) {
    const Ref ids = Java().Ints("ids", {0, 0, 0, 9});
    const Ref records = Java().Array("records", {JavaRecord("mine", 1), Ref(), Ref()});
    Call(ZR(getRegisterTagSn), handle, ids, records);
    const Lines header = {"Short nMsec = 250", "Int nQuality = 192"};
    EXPECT_TRUE(SameLines(
        LookUp(kRecordClass) + Lines{"AllocObject ZRJniRecord#1"} +
            RecordSets("ZRJniRecord#1", 2, 1000) +
            Lines{"SetObjectArrayElement records[0] = ZRJniRecord#1", "AllocObject ZRJniRecord#2"} +
            Sets("ZRJniRecord#2", Lines{"Int nSec = 1001"} + header +
                                      Lines{"Byte nTagType = 6", "Object strValue = \"s\""}) +
            Lines{"SetObjectArrayElement records[1] = ZRJniRecord#2", "AllocObject ZRJniRecord#3"} +
            Sets("ZRJniRecord#3", Lines{"Int nSec = 1002"} + header +
                                      Lines{"Byte nTagType = 7", "Object byteValue = 0 bytes"}) +
            Lines{"SetObjectArrayElement records[2] = ZRJniRecord#3",
                  "SetIntArrayRegion ids 0 {5, -6, 7}"},
        Log().Of({Kind::kLookup, Kind::kObject, Kind::kApi})));
    EXPECT_EQ(ids->ints[3], 9);
  }
}

TEST_F(Subscription, ABatchOfNothingHasAHandleAndWritesNothing) {
  Batch batch;
  batch.size = 0;
  const jlong handle = Take();
  EXPECT_NE(handle, 0);
  EXPECT_EQ(Call(ZR(getRegisterTagSnNum), handle), 0);
  Call(ZR(getRegisterTagSn), handle, Java().Ints("ids", {}), Java().Array("records", {}));
  EXPECT_TRUE(SameLines({"SetIntArrayRegion ids 0 {}"}, Log().Steps()));
  Free(handle);
  EXPECT_TRUE(SameLines({"sn3_free_callback_sn(0, null, null)"}, Log().All()));
}

TEST_F(Subscription, FreeingABatchGivesTheArraysBackAndFreesTheHolder) {
  Batch batch;
  const jlong handle = Take();
  Api().On<sn3_free_callback_sn>([&](int32, const uint32* ids, const ZR3Record* records) {
    EXPECT_EQ(ids, batch.ids);
    EXPECT_EQ(records, batch.records);
    return 4711;
  });
  Free(handle);
  EXPECT_TRUE(SameLines({"sn3_free_callback_sn(3, {5, 4294967290, 7}, out)"}, Log().All()));
  EXPECT_EQ(Probe().SizeAt(reinterpret_cast<void*>(handle)), std::nullopt);
}

TEST_F(Subscription, AFailedTakeLeaksTheHolderAndDoesNotWriteTheWrapper) {
  Api().Answer("sn3_get_callback_sn", 4711);
  const Ref wrapper = Wrapper();
  EXPECT_EQ(Call(ZR(getRegisterTagSnHandle), wrapper), 4711);
  EXPECT_EQ(wrapper.Int("Value"), 41);
  EXPECT_EQ(Left(), Blocks{kHolder});
}

TEST_F(Subscription, WithoutMemoryNothingIsTaken) {
  Probe().FailNth(1);
  EXPECT_EQ(Call(ZR(getRegisterTagSnHandle), Wrapper()), -1);
  EXPECT_TRUE(SameLines({}, Log().Steps()));
}

TEST_F(Subscription, HandleZeroIsNoBatch) {
  EXPECT_EQ(Call(ZR(getRegisterTagSnNum), 0), 0);
  Call(ZR(getRegisterTagSn), 0, Java().Ints("ids", {}), Java().Array("records", {}));
  EXPECT_TRUE(SameLines({}, Log().All()));
  Free(0);
  EXPECT_TRUE(SameLines({}, Log().All()));
}

Method RowOf(const TagsMethod& method) {
  return {.name = method.name,
          .api = {ApiLine(method, "3, {5, 4294967290, 7}")},
          .call = [&method] { return Call(method.call, 3, Ids()); }};
}

Method RowOf(const PairsMethod& method) {
  return {.name = method.name,
          .lookups = LookUp(kTagInfoClass),
          .api = {method.function + "(2, ZRRegInfo[2])"},
          .call = [&method] { return Call(method.call, 2, Pairs()); }};
}

// A holder as getRegisterTagSnHandle leaves it, without records.
jlong EmptyBatch() {
  static struct {
    int32 count = 0;
    uint32* ids = nullptr;
    ZR3Record* records = nullptr;
  } batch;
  return reinterpret_cast<jlong>(&batch);
}

}  // namespace

Methods SnapshotSubscriptionMethods() {
  return {
      RowOf(kRegister),
      RowOf(kUnregister),
      RowOf(kRegisterRest),
      RowOf(kUnregisterRest),
      {.name = "getRegisterTagSnHandle",
       .lookups = LookUp(kLongWrapperClass),
       .api = {"sn3_get_callback_sn(out, out, out)"},
       .left = {kHolder},
       .failures = {{.left = {kHolder}}},
       .call = [] { return Call(ZR(getRegisterTagSnHandle), Wrapper()); }},
      {.name = "getRegisterTagSnNum",
       .failures = {},
       .call = [] { return Call(ZR(getRegisterTagSnNum), EmptyBatch()); }},
      {.name = "getRegisterTagSn",
       .lookups = LookUp(kRecordClass),
       .failures = {},
       .call =
           [] {
             Call(ZR(getRegisterTagSn), EmptyBatch(), Java().Ints("ids", {}),
                  Java().Array("records", {}));
             return 0;
           }},
      {.name = "freeRegisterTagSnHandle",
       .api = {"sn3_free_callback_sn(3, {5, 4294967290, 7}, out)"},
       .failures = {},  // of the release: not told
       .call =
           [] {
             Batch batch;
             Free(Take());
             return 0;
           }},
  };
}

}  // namespace zervane::bridge_test
