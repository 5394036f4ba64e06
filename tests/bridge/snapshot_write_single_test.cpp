#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

jint Save(const Ref& record, jint tag = 7, jbyte type = 7) {
  return Call(ZR(saveSnapShot), tag, type, record);
}

class SaveSnapshot : public BridgeTest {
 protected:
  // Saves a record of that type and returns its value as it was sent.
  static std::string SavedValue(ZR3_TAG_TYPE type, const Ref& record) {
    TagsHaveType(type);
    std::string value;
    Api().On<sn3_save_snapshot>([&](uint32, const ZR3Record* sent) {
      value = BufferOf(*sent);
      return 0;
    });
    Save(record);
    return value;
  }
};

class SaveOneType : public SaveSnapshot, public testing::WithParamInterface<NumericType> {};

TEST_P(SaveOneType, ReadsTheHeaderAndTheFieldOfTheServersType) {
  TagsHaveType(GetParam().type);
  EXPECT_EQ(Save(JavaRecord("record", 1000), -1, 4), 0);
  EXPECT_TRUE(SameLines(Lines{"pt3_query_tag_type(4294967295, out)"} + RecordHeaderGets("record") +
                            Gets("record", {GetParam().get}) +
                            Lines{"sn3_save_snapshot(4294967295, ZR3Record)"},
                        Log().Steps()));
}

TEST_P(SaveOneType, SendsTheHeaderAndThatSlotAndClearsNothing) {
  TagsHaveType(GetParam().type);
  Save(JavaRecord("record", 1000));
  EXPECT_TRUE(HasHeaderAndSlot(Api().Sent<ZR3Record>().at(0), GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Type, SaveOneType, testing::ValuesIn(kNumericTypes),
                         [](const auto& row) { return "Type" + std::to_string(row.param.type); });

TEST_F(SaveSnapshot, ATypeBeyondTheListSendsNoValue) {
  for (const ZR3_TAG_TYPE type : {-1, 8}) {
    TagsHaveType(type);
    Save(JavaRecord("record", 1000));
    EXPECT_TRUE(SameLines(Lines{"pt3_query_tag_type(7, out)"} + RecordHeaderGets("record") +
                              Lines{"sn3_save_snapshot(7, ZR3Record)"},
                          Log().Steps()));
    EXPECT_EQ(Api().Sent<ZR3Record>().at(0).nTagType, type);
  }
}

TEST_F(SaveSnapshot, AQualityKeepsItsLowSixteenBits) {
  for (const auto& [java, sent] :
       {std::pair(65536, 0), std::pair(-1, 65535), std::pair(192, 192)}) {
    TagsHaveType(0);
    Save(JavaRecord("record", 1).Set("nQuality", java));
    EXPECT_EQ(Api().Sent<ZR3Record>().at(0).nQuality, sent);
  }
}

TEST_F(SaveSnapshot, AStringIsSentWithItsTerminatorCounted) {
  const std::string value = SavedValue(ZR3_TAG_TYPE_STRING, JavaRecord("record", 1));
  EXPECT_EQ(value, std::string("ABC\0", 4));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(SaveSnapshot, AnEmptyOrNullStringHasLengthOne) {
  for (const Ref text : {Java().String(""), Ref()}) {
    const Ref record = JavaRecord("record", 1).Set("strValue", text);
    EXPECT_EQ(SavedValue(ZR3_TAG_TYPE_STRING, record).size(), 1U);
  }
}

TEST_F(SaveSnapshot, AStringOf65536BytesKeepsTheLowSixteenBitsOfItsLength) {
  const Ref record =
      JavaRecord("record", 1).Set("strValue", Java().String(std::string(65536, 'x')));
  EXPECT_EQ(SavedValue(ZR3_TAG_TYPE_STRING, record).size(), 1U);
}

TEST_F(SaveSnapshot, ABlobIsSentAsItStands) {
  const std::string value = SavedValue(ZR3_TAG_TYPE_BLOB, JavaRecord("record", 1));
  EXPECT_EQ(value, std::string("\x01\x00\xFF", 3));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(SaveSnapshot, ABlobOf70000BytesIsSentAsItsFirst4464) {
  std::vector<jbyte> bytes(70000, 1);
  bytes[4463] = 9;
  const Ref record = JavaRecord("record", 1).Set("byteValue", Java().Bytes("blob", bytes));
  const std::string value = SavedValue(ZR3_TAG_TYPE_BLOB, record);
  EXPECT_EQ(value.size(), 4464U);
  EXPECT_EQ(value.back(), 9);
}

}  // namespace

Methods SnapshotSavingMethods() {
  return {{.name = "saveSnapShot",
           .lookups = LookUp(kRecordClass),
           .api = {"pt3_query_tag_type(7, out)", "sn3_save_snapshot(7, ZR3Record)"},
           .failures = {{}, {.of = "pt3_query_tag_type"}},
           .call = [] {
             TagsHaveType(6);
             return Save(JavaRecord("record", 1));
           }}};
}

}  // namespace zervane::bridge_test
