#include "engine/storage/sqlite/journal.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/engine/storage/columns.h"
#include "tests/engine/storage/sqlite/archive_file.h"
#include "tests/support/case_name.h"

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

// A number is never given twice, or what waits for its commit would take another for it.
TEST_F(Journal, KeepsTheNumberOfTheLastCommitWhoseEntryIsSetAside) {
  for (const std::int64_t commit : {1, 2, 3}) Write(commit, {}, BatchOf({Record(1, commit, 0)}));
  EXPECT_TRUE(file_->Execute("UPDATE journal SET payload = x'00' WHERE seq = 3").ok());
  EXPECT_EQ(Replay().size(), 2U);
  EXPECT_EQ(*LastCommit(*file_), 3);
  EXPECT_TRUE(ClearJournal(*file_, 2).ok());
  EXPECT_EQ(*LastCommit(*file_), 3) << "nor is it forgotten with those before it";
}

// ---- numbers that no release has written ----

struct NumberCase {
  const char* name;
  const char* sql;
};

const NumberCase kWrongNumbers[] = {
    {"EntryBelowNothing", "UPDATE journal SET seq = -1 WHERE seq = 1"},
    {"EntryWithNoneAfterIt", "UPDATE journal SET seq = 9223372036854775807 WHERE seq = 2"},
    {"SettingBelowNothing", "INSERT INTO settings VALUES ('last_commit', -1)"},
    {"SettingWithNoneAfterIt", "INSERT INTO settings VALUES ('last_commit', 9223372036854775807)"},
};

class WrongNumbers : public Journal, public testing::WithParamInterface<NumberCase> {};

INSTANTIATE_TEST_SUITE_P(Of, WrongNumbers, testing::ValuesIn(kWrongNumbers), CaseName());

TEST_P(WrongNumbers, AreDamage) {
  for (const std::int64_t commit : {1, 2}) Write(commit, {}, BatchOf({Record(1, commit, 0)}));
  EXPECT_EQ(*LastCommit(*file_), 2);
  EXPECT_TRUE(file_->Execute(GetParam().sql).ok());
  EXPECT_EQ(LastCommit(*file_).code(), ZR3_ERR_STORAGE_DAMAGED);
}

}  // namespace
}  // namespace zervane::storage
