#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "engine/storage/store.h"

namespace zervane::storage {

// How long a test waits for what must happen; reached only when the test fails.
constexpr std::chrono::seconds kPatience{30};

// The failures and delays that a test dictates to a FaultyStore, and what it saw. It outlives the
// store. Threads: any.
class Faults {
 public:
  enum class Call { kCommit, kScan, kReadHeld, kReadCurrent, kRows, kLease, kClose };

  static constexpr int kForever = -1;

  // After `passing` more calls of the kind, the next `times` (kForever: all) fail with the status
  // and do nothing; a commit is refused. A `times` of 0 ends it.
  void Fail(Call call, ZR3_STATUS code, int times = 1, int passing = 0);
  // Every commit that has a record of the tag is refused.
  void FailCommitsOf(TagId tag, ZR3_STATUS code);
  // Every commit that changes a row of the table is refused.
  void FailCommitsTo(TableId table, ZR3_STATUS code);
  void EndFailingCommits();
  // The next commit throws std::bad_alloc.
  void ThrowOnCommit();

  // The fate of the next commit is unknown: whether it is stored, `is_stored` says. From then on
  // commits are refused, and leases fail, with ZR3_ERR_STORAGE_FAILED, until Settle: from then on
  // leases answer what became of it.
  void MakeUnknown(bool is_stored);
  void Settle();

  // From now on every commit stops before it does anything, until it is released.
  void Hold();
  void Release();
  // Waits until one is held. False when none is in time.
  bool AwaitHeld();

  int calls(Call call) const;
  // The number of records of each commit that was carried out, those without records too.
  std::vector<std::size_t> commit_sizes() const;
  // Records that came for a tag without a row.
  int orphans() const;

 private:
  friend class FaultyStore;
  static constexpr std::size_t kCalls = 7;

  struct Failure {
    ZR3_STATUS code = ZR3_OK;
    int passing = 0;
    int times = 0;
  };

  // Of FaultyStore. What becomes of a call; a commit waits here while commits are held.
  Status Meet(Call call);
  std::optional<CommitAnswer> MeetCommit(const StoreBatch& batch);
  Status RefusalOf(const StoreBatch& batch) const;
  std::optional<bool> UnknownIsCarriedOut();
  void NoteCarriedOut(std::size_t records, int orphans);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool holds_ = false;
  bool is_held_ = false;
  bool throws_ = false;
  std::array<Failure, kCalls> failures_;
  std::array<int, kCalls> calls_{};
  std::set<std::pair<TagId, ZR3_STATUS>> failing_tags_;
  std::set<std::pair<TableId, ZR3_STATUS>> failing_tables_;
  std::optional<bool> next_unknown_;  // whether it is to be stored
  std::optional<bool> unknown_;       // whether it was
  bool is_settled_ = true;
  std::vector<std::size_t> commit_sizes_;
  int orphans_ = 0;
};

// A store over another one that fails as it is told. To close it leaves the other one open, so that
// another FaultyStore can be put over that, as if it were opened again.
class FaultyStore final : public Store {
 public:
  FaultyStore(std::shared_ptr<Store> store, std::shared_ptr<Faults> faults)
      : store_(std::move(store)), faults_(std::move(faults)) {}
  ~FaultyStore() override { (void)Close(); }

 private:
  CommitAnswer DoCommit(StoreBatch& batch) override;
  Status DoScan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) override;
  Result<std::optional<Sample>> DoReadHeld(TagId tag) override;
  Result<SampleBatch> DoReadCurrent(TagId first, TagId last) override;
  Status DoRows(const RowRange& range, std::size_t limit, const RowVisitor& visit) override;
  Result<LeaseAnswer> DoLease(LeaseWish wish) override;
  Status DoClose() override { return faults_->Meet(Faults::Call::kClose); }

  int OrphansOf(const StoreBatch& batch);

  const std::shared_ptr<Store> store_;
  const std::shared_ptr<Faults> faults_;
};

}  // namespace zervane::storage
