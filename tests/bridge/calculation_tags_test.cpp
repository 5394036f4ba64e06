#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

Ref JavaTag() {
  return FillCommonFields(Java().New(kCalcTagClass, "tag"))
      .Set("m_calcMode", 1)
      .Set("m_calcPeriod", 60)
      .Set("m_calcExpr", Java().String("'a'+1"))
      .Set("m_calcHistory", true)
      .Set("m_calcStartDate", 71)
      .Set("m_calcEndDate", 72)
      .Set("m_haveEndTime", false)
      .Set("m_sourceTagName", Java().String("source"));
}

Lines TagGets() {
  return CommonGets("tag") +
         Gets("tag", {"Byte m_calcMode", "Int m_calcPeriod", "Object m_calcExpr",
                      "Boolean m_calcHistory", "Int m_calcStartDate", "Int m_calcEndDate",
                      "Boolean m_haveEndTime", "Object m_sourceTagName"});
}

void FillExtension(ZR3CalcTagProp* prop) {
  prop->nCalcMode = 1;
  prop->nCalcPeriod = 60;
  strcpy(prop->szCalcExpr, "'A'+1");
  prop->bCalcHistory = 1;
  prop->nCalcStartDate = 71;
  prop->nCalcEndDate = 72;
  prop->bHaveEndTime = 0;
  strcpy(prop->szSourceTagName, "SOURCE");
}

ZR3CalcTagProp AsRead() {
  ZR3CalcTagProp prop;
  memset(&prop, 0, sizeof prop);
  FillAsRead(&prop);
  FillExtension(&prop);
  return prop;
}

const ZR3CalcTagProp& Sent() { return Api().Sent<ZR3CalcTagProp>().at(0); }

jint Add(const Ref& tag) { return Call(ZR(addCalcTag), tag, -5, 6); }

jint Modify(const Ref& tag) { return Call(ZR(modifyCalcTag), tag, -5, 6); }

const std::string kAdd = "ca3_add_tag(ZR3CalcTagProp, mask -5/6, null, out)";
const std::string kModify = "ca3_modify_tag_prop(7001, ZR3CalcTagProp, mask -5/6)";

class CalculationTags : public BridgeTest {};

TEST_F(CalculationTags, AddingAndModifyingSendAClearedRecord) {
  Add(JavaTag());
  EXPECT_TRUE(SameRecord(AsRead(), Sent()));
  EXPECT_TRUE(SameLines(TagGets() + Lines{kAdd}, Log().Steps()));
  Modify(JavaTag());
  EXPECT_TRUE(SameRecord(AsRead(), Sent()));
  EXPECT_TRUE(SameLines(TagGets() + Lines{kModify}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(CalculationTags, TheNewIdentifierIsNotHandedOut) {
  Api().On<ca3_add_tag>([](auto, auto, auto, uint32* id) {
    *id = 99;
    return 0;
  });
  const Ref tag = JavaTag();
  EXPECT_EQ(Add(tag), 0);
  EXPECT_EQ(tag.Int("m_tagID"), 7001);
}

TEST_F(CalculationTags, AModeIsSignExtended) {
  Add(JavaTag().Set("m_calcMode", -1));
  EXPECT_EQ(Sent().nCalcMode, -1);
}

TEST_F(CalculationTags, AnExpressionOf511BytesArrivesWhole) {
  const std::string expression(511, 'X');
  Add(JavaTag().Set("m_calcExpr", Java().String(expression)));
  EXPECT_EQ(std::string(Sent().szCalcExpr), expression);
}

void AnswerAQueriedTag() {
  Api().On<ca3_query_tag_prop>([](uint32, ZR3CalcTagProp* prop) {
    EXPECT_TRUE(HoldsOldBytes(prop, sizeof *prop));
    FillAsQueried(prop);
    FillExtension(prop);
    prop->nCalcMode = 0x101;
    return 0;
  });
}

TEST_F(CalculationTags, ReadingWritesEveryFieldButTheClassInOrder) {
  AnswerAQueriedTag();
  const Ref tag = Java().New(kCalcTagClass, "tag").Set("m_tagClass", 5);
  EXPECT_EQ(Call(ZR(queryCalcTag), -1, tag), 0);
  const Lines extension = Sets(
      "tag", {"Byte m_calcMode = 1", "Int m_calcPeriod = 60", "Object m_calcExpr = \"'a'+1\"",
              "Boolean m_calcHistory = 1", "Int m_calcStartDate = 71", "Int m_calcEndDate = 72",
              "Boolean m_haveEndTime = 0", "Object m_sourceTagName = \"source\""});
  EXPECT_TRUE(
      SameLines(Lines{"ca3_query_tag_prop(4294967295, out)"} + CommonSets("tag", false) + extension,
                Log().Steps()));
  EXPECT_EQ(tag.Int("m_tagClass"), 5);
}

}  // namespace

Methods CalculationTagMethods() {
  return {
      {.name = "addCalcTag",
       .lookups = LookUp(kCalcTagClass),
       .api = {kAdd},
       .call = [] { return Add(JavaTag()); }},
      {.name = "modifyCalcTag",
       .lookups = LookUp(kCalcTagClass),
       .api = {kModify},
       .call = [] { return Modify(JavaTag()); }},
      {.name = "queryCalcTag",
       .lookups = LookUp(kCalcTagClass),
       .api = {"ca3_query_tag_prop(7, out)"},
       .call =
           [] {
             AnswerAQueriedTag();
             return Call(ZR(queryCalcTag), 7, Java().New(kCalcTagClass, "tag"));
           }},
  };
}

}  // namespace zervane::bridge_test
