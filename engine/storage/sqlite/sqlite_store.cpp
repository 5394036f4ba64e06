#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/assert.h"
#include "engine/guard.h"
#include "engine/log.h"
#include "engine/storage/record_check.h"
#include "engine/storage/sqlite/archive_scan.h"
#include "engine/storage/sqlite/record_table.h"
#include "engine/storage/sqlite/row_table.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/sqlite/sqlite_store_internal.h"
#include "engine/storage/sqlite/summary_table.h"

namespace zervane::storage {
namespace {

// The journal is trimmed by parts of this weight, so that trimming holds nobody up.
constexpr std::size_t kCutBytes = 4 << 20;
constexpr std::size_t kMinCutBytes = 4 << 10;  // what a commit weighs at least

// From kWorthSorting unsorted records on a thread is woken to sort them to their tags; from
// kMaxUnsorted on, since that thread has other work then, those who commit do it themselves.
constexpr std::size_t kWorthSorting = 1'000;
constexpr std::size_t kMaxUnsorted = 131'072;

// What is free at a close is cut off the file, up to 64 MiB, since a close should not last.
constexpr char kCutFreePages[] = "PRAGMA incremental_vacuum(16384)";

// A database with more busy tags than this gets more room for what is pending.
constexpr std::size_t kManyTags = 4096;

// What a commit weighs: its entry in the journal, and its records in memory.
std::size_t WeightOf(const RecordBatch& records) {
  return std::max<std::size_t>(1, records.size()) * kPendingRecordBytes +
         records.samples.texts().size();
}

bool IsOfTags(const RowChange& change) { return change.table == TableId::kTag; }

}  // namespace

// ---- changing ----

CommitAnswer SqliteStore::DoCommit(StoreBatch& batch) {
  const Role changing(changing_);
  if (is_uncertain_) {
    return CommitAnswer::Refused(
        {ZR3_ERR_STORAGE_FAILED, "what became of an earlier commit is not known"});
  }
  ZERVANE_ASSERT(batch.commit == last_commit_ + 1);
  if (Status status = CheckRecords(batch.records); !status.ok())
    return CommitAnswer::Refused(std::move(status));
  if (Status status = MakeRoom(); !status.ok()) return CommitAnswer::Refused(std::move(status));
  // What can fail comes before the file's commit, so that the memory follows it for certain.
  if (!batch.emptied.empty()) pending_.Sort();
  ReserveBatch(batch.rows);
  CommitAnswer answer = Write(batch, encoder_.Encode(batch.emptied, batch.records));
  if (answer.fate != CommitAnswer::Fate::kStored) return answer;
  Adopt(batch.records, batch.commit);
  last_commit_ = batch.commit;
  if (unsorted_ >= kWorthSorting) background_->SortSoon();
  return answer;
}

CommitAnswer SqliteStore::Write(const StoreBatch& batch, std::string_view entry) {
  const WriterHold hold(writer_.mutex);
  if (writer_.connection->is_uncertain()) {  // by a commit of the background's
    is_uncertain_ = true;
    return CommitAnswer::Refused(
        {ZR3_ERR_STORAGE_FAILED, "an earlier commit could not be brought to the disk"});
  }
  // Want of memory does not tell what became of the file.
  Status status =
      Guarded([&]() REQUIRES(changing_, writer_.mutex) { return WriteChanges(batch, entry); });
  if (!status.ok() && writer_.connection->is_uncertain()) {
    is_uncertain_ = true;
    LogError(
        "what became of commit {} is not known: {}; nothing is stored until the database is opened "
        "again",
        batch.commit, status.message());
    return {.fate = CommitAnswer::Fate::kUnknown, .status = std::move(status)};
  }
  if (!status.ok()) return CommitAnswer::Refused(std::move(status));
  AdoptTags(batch);
  if (writer_.IsLogDue()) background_->FoldLogSoon();
  return {};
}

Status SqliteStore::WriteChanges(const StoreBatch& batch, std::string_view entry) {
  bool are_summaries_damaged = false;
  Status status = TryChanges(batch, entry, false, &are_summaries_damaged);
  if (!are_summaries_damaged) return status;
  status = TryChanges(batch, entry, true, &are_summaries_damaged);
  if (status.ok()) LogSummariesRenewed();
  return status;
}

Status SqliteStore::TryChanges(const StoreBatch& batch, std::string_view entry,
                               bool renews_summaries, bool* are_summaries_damaged) {
  Connection& file = *writer_.connection;
  Transaction transaction(file, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  if (renews_summaries) {
    if (Status status = RenewSummaries(file); !status.ok()) return status;
  }
  if (Status status = WriteJournal(file, batch.commit, entry); !status.ok()) return status;
  for (const TagId tag : batch.emptied) {
    for (const char* sql :
         {"DELETE FROM current WHERE tag = ?", "DELETE FROM held WHERE tag = ?",
          "DELETE FROM chunk WHERE tag = ?", "DELETE FROM damaged WHERE tag = ?"}) {
      if (Status status = Query(file, sql, tag).Run(); !status.ok()) return status;
    }
    Status status = DeleteSummaries(file, tag);
    *are_summaries_damaged = status.code() == ZR3_ERR_STORAGE_DAMAGED;
    if (!status.ok()) return status;
  }
  for (const RowChange& change : batch.rows) {
    if (Status status = ChangeRow(file, change); !status.ok()) return status;
  }
  return transaction.Commit();
}

// While nobody else writes, so that nothing of an emptied tag gets into the file behind its
// removal. The journal may still hold records of a removed tag: a replay leaves them out, since the
// tag is gone and its identifier is never given again.
void SqliteStore::AdoptTags(const StoreBatch& batch) noexcept {
  for (const TagId tag : batch.emptied) pending_.EmptyTag(tag);
  for (const RowChange& change : batch.rows) {
    if (!IsOfTags(change)) continue;
    change.row ? pending_.AddTag(TagOf(change)) : pending_.RemoveTag(TagOf(change));
  }
}

// Room for one more batch, so that adopting it cannot fail.
void SqliteStore::ReserveBatch(const std::vector<RowChange>& rows) {
  for (const RowChange& change : rows) {
    if (IsOfTags(change)) pending_.ReserveTag(TagOf(change));
  }
  pending_.Reserve();
  journal_cuts_.reserve(journal_cuts_.size() + 1);
}

// Makes the records of a commit pending.
void SqliteStore::Adopt(RecordBatch& records, std::int64_t commit) noexcept {
  const std::size_t bytes = WeightOf(records);
  if (!records.empty()) unsorted_ = pending_.Adopt(records);
  pending_bytes_ += bytes;
  uncut_bytes_ += std::max(bytes, kMinCutBytes);
  if (uncut_bytes_ < kCutBytes) return;
  journal_cuts_.push_back(commit);
  uncut_bytes_ = 0;
}

// ---- reading ----

Status SqliteStore::DoScan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) {
  const Result<ReaderPool::Loan> reader = readers_.Borrow();
  if (!reader.ok()) return reader.status();
  const Archive archive{
      .connection = **reader, .pending = pending_, .decoder = decoder_, .opening = opening_};
  return ScanArchive(archive, tag, range, direction, visitor);
}

Result<std::optional<Sample>> SqliteStore::DoReadHeld(TagId tag) {
  if (!pending_.HoldsBack(tag)) return std::optional<Sample>();  // most tags; asked often
  std::optional<HeldChange> pending = pending_.Held(tag);
  if (pending) return std::move(pending->sample);
  const Result<ReaderPool::Loan> reader = readers_.Borrow();
  if (!reader.ok()) return reader.status();
  return LoadRecord(**reader, RecordTable::kHeld, tag, decoder_);
}

// Pending values first, for the reason that archive_scan.h gives; they replace those of the file.
Result<SampleBatch> SqliteStore::DoReadCurrent(TagId first, TagId last) {
  const SampleBatch pending = pending_.CurrentValues(first, last);
  const Result<ReaderPool::Loan> reader = readers_.Borrow();
  if (!reader.ok()) return reader.status();
  SampleBatch values;
  std::size_t next = 0;
  const auto add_pending_before = [&](std::uint64_t tag) {
    for (; next < pending.size() && pending.tags[next] < tag; ++next) {
      values.tags.push_back(pending.tags[next]);
      values.samples.AddFrom(pending.samples, next);
    }
  };
  const auto add = [&](TagId tag, const Sample& value) {
    add_pending_before(tag);
    const bool is_replaced = next < pending.size() && pending.tags[next] == tag;
    if (!is_replaced) values.Add(tag, value);
  };
  Status status = VisitRecords(**reader, RecordTable::kCurrent, first, last, decoder_, add);
  if (!status.ok()) return status;
  add_pending_before(std::uint64_t{last} + 1);
  return values;
}

Status SqliteStore::DoRows(const RowRange& range, std::size_t limit, const RowVisitor& visit) {
  const Result<ReaderPool::Loan> reader = readers_.Borrow();
  if (!reader.ok()) return reader.status();
  return VisitRows(**reader, range, limit, visit);
}

// The lock of the folder is held as long as the store is open.
Result<LeaseAnswer> SqliteStore::DoLease(LeaseWish) {
  if (is_uncertain_) {
    return Status(ZR3_ERR_STORAGE_FAILED, "opening the database again tells what the file has");
  }
  LeaseAnswer answer;
  answer.good_until_ms = kMaxTimeMs;
  answer.last_commit = last_commit_;
  return answer;
}

// ---- from the journal to chunks ----

// There is room for one generation beside the frozen one. When that cannot be written, nothing more
// is taken: better a caller who is told than one whose records have no place.
Status SqliteStore::MakeRoom() {
  if (unsorted_ >= kMaxUnsorted) pending_.Sort();
  const std::size_t limit = options_.pending_bytes * (busy_tags_ > kManyTags ? 2 : 1);
  if (pending_bytes_ < limit) return {};
  if (!background_->IsDone()) {
    if (pending_bytes_ < 2 * limit) return {};
    if (Status status = background_->Finish(); !status.ok()) return status;
  }
  BeginChunks();
  return {};
}

void SqliteStore::BeginChunks() {
  journal_cuts_.reserve(journal_cuts_.size() + 1);
  busy_tags_ = pending_.Freeze();
  journal_cuts_.push_back(last_commit_);
  background_->Begin(std::exchange(journal_cuts_, {}));
  pending_bytes_ = 0;
  uncut_bytes_ = 0;
}

Status SqliteStore::WriteAllChunks() {
  const Role changing(changing_);
  Status status = background_->Finish();
  if (!status.ok() || pending_bytes_ == 0) return status;
  BeginChunks();
  return background_->Finish();
}

// ---- closing ----

SqliteStore::~SqliteStore() {
  const Status closed = Close();
  const bool is_news = !closed.ok() && closed.code() != ZR3_ERR_NOT_CONNECTED;
  if (is_news) LogWarning("the database was closed untidily: {}", closed.message());
}

// What an opening that failed has seen of the journal is not all, and stays there.
Status SqliteStore::DoClose() {
  Status written;
  Status cut;
  if (is_started_) {
    written = Guarded([&] { return WriteAllChunks(); });
    if (!written.ok()) LogWarning("the journal is kept for the next open: {}", written.message());
    background_ = nullptr;  // ends its thread
    cut = Guarded([&] { return CutFreePages(); });
    if (!cut.ok()) LogWarning("the file keeps the room of its journal: {}", cut.message());
  }
  Release();
  return written.ok() ? cut : written;
}

Status SqliteStore::CutFreePages() {
  const WriterHold hold(writer_.mutex);
  if (writer_.connection->is_uncertain()) return {};
  return writer_.connection->Execute(kCutFreePages);
}

// Gives the file back to whoever opens it next.
void SqliteStore::Release() {
  background_ = nullptr;
  readers_.Clear();
  {
    const WriterHold hold(writer_.mutex);
    writer_.connection = nullptr;
  }
  lock_.reset();
}

}  // namespace zervane::storage
