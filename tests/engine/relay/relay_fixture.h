#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "api/operations/alarms.h"
#include "api/operations/system.h"
#include "tests/engine/alarms/alarm_database.h"
#include "tests/engine/embedded_fixture.h"
#include "tests/engine/relay/redis_server.h"

namespace zervane {

// An embedded database and a Redis of its own.
class RelayTest : public EmbeddedTest {
 protected:
  ZR3_STATUS Configure(const RelaySettings& settings) {
    return database_->Do(ConfigureRelay{settings}).code();
  }

  // All routes, to this Redis.
  RelaySettings ToRedis() const {
    RelaySettings settings;
    settings.host = "127.0.0.1";
    settings.port = redis_.port_text();
    settings.max_wait_ms = "20000";  // a machine that does much else is slow, and not broken
    settings.values_route = "values";
    settings.raised_route = "raised";
    settings.ended_route = "ended";
    settings.notes_route = "notes";
    return settings;
  }

  void WriteValue(TagId tag, std::int64_t time_ms, double value) {
    const Sample sample{.time_ms = time_ms, .value = value};
    EXPECT_EQ(Write({{tag, sample}}).codes[0], ZR3_OK);
  }

  static std::string Json(const std::string& name, TagId tag, std::int64_t time_ms,
                          const std::string& value) {
    return "{\"tag\":\"" + name + "\",\"id\":" + std::to_string(tag) +
           ",\"type\":\"FLOAT64\",\"time\":" + std::to_string(time_ms) +
           ",\"quality\":192,\"value\":" + value + "}";
  }

  static constexpr std::int64_t kTime = 1'600'000'000'000;

  RedisServer redis_;
};

}  // namespace zervane
