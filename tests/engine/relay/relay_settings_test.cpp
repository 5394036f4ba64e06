#include <gtest/gtest.h>

#include "engine/storage/table.h"
#include "tests/engine/relay/relay_fixture.h"

namespace zervane {
namespace {

using Texts = std::vector<std::string>;

class RelaySettingsTest : public RelayTest {};

TEST_F(RelaySettingsTest, AreKeptWithTheDatabase) {
  const TagId tag = AddTag("a");
  WriteValue(tag, kTime, 1);
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  RedisReader reader(redis_.port());
  reader.AwaitStream("values", 1);
  reader.Ask({"FLUSHALL"});
  Reopen();
  EXPECT_EQ(reader.AwaitStream("values", 1), (Texts{Json("a", tag, kTime, "1")}));
}

TEST_F(RelaySettingsTest, StayAsTheyWereWhenOthersAreRefused) {
  const TagId tag = AddTag("a");
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  RelaySettings other = ToRedis();
  other.values_route = "other";
  other.port = "none";
  EXPECT_EQ(Configure(other), ZR3_ERR_INVALID_RELAY);
  other.port = redis_.port_text();
  other.max_connections = "0";
  EXPECT_EQ(Configure(other), ZR3_ERR_INVALID_RELAY);
  other.max_connections = "";
  disk_->FailCommits(1);
  EXPECT_EQ(Configure(other), ZR3_ERR_STORAGE_FAILED);
  WriteValue(tag, kTime, 1);
  RedisReader reader(redis_.port());
  reader.AwaitStream("values", 1);
  EXPECT_EQ(reader.Ask({"KEYS", "*"}), (Texts{"values"}));
}

TEST_F(RelaySettingsTest, TurnTheRelayOff) {
  const TagId tag = AddTag("a");
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  WriteValue(tag, kTime, 1);
  RedisReader reader(redis_.port());
  reader.AwaitStream("values", 1);
  ASSERT_EQ(Configure({}), ZR3_OK);
  EXPECT_TRUE(Await([&] {  // its connection ends
    return reader.Ask({"CLIENT", "LIST"}).at(0).find('\n') + 1 ==
           reader.Ask({"CLIENT", "LIST"}).at(0).size();
  }));
  WriteValue(tag, kTime + 1, 2);
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  WriteValue(tag, kTime + 2, 3);
  ASSERT_TRUE(Await([&] {
    const Texts sent = reader.Stream("values");
    return sent.back() == Json("a", tag, kTime + 2, "3");
  }));
}

TEST_F(RelaySettingsTest, GoOnWithAnotherRedis) {
  const TagId tag = AddTag("a");
  WriteValue(tag, kTime, 1);
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  RedisReader(redis_.port()).AwaitStream("values", 1);
  const RedisServer other;
  RelaySettings settings = ToRedis();
  settings.port = other.port_text();
  ASSERT_EQ(Configure(settings), ZR3_OK);
  EXPECT_EQ(RedisReader(other.port()).AwaitStream("values", 1),
            (Texts{Json("a", tag, kTime, "1")}));
}

TEST_F(RelaySettingsTest, HaveThePasswordThatTheRedisAsksFor) {
  const TagId tag = AddTag("a");
  WriteValue(tag, kTime, 1);
  const RedisServer guarded({"--requirepass", "sesame"});
  RelaySettings settings = ToRedis();
  settings.port = guarded.port_text();
  settings.password = Secret("wrong");
  ASSERT_EQ(Configure(settings), ZR3_OK);
  RedisReader reader(guarded.port(), "sesame");
  EXPECT_TRUE(Await([&] {
    const std::string stats = reader.Ask({"INFO", "commandstats"}).at(0);
    return stats.find("cmdstat_auth:calls=1") == std::string::npos;  // it has tried, too
  }));
  EXPECT_EQ(reader.Ask({"KEYS", "*"}), Texts());
  settings.password = Secret("sesame");
  ASSERT_EQ(Configure(settings), ZR3_OK);
  EXPECT_EQ(reader.AwaitStream("values", 1), (Texts{Json("a", tag, kTime, "1")}));
}

TEST_F(RelaySettingsTest, FindTheMasterThroughASentinel) {
  const TagId tag = AddTag("a");
  WriteValue(tag, kTime, 1);
  const auto sentinel = RedisServer::MakeSentinel("main", redis_.port());
  RelaySettings settings = ToRedis();
  settings.port = sentinel->port_text();
  settings.master_name = "main";
  ASSERT_EQ(Configure(settings), ZR3_OK);
  RedisReader reader(redis_.port());
  EXPECT_EQ(reader.AwaitStream("values", 1), (Texts{Json("a", tag, kTime, "1")}));
}

TEST_F(RelaySettingsTest, ThatAreDamagedTurnTheRelayOffAndNothingElse) {
  const TagId tag = AddTag("a");
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  RedisReader reader(redis_.port());
  database_.reset();
  {
    const std::unique_ptr<Store> store = disk_->Open(disk_);
    StoreBatch batch;
    const auto lease = store->Lease(LeaseWish::kLook);
    ASSERT_TRUE(lease.ok());
    batch.commit = lease->last_commit + 1;
    Table<Setting>::Put({"relay_port", Cell(std::int64_t{6379})}, batch);
    EXPECT_EQ(store->Commit(batch).status.code(), ZR3_OK);
    (void)store->Close();
  }
  Open();
  WriteValue(tag, kTime, 1);
  ASSERT_EQ(Configure(ToRedis()), ZR3_OK);
  EXPECT_EQ(reader.AwaitStream("values", 1), (Texts{Json("a", tag, kTime, "1")}));
}

}  // namespace
}  // namespace zervane
