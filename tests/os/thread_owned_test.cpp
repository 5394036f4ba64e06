#include "os/thread_owned.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <new>
#include <thread>

namespace zervane::os {
namespace {

std::atomic<int> alive{0};

struct Counted {
  Counted() { ++alive; }
  ~Counted() { --alive; }
};

ThreadOwned<Counted>& Objects() {
  static ThreadOwned<Counted> objects;
  return objects;
}

Counted& Own() {
  return Objects().OfThisThread([] { return std::make_unique<Counted>(); });
}

TEST(ThreadOwned, GivesAThreadTheSameObjectAgain) {
  std::thread([] { EXPECT_EQ(&Own(), &Own()); }).join();
}

TEST(ThreadOwned, GivesEveryThreadOneOfItsOwn) {
  std::thread([] {
    const Counted* const here = &Own();
    std::thread([here] { EXPECT_NE(&Own(), here); }).join();
    EXPECT_EQ(&Own(), here);
  }).join();
}

TEST(ThreadOwned, DestroysAnObjectWithItsThread) {
  const int before = alive;
  std::thread([=] {
    (void)Own();
    EXPECT_EQ(alive, before + 1);
  }).join();
  EXPECT_EQ(alive, before);
}

TEST(ThreadOwned, TriesAgainWhenMakingFailed) {
  std::thread([] {
    EXPECT_THROW(
        Objects().OfThisThread([]() -> std::unique_ptr<Counted> { throw std::bad_alloc(); }),
        std::bad_alloc);
    EXPECT_EQ(&Own(), &Own());
  }).join();
}

// Destructors of thread_local objects run before the thread's own ones go.
TEST(ThreadOwned, ServesAThreadThatEnds) {
  const int before = alive;
  struct AsksAtTheEnd {
    ~AsksAtTheEnd() { (void)Own(); }
  };
  std::thread([] {
    thread_local AsksAtTheEnd asks;
    (void)&asks;
  }).join();
  EXPECT_EQ(alive, before);
}

}  // namespace
}  // namespace zervane::os
