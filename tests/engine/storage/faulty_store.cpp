#include "tests/engine/storage/faulty_store.h"

#include <algorithm>
#include <map>
#include <new>

namespace zervane::storage {
namespace {

CommitAnswer Refused(ZR3_STATUS code) {
  return {.fate = CommitAnswer::Fate::kRefused, .status = Status(code, "dictated by the test")};
}

}  // namespace

void Faults::Fail(Call call, ZR3_STATUS code, int times, int passing) {
  const std::lock_guard lock(mutex_);
  failures_[static_cast<std::size_t>(call)] = {.code = code, .passing = passing, .times = times};
}

void Faults::FailCommitsOf(TagId tag, ZR3_STATUS code) {
  const std::lock_guard lock(mutex_);
  failing_tags_.emplace(tag, code);
}

void Faults::FailCommitsTo(TableId table, ZR3_STATUS code) {
  const std::lock_guard lock(mutex_);
  failing_tables_.emplace(table, code);
}

void Faults::EndFailingCommits() {
  const std::lock_guard lock(mutex_);
  failing_tags_.clear();
  failing_tables_.clear();
  failures_[static_cast<std::size_t>(Call::kCommit)] = {};
}

void Faults::ThrowOnCommit() {
  const std::lock_guard lock(mutex_);
  throws_ = true;
}

void Faults::MakeUnknown(bool is_stored) {
  const std::lock_guard lock(mutex_);
  next_unknown_ = is_stored;
}

void Faults::Settle() {
  const std::lock_guard lock(mutex_);
  is_settled_ = true;
}

void Faults::Hold() {
  const std::lock_guard lock(mutex_);
  holds_ = true;
}

void Faults::Release() {
  const std::lock_guard lock(mutex_);
  holds_ = false;
  changed_.notify_all();
}

bool Faults::AwaitHeld() {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] { return is_held_; });
}

int Faults::calls(Call call) const {
  const std::lock_guard lock(mutex_);
  return calls_[static_cast<std::size_t>(call)];
}

std::vector<std::size_t> Faults::commit_sizes() const {
  const std::lock_guard lock(mutex_);
  return commit_sizes_;
}

int Faults::orphans() const {
  const std::lock_guard lock(mutex_);
  return orphans_;
}

Status Faults::Meet(Call call) {
  const std::lock_guard lock(mutex_);
  const auto at = static_cast<std::size_t>(call);
  ++calls_[at];
  Failure& failure = failures_[at];
  if (failure.times == 0) return {};
  if (failure.passing > 0) {
    --failure.passing;
    return {};
  }
  if (failure.times > 0) --failure.times;
  return {failure.code, "dictated by the test"};
}

// What the commit answers without being carried out; none when it is to be.
std::optional<CommitAnswer> Faults::MeetCommit(const StoreBatch& batch) {
  {
    std::unique_lock lock(mutex_);
    is_held_ = holds_;
    changed_.notify_all();
    changed_.wait(lock, [&] { return !holds_; });
    is_held_ = false;
    if (std::exchange(throws_, false)) throw std::bad_alloc();
  }
  const Status met = Meet(Call::kCommit);
  if (!met.ok()) return Refused(met.code());
  const std::lock_guard lock(mutex_);
  if (!is_settled_) return Refused(ZR3_ERR_STORAGE_FAILED);
  const Status refusal = RefusalOf(batch);
  if (!refusal.ok()) return Refused(refusal.code());
  // What can fail comes before the commit: noting it as carried out then has its room.
  if (commit_sizes_.size() == commit_sizes_.capacity()) {
    commit_sizes_.reserve(2 * commit_sizes_.size() + 1);
  }
  return std::nullopt;
}

Status Faults::RefusalOf(const StoreBatch& batch) const {
  for (const auto& [tag, code] : failing_tags_) {
    if (std::ranges::count(batch.records.tags, tag) > 0) return {code, {}};
  }
  for (const auto& [table, code] : failing_tables_) {
    if (std::ranges::count(batch.rows, table, &RowChange::table) > 0) return {code, {}};
  }
  return {};
}

// Whether a commit of unknown fate is carried out; none when its fate is told.
std::optional<bool> Faults::UnknownIsCarriedOut() {
  const std::lock_guard lock(mutex_);
  if (!next_unknown_) return std::nullopt;
  unknown_ = std::exchange(next_unknown_, std::nullopt);
  is_settled_ = false;
  return unknown_;
}

void Faults::NoteCarriedOut(std::size_t records, int orphans) {
  const std::lock_guard lock(mutex_);
  commit_sizes_.push_back(records);
  orphans_ += orphans;
}

CommitAnswer FaultyStore::DoCommit(StoreBatch& batch) {
  std::optional<CommitAnswer> met = faults_->MeetCommit(batch);
  if (met) return *std::move(met);
  const std::optional<bool> unknown = faults_->UnknownIsCarriedOut();
  const std::size_t records = batch.records.size();
  const int orphans = OrphansOf(batch);
  CommitAnswer answer;
  if (unknown.value_or(true)) {
    StoreBatch copy;
    if (unknown) copy = batch;  // who does not know its fate still has the records
    answer = store_->Commit(unknown ? copy : batch);
    if (answer.fate == CommitAnswer::Fate::kStored) faults_->NoteCarriedOut(records, orphans);
  }
  if (!unknown) return answer;
  return {.fate = CommitAnswer::Fate::kUnknown,
          .status = Status(ZR3_ERR_STORAGE_FAILED, "dictated by the test")};
}

// How many records have a tag that has no row.
int FaultyStore::OrphansOf(const StoreBatch& batch) {
  std::map<TagId, int> counts;
  for (const TagId tag : batch.records.tags) ++counts[tag];
  int orphans = 0;
  for (const auto& [tag, count] : counts) {
    RowRange range{.table = TableId::kTag, .from = {Cell(std::int64_t{tag})}};
    range.to = range.from;
    bool is_there = false;
    const Status status = store_->Rows(range, 1, [&](RowView) { return is_there = true; });
    if (status.ok() && !is_there) orphans += count;
  }
  return orphans;
}

Status FaultyStore::DoScan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) {
  const Status met = faults_->Meet(Faults::Call::kScan);
  return met.ok() ? store_->Scan(tag, range, direction, visitor) : met;
}

Result<std::optional<Sample>> FaultyStore::DoReadHeld(TagId tag) {
  const Status met = faults_->Meet(Faults::Call::kReadHeld);
  if (!met.ok()) return met;
  return store_->ReadHeld(tag);
}

Result<SampleBatch> FaultyStore::DoReadCurrent(TagId first, TagId last) {
  const Status met = faults_->Meet(Faults::Call::kReadCurrent);
  if (!met.ok()) return met;
  return store_->ReadCurrent(first, last);
}

Status FaultyStore::DoRows(const RowRange& range, std::size_t limit, const RowVisitor& visit) {
  const Status met = faults_->Meet(Faults::Call::kRows);
  return met.ok() ? store_->Rows(range, limit, visit) : met;
}

Result<LeaseAnswer> FaultyStore::DoLease(LeaseWish wish) {
  const Status met = faults_->Meet(Faults::Call::kLease);
  if (!met.ok()) return met;
  Result<LeaseAnswer> answer = store_->Lease(wish);
  const std::lock_guard lock(faults_->mutex_);
  if (!faults_->is_settled_) return Status(ZR3_ERR_STORAGE_FAILED, "dictated by the test");
  if (answer.ok()) answer->unknown_is_stored = faults_->unknown_;
  return answer;
}

}  // namespace zervane::storage
