#include "engine/storage/codec/per_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <thread>

#include "engine/storage/codec/section.h"
#include "tests/engine/short_memory.h"

namespace zervane::storage {
namespace {

struct Item {
  static inline std::atomic<int> made = 0;
  static inline std::atomic<int> freed = 0;
  static inline bool is_short = false;
};

Item* MakeItem() {
  if (Item::is_short) return nullptr;
  ++Item::made;
  return new Item;
}
void FreeItem(Item* item) {
  ++Item::freed;
  delete item;
}
using Items = PerThread<Item, MakeItem, FreeItem>;

TEST(PerThread, KeepsOneForEachThreadUntilItEnds) {
  Item* const mine = Items::Get();
  EXPECT_EQ(Items::Get(), mine);
  const int made = Item::made;
  const int freed = Item::freed;
  Item* others = nullptr;
  std::thread([&] {
    others = Items::Get();
    EXPECT_EQ(Items::Get(), others);
  }).join();
  EXPECT_NE(others, mine);
  EXPECT_EQ(Item::made, made + 1);
  EXPECT_EQ(Item::freed, freed + 1);
}

TEST(PerThread, MayBeAskedAgainOnceThereIsMemory) {
  std::thread([] {
    Item::is_short = true;
    EXPECT_THROW(Items::Get(), std::bad_alloc);
    Item::is_short = false;
    EXPECT_NE(Items::Get(), nullptr);
  }).join();
}

// Compressing is what needs one: in a thread that has none yet, whichever of its requests fails,
// those of the C library, which notes what a thread is to clean up, among them.
TEST(PerThread, OfTheCompressorCostsTheCallAloneWhenMemoryIsShort) {
  int failures = 0;
  for (std::uint64_t nth = 1; nth <= 12; ++nth) {
    std::thread([&] {
      ByteWriter out(4096);
      const std::string bytes = std::string(500, 'x') + std::string(500, 'y');
      try {
        const ShortMemory memory(nth, ShortMemory::Lack::kOne, ShortMemory::Whose::kThisThread,
                                 ShortMemory::Asker::kCLibraryToo);
        WriteSection(bytes, &out);
      } catch (const std::bad_alloc&) {
        ++failures;
      }
      out.Cut(0);
      WriteSection(bytes, &out);
      EXPECT_LT(out.size(), 50U);
    }).join();
  }
  EXPECT_GT(failures, 0) << "or nothing was tested";
}

}  // namespace
}  // namespace zervane::storage
