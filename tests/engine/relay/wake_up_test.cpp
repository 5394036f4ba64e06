#include "engine/relay/wake_up.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <thread>

namespace zervane {
namespace {

bool IsReadable(const WakeUp& wake_up) {
  pollfd wait{.fd = wake_up.descriptor(), .events = POLLIN, .revents = 0};
  return poll(&wait, 1, 0) == 1;
}

TEST(WakeUpTest, IsSetUntilItIsCleared) {
  WakeUp wake_up;
  EXPECT_FALSE(wake_up.is_set() || IsReadable(wake_up));
  wake_up.Set();
  wake_up.Set();
  EXPECT_TRUE(wake_up.is_set() && IsReadable(wake_up));
  wake_up.Clear();
  EXPECT_FALSE(wake_up.is_set() || IsReadable(wake_up));
}

// Else one who waits for the descriptor would go on at once for ever, and never look.
TEST(WakeUpTest, IsSetWheneverItsDescriptorIsReadableAlsoBesideAClearing) {
  constexpr int kRounds = 2'000;
  std::atomic<WakeUp*> shared = nullptr;
  std::thread setter([&] {
    for (int round = 0; round < kRounds; ++round) {
      WakeUp* wake_up = nullptr;
      while ((wake_up = shared.load()) == nullptr) {  // as close together as can be
      }
      wake_up->Set();
      shared.store(nullptr);
    }
  });
  for (int round = 0; round < kRounds; ++round) {
    WakeUp wake_up;
    shared.store(&wake_up);
    for (int spin = 0; spin < round % 200; ++spin) (void)wake_up.is_set();
    wake_up.Clear();
    while (shared.load() != nullptr) std::this_thread::yield();
    EXPECT_EQ(wake_up.is_set(), IsReadable(wake_up)) << round;
  }
  setter.join();
}

}  // namespace
}  // namespace zervane
