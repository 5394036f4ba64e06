// The relay, from the exported functions to a Redis.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "tests/engine/relay/redis_server.h"
#include "zervane.h"

namespace zervane {
namespace {

template <std::size_t kCapacity>
void Put(const std::string& text, char (&array)[kCapacity]) {
  ASSERT_LT(text.size(), kCapacity);
  std::memcpy(array, text.c_str(), text.size() + 1);
}

class RelayCall : public testing::Test {
 protected:
  void SetUp() override {
    ZR3Connection connection{};
    Put("memory:", connection.szAddress);
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
  }
  void TearDown() override { (void)nt3_disconnect(); }

  ZRRestCfg ToRedis() {
    ZRRestCfg cfg{};
    Put("plant", cfg.szDsName);
    Put("127.0.0.1", cfg.szHostIP);
    Put(redis_.port_text(), cfg.szPort);
    Put("sesame", cfg.szPassword);
    Put("20000", cfg.szMaxWait);
    Put("values", cfg.szRoutingrtrec);
    return cfg;
  }
  // A tag with a value.
  uint32 AddTag(const std::string& name) {
    ZR3PtTagProp prop{};
    Put(name, prop.szTagName);
    prop.nTagType = ZR3_TAG_TYPE_FLOAT64;
    const ZR3Mask type{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, .nExtMask = 0};
    uint32 id = 0;
    EXPECT_EQ(pt3_add_tag(&prop, &type, nullptr, &id), ZR3_OK);
    return id;
  }

  const RedisServer redis_{{"--requirepass", "sesame"}};
};

TEST_F(RelayCall, SendsValuesToARedis) {
  const uint32 id = AddTag("FIC101.PV");
  ASSERT_EQ(ut3_send_rest_info(ToRedis()), ZR3_OK);
  ZR3Record record{};
  record.nSec = 1'600'000'000;
  record.nMsec = 250;
  record.nQuality = ZR3_QUALITY_GOOD;
  record.nTagType = ZR3_TAG_TYPE_FLOAT64;
  record.value.fFloat64 = 21.5;
  ASSERT_EQ(sn3_save_snapshot(id, &record), ZR3_OK);
  RedisReader reader(redis_.port(), "sesame");
  EXPECT_EQ(reader.AwaitStream("values", 1).at(0),
            R"({"tag":"FIC101.PV","id":1,"type":"FLOAT64","time":1600000000250,"quality":192,)"
            R"("value":21.5})");
}

TEST_F(RelayCall, IsTurnedOffByARecordOfEmptyTexts) {
  EXPECT_EQ(ut3_send_rest_info(ZRRestCfg{}), ZR3_OK);
  EXPECT_EQ(ut3_send_rest_info(ToRedis()), ZR3_OK);
  EXPECT_EQ(ut3_send_rest_info(ZRRestCfg{}), ZR3_OK);
}

TEST_F(RelayCall, RefusesNumbersThatAreNone) {
  for (const char* text : {"0", "-1", "65536", "port", "63 79", "+1", "1.0"}) {
    ZRRestCfg cfg = ToRedis();
    Put(text, cfg.szPort);
    EXPECT_EQ(ut3_send_rest_info(cfg), ZR3_ERR_INVALID_RELAY) << text;
  }
  for (const char* text : {"0", "-1", "many", " "}) {
    ZRRestCfg cfg = ToRedis();
    Put(text, cfg.szMaxTotal);
    EXPECT_EQ(ut3_send_rest_info(cfg), ZR3_ERR_INVALID_RELAY) << text;
    cfg = ToRedis();
    Put(text, cfg.szMaxWait);
    EXPECT_EQ(ut3_send_rest_info(cfg), ZR3_ERR_INVALID_RELAY) << text;
    cfg.szHostIP[0] = '\0';
    EXPECT_EQ(ut3_send_rest_info(cfg), ZR3_ERR_INVALID_RELAY) << text;
  }
}

TEST_F(RelayCall, RefusesTextsThatDoNotEnd) {
  for (std::size_t at = 0; at < sizeof(ZRRestCfg); at += ZR3_LEN_RELAY_TEXT) {
    ZRRestCfg cfg = ToRedis();
    std::memset(reinterpret_cast<char*>(&cfg) + at, '1', ZR3_LEN_RELAY_TEXT);
    EXPECT_EQ(ut3_send_rest_info(cfg), ZR3_ERR_INVALID_TEXT) << at;
  }
}

TEST_F(RelayCall, RefusesTextsThatDoNotConvert) {
  ZRRestCfg cfg = ToRedis();
  Put("\xC3(", cfg.szRoutingcrs);
  EXPECT_EQ(ut3_send_rest_info(cfg), ZR3_ERR_INVALID_TEXT);
}

TEST_F(RelayCall, LooksAtNoOtherTexts) {
  ZRRestCfg cfg = ToRedis();
  for (char* text : {cfg.szUser, cfg.szHostName, cfg.szExChange, cfg.szExtend1, cfg.szExtend2,
                     cfg.szExtend3, cfg.szExtend4}) {
    std::memcpy(text, "-1\xFF", 4);
  }
  EXPECT_EQ(ut3_send_rest_info(cfg), ZR3_OK);
}

TEST_F(RelayCall, NeedsASession) {
  (void)nt3_disconnect();
  EXPECT_EQ(ut3_send_rest_info(ToRedis()), ZR3_ERR_NOT_CONNECTED);
}

}  // namespace
}  // namespace zervane
