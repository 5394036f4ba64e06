#include "engine/write/committer.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "engine/assert.h"
#include "engine/log.h"
#include "engine/storage/record_batch.h"

namespace zervane {
namespace {

using Fate = CommitAnswer::Fate;

// Without a text, which could fail: it is answered where nothing may.
Status StorageLost() noexcept { return {ZR3_ERR_STORAGE_FAILED, {}}; }

// For each record of a change whether it becomes current.
std::vector<std::uint8_t> AreCurrent(const RecordBatch& planned) {
  std::vector<std::uint8_t> are_current;
  are_current.reserve(planned.size());
  for (const std::uint8_t marks : planned.marks) {
    are_current.push_back((marks & kCurrent) != 0 ? 1 : 0);
  }
  return are_current;
}

bool IsOfTags(const RowChange& change) { return change.table == TableId::kTag; }

}  // namespace

// The stages' work on one batch: it is discarded unless it was kept.
class Committer::StagedWork {
 public:
  StagedWork(std::span<Stage* const> stages, Turn& turn) : stages_(stages), turn_(turn) {}
  StagedWork(const StagedWork&) = delete;
  StagedWork& operator=(const StagedWork&) = delete;
  ~StagedWork() {
    if (is_kept_) return;
    for (Stage* stage : stages_) stage->Discard(turn_);
  }

  void Keep() noexcept {
    is_kept_ = true;
    for (Stage* stage : stages_) stage->Keep(turn_);
  }

 private:
  const std::span<Stage* const> stages_;
  Turn& turn_;
  bool is_kept_ = false;
};

Status Committer::Start(Turn& turn) {
  turn.AssertHeld();
  const Result<LeaseAnswer> lease = store_.Lease(LeaseWish::kLook);
  if (!lease.ok()) return lease.status();
  last_commit_ = lease->last_commit;
  return {};
}

CommitAnswer Committer::Commit(Turn& turn, RecordBatch& records, std::span<const RowChange> rows) {
  turn.AssertHeld();
  ZERVANE_ASSERT(std::ranges::none_of(rows, IsOfTags));
  if (is_lost()) return {Fate::kRefused, StorageLost()};
  StagedWork work(stages_, turn);
  BeginBatch();
  batch_.rows.assign(rows.begin(), rows.end());
  marks_.Mark(turn, records);
  PrepareCurrent(turn, records, marks_.current());
  if (!marks_.filtered().empty() || !marks_.read().empty() || !rows.empty()) {
    if (Status status = Process(turn, records, rows); !status.ok()) return {Fate::kRefused, status};
  }
  const CommittedGroupPtr news = MakeNews(records, marks_.was_newest());
  const bool has_changed_places = Compose(records);
  if (ChangesNothing()) {
    work.Keep();
    return {};
  }
  CommitAnswer answer = CommitBatch(turn);
  if (answer.fate != Fate::kStored) {
    if (has_changed_places) Exchange(records, batch_.records);
    return answer;
  }
  work.Keep();
  PutCurrent(turn);
  feed_.Publish(last_commit_, news);
  Clear(batch_.records);  // now, for the next batch may be long in coming
  return answer;
}

Status Committer::Change(Turn& turn, const Plan& plan, const Adopt& adopt) {
  turn.AssertHeld();
  if (is_lost()) return StorageLost();
  StagedWork work(stages_, turn);
  BeginBatch();
  if (Status status = plan(turn, batch_); !status.ok()) return status;
  RecordBatch planned;
  if (!batch_.records.empty()) Exchange(planned, batch_.records);
  if (Status status = PrepareTags(turn); !status.ok()) return status;
  if (Status status = PrepareRecords(turn, planned); !status.ok()) return status;
  const CommittedGroupPtr news = MakeNews(planned, AreCurrent(planned));
  AddRange(batch_.records, planned, 0, planned.size());
  PrepareCurrent(turn, batch_.records, CurrentInBatch());
  const bool commits = !ChangesNothing();
  if (commits) {
    CommitAnswer answer = CommitBatch(turn);
    if (answer.fate != Fate::kStored) return std::move(answer.status);
  }
  work.Keep();
  adopt(turn);
  for (const TagId tag : batch_.emptied) current_values_.Remove(turn, tag);
  PutCurrent(turn);
  if (commits) feed_.Publish(last_commit_, news);
  return {};
}

void Committer::BeginBatch() noexcept {
  Clear(batch_.records);
  batch_.emptied.clear();
  batch_.rows.clear();
  next_.clear();
}

Status Committer::Process(Turn& turn, RecordBatch& records, std::span<const RowChange> rows) {
  const StagedRecords group = {.tags = records.tags,
                               .samples = records.samples,
                               .marks = records.marks,
                               .was_newest = marks_.was_newest(),
                               .filtered = marks_.filtered(),
                               .read = marks_.read(),
                               .rows = rows};
  for (Stage* stage : stages_) {
    if (Status status = stage->Process(turn, group, batch_); !status.ok()) return status;
  }
  return {};
}

void Committer::PrepareCurrent(Turn& turn, const RecordBatch& records,
                               std::span<const std::uint32_t> positions) {
  next_.reserve(positions.size());
  for (const std::uint32_t at : positions) {
    next_.push_back(current_values_.Prepare(turn, records.tags[at], records.samples, at));
  }
}

bool Committer::Compose(RecordBatch& records) {
  const std::vector<std::uint8_t>& marks = records.marks;
  const bool all_go = marks.empty() || std::memchr(marks.data(), 0, marks.size()) == nullptr;
  if (all_go && batch_.records.empty()) {
    Exchange(records, batch_.records);
    return true;
  }
  const auto goes = [](std::uint8_t mark) { return mark != 0; };
  for (auto begin = std::find_if(marks.begin(), marks.end(), goes); begin != marks.end();) {
    const auto end = std::find(begin, marks.end(), 0);
    AddRange(batch_.records, records, static_cast<std::size_t>(begin - marks.begin()),
             static_cast<std::size_t>(end - marks.begin()));
    begin = std::find_if(end, marks.end(), goes);
  }
  return false;
}

// By position and with copies, since stages add rows to the same batch.
Status Committer::PrepareTags(Turn& turn) {
  const std::size_t planned_rows = batch_.rows.size();
  for (std::size_t at = 0; at < planned_rows; ++at) {
    if (batch_.rows[at].table != TableId::kTag) continue;
    const TagId tag = TagOf(batch_.rows[at]);
    const bool is_removed = !batch_.rows[at].row.has_value();
    for (Stage* stage : stages_) {
      Status status = is_removed ? stage->PrepareTagRemoval(turn, tag, batch_)
                                 : stage->PrepareTagChange(turn, tag, batch_);
      if (!status.ok()) return status;
    }
    if (is_removed && !Empties(tag)) batch_.emptied.push_back(tag);
  }
  return {};
}

Status Committer::PrepareRecords(Turn& turn, RecordBatch& planned) {
  for (std::size_t at = 0; at < planned.size(); ++at) {
    for (Stage* stage : stages_) {
      Status status =
          stage->PrepareRecord(turn, planned.tags[at], std::as_const(planned.samples).times()[at],
                               &planned.marks[at], batch_);
      if (!status.ok()) return status;
    }
  }
  return {};
}

std::vector<std::uint32_t> Committer::CurrentInBatch() const {
  std::vector<std::uint32_t> positions;
  for (std::uint32_t at = 0; at < batch_.records.size(); ++at) {
    if ((batch_.records.marks[at] & kCurrent) == 0) continue;
    // Removing the tag's current value would take along what was prepared for this one.
    ZERVANE_ASSERT(!Empties(batch_.records.tags[at]));
    positions.push_back(at);
  }
  return positions;
}

bool Committer::Empties(TagId tag) const {
  return std::find(batch_.emptied.begin(), batch_.emptied.end(), tag) != batch_.emptied.end();
}

std::shared_ptr<CommittedGroup> Committer::MakeNews(
    const RecordBatch& records, std::span<const std::uint8_t> was_newest) const noexcept {
  if (!feed_.IsHeard()) return nullptr;
  try {
    auto news = std::make_shared<CommittedGroup>();
    news->commit = last_commit_ + 1;
    news->tags = records.tags;
    news->samples = records.samples;
    news->was_newest.assign(was_newest.begin(), was_newest.end());
    news->rows = batch_.rows;
    news->emptied = batch_.emptied;
    return news;
  } catch (...) {
    return nullptr;  // consumers are told that they missed it
  }
}

bool Committer::ChangesNothing() const {
  return batch_.records.empty() && batch_.rows.empty() && batch_.emptied.empty();
}

CommitAnswer Committer::CommitBatch(Turn& turn) noexcept {
  turn.AssertHeld();
  batch_.commit = last_commit_ + 1;
  CommitAnswer answer = store_.Commit(batch_);
  if (answer.fate == Fate::kStored) {
    last_commit_ = batch_.commit;
    return answer;
  }
  ZERVANE_ASSERT(!answer.status.ok());
  if (answer.fate == Fate::kUnknown) {
    LogError("it is unknown whether commit {} is stored, so nothing more is: {} ({})",
             batch_.commit, zr3_status_text(answer.status.code()), answer.status.message());
    is_lost_.store(true, std::memory_order_relaxed);
    answer.status = StorageLost();
  }
  return answer;
}

void Committer::PutCurrent(Turn& turn) noexcept {
  for (const CurrentValues::Next& next : next_) current_values_.Put(turn, next);
}

}  // namespace zervane
