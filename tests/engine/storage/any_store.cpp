#include "tests/engine/storage/any_store.h"

#include <utility>

#include "tests/engine/storage/faulty_store.h"
#include "tests/engine/storage/support.h"

namespace zervane::storage {
namespace {

const StoreKind kStores[] = {
    {"Memory", false, [](const std::filesystem::path&) { return OpenMemoryStore(); }},
    {"WithoutFaults", false,
     [](const std::filesystem::path&) -> std::unique_ptr<Store> {
       return std::make_unique<FaultyStore>(OpenMemoryStore(), std::make_shared<Faults>());
     }},
    {"Sqlite", true, [](const std::filesystem::path& folder) { return MustOpen(folder, {}); }},
    {"SqliteWithTinyBounds", true,
     [](const std::filesystem::path& folder) { return MustOpen(folder); }},
    {"SqliteWithChunksForEachCommit", true,
     [](const std::filesystem::path& folder) {
       return MustOpen(folder, {.pending_bytes = 1, .chunk_records = 3, .group_chunks = 2});
     }},
};

}  // namespace

std::span<const StoreKind> AllStores() { return kStores; }

AnyStore::AnyStore()
    : store_(GetParam().open(folder_.path())), driver_(std::make_unique<StoreDriver>(*store_)) {
  driver_->PutTag(TagNamed(1, "ONE"));
  driver_->PutTag(TagNamed(2, "TWO"));
}

void AnyStore::AppendTens(int count) {
  std::vector<MarkedSample> batch;
  for (int i = 1; i <= count; ++i) {
    batch.push_back(Record(1, 10 * i, 10.0 * i));
    if (batch.size() < 5 && i < count) continue;
    Append(batch);
    batch.clear();
  }
}

std::vector<std::int64_t> AnyStore::Times(TimeRange range, Direction direction, std::size_t limit) {
  std::vector<std::int64_t> times;
  for (const Sample& sample : ReadRange(*store_, 1, range, direction, limit)) {
    times.push_back(sample.time_ms);
  }
  return times;
}

void AnyStore::Reopen() {
  if (!GetParam().keeps) return;
  const Status closed = store_->Close();
  EXPECT_TRUE(closed.ok()) << closed.message();
  store_ = GetParam().open(folder_.path());
  driver_ = std::make_unique<StoreDriver>(*store_);
}

}  // namespace zervane::storage
