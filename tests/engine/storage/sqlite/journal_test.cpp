#include "engine/storage/sqlite/journal.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/engine/storage/columns.h"
#include "tests/engine/storage/sqlite/archive_file.h"

namespace zervane::storage {
namespace {

class Journal : public testing::Test {
 protected:
  void Write(std::int64_t commit, const std::vector<TagId>& emptied, const RecordBatch& records) {
    EXPECT_TRUE(WriteJournal(*file_, commit, encoder_.Encode(emptied, records)).ok());
  }

  std::map<std::int64_t, JournalEntry> Replay() {
    std::map<std::int64_t, JournalEntry> entries;
    const auto take = [&](std::int64_t commit, JournalEntry entry) {
      EXPECT_TRUE(entries.empty() || commit > entries.rbegin()->first) << "in their order";
      entries.emplace(commit, std::move(entry));
    };
    const Status status = ReplayJournal(*file_, nullptr, take);
    EXPECT_TRUE(status.ok()) << status.message();
    return entries;
  }

  ArchiveFile archive_;
  std::unique_ptr<Connection> file_ = archive_.OpenWriter();
  JournalEncoder encoder_;
};

TEST_F(Journal, BringsCommitsBackUnderTheirNumbers) {
  const RecordBatch records = BatchOf({Record(1, 10, 1), Record(2, 20, 2, kHeld)});
  Write(7, {}, records);
  Write(9, {3}, {});
  const auto entries = Replay();
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries.at(7).records.tags, records.tags);
  EXPECT_EQ(entries.at(7).records.samples, records.samples);
  EXPECT_EQ(entries.at(9).emptied, std::vector<TagId>{3});
}

TEST_F(Journal, IsClearedUpToACommit) {
  for (const std::int64_t commit : {1, 2, 3}) Write(commit, {}, BatchOf({Record(1, commit, 0)}));
  EXPECT_TRUE(ClearJournal(*file_, 2).ok());
  EXPECT_EQ(Replay().size(), 1U);
  EXPECT_TRUE(Replay().contains(3));
}

TEST_F(Journal, SetsAnEntryAsideThatDoesNotDecode) {
  for (const std::int64_t commit : {1, 2, 3}) Write(commit, {}, BatchOf({Record(1, commit, 0)}));
  EXPECT_TRUE(file_->Execute("UPDATE journal SET payload = x'00' WHERE seq = 2").ok());
  EXPECT_EQ(Replay().size(), 2U);
  Query aside(*file_, "SELECT payload FROM damaged");
  ASSERT_TRUE(aside.Next());
  EXPECT_EQ(aside.Bytes(0), std::string(1, '\0'));
  Query left(*file_, "SELECT count(*) FROM journal");
  ASSERT_TRUE(left.Next());
  EXPECT_EQ(left.Integer(0), 2);
}

}  // namespace
}  // namespace zervane::storage
