#include "vask/session_mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

// Two numbers that only an exclusive hold changes, together: who sees them differ was let in beside
// it.
struct Pair {
  explicit Pair(bool has_barrier) : mutex(has_barrier) {}

  SessionMutex mutex;
  std::int64_t first = 0;
  std::int64_t second = 0;

  void Change() {
    const SessionLock lock(mutex);
    ++first;
    std::this_thread::yield();
    ++second;
  }

  bool IsWhole() {
    const SharedSessionLock lock(mutex);
    return first == second;
  }
};

// With the barrier that the system offers, and without one.
class SessionMutexTest : public testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(Barrier, SessionMutexTest, testing::Bool());

TEST_P(SessionMutexTest, LetsNoSharedHoldInBesideAnExclusiveOne) {
  Pair pair(GetParam());
  std::atomic<bool> is_over{false};
  std::atomic<std::int64_t> torn{0};
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
  std::atomic<std::int64_t> torn{0};
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
  mutex.LockShared();
  std::thread writer([&] {
    const SessionLock lock(mutex);
    is_exclusive = true;
  });
  for (int i = 0; i < 1000; ++i) {
    std::this_thread::yield();
    ASSERT_FALSE(is_exclusive);
  }
  mutex.UnlockShared();
  writer.join();
  EXPECT_TRUE(is_exclusive);
}

// One that the mutex knows, and that a thread with a shared hold waits for.
TEST_P(SessionMutexTest, LetsAThreadEndWhileAnExclusiveHoldWaits) {
  SessionMutex mutex(GetParam());
  std::atomic<bool> is_known{false};
  std::atomic<bool> may_end{false};
  std::thread reader([&] {
    { const SharedSessionLock lock(mutex); }
    is_known = true;
    while (!may_end) std::this_thread::yield();
  });
  while (!is_known) std::this_thread::yield();
  mutex.LockShared();
  std::thread writer([&] { const SessionLock lock(mutex); });
  for (int i = 0; i < 1000; ++i) std::this_thread::yield();
  may_end = true;
  reader.join();
  mutex.UnlockShared();
  writer.join();
}

#ifdef ZERVANE_ASSERTS

struct BreachCase {
  const char* name;
  void (*commit)(SessionMutex& mutex, SessionMutex& other);
};

void PrintTo(const BreachCase& row, std::ostream* out) { *out << row.name; }

class SessionMutexDeathTest : public testing::TestWithParam<BreachCase> {};

TEST_P(SessionMutexDeathTest, EndsTheProcessThatBreaksItsRules) {
  SessionMutex mutex;
  SessionMutex other;
  EXPECT_DEATH(GetParam().commit(mutex, other), "does not hold: ");
}

INSTANTIATE_TEST_SUITE_P(
    Breaches, SessionMutexDeathTest,
    testing::Values(BreachCase{"SharedTwice",
                               [](SessionMutex& mutex, SessionMutex&) {
                                 mutex.LockShared();
                                 mutex.LockShared();
                               }},
                    BreachCase{"TwoShared",
                               [](SessionMutex& mutex, SessionMutex& other) {
                                 mutex.LockShared();
                                 other.LockShared();
                               }},
                    BreachCase{"ExclusiveWhileShared",
                               [](SessionMutex& mutex, SessionMutex&) {
                                 mutex.LockShared();
                                 mutex.Lock();
                               }},
                    BreachCase{"ExclusiveWhileAnotherIsShared",
                               [](SessionMutex& mutex, SessionMutex& other) {
                                 mutex.LockShared();
                                 other.Lock();
                               }},
                    BreachCase{"SharedWhileExclusive",
                               [](SessionMutex& mutex, SessionMutex&) {
                                 mutex.Lock();
                                 mutex.LockShared();
                               }},
                    BreachCase{"UnlockedSharedWithoutAHold",
                               [](SessionMutex& mutex, SessionMutex&) { mutex.UnlockShared(); }},
                    BreachCase{"UnlockedSharedWhileAnotherIsHeld",
                               [](SessionMutex& mutex, SessionMutex& other) {
                                 mutex.LockShared();
                                 other.UnlockShared();
                               }},
                    BreachCase{"UnlockedWithoutAHold",
                               [](SessionMutex& mutex, SessionMutex&) { mutex.Unlock(); }},
                    BreachCase{"UnlockedSharedWhileExclusive",
                               [](SessionMutex& mutex, SessionMutex&) {
                                 mutex.Lock();
                                 mutex.UnlockShared();
                               }}),
    CaseName());

#endif

}  // namespace
}  // namespace zervane
