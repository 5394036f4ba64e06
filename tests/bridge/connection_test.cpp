#include "harness/method.h"

namespace zervane::bridge_test {
namespace {

jint ConnectEx(const char* ip, jint port, const char* standby, jint standby_port) {
  return Call(ZR(connectEx), Java().String(ip), port, Java().String(standby), standby_port);
}

jint Connect3(const char* ip, jint port, const char* standby, jint standby_port) {
  return Call(ZR(connect3), Java().String(ip), port, Java().String(standby), standby_port);
}

ZR3Connection Expected(const char* ip, uint16 port, const char* standby, uint16 standby_port) {
  ZR3Connection connection = {};
  strcpy(connection.szAddress, ip);
  strcpy(connection.szBakAddress, standby);
  connection.nPort = port;
  connection.nBakPort = standby_port;
  connection.nTimeout = 3;
  return connection;
}

const ZR3Connection& Sent() { return Api().Sent<ZR3Connection>().at(0); }

class Connection : public BridgeTest {};

TEST_F(Connection, ConnectExSendsBothServersInAClearedRecord) {
  EXPECT_EQ(ConnectEx("db1", 5000, "db2", 6000), 0);
  EXPECT_TRUE(SameRecord(Expected("DB1", 5000, "DB2", 6000), Sent()));
}

TEST_F(Connection, ConnectExConvertsThePrimaryAddressFirst) {
  ConnectEx("db1", 5000, "db2", 6000);
  EXPECT_TRUE(SameLines(
      {"GetStringLength \"db1\"", "GetStringUTFChars \"db1\"", "to system \"db1\" 13",
       "ReleaseStringUTFChars \"db1\"", "GetStringLength \"db2\"", "GetStringUTFChars \"db2\"",
       "to system \"db2\" 13", "ReleaseStringUTFChars \"db2\"", "nt3_connect(ZR3Connection)"},
      Log().All()));
}

TEST_F(Connection, ConnectExKeepsTheLowSixteenBitsOfBothPorts) {
  ConnectEx("a", 70000, "b", -1);
  EXPECT_EQ(Sent().nPort, 4464);
  EXPECT_EQ(Sent().nBakPort, 65535);
}

TEST_F(Connection, Connect3SendsThePrimaryPortTwice) {
  EXPECT_EQ(Connect3("db1", 5000, "db2", 6000), 0);
  EXPECT_TRUE(SameRecord(Expected("DB1", 5000, "DB2", 5000), Sent()));
}

TEST_F(Connection, Connect3KeepsTheLowSixteenBitsOfThePort) {
  Connect3("a", 70000, "b", 1);
  EXPECT_EQ(Sent().nPort, 4464);
  EXPECT_EQ(Sent().nBakPort, 4464);
}

TEST_F(Connection, ANullAddressIsAnEmptyOne) {
  Call(ZR(connectEx), nullptr, 1, nullptr, 2);
  EXPECT_TRUE(SameRecord(Expected("", 1, "", 2), Sent()));
  EXPECT_EQ(Left(), Blocks{1});
}

TEST_F(Connection, TheLongestAddressThatFitsArrivesWhole) {
  const std::string longest(511, 'X');
  ConnectEx(longest.c_str(), 1, longest.c_str(), 2);
  EXPECT_TRUE(SameRecord(Expected(longest.c_str(), 1, longest.c_str(), 2), Sent()));
}

TEST_F(Connection, AnAddressThatIsTooLongRunsOnWithoutABound) {
  const std::string address(512, 'X');
  ConnectEx(address.c_str(), 7, "standby", 8);
  // The terminator fell on the port, which is set after the copies; the copy itself was not cut.
  EXPECT_EQ(std::string(Sent().szAddress, 512), address);
  EXPECT_EQ(Sent().nPort, 7);
  ConnectEx("a", 7, address.c_str(), 8);
  EXPECT_EQ(std::string(Sent().szBakAddress, 512), address);
  EXPECT_EQ(Sent().nBakPort, 8);
}

TEST_F(Connection, TheStandbyAddressIsCopiedAfterThePrimaryAndOverItsExcess) {
  ConnectEx(std::string(516, 'X').c_str(), 7, "b", 8);
  EXPECT_STREQ(Sent().szBakAddress, "B");
}

TEST_F(Connection, ConnectingTwiceIsPassedOn) {
  ConnectEx("a", 1, "b", 2);
  ConnectEx("a", 1, "b", 2);
  EXPECT_TRUE(SameLines({"nt3_connect(ZR3Connection)"}, Log().Api()));
}

class ConnectionTest : public BridgeTest, public testing::WithParamInterface<jint> {};

TEST_P(ConnectionTest, ReportsAGoodNetworkWhateverTheTimeOut) {
  const Ref status = Java().New(kIntWrapperClass, "status").Set("Value", 9);
  EXPECT_EQ(Call(ZR(testConnect), status, GetParam()), 0);
  EXPECT_EQ(status.Int("Value"), ZR3_NET_GOOD);
  EXPECT_TRUE(SameLines({"SetIntField status.Value = 0"}, Log().Steps()));
}

INSTANTIATE_TEST_SUITE_P(TimeOut, ConnectionTest, testing::Values(-1, 0, 3, 2147483647));

}  // namespace

Methods ConnectionMethods() {
  return {
      {.name = "connectEx",
       .api = {"nt3_connect(ZR3Connection)"},
       .left = {TextBlock(5)},  // the standby address
       .failures = {{.left = {TextBlock(5)}}},
       .call = [] { return ConnectEx("db", 1, "spare", 2); }},
      {.name = "connect3",
       .api = {"nt3_connect(ZR3Connection)"},
       .left = {TextBlock(2), TextBlock(5)},
       .failures = {{.left = {TextBlock(2), TextBlock(5)}}},
       .call = [] { return Connect3("db", 1, "spare", 2); }},
      {.name = "disconnect",
       .api = {"nt3_disconnect()"},
       .call = [] { return Call(ZR(disconnect)); }},
      {.name = "testConnect",
       .lookups = LookUp(kIntWrapperClass),
       .failures = {},
       .call = [] { return Call(ZR(testConnect), Java().New(kIntWrapperClass, "status"), 3); }},
  };
}

}  // namespace zervane::bridge_test
