#include "tests/engine/storage/faulty_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "engine/storage/table.h"
#include "tests/engine/storage/store_driver.h"

// That a FaultyStore fails as it is told, and as a store may.
namespace zervane::storage {
namespace {

using testing::ElementsAre;
using Fate = CommitAnswer::Fate;
using Call = Faults::Call;

class FaultyStoreTest : public testing::Test {
 protected:
  FaultyStoreTest() {
    driver_.PutTag(TagNamed(1, "ONE"));
    driver_.PutTag(TagNamed(2, "TWO"));
  }

  CommitAnswer CommitOf(TagId tag) {
    StoreBatch batch;
    AddTo(batch.records, Record(tag, 10, 1));
    return driver_.Commit(batch);
  }

  std::shared_ptr<Faults> faults_ = std::make_shared<Faults>();
  std::shared_ptr<Store> below_ = OpenMemoryStore();
  FaultyStore store_{below_, faults_};
  StoreDriver driver_{store_};
};

TEST_F(FaultyStoreTest, FailsTheCallsThatItIsToldTo) {
  faults_->Fail(Call::kCommit, ZR3_ERR_STORAGE_FULL, 2, 1);
  EXPECT_EQ(CommitOf(1).fate, Fate::kStored);
  for (int i = 0; i < 2; ++i) {
    const CommitAnswer answer = CommitOf(1);
    EXPECT_EQ(answer.fate, Fate::kRefused);
    EXPECT_EQ(answer.status.code(), ZR3_ERR_STORAGE_FULL);
  }
  EXPECT_EQ(CommitOf(1).fate, Fate::kStored);
  faults_->Fail(Call::kScan, ZR3_ERR_STORAGE_DAMAGED);
  faults_->Fail(Call::kReadHeld, ZR3_ERR_STORAGE_FAILED);
  faults_->Fail(Call::kReadCurrent, ZR3_ERR_STORAGE_FAILED);
  faults_->Fail(Call::kRows, ZR3_ERR_OUT_OF_MEMORY);
  faults_->Fail(Call::kClose, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(store_.ReadHeld(1).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(store_.ReadCurrent(1, 2).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Table<Tag>(store_).Read(1).code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(store_.Close().code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(faults_->calls(Call::kCommit), 6);
  EXPECT_EQ(ReadAll(*below_, 1).size(), 1U);
}

TEST_F(FaultyStoreTest, RefusesCommitsByWhatTheyHave) {
  faults_->FailCommitsOf(2, ZR3_ERR_STORAGE_FAILED);
  faults_->FailCommitsTo(TableId::kTag, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(CommitOf(1).fate, Fate::kStored);
  EXPECT_EQ(CommitOf(2).status.code(), ZR3_ERR_STORAGE_FAILED);
  StoreBatch rows;
  Table<Tag>::Put(TagNamed(3, "THREE"), rows);
  EXPECT_EQ(driver_.Commit(rows).status.code(), ZR3_ERR_STORAGE_FULL);
  faults_->EndFailingCommits();
  EXPECT_EQ(CommitOf(2).fate, Fate::kStored);
  EXPECT_THAT(faults_->commit_sizes(), ElementsAre(0U, 0U, 1U, 1U));
}

TEST_F(FaultyStoreTest, TellsWhatBecameOfACommitOfUnknownFate) {
  for (const bool is_stored : {true, false}) {
    faults_->MakeUnknown(is_stored);
    const std::size_t before = ReadAll(*below_, 1).size();
    StoreBatch batch;
    AddTo(batch.records, Record(1, is_stored ? 100 : 200, 1));
    EXPECT_EQ(driver_.Commit(batch).fate, Fate::kUnknown);
    EXPECT_EQ(batch.records.size(), 1U);
    EXPECT_EQ(ReadAll(*below_, 1).size(), before + (is_stored ? 1 : 0));
    EXPECT_EQ(CommitOf(1).status.code(), ZR3_ERR_STORAGE_FAILED);
    EXPECT_EQ(store_.Lease(LeaseWish::kLook).code(), ZR3_ERR_STORAGE_FAILED);
    faults_->Settle();
    EXPECT_EQ(store_.Lease(LeaseWish::kLook)->unknown_is_stored, is_stored);
    driver_ = StoreDriver(store_);
    EXPECT_EQ(CommitOf(2).fate, Fate::kStored);
  }
}

TEST_F(FaultyStoreTest, HoldsCommitsUntilTheyAreReleased) {
  faults_->Hold();
  std::thread writer([&] { EXPECT_EQ(CommitOf(1).fate, Fate::kStored); });
  EXPECT_TRUE(faults_->AwaitHeld());
  EXPECT_TRUE(ReadAll(store_, 1).empty());
  faults_->Release();
  writer.join();
  EXPECT_EQ(ReadAll(store_, 1).size(), 1U);
}

TEST_F(FaultyStoreTest, ThrowsOnceAndCountsRecordsOfNoTag) {
  faults_->ThrowOnCommit();
  EXPECT_EQ(CommitOf(1).status.code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(CommitOf(7).fate, Fate::kStored);
  EXPECT_EQ(faults_->orphans(), 1);
}

TEST_F(FaultyStoreTest, LeavesTheOtherStoreOpen) {
  EXPECT_TRUE(store_.Close().ok());
  FaultyStore again(below_, faults_);
  EXPECT_EQ(Tags(again).size(), 2U);
}

}  // namespace
}  // namespace zervane::storage
