#include "engine/storage/sqlite/background_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/storage/sqlite/journal.h"
#include "tests/engine/storage/columns.h"
#include "tests/engine/storage/sqlite/archive_file.h"

namespace zervane::storage {
namespace {

constexpr int kMaxLogPages = 64;

class BackgroundWriting : public testing::Test {
 protected:
  BackgroundWriting()
      : writer_(archive_.OpenWriter(), kMaxLogPages),
        background_(writer_, archive_.OpenReader(), pending_,
                    {.chunk_records = 100, .group_chunks = 10},
                    *ChunkIds::Behind(*archive_.OpenReader()), nullptr) {}

  // Records of the tag whose values do not compress, of some 100 KB altogether.
  static RecordBatch LongRecords(TagId tag) {
    std::mt19937 random(tag);
    RecordBatch batch;
    for (std::int64_t i = 1; i <= 100; ++i) {
      MarkedSample record = Record(tag, i, 0);
      std::string bytes(1000, '\0');
      for (char& byte : bytes) byte = static_cast<char>(random());
      record.sample.type = TagType::kBlob;
      record.sample.value = bytes;
      AddTo(batch, record);
    }
    return batch;
  }

  void Adopt(RecordBatch batch) {
    pending_.ReserveTag(batch.tags.front());
    pending_.AddTag(batch.tags.front());
    pending_.Reserve();
    pending_.Adopt(batch);
  }

  std::int64_t NumberOf(const std::string& sql) {
    const auto reader = archive_.OpenReader();
    Query row(*reader, sql);
    EXPECT_TRUE(row.Next());
    return row.Integer(0);
  }

  ArchiveFile archive_;
  Writer writer_;
  Pending pending_;
  BackgroundWriter background_;
};

TEST_F(BackgroundWriting, FoldsTheLogWhileItWritesAGeneration) {
  constexpr TagId kTags = 60;
  for (TagId tag = 1; tag <= kTags; ++tag) {
    Adopt(LongRecords(tag));
  }
  EXPECT_EQ(pending_.Freeze(), kTags);
  background_.Begin({0});
  EXPECT_TRUE(background_.Finish().ok());
  EXPECT_TRUE(pending_.frozen().empty());
  EXPECT_GT(std::filesystem::file_size(archive_.path()), 4'000'000U) << "what went through the log";
  EXPECT_LT(std::filesystem::file_size(archive_.path().string() + "-wal"), 2'000'000U);
}

// Whoever removes a tag holds the file meanwhile, and waits for no more than that.
TEST_F(BackgroundWriting, PassesOverATagThatIsRemovedBeforeItsPartIsWritten) {
  for (TagId tag = 1; tag <= 3; ++tag) Adopt(LongRecords(tag));
  {
    const WriterHold hold(writer_.mutex);
    EXPECT_EQ(pending_.Freeze(), 3U);
    background_.Begin({0});
    pending_.RemoveTag(2);  // the generation cannot be written yet
  }
  EXPECT_TRUE(background_.Finish().ok());
  EXPECT_EQ(NumberOf("SELECT count(DISTINCT tag) FROM chunk"), 2);
  EXPECT_EQ(NumberOf("SELECT count(*) FROM chunk WHERE tag = 2"), 0);
  EXPECT_EQ(NumberOf("SELECT count(*) FROM current WHERE tag = 2"), 0);
  EXPECT_TRUE(pending_.Copy(2, {}, Direction::kForward, 9).empty());
}

TEST_F(BackgroundWriting, WritesWhatATagGetsAfterItWasEmptied) {
  Adopt(LongRecords(1));
  {
    const WriterHold hold(writer_.mutex);
    EXPECT_EQ(pending_.Freeze(), 1U);
    background_.Begin({0});
    pending_.EmptyTag(1);
  }
  pending_.Reserve();
  RecordBatch batch = BatchOf({Record(1, 500, 1)});
  pending_.Adopt(batch);
  EXPECT_TRUE(background_.Finish().ok());
  EXPECT_EQ(TimesIn(pending_.Copy(1, {}, Direction::kForward, 9)), std::vector<std::int64_t>{500});
  EXPECT_EQ(pending_.Freeze(), 1U);
  background_.Begin({1});
  EXPECT_TRUE(background_.Finish().ok());
  EXPECT_EQ(NumberOf("SELECT sum(count) FROM chunk"), 1);
}

TEST_F(BackgroundWriting, TrimsTheJournalOfWhatTheChunksHold) {
  Adopt(LongRecords(1));
  {
    const WriterHold hold(writer_.mutex);
    for (const std::int64_t commit : {1, 2, 3}) {
      EXPECT_TRUE(WriteJournal(*writer_.connection, commit, "entry").ok());
    }
  }
  pending_.Freeze();
  background_.Begin({1, 2});
  EXPECT_TRUE(background_.Finish().ok());
  EXPECT_EQ(NumberOf("SELECT min(seq) FROM journal"), 3);
}

}  // namespace
}  // namespace zervane::storage
