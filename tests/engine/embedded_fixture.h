#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/engine/open_embedded.h"
#include "tests/engine/records.h"
#include "tests/engine/test_disk.h"
#include "tests/support/database_client.h"

namespace zervane {

using Codes = std::vector<std::int32_t>;

// An embedded database on a disk whose failures and delays the test dictates, and on its clock.
class EmbeddedTest : public testing::Test {
 protected:
  EmbeddedTest() { Open(); }
  ~EmbeddedTest() override { disk_->Release(); }

  void Open() {
    auto opened = OpenEmbeddedWith(disk_->Open(disk_), [this] { return now_ms_.load(); });
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    database_ = *std::move(opened);
  }
  void Reopen() {
    database_.reset();
    Open();
  }

  TagId AddTag(const std::string& name, TagType type = TagType::kFloat64, bool archiving = true) {
    Tag tag;
    tag.name = name;
    tag.type = static_cast<std::int32_t>(type);
    tag.archiving = archiving;
    const Result<TagId> id = database_->AddTag(tag, {});
    EXPECT_TRUE(id.ok()) << id.status().message();
    return id.ok() ? *id : 0;
  }

  struct Answer {
    ZR3_STATUS status;
    Codes codes;
  };
  Answer Write(std::vector<TagSample> batch, WriteAnswer answer = WriteAnswer::kDurable,
               WriteOrder order = WriteOrder::kInOrder) {
    Codes codes(batch.size(), -1);
    const Status status = database_->Write(std::move(batch), order, answer, codes);
    return {status.code(), codes};
  }
  ZR3_STATUS WriteAt(TagId tag, std::int64_t time_ms, WriteAnswer answer = WriteAnswer::kDurable) {
    return Write({{tag, NumberAt(time_ms)}}, answer).codes[0];
  }

  // The stored times of a tag, ascending.
  std::vector<std::int64_t> StoredTimes(TagId tag) const {
    std::vector<std::int64_t> times;
    for (const auto& [time_ms, sample] : disk_->archive(tag)) times.push_back(time_ms);
    return times;
  }

  std::shared_ptr<TestDisk> disk_ = std::make_shared<TestDisk>();
  std::atomic<std::int64_t> now_ms_{1'700'000'000'000};
  DatabaseClient database_;
};

}  // namespace zervane
