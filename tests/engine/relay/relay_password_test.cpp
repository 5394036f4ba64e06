// Whatever a server says, the log, which here has lines of every level, does not have the password.

#include <gtest/gtest.h>
#include <spdlog/sinks/ringbuffer_sink.h>

#include "engine/log.h"
#include "tests/engine/relay/fake_server.h"
#include "tests/engine/relay/relay_fixture.h"

namespace zervane {
namespace {

using spdlog::sinks::ringbuffer_sink_mt;

// In capitals, as what failures begin with.
constexpr char kPassword[] = "SESAME";

class RelayPassword : public RelayTest {
 protected:
  RelayPassword() : sinks_(Log().sinks()), level_(Log().level()) {
    Log().sinks() = {lines_};
    Log().set_level(spdlog::level::trace);
  }
  ~RelayPassword() override {
    (void)database_->Close();  // its threads log no more
    Log().sinks() = sinks_;
    Log().set_level(level_);
  }

  // What was told since it was looked at last.
  std::string Told() const {
    const std::vector<std::string> lines = lines_->last_formatted();
    std::string all;
    for (std::size_t i = looked_at_; i < lines.size(); ++i) all += lines[i];
    return all;
  }

  // Relays a value to a server there, until the log says so of it.
  void ExpectInTheLog(const std::string& said, std::uint16_t port,
                      const std::string& master_name = {}) {
    RelaySettings settings = ToRedis();
    settings.port = std::to_string(port);
    settings.master_name = master_name;
    settings.password = Secret(kPassword);
    ASSERT_EQ(Configure(settings), ZR3_OK);
    WriteValue(tag_, ++time_ms_, 1);
    EXPECT_TRUE(Await([&] { return Told().find(said) != std::string::npos; })) << Told();
    ASSERT_EQ(Configure({}), ZR3_OK);
    EXPECT_EQ(Told().find(kPassword), std::string::npos) << Told();
    looked_at_ = lines_->last_formatted().size();
    ASSERT_LT(looked_at_, kLines) << "or some are not looked at";
  }

  // A server that gives one answer to AUTH, PING, ROLE, XADD and PUBLISH each.
  static FakeServer::Serve Saying(std::map<std::string, std::string> answers) {
    return Answering([answers = std::move(answers)](const Command& command) {
      const auto answer = answers.find(command[0]);
      return answer == answers.end() ? std::string() : answer->second + "\r\n";
    });
  }

 private:
  static constexpr std::size_t kLines = 10'000;

  const std::vector<spdlog::sink_ptr> sinks_;
  const spdlog::level::level_enum level_;
  const std::shared_ptr<ringbuffer_sink_mt> lines_ = std::make_shared<ringbuffer_sink_mt>(kLines);
  std::size_t looked_at_ = 0;  // so many lines
  const TagId tag_ = AddTag("a");
  std::int64_t time_ms_ = kTime;
};

TEST_F(RelayPassword, IsNotInTheLogOfARedisThatRefusesIt) {
  const RedisServer guarded({"--requirepass", "another"});
  ExpectInTheLog("AUTH is answered with WRONGPASS", guarded.port());
}

TEST_F(RelayPassword, IsNotInTheLogOfARedisThatWantsNone) {
  ExpectInTheLog("AUTH is answered with ERR", redis_.port());
}

TEST_F(RelayPassword, IsNotInTheLogOfAServerThatSendsItBack) {
  struct Case {
    std::map<std::string, std::string> answers;
    const char* said;
  };
  const std::vector<Case> cases = {
      {{{"AUTH", "-SESAME"}}, "AUTH is answered with ?"},
      {{{"AUTH", "-SESAME is no password"}}, "AUTH is answered with ?"},
      {{{"AUTH", "-ERR SESAME is no password"}}, "AUTH is answered with ERR"},
      {{{"AUTH", "+SESAME"}}, "AUTH is answered with ?"},
      {{{"AUTH", "SESAME"}}, "no answer of a Redis"},
      {{{"AUTH", "+OK"}, {"PING", "-SESAME"}}, "PING is answered with ?"},
      {{{"AUTH", "+OK"}, {"PING", "+SESAME"}}, "PING is answered with ?"},
      {{{"AUTH", "+OK"}, {"PING", "+PONG"}, {"XADD", "-SESAME"}}, "is answered with ?"},
      {{{"AUTH", "+OK"}, {"PING", "+PONG"}, {"XADD", "*1\r\n+SESAME"}}, "not what a Redis does"},
      {{{"AUTH", "+OK"}, {"PING", "+PONG"}, {"XADD", "-ERR SESAME"}, {"PUBLISH", "-ERR SESAME"}},
       "refuses commands with ERR"},
  };
  for (const auto& [answers, said] : cases) {
    SCOPED_TRACE(answers.rbegin()->second);
    const FakeServer server(Saying(answers));
    ExpectInTheLog(said, server.port());
  }
}

TEST_F(RelayPassword, IsNotInTheLogOfASentinelThatSaysIt) {
  for (const auto& [answer, said] :
       {std::pair{"-SESAME", "SENTINEL is answered with ?"},
        std::pair{"*2\r\n$6\r\nSESAME\r\n$6\r\nSESAME", "answers a port that is none"},
        std::pair{"*2\r\n$8\r\nSESAME..\r\n$1\r\n1", "the relay: "}}) {
    const FakeServer server(Saying({{"SENTINEL", answer}}));
    ExpectInTheLog(said, server.port(), "main");
  }
}

}  // namespace
}  // namespace zervane
