#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "engine/storage/table.h"
#include "tests/engine/storage/sqlite/read_gate.h"
#include "tests/engine/storage/support.h"

// What goes on beside something else that takes long, lacks something or is damaged.
namespace zervane::storage {
namespace {

namespace fs = std::filesystem;

// ---- beside a generation that is being written ----

// Two tags whose records are to be merged into the chunks that they have: a generation has begun.
class BesideAGeneration : public testing::Test {
 protected:
  static constexpr SqliteStoreOptions kOptions{
      .pending_bytes = 20 * kPendingRecordBytes, .log_pages = 1'000'000, .chunk_records = 100};

  BesideAGeneration() {
    {
      const auto store = MustOpen(folder_.path(), kOptions);
      for (TagId tag = 1; tag <= 3; ++tag) EXPECT_TRUE(PutTag(*store, TagNamed(tag, "TAG")).ok());
      Fill(*store, 0);
    }
    store_ = MustOpen(folder_.path(), kOptions);
  }

  // A generation's worth of records of tags 1 and 2.
  void Fill(Store& store, std::int64_t offset_ms) {
    std::vector<MarkedSample> records;
    for (std::int64_t i = 1; i <= 15; ++i) {
      for (TagId tag = 1; tag <= 2; ++tag) records.push_back(Record(tag, 10 * i + offset_ms, 1));
    }
    EXPECT_TRUE(Append(store, records).ok());
  }

  // Leaves the background before the gate, with a generation half way.
  void BeginGeneration() {
    Fill(*store_, 5);
    EXPECT_TRUE(Append(*store_, {Record(3, 1, 1)}).ok()) << "begins it";
    ASSERT_TRUE(ReadGate::AwaitOne()) << "or nothing is tested";
  }

  TempFolder folder_;
  std::unique_ptr<Store> store_;
};

TEST_F(BesideAGeneration, ATagIsRemovedWithoutWaitingForIt) {
  {
    ReadGate gate;
    BeginGeneration();
    EXPECT_TRUE(RemoveTag(*store_, 1).ok());
    EXPECT_TRUE(ReadAll(*store_, 1).empty());
  }
  EXPECT_EQ(ReadAll(*store_, 2).size(), 30U);
  EXPECT_TRUE(store_->Close().ok());
  ExpectWholeFile(folder_.path());
  EXPECT_EQ(NumberInFile(folder_.path(), "SELECT count(*) FROM chunk WHERE tag = 1"), 0);
  EXPECT_EQ(NumberInFile(folder_.path(), "SELECT count(*) FROM current WHERE tag = 1"), 0);
  EXPECT_EQ(ReadAll(*MustOpen(folder_.path()), 2).size(), 30U);
}

TEST_F(BesideAGeneration, ATagIsEmptiedAndTakesRecordsAnew) {
  {
    ReadGate gate;
    BeginGeneration();
    StoreBatch batch;
    batch.emptied = {2};
    AddTo(batch.records, Record(2, 77, 7));
    StoreDriver(*store_).MustCommit(std::move(batch));
    EXPECT_EQ(ReadAll(*store_, 2).size(), 1U);
  }
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(ReadAll(*store_, 1).size(), 30U);
    const std::vector<Sample> records = ReadAll(*store_, 2);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records.front(), Record(2, 77, 7).sample);
    EXPECT_TRUE(store_->Close().ok());
    ExpectWholeFile(folder_.path());
    store_ = MustOpen(folder_.path());
  }
}

// ---- beside readers that leave no descriptor ----

int OpenDescriptors() {
  return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

TEST(BesideOtherReaders, OneWaitsForAConnectionWhenDescriptorsRunOut) {
  const TempFolder folder;
  {
    const auto store = MustOpen(folder.path(), {});
    EXPECT_TRUE(PutTag(*store, TagNamed(1, "TAG")).ok());
    EXPECT_TRUE(Append(*store, {Record(1, 10, 1)}).ok());
  }
  ExpectInChild([&] {
    const auto store = MustOpen(folder.path(), {});
    ASSERT_EQ(ReadAll(*store, 1).size(), 1U);
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = static_cast<rlim_t>(OpenDescriptors() + 6);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    // A reader keeps its connection until all of them have asked for one: else they might come one
    // after the other.
    constexpr int kReaders = 20;
    std::atomic<int> asked = 0;
    std::atomic<int> failed = 0;
    const auto read = [&] {
      ++asked;
      for (int i = 0; i < 20; ++i) {
        const Status status = store->Rows({.table = TableId::kTag}, 1, [&](RowView) {
          while (asked < kReaders) std::this_thread::yield();
          return true;
        });
        if (!status.ok()) ++failed;
      }
    };
    std::vector<std::thread> readers;
    for (int i = 0; i < kReaders; ++i) readers.emplace_back(read);
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(failed, 0);
  });
}

// ---- beside pages that are damaged ----

// A page of a table of the file that holds the text, with zeros in its place.
void DamagePageWith(const fs::path& file, const std::string& text) {
  constexpr std::size_t kPage = 4096;
  std::string bytes;
  {
    std::ifstream in(file, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), {});
  }
  const std::size_t at = bytes.find(text);
  ASSERT_NE(at, std::string::npos);
  std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at / kPage * kPage), kPage, '\0');
  std::ofstream(file, std::ios::binary) << bytes;
}

class BesideADamagedPage : public testing::TestWithParam<std::uint8_t> {};

INSTANTIATE_TEST_SUITE_P(OfRecords, BesideADamagedPage, testing::Values(kCurrent, kHeld));

TEST_P(BesideADamagedPage, TheOtherTagsKeepTheirs) {
  constexpr TagId kTags = 300;
  const TempFolder folder;
  {
    const auto store = MustOpen(folder.path(), {});
    StoreBatch batch;
    for (TagId tag = 1; tag <= kTags; ++tag) {
      Table<Tag>::Put(TagNamed(tag, "TAG" + std::to_string(tag)), batch);
      MarkedSample record = Record(tag, 10, 0, GetParam());
      record.sample.type = TagType::kBlob;
      record.sample.value = "the value of " + std::to_string(tag) + std::string(100, 'x');
      AddTo(batch.records, record);
    }
    StoreDriver(*store).MustCommit(std::move(batch));
  }
  DamagePageWith(folder.path() / "zervane.db", "the value of 150");
  const auto store = MustOpen(folder.path(), {});
  std::size_t left = 0;
  for (TagId tag = 1; tag <= kTags; ++tag) {
    if (GetParam() == kHeld) {
      const auto held = store->ReadHeld(tag);
      if (held.ok() && held->has_value()) ++left;
    }
  }
  if (GetParam() == kCurrent) left = CurrentValues(*store).size();
  EXPECT_GT(left, kTags - 60) << "a page has some 30";
  EXPECT_LT(left, kTags);
  EXPECT_EQ(Tags(*store).size(), kTags);
}

}  // namespace
}  // namespace zervane::storage
