#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

Ref JavaTag() {
  return FillCommonFields(Java().New(kStatsTagClass, "tag"))
      .Set("m_sourceTagName", Java().String("source"))
      .Set("m_statsType", -25)
      .Set("m_sampleStartDate", 81)
      .Set("m_sampleMode", 4)
      .Set("m_sampleInterval", 82)
      .Set("m_sampleBeginOffset", 83)
      .Set("m_sampleEndOffset", 84)
      .Set("m_sampleMonthBeginDay", 31)
      .Set("m_sampleMonthEndDay", -2)
      .Set("m_beginTimeStamp", true)
      .Set("m_timeStampOffset", 85)
      .Set("m_scanPeriod", 86)
      .Set("m_pctGood", 87.5)
      .Set("m_filterExpr", Java().String("value>0"))
      .Set("m_dropBadMode", 1)
      .Set("m_countParam1", 88.25)
      .Set("m_countParam2", -89.25)
      .Set("m_sampleType", 2)
      .Set("m_interpOffset", 90)
      .Set("m_interpPeriod", 91)
      .Set("m_conversionType", -1)
      .Set("m_conversion", 92.75)
      .Set("m_filterFailMode", 3)
      .Set("m_calcPeriod", 93)
      .Set("m_reset", true)
      .Set("m_useBadValue", false);
}

Lines TagGets() {
  return CommonGets("tag") +
         Gets("tag",
              {"Object m_sourceTagName",   "Byte m_statsType",           "Int m_sampleStartDate",
               "Byte m_sampleMode",        "Int m_sampleInterval",       "Int m_sampleBeginOffset",
               "Int m_sampleEndOffset",    "Byte m_sampleMonthBeginDay", "Byte m_sampleMonthEndDay",
               "Boolean m_beginTimeStamp", "Int m_timeStampOffset",      "Int m_scanPeriod",
               "Float m_pctGood",          "Object m_filterExpr",        "Byte m_dropBadMode",
               "Double m_countParam1",     "Double m_countParam2",       "Byte m_sampleType",
               "Int m_interpOffset",       "Int m_interpPeriod",         "Byte m_conversionType",
               "Double m_conversion",      "Byte m_filterFailMode",      "Int m_calcPeriod",
               "Boolean m_reset",          "Boolean m_useBadValue"});
}

void FillExtension(ZR3StatsTagProp* prop) {
  strcpy(prop->szSourceTagName, "SOURCE");
  prop->nStatsType = -25;
  prop->nSampleStartDate = 81;
  prop->nSampleMode = 4;
  prop->nSampleInterval = 82;
  prop->nSampleBeginOffset = 83;
  prop->nSampleEndOffset = 84;
  prop->nSampleMonthBeginDay = 31;
  prop->nSampleMonthEndDay = 254;
  prop->bBeginTimeStamp = 1;
  prop->nTimeStampOffset = 85;
  prop->nScanPeriod = 86;
  prop->fPctGood = 87.5F;
  strcpy(prop->szFilterExpr, "VALUE>0");
  prop->nDropBadMode = 1;
  prop->dCountParam1 = 88.25;
  prop->dCountParam2 = -89.25;
  prop->nSampleType = 2;
  prop->nInterpOffset = 90;
  prop->nInterpPeriod = 91;
  prop->nConversionType = -1;
  prop->dConversion = 92.75;
  prop->nFilterFailMode = 3;
  prop->nCalcPeriod = 93;
  prop->bReset = 1;
  prop->bUseBadValue = 0;
}

ZR3StatsTagProp AsRead() {
  ZR3StatsTagProp prop;
  memset(&prop, 0, sizeof prop);
  FillAsRead(&prop);
  FillExtension(&prop);
  return prop;
}

const ZR3StatsTagProp& Sent() { return Api().Sent<ZR3StatsTagProp>().at(0); }

jint Add(const Ref& tag) { return Call(ZR(addStatsTag), tag, -5, 6); }

jint Modify(const Ref& tag) { return Call(ZR(modifyStatsTag), tag, -5, 6); }

const std::string kAdd = "st3_add_tag(ZR3StatsTagProp, mask -5/6, null, out)";
const std::string kModify = "st3_modify_tag_prop(7001, ZR3StatsTagProp, mask -5/6)";

class StatisticsTags : public BridgeTest {};

TEST_F(StatisticsTags, AddingAndModifyingSendAClearedRecord) {
  Add(JavaTag());
  EXPECT_TRUE(SameRecord(AsRead(), Sent()));
  EXPECT_TRUE(SameLines(TagGets() + Lines{kAdd}, Log().Steps()));
  Modify(JavaTag());
  EXPECT_TRUE(SameRecord(AsRead(), Sent()));
  EXPECT_TRUE(SameLines(TagGets() + Lines{kModify}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(StatisticsTags, TheNewIdentifierIsNotHandedOut) {
  Api().On<st3_add_tag>([](auto, auto, auto, uint32* id) {
    *id = 99;
    return 0;
  });
  const Ref tag = JavaTag();
  EXPECT_EQ(Add(tag), 0);
  EXPECT_EQ(tag.Int("m_tagID"), 7001);
}

void AnswerAQueriedTag() {
  Api().On<st3_query_tag_prop>([](uint32, ZR3StatsTagProp* prop) {
    EXPECT_TRUE(HoldsOldBytes(prop, sizeof *prop));
    FillAsQueried(prop);
    FillExtension(prop);
    prop->nSampleMode = 0x104;
    return 0;
  });
}

TEST_F(StatisticsTags, ReadingWritesEveryFieldButTheClassInOrder) {
  AnswerAQueriedTag();
  const Ref tag = Java().New(kStatsTagClass, "tag").Set("m_tagClass", 5);
  EXPECT_EQ(Call(ZR(queryStatsTag), -1, tag), 0);
  const Lines extension = Sets("tag", {"Object m_sourceTagName = \"source\"",
                                       "Byte m_statsType = -25",
                                       "Int m_sampleStartDate = 81",
                                       "Byte m_sampleMode = 4",
                                       "Int m_sampleInterval = 82",
                                       "Int m_sampleBeginOffset = 83",
                                       "Int m_sampleEndOffset = 84",
                                       "Byte m_sampleMonthBeginDay = 31",
                                       "Byte m_sampleMonthEndDay = -2",
                                       "Boolean m_beginTimeStamp = 1",
                                       "Int m_timeStampOffset = 85",
                                       "Int m_scanPeriod = 86",
                                       "Float m_pctGood = 87.5",
                                       "Object m_filterExpr = \"value>0\"",
                                       "Byte m_dropBadMode = 1",
                                       "Double m_countParam1 = 88.25",
                                       "Double m_countParam2 = -89.25",
                                       "Byte m_sampleType = 2",
                                       "Int m_interpOffset = 90",
                                       "Int m_interpPeriod = 91",
                                       "Byte m_conversionType = -1",
                                       "Double m_conversion = 92.75",
                                       "Byte m_filterFailMode = 3",
                                       "Int m_calcPeriod = 93",
                                       "Boolean m_reset = 1",
                                       "Boolean m_useBadValue = 0"});
  EXPECT_TRUE(
      SameLines(Lines{"st3_query_tag_prop(4294967295, out)"} + CommonSets("tag", false) + extension,
                Log().Steps()));
  EXPECT_EQ(tag.Int("m_tagClass"), 5);
}

TEST_F(StatisticsTags, AnIdentifierIsReturnedAsTheBitsOfAnInt) {
  Api().On<tag3_query_id_by_name>([](const char*, uint32* id) {
    *id = 4294967294U;
    return 0;
  });
  EXPECT_EQ(Call(ZR(queryStatsTagID), Java().String("mean")), -2);
  EXPECT_EQ(Left(), Blocks{});
}

}  // namespace

Methods StatisticsTagMethods() {
  return {
      {.name = "addStatsTag",
       .lookups = LookUp(kStatsTagClass),
       .api = {kAdd},
       .call = [] { return Add(JavaTag()); }},
      {.name = "modifyStatsTag",
       .lookups = LookUp(kStatsTagClass),
       .api = {kModify},
       .call = [] { return Modify(JavaTag()); }},
      {.name = "queryStatsTag",
       .lookups = LookUp(kStatsTagClass),
       .api = {"st3_query_tag_prop(7, out)"},
       .call =
           [] {
             AnswerAQueriedTag();
             return Call(ZR(queryStatsTag), 7, Java().New(kStatsTagClass, "tag"));
           }},
      {.name = "queryStatsTagID",
       .api = {"tag3_query_id_by_name(\"MEAN\", out)"},
       .failures = {{.result = -1}},
       .call = [] { return Call(ZR(queryStatsTagID), Java().String("mean")); }},
  };
}

}  // namespace zervane::bridge_test
