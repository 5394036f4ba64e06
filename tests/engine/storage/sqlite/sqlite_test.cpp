#include "engine/storage/sqlite/sqlite.h"

#include <gtest/gtest.h>

#include "tests/engine/storage/support.h"

namespace zervane::storage {
namespace {

class SqliteFile : public testing::Test {
 protected:
  SqliteFile() : file_(*Connection::Open(Path())) {
    EXPECT_TRUE(file_->Execute("CREATE TABLE item (id INTEGER PRIMARY KEY, payload BLOB)").ok());
  }

  std::filesystem::path Path() const { return folder_.path() / "file.db"; }

  Status Insert(std::string_view payload) {
    return Query(*file_, "INSERT INTO item (payload) VALUES (?)", payload).Run();
  }

  std::int64_t Count() {
    Query row(*file_, "SELECT count(*) FROM item");
    EXPECT_TRUE(row.Next());
    return row.Integer(0);
  }

  TempFolder folder_;
  std::unique_ptr<Connection> file_;
};

TEST_F(SqliteFile, GivesBackNumbersAndBytesAsTheyWere) {
  Query row(*file_, "SELECT ?, ?, ?, ?, ?", -1, 0.5, std::string_view("a\0b", 3),
            std::string_view(), true);
  ASSERT_TRUE(row.Next());
  EXPECT_EQ(row.Integer(0), -1);
  EXPECT_EQ(row.Real(1), 0.5);
  EXPECT_EQ(row.Bytes(2), std::string_view("a\0b", 3));
  EXPECT_TRUE(row.Bytes(3).empty());
  EXPECT_FALSE(row.IsNull(3));
  EXPECT_EQ(row.Integer(4), 1);
  EXPECT_FALSE(row.Next());
  EXPECT_TRUE(row.status().ok());
}

TEST_F(SqliteFile, RunsAStatementAnyNumberOfTimes) {
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(Insert("x").ok());
  EXPECT_EQ(Count(), 3);
}

TEST_F(SqliteFile, TellsWhatIsWrongWithAStatement) {
  Query row(*file_, "SELECT nothing FROM nowhere");
  EXPECT_FALSE(row.Next());
  EXPECT_EQ(row.status().code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_NE(row.status().message().find("nowhere"), std::string::npos) << row.status().message();
}

TEST_F(SqliteFile, TellsOfAParameterTooMany) {
  Query row(*file_, "SELECT ?", 1, 2);
  EXPECT_FALSE(row.Next());
  EXPECT_EQ(row.status().code(), ZR3_ERR_STORAGE_FAILED);
}

TEST_F(SqliteFile, UndoesATransactionThatIsNotCommitted) {
  {
    const Transaction transaction(*file_, Transaction::Kind::kWrite);
    EXPECT_TRUE(Insert("x").ok());
  }
  EXPECT_EQ(Count(), 0);
  Transaction transaction(*file_, Transaction::Kind::kWrite);
  EXPECT_TRUE(Insert("x").ok());
  EXPECT_TRUE(transaction.Commit().ok());
  EXPECT_EQ(Count(), 1);
}

TEST_F(SqliteFile, SaysThatItIsFullAndGoesOnOnceThereIsRoom) {
  EXPECT_TRUE(file_->Execute("PRAGMA max_page_count = 10").ok());
  EXPECT_EQ(Insert(std::string(100'000, 'x')).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_TRUE(file_->Execute("PRAGMA max_page_count = 1000").ok());
  EXPECT_TRUE(Insert(std::string(100'000, 'x')).ok());
  EXPECT_EQ(Count(), 1);
}

TEST_F(SqliteFile, SaysThatItCannotBeWritten) {
  EXPECT_TRUE(file_->Execute("PRAGMA query_only = ON").ok());
  EXPECT_EQ(Insert("x").code(), ZR3_ERR_STORAGE_READ_ONLY);
}

TEST_F(SqliteFile, SaysThatAnotherWriterHasIt) {
  const auto other = *Connection::Open(Path());
  EXPECT_TRUE(other->Execute("BEGIN IMMEDIATE").ok());
  EXPECT_TRUE(file_->Execute("PRAGMA busy_timeout = 0").ok());
  EXPECT_EQ(Insert("x").code(), ZR3_ERR_DATABASE_IN_USE);
}

TEST_F(SqliteFile, HasItsLogFoldedByAConnectionThatReadNothingYet) {
  EXPECT_TRUE(file_->Execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = OFF").ok());
  file_->CountLogPages();
  EXPECT_TRUE(Insert(std::string(100'000, 'x')).ok());
  const int pages = file_->log_pages();
  const auto other = *Connection::Open(Path());
  EXPECT_TRUE(other->FoldLog().ok());
  EXPECT_TRUE(Insert("x").ok());
  EXPECT_LT(file_->log_pages(), pages) << "the log has started over";
}

TEST(SqliteResult, OfARequestForMemoryIsNoFailureOfTheDisk) {
  for (const int result : {SQLITE_NOMEM, SQLITE_IOERR_NOMEM}) {
    EXPECT_EQ(SqliteStatus(result, nullptr, "reading").code(), ZR3_ERR_OUT_OF_MEMORY);
  }
  EXPECT_EQ(SqliteStatus(SQLITE_IOERR_READ, nullptr, "reading").code(), ZR3_ERR_STORAGE_FAILED);
}

TEST(SqliteConnection, SaysWhyAFileCannotBeOpened) {
  const TempFolder folder;
  const auto missing = Connection::Open(folder.path() / "no" / "such" / "folder");
  EXPECT_EQ(missing.code(), ZR3_ERR_STORAGE_FAILED);
  const auto directory = Connection::Open(folder.path());
  EXPECT_EQ(directory.code(), ZR3_ERR_STORAGE_FAILED);
}

}  // namespace
}  // namespace zervane::storage
