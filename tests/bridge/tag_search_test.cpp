#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

Ref Holder() { return Java().New(kLongWrapperClass, "holder").Set("Value", 41); }

Ref NumberHolder() { return Java().New(kIntWrapperClass, "holder").Set("Value", 41); }

const std::string kStored = "SetLongField holder.Value = 81985529216486895";
constexpr jlong kHandle = 81985529216486895;  // 0x0123456789ABCDEF
constexpr jint kLowHalf = -1985229329;        // 0x89ABCDEF

// Makes every search hand out kHandle with that status.
void AnswerSearches(int32 status = 0) {
  const auto hand_out = [status](ZR3HANDLE* handle) {
    *handle = reinterpret_cast<ZR3HANDLE>(kHandle);
    return status;
  };
  Api().On<pt3_query_tags_cond>([=](auto, auto, ZR3HANDLE* handle) { return hand_out(handle); });
  Api().On<tag3_query_tags_cond>(
      [=](auto, auto, auto, ZR3HANDLE* handle) { return hand_out(handle); });
  Api().On<tag3_query_specify_page_tags_cond>(
      [=](auto, auto, ZR3HANDLE* handle) { return hand_out(handle); });
}

const ZR3FilterItem& Sent(size_t index) { return Api().Sent<ZR3FilterItem>().at(index); }

// ---- by patterns ----

jint ByPattern(const char* name, const char* description) {
  return Call(ZR(queryTagsCond), Java().String(name), Java().String(description), -5, 6);
}

jint ByPatternEx(const Ref& holder) {
  return Call(ZR(queryTagsCondEx), Java().String("fic*"), Java().String("flow"), -5, 6, holder);
}

class TagSearch : public BridgeTest {};

void ExpectPattern(const ZR3FilterItem& item, int32 column, const std::string& pattern) {
  EXPECT_EQ(item.nItemID, column);
  EXPECT_EQ(item.nRelation, 6);
  EXPECT_EQ(std::string(item.szValue), pattern);
}

TEST_F(TagSearch, PatternsOfNameAndDescriptionAreTwoLikeConditions) {
  ByPattern("fic*", "flow");
  ExpectPattern(Sent(0), 0, "FIC*");
  ExpectPattern(Sent(1), 12, "FLOW");
  ByPatternEx(Holder());
  ExpectPattern(Sent(0), 0, "FIC*");
  ExpectPattern(Sent(1), 12, "FLOW");
}

TEST_F(TagSearch, EmptyAndNullPatternsAreEmptyValues) {
  ByPattern("", "");
  ExpectPattern(Sent(0), 0, "");
  ExpectPattern(Sent(1), 12, "");
  Call(ZR(queryTagsCond), nullptr, nullptr, 0, 0);
  ExpectPattern(Sent(0), 0, "");
  ExpectPattern(Sent(1), 12, "");
}

TEST_F(TagSearch, TheLongestPatternsArriveWhole) {
  const std::string name(255, 'N');
  const std::string description(255, 'D');
  ByPattern(name.c_str(), description.c_str());
  ExpectPattern(Sent(0), 0, name);
  ExpectPattern(Sent(1), 12, description);
}

TEST_F(TagSearch, AHandleIsReturnedAsItsLowHalf) {
  AnswerSearches();
  EXPECT_EQ(ByPattern("a", "b"), kLowHalf);
}

TEST_F(TagSearch, AFailedSearchReturnsMinusOneWhateverTheHandle) {
  AnswerSearches(110113);
  EXPECT_EQ(ByPattern("a", "b"), -1);
}

TEST_F(TagSearch, AHandleWhoseLowHalfIsAllOnesLooksLikeAFailure) {
  Api().On<pt3_query_tags_cond>([](auto, auto, ZR3HANDLE* handle) {
    *handle = reinterpret_cast<ZR3HANDLE>(0x1FFFFFFFF);
    return 0;
  });
  EXPECT_EQ(ByPattern("a", "b"), -1);
}

TEST_F(TagSearch, TheHandleIsStoredWholeAndAfterAFailureToo) {
  for (const int32 status : {0, 110113}) {
    AnswerSearches(status);
    const Ref holder = Holder();
    EXPECT_EQ(ByPatternEx(holder), status);
    EXPECT_EQ(holder.Int("Value"), kHandle);
    EXPECT_TRUE(SameLines({kStored}, Log().Writes()));
  }
}

TEST_F(TagSearch, TheHolderIsLookedUpBeforeThePatternsAreConverted) {
  ByPatternEx(Holder());
  const Lines all = Log().All();
  EXPECT_TRUE(SameLines(LookUp(kLongWrapperClass) + Lines{"GetStringLength \"fic*\""},
                        Lines(all.begin(), all.begin() + 3)));
}

// ---- by conditions ----

// The four methods that take an array of conditions.
struct ConditionMethod {
  const char* name;
  const JavaClass* holder;
  std::string function;
  std::string before;  // arguments of the API call, before the conditions
  std::string after;
  jint (*call)(const Ref& conditions, jint count, const Ref& holder);
};

const ConditionMethod kBasicTags = {"queryBasicTagsByConds",
                                    &kLongWrapperClass,
                                    "pt3_query_tags_cond",
                                    "",
                                    "mask -5/6, out",
                                    [](const Ref& conditions, jint count, const Ref& holder) {
                                      return Call(ZR(queryBasicTagsByConds), conditions, count, -5,
                                                  6, holder);
                                    }};
const ConditionMethod kTags = {"queryTagsByConds",
                               &kLongWrapperClass,
                               "tag3_query_tags_cond",
                               "64, ",
                               "-7, out",
                               [](const Ref& conditions, jint count, const Ref& holder) {
                                 return Call(ZR(queryTagsByConds), conditions, count, 64, -7,
                                             holder);
                               }};
const ConditionMethod kPage = {"querySpecifyPageTagsCond",
                               &kLongWrapperClass,
                               "tag3_query_specify_page_tags_cond",
                               "64, ",
                               "mask -5/6, 4294967295, -100, out",
                               [](const Ref& conditions, jint count, const Ref& holder) {
                                 return Call(ZR(querySpecifyPageTagsCond), 64, conditions, count,
                                             -5, 6, -1, -100, holder);
                               }};
const ConditionMethod kNumber = {"queryTagNumCond",
                                 &kIntWrapperClass,
                                 "tag3_query_tag_num_cond",
                                 "-3, ",
                                 "out",
                                 [](const Ref& conditions, jint count, const Ref& holder) {
                                   return Call(ZR(queryTagNumCond), -3, conditions, count, holder);
                                 }};

Ref Condition(const std::string& label, int column, int relation, const char* value) {
  return Java()
      .New(kConditionClass, label)
      .Set("tagPropID", column)
      .Set("queryRelation", relation)
      .Set("queryValue", Java().String(value));
}

Ref Conditions() {
  return Java().Array("conditions", {Condition("c0", 0, 6, "fic*"), Condition("c1", -1, -2, "x")});
}

std::string ApiLine(const ConditionMethod& method, int count) {
  return method.function + "(" + method.before + "ZR3FilterItem[" + std::to_string(count) + "], " +
         method.after + ")";
}

class ByConditions : public BridgeTest, public testing::WithParamInterface<ConditionMethod> {
 protected:
  const ConditionMethod& method() { return GetParam(); }
  Ref NewHolder() { return Java().New(*method().holder, "holder").Set("Value", 41); }
  bool counts() { return method().holder == &kIntWrapperClass; }

  // Makes the method's search answer that status, its output written.
  void Answer(int32 status) {
    AnswerSearches(status);
    Api().On<tag3_query_tag_num_cond>([status](int32, auto, int32* number) {
      *number = 17;
      return status;
    });
  }

  std::string Stored() { return counts() ? "SetIntField holder.Value = 17" : kStored; }
};

TEST_P(ByConditions, MakesAndDropsAnObjectBeforeEveryElement) {
  Answer(0);
  EXPECT_EQ(method().call(Conditions(), 2, NewHolder()), 0);
  const Lines fields = {"Byte tagPropID", "Byte queryRelation", "Object queryValue"};
  EXPECT_TRUE(SameLines(
      Lines{"AllocObject ZRQueryTagCondition#1", "GetObjectArrayElement conditions[0]"} +
          Gets("c0", fields) +
          Lines{"AllocObject ZRQueryTagCondition#2", "GetObjectArrayElement conditions[1]"} +
          Gets("c1", fields) + Lines{ApiLine(method(), 2), Stored()},
      Log().Steps()));
}

TEST_P(ByConditions, ConditionsAreZeroExtendedIntoClearedItems) {
  method().call(Conditions(), 2, NewHolder());
  ZR3FilterItem expected[2];
  memset(expected, 0, sizeof expected);
  expected[0].nRelation = 6;
  strcpy(expected[0].szValue, "FIC*");
  expected[1].nItemID = 255;
  expected[1].nRelation = 254;
  strcpy(expected[1].szValue, "X");
  EXPECT_TRUE(SameBytes(expected, Api().Sent<ZR3FilterItem>().data(), sizeof expected));
}

TEST_P(ByConditions, LeakTheValueOfEveryCondition) {
  method().call(Conditions(), 2, NewHolder());
  EXPECT_EQ(Left(), (Blocks{TextBlock(4), TextBlock(1)}));
}

TEST_P(ByConditions, AFailureLeavesTheHolderAsItWasAndFreesTheItems) {
  Answer(110113);
  const Ref holder = NewHolder();
  EXPECT_EQ(method().call(Conditions(), 2, holder), 110113);
  EXPECT_EQ(holder.Int("Value"), 41);
  EXPECT_EQ(Left(), (Blocks{TextBlock(4), TextBlock(1)}));
}

TEST_P(ByConditions, NoneAreAnEmptySet) {
  Answer(0);
  EXPECT_EQ(method().call(Conditions(), 0, NewHolder()), 0);
  EXPECT_TRUE(SameLines({ApiLine(method(), 0), Stored()}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(ByConditions, WithoutMemoryNothingIsReadOrSent) {
  for (const jint count : {2, 0}) {
    Probe().FailNth(1);
    EXPECT_EQ(method().call(Conditions(), count, NewHolder()), -1);
    EXPECT_TRUE(SameLines({}, Log().Steps()));
  }
}

TEST_P(ByConditions, ANegativeCountAsksForMoreMemoryThanThereIs) {
  EXPECT_EQ(method().call(Conditions(), -1, NewHolder()), -1);
  EXPECT_TRUE(SameLines({}, Log().Steps()));
}

TEST_P(ByConditions, TheLongestValueArrivesWhole) {
  const std::string value(255, 'V');
  method().call(Java().Array("conditions", {Condition("c0", 0, 6, value.c_str())}), 1, NewHolder());
  EXPECT_EQ(std::string(Sent(0).szValue), value);
}

TEST_P(ByConditions, ANullConditionIsReadAllTheSameAndEndsTheProcess) {
  const Ref none = Java().Array("conditions", std::vector<Ref>{Ref()});
  EXPECT_DEATH(method().call(none, 1, NewHolder()), "");
}

INSTANTIATE_TEST_SUITE_P(Method, ByConditions, testing::Values(kBasicTags, kTags, kPage, kNumber),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(TagSearch, ANumberOfMatchesStartsAtZero) {
  Api().On<tag3_query_tag_num_cond>([](int32, auto, int32* number) {
    EXPECT_EQ(*number, 0);
    return 0;
  });
  const Ref holder = NumberHolder();
  kNumber.call(Conditions(), 1, holder);
  EXPECT_EQ(holder.Int("Value"), 0);
}

// ---- the matches ----

// Makes the next item a tag of that record type, the rest of it 0.
template <typename Prop>
void AnswerItem() {
  Api().On<ut3_get_item_step>([](ZR3HANDLE, void* item) {
    EXPECT_TRUE(HoldsOldBytes(item, sizeof(Prop)));
    auto* const prop = static_cast<Prop*>(item);
    memset(prop, 0, sizeof *prop);
    FillAsQueried(prop);
    return 0;
  });
}

TEST_F(TagSearch, APointTagIsWrittenLikeAReadOne) {
  AnswerItem<ZR3PtTagProp>();
  const Ref tag = Java().New(kTagPropClass, "tag").Set("m_tagClass", 5);
  EXPECT_EQ(Call(ZR(getItemStep), 77, tag), 0);
  const Lines point =
      Sets("tag",
           {"Object m_instrumentPoint = \"\"", "Byte m_instrumentPointType = 0",
            "Object m_CollectorName = \"\"", "Int m_CollectorID = 0", "Object m_DeviceName = \"\"",
            "Int m_DeviceID = 0", "Object m_ScanGroupName = \"\"", "Int m_ScanGroupID = 0"});
  EXPECT_TRUE(SameLines(Lines{"ut3_get_item_step(handle 77, out)"} + CommonSets("tag", false) +
                            point + ParameterSets("tag"),
                        Log().Steps()));
  EXPECT_EQ(tag.Int("m_tagClass"), 5);
}

TEST_F(TagSearch, ATagOfAnyClassIsWrittenWithItsClass) {
  AnswerItem<ZR3CommTagProp>();
  EXPECT_EQ(Call(ZR(getCommItemStep), 77, Java().New(kCommTagPropClass, "tag")), 0);
  EXPECT_TRUE(SameLines(
      Lines{"ut3_get_item_step(handle 77, out)"} + CommonSets("tag", true) + ParameterSets("tag"),
      Log().Steps()));
}

TEST_F(TagSearch, AnExhaustedIteratorLeavesTheObjectUntouchedAndIsNotReleased) {
  Api().Answer("ut3_get_item_step", ZR3_ERR_END_OF_ITERATION);
  EXPECT_EQ(Call(ZR(getItemStep), 77, Java().New(kTagPropClass, "tag")), ZR3_ERR_END_OF_ITERATION);
  EXPECT_TRUE(SameLines({"ut3_get_item_step(handle 77, out)"}, Log().Steps()));
  EXPECT_EQ(Call(ZR(getCommItemStep), 77, Java().New(kCommTagPropClass, "tag")),
            ZR3_ERR_END_OF_ITERATION);
  EXPECT_TRUE(SameLines({"ut3_get_item_step(handle 77, out)"}, Log().Steps()));
}

Method RowOf(const ConditionMethod& method) {
  const Blocks values = {TextBlock(4), TextBlock(1)};
  return {.name = method.name,
          .lookups = LookUp(*method.holder) + LookUp(kConditionClass),
          .api = {ApiLine(method, 2)},
          .left = values,
          .failures = {{.left = values}},
          .call = [&method] {
            AnswerSearches();
            return method.call(Conditions(), 2, Java().New(*method.holder, "holder"));
          }};
}

}  // namespace

Methods TagSearchMethods() {
  const std::string patterns = "pt3_query_tags_cond(ZR3FilterItem[2], mask -5/6, out)";
  const auto by_pattern = [] {
    AnswerSearches();
    return ByPattern("a", "b");
  };
  const auto by_pattern_ex = [] {
    AnswerSearches();
    return ByPatternEx(Holder());
  };
  return {
      {.name = "queryTagsCond",
       .api = {patterns},
       .result = kLowHalf,
       .failures = {{.result = -1}},
       .call = by_pattern},
      {.name = "queryTagsCondEx",
       .lookups = LookUp(kLongWrapperClass),
       .api = {patterns},
       .failures = {{.writes = {"SetLongField holder.Value = ..."}}},
       .call = by_pattern_ex},
      RowOf(kBasicTags),
      RowOf(kTags),
      RowOf(kPage),
      RowOf(kNumber),
      {.name = "getItemStep",
       .lookups = LookUp(kTagPropClass),
       .api = {"ut3_get_item_step(handle 77, out)"},
       .call =
           [] {
             AnswerItem<ZR3PtTagProp>();
             return Call(ZR(getItemStep), 77, Java().New(kTagPropClass, "tag"));
           }},
      {.name = "getCommItemStep",
       .lookups = LookUp(kCommTagPropClass),
       .api = {"ut3_get_item_step(handle 77, out)"},
       .call =
           [] {
             AnswerItem<ZR3CommTagProp>();
             return Call(ZR(getCommItemStep), 77, Java().New(kCommTagPropClass, "tag"));
           }},
  };
}

}  // namespace zervane::bridge_test
