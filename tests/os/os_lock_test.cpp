#include "os/os_lock.h"

#include <errno.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

// The misuse that these tests provoke, and that the mutex answers, would end a run under
// ThreadSanitizer; other processes have no use for this.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier,bugprone-reserved-identifier): the sanitizer's.
extern "C" [[gnu::visibility("default")]] const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
  return "report_mutex_bugs=0:report_destroy_locked=0";
}
// NOLINTEND(clang-diagnostic-reserved-identifier,bugprone-reserved-identifier)

namespace {

class OsMutex : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(os_mutex_create(&mutex_), 0); }
  void TearDown() override { EXPECT_EQ(os_mutex_destroy(mutex_), 0); }

  OS_MUTEX mutex_ = nullptr;
};

TEST_F(OsMutex, IsCreatedUnlocked) {
  ASSERT_NE(mutex_, nullptr);
  EXPECT_EQ(os_mutex_lock(mutex_), 0);
  EXPECT_EQ(os_mutex_unlock(mutex_), 0);
}

TEST_F(OsMutex, LetsOneThreadInAtATime) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 20'000;
  std::int64_t count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        EXPECT_EQ(os_mutex_lock(mutex_), 0);
        ++count;
        EXPECT_EQ(os_mutex_unlock(mutex_), 0);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(count, static_cast<std::int64_t>(kThreads) * kRounds);
}

TEST_F(OsMutex, AnswersItsOwnerThatItIsLocked) {
  ASSERT_EQ(os_mutex_lock(mutex_), 0);
  EXPECT_EQ(os_mutex_lock(mutex_), EDEADLK);
  EXPECT_EQ(os_mutex_unlock(mutex_), 0);
}

TEST_F(OsMutex, IsGivenUpByItsOwnerAlone) {
  EXPECT_EQ(os_mutex_unlock(mutex_), EPERM) << "nobody owns it";
  ASSERT_EQ(os_mutex_lock(mutex_), 0);
  std::thread([this] { EXPECT_EQ(os_mutex_unlock(mutex_), EPERM); }).join();
  EXPECT_EQ(os_mutex_unlock(mutex_), 0);
}

TEST_F(OsMutex, IsNotDestroyedWhileLocked) {
  ASSERT_EQ(os_mutex_lock(mutex_), 0);
  EXPECT_EQ(os_mutex_destroy(mutex_), EBUSY);
  EXPECT_EQ(os_mutex_unlock(mutex_), 0) << "it is still in order";
}

TEST(OsMutexArguments, ThatAreNullAreRefused) {
  EXPECT_EQ(os_mutex_create(nullptr), EINVAL);
  EXPECT_EQ(os_mutex_lock(nullptr), EINVAL);
  EXPECT_EQ(os_mutex_unlock(nullptr), EINVAL);
  EXPECT_EQ(os_mutex_destroy(nullptr), EINVAL);
}

}  // namespace
