#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"

// The record that a store keeps for a tag while it is held back from the archive.
namespace zervane::storage {
namespace {

constexpr TagId kTag = 1;

AcceptedSample Held(std::int64_t time_ms) {
  AcceptedSample record = Record(kTag, time_ms, static_cast<double>(time_ms));
  record.archive = false;
  record.current = false;
  record.held = true;
  return record;
}

AcceptedSample Archived(std::int64_t time_ms) {
  AcceptedSample record = Record(kTag, time_ms, 0);
  record.current = false;
  return record;
}

AcceptedSample Current(std::int64_t time_ms) {
  AcceptedSample record = Record(kTag, time_ms, 0);
  record.archive = false;
  return record;
}

struct HeldCase {
  const char* name;
  std::vector<AcceptedSample> records;
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
  EXPECT_TRUE(store->PutTag(TagNamed(kTag, "TAG"), 1).ok());
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

TEST_P(HeldRecord, OfABatchInMemory) {
  const auto store = StoreWithTag(OpenMemoryStore());
  EXPECT_TRUE(store->Append(GetParam().records).ok());
  ExpectHeld(*store, GetParam());
}

// As one batch, one by one, and one by one with each in chunks before the next comes.
TEST_P(HeldRecord, OnDisk) {
  constexpr SqliteStoreOptions kChunksForEach{.pending_bytes = 1, .chunk_records = 3};
  for (const SqliteStoreOptions& options : {SqliteStoreOptions(), kTinyOptions, kChunksForEach}) {
    for (const std::size_t batch_size : {std::size_t{1}, GetParam().records.size()}) {
      const TempFolder folder;
      auto store = StoreWithTag(MustOpen(folder.path(), options));
      for (std::span<const AcceptedSample> rest = GetParam().records; !rest.empty();) {
        EXPECT_TRUE(store->Append(rest.first(batch_size)).ok());
        rest = rest.subspan(batch_size);
      }
      ExpectHeld(*store, GetParam());
      const TempFolder crashed;
      CopyWhileOpen(folder.path(), crashed.path());
      store.reset();
      ExpectHeld(*MustOpen(folder.path(), options), GetParam());
      ExpectHeld(*MustOpen(crashed.path(), options), GetParam());
    }
  }
}

// The one that stood in the file when it was opened ends like any other.
TEST_P(HeldRecord, OverReopenings) {
  const TempFolder folder;
  StoreWithTag(MustOpen(folder.path())).reset();
  for (const AcceptedSample& record : GetParam().records) {
    EXPECT_TRUE(MustOpen(folder.path())->Append({&record, 1}).ok());
  }
  ExpectHeld(*MustOpen(folder.path()), GetParam());
}

TEST(HeldRecord, GoesWithItsTag) {
  const TempFolder folder;
  for (const bool reopens : {false, true}) {
    auto store = StoreWithTag(MustOpen(folder.path()));
    EXPECT_TRUE(store->Append(std::vector{Held(10)}).ok());
    if (reopens) {
      store.reset();
      store = MustOpen(folder.path());
    }
    EXPECT_TRUE(store->RemoveTag(kTag, 2).ok());
    EXPECT_FALSE(store->ReadHeld(kTag)->has_value());
  }
  EXPECT_EQ(NumberInFile(folder.path(), "SELECT count(*) FROM held"), 0);
}

TEST(HeldRecord, IsLostAloneWhenItIsDamaged) {
  const TempFolder folder;
  EXPECT_TRUE(
      StoreWithTag(MustOpen(folder.path()))->Append(std::vector{Archived(5), Held(10)}).ok());
  EditFile(folder.path(), "UPDATE held SET payload = zeroblob(30)");
  const auto store = MustOpen(folder.path());
  EXPECT_FALSE(store->ReadHeld(kTag)->has_value());
  EXPECT_EQ(ReadAll(*store, kTag).size(), 1U);
}

}  // namespace
}  // namespace zervane::storage
