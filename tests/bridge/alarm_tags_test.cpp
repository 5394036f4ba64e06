#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

Ref JavaTag() {
  const auto text = [](const char* utf8) { return Java().String(utf8); };
  return FillCommonFields(Java().New(kAlarmTagClass, "tag"))
      .Set("m_Test1", text("t1"))
      .Set("m_Test2", text("t2"))
      .Set("m_Test3", text("t3"))
      .Set("m_Test4", text("t4"))
      .Set("m_Action1", text("a1"))
      .Set("m_Action2", text("a2"))
      .Set("m_Action3", text("a3"))
      .Set("m_Action4", text("a4"))
      .Set("m_SourceTagName", text("source"))
      .Set("m_nAlarmGroupID", -7)
      .Set("m_nAutoAck", 1)
      .Set("m_TimeDeadBand", 30)
      .Set("m_fValueDeadBand", 0.125);
}

Lines TagGets() {
  return CommonGets("tag") +
         Gets("tag", {"Object m_Test1", "Object m_Test2", "Object m_Test3", "Object m_Test4",
                      "Object m_Action1", "Object m_Action2", "Object m_Action3",
                      "Object m_Action4", "Object m_SourceTagName", "Int m_nAlarmGroupID",
                      "Byte m_nAutoAck", "Int m_TimeDeadBand", "Float m_fValueDeadBand"});
}

void FillExtension(ZR3AlarmTagProp* prop) {
  strcpy(prop->szTest1, "T1");
  strcpy(prop->szTest2, "T2");
  strcpy(prop->szTest3, "T3");
  strcpy(prop->szTest4, "T4");
  strcpy(prop->szAction1, "A1");
  strcpy(prop->szAction2, "A2");
  strcpy(prop->szAction3, "A3");
  strcpy(prop->szAction4, "A4");
  strcpy(prop->szSourceTagName, "SOURCE");
  prop->nAlarmGroupID = 4294967289U;
  prop->nAutoAck = 1;
  prop->nTimeDeadBand = 30;
  prop->fValueDeadBand = 0.125F;
}

ZR3AlarmTagProp AsRead() {
  ZR3AlarmTagProp prop;
  memset(&prop, 0, sizeof prop);
  FillAsRead(&prop);
  FillExtension(&prop);
  return prop;
}

const ZR3AlarmTagProp& Sent() { return Api().Sent<ZR3AlarmTagProp>().at(0); }

jint Add(const Ref& tag) { return Call(ZR(addAlarmTag), tag, -5, 6); }

jint Modify(const Ref& tag) { return Call(ZR(modifyAlarmTag), tag, -5, 6); }

const std::string kAdd = "am3_add_tag(ZR3AlarmTagProp, mask -5/6, null, its own nTagID)";
const std::string kModify = "am3_modify_tag_prop(7001, ZR3AlarmTagProp, mask -5/6)";

class AlarmTags : public BridgeTest {};

TEST_F(AlarmTags, AddingSendsAClearedRecord) {
  Add(JavaTag());
  EXPECT_TRUE(SameRecord(AsRead(), Sent()));
  EXPECT_TRUE(SameLines(TagGets() + Lines{kAdd}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(AlarmTags, TheNewIdentifierEndsInTheRecord) {
  Api().On<am3_add_tag>([](ZR3AlarmTagProp* prop, auto, auto, uint32* id) {
    *id = 99;
    EXPECT_EQ(prop->nTagID, 99U);
    return 0;
  });
  const Ref tag = JavaTag();
  EXPECT_EQ(Add(tag), 0);
  EXPECT_EQ(tag.Int("m_tagID"), 7001);
  EXPECT_TRUE(SameLines({}, Log().Writes()));
}

TEST_F(AlarmTags, AnAcknowledgementModeIsNotCheckedAndSignExtended) {
  Add(JavaTag().Set("m_nAutoAck", -1));
  EXPECT_EQ(Sent().nAutoAck, -1);
}

TEST_F(AlarmTags, ModifyingReadsTheSameFields) {
  Modify(JavaTag());
  EXPECT_TRUE(SameLines(TagGets() + Lines{kModify}, Log().Steps()));
  const ZR3AlarmTagProp expected = AsRead();
  EXPECT_EQ(Sent().nCreationDate, expected.nCreationDate);
  EXPECT_EQ(Sent().fSpan, expected.fSpan);
  EXPECT_EQ(Sent().fMinValue, expected.fMinValue);
  EXPECT_STREQ(Sent().szAction4, "A4");
  EXPECT_EQ(Sent().fValueDeadBand, 0.125F);
}

TEST_F(AlarmTags, ModifyingClearsTheFirst172BytesAndNoMore) {
  Modify(JavaTag());
  EXPECT_EQ(Sent().szTagName[171], '\0');
  EXPECT_TRUE(HoldsOldBytes(Sent().szTagName + 172, sizeof(Sent().szTagName) - 172));
  EXPECT_TRUE(HoldsOldBytes(Sent().szIMVString, size_t{3} * ZR3_LEN_EXT_STRING));
}

void AnswerAQueriedTag() {
  Api().On<am3_query_tag_prop>([](uint32, ZR3AlarmTagProp* prop) {
    EXPECT_TRUE(HoldsOldBytes(prop, sizeof *prop));
    FillAsQueried(prop);
    FillExtension(prop);
    prop->nAutoAck = 0x201;
    return 0;
  });
}

TEST_F(AlarmTags, ReadingWritesEveryFieldButTheClassInOrder) {
  AnswerAQueriedTag();
  const Ref tag = Java().New(kAlarmTagClass, "tag").Set("m_tagClass", 5);
  EXPECT_EQ(Call(ZR(queryAlarmTag), -1, tag), 0);
  const Lines extension = Sets(
      "tag", {"Object m_Test1 = \"t1\"", "Object m_Test2 = \"t2\"", "Object m_Test3 = \"t3\"",
              "Object m_Test4 = \"t4\"", "Object m_Action1 = \"a1\"", "Object m_Action2 = \"a2\"",
              "Object m_Action3 = \"a3\"", "Object m_Action4 = \"a4\"",
              "Object m_SourceTagName = \"source\"", "Int m_nAlarmGroupID = -7",
              "Byte m_nAutoAck = 1", "Int m_TimeDeadBand = 30", "Float m_fValueDeadBand = 0.125"});
  EXPECT_TRUE(
      SameLines(Lines{"am3_query_tag_prop(4294967295, out)"} + CommonSets("tag", false) + extension,
                Log().Steps()));
  EXPECT_EQ(tag.Int("m_tagClass"), 5);
}

TEST_F(AlarmTags, AnUnknownNameHasIdentifierMinusOneAndAHugeOneIsNegative) {
  Api().Answer("tag3_query_id_by_name", 117802);
  EXPECT_EQ(Call(ZR(queryAlarmTagID), Java().String("a1")), -1);
  ResetScene();
  Api().On<tag3_query_id_by_name>([](const char*, uint32* id) {
    *id = 4294967294U;
    return 0;
  });
  EXPECT_EQ(Call(ZR(queryAlarmTagID), Java().String("a1")), -2);
  EXPECT_EQ(Left(), Blocks{});
}

}  // namespace

Methods AlarmTagMethods() {
  return {
      {.name = "addAlarmTag",
       .lookups = LookUp(kAlarmTagClass),
       .api = {kAdd},
       .call = [] { return Add(JavaTag()); }},
      {.name = "modifyAlarmTag",
       .lookups = LookUp(kAlarmTagClass),
       .api = {kModify},
       .call = [] { return Modify(JavaTag()); }},
      {.name = "queryAlarmTag",
       .lookups = LookUp(kAlarmTagClass),
       .api = {"am3_query_tag_prop(7, out)"},
       .call =
           [] {
             AnswerAQueriedTag();
             return Call(ZR(queryAlarmTag), 7, Java().New(kAlarmTagClass, "tag"));
           }},
      {.name = "deleteAlarmTag",
       .api = {"tag3_delete_tag(4294967295)"},
       .call = [] { return Call(ZR(deleteAlarmTag), -1); }},
      {.name = "queryAlarmTagID",
       .api = {"tag3_query_id_by_name(\"A1\", out)"},
       .failures = {{.result = -1}},
       .call = [] { return Call(ZR(queryAlarmTagID), Java().String("a1")); }},
  };
}

}  // namespace zervane::bridge_test
