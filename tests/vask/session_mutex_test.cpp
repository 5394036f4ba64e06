#include "vask/session_mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace zervane {
namespace {

// Two numbers that only an exclusive hold changes, together: who sees them differ was let in beside
// it.
struct Pair {
  explicit Pair(bool has_barrier) : mutex(has_barrier) {}

  SessionMutex mutex;
  long first = 0;
  long second = 0;

  void Change() {
    const std::unique_lock lock(mutex);
    ++first;
    std::this_thread::yield();
    ++second;
  }

  bool IsWhole() {
    const std::shared_lock lock(mutex);
    return first == second;
  }
};

// With the barrier that the system offers, and without one.
class SessionMutexTest : public testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(Barrier, SessionMutexTest, testing::Bool());

TEST_P(SessionMutexTest, LetsNoSharedHoldInBesideAnExclusiveOne) {
  Pair pair(GetParam());
  std::atomic<bool> is_over{false};
  std::atomic<long> torn{0};
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (!is_over) torn += pair.IsWhole() ? 0 : 1;
    });
  }
  for (int i = 0; i < 500; ++i) pair.Change();
  is_over = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(pair.first, 500);
}

TEST_P(SessionMutexTest, KnowsThreadsThatComeAndGo) {
  Pair pair(GetParam());
  std::atomic<long> torn{0};
  for (int i = 0; i < 200; ++i) {
    std::thread reader([&] { torn += pair.IsWhole() ? 0 : 1; });
    pair.Change();
    reader.join();
  }
  EXPECT_EQ(torn, 0);
}

TEST_P(SessionMutexTest, MakesOneExclusiveHoldWaitForAnother) {
  Pair pair(GetParam());
  std::vector<std::thread> writers;
  for (int i = 0; i < 4; ++i) {
    writers.emplace_back([&] {
      for (int k = 0; k < 200; ++k) pair.Change();
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(pair.first, 800);
  EXPECT_EQ(pair.second, 800);
}

// The one that waits is let in as soon as the shared hold ends, not before.
TEST_P(SessionMutexTest, MakesAnExclusiveHoldWaitForSharedOnes) {
  SessionMutex mutex(GetParam());
  std::atomic<bool> is_exclusive{false};
  mutex.lock_shared();
  std::thread writer([&] {
    const std::unique_lock lock(mutex);
    is_exclusive = true;
  });
  for (int i = 0; i < 1000; ++i) {
    std::this_thread::yield();
    ASSERT_FALSE(is_exclusive);
  }
  mutex.unlock_shared();
  writer.join();
  EXPECT_TRUE(is_exclusive);
}

}  // namespace
}  // namespace zervane
