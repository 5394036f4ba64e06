#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/engine/short_memory.h"
#include "tests/engine/storage/sqlite/sync_faults.h"
#include "tests/engine/storage/support.h"

// A disk that does not sync: what became of a commit is not known, and nothing is trusted to it
// until the database is opened again.
namespace zervane::storage {
namespace {

using Fate = CommitAnswer::Fate;

class Uncertain : public testing::Test {
 protected:
  Uncertain() {
    Open({});
    driver_->PutTag(TagNamed(1, "TAG"));
    driver_->Append({Record(1, 10, 1)});
  }

  void Open(const SqliteStoreOptions& options) {
    store_ = MustOpen(folder_.path(), options);
    driver_ = std::make_unique<StoreDriver>(*store_);
  }

  CommitAnswer CommitAt(std::int64_t time_ms) {
    StoreBatch batch;
    AddTo(batch.records, Record(1, time_ms, 1));
    CommitAnswer answer = driver_->Commit(batch);
    EXPECT_EQ(batch.records.size(), answer.fate == Fate::kStored ? 0U : 1U);
    return answer;
  }

  TempFolder folder_;
  SyncFaults faults_;
  std::unique_ptr<Store> store_;
  std::unique_ptr<StoreDriver> driver_;
};

TEST_F(Uncertain, IsACommitWhoseSyncFailed) {
  SyncFaults::Fail();
  const CommitAnswer answer = CommitAt(20);
  EXPECT_EQ(answer.fate, Fate::kUnknown);
  EXPECT_EQ(answer.status.code(), ZR3_ERR_STORAGE_FAILED) << answer.status.message();
  EXPECT_EQ(SyncFaults::failed(), 1);
}

TEST_F(Uncertain, StoresNothingMoreThoughTheDiskSyncsAgain) {
  SyncFaults::Fail();
  EXPECT_EQ(CommitAt(20).fate, Fate::kUnknown);
  SyncFaults::Heal();
  for (int i = 0; i < 3; ++i) {
    const CommitAnswer answer = CommitAt(30 + i);
    EXPECT_EQ(answer.fate, Fate::kRefused);
    EXPECT_EQ(answer.status.code(), ZR3_ERR_STORAGE_FAILED);
  }
  EXPECT_EQ(store_->Lease(LeaseWish::kLook).code(), ZR3_ERR_STORAGE_FAILED);
}

TEST_F(Uncertain, GoesOnBeingRead) {
  SyncFaults::Fail();
  EXPECT_EQ(CommitAt(20).fate, Fate::kUnknown);
  EXPECT_EQ(ReadAll(*store_, 1).size(), 1U);
  EXPECT_EQ(CurrentValues(*store_).size(), 1U);
  EXPECT_EQ(Tags(*store_).size(), 1U);
}

// Whether the commit is stored or not, the number tells; what was answered before it is.
TEST_F(Uncertain, IsToldByTheLeaseOnceItIsOpenedAgain) {
  SyncFaults::Fail();
  EXPECT_EQ(CommitAt(20).fate, Fate::kUnknown);
  SyncFaults::Heal();
  (void)store_->Close();
  Open({});
  const bool is_stored = driver_->last_commit() == 3;
  EXPECT_TRUE(is_stored || driver_->last_commit() == 2);
  EXPECT_EQ(ReadAll(*store_, 1).size(), is_stored ? 2U : 1U);
  EXPECT_EQ(CommitAt(30).fate, Fate::kStored);
  EXPECT_TRUE(store_->Close().ok());
  ExpectWholeFile(folder_.path());
}

TEST_F(Uncertain, IsToldByTheLeaseAfterAKillToo) {
  SyncFaults::Fail();
  EXPECT_EQ(CommitAt(20).fate, Fate::kUnknown);
  const TempFolder killed;
  CopyAsAfterCrash(folder_.path(), killed.path());
  SyncFaults::Heal();
  const auto store = MustOpen(killed.path(), {});
  const bool is_stored = StoreDriver(*store).last_commit() == 3;
  EXPECT_EQ(ReadAll(*store, 1).size(), is_stored ? 2U : 1U);
}

// A request for memory may fail at any place of the same commit, that for telling of the failure
// too.
TEST_F(Uncertain, IsACommitWhoseSyncFailedThoughMemoryIsShort) {
  for (const auto lack : {ShortMemory::Lack::kOne, ShortMemory::Lack::kRest}) {
    int synced_in_vain = 0;
    bool is_short = true;
    for (std::uint64_t nth = 1; is_short && !HasFailure(); ++nth) {
      SCOPED_TRACE("request " + std::to_string(nth));
      StoreBatch batch;
      batch.commit = driver_->last_commit() + 1;
      AddTo(batch.records, Record(1, 100, 1));
      SyncFaults::Fail();
      CommitAnswer answer;
      {
        const ShortMemory memory(nth, lack);
        answer = store_->Commit(batch);
      }
      is_short = ShortMemory::Failed() > 0;
      const bool is_left_open = SyncFaults::failed() > 0;
      EXPECT_EQ(answer.fate, is_left_open ? Fate::kUnknown : Fate::kRefused);
      if (is_left_open) {
        EXPECT_EQ(store_->Commit(batch).status.code(), ZR3_ERR_STORAGE_FAILED);
      }
      synced_in_vain += is_short && is_left_open ? 1 : 0;
      SyncFaults::Heal();
      (void)store_->Close();
      Open({});
    }
    EXPECT_GT(synced_in_vain, 0) << "or nothing was tested";
  }
}

// The background's commits are no better than others': the journal is not trimmed of what they may
// not have stored.
TEST_F(Uncertain, IsTheStoreWhenASyncOfItsBackgroundFailed) {
  EXPECT_TRUE(store_->Close().ok());
  Open({.pending_bytes = 5 * kPendingRecordBytes, .log_pages = 1'000'000, .chunk_records = 4});
  SyncFaults::FailElsewhere();
  std::int64_t stored = 0;
  while (stored < 1000 && CommitAt(100 + stored).fate == Fate::kStored) ++stored;
  EXPECT_LT(stored, 1000) << "a generation was to be written";
  EXPECT_GE(SyncFaults::failed(), 1);
  SyncFaults::Heal();
  EXPECT_EQ(CommitAt(5000).status.code(), ZR3_ERR_STORAGE_FAILED) << "though the disk syncs again";
  EXPECT_EQ(store_->Close().code(), ZR3_ERR_STORAGE_FAILED);
  Open({});
  EXPECT_EQ(driver_->last_commit(), 2 + stored);
  EXPECT_EQ(ReadAll(*store_, 1).size(), static_cast<std::size_t>(1 + stored));
}

}  // namespace
}  // namespace zervane::storage
