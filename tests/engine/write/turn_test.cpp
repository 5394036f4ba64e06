#include "engine/write/turn.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace zervane {
namespace {

static_assert(!std::is_copy_constructible_v<Turn> && !std::is_copy_assignable_v<Turn>);
static_assert(!std::is_default_constructible_v<Turn>);

TEST(Turn, IsHeldByOneAtATime) {
  Turn first = Turn::Issue();
  EXPECT_TRUE(first.is_held());
  Turn second = std::move(first);
  EXPECT_FALSE(first.is_held());  // NOLINT(bugprone-use-after-move): that is what is asked
  EXPECT_TRUE(second.is_held());
  first = std::move(second);
  EXPECT_TRUE(first.is_held());
  EXPECT_FALSE(second.is_held());  // NOLINT(bugprone-use-after-move): likewise
}

}  // namespace
}  // namespace zervane
