#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/storage/sqlite/chunk_writer.h"
#include "engine/storage/sqlite/journal.h"
#include "engine/storage/sqlite/schema.h"
#include "tests/engine/storage/support.h"

namespace zervane::storage {
namespace {

constexpr int kMaxLogPages = 64;

class ChunkWriting : public testing::Test {
 protected:
  ChunkWriting()
      : writer_(OpenWriter(), kMaxLogPages), chunks_(writer_, OpenReader(), pending_, 100) {}

  std::filesystem::path File() const { return folder_.path() / "zervane.db"; }

  std::unique_ptr<Connection> OpenWriter() {
    auto connection = *Connection::Open(File());
    EXPECT_TRUE(PrepareWriter(*connection).ok());
    return connection;
  }
  std::unique_ptr<Connection> OpenReader() {
    auto connection = *Connection::Open(File());
    EXPECT_TRUE(PrepareReader(*connection).ok());
    return connection;
  }

  // Records of the tag whose values do not compress, of some 100 KB altogether.
  static std::vector<AcceptedSample> LongRecords(TagId tag) {
    std::mt19937 random(tag);
    std::vector<AcceptedSample> batch;
    for (std::int64_t i = 1; i <= 100; ++i) {
      AcceptedSample record = Record(tag, i, 0);
      std::string bytes(1000, '\0');
      for (char& byte : bytes) byte = static_cast<char>(random());
      record.sample.type = TagType::kBlob;
      record.sample.value = bytes;
      batch.push_back(std::move(record));
    }
    return batch;
  }

  void Take(std::vector<AcceptedSample> batch) {
    pending_.ReserveTag(batch.front().tag);
    pending_.AddTag(batch.front().tag);
    pending_.Reserve();
    pending_.Take(batch);
  }

  TempFolder folder_;
  Writer writer_;
  Pending pending_;
  ChunkWriter chunks_;
};

TEST_F(ChunkWriting, FoldsTheLogWhileItWritesAGeneration) {
  constexpr TagId kTags = 60;
  for (TagId tag = 1; tag <= kTags; ++tag) {
    Take(LongRecords(tag));
  }
  EXPECT_EQ(pending_.Freeze(), kTags);
  chunks_.Begin({0});
  EXPECT_TRUE(chunks_.Finish().ok());
  EXPECT_GT(std::filesystem::file_size(File()), 4'000'000U) << "what went through the log";
  EXPECT_LT(std::filesystem::file_size(File().string() + "-wal"), 2'000'000U);
}

TEST_F(ChunkWriting, LeavesWhatIsFrozenAloneWhileItRests) {
  Take(LongRecords(1));
  EXPECT_EQ(pending_.Freeze(), 1U);
  chunks_.Begin({0});
  const ChunkWriter::Rest rest(chunks_);
  EXPECT_TRUE(chunks_.IsDone()) << "it waits for what was begun";
  EXPECT_TRUE(pending_.frozen().empty());
}

}  // namespace
}  // namespace zervane::storage
