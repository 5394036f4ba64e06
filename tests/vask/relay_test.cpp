// The relay, from the exported functions to a Redis.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <string>

#include "tests/engine/relay/redis_server.h"
#include "tests/support/seed.h"
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

  void SaveValue(uint32 id) {
    ZR3Record record{};
    record.nSec = 1'600'000'000;
    record.nMsec = 250;
    record.nQuality = ZR3_QUALITY_GOOD;
    record.nTagType = ZR3_TAG_TYPE_FLOAT64;
    record.value.fFloat64 = 21.5;
    EXPECT_EQ(sn3_save_snapshot(id, &record), ZR3_OK);
  }

  const RedisServer redis_{{"--requirepass", "sesame"}};
};

TEST_F(RelayCall, SendsValuesToARedis) {
  const uint32 id = AddTag("FIC101.PV");
  ASSERT_EQ(ut3_send_rest_info(ToRedis()), ZR3_OK);
  SaveValue(id);
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

// ---- any settings ----

// Draws settings that are wrong in any way, or in none, and knows which.
class RandomSettings {
 public:
  explicit RandomSettings(std::uint32_t seed) : random_(seed) {}

  // The relay goes nowhere but to this machine.
  ZRRestCfg Draw() {
    ZRRestCfg cfg{};
    is_text_ = is_number_ = true;
    for (char* text : {cfg.szDsName, cfg.szPassword, cfg.szMasterName}) DrawText(text);
    DrawNumber(cfg.szPort, true);
    DrawNumber(cfg.szMaxTotal, false);
    DrawNumber(cfg.szMaxWait, false);
    for (char* text : {cfg.szUser, cfg.szHostName, cfg.szExChange, cfg.szExtend1, cfg.szExtend2,
                       cfg.szExtend3, cfg.szExtend4}) {
      DrawUnused(text);
    }
    if (Chance(2)) {
      Fill(cfg.szHostIP, Chance(2) ? "127.0.0.1" : "::1");
      for (char* text :
           {cfg.szRoutingrtalms, cfg.szRoutingclearalm, cfg.szRoutingrtrec, cfg.szRoutingcrs}) {
        DrawText(text);
      }
    } else {
      DrawText(cfg.szHostIP);
    }
    return cfg;
  }

  // What the settings that were drawn last must be answered with.
  int32 expected() const {
    if (!is_text_) return ZR3_ERR_INVALID_TEXT;
    return is_number_ ? ZR3_OK : ZR3_ERR_INVALID_RELAY;
  }

 private:
  bool Chance(int one_in) { return random_() % static_cast<std::uint32_t>(one_in) == 0; }

  template <std::size_t kCount>
  const std::string& OneOf(const std::array<std::string, kCount>& texts) {
    return texts[random_() % kCount];
  }

  // What stands behind a text's end is nobody's.
  void Fill(char* array, const std::string& text) {
    for (std::size_t i = 0; i < ZR3_LEN_RELAY_TEXT; ++i) array[i] = static_cast<char>(random_());
    std::memcpy(array, text.c_str(), text.size() + 1);
  }

  void DrawText(char* array) {
    static const std::array<std::string, 6> good = {
        "", "a", "main", std::string(63, 'x'), "\xE6\x97\xA5\xE6\x9C\xAC", "a b\r\n\x01\"*$"};
    static const std::array<std::string, 4> bad = {"\xFF", "a\xC3", "\xED\xA0\x80",
                                                   std::string(62, 'x') + "\xC3"};
    const bool is_bad = Chance(60);
    Fill(array, is_bad ? OneOf(bad) : OneOf(good));
    if (is_bad) is_text_ = false;
    LeaveEndOut(array);
  }

  void DrawUnused(char* array) {
    static const std::array<std::string, 3> any = {"", "-1", "\xFF"};
    Fill(array, OneOf(any));
    LeaveEndOut(array);
  }

  void DrawNumber(char* array, bool is_port) {
    static const std::array<std::string, 6> good = {"",      "1",     "8",
                                                    "65535", "00009", std::string(60, '0') + "77"};
    static const std::array<std::string, 4> great = {"65536", "2147483648", "4294967297",
                                                     std::string(63, '9')};
    static const std::array<std::string, 10> bad = {"0",  "000", "-1",  "+1",  " 1",
                                                    "1 ", "1.0", "0x1", "1e3", "\xD9\xA1"};
    const bool is_great = Chance(20);
    const bool is_bad = !is_great && Chance(10);
    Fill(array, is_great ? OneOf(great) : is_bad ? OneOf(bad) : OneOf(good));
    if (is_bad || (is_great && is_port)) is_number_ = false;
    LeaveEndOut(array);
  }

  // Now and then.
  void LeaveEndOut(char* array) {
    if (!Chance(200)) return;
    std::memset(array, '1', ZR3_LEN_RELAY_TEXT);
    is_text_ = false;
  }

  std::mt19937 random_;
  bool is_text_ = true;
  bool is_number_ = true;
};

TEST_F(RelayCall, TakesAnySettingsThatAreGoodAndNoOthers) {
  const Seed seed;
  RandomSettings settings(seed.value());
  std::map<int32, int> answered;
  for (int i = 0; i < 1'000; ++i) {
    const ZRRestCfg cfg = settings.Draw();
    const int32 status = ut3_send_rest_info(cfg);
    ASSERT_EQ(status, settings.expected()) << i;
    ++answered[status];
  }
  EXPECT_EQ(answered.size(), 3U) << "or it has not tried all";
  const uint32 id = AddTag("a");
  ASSERT_EQ(ut3_send_rest_info(ToRedis()), ZR3_OK);
  for (int refused = 0; refused < 100;) {
    const ZRRestCfg cfg = settings.Draw();
    if (settings.expected() == ZR3_OK) continue;
    ASSERT_NE(ut3_send_rest_info(cfg), ZR3_OK);
    ++refused;
  }
  SaveValue(id);
  RedisReader reader(redis_.port(), "sesame");
  EXPECT_EQ(reader.AwaitStream("values", 1).size(), 1U);
}

TEST_F(RelayCall, NeedsASession) {
  (void)nt3_disconnect();
  EXPECT_EQ(ut3_send_rest_info(ToRedis()), ZR3_ERR_NOT_CONNECTED);
}

}  // namespace
}  // namespace zervane
