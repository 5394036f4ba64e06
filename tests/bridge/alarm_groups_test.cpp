#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

constexpr jlong kHandle = 81985529216486895;  // 0x0123456789ABCDEF
constexpr jint kLowHalf = -1985229329;        // 0x89ABCDEF

Ref Holder() { return Java().New(kLongWrapperClass, "holder").Set("Value", 41); }

Ref JavaGroup() {
  return Java()
      .New(kAlarmGroupClass, "group")
      .Set("m_GroupName", Java().String("plant"))
      .Set("m_GroupDesc", Java().String("all of it"))
      .Set("m_GroupID", -5)
      .Set("m_ParentID", 6);
}

void FillGroup(ZR3AlarmGroup* group) {
  strcpy(group->szName, "PLANT");
  strcpy(group->szDesc, "ALL OF IT");
  group->nGroupID = 4294967291U;
  group->nParentID = 6;
}

const Lines kTextSets =
    Sets("group", {"Object m_GroupName = \"plant\"", "Object m_GroupDesc = \"all of it\""});
const Lines kIdSets = Sets("group", {"Int m_GroupID = -5", "Int m_ParentID = 6"});

const ZR3AlarmGroup& Sent() { return Api().Sent<ZR3AlarmGroup>().at(0); }

// ---- making and changing ----

jint Add(const Ref& group = JavaGroup()) { return Call(ZR(addAlarmGroup), group); }

jint Rename(const Ref& name) { return Call(ZR(modifyAlarmGroupName), -5, name); }

jint Describe(const Ref& description) { return Call(ZR(modifyAlarmGroupDesc), -5, description); }

class AlarmGroups : public BridgeTest {};

TEST_F(AlarmGroups, AddingReadsAllFourFieldsAndPassesTheRecordsOwnParent) {
  Add();
  EXPECT_TRUE(SameLines(Gets("group", {"Object m_GroupName", "Object m_GroupDesc", "Int m_GroupID",
                                       "Int m_ParentID"}) +
                            Lines{"am3_add_group(ZR3AlarmGroup, its own nParentID)"},
                        Log().Steps()));
  EXPECT_STREQ(Sent().szName, "PLANT");
  EXPECT_STREQ(Sent().szDesc, "ALL OF IT");
  EXPECT_EQ(Sent().nGroupID, 4294967291U);
  EXPECT_EQ(Sent().nParentID, 6U);
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(AlarmGroups, AddingDoesNotClearTheRecord) {
  Add();
  EXPECT_TRUE(HoldsOldBytes(Sent().szName + 6, sizeof(Sent().szName) - 6));
  EXPECT_TRUE(HoldsOldBytes(Sent().szDesc + 10, sizeof(Sent().szDesc) - 10));
}

TEST_F(AlarmGroups, TheNewIdentifierIsNotHandedOut) {
  Api().On<am3_add_group>([](auto, uint32* id) {
    *id = 99;
    return 0;
  });
  const Ref group = JavaGroup();
  EXPECT_EQ(Add(group), 0);
  EXPECT_EQ(group.Int("m_GroupID"), -5);
  EXPECT_EQ(group.Int("m_ParentID"), 6);
}

TEST_F(AlarmGroups, RenamingAndDescribingSendOneTextInAClearedRecord) {
  ZR3AlarmGroup expected = {};
  strcpy(expected.szName, "NEW");
  Rename(Java().String("new"));
  EXPECT_TRUE(SameRecord(expected, Sent()));
  expected = {};
  strcpy(expected.szDesc, "NEW");
  Describe(Java().String("new"));
  EXPECT_TRUE(SameRecord(expected, Sent()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(AlarmGroups, TextsOf255BytesArriveWhole) {
  const std::string longest(255, 'X');
  Rename(Java().String(longest));
  EXPECT_EQ(std::string(Sent().szName), longest);
  Describe(Java().String(longest));
  EXPECT_EQ(std::string(Sent().szDesc), longest);
}

TEST_F(AlarmGroups, MovingAGroupDoesNothingAndReportsSuccess) {
  EXPECT_EQ(Call(ZR(modifyAlarmParentID), 5, 7), 0);
  EXPECT_TRUE(SameLines({}, Log().All()));
}

// ---- finding and reading ----

jint Find(const Ref& name) { return Call(ZR(queryAlarmGroupID), name, -6); }

const std::string kFind = "am3_query_group_id(\"PLANT\", 4294967290, out)";
const std::string kProps = "am3_query_group_props(1, {4294967291}, out, out)";

TEST_F(AlarmGroups, AnIdentifierIsReturnedAsTheBitsOfAnInt) {
  Api().On<am3_query_group_id>([](auto, auto, uint32* id) {
    *id = 4294967294U;
    return 0;
  });
  EXPECT_EQ(Find(Java().String("plant")), -2);
  EXPECT_TRUE(SameLines({kFind}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

void AnswerProps(int32 status, int32 code) {
  Api().On<am3_query_group_props>([=](auto, auto, ZR3AlarmGroup* group, int32* error) {
    EXPECT_TRUE(HoldsOldBytes(group, sizeof *group));
    FillGroup(group);
    *error = code;
    return status;
  });
}

jint Props(const Ref& group) { return Call(ZR(queryAlarmGroupProp), -5, group); }

jint AmGroup(const Ref& group) { return Call(ZR(queryAmGroup), -5, group); }

Ref EmptyGroup() { return Java().New(kAlarmGroupClass, "group"); }

TEST_F(AlarmGroups, PropertiesAreWrittenIdentifiersFirst) {
  AnswerProps(0, 0);
  EXPECT_EQ(Props(EmptyGroup()), 0);
  EXPECT_TRUE(SameLines(Lines{kProps} + kIdSets + kTextSets, Log().Steps()));
}

TEST_F(AlarmGroups, PropertiesOfAGroupWhoseCodeAloneIsNotZeroAreItsCode) {
  AnswerProps(0, 117801);
  EXPECT_EQ(Props(EmptyGroup()), 117801);
  EXPECT_TRUE(SameLines({kProps}, Log().Steps()));
}

TEST_F(AlarmGroups, PropertiesThatFailReturnTheStatusNotTheCode) {
  AnswerProps(110113, 117801);
  EXPECT_EQ(Props(EmptyGroup()), 110113);
  EXPECT_TRUE(SameLines({kProps}, Log().Steps()));
}

TEST_F(AlarmGroups, TheOtherQueryWritesTextsFirstAndDoesNotLookAtTheCode) {
  AnswerProps(0, 117801);
  EXPECT_EQ(AmGroup(EmptyGroup()), 0);
  EXPECT_TRUE(SameLines(Lines{kProps} + kTextSets + kIdSets, Log().Steps()));
}

TEST_F(AlarmGroups, TheOtherQueryPresetsTheCode) {
  Api().On<am3_query_group_props>([](auto, auto, auto, int32* code) {
    EXPECT_EQ(*code, 0);
    return kSomeError;
  });
  EXPECT_EQ(AmGroup(EmptyGroup()), kSomeError);
  EXPECT_TRUE(SameLines({}, Log().Writes()));
}

// ---- children ----

struct ChildrenMethod {
  const char* name;
  std::string function;
  bool has_holder;
  jint (*call)(const Ref& holder);
};

const ChildrenMethod kChildrenMethods[] = {
    {"queryAlarmChildGroupsEx", "am3_query_group_child_groups", true,
     [](const Ref& holder) { return Call(ZR(queryAlarmChildGroupsEx), -5, holder); }},
    {"queryAlarmChildGroups", "am3_query_group_child_groups", false,
     [](const Ref&) { return Call(ZR(queryAlarmChildGroups), -5); }},
    {"queryAlarmChildTagsEx", "am3_query_group_child_tags", true,
     [](const Ref& holder) { return Call(ZR(queryAlarmChildTagsEx), -5, holder); }},
    {"queryAlarmChildTags", "am3_query_group_child_tags", false,
     [](const Ref&) { return Call(ZR(queryAlarmChildTags), -5); }},
};

void AnswerChildren(int32 status) {
  const auto answer = [status](uint32, ZR3HANDLE* handle) {
    *handle = reinterpret_cast<ZR3HANDLE>(kHandle);
    return status;
  };
  Api().On<am3_query_group_child_groups>(answer);
  Api().On<am3_query_group_child_tags>(answer);
}

class Children : public BridgeTest, public testing::WithParamInterface<ChildrenMethod> {};

TEST_P(Children, TheHandleIsStoredWholeWhateverTheStatusOrReturnedAsItsLowHalf) {
  for (const int32 status : {0, 117801}) {
    AnswerChildren(status);
    const Ref holder = Holder();
    const jint narrow = status == 0 ? kLowHalf : -1;
    EXPECT_EQ(GetParam().call(holder), GetParam().has_holder ? status : narrow);
    EXPECT_EQ(holder.Int("Value"), GetParam().has_holder ? kHandle : 41);
  }
}

INSTANTIATE_TEST_SUITE_P(Method, Children, testing::ValuesIn(kChildrenMethods),
                         [](const auto& row) { return std::string(row.param.name); });

const std::string kStep = "ut3_get_item_step(handle 77, out)";

void AnswerChildGroup() {
  Api().On<ut3_get_item_step>([](ZR3HANDLE, void* item) {
    EXPECT_TRUE(HoldsOldBytes(item, sizeof(ZR3AlarmGroup)));
    FillGroup(static_cast<ZR3AlarmGroup*>(item));
    return 0;
  });
}

TEST_F(AlarmGroups, AChildGroupIsWrittenIdentifiersFirst) {
  AnswerChildGroup();
  EXPECT_EQ(Call(ZR(getAmChildGroupsItemStep), 77, EmptyGroup()), 0);
  EXPECT_TRUE(SameLines(Lines{kStep} + kIdSets + kTextSets, Log().Steps()));
}

TEST_F(AlarmGroups, AChildTagIsTheResultAndMinusOneEndsThem) {
  Api().On<ut3_get_item_step>([](ZR3HANDLE, void* item) {
    *static_cast<uint32*>(item) = 4294967294U;
    return 0;
  });
  EXPECT_EQ(Call(ZR(getAmChildTagsItemStep), 77), -2);
  Api().Answer("ut3_get_item_step", ZR3_ERR_END_OF_ITERATION);
  EXPECT_EQ(Call(ZR(getAmChildTagsItemStep), 77), -1);
}

Method RowOf(const ChildrenMethod& method) {
  const Failure failure = method.has_holder ? Failure{.writes = {"SetLongField holder.Value = ..."}}
                                            : Failure{.result = -1};
  return {.name = method.name,
          .lookups = method.has_holder ? LookUp(kLongWrapperClass) : Lines{},
          .api = {method.function + "(4294967291, out)"},
          .result = method.has_holder ? 0 : kLowHalf,
          .failures = {failure},
          .call = [&method] {
            AnswerChildren(0);
            return method.call(Holder());
          }};
}

Method PropsRow(const char* name, jint (*query)(const Ref&)) {
  return {.name = name, .lookups = LookUp(kAlarmGroupClass), .api = {kProps}, .call = [query] {
            AnswerProps(0, 0);
            return query(EmptyGroup());
          }};
}

}  // namespace

Methods AlarmGroupMethods() {
  const std::string modify = "am3_modify_group(4294967291, ZR3AlarmGroup)";
  Methods methods = {
      {.name = "addAlarmGroup",
       .lookups = LookUp(kAlarmGroupClass),
       .api = {"am3_add_group(ZR3AlarmGroup, its own nParentID)"},
       .call = [] { return Add(); }},
      {.name = "deleteAlarmGroup",
       .api = {"am3_delete_group(4294967291)"},
       .call = [] { return Call(ZR(deleteAlarmGroup), -5); }},
      {.name = "modifyAlarmGroupName",
       .api = {modify},
       .call = [] { return Rename(Java().String("new")); }},
      {.name = "modifyAlarmGroupDesc",
       .api = {modify},
       .call = [] { return Describe(Java().String("new")); }},
      {.name = "modifyAlarmParentID",
       .failures = {},
       .call = [] { return Call(ZR(modifyAlarmParentID), 5, 7); }},
      {.name = "queryAlarmGroupID",
       .api = {kFind},
       .failures = {{.result = -1}},
       .call = [] { return Find(Java().String("plant")); }},
      PropsRow("queryAlarmGroupProp", Props),
      PropsRow("queryAmGroup", AmGroup),
      {.name = "getAmChildGroupsItemStep",
       .lookups = LookUp(kAlarmGroupClass),
       .api = {kStep},
       .call =
           [] {
             AnswerChildGroup();
             return Call(ZR(getAmChildGroupsItemStep), 77, EmptyGroup());
           }},
      {.name = "getAmChildTagsItemStep",
       .api = {kStep},
       .failures = {{.result = -1}},
       .call = [] { return Call(ZR(getAmChildTagsItemStep), 77); }},
  };
  for (const ChildrenMethod& method : kChildrenMethods) methods.push_back(RowOf(method));
  return methods;
}

}  // namespace zervane::bridge_test
