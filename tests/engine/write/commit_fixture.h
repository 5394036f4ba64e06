#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/storage/table.h"
#include "engine/write/committer.h"
#include "engine/write/turn.h"
#include "tests/engine/records.h"
#include "tests/engine/storage/faulty_store.h"
#include "tests/engine/storage/store_driver.h"

namespace zervane {

// A committer over a store whose failures the test dictates, and all that it changes beside it.
class CommitTest : public testing::Test {
 protected:
  using Fate = CommitAnswer::Fate;
  using Faults = storage::Faults;

  CommitTest() { EXPECT_TRUE(committer_.Start(turn_).ok()); }

  Status PutTag(TagId tag, const TagTraits& traits = {}) {
    return committer_.Change(
        turn_,
        [&](Turn&, StoreBatch& batch) {
          Table<Tag>::Put(storage::TagNamed(tag, "T" + std::to_string(tag)), batch);
          tags_.Reserve(tag);
          return Status();
        },
        [&](Turn&) { tags_.Put(tag, traits); });
  }
  Status RemoveTag(TagId tag) {
    return committer_.Change(
        turn_,
        [&](Turn&, StoreBatch& batch) {
          Table<Tag>::Remove(std::int64_t{tag}, batch);
          return Status();
        },
        [&](Turn&) { tags_.Remove(tag); });
  }

  CommitAnswer Commit(const std::vector<TagSample>& records,
                      const std::vector<RowChange>& rows = {}) {
    RecordBatch batch = UnmarkedOf(records);
    return committer_.Commit(turn_, batch, rows);
  }
  void MustCommit(const std::vector<TagSample>& records) {
    const CommitAnswer answer = Commit(records);
    EXPECT_EQ(answer.fate, Fate::kStored) << answer.status.message();
  }

  std::vector<Sample> Archive(TagId tag) { return storage::ReadAll(*below_, tag); }
  std::optional<Sample> Held(TagId tag) { return *below_->ReadHeld(tag); }
  std::optional<Sample> StoredCurrent(TagId tag) {
    const Result<SampleBatch> stored = below_->ReadCurrent(tag, tag);
    EXPECT_TRUE(stored.ok());
    return stored->empty() ? std::nullopt : std::optional(stored->samples.At(0));
  }
  std::int64_t LastCommit() { return below_->Lease(LeaseWish::kLook)->last_commit; }

  std::shared_ptr<Faults> faults_ = std::make_shared<Faults>();
  std::shared_ptr<Store> below_ = OpenMemoryStore();
  storage::FaultyStore store_{below_, faults_};
  Turn turn_ = Turn::Issue();
  TagIndex tags_;
  CurrentValues current_values_;
  CommitFeed feed_;
  Committer committer_{store_, tags_, current_values_, feed_};
};

}  // namespace zervane
