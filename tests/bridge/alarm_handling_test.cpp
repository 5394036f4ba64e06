#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

Ref Time() { return JavaTime("time", -1, 250); }

jint Acknowledge() { return Call(ZR(acknowledgeAlarm), -1, Time()); }

jint Comment(const Ref& comment) { return Call(ZR(commentAlarm), -1, Time(), comment); }

const Lines kTimeGets = Gets("time", {"Int nSec", "Short nMsec"});
const std::string kAcknowledge = "am3_acknowledge_alarms(1, {4294967295}, -1.250, out)";

std::string CommentLine(const std::string& text) {
  return "am3_comment_alarms(1, {4294967295}, -1.250, \"" + text + "\", out)";
}

class AlarmHandling : public BridgeTest {};

TEST_F(AlarmHandling, AnAlarmIsNamedByItsTagAndTime) {
  Acknowledge();
  EXPECT_TRUE(SameLines(kTimeGets + Lines{kAcknowledge}, Log().Steps()));
}

TEST_F(AlarmHandling, MillisecondsAreNotChecked) {
  Call(ZR(acknowledgeAlarm), 7, JavaTime("time", 1, 32000));
  EXPECT_EQ(Log().Api(), Lines{"am3_acknowledge_alarms(1, {7}, 1.32000, out)"});
}

TEST_F(AlarmHandling, AnErrorCodeAloneIsNotSeen) {
  Api().On<am3_acknowledge_alarms>([](auto, auto, auto, int32* code) {
    *code = 4711;
    return 0;
  });
  EXPECT_EQ(Acknowledge(), 0);
  Api().On<am3_comment_alarms>([](auto, auto, auto, auto, int32* code) {
    *code = 4711;
    return 0;
  });
  EXPECT_EQ(Comment(Java().String("a")), 0);
}

TEST_F(AlarmHandling, ACommentIsConvertedBeforeTheTimeIsRead) {
  Comment(Java().String("noted"));
  EXPECT_TRUE(SameLines(LookUp(kTimeClass) +
                            Lines{"GetStringLength \"noted\"", "GetStringUTFChars \"noted\"",
                                  "to system \"noted\" 21", "ReleaseStringUTFChars \"noted\""} +
                            kTimeGets + Lines{CommentLine("NOTED")},
                        Log().All()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_F(AlarmHandling, AnEmptyOrNullCommentIsSentEmpty) {
  Comment(Java().String(""));
  EXPECT_EQ(Log().Api(), Lines{CommentLine("")});
  Comment(Ref());
  EXPECT_EQ(Log().Api(), Lines{CommentLine("")});
}

TEST_F(AlarmHandling, ACommentOf255BytesIsSentWhole) {
  EXPECT_EQ(Comment(Java().String(std::string(255, 'x'))), 0);
  EXPECT_EQ(Log().Api(), Lines{CommentLine(std::string(255, 'X'))});
}

TEST_F(AlarmHandling, ACommentOf256BytesIsNotSentAndLeaksItsText) {
  EXPECT_EQ(Comment(Java().String(std::string(256, 'x'))), -1);
  EXPECT_TRUE(SameLines({}, Log().Steps()));
  EXPECT_EQ(Left(), Blocks{TextBlock(256)});
}

TEST_F(AlarmHandling, ACommentCountsItsBytesNotItsCharacters) {
  const auto characters = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "\xE6\xB8\xA9";
    return Java().String(text, count);
  };
  EXPECT_EQ(Comment(characters(85)), 0);   // 255 bytes
  EXPECT_EQ(Comment(characters(86)), -1);  // 258
}

}  // namespace

Methods AlarmHandlingMethods() {
  return {
      {.name = "acknowledgeAlarm",
       .lookups = LookUp(kTimeClass),
       .api = {kAcknowledge},
       .call = [] { return Acknowledge(); }},
      {.name = "commentAlarm",
       .lookups = LookUp(kTimeClass),
       .api = {CommentLine("NOTED")},
       .call = [] { return Comment(Java().String("noted")); }},
  };
}

}  // namespace zervane::bridge_test
