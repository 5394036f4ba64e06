#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

constexpr jlong kCommMask = 0x100000005;
constexpr jlong kExtMask = -1;
const std::string kMasks = "mask 4294967301/-1";

Ref JavaTag() {
  const auto text = [](const char* utf8) { return Java().String(utf8); };
  return FillCommonFields(Java().New(kTagPropClass, "tag"))
      .Set("m_instrumentPoint", text("db1.dbw2"))
      .Set("m_instrumentPointType", 7)
      .Set("m_CollectorName", text("col"))
      .Set("m_CollectorID", -12)
      .Set("m_DeviceName", text("dev"))
      .Set("m_DeviceID", 34)
      .Set("m_ScanGroupName", text("scan"))
      .Set("m_ScanGroupID", 56)
      .Set("m_param1", 1)
      .Set("m_param2", 2)
      .Set("m_param3", 3)
      .Set("m_param4", 4)
      .Set("m_param5", -5);
}

Lines TagGets() {
  return CommonGets("tag") +
         Gets("tag", {"Object m_instrumentPoint", "Int m_instrumentPointType",
                      "Object m_CollectorName", "Int m_CollectorID", "Object m_DeviceName",
                      "Object m_ScanGroupName", "Int m_ScanGroupID", "Byte m_param1",
                      "Byte m_param2", "Byte m_param3", "Byte m_param4", "Byte m_param5"});
}

// What the Java tag reads as, in a cleared record.
ZR3PtTagProp AsRead() {
  ZR3PtTagProp prop;
  memset(&prop, 0, sizeof prop);
  FillAsRead(&prop);
  strcpy(prop.szInstrumentAddress, "DB1.DBW2");
  prop.nInstrumentAddressType = 7;
  strcpy(prop.szCollectorName, "COL");
  prop.nCollectorID = -12;
  strcpy(prop.szDeviceName, "DEV");
  strcpy(prop.szScanGroupName, "SCAN");
  prop.nScanGroupID = 56;
  prop.nParam1 = 1;
  prop.nParam2 = 2;
  prop.nParam3 = 3;
  prop.nParam4 = 4;
  prop.nParam5 = 251;
  return prop;
}

const ZR3PtTagProp& Sent() { return Api().Sent<ZR3PtTagProp>().at(0); }

jint AddTag(const Ref& tag) { return Call(ZR(addTag), tag, kCommMask, kExtMask); }

jint ModifyTag(const Ref& tag) { return Call(ZR(modifyTag), tag, kCommMask, kExtMask); }

class PointTags : public BridgeTest {};

TEST_F(PointTags, AddTagSendsAClearedRecordWithEveryFieldThatIsRead) {
  AddTag(JavaTag());
  EXPECT_TRUE(SameRecord(AsRead(), Sent()));
}

TEST_F(PointTags, AddTagReadsTheFieldsInOrderThenMakesItsCall) {
  AddTag(JavaTag());
  EXPECT_TRUE(SameLines(TagGets() + Lines{"pt3_add_tag(ZR3PtTagProp, " + kMasks + ", null, out)"},
                        Log().Steps()));
}

TEST_F(PointTags, EveryConvertedTextIsFreed) {
  AddTag(JavaTag());
  EXPECT_EQ(Probe().count(), 14);
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(PointTags, TheNewIdentifierIsNotHandedOut) {
  Api().On<pt3_add_tag>([](const auto*, const auto*, const char*, uint32* id) {
    *id = 99;
    return 0;
  });
  const Ref tag = JavaTag();
  EXPECT_EQ(AddTag(tag), 0);
  EXPECT_EQ(tag.Int("m_tagID"), 7001);
  EXPECT_TRUE(SameLines({}, Log().Writes()));
}

TEST_F(PointTags, ANodeNameIsConvertedAfterTheObjectWasReadAndPassedOn) {
  Call(ZR(addTagWithNodeName), JavaTag(), 5, 6, Java().String("node7"));
  EXPECT_TRUE(SameRecord(AsRead(), Sent()));
  EXPECT_TRUE(SameLines(TagGets() + Lines{"pt3_add_tag(ZR3PtTagProp, mask 5/6, \"NODE7\", out)"},
                        Log().Steps()));
  EXPECT_EQ(Log().Texts().back(), "ReleaseStringUTFChars \"node7\"");
}

TEST_F(PointTags, ANullNodeNameIsAnEmptyOne) {
  Call(ZR(addTagWithNodeName), JavaTag(), 5, 6, nullptr);
  EXPECT_TRUE(SameLines({"pt3_add_tag(ZR3PtTagProp, mask 5/6, \"\", out)"}, Log().Api()));
}

TEST_F(PointTags, NullTextsAreSentEmpty) {
  Ref tag = JavaTag();
  for (const JavaField& field : kTagPropClass.fields) {
    if (field.signature.size() > 1) tag.Set(field.name, Ref());
  }
  AddTag(tag);
  EXPECT_STREQ(Sent().szTagName, "");
  EXPECT_STREQ(Sent().szScanGroupName, "");
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(PointTags, ANullObjectIsReadAllTheSameAndEndsTheProcess) { EXPECT_DEATH(AddTag(Ref()), ""); }

TEST_F(PointTags, NegativeEnumerationsAreSignExtended) {
  AddTag(JavaTag().Set("m_tagType", -1).Set("m_tagClass", -2).Set("m_compType", -128));
  EXPECT_EQ(Sent().nTagType, -1);
  EXPECT_EQ(Sent().nTagClass, -2);
  EXPECT_EQ(Sent().nCompType, -128);
}

TEST_F(PointTags, ANegativeInstrumentPointTypeKeepsItsLowByteAlone) {
  AddTag(JavaTag().Set("m_instrumentPointType", -1));
  EXPECT_EQ(Sent().nInstrumentAddressType, 255);
  EXPECT_STREQ(Sent().szCollectorName, "COL");
}

struct LongText {
  const char* field;
  size_t length;  // the longest that fits
  size_t offset;
};

class LongestTexts : public BridgeTest, public testing::WithParamInterface<LongText> {};

TEST_P(LongestTexts, ArriveWhole) {
  const std::string text(GetParam().length, 'X');
  AddTag(JavaTag().Set(GetParam().field, Java().String(text)));
  const char* const sent = reinterpret_cast<const char*>(&Sent()) + GetParam().offset;
  EXPECT_EQ(std::string(sent), text);
}

TEST_P(LongestTexts, AreNotCutWhenTheyAreLonger) {
  const std::string text(GetParam().length + 1, 'X');
  AddTag(JavaTag().Set(GetParam().field, Java().String(text)));
  const char* const sent = reinterpret_cast<const char*>(&Sent()) + GetParam().offset;
  EXPECT_EQ(std::string(sent, text.size()), text);
}

INSTANTIATE_TEST_SUITE_P(
    Field, LongestTexts,
    testing::Values(LongText{"m_tagName", 255, offsetof(ZR3PtTagProp, szTagName)},
                    LongText{"m_changer", 63, offsetof(ZR3PtTagProp, szChanger)},
                    LongText{"m_creator", 63, offsetof(ZR3PtTagProp, szCreator)},
                    LongText{"m_recOperateGroup", 63, offsetof(ZR3PtTagProp, szRecNormalGroup)},
                    LongText{"m_recOwnerGroup", 63, offsetof(ZR3PtTagProp, szRecOwnerGroup)},
                    LongText{"m_tagOperateGroup", 63, offsetof(ZR3PtTagProp, szTagNormalGroup)},
                    LongText{"m_tagOwnerGroup", 63, offsetof(ZR3PtTagProp, szTagOwnerGroup)},
                    LongText{"m_digitalSet", 63, offsetof(ZR3PtTagProp, szDigitalSet)},
                    LongText{"m_engUnits", 63, offsetof(ZR3PtTagProp, szEngUnits)},
                    LongText{"m_descriptor", 2047, offsetof(ZR3PtTagProp, szDescriptor)},
                    LongText{"m_instrumentPoint", 511, offsetof(ZR3PtTagProp, szInstrumentAddress)},
                    LongText{"m_CollectorName", 127, offsetof(ZR3PtTagProp, szCollectorName)},
                    LongText{"m_DeviceName", 127, offsetof(ZR3PtTagProp, szDeviceName)},
                    LongText{"m_ScanGroupName", 127, offsetof(ZR3PtTagProp, szScanGroupName)}),
    [](const auto& row) { return std::string(row.param.field); });

TEST_F(PointTags, ModifyTagNamesTheTagByItsOwnIdentifier) {
  ModifyTag(JavaTag().Set("m_tagID", -2));
  EXPECT_TRUE(
      SameLines(TagGets() + Lines{"pt3_modify_tag_prop(4294967294, ZR3PtTagProp, " + kMasks + ")"},
                Log().Steps()));
}

TEST_F(PointTags, ModifyTagReadsWhatAddTagReads) {
  ModifyTag(JavaTag());
  ZR3PtTagProp expected = AsRead();
  ZR3PtTagProp sent = Sent();
  EXPECT_STREQ(sent.szTagName, expected.szTagName);
  EXPECT_EQ(sent.nCreationDate, expected.nCreationDate);
  EXPECT_EQ(sent.fSpan, expected.fSpan);
  EXPECT_EQ(sent.fMinValue, expected.fMinValue);
  EXPECT_STREQ(sent.szInstrumentAddress, expected.szInstrumentAddress);
  EXPECT_EQ(sent.nInstrumentAddressType, expected.nInstrumentAddressType);
  EXPECT_EQ(sent.nScanGroupID, expected.nScanGroupID);
  EXPECT_EQ(sent.nParam5, expected.nParam5);
}

TEST_F(PointTags, ModifyTagClearsTheFirst172BytesAndNoMore) {
  ModifyTag(JavaTag());
  constexpr size_t kName = 10;  // "FIC101.PV" and its terminator
  EXPECT_TRUE(
      SameBytes(std::string(172 - kName, '\0').data(), Sent().szTagName + kName, 172 - kName));
  EXPECT_TRUE(HoldsOldBytes(Sent().szTagName + 172, sizeof(Sent().szTagName) - 172));
  EXPECT_TRUE(HoldsOldBytes(Sent().szIMVString, size_t{3} * ZR3_LEN_EXT_STRING));
}

void AnswerAQueriedTag() {
  Api().On<pt3_query_tag_prop>([](uint32, ZR3PtTagProp* prop) {
    EXPECT_TRUE(HoldsOldBytes(prop, sizeof *prop));
    FillAsQueried(prop);
    strcpy(prop->szInstrumentAddress, "IA");
    prop->nInstrumentAddressType = 200;
    strcpy(prop->szCollectorName, "CN");
    prop->nCollectorID = -61;
    strcpy(prop->szDeviceName, "DN");
    prop->nDeviceID = 62;
    strcpy(prop->szScanGroupName, "SN");
    prop->nScanGroupID = 63;
    return 0;
  });
}

TEST_F(PointTags, GetTagWritesEveryFieldButTheClassInOrder) {
  AnswerAQueriedTag();
  const Ref tag = Java().New(kTagPropClass, "tag").Set("m_tagClass", 5);
  EXPECT_EQ(Call(ZR(getTag), -2, tag), 0);
  const Lines point =
      Sets("tag", {"Object m_instrumentPoint = \"ia\"", "Byte m_instrumentPointType = -56",
                   "Object m_CollectorName = \"cn\"", "Int m_CollectorID = -61",
                   "Object m_DeviceName = \"dn\"", "Int m_DeviceID = 62",
                   "Object m_ScanGroupName = \"sn\"", "Int m_ScanGroupID = 63"});
  EXPECT_TRUE(SameLines(Lines{"pt3_query_tag_prop(4294967294, out)"} + CommonSets("tag", false) +
                            point + ParameterSets("tag"),
                        Log().Steps()));
  EXPECT_EQ(tag.Int("m_tagClass"), 5);
}

TEST_F(PointTags, GetTagOfAnUnknownTagLeavesTheObjectUntouched) {
  Api().Answer("pt3_query_tag_prop", ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(Call(ZR(getTag), 7, JavaTag()), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_TRUE(SameLines({"pt3_query_tag_prop(7, out)"}, Log().Steps()));
}

}  // namespace

Methods PointTagMethods() {
  return {
      {.name = "addTag",
       .lookups = LookUp(kTagPropClass),
       .api = {"pt3_add_tag(ZR3PtTagProp, " + kMasks + ", null, out)"},
       .call = [] { return AddTag(JavaTag()); }},
      {.name = "addTagWithNodeName",
       .lookups = LookUp(kTagPropClass),
       .api = {"pt3_add_tag(ZR3PtTagProp, mask -5/6, \"NODE7\", out)"},
       .left = {TextBlock(5)},
       .failures = {{.left = {TextBlock(5)}}},
       .call =
           [] { return Call(ZR(addTagWithNodeName), JavaTag(), -5, 6, Java().String("node7")); }},
      {.name = "modifyTag",
       .lookups = LookUp(kTagPropClass),
       .api = {"pt3_modify_tag_prop(7001, ZR3PtTagProp, " + kMasks + ")"},
       .call = [] { return ModifyTag(JavaTag()); }},
      {.name = "getTag",
       .lookups = LookUp(kTagPropClass),
       .api = {"pt3_query_tag_prop(7, out)"},
       .call =
           [] {
             AnswerAQueriedTag();
             return Call(ZR(getTag), 7, Java().New(kTagPropClass, "tag"));
           }},
      {.name = "deleteTag",
       .api = {"tag3_delete_tag(4294967295)"},
       .call = [] { return Call(ZR(deleteTag), -1); }},
  };
}

}  // namespace zervane::bridge_test
