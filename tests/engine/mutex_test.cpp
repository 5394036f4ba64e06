#include "engine/mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "engine/assert.h"

namespace zervane {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 10'000;

TEST(Mutex, LetsOneThreadInAtATime) {
  Mutex mutex;
  int count = 0;  // more than one at a time would lose some
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        const MutexLock lock(mutex);
        ++count;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, kThreads * kRounds);
}

TEST(MutexLock, CanBeGivenUpAndTakenAgain) {
  Mutex mutex;
  {
    MutexLock lock(mutex);
    lock.Unlock();
    mutex.Lock();
    mutex.Unlock();
    lock.Lock();
    mutex.AssertHeld();
    lock.Unlock();
  }
  mutex.Lock();  // it is free, since the lock that was given up did not give it up again
  mutex.Unlock();
}

TEST(SharedMutex, LetsReadersInTogetherAndWritersAlone) {
  SharedMutex mutex;
  std::atomic<int> readers = 0;
  int written = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {  // each waits inside for all the others
      const ReaderLock lock(mutex);
      ++readers;
      while (readers < kThreads) std::this_thread::yield();
    });
  }
  for (std::thread& thread : threads) thread.join();
  threads.clear();
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        const WriterLock lock(mutex);
        ++written;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(written, kThreads * kRounds);
}

TEST(CondVar, HasItsMutexBackWhenWaitingEnds) {
  Mutex mutex;
  CondVar turned;
  int turn = 0;
  std::thread other([&] {
    const MutexLock lock(mutex);
    while (turn != 1) turned.Wait(mutex);
    mutex.AssertHeld();
    turn = 2;
    turned.NotifyAll();
  });
  {
    const MutexLock lock(mutex);
    turn = 1;
    turned.NotifyOne();
    while (turn != 2) turned.Wait(mutex);
    mutex.AssertHeld();
  }
  other.join();
}

TEST(CondVar, WaitsNoLongerThanItIsTold) {
  Mutex mutex;
  CondVar never;
  const MutexLock lock(mutex);
  never.WaitFor(mutex, std::chrono::milliseconds(1));
  mutex.AssertHeld();
}

#ifdef ZERVANE_ASSERTS

TEST(MutexDeathTest, EndsTheProcessOfWhoBelievesToHoldIt) {
  Mutex mutex;
  EXPECT_DEATH(mutex.AssertHeld(), "IsHeldByThisThread");
}

TEST(MutexDeathTest, EndsTheProcessOfWhoGivesUpWhatAnotherHolds) {
  Mutex mutex;
  const MutexLock lock(mutex);
  EXPECT_DEATH(std::thread([&]() NO_THREAD_SAFETY_ANALYSIS { mutex.Unlock(); }).join(),
               "IsHeldByThisThread");
}

TEST(MutexDeathTest, EndsTheProcessOfWhoGivesUpALockTwice) {
  Mutex mutex;
  EXPECT_DEATH(
      [&]() NO_THREAD_SAFETY_ANALYSIS {
        MutexLock lock(mutex);
        lock.Unlock();
        lock.Unlock();
      }(),
      "holds_");
}

TEST(AssertDeathTest, NamesWhatDoesNotHoldAndWhere) {
  EXPECT_DEATH(ZERVANE_ASSERT(1 + 1 == 3), "mutex_test.cpp:[0-9]+: does not hold: 1 \\+ 1 == 3");
}

TEST(Assert, GoesOnWhereTheConditionHolds) {
  int evaluated = 0;
  ZERVANE_ASSERT(++evaluated == 1);
  EXPECT_EQ(evaluated, 1);
}

#else

TEST(Assert, EvaluatesNothingInThisBuild) {
  int evaluated = 0;
  ZERVANE_ASSERT(++evaluated == 2);
  EXPECT_EQ(evaluated, 0);
}

#endif

}  // namespace
}  // namespace zervane
