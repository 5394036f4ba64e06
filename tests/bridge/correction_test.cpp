#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

jint Modify(jbyte type, const Ref& record = JavaRecord("record", 1000)) {
  return Call(ZR(modifyRecord), -1, type, record);
}

const ZR3Record& Sent() { return Api().Sent<ZR3Record>().at(0); }

const std::string kApi = "ar3_modify_record(4294967295, ZR3Record)";

class Correction : public BridgeTest {};

class CorrectOneType : public Correction, public testing::WithParamInterface<NumericType> {};

TEST_P(CorrectOneType, SendsTheValueThatTheArgumentSelectsAndClearsNothing) {
  EXPECT_EQ(Modify(static_cast<jbyte>(GetParam().type)), 0);
  EXPECT_TRUE(SameLines(RecordHeaderGets("record") + Gets("record", {GetParam().get}) + Lines{kApi},
                        Log().Steps()));
  EXPECT_TRUE(HasHeaderAndSlot(Sent(), GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Type, CorrectOneType, testing::ValuesIn(kNumericTypes),
                         [](const auto& row) { return "Type" + std::to_string(row.param.type); });

TEST_F(Correction, ATextOrBlobHasABufferThatIsFreedAfterTheCall) {
  std::string bytes;
  Api().On<ar3_modify_record>([&](uint32, const ZR3Record* record) {
    bytes = BufferOf(*record);
    return kSomeError;
  });
  EXPECT_EQ(Modify(6), kSomeError);
  EXPECT_EQ(bytes, std::string("ABC\0", 4));
  EXPECT_EQ(Left(), Blocks{});
  EXPECT_EQ(Modify(7), kSomeError);
  EXPECT_EQ(bytes, std::string("\x01\x00\xFF", 3));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(Correction, ATypeBeyondTheListIsSentWithoutAValue) {
  for (const jbyte type : {jbyte{9}, jbyte{-1}}) {
    EXPECT_EQ(Modify(type), 0);
    EXPECT_EQ(Sent().nTagType, type);
    EXPECT_TRUE(SameLines(RecordHeaderGets("record") + Lines{kApi}, Log().Steps()));
    EXPECT_TRUE(HoldsOldBytes(&Sent().value, sizeof(ZR3RecordValue)));
  }
}

TEST_F(Correction, AQualityKeepsItsLowSixteenBits) {
  Modify(0, JavaRecord("record", 1).Set("nQuality", 65536));
  EXPECT_EQ(Sent().nQuality, 0);
}

}  // namespace

Methods CorrectionMethods() {
  return {{.name = "modifyRecord", .lookups = LookUp(kRecordClass), .api = {kApi}, .call = [] {
             return Modify(6);
           }}};
}

}  // namespace zervane::bridge_test
