#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

// A settings object whose every field holds its own name.
Ref Settings() {
  const Ref settings = Java().New(kRedisInfoClass, "relay");
  for (const JavaField& field : kRedisInfoClass.fields) {
    settings.Set(field.name, Java().String(field.name.substr(2)));
  }
  return settings;
}

jint Send(const Ref& settings) { return Call(ZR(sendRedisInfo), settings); }

Blocks SettingBlocks() {
  Blocks blocks;
  for (const JavaField& field : kRedisInfoClass.fields) {
    blocks.push_back(TextBlock(field.name.size() - 2));
  }
  return blocks;
}

const ZRRestCfg& Sent() { return Api().Sent<ZRRestCfg>().at(0); }

class Relay : public BridgeTest {};

TEST_F(Relay, SettingsAreReadInOrderAndSentInAClearedRecord) {
  Send(Settings());
  ZRRestCfg expected;
  memset(&expected, 0, sizeof expected);
  strcpy(expected.szDsName, "NAME");
  strcpy(expected.szHostIP, "HOSTIP");
  strcpy(expected.szPort, "PORT");
  strcpy(expected.szPassword, "PASSWORD");
  strcpy(expected.szMaxTotal, "MAXTOTAL");
  strcpy(expected.szMaxWait, "MAXWAIT");
  strcpy(expected.szMasterName, "MASTERNAME");
  strcpy(expected.szRoutingrtalms, "ROUTINGRTALMS");
  strcpy(expected.szRoutingclearalm, "ROUTINGCLEARALM");
  strcpy(expected.szRoutingrtrec, "ROUTINGRTREC");
  strcpy(expected.szRoutingcrs, "ROUTINGCRS");
  EXPECT_TRUE(SameRecord(expected, Sent()));
  Lines fields;
  for (const JavaField& field : kRedisInfoClass.fields) fields.push_back("Object " + field.name);
  EXPECT_TRUE(
      SameLines(Gets("relay", fields) + Lines{"ut3_send_rest_info(ZRRestCfg)"}, Log().Steps()));
}

TEST_F(Relay, EmptyAndNullSettingsSendAnEmptyRecord) {
  const ZRRestCfg empty = {};
  for (const Ref text : {Java().String(""), Ref()}) {
    const Ref settings = Settings();
    for (const JavaField& field : kRedisInfoClass.fields) settings.Set(field.name, text);
    Send(settings);
    EXPECT_TRUE(SameRecord(empty, Sent()));
    EXPECT_EQ(Left(), Blocks(11, 1));
  }
}

TEST_F(Relay, ASettingOf63BytesArrivesWholeAndALongerOneRunsOn) {
  const std::string longest(63, 'X');
  Send(Settings().Set("m_routingcrs", Java().String(longest)));
  EXPECT_EQ(std::string(Sent().szRoutingcrs), longest);
  Send(Settings().Set("m_routingcrs", Java().String(longest + "XY")));
  EXPECT_EQ(std::string(Sent().szRoutingcrs, 65), longest + "XY");
  EXPECT_STREQ(Sent().szUser, "Y");
}

TEST_F(Relay, TheExtensionsAreEmptyEvenWhereASettingRanOverThem) {
  Send(Settings().Set("m_routingcrs", Java().String(std::string(500, 'X'))));
  const ZRRestCfg& sent = Sent();
  for (const char* text : {sent.szExtend1, sent.szExtend2, sent.szExtend3, sent.szExtend4}) {
    EXPECT_EQ(std::string(text, 2), std::string("\0X", 2));
  }
}

TEST_F(Relay, WithoutMemoryForTheRecordTheClassIsLookedUpAndNothingIsReadOrSent) {
  Probe().FailNth(1);
  EXPECT_EQ(Send(Settings()), -1);
  EXPECT_TRUE(SameLines(LookUp(kRedisInfoClass), Log().All()));
}

}  // namespace

Methods RelayMethods() {
  return {{.name = "sendRedisInfo",
           .lookups = LookUp(kRedisInfoClass),
           .api = {"ut3_send_rest_info(ZRRestCfg)"},
           .left = SettingBlocks(),
           .failures = {{.left = SettingBlocks()}},
           .call = [] { return Send(Settings()); }}};
}

}  // namespace zervane::bridge_test
