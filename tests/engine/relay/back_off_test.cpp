#include "engine/relay/back_off.h"

#include <gtest/gtest.h>

#include <vector>

namespace zervane {
namespace {

TEST(BackOffTest, DoublesFromATenthOfASecondToHalfAMinute) {
  BackOff back_off;
  std::vector<std::int64_t> times;
  for (int i = 0; i < 11; ++i) times.push_back(back_off.Next().count());
  EXPECT_EQ(times, (std::vector<std::int64_t>{100, 200, 400, 800, 1'600, 3'200, 6'400, 12'800,
                                              25'600, 30'000, 30'000}));
  back_off.Reset();
  EXPECT_EQ(back_off.Next().count(), 100);
}

TEST(BackOffTest, BeginsAnewAfterWhatHasHeldForLongerThanTheLastWait) {
  BackOff back_off;
  for (int i = 0; i < 3; ++i) (void)back_off.Next();
  back_off.NoteHeld(std::chrono::milliseconds(400));
  EXPECT_EQ(back_off.Next().count(), 800);
  back_off.NoteHeld(std::chrono::milliseconds(801));
  EXPECT_EQ(back_off.Next().count(), 100);
}

}  // namespace
}  // namespace zervane
