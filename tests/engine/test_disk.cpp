#include "tests/engine/test_disk.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>

namespace zervane {

std::unique_ptr<Store> TestDisk::Open(std::shared_ptr<TestDisk> self) {
  return std::make_unique<storage::FaultyStore>(store_, std::move(self));
}

void TestDisk::FailCatalogue(bool fails) {
  if (fails) {
    FailCommitsTo(TableId::kTag, ZR3_ERR_STORAGE_FULL);
  } else {
    EndFailingCommits();
  }
}

std::map<std::int64_t, Sample> TestDisk::archive(TagId tag) {
  std::map<std::int64_t, Sample> archive;
  for (Sample& sample : storage::ReadAll(*store_, tag)) archive[sample.time_ms] = sample;
  return archive;
}

std::optional<Sample> TestDisk::current(TagId tag) {
  const Result<SampleBatch> current = store_->ReadCurrent(tag, tag);
  EXPECT_TRUE(current.ok());
  if (!current.ok() || current->empty()) return std::nullopt;
  return current->samples.At(0);
}

std::optional<Sample> TestDisk::held(TagId tag) {
  Result<std::optional<Sample>> held = store_->ReadHeld(tag);
  EXPECT_TRUE(held.ok());
  return held.ok() ? *std::move(held) : std::nullopt;
}

void TestDisk::Put(const Tag& tag) { EXPECT_TRUE(storage::PutTag(*store_, tag).ok()); }

void TestDisk::Put(const storage::MarkedSample& record) {
  EXPECT_TRUE(storage::Append(*store_, {record}).ok());
}

void TestDisk::Replace(TagId tag, unsigned kept) {
  std::vector<storage::MarkedSample> records;
  for (const auto& [time_ms, sample] : archive(tag)) records.push_back({tag, sample, kArchive});
  if (const auto sample = current(tag)) records.push_back({tag, *sample, kCurrent});
  if (const auto sample = held(tag)) records.push_back({tag, *sample, kHeld});
  StoreBatch batch;
  batch.emptied = {tag};
  for (const storage::MarkedSample& record : records) {
    if ((record.marks & kept) != 0) storage::AddTo(batch.records, record);
  }
  storage::StoreDriver(*store_).MustCommit(std::move(batch));
}

}  // namespace zervane
