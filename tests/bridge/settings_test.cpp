#include "harness/method.h"

namespace zervane::bridge_test {
namespace {

Ref Holder() { return Java().New(kLongWrapperClass, "time"); }

class Settings : public BridgeTest {};

TEST_F(Settings, AnOptionIsSignExtendedTo64Bits) {
  Call(ZR(setAPIOption), -1);
  EXPECT_TRUE(SameLines({"ut3_set_api_option(-1)"}, Log().Api()));
  Call(ZR(setAPIOption), 2147483647);
  EXPECT_TRUE(SameLines({"ut3_set_api_option(2147483647)"}, Log().Api()));
}

TEST_F(Settings, ATimeOutAndACapacityArePassedUnchecked) {
  Call(ZR(setRequestTimeout), -7);
  EXPECT_TRUE(SameLines({"ut3_set_request_timeout(-7)"}, Log().Api()));
  Call(ZR(setRequestCacheCapacity), -9);
  EXPECT_TRUE(SameLines({"ut3_set_request_cache_capacity(-9)"}, Log().Api()));
}

TEST_F(Settings, AServerTimeBeyond32BitsArrivesWhole) {
  Api().On<ut3_get_server_ms_time>([](int64* time) {
    EXPECT_EQ(*time, 0);
    *time = 1763691000123;
    return 0;
  });
  const Ref time = Holder();
  EXPECT_EQ(Call(ZR(getServerMsTime), time), 0);
  EXPECT_EQ(time.Int("Value"), 1763691000123);
  EXPECT_TRUE(SameLines({"ut3_get_server_ms_time(out)", "SetLongField time.Value = 1763691000123"},
                        Log().Steps()));
}

TEST_F(Settings, AServerTimeThatCannotBeHadLeavesTheHolderAsItWas) {
  Api().On<ut3_get_server_ms_time>([](int64* time) {
    *time = 5;
    return 110101;
  });
  const Ref time = Holder().Set("Value", 99);
  EXPECT_EQ(Call(ZR(getServerMsTime), time), 110101);
  EXPECT_EQ(time.Int("Value"), 99);
}

}  // namespace

Methods SettingsMethods() {
  const auto setter = [](const char* name, const char* api, void (*method)(JNIEnv*, jclass, jint)) {
    return Method{.name = name,
                  .api = {std::string(api) + "(5)"},
                  .failures = {{.result = 0}},
                  .call = [method] {
                    Call(method, 5);
                    return 0;
                  }};
  };
  return {
      setter("setRequestTimeout", "ut3_set_request_timeout", ZR(setRequestTimeout)),
      setter("setAPIOption", "ut3_set_api_option", ZR(setAPIOption)),
      setter("setRequestCacheCapacity", "ut3_set_request_cache_capacity",
             ZR(setRequestCacheCapacity)),
      {.name = "getServerMsTime",
       .lookups = LookUp(kLongWrapperClass),
       .api = {"ut3_get_server_ms_time(out)"},
       .call = [] { return Call(ZR(getServerMsTime), Holder()); }},
  };
}

}  // namespace zervane::bridge_test
