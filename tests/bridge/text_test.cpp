// The four conversions by themselves.
#include "text.h"

#include "harness/scene.h"

namespace zervane::bridge_test {
namespace {

class Text : public BridgeTest {
 protected:
  // Runs one conversion as a native call does.
  template <typename Function>
  static auto Run(Function function) {
    const NativeCall call;
    return function(Java().env());
  }

  static char* ToSystemText(const Ref& string) {
    return Run([&](JNIEnv* env) { return bridge::jstringToWindows(env, string); });
  }

  static Ref ToJava(std::string text) {
    return Ref(reinterpret_cast<JavaObject*>(
        Run([&](JNIEnv* env) { return bridge::WindowsTojstring(env, text.data()); })));
  }
};

TEST_F(Text, AStringIsConvertedIntoAZeroedBlockOfFourBytesPerUnitAndOne) {
  char* const text = ToSystemText(Java().String("tag"));
  EXPECT_TRUE(SameBytes("TAG\0\0\0\0\0\0\0\0\0", text, 13));
  EXPECT_EQ(Left(), Blocks{13});
  EXPECT_EQ(Probe().count(), 1);
  EXPECT_TRUE(SameLines({"GetStringLength \"tag\"", "GetStringUTFChars \"tag\"",
                         "to system \"tag\" 13", "ReleaseStringUTFChars \"tag\""},
                        Log().All()));
}

TEST_F(Text, TheBlockIsSizedByUtf16UnitsNotByBytes) {
  ToSystemText(Java().String("\xE6\xB8\xA9", 1));
  EXPECT_EQ(Left(), Blocks{5});
}

TEST_F(Text, ANullStringIsAnEmptyTextInABlockOfOne) {
  EXPECT_STREQ(ToSystemText(Ref()), "");
  EXPECT_EQ(Left(), Blocks{1});
  EXPECT_TRUE(SameLines({}, Log().All()));
}

TEST_F(Text, AnEmptyStringIsAnEmptyTextInABlockOfOne) {
  EXPECT_STREQ(ToSystemText(Java().String("")), "");
  EXPECT_EQ(Left(), Blocks{1});
}

TEST_F(Text, AStringThatDoesNotConvertIsAnEmptyTextInABlockOfFullSize) {
  Converters().fail_to_system = true;
  EXPECT_STREQ(ToSystemText(Java().String("tag")), "");
  EXPECT_EQ(Left(), Blocks{13});
  EXPECT_EQ(Log().All().back(), "ReleaseStringUTFChars \"tag\"");
}

TEST_F(Text, TheSizeOfAHugeStringIsComputedIn32Bits) {
  EXPECT_STREQ(ToSystemText(Java().String("tag", 0x40000000)), "");  // does not fit in 1 byte
  EXPECT_EQ(Left(), Blocks{1});
}

TEST_F(Text, ATextIsConvertedThroughAFreedBlockOfFourBytesPerByte) {
  EXPECT_EQ(ToJava("TAG")->utf8, "tag");
  EXPECT_EQ(Probe().count(), 1);
  EXPECT_EQ(Left(), Blocks{});
  EXPECT_TRUE(SameLines({"to utf8 \"TAG\" 12", "NewStringUTF \"tag\""}, Log().All()));
}

TEST_F(Text, AnEmptyTextIsAnEmptyStringWithoutAnAllocation) {
  EXPECT_EQ(ToJava("")->utf8, "");
  EXPECT_EQ(Probe().count(), 0);
  EXPECT_TRUE(SameLines({"NewStringUTF \"\""}, Log().All()));
}

TEST_F(Text, ATextThatDoesNotConvertIsAnEmptyStringAndLeaksItsBlock) {
  Converters().fail_to_java = true;
  EXPECT_EQ(ToJava("TAG")->utf8, "");
  EXPECT_EQ(Left(), Blocks{12});
}

struct BlobCase {
  const char* name;
  size_t java_length;
  uint16 carried;
};

class BlobLength : public Text, public testing::WithParamInterface<BlobCase> {};

TEST_P(BlobLength, KeepsTheLowSixteenBits) {
  std::vector<jbyte> bytes(GetParam().java_length);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<jbyte>(i * 7);
  const Ref array = Java().Bytes("array", bytes);
  char* buffer = nullptr;
  uint16 length = 0;
  Run([&](JNIEnv* env) {
    bridge::jbyteArrayToChar(env, array, &buffer, &length);
    return 0;
  });
  EXPECT_EQ(length, GetParam().carried);
  EXPECT_EQ(Left(), Blocks{GetParam().carried});
  EXPECT_EQ(Probe().count(), 1);
  EXPECT_TRUE(SameBytes(bytes.data(), buffer, length));
  EXPECT_TRUE(SameLines(
      {"GetArrayLength array", "GetByteArrayRegion array 0 " + std::to_string(GetParam().carried)},
      Log().All()));
}

INSTANTIATE_TEST_SUITE_P(Bytes, BlobLength,
                         testing::Values(BlobCase{"Empty", 0, 0}, BlobCase{"One", 1, 1},
                                         BlobCase{"LargestThatFits", 65535, 65535},
                                         BlobCase{"WrapsToZero", 65536, 0},
                                         BlobCase{"WrapsToOne", 65537, 1},
                                         BlobCase{"WrapsPastZero", 70000, 4464}),
                         [](const auto& row) { return std::string(row.param.name); });

class BytesOut : public Text, public testing::WithParamInterface<uint16> {};

TEST_P(BytesOut, MakeANewArrayOfTheirUnsignedLength) {
  std::string bytes(GetParam(), '\x80');
  const Ref array(reinterpret_cast<JavaObject*>(
      Run([&](JNIEnv* env) { return bridge::charTojbyteArray(env, bytes.data(), GetParam()); })));
  EXPECT_EQ(array->bytes, std::vector<jbyte>(GetParam(), -128));
  const std::string count = std::to_string(GetParam());
  EXPECT_TRUE(SameLines(
      {"NewByteArray " + count + " bytes", "SetByteArrayRegion " + count + " bytes 0 " + count},
      Log().All()));
  EXPECT_EQ(Probe().count(), 0);
}

INSTANTIATE_TEST_SUITE_P(Length, BytesOut, testing::Values(0, 1, 40000, 65535));

}  // namespace
}  // namespace zervane::bridge_test
