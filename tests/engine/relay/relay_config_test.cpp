#include "engine/relay/relay_config.h"

#include <gtest/gtest.h>

namespace zervane {
namespace {

using std::chrono::milliseconds;

RelaySettings Settings() {
  RelaySettings settings;
  settings.host = "redis.example";
  settings.values_route = "values";
  return settings;
}

ZR3_STATUS Parse(std::string RelaySettings::*text, const std::string& value) {
  RelaySettings settings = Settings();
  settings.*text = value;
  return ParseRelaySettings(settings).code();
}

TEST(RelaySettingsText, HaveDefaultsWhereTheyAreEmpty) {
  const auto config = ParseRelaySettings(Settings());
  ASSERT_TRUE(config.ok());
  EXPECT_EQ(config->port, 6379);
  EXPECT_EQ(config->max_wait, milliseconds(1'000));
  RelaySettings sentinel = Settings();
  sentinel.master_name = "main";
  EXPECT_EQ(ParseRelaySettings(sentinel)->port, 26379);
}

TEST(RelaySettingsText, AreTakenAsTheyStand) {
  RelaySettings settings = Settings();
  settings.port = "0007";
  settings.max_wait_ms = "20";
  settings.password = Secret("sesame");
  settings.raised_route = "raised";
  settings.ended_route = "ended";
  settings.notes_route = "notes";
  const auto config = ParseRelaySettings(settings);
  ASSERT_TRUE(config.ok());
  EXPECT_EQ(config->port, 7);
  EXPECT_EQ(config->max_wait, milliseconds(20));
  EXPECT_EQ(config->password, Secret("sesame"));
  EXPECT_EQ(config->RouteOf(RelayKind::kValue), "values");
  EXPECT_EQ(config->RouteOf(RelayKind::kRaised), "raised");
  EXPECT_EQ(config->RouteOf(RelayKind::kEnded), "ended");
  EXPECT_EQ(config->RouteOf(RelayKind::kNote), "notes");
}

TEST(RelayPort, IsADecimalThatThereCanBe) {
  for (const char* port : {"1", "6379", "65535", ""}) {
    EXPECT_EQ(Parse(&RelaySettings::port, port), ZR3_OK) << port;
  }
  for (const char* port : {"0", "65536", "-1", "+1", " 1", "1 ", "1e3", "0x1", "redis", "6379.0",
                           "99999999999999999999"}) {
    EXPECT_EQ(Parse(&RelaySettings::port, port), ZR3_ERR_INVALID_RELAY) << port;
  }
}

TEST(RelayNumber, IsOneFromOneOn) {
  for (const auto text : {&RelaySettings::max_connections, &RelaySettings::max_wait_ms}) {
    for (const char* number : {"", "1", "8", "2147483647", "99999999999999999999"}) {
      EXPECT_EQ(Parse(text, number), ZR3_OK) << number;
    }
    for (const char* number : {"0", "000", "-1", "1.5", " ", "many"}) {
      EXPECT_EQ(Parse(text, number), ZR3_ERR_INVALID_RELAY) << number;
    }
  }
}

TEST(RelaySettingsText, MustBeTexts) {
  EXPECT_EQ(Parse(&RelaySettings::host, "\xC3"), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(Parse(&RelaySettings::values_route, std::string("a\0b", 3)), ZR3_ERR_INVALID_TEXT);
  RelaySettings settings = Settings();
  settings.password = Secret("\xFF");
  EXPECT_EQ(ParseRelaySettings(settings).code(), ZR3_ERR_INVALID_TEXT);
}

TEST(RelaySettingsText, AreNeverToldWhenTheyAreRefused) {
  RelaySettings settings = Settings();
  settings.password = Secret("sesame");
  settings.port = "sesame";
  const auto config = ParseRelaySettings(settings);
  EXPECT_EQ(config.status().message().find("sesame"), std::string::npos);
}

TEST(RelaySettingsText, TurnRoutesOffOrAllOfIt) {
  RelaySettings settings = Settings();
  EXPECT_TRUE(ParseRelaySettings(settings)->IsOn());
  EXPECT_FALSE(ParseRelaySettings(settings)->WantsAlarms());
  settings.values_route = "";
  EXPECT_FALSE(ParseRelaySettings(settings)->IsOn());
  settings.notes_route = "notes";
  EXPECT_TRUE(ParseRelaySettings(settings)->WantsAlarms());
  EXPECT_FALSE(ParseRelaySettings(settings)->WantsValues());
  settings.host = "";
  EXPECT_FALSE(ParseRelaySettings(settings)->IsOn());
}

}  // namespace
}  // namespace zervane
