#include "engine/relay/name_lookup.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>

namespace zervane {
namespace {

using std::chrono::milliseconds;

Deadline In(milliseconds time) { return std::chrono::steady_clock::now() + time; }
constexpr milliseconds kPatience{60'000};

// A resolver that answers when it is let.
struct Slow {
  std::promise<void> gate;
  std::shared_future<void> opened{gate.get_future()};
  std::atomic<int> asked = 0;
};
Resolver ResolverOf(const std::shared_ptr<Slow>& slow) {
  return [slow](const std::string&, std::uint16_t port) {
    ++slow->asked;
    slow->opened.wait();
    return ResolveBySystem("127.0.0.1", port);
  };
}

TEST(NameLookupTest, AnswersAnAddressAtOnceWithoutAnybodysHelp) {
  NameLookup names([](const std::string&, std::uint16_t) -> Result<std::vector<SocketAddress>> {
    ADD_FAILURE();
    return Status(ZR3_ERR_CONNECT_FAILED, "");
  });
  WakeUp interrupt;
  EXPECT_TRUE(names.Find("127.0.0.1", 1, In(kPatience), interrupt).ok());
  EXPECT_TRUE(names.Find("::1", 1, In(kPatience), interrupt).ok());
}

TEST(NameLookupTest, IsNotWaitedForPastTheDeadlineNorAskedAgainMeanwhile) {
  const auto slow = std::make_shared<Slow>();
  WakeUp interrupt;
  NameLookup names(ResolverOf(slow));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(names.Find("redis.example", 1, In(milliseconds(1)), interrupt).status().message(),
              "no answer in time");
  }
  slow->gate.set_value();
  EXPECT_TRUE(names.Find("redis.example", 1, In(kPatience), interrupt).ok());
  EXPECT_EQ(slow->asked, 1);
  EXPECT_TRUE(names.Find("redis.example", 1, In(kPatience), interrupt).ok());
  EXPECT_EQ(slow->asked, 2);
}

TEST(NameLookupTest, IsNotWaitedForWhenItIsNotWantedAnyMore) {
  const auto slow = std::make_shared<Slow>();
  {
    WakeUp interrupt;
    NameLookup names(ResolverOf(slow));
    interrupt.Set();
    EXPECT_EQ(names.Find("redis.example", 1, In(kPatience), interrupt).status().message(),
              "interrupted");
  }
  slow->gate.set_value();  // it ends after what asked it
}

TEST(NameLookupTest, TellsThatThereIsNoSuchName) {
  NameLookup names([](const std::string&, std::uint16_t) -> Result<std::vector<SocketAddress>> {
    throw std::bad_alloc();
  });
  WakeUp interrupt;
  EXPECT_EQ(names.Find("redis.example", 1, In(kPatience), interrupt).code(), ZR3_ERR_OUT_OF_MEMORY);
  NameLookup system(ResolveBySystem);
  EXPECT_EQ(system.Find("no..such", 1, In(kPatience), interrupt).code(), ZR3_ERR_CONNECT_FAILED);
}

}  // namespace
}  // namespace zervane
