#include "engine/storage/sqlite/sqlite_store.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/guard.h"
#include "engine/log.h"
#include "engine/storage/one_at_a_time.h"
#include "engine/storage/record_check.h"
#include "engine/storage/sqlite/archive_reader.h"
#include "engine/storage/sqlite/chunk_writer.h"
#include "engine/storage/sqlite/folder_lock.h"
#include "engine/storage/sqlite/journal.h"
#include "engine/storage/sqlite/pending.h"
#include "engine/storage/sqlite/reader_pool.h"
#include "engine/storage/sqlite/record_table.h"
#include "engine/storage/sqlite/schema.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/sqlite/tag_table.h"

namespace zervane::storage {
namespace {

// The journal is trimmed by parts of this weight, so that trimming holds nobody up.
constexpr std::size_t kCutBytes = 4 << 20;
constexpr std::size_t kMinCutBytes = 4 << 10;  // what a batch weighs at least

// From kWorthSorting unsorted records on a thread is woken to sort them to their tags; from
// kMaxUnsorted on, since that thread has other work then, those who append do it themselves.
constexpr std::size_t kWorthSorting = 1'000;
constexpr std::size_t kMaxUnsorted = 131'072;

// What is free at a close is cut off the file, up to 64 MiB, since a close should not last.
constexpr char kCutFreePages[] = "PRAGMA incremental_vacuum(16384)";

// A database with more busy tags than this gets more room for what is pending.
constexpr std::size_t kManyTags = 4096;

// What the records weigh; the refusal of the first that cannot be stored.
Result<std::size_t> Weigh(std::span<const AcceptedSample> records) {
  std::size_t bytes = records.size() * kPendingRecordBytes;
  for (const AcceptedSample& record : records) {
    if (!IsStorable(record)) return NotStorable(record);
    bytes += record.sample.value.text_size();
  }
  return bytes;
}

// An append is one row of the journal, durable at once, and joins the pending records in memory.
// When enough are pending, a thread of its own brings them into chunks and trims the journal. So at
// any instant the chunks and the journal together hold every answered record, whatever ends the
// process; opening replays the journal. A record that is in both counts once, as the journal has
// it.
class SqliteStore final : public Store {
 public:
  SqliteStore(FolderLock lock, std::filesystem::path file, std::unique_ptr<Connection> writer,
              const SqliteStoreOptions& options)
      : lock_(std::move(lock)),
        options_(options),
        writer_(std::move(writer), options.log_pages),
        readers_(std::move(file)) {}

  ~SqliteStore() override {
    if (!is_started_) return;  // what an opening that failed has seen of the journal is not all
    const Status written = Guarded([&] { return WriteAllChunks(); });
    if (!written.ok()) LogWarning("the journal is kept for the next open: {}", written.message());
    chunks_ = nullptr;  // ends its thread
    const Status cut = Guarded([&] { return CutFreePages(); });
    if (!cut.ok()) LogWarning("the file keeps the room of its journal: {}", cut.message());
  }

  // Reads what a writer must know. Before anything else.
  Status Start(const std::filesystem::path& file);

  Result<CatalogueImage> LoadCatalogue() override {
    return Guarded([&] { return DoLoadCatalogue(); });
  }
  Status PutTag(const Tag& properties, std::int64_t version) override {
    return Guarded([&] { return DoPutTag(properties, version); });
  }
  Status RemoveTag(TagId id, std::int64_t version) override {
    return Guarded([&] { return DoRemoveTag(id, version); });
  }
  Result<std::vector<TagSample>> LoadCurrent() override {
    return Guarded([&] { return DoLoadCurrent(); });
  }
  Status Append(std::span<const AcceptedSample> records) override {
    return Guarded([&] {
      std::vector<AcceptedSample> copies(records.begin(), records.end());
      return DoAppend(copies);
    });
  }
  Status AppendTaking(std::vector<AcceptedSample>& records) override {
    return Guarded([&] { return DoAppend(records); });
  }
  Result<std::vector<Sample>> Read(TagId id, TimeRange range, Direction direction,
                                   std::size_t limit) override {
    return Guarded([&] { return DoRead(id, range, direction, limit); });
  }
  Result<std::int64_t> Count(TagId id, TimeRange range) override {
    return Guarded([&] { return DoCount(id, range); });
  }
  Result<std::optional<Sample>> ReadHeld(TagId id) override {
    return Guarded([&] { return DoReadHeld(id); });
  }

 private:
  Result<CatalogueImage> DoLoadCatalogue();
  Status DoPutTag(const Tag& properties, std::int64_t version) EXCLUDES(changing_);
  Status DoRemoveTag(TagId id, std::int64_t version) EXCLUDES(changing_);
  Result<std::vector<TagSample>> DoLoadCurrent();
  Status DoAppend(std::vector<AcceptedSample>& records) EXCLUDES(changing_);
  Result<std::vector<Sample>> DoRead(TagId id, TimeRange range, Direction direction,
                                     std::size_t limit);
  Result<std::int64_t> DoCount(TagId id, TimeRange range);

  Result<std::optional<Sample>> DoReadHeld(TagId id);

  Status StartChunks(const std::filesystem::path& file);
  Status LoadHeld() REQUIRES(writer_.mutex);
  Status Journal(std::span<const AcceptedSample> records) REQUIRES(changing_);
  void ReserveBatch() REQUIRES(changing_);
  void Adopt(std::vector<AcceptedSample>& records, std::size_t bytes, std::int64_t seq) noexcept
      REQUIRES(changing_);
  Status MakeRoom() REQUIRES(changing_);
  void BeginChunks() REQUIRES(changing_);
  Status WriteAllChunks() EXCLUDES(changing_);
  Status CutFreePages();

  const FolderLock lock_;  // first, so that it is given back last
  const SqliteStoreOptions options_;

  // Of the thread that changes.
  OneAtATime changing_;
  std::size_t unsorted_ GUARDED_BY(changing_) = 0;       // records, after the last append
  std::size_t busy_tags_ GUARDED_BY(changing_) = 0;      // of the last generation
  std::size_t pending_bytes_ GUARDED_BY(changing_) = 0;  // of the active generation
  std::size_t uncut_bytes_ GUARDED_BY(changing_) = 0;    // since the last of the cuts
  std::int64_t last_seq_ GUARDED_BY(changing_) = 0;      // of the journal
  // Where the journal may be trimmed, ascending.
  std::vector<std::int64_t> journal_cuts_ GUARDED_BY(changing_);
  JournalEncoder encoder_ GUARDED_BY(changing_);

  // Of all threads.
  Writer writer_;
  ReaderPool readers_;
  Pending pending_;

  // Whether all of the journal is here, so that the chunks may be made of it.
  bool is_started_ = false;

  std::unique_ptr<ChunkWriter> chunks_;  // last: its thread uses what stands above
};

Status SqliteStore::Start(const std::filesystem::path& file) {
  if (Status status = StartChunks(file); !status.ok()) return status;
  const Role changing(changing_);
  const Turn turn(writer_.mutex);
  const Result<std::vector<Tag>> tags = LoadTagRows(*writer_.connection);
  if (!tags.ok()) return tags.status();
  for (const Tag& tag : *tags) {
    pending_.ReserveTag(tag.id);
    pending_.AddTag(tag.id);
  }
  if (Status status = LoadHeld(); !status.ok()) return status;
  const auto take = [&](std::int64_t seq, std::vector<AcceptedSample> records) REQUIRES(changing_) {
    ReserveBatch();
    Adopt(records, *Weigh(records), seq);  // a batch that decodes can be stored
  };
  if (Status status = ReplayJournal(*writer_.connection, take); !status.ok()) return status;
  pending_.Sort();
  is_started_ = true;
  return {};
}

Status SqliteStore::StartChunks(const std::filesystem::path& file) {
  Result<std::unique_ptr<Connection>> reader = Connection::Open(file);
  if (!reader.ok()) return reader.status();
  if (Status status = PrepareReader(**reader); !status.ok()) return status;
  chunks_ =
      std::make_unique<ChunkWriter>(writer_, *std::move(reader), pending_, options_.chunk_records);
  return {};
}

Status SqliteStore::LoadHeld() {
  return VisitRecords(*writer_.connection, RecordTable::kHeld, [&](TagId tag, const Sample& held) {
    pending_.KnowHeld(tag, held.time_ms);
    chunks_->KnowHeldRow(tag);
  });
}

// ---- catalogue ----

Result<CatalogueImage> SqliteStore::DoLoadCatalogue() {
  const Result<ReaderPool::Loan> reader = readers_.Borrow();
  if (!reader.ok()) return reader.status();
  const Transaction state(**reader, Transaction::Kind::kRead);
  if (!state.status().ok()) return state.status();
  Result<std::vector<Tag>> tags = LoadTagRows(**reader);
  if (!tags.ok()) return tags.status();
  Query row(**reader, "SELECT last_id, version FROM catalogue");
  if (row.Next()) {
    return CatalogueImage{.tags = *std::move(tags),
                          .last_id = static_cast<TagId>(row.Integer(0)),
                          .version = row.Integer(1)};
  }
  if (!row.status().ok()) return row.status();
  return Status(ZR3_ERR_STORAGE_DAMAGED, "the file has lost its catalogue's version");
}

Status SqliteStore::DoPutTag(const Tag& properties, std::int64_t version) {
  const Role changing(changing_);
  const Turn turn(writer_.mutex);
  Connection& file = *writer_.connection;
  Transaction transaction(file, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  if (Status status = PutTagRow(file, properties); !status.ok()) return status;
  Status status = Query(file, "UPDATE catalogue SET last_id = max(last_id, ?), version = ?",
                        properties.id, version)
                      .Run();
  if (!status.ok()) return status;
  pending_.ReserveTag(properties.id);  // before the commit: it may throw
  if (status = transaction.Commit(); !status.ok()) return status;
  pending_.AddTag(properties.id);
  if (writer_.IsLogDue()) chunks_->FoldLogSoon();
  return {};
}

Status SqliteStore::DoRemoveTag(TagId id, std::int64_t version) {
  const Role changing(changing_);
  const ChunkWriter::Rest rest(*chunks_);  // it may be planning chunks of the tag
  pending_.Sort();                         // before the commit: it may throw
  const Turn turn(writer_.mutex);
  Connection& file = *writer_.connection;
  Transaction transaction(file, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  for (const char* sql : {"DELETE FROM tag WHERE id = ?", "DELETE FROM current WHERE tag = ?",
                          "DELETE FROM held WHERE tag = ?", "DELETE FROM chunk WHERE tag = ?",
                          "DELETE FROM damaged WHERE tag = ?"}) {
    if (Status status = Query(file, sql, id).Run(); !status.ok()) return status;
  }
  Status status = Query(file, "UPDATE catalogue SET version = ?", version).Run();
  if (!status.ok()) return status;
  if (status = transaction.Commit(); !status.ok()) return status;
  if (writer_.IsLogDue()) chunks_->FoldLogSoon();
  // The journal may still hold records of the tag. A replay leaves them out, since the tag is gone
  // and its identifier is never given again.
  pending_.RemoveTag(id);
  return {};
}

// ---- values ----

Result<std::vector<TagSample>> SqliteStore::DoLoadCurrent() {
  // Pending values first, for the reason that archive_reader.h gives.
  std::map<TagId, Sample> values;
  for (TagSample& value : pending_.CurrentValues()) {
    values.emplace(value.tag, std::move(value.sample));
  }
  const Result<ReaderPool::Loan> reader = readers_.Borrow();
  if (!reader.ok()) return reader.status();
  Status status = VisitRecords(**reader, RecordTable::kCurrent, [&](TagId tag, Sample value) {
    values.emplace(tag, std::move(value));
  });
  if (!status.ok()) return status;
  std::vector<TagSample> list;
  for (auto& [tag, sample] : values) list.push_back({tag, std::move(sample)});
  return list;
}

Result<std::optional<Sample>> SqliteStore::DoReadHeld(TagId id) {
  HeldChange pending = pending_.Held(id);
  if (pending.is_changed) return std::move(pending.sample);
  const Result<ReaderPool::Loan> reader = readers_.Borrow();
  if (!reader.ok()) return reader.status();
  return LoadRecord(**reader, RecordTable::kHeld, id);
}

Status SqliteStore::DoAppend(std::vector<AcceptedSample>& records) {
  const Role changing(changing_);
  if (records.empty()) return {};
  const Result<std::size_t> bytes = Weigh(records);
  if (!bytes.ok()) return bytes.status();
  if (Status status = MakeRoom(); !status.ok()) return status;
  // What can fail comes before the commit, so that the memory follows the journal for certain.
  ReserveBatch();
  if (Status status = Journal(records); !status.ok()) return status;
  Adopt(records, *bytes, last_seq_);
  if (unsorted_ >= kWorthSorting) chunks_->SortSoon();
  return {};
}

Status SqliteStore::Journal(std::span<const AcceptedSample> records) {
  const std::span<const std::string_view> rows = encoder_.Encode(records);
  const Turn turn(writer_.mutex);
  Connection& file = *writer_.connection;
  Transaction transaction(file, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  const Result<std::int64_t> seq = WriteJournal(file, rows);
  if (!seq.ok()) return seq.status();
  if (Status status = transaction.Commit(); !status.ok()) return status;
  last_seq_ = *seq;
  if (writer_.IsLogDue()) chunks_->FoldLogSoon();
  return {};
}

Result<std::vector<Sample>> SqliteStore::DoRead(TagId id, TimeRange range, Direction direction,
                                                std::size_t limit) {
  if (limit == 0 || range.from_ms > range.to_ms) return std::vector<Sample>();
  std::vector<Sample> pending = pending_.Copy(id, range, direction, limit);
  const Result<ReaderPool::Loan> reader = readers_.Borrow();
  if (!reader.ok()) return reader.status();
  return ReadArchive(**reader, std::move(pending), id, range, direction, limit);
}

Result<std::int64_t> SqliteStore::DoCount(TagId id, TimeRange range) {
  if (range.from_ms > range.to_ms) return std::int64_t{0};
  const std::vector<std::int64_t> pending = pending_.Times(id, range);
  const Result<ReaderPool::Loan> reader = readers_.Borrow();
  if (!reader.ok()) return reader.status();
  return CountArchive(**reader, pending, id, range);
}

// ---- from the journal to chunks ----

// Room for one more batch, so that adopting it cannot fail.
void SqliteStore::ReserveBatch() {
  pending_.Reserve();
  journal_cuts_.reserve(journal_cuts_.size() + 1);
}

// Makes a batch pending, of that weight, which the journal has under that sequence number.
void SqliteStore::Adopt(std::vector<AcceptedSample>& records, std::size_t bytes,
                        std::int64_t seq) noexcept {
  unsorted_ = pending_.Take(records);
  last_seq_ = seq;
  pending_bytes_ += bytes;
  uncut_bytes_ += std::max(bytes, kMinCutBytes);
  if (uncut_bytes_ < kCutBytes) return;
  journal_cuts_.push_back(seq);
  uncut_bytes_ = 0;
}

// There is room for one generation beside the frozen one. When that cannot be written, nothing more
// is taken: better a caller who is told than one whose records have no place.
Status SqliteStore::MakeRoom() {
  if (unsorted_ >= kMaxUnsorted) pending_.Sort();
  const std::size_t limit = options_.pending_bytes * (busy_tags_ > kManyTags ? 2 : 1);
  if (pending_bytes_ < limit) return {};
  if (!chunks_->IsDone()) {
    if (pending_bytes_ < 2 * limit) return {};
    if (Status status = chunks_->Finish(); !status.ok()) return status;
  }
  BeginChunks();
  return {};
}

void SqliteStore::BeginChunks() {
  journal_cuts_.reserve(journal_cuts_.size() + 1);
  busy_tags_ = pending_.Freeze();
  journal_cuts_.push_back(last_seq_);
  chunks_->Begin(std::exchange(journal_cuts_, {}));
  pending_bytes_ = 0;
  uncut_bytes_ = 0;
}

Status SqliteStore::WriteAllChunks() {
  const Role changing(changing_);
  Status status = chunks_->Finish();
  if (!status.ok() || pending_bytes_ == 0) return status;
  BeginChunks();
  return chunks_->Finish();
}

Status SqliteStore::CutFreePages() {
  const Turn turn(writer_.mutex);
  return writer_.connection->Execute(kCutFreePages);
}

Result<std::unique_ptr<Store>> DoOpen(const std::filesystem::path& folder,
                                      const SqliteStoreOptions& options) {
  Result<FolderLock> lock = FolderLock::Take(folder);
  if (!lock.ok()) return lock.status();
  const std::filesystem::path file = folder / kDatabaseFile;
  Result<std::unique_ptr<Connection>> writer = Connection::Open(file);
  if (!writer.ok()) return writer.status();
  Status status = PrepareWriter(**writer);
  if (!status.ok()) return Status(status.code(), file.string() + ": " + status.message());
  auto store = std::make_unique<SqliteStore>(*std::move(lock), file, *std::move(writer), options);
  status = store->Start(file);
  if (!status.ok()) return Status(status.code(), file.string() + ": " + status.message());
  return std::unique_ptr<Store>(std::move(store));
}

}  // namespace
}  // namespace zervane::storage

namespace zervane {

Result<std::unique_ptr<Store>> OpenSqliteStore(const std::filesystem::path& folder) {
  return OpenSqliteStore(folder, SqliteStoreOptions());
}

Result<std::unique_ptr<Store>> OpenSqliteStore(const std::filesystem::path& folder,
                                               const SqliteStoreOptions& options) {
  return Guarded([&] { return storage::DoOpen(folder, options); });
}

}  // namespace zervane
