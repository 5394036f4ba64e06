#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

// The array that the API hands out.
ZR3CommTagProp* Props() {
  static ZR3CommTagProp props[2];
  memset(props, 0, sizeof props);
  FillAsQueried(&props[0]);
  FillAsQueried(&props[1]);
  return props;
}

jlong HandleOf(const void* address) { return reinterpret_cast<jlong>(address); }

struct Holders {
  Ref count = Java().New(kIntWrapperClass, "count").Set("Value", 41);
  Ref array = Java().New(kLongWrapperClass, "array").Set("Value", 42);

  jint Query() { return Call(ZR(queryAllTagsProps), 64, -7, count, array); }
};

void AnswerQuery(int32 count, ZR3CommTagProp* props, int32 status) {
  Api().On<tag3_query_all_tags_prop>(
      [=](int64, int32* count_out, int64, ZR3CommTagProp** props_out, int32) {
        *count_out = count;
        *props_out = props;
        return status;
      });
}

Ref Objects() {
  return Java().Array("objects", {Java().New(kCommTagPropClass, "mine"), Ref(), Ref()});
}

const std::string kQuery = "tag3_query_all_tags_prop(64, 0, -7, null, 0)";

class BulkProperties : public BridgeTest {};

TEST_F(BulkProperties, CountAndAddressAreStored) {
  AnswerQuery(2, Props(), 0);
  Holders holders;
  EXPECT_EQ(holders.Query(), 0);
  EXPECT_EQ(holders.count.Int("Value"), 2);
  EXPECT_EQ(holders.array.Int("Value"), HandleOf(Props()));
  EXPECT_TRUE(SameLines({kQuery, "SetIntField count.Value = 2",
                         "SetLongField array.Value = " + std::to_string(HandleOf(Props()))},
                        Log().Steps()));
}

TEST_F(BulkProperties, AFailedQueryReleasesWhatItLeftAndStoresNothing) {
  for (ZR3CommTagProp* const left : {static_cast<ZR3CommTagProp*>(nullptr), Props()}) {
    AnswerQuery(2, left, 110120);
    Api().On<tag3_free_all_tags_prop>([left](ZR3CommTagProp* props) {
      EXPECT_EQ(props, left);
      return 0;
    });
    Holders holders;
    EXPECT_EQ(holders.Query(), 110120);
    EXPECT_EQ(holders.count.Int("Value"), 41);
    EXPECT_EQ(holders.array.Int("Value"), 42);
    const std::string released = left == nullptr ? "null" : "out";
    EXPECT_TRUE(SameLines({kQuery, "tag3_free_all_tags_prop(" + released + ")"}, Log().Steps()));
  }
}

TEST_F(BulkProperties, EveryTagBecomesANewObjectAndThePropertiesAreReleased) {
  Api().On<tag3_free_all_tags_prop>([](ZR3CommTagProp* props) {
    EXPECT_EQ(HandleOf(props), HandleOf(Props()));
    return 110121;
  });
  EXPECT_EQ(Call(ZR(getPropArray), 2, HandleOf(Props()), Objects()), 0);
  const auto stored = [](int i) {
    const std::string label = "ZRJniCommTagProp#" + std::to_string(i + 1);
    return Lines{"AllocObject " + label} + CommonSets(label, true) + ParameterSets(label) +
           Lines{"SetObjectArrayElement objects[" + std::to_string(i) + "] = " + label};
  };
  EXPECT_TRUE(
      SameLines(stored(0) + stored(1) + Lines{"tag3_free_all_tags_prop(out)"}, Log().Steps()));
}

TEST_F(BulkProperties, AnEmptyArrayIsReleasedAllTheSame) {
  EXPECT_EQ(Call(ZR(getPropArray), 0, 0, Objects()), 0);
  EXPECT_TRUE(SameLines({"tag3_free_all_tags_prop(null)"}, Log().Steps()));
}

}  // namespace

Methods BulkPropertyMethods() {
  return {
      {.name = "queryAllTagsProps",
       .lookups = LookUp(kIntWrapperClass) + LookUp(kLongWrapperClass),
       .api = {kQuery},
       .failures = {{.after = {"tag3_free_all_tags_prop(null)"}}},
       .call =
           [] {
             AnswerQuery(0, nullptr, 0);
             return Holders().Query();
           }},
      {.name = "getPropArray",
       .lookups = LookUp(kCommTagPropClass),
       .api = {"tag3_free_all_tags_prop(out)"},
       .failures = {},  // of the release: not told
       .call = [] { return Call(ZR(getPropArray), 1, HandleOf(Props()), Objects()); }},
  };
}

}  // namespace zervane::bridge_test
