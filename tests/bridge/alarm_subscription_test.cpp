#include "harness/alarm_samples.h"
#include "harness/method.h"

namespace zervane::bridge_test {
namespace {

constexpr size_t kHolder = 16;  // a count and a pointer

struct Batch {
  ZR3AlarmRecord records[2] = {AlarmSample("SEEN"), AlarmSample("")};

  explicit Batch(int32 count = 2) {
    Api().On<am3_get_callback_am>([this, count](int32* count_out, ZR3AlarmRecord** records_out) {
      EXPECT_TRUE(Untouched(count_out, sizeof *count_out));
      EXPECT_TRUE(Untouched(records_out, sizeof(void*)));
      *count_out = count;
      *records_out = count == 0 ? nullptr : records;
      return 0;
    });
  }
};

Ref Wrapper() { return Java().New(kLongWrapperClass, "wrapper").Set("Value", 41); }

jlong Take() {
  const Ref wrapper = Wrapper();
  EXPECT_EQ(Call(ZR(getRegisterTagAmHandle), wrapper), 0);
  return wrapper.Int("Value");
}

void Free(jlong handle) { Call(ZR(freeRegisterTagAmHandle), handle); }

class AlarmSubscription : public BridgeTest {};

TEST_F(AlarmSubscription, ABatchIsTakenIntoAHolderWhoseAddressIsItsHandle) {
  const Batch batch;
  const jlong handle = Take();
  EXPECT_EQ(Left(), Blocks{kHolder});
  EXPECT_EQ(Probe().SizeAt(reinterpret_cast<void*>(handle)), kHolder);
  EXPECT_EQ(Call(ZR(getRegisterTagAmNum), handle), 2);
  EXPECT_TRUE(SameLines({}, Log().All()));
}

TEST_F(AlarmSubscription, ABatchIsReadIntoNewRecordsWithoutTheirFlag) {
  const Batch batch;
  const jlong handle = Take();
  const Ref records = Java().Array("records", {Ref(), Ref(), Ref()});
  Call(ZR(getRegisterTagAm), handle, records);
  const auto stored = [](int i, const std::string& comment) {
    const std::string label = "ZRJniAlarmRecord#" + std::to_string(i + 1);
    return Lines{"AllocObject " + label} + AlarmSets(label, comment, Commented::kUnwritten) +
           Lines{"SetObjectArrayElement records[" + std::to_string(i) + "] = " + label};
  };
  EXPECT_TRUE(SameLines(stored(0, "SEEN") + stored(1, ""), Log().Steps()));
  EXPECT_FALSE(Ref(records->elements[0]).Has("nextItemHandle"));
}

TEST_F(AlarmSubscription, ABatchOfNothingIsFreedWithoutTheApi) {
  const Batch batch(0);
  const jlong handle = Take();
  EXPECT_NE(handle, 0);
  EXPECT_EQ(Call(ZR(getRegisterTagAmNum), handle), 0);
  Call(ZR(getRegisterTagAm), handle, Java().Array("records", {}));
  EXPECT_TRUE(SameLines({}, Log().Steps()));
  Free(handle);
  EXPECT_TRUE(SameLines({}, Log().All()));
  EXPECT_EQ(Probe().SizeAt(reinterpret_cast<void*>(handle)), std::nullopt);
}

TEST_F(AlarmSubscription, FreeingABatchGivesTheRecordsBackAndFreesTheHolder) {
  const Batch batch;
  const jlong handle = Take();
  Api().On<am3_free_callback_am>([&](int32, const ZR3AlarmRecord* records) {
    EXPECT_EQ(records, batch.records);
    EXPECT_EQ(Probe().SizeAt(reinterpret_cast<void*>(handle)), kHolder);
    return 4711;
  });
  Free(handle);
  EXPECT_TRUE(SameLines({"am3_free_callback_am(2, out)"}, Log().All()));
  EXPECT_EQ(Probe().SizeAt(reinterpret_cast<void*>(handle)), std::nullopt);
}

TEST_F(AlarmSubscription, AFailedTakeLeaksTheHolderAndDoesNotWriteTheWrapper) {
  Api().Answer("am3_get_callback_am", 4711);
  const Ref wrapper = Wrapper();
  EXPECT_EQ(Call(ZR(getRegisterTagAmHandle), wrapper), 4711);
  EXPECT_EQ(wrapper.Int("Value"), 41);
  EXPECT_EQ(Left(), Blocks{kHolder});
}

TEST_F(AlarmSubscription, WithoutMemoryNothingIsTaken) {
  Probe().FailNth(1);
  EXPECT_EQ(Call(ZR(getRegisterTagAmHandle), Wrapper()), -1);
  EXPECT_TRUE(SameLines(LookUp(kLongWrapperClass), Log().All()));
}

TEST_F(AlarmSubscription, HandleZeroIsNoBatch) {
  EXPECT_EQ(Call(ZR(getRegisterTagAmNum), 0), 0);
  Call(ZR(getRegisterTagAm), 0, Java().Array("records", {}));
  EXPECT_TRUE(SameLines({}, Log().All()));
  Free(0);
  EXPECT_TRUE(SameLines({}, Log().All()));
}

// A holder as getRegisterTagAmHandle leaves it, without records.
jlong EmptyBatch() {
  static struct {
    int32 count = 0;
    ZR3AlarmRecord* records = nullptr;
  } batch;
  return reinterpret_cast<jlong>(&batch);
}

}  // namespace

Methods AlarmSubscriptionMethods() {
  return {
      {.name = "registerAmCallback",
       .api = {"am3_register_alarm_record_info(null)"},
       .call = [] { return Call(ZR(registerAmCallback)); }},
      {.name = "getRegisterTagAmHandle",
       .lookups = LookUp(kLongWrapperClass),
       .api = {"am3_get_callback_am(out, out)"},
       .left = {kHolder},
       .failures = {{.left = {kHolder}}},
       .call = [] { return Call(ZR(getRegisterTagAmHandle), Wrapper()); }},
      {.name = "getRegisterTagAmNum",
       .failures = {},
       .call = [] { return Call(ZR(getRegisterTagAmNum), EmptyBatch()); }},
      {.name = "getRegisterTagAm",
       .lookups = LookUp(kPolledAlarmRecordClass),
       .failures = {},
       .call =
           [] {
             Call(ZR(getRegisterTagAm), EmptyBatch(), Java().Array("records", {}));
             return 0;
           }},
      {.name = "freeRegisterTagAmHandle",
       .api = {"am3_free_callback_am(2, out)"},
       .failures = {},  // of the release: not told
       .call =
           [] {
             const Batch batch;
             Free(Take());
             return 0;
           }},
  };
}

}  // namespace zervane::bridge_test
