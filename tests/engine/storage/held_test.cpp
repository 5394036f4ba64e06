#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "tests/engine/storage/any_store.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"

// The record that a store keeps for a tag while it is held back from the archive.
namespace zervane::storage {
namespace {

constexpr TagId kTag = 1;

MarkedSample Held(std::int64_t time_ms) {
  return Record(kTag, time_ms, static_cast<double>(time_ms), kHeld);
}

MarkedSample Archived(std::int64_t time_ms) { return Record(kTag, time_ms, 0, kArchive); }

MarkedSample Current(std::int64_t time_ms) { return Record(kTag, time_ms, 0, kCurrent); }

struct HeldCase {
  const char* name;
  std::vector<MarkedSample> records;
  std::optional<std::int64_t> held_ms;
};

const HeldCase kCases[] = {
    {"IsNoneAtFirst", {Archived(5), Current(6)}, {}},
    {"IsTheLastOne", {Held(10), Held(20), Held(15)}, 15},
    {"StaysWithACurrentValueAlone", {Held(10), Current(20)}, 10},
    {"StaysWithALateRecordBeforeIt", {Held(10), Archived(9)}, 10},
    {"EndsWithOneOfItsTime", {Held(10), Archived(10)}, {}},
    {"EndsWithANewerOne", {Held(10), Archived(11)}, {}},
    {"MayFollowWhereAnotherEnded", {Held(10), Archived(10), Held(20)}, 20},
    {"MayEndTwice", {Held(10), Archived(10), Held(20), Archived(30)}, {}},
};

std::unique_ptr<Store> StoreWithTag(std::unique_ptr<Store> store) {
  StoreDriver(*store).PutTag(TagNamed(kTag, "TAG"));
  return store;
}

void ExpectHeld(Store& store, const HeldCase& expected) {
  const auto held = store.ReadHeld(kTag);
  ASSERT_TRUE(held.ok()) << held.status().message();
  ASSERT_EQ(held->has_value(), expected.held_ms.has_value());
  if (held->has_value()) {
    EXPECT_EQ(**held, Held(*expected.held_ms).sample);
  }
}

class HeldRecord : public testing::TestWithParam<HeldCase> {};

INSTANTIATE_TEST_SUITE_P(Store, HeldRecord, testing::ValuesIn(kCases), CaseName());

// As one batch, and one by one.
TEST_P(HeldRecord, OfAnyStore) {
  for (const StoreKind& kind : AllStores()) {
    SCOPED_TRACE(kind.name);
    for (const std::size_t batch_size : {std::size_t{1}, GetParam().records.size()}) {
      const TempFolder folder;
      const auto store = StoreWithTag(kind.open(folder.path()));
      StoreDriver driver(*store);
      for (std::span<const MarkedSample> rest = GetParam().records; !rest.empty();) {
        driver.Append({rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(batch_size)});
        rest = rest.subspan(batch_size);
      }
      ExpectHeld(*store, GetParam());
      if (!kind.keeps) continue;
      const TempFolder crashed;
      CopyWhileOpen(folder.path(), crashed.path());
      EXPECT_TRUE(store->Close().ok());
      ExpectHeld(*kind.open(folder.path()), GetParam());
      ExpectHeld(*kind.open(crashed.path()), GetParam());
    }
  }
}

// The one that stood in the file when it was opened ends like any other.
TEST_P(HeldRecord, OverReopenings) {
  const TempFolder folder;
  StoreWithTag(MustOpen(folder.path())).reset();
  for (const MarkedSample& record : GetParam().records) {
    const auto store = MustOpen(folder.path());
    StoreDriver(*store).Append({record});
  }
  ExpectHeld(*MustOpen(folder.path()), GetParam());
}

TEST(HeldRecord, GoesWithItsTag) {
  const TempFolder folder;
  for (const bool reopens : {false, true}) {
    auto store = StoreWithTag(MustOpen(folder.path()));
    StoreDriver(*store).Append({Held(10)});
    if (reopens) {
      store.reset();
      store = MustOpen(folder.path());
    }
    StoreDriver(*store).RemoveTag(kTag);
    EXPECT_FALSE(store->ReadHeld(kTag)->has_value());
  }
  EXPECT_EQ(NumberInFile(folder.path(), "SELECT count(*) FROM held"), 0);
}

TEST(HeldRecord, IsLostAloneWhenItIsDamaged) {
  const TempFolder folder;
  {
    const auto store = StoreWithTag(MustOpen(folder.path()));
    StoreDriver(*store).Append({Archived(5), Held(10)});
  }
  EditFile(folder.path(), "UPDATE held SET payload = zeroblob(30)");
  const auto store = MustOpen(folder.path());
  EXPECT_FALSE(store->ReadHeld(kTag)->has_value());
  EXPECT_EQ(ReadAll(*store, kTag).size(), 1U);
}

}  // namespace
}  // namespace zervane::storage
