#include "engine/relay/relay_sender.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <atomic>
#include <future>
#include <string>
#include <vector>

#include "engine/storage/store.h"
#include "tests/engine/relay/fake_server.h"
#include "tests/engine/relay/redis_server.h"

namespace zervane {
namespace {

using std::chrono::milliseconds;

// A sender whose pauses are over when the test says so.
class RelaySenderTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(catalogue_.Load().ok()); }

  std::unique_ptr<RelaySender> Start(std::uint16_t port, milliseconds max_wait = kPatience,
                                     const std::string& host = "127.0.0.1",
                                     Resolver resolver = ResolveBySystem) {
    auto config = std::make_shared<RelayConfig>();
    config->host = host;
    config->port = port;
    config->max_wait = max_wait;
    config->routes = {"", "raised", "ended", "notes"};
    auto sender = std::make_unique<RelaySender>(
        queue_, catalogue_, current_values_,
        RelaySender::Surroundings{
            .resolver = std::move(resolver),
            .now = [this] { return now_.load(); },
            .pause = [this](milliseconds time,
                            const WakeUp& interrupt) { Pause(time, interrupt); }});
    sender->Use(config);
    return sender;
  }
  void Push(const std::string& json) {
    RelayEntry entry;
    entry.kind = RelayKind::kRaised;
    entry.json = json;
    queue_.Push(std::move(entry));
  }
  void AwaitPauses(std::size_t count) {
    EXPECT_TRUE(Await([&] { return pauses().size() >= count; }));
  }
  std::vector<std::int64_t> pauses() {
    const MutexLock lock(mutex_);
    return pauses_;
  }

  static constexpr milliseconds kPatience{60'000};

  // So many pauses are over at once, the next ones when they are interrupted.
  std::size_t free_pauses_ = 0;
  std::atomic<RelaySender::Clock::time_point> now_ = RelaySender::Clock::time_point();
  std::unique_ptr<Store> store_ = OpenMemoryStore();
  Catalogue catalogue_{*store_};
  CurrentValues current_values_;
  RelayQueue queue_;

 private:
  void Pause(milliseconds time, const WakeUp& interrupt) {
    {
      const MutexLock lock(mutex_);
      pauses_.push_back(time.count());
      if (pauses_.size() <= free_pauses_) return;
    }
    while (!interrupt.is_set()) std::this_thread::yield();
  }

  Mutex mutex_;
  std::vector<std::int64_t> pauses_ GUARDED_BY(mutex_);
};

TEST_F(RelaySenderTest, TriesAgainLaterEachTime) {
  free_pauses_ = 10;
  const auto sender = Start(1);  // nobody listens there
  AwaitPauses(11);
  EXPECT_EQ(pauses(), (std::vector<std::int64_t>{100, 200, 400, 800, 1'600, 3'200, 6'400, 12'800,
                                                 25'600, 30'000, 30'000}));
}

TEST_F(RelaySenderTest, BeginsAnewWithOtherSettings) {
  free_pauses_ = 2;
  const auto sender = Start(1);
  AwaitPauses(3);
  auto other = std::make_shared<RelayConfig>();
  other->host = "127.0.0.1";
  other->port = 1;
  other->max_wait = kPatience;
  other->routes = {"", "raised", "", ""};
  sender->Use(other);
  AwaitPauses(4);
  EXPECT_EQ(pauses(), (std::vector<std::int64_t>{100, 200, 400, 100}));
}

TEST_F(RelaySenderTest, KeepsWhatCouldNotBeSent) {
  for (const char* answer : {"-READONLY You can't write against a read only replica.\r\n",
                             "-LOADING Redis is loading the dataset in memory\r\n",
                             "-NOAUTH Authentication required.\r\n", "-OOM command not allowed\r\n",
                             "*1\r\n$4\r\nXADD\r\n", ":1\r\n", "$-1\r\n", "garbage\r\n",
                             "$99999999999999999999\r\n", ""}) {
    Push("{}");
    const std::size_t before = pauses().size();
    const FakeServer server(Answering([&](const Command& command) {
      return command == Command{"PING"} ? std::string("+PONG\r\n") : std::string(answer);
    }));
    {
      const auto sender = Start(server.port());
      AwaitPauses(before + 1);
    }
    EXPECT_EQ(queue_.size(), 1U) << answer;
    (void)queue_.Pop(1);
  }
}

TEST_F(RelaySenderTest, TakesNothingForPublishedWithoutTheNumberOfThoseWhoHeard) {
  Push("{}");
  const FakeServer server(Answering([](const Command& command) -> std::string {
    return command == Command{"PING"} ? "+PONG\r\n" : "$3\r\n1-1\r\n";
  }));
  {
    const auto sender = Start(server.port());
    AwaitPauses(1);
  }
  EXPECT_EQ(queue_.size(), 1U);
}

TEST_F(RelaySenderTest, GivesUpACommandThatIsAnsweredByteByByteOrNever) {
  for (const bool drips : {false, true}) {
    Push("{}");
    const std::size_t before = pauses().size();
    std::atomic<std::size_t> sent = 0;
    const FakeServer server([&](int socket) {
      Saying("+PONG\r\n")(socket);
      if (drips) {
        Dripping("$1000\r\n" + std::string(1'000, 'x') + "\r\n", &sent)(socket);
      } else {
        ListenOnly(socket);
      }
    });
    {
      const auto sender = Start(server.port(), milliseconds(50));
      AwaitPauses(before + 1);
    }
    EXPECT_EQ(queue_.size(), 1U);
    EXPECT_LT(sent, 1'000U);
    (void)queue_.Pop(1);
  }
}

TEST_F(RelaySenderTest, GoesOnWhenOneCommandIsRefused) {
  for (const char* answer :
       {"-WRONGTYPE Operation against a key holding the wrong kind\r\n",
        "-NOPERM this user has no permissions\r\n", "-ERR unknown command 'XADD'\r\n"}) {
    std::atomic<int> published = 0;
    const FakeServer server(Answering([&](const Command& command) {
      if (command == Command{"PING"}) return std::string("+PONG\r\n");
      if (command[0] == "XADD") return std::string(answer);
      ++published;
      return std::string(":0\r\n");
    }));
    Push("{\"a\":1}");
    Push("{\"a\":2}");
    const auto sender = Start(server.port());
    EXPECT_TRUE(Await([&] { return published >= 2; })) << answer;
    EXPECT_TRUE(pauses().empty());
    sender->Stop();
    (void)queue_.Pop(10);  // whose last answer it may not have heard
  }
}

TEST_F(RelaySenderTest, WaitsLongerForAServerThatRefusesEveryCommandAndCloses) {
  free_pauses_ = 3;
  const FakeServer server([&](int socket) {
    Answering([&](const Command& command) -> std::string {
      if (command == Command{"PING"}) return "+PONG\r\n";
      if (command[0] == "XADD") return "-ERR no\r\n";
      constexpr std::string_view kRefusal = "-ERR no\r\n";
      EXPECT_EQ(send(socket, kRefusal.data(), kRefusal.size(), MSG_NOSIGNAL), std::ssize(kRefusal));
      Push("{}");
      return {};
    })(socket);
  });
  Push("{}");
  const auto sender = Start(server.port());
  AwaitPauses(4);
  EXPECT_EQ(pauses(), (std::vector<std::int64_t>{100, 200, 400, 800}));
}

TEST_F(RelaySenderTest, TriesAgainSoonWhenAConnectionIsLostThatHasHeld) {
  free_pauses_ = 2;
  const FakeServer server([&](int socket) {
    if (pauses().size() < 2) return;
    Answering([&](const Command& command) -> std::string {
      if (command == Command{"PING"}) return "+PONG\r\n";
      now_ = now_.load() + milliseconds(201);
      return "-LOADING\r\n";
    })(socket);
  });
  Push("{}");
  const auto sender = Start(server.port());
  AwaitPauses(3);
  EXPECT_EQ(pauses(), (std::vector<std::int64_t>{100, 200, 100}));
}

TEST_F(RelaySenderTest, SendsAgainOnlyWhatWasNotAnswered) {
  std::atomic<int> answered = 0;
  std::vector<std::string> seen;  // of the server's thread, until it has ended
  free_pauses_ = 1;
  {
    const FakeServer server(Answering([&](const Command& command) -> std::string {
      if (command == Command{"PING"}) return "+PONG\r\n";
      if (command[0] == "XADD") {
        seen.push_back(command.back());
        return "$3\r\n1-1\r\n";
      }
      if (++answered == 3) return {};  // it closes before the third is published
      return ":0\r\n";
    }));
    for (const char* json : {"1", "2", "3", "4"}) Push(json);
    const auto sender = Start(server.port());
    EXPECT_TRUE(Await([&] { return answered == 5; }));
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"1", "2", "3", "3", "4"}));
}

TEST_F(RelaySenderTest, StopsAtOnceWhateverItWaitsFor) {
  Push("{}");
  {
    std::promise<void> accepted;
    const FakeServer server([&, once = false](int socket) mutable {
      if (!std::exchange(once, true)) accepted.set_value();
      ListenOnly(socket);
    });
    const auto sender = Start(server.port(), std::chrono::hours(24));
    EXPECT_EQ(accepted.get_future().wait_for(kPatience), std::future_status::ready);
  }
  auto gate = std::make_shared<std::promise<void>>();
  auto asked = std::make_shared<std::promise<void>>();
  {
    const auto sender = Start(1, std::chrono::hours(24), "redis.example",
                              [=](const std::string&, std::uint16_t port) {
                                asked->set_value();
                                gate->get_future().wait();
                                return ResolveBySystem("127.0.0.1", port);
                              });
    EXPECT_EQ(asked->get_future().wait_for(kPatience), std::future_status::ready);
  }
  gate->set_value();
  EXPECT_TRUE(pauses().empty());
}

}  // namespace
}  // namespace zervane
