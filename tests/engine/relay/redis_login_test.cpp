#include "engine/relay/redis_login.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>

#include "tests/engine/relay/fake_server.h"
#include "tests/engine/relay/redis_server.h"

namespace zervane {
namespace {

using std::chrono::milliseconds;

class RedisLogin : public testing::Test {
 protected:
  RelayConfig To(std::uint16_t port, milliseconds max_wait = milliseconds(50)) {
    RelayConfig config;
    config.host = "127.0.0.1";
    config.port = port;
    config.max_wait = max_wait;
    return config;
  }
  Status Open(const RelayConfig& config) { return OpenRedis(config, names_, interrupt_).status(); }

  // Why a server that serves so is none.
  std::string FaultOf(FakeServer::Serve serve) {
    const FakeServer server(std::move(serve));
    const Status status = Open(To(server.port()));
    EXPECT_EQ(status.code(), ZR3_ERR_CONNECT_FAILED);
    return status.message();
  }
  std::string FaultOfPing(const std::string& answer) {
    const FakeServer server(Answering([&](const Command&) { return answer; }));
    const Status status = Open(To(server.port(), kPatience));
    EXPECT_EQ(status.code(), ZR3_ERR_CONNECT_FAILED);
    return status.message();
  }

  static constexpr milliseconds kPatience{60'000};

  NameLookup names_{ResolveBySystem};
  WakeUp interrupt_;
};

TEST_F(RedisLogin, GivesUpAServerThatNeverAnswers) {
  EXPECT_EQ(FaultOf(ListenOnly), "no answer in time");
}

TEST_F(RedisLogin, GivesUpAServerThatAnswersByteByByte) {
  std::atomic<std::size_t> sent = 0;
  const std::string answer = "+" + std::string(2'000, 'x') + "\r\n";
  EXPECT_EQ(FaultOf(Dripping(answer, &sent)), "no answer in time");
  EXPECT_LT(sent, answer.size());
}

TEST_F(RedisLogin, GivesUpAServerThatClosesInTheMiddle) {
  EXPECT_EQ(FaultOf(Saying("$10\r\nabc")), "the connection was closed");
  EXPECT_EQ(FaultOf([](int) {}).substr(0, 14), "the connection");
}

TEST_F(RedisLogin, GivesUpAServerThatIsNoRedis) {
  EXPECT_EQ(FaultOf(Saying("SSH-2.0-OpenSSH_9.2\r\n")), "what it answers is no answer of a Redis");
  EXPECT_EQ(FaultOf(Saying("$99999999999999999999999\r\n")),
            "what it answers is no answer of a Redis");
}

TEST_F(RedisLogin, GivesUpAServerThatRefuses) {
  EXPECT_EQ(FaultOfPing("-NOAUTH Authentication required.\r\n"), "PING is answered with NOAUTH");
  EXPECT_EQ(FaultOfPing("-LOADING Redis is loading the dataset in memory\r\n"),
            "PING is answered with LOADING");
  EXPECT_EQ(FaultOfPing("-ERR max number of clients reached\r\n"), "PING is answered with ERR");
}

TEST_F(RedisLogin, GivesUpAServerThatAnswersSomethingElse) {
  for (const char* answer : {"*1\r\n$4\r\nPING\r\n", ":1\r\n", "$-1\r\n", "+OK\r\n"}) {
    EXPECT_EQ(FaultOfPing(answer), "PING is answered with ?") << answer;
  }
}

// What comes too early would be taken for the answer to something that has not arrived.
TEST_F(RedisLogin, GivesUpAServerThatAnswersMoreThanItIsAsked) {
  for (const char* more : {"$3\r\n1-1\r\n:0\r\n", "$3"}) {
    EXPECT_EQ(FaultOfPing(std::string("+PONG\r\n") + more),
              "it says something that it was not asked");
  }
}

TEST_F(RedisLogin, NeverTellsThePassword) {
  RelayConfig config = To(0, kPatience);
  config.password = Secret("sesame");
  for (const char* answer : {"-ERR unknown command `AUTH`, with args beginning with: `sesame`\r\n",
                             "-sesame\r\n", "+sesame\r\n", "$6\r\nsesame\r\n", "sesame\r\n"}) {
    const FakeServer server(Answering([&](const Command& command) {
      EXPECT_EQ(command, (Command{"AUTH", "sesame"}));
      return std::string(answer);
    }));
    config.port = server.port();
    const Status status = Open(config);
    EXPECT_EQ(status.code(), ZR3_ERR_CONNECT_FAILED);
    EXPECT_EQ(status.message().find("sesame"), std::string::npos) << status.message();
  }
}

TEST_F(RedisLogin, AsksTheMasterThatTheSentinelNamesAndGivesItAloneThePassword) {
  std::atomic<bool> sentinel_was_asked_more = false;
  const FakeServer master(Answering([](const Command& command) -> std::string {
    if (command == Command{"AUTH", "sesame"}) return "+OK\r\n";
    if (command == Command{"ROLE"}) return "*3\r\n$6\r\nmaster\r\n:0\r\n*0\r\n";
    return {};
  }));
  const std::string port = std::to_string(master.port());
  const FakeServer sentinel(Answering([&](const Command& command) {
    const Command expected = {"SENTINEL", "get-master-addr-by-name", "main"};
    if (command != expected) sentinel_was_asked_more = true;
    return "*2\r\n$9\r\n127.0.0.1\r\n$" + std::to_string(port.size()) + "\r\n" + port + "\r\n";
  }));
  RelayConfig config = To(sentinel.port(), kPatience);
  config.master_name = "main";
  config.password = Secret("sesame");
  EXPECT_EQ(Open(config).message(), "");
  EXPECT_FALSE(sentinel_was_asked_more);
  EXPECT_EQ(master.connections(), 1);
}

TEST_F(RedisLogin, RefusesAMasterThatIsNone) {
  const FakeServer replica(Answering([](const Command& command) -> std::string {
    return command == Command{"ROLE"} ? "*1\r\n$5\r\nslave\r\n" : "";
  }));
  const std::string port = std::to_string(replica.port());
  const FakeServer sentinel(Answering([&](const Command&) {
    return "*2\r\n$9\r\n127.0.0.1\r\n$" + std::to_string(port.size()) + "\r\n" + port + "\r\n";
  }));
  RelayConfig config = To(sentinel.port(), kPatience);
  config.master_name = "main";
  EXPECT_EQ(Open(config).message(), "what the Sentinel calls the master is none (yet)");
}

TEST_F(RedisLogin, RefusesWhatASentinelAnswersThatNamesNoMaster) {
  for (const char* answer :
       {"*-1\r\n", "*0\r\n", "*2\r\n:1\r\n:2\r\n", "+main\r\n", "*2\r\n$0\r\n\r\n$4\r\n6379\r\n"}) {
    const FakeServer sentinel(Answering([&](const Command&) { return std::string(answer); }));
    RelayConfig config = To(sentinel.port(), kPatience);
    config.master_name = "main";
    EXPECT_EQ(Open(config).message(), "the Sentinel knows no master of that name") << answer;
  }
  for (const char* port : {"$5\r\n65536", "$1\r\n0", "$2\r\n1x", "$2\r\n-1", "$0\r\n"}) {
    const FakeServer sentinel(Answering(
        [&](const Command&) { return std::string("*2\r\n$9\r\n127.0.0.1\r\n") + port + "\r\n"; }));
    RelayConfig config = To(sentinel.port(), kPatience);
    config.master_name = "main";
    EXPECT_EQ(Open(config).message(), "the Sentinel answers a port that is none") << port;
  }
}

TEST_F(RedisLogin, RefusesASentinelThatAnswersAHostThatIsNone) {
  bool was_looked_up = false;
  NameLookup names([&](const std::string&, std::uint16_t port) {
    was_looked_up = true;
    return ResolveBySystem("127.0.0.1", port);
  });
  for (const std::string& host :
       {std::string(10'000, 'h'), std::string(254, 'h'), std::string("127.0.0.1\0x", 11),
        std::string("127.0.0.1\n"), std::string("a b")}) {
    const FakeServer sentinel(Answering([&](const Command&) {
      return "*2\r\n$" + std::to_string(host.size()) + "\r\n" + host + "\r\n$1\r\n1\r\n";
    }));
    RelayConfig config = To(sentinel.port(), kPatience);
    config.master_name = "main";
    EXPECT_EQ(OpenRedis(config, names, interrupt_).status().message(),
              "the Sentinel answers a host that is none")
        << host.size();
  }
  EXPECT_FALSE(was_looked_up);
}

TEST_F(RedisLogin, RefusesASentinelThatNamesASentinel) {
  std::atomic<int> named_port = 0;
  const auto serve = Answering([&](const Command& command) -> std::string {
    if (command == Command{"ROLE"}) return "*2\r\n$8\r\nsentinel\r\n*1\r\n$4\r\nmain\r\n";
    const std::string port = std::to_string(named_port);
    return "*2\r\n$9\r\n127.0.0.1\r\n$" + std::to_string(port.size()) + "\r\n" + port + "\r\n";
  });
  const FakeServer sentinel(serve);
  const FakeServer other(serve);
  RelayConfig config = To(sentinel.port(), kPatience);
  config.master_name = "main";
  for (const FakeServer* const named : {&sentinel, &other}) {
    named_port = named->port();
    EXPECT_EQ(Open(config).message(), "what the Sentinel calls the master is none (yet)");
  }
  EXPECT_EQ(sentinel.connections(), 3);
  EXPECT_EQ(other.connections(), 1) << "nobody asks on from there";
}

TEST_F(RedisLogin, EndsAtOnceWhenItIsInterrupted) {
  const FakeServer server([&](int socket) {
    interrupt_.Set();
    ListenOnly(socket);
  });
  EXPECT_EQ(Open(To(server.port(), kPatience)).message(), "interrupted");
}

TEST_F(RedisLogin, TriesEveryAddressOfAName) {
  const RedisServer redis;
  NameLookup names([&](const std::string&, std::uint16_t) -> Result<std::vector<SocketAddress>> {
    std::vector<SocketAddress> addresses = *ResolveBySystem("127.0.0.1", 1);  // nobody listens
    addresses.push_back(ResolveBySystem("127.0.0.1", redis.port())->at(0));
    return addresses;
  });
  RelayConfig config = To(redis.port(), kPatience);
  config.host = "redis.example";
  EXPECT_EQ(OpenRedis(config, names, interrupt_).status().message(), "");
}

TEST_F(RedisLogin, FindsALocalNameBySystem) {
  const RedisServer redis;
  RelayConfig config = To(redis.port(), kPatience);
  config.host = "localhost";
  EXPECT_EQ(Open(config).message(), "");
  config.host = "no..such";
  EXPECT_EQ(Open(config).code(), ZR3_ERR_CONNECT_FAILED);
}

}  // namespace
}  // namespace zervane
