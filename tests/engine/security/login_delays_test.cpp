#include "engine/security/login_delays.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/engine/security/fake_pause.h"

namespace zervane {
namespace {

using testing::ElementsAre;

Status Failure() { return {ZR3_ERR_LOGIN_FAILED, {}}; }
Status Success() { return {}; }

class LoginDelaysTest : public testing::Test {
 protected:
  ZR3_STATUS Fail(const std::string& name) { return delays_.Try(name, Failure).code(); }
  ZR3_STATUS Succeed(const std::string& name) { return delays_.Try(name, Success).code(); }

  std::unique_ptr<FakePause> made_ = std::make_unique<FakePause>();
  FakePause& pause_ = *made_;
  LoginDelays delays_{std::move(made_)};
};

TEST_F(LoginDelaysTest, DoubleWithEveryFailureUpToHalfAMinute) {
  for (int i = 0; i < 12; ++i) EXPECT_EQ(Fail("anna"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_THAT(pause_.waits(), ElementsAre(100, 200, 400, 800, 1'600, 3'200, 6'400, 12'800, 25'600,
                                          30'000, 30'000, 30'000));
}

TEST_F(LoginDelaysTest, BeginAnewAfterASuccess) {
  (void)Fail("anna");
  (void)Fail("anna");
  EXPECT_EQ(Succeed("anna"), ZR3_OK);
  EXPECT_EQ(delays_.CountNames(), 0U);
  (void)Fail("anna");
  EXPECT_THAT(pause_.waits(), ElementsAre(100, 200, 100));
}

TEST_F(LoginDelaysTest, AreOfOneName) {
  (void)Fail("anna");
  (void)Fail("anna");
  (void)Fail("bert");
  EXPECT_THAT(pause_.waits(), ElementsAre(100, 200, 100));
}

TEST_F(LoginDelaysTest, CountNothingButFailures) {
  const auto breaks = [] { return Status(ZR3_ERR_OUT_OF_MEMORY, {}); };
  (void)Fail("anna");
  EXPECT_EQ(delays_.Try("anna", breaks).code(), ZR3_ERR_OUT_OF_MEMORY);
  const auto throws = []() -> Status { throw std::bad_alloc(); };
  EXPECT_THROW((void)delays_.Try("anna", throws), std::bad_alloc);
  (void)Fail("anna");
  EXPECT_THAT(pause_.waits(), ElementsAre(100, 200));
}

TEST_F(LoginDelaysTest, AreRememberedOfTheNamesThatFailedLast) {
  (void)Fail("first");
  for (std::size_t i = 1; i < LoginDelays::kMaxNames; ++i) (void)Fail(std::to_string(i));
  (void)Fail("first");
  EXPECT_EQ(pause_.waits().back(), 200) << "as many as may be are remembered";
  (void)Fail("one more");
  EXPECT_EQ(delays_.CountNames(), LoginDelays::kMaxNames);
  (void)Fail("1");
  EXPECT_EQ(pause_.waits().back(), 100) << "the one that failed longest ago is forgotten";
  (void)Fail("first");
  EXPECT_EQ(pause_.waits().back(), 400);
}

TEST_F(LoginDelaysTest, HaveTheNextTryOfTheNameWaitAndNoOther) {
  pause_.Hold();
  std::atomic<bool> is_checked = false;
  std::thread first([&] { (void)Fail("anna"); });
  pause_.AwaitWaits(1);
  std::thread second([&] {
    (void)delays_.Try("anna", [&] {
      is_checked = true;
      return Success();
    });
  });
  EXPECT_EQ(Succeed("bert"), ZR3_OK) << "while anna waits";
  EXPECT_FALSE(is_checked);
  pause_.Release();
  first.join();
  second.join();
  EXPECT_TRUE(is_checked);
}

TEST_F(LoginDelaysTest, EndWithTheDatabase) {
  pause_.Hold();
  std::thread failing([&] {
    EXPECT_EQ(Fail("anna"), ZR3_ERR_NOT_CONNECTED) << "or the failure were told before its time";
  });
  pause_.AwaitWaits(1);
  std::thread waiting([&] { EXPECT_EQ(Succeed("anna"), ZR3_ERR_NOT_CONNECTED); });
  delays_.Close();
  failing.join();
  waiting.join();
  EXPECT_EQ(Succeed("bert"), ZR3_ERR_NOT_CONNECTED);
}

TEST_F(LoginDelaysTest, EndForAllTriesThatWaitForOneOfTheirName) {
  for (int round = 0; round < 50; ++round) {
    auto made = std::make_unique<FakePause>();
    FakePause& pause = *made;
    pause.Hold();
    LoginDelays delays(std::move(made));
    std::thread failing([&] { (void)delays.Try("anna", Failure); });
    pause.AwaitWaits(1);
    std::vector<std::thread> waiting;
    for (int i = 0; i < 4; ++i) {
      waiting.emplace_back(
          [&] { EXPECT_EQ(delays.Try("anna", Success).code(), ZR3_ERR_NOT_CONNECTED); });
    }
    delays.Close();
    failing.join();
    for (std::thread& thread : waiting) thread.join();
  }
}

TEST(MachinePause, ComesBackOnceItHasEnded) {
  const std::unique_ptr<Pause> pause = MachinePause();
  std::thread waiting([&] { pause->Wait(std::chrono::hours(1)); });
  pause->End();
  waiting.join();
  pause->Wait(std::chrono::hours(1));
}

}  // namespace
}  // namespace zervane
