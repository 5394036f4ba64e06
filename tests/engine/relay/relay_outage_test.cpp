#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/engine/relay/relay_fixture.h"

namespace zervane {
namespace {

using Texts = std::vector<std::string>;

class RelayOutage : public RelayTest {};

TEST_F(RelayOutage, IsMadeGoodByEveryCurrentValue) {
  const TagId a = AddTag("a");
  const TagId b = AddTag("b");
  WriteValue(a, kTime, 1);
  WriteValue(b, kTime, 2);
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  {
    RedisReader reader(redis_.port());
    reader.AwaitStream("values", 2);
  }
  redis_.Kill();
  WriteValue(b, kTime + 1, 3);
  redis_.Start();
  RedisReader reader(redis_.port());
  ASSERT_TRUE(Await([&] {
    const Texts sent = reader.Stream("values");
    return std::ranges::count(sent, Json("a", a, kTime, "1")) > 0 &&
           std::ranges::count(sent, Json("b", b, kTime + 1, "3")) > 0;
  }));
  const Texts sent = reader.Stream("values");
  EXPECT_EQ(std::ranges::count(sent, Json("b", b, kTime, "2")), 0);
}

TEST_F(RelayOutage, HoldsUpNoWriterAndNoClosing) {
  const TagId tag = AddTag("a");
  redis_.Halt(true);
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  for (int batch = 0; batch < 30; ++batch) {
    std::vector<TagSample> records;
    for (int i = 0; i < 10'000; ++i) {
      records.push_back({tag, {.time_ms = kTime + batch * 10'000 + i, .value = 1.0}});
    }
    EXPECT_EQ(Write(std::move(records)).status, ZR3_OK);
  }
  EXPECT_EQ(database_->Close().code(), ZR3_OK);
  redis_.Halt(false);
}

TEST_F(RelayOutage, IsNoRefusalOfSettings) {
  RelaySettings settings = ToRedis();
  settings.port = "1";  // nobody listens there
  EXPECT_EQ(Configure(settings), ZR3_OK);
  settings.host = "no..such";
  EXPECT_EQ(Configure(settings), ZR3_OK);
  AddTag("a");
  WriteValue(1, kTime, 1);
  EXPECT_EQ(Configure(ToRedis()), ZR3_OK);
  RedisReader reader(redis_.port());
  reader.AwaitStream("values", 1);
}

TEST_F(RelayOutage, IsSurvivedByWhatBecomesOfAlarms) {
  const TagId source = AddTag("source");
  const auto alarm = database_->AddTag(AlarmTagOf("alarm", "source", {"HIGH > 90"}), {});
  ASSERT_TRUE(alarm.ok());
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  {
    RedisReader reader(redis_.port());
    WriteValue(source, kTime, 1);
    reader.AwaitStream("values", 1);
  }
  redis_.Kill();
  for (int i = 1; i <= 20; ++i) WriteValue(source, kTime + i, i % 2 == 1 ? 99 : 1);
  redis_.Start();
  RedisReader reader(redis_.port());
  EXPECT_EQ(reader.AwaitStream("raised", 10).size(), 10U);
  EXPECT_EQ(reader.AwaitStream("ended", 10).size(), 10U);
}

}  // namespace
}  // namespace zervane
