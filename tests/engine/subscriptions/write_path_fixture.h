#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/storage/table.h"
#include "engine/write/write_path.h"
#include "tests/engine/records.h"
#include "tests/engine/storage/faulty_store.h"
#include "tests/engine/storage/store_driver.h"

namespace zervane {

// A write path over a store in memory, with FLOAT64 tags 1 to 5.
class WritePathFixture : public testing::Test {
 protected:
  static constexpr TagId kTags = 5;

  WritePathFixture() {
    storage::StoreDriver driver(*below_);
    for (TagId tag = 1; tag <= kTags; ++tag) {
      driver.PutTag(storage::TagNamed(tag, "T" + std::to_string(tag)));
      tags_.Reserve(tag);
      tags_.Put(tag, {});
    }
    path_ = std::make_unique<WritePath>(store_, tags_, [] { return 5000; });
    const Status status = path_->Start(Turn::Issue());
    EXPECT_TRUE(status.ok()) << status.message();
  }
  ~WritePathFixture() override { (void)path_->Close(); }

  void Write(const std::vector<TagSample>& records, WriteOrder order = WriteOrder::kInOrder) {
    const Result<WriteSamples::Reply> reply = path_->Write(
        {}, {.batch = BatchOf(records), .order = order, .answer = WriteAnswer::kDurable});
    ASSERT_TRUE(reply.ok()) << reply.status().message();
    EXPECT_EQ(reply->status, ZR3_OK);
  }

  void RemoveTag(TagId tag) {
    const Status status = path_->Change(
        [=](Turn&, StoreBatch& batch) {
          Table<Tag>::Remove(tag, batch);
          return Status();
        },
        [=, this](Turn&) { tags_.Remove(tag); });
    EXPECT_TRUE(status.ok()) << status.message();
  }

  // Has the store put a record in the place of the tag's current value, as corrections do.
  void Correct(TagId tag, const Sample& sample, std::uint8_t marks = kArchive | kCurrent) {
    const Status status = path_->Change(
        [&](Turn&, StoreBatch& batch) {
          storage::AddTo(batch.records, {.tag = tag, .sample = sample, .marks = marks});
          return Status();
        },
        [](Turn&) {});
    EXPECT_TRUE(status.ok()) << status.message();
  }

  std::shared_ptr<storage::Faults> faults_ = std::make_shared<storage::Faults>();
  std::shared_ptr<Store> below_ = OpenMemoryStore();
  storage::FaultyStore store_{below_, faults_};
  TagIndex tags_;
  std::unique_ptr<WritePath> path_;
};

}  // namespace zervane
