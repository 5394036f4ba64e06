#include "vask/handle_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace zervane {
namespace {

// Counts from 1 to its last item; tells when it is gone, and when it is to forget.
class Numbers : public ItemIterator {
 public:
  explicit Numbers(int last, int* alive = nullptr, std::vector<int>* forgotten = nullptr)
      : last_(last), alive_(alive), forgotten_(forgotten) {
    if (alive_ != nullptr) ++*alive_;
  }
  ~Numbers() override {
    if (alive_ != nullptr) --*alive_;
  }

  void Forget() noexcept override {
    if (forgotten_ != nullptr) forgotten_->push_back(last_);
  }

  Status Next(void* item) override {
    if (next_ > last_) return {ZR3_ERR_END_OF_ITERATION, {}};
    *static_cast<int*>(item) = next_++;
    return {};
  }

 private:
  int next_ = 1;
  const int last_;
  int* const alive_;
  std::vector<int>* const forgotten_;
};

ZR3HANDLE Add(HandleTable& table, std::unique_ptr<ItemIterator> iterator) {
  const Result<ZR3HANDLE> handle = table.Add(std::move(iterator));
  EXPECT_TRUE(handle.ok());
  return handle.ok() ? *handle : nullptr;
}

ZR3HANDLE Token(std::uintptr_t token) { return reinterpret_cast<ZR3HANDLE>(token); }

TEST(HandleTable, StepsThroughTheItemsAndThenSaysSoForEver) {
  HandleTable table;
  const ZR3HANDLE handle = Add(table, std::make_unique<Numbers>(2));
  int item = 0;
  EXPECT_EQ(table.Step(handle, &item).code(), ZR3_OK);
  EXPECT_EQ(item, 1);
  EXPECT_EQ(table.Step(handle, &item).code(), ZR3_OK);
  EXPECT_EQ(item, 2);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(table.Step(handle, &item).code(), ZR3_ERR_END_OF_ITERATION);
    EXPECT_EQ(item, 2) << "touched past the end";
  }
}

TEST(HandleTable, GivesTokensOf31BitsThatAreNeverZero) {
  HandleTable table;
  for (int i = 0; i < 1000; ++i) {
    const auto token = reinterpret_cast<std::uintptr_t>(Add(table, std::make_unique<Numbers>(0)));
    EXPECT_GE(token, 1U);
    EXPECT_LE(token, 0x7FFFFFFFU);
  }
}

TEST(HandleTable, DoesNotGiveAFreedTokenAgain) {
  HandleTable table;
  const ZR3HANDLE freed = Add(table, std::make_unique<Numbers>(1));
  ASSERT_EQ(table.Free(freed).code(), ZR3_OK);
  for (int i = 0; i < 1000; ++i) {
    const ZR3HANDLE next = Add(table, std::make_unique<Numbers>(1));
    EXPECT_NE(next, freed);
    ASSERT_EQ(table.Free(next).code(), ZR3_OK);
  }
}

TEST(HandleTable, RefusesZeroStaleAndForeignHandles) {
  HandleTable table;
  const ZR3HANDLE live = Add(table, std::make_unique<Numbers>(1));
  const ZR3HANDLE stale = Add(table, std::make_unique<Numbers>(1));
  ASSERT_EQ(table.Free(stale).code(), ZR3_OK);
  int on_stack = 7;
  const auto live_bits = reinterpret_cast<std::uintptr_t>(live);
  const ZR3HANDLE wrong[] = {nullptr,
                             stale,
                             &on_stack,
                             Token(live_bits + 1000),
                             Token(live_bits | std::uintptr_t{1} << 32),
                             Token(UINTPTR_MAX)};
  for (const ZR3HANDLE handle : wrong) {
    EXPECT_EQ(table.Step(handle, &on_stack).code(), ZR3_ERR_INVALID_HANDLE) << handle;
    EXPECT_EQ(table.Free(handle).code(), ZR3_ERR_INVALID_HANDLE) << handle;
  }
  EXPECT_EQ(on_stack, 7);
  EXPECT_EQ(table.Step(live, &on_stack).code(), ZR3_OK);
}

TEST(HandleTable, FreesAnIteratorOnce) {
  int alive = 0;
  HandleTable table;
  const ZR3HANDLE handle = Add(table, std::make_unique<Numbers>(1, &alive));
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(table.Free(handle).code(), ZR3_OK);
  EXPECT_EQ(alive, 0);
  EXPECT_EQ(table.Free(handle).code(), ZR3_ERR_INVALID_HANDLE);
}

TEST(HandleTable, FreesAbandonedIteratorsWhenCleared) {
  int alive = 0;
  HandleTable table;
  const ZR3HANDLE first = Add(table, std::make_unique<Numbers>(1, &alive));
  Add(table, std::make_unique<Numbers>(1, &alive));
  table.Clear();
  EXPECT_EQ(alive, 0);
  EXPECT_EQ(table.Free(first).code(), ZR3_ERR_INVALID_HANDLE);
  EXPECT_NE(Add(table, std::make_unique<Numbers>(1)), first);
}

TEST(HandleTable, ServesCallsWithOneHandleInTurn) {
  constexpr int kThreads = 4;
  constexpr int kItems = 1000;
  HandleTable table;
  const ZR3HANDLE handle = Add(table, std::make_unique<Numbers>(kThreads * kItems));
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      int item = 0;
      for (int i = 0; i < kItems; ++i) EXPECT_EQ(table.Step(handle, &item).code(), ZR3_OK);
    });
  }
  for (std::thread& thread : threads) thread.join();
  int item = 0;
  EXPECT_EQ(table.Step(handle, &item).code(), ZR3_ERR_END_OF_ITERATION);
}

TEST(HandleTable, LetsAnIteratorBeFreedWhileItIsStepped) {
  HandleTable table;
  for (int round = 0; round < 100; ++round) {
    const ZR3HANDLE handle = Add(table, std::make_unique<Numbers>(1'000'000));
    std::thread stepper([&] {
      int item = 0;
      while (table.Step(handle, &item).ok()) {
      }
    });
    EXPECT_EQ(table.Free(handle).code(), ZR3_OK);
    stepper.join();
  }
}

TEST(HandleTable, HasAnEndOfItsPatienceWithIteratorsThatNobodyFrees) {
  HandleTable table;
  std::vector<ZR3HANDLE> handles;
  for (std::size_t i = 0; i < HandleTable::kMaxIterators; ++i) {
    handles.push_back(Add(table, std::make_unique<Numbers>(1)));
  }
  EXPECT_EQ(table.Add(std::make_unique<Numbers>(1)).code(), ZR3_ERR_OUT_OF_MEMORY);
  int item = 0;
  EXPECT_EQ(table.Step(handles.front(), &item).code(), ZR3_OK);
  EXPECT_EQ(table.Free(handles.front()).code(), ZR3_OK);
  EXPECT_TRUE(table.Add(std::make_unique<Numbers>(1)).ok());
  EXPECT_EQ(table.Add(std::make_unique<Numbers>(1)).code(), ZR3_ERR_OUT_OF_MEMORY);
}

TEST(HandleTable, HasThoseUsedLongAgoForgetWhatTheyFetched) {
  constexpr int kAhead = HandleTable::kMaxAhead;
  HandleTable table;
  std::vector<int> forgotten;
  std::vector<ZR3HANDLE> handles;
  for (int i = 0; i < kAhead; ++i) {
    handles.push_back(Add(table, std::make_unique<Numbers>(i + 1, nullptr, &forgotten)));
  }
  EXPECT_TRUE(forgotten.empty());
  int item = 0;
  ASSERT_EQ(table.Step(handles[0], &item).code(), ZR3_OK);  // so the second is the oldest
  handles.push_back(Add(table, std::make_unique<Numbers>(kAhead + 1, nullptr, &forgotten)));
  EXPECT_EQ(forgotten, std::vector<int>{2});

  // It goes on where it was, and another one makes room for it.
  ASSERT_EQ(table.Step(handles[1], &item).code(), ZR3_OK);
  EXPECT_EQ(item, 1);
  EXPECT_EQ(forgotten, (std::vector<int>{2, 3}));

  // A freed one needs no room.
  ASSERT_EQ(table.Free(handles[5]).code(), ZR3_OK);
  ASSERT_EQ(table.Step(handles[2], &item).code(), ZR3_OK);
  EXPECT_EQ(forgotten, (std::vector<int>{2, 3}));
}

TEST(HandleTable, HasAllForgetWhatTheyFetchedAndGoOnWhereTheyWere) {
  HandleTable table;
  std::vector<int> forgotten;
  const ZR3HANDLE first = Add(table, std::make_unique<Numbers>(3, nullptr, &forgotten));
  const ZR3HANDLE second = Add(table, std::make_unique<Numbers>(4, nullptr, &forgotten));
  int item = 0;
  ASSERT_EQ(table.Step(first, &item).code(), ZR3_OK);
  table.ForgetFetched();
  EXPECT_THAT(forgotten, testing::UnorderedElementsAre(3, 4));
  ASSERT_EQ(table.Step(first, &item).code(), ZR3_OK);
  EXPECT_EQ(item, 2);
  EXPECT_EQ(table.Free(first).code(), ZR3_OK);
  EXPECT_EQ(table.Free(second).code(), ZR3_OK);
}

}  // namespace
}  // namespace zervane
