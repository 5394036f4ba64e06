#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/engine/relay/fake_server.h"
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

// The old master goes on answering, as one that others write to no more.
TEST_F(RelayOutage, EndsAtTheMasterThatTheSentinelNamesThen) {
  const RedisServer other;
  std::atomic<int> master_port = redis_.port();
  const FakeServer sentinel(Answering([&](const Command&) {
    const std::string port = std::to_string(master_port);
    return "*2\r\n$9\r\n127.0.0.1\r\n$" + std::to_string(port.size()) + "\r\n" + port + "\r\n";
  }));
  const TagId source = AddTag("source");
  ASSERT_TRUE(database_->AddTag(AlarmTagOf("alarm", "source", {"HIGH > 90"}), {}).ok());
  RelaySettings settings = ToRedis();
  settings.port = std::to_string(sentinel.port());
  settings.master_name = "main";
  ASSERT_EQ(Configure(settings), ZR3_OK);
  RedisReader old_reader(redis_.port());
  WriteValue(source, kTime, 99);
  EXPECT_EQ(old_reader.AwaitStream("raised", 1).size(), 1U);
  old_reader.Ask({"REPLICAOF", "127.0.0.1", "1"});  // where nobody is
  for (int i = 1; i <= 6; ++i) WriteValue(source, kTime + i, i % 2 == 1 ? 1 : 99);
  const int asked = sentinel.connections();
  EXPECT_TRUE(Await([&] { return sentinel.connections() > asked; })) << "it is refused, and asks";
  master_port = other.port();
  RedisReader reader(other.port());
  const Texts raised = reader.AwaitStream("raised", 3);
  ASSERT_EQ(raised.size(), 3U);
  for (std::size_t i = 0; i < raised.size(); ++i) {
    const std::string start = "\"start\":" + std::to_string(kTime + 2 * (i + 1));
    EXPECT_NE(raised[i].find(start), std::string::npos) << raised[i];
  }
  EXPECT_EQ(reader.AwaitStream("ended", 3).size(), 3U);
  EXPECT_TRUE(Await([&] {
    const Texts values = reader.Stream("values");
    return !values.empty() && values.back() == Json("source", source, kTime + 6, "99");
  }));
  EXPECT_EQ(old_reader.Stream("raised").size(), 1U);
}

}  // namespace
}  // namespace zervane
