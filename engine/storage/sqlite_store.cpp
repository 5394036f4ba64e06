#include "engine/storage/sqlite_store.h"

#include <algorithm>
#include <map>
#include <unordered_set>
#include <utility>

#include "engine/guard.h"
#include "engine/log.h"
#include "engine/storage/archive_reader.h"
#include "engine/storage/chunk_codec.h"
#include "engine/storage/chunk_merge.h"
#include "engine/storage/folder_lock.h"
#include "engine/storage/journal.h"
#include "engine/storage/pending.h"
#include "engine/storage/reader_pool.h"
#include "engine/storage/record_check.h"
#include "engine/storage/schema.h"
#include "engine/storage/sqlite.h"
#include "engine/storage/tag_table.h"

namespace zervane::storage {
namespace {

std::size_t WeightOf(std::span<const AcceptedSample> records) {
  std::size_t bytes = records.size() * kPendingRecordBytes;
  for (const AcceptedSample& record : records) {
    if (const auto* text = std::get_if<std::string>(&record.sample.value)) bytes += text->size();
  }
  return bytes;
}

// A current value stands as a chunk of its one record.
Status PutCurrentRow(Connection& connection, TagId tag, const Sample& value) {
  const std::string payload = EncodeChunk({&value, 1});
  return Query(connection, "INSERT OR REPLACE INTO current (tag, payload) VALUES (?, ?)", tag,
               payload)
      .Run();
}

// An append is one row of the journal, durable at once, and joins the pending records in memory.
// A checkpoint brings these into chunks and empties the journal, in one transaction. So at any
// instant the chunks and the journal together hold every answered record, whatever ends the
// process; opening replays the journal. A record that is in both counts once, as the journal has
// it.
class SqliteStore final : public Store {
 public:
  SqliteStore(FolderLock lock, std::filesystem::path file, std::unique_ptr<Connection> writer,
              const SqliteStoreOptions& options)
      : lock_(std::move(lock)),
        options_(options),
        writer_(std::move(writer)),
        checkpoint_at_bytes_(options.pending_bytes),
        readers_(std::move(file)) {}

  ~SqliteStore() override {
    if (pending_.tags().empty()) return;
    const Status status = Guarded([&] { return Checkpoint(); });
    if (!status.ok()) Log().warn("the journal is kept for the next open: {}", status.message());
  }

  // Reads what a writer must know. Before anything else.
  Status Start();

  Result<CatalogueImage> LoadCatalogue() override {
    return Guarded([&] { return DoLoadCatalogue(); });
  }
  Status PutTag(const TagProperties& properties, std::int64_t version) override {
    return Guarded([&] { return DoPutTag(properties, version); });
  }
  Status RemoveTag(TagId id, std::int64_t version) override {
    return Guarded([&] { return DoRemoveTag(id, version); });
  }
  Result<std::vector<TagSample>> LoadCurrent() override {
    return Guarded([&] { return DoLoadCurrent(); });
  }
  Status Append(std::span<const AcceptedSample> records) override {
    return Guarded([&] { return DoAppend(records); });
  }
  Result<std::vector<Sample>> Read(TagId id, TimeRange range, Direction direction,
                                   std::size_t limit) override {
    return Guarded([&] { return DoRead(id, range, direction, limit); });
  }
  Result<std::int64_t> Count(TagId id, TimeRange range) override {
    return Guarded([&] { return DoCount(id, range); });
  }

 private:
  Result<CatalogueImage> DoLoadCatalogue();
  Status DoPutTag(const TagProperties& properties, std::int64_t version);
  Status DoRemoveTag(TagId id, std::int64_t version);
  Result<std::vector<TagSample>> DoLoadCurrent();
  Status DoAppend(std::span<const AcceptedSample> records);
  Result<std::vector<Sample>> DoRead(TagId id, TimeRange range, Direction direction,
                                     std::size_t limit);
  Result<std::int64_t> DoCount(TagId id, TimeRange range);

  // The batch by tag, without the tags that are gone.
  PendingTags GroupByKnownTag(std::span<const AcceptedSample> records) const;

  void CheckpointIfDue();
  Status Checkpoint();

  const FolderLock lock_;  // first, so that it is given back last
  const SqliteStoreOptions options_;

  // Of the thread that changes.
  const std::unique_ptr<Connection> writer_;
  std::unordered_set<TagId> tags_;
  std::size_t pending_bytes_ = 0;
  std::size_t checkpoint_at_bytes_;

  // Of all threads.
  ReaderPool readers_;
  Pending pending_;
};

Status SqliteStore::Start() {
  const Result<std::vector<TagProperties>> tags = LoadTagRows(*writer_);
  if (!tags.ok()) return tags.status();
  for (const TagProperties& tag : *tags) tags_.insert(tag.id);
  Status status = ReplayJournal(*writer_, [&](std::vector<AcceptedSample> records) {
    PendingTags batch = GroupByKnownTag(records);
    pending_.Reserve(batch.size());
    pending_.Absorb(std::move(batch));
    pending_bytes_ += WeightOf(records);
  });
  if (status.ok()) CheckpointIfDue();
  return status;
}

// ---- catalogue ----

Result<CatalogueImage> SqliteStore::DoLoadCatalogue() {
  const Result<ReaderPool::Loan> reader = readers_.Borrow();
  if (!reader.ok()) return reader.status();
  const Transaction state(**reader, Transaction::Kind::kRead);
  if (!state.status().ok()) return state.status();
  Result<std::vector<TagProperties>> tags = LoadTagRows(**reader);
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

Status SqliteStore::DoPutTag(const TagProperties& properties, std::int64_t version) {
  Transaction transaction(*writer_, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  if (Status status = PutTagRow(*writer_, properties); !status.ok()) return status;
  Status status = Query(*writer_, "UPDATE catalogue SET last_id = max(last_id, ?), version = ?",
                        properties.id, version)
                      .Run();
  if (!status.ok()) return status;
  const bool is_new = tags_.insert(properties.id).second;  // before the commit: it may throw
  status = transaction.Commit();
  if (!status.ok() && is_new) tags_.erase(properties.id);
  return status;
}

Status SqliteStore::DoRemoveTag(TagId id, std::int64_t version) {
  Transaction transaction(*writer_, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  for (const char* sql : {"DELETE FROM tag WHERE id = ?", "DELETE FROM current WHERE tag = ?",
                          "DELETE FROM chunk WHERE tag = ?", "DELETE FROM damaged WHERE tag = ?"}) {
    if (Status status = Query(*writer_, sql, id).Run(); !status.ok()) return status;
  }
  Status status = Query(*writer_, "UPDATE catalogue SET version = ?", version).Run();
  if (!status.ok()) return status;
  if (status = transaction.Commit(); !status.ok()) return status;
  // The journal may still hold records of the tag. A replay leaves them out, since the tag is gone
  // and its identifier is never given again.
  tags_.erase(id);
  pending_.Remove(id);
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
  Query rows(**reader, "SELECT tag, payload FROM current");
  while (rows.Next()) {
    const auto tag = static_cast<TagId>(rows.Integer(0));
    Result<std::vector<Sample>> value = DecodeChunk(rows.Bytes(1));
    if (value.ok()) {
      values.emplace(tag, std::move(value->front()));
    } else {
      Log().error("the current value of tag {} is lost: {}", tag, value.status().message());
    }
  }
  if (!rows.status().ok()) return rows.status();
  std::vector<TagSample> list;
  for (auto& [tag, sample] : values) list.push_back({tag, std::move(sample)});
  return list;
}

PendingTags SqliteStore::GroupByKnownTag(std::span<const AcceptedSample> records) const {
  PendingTags batch = GroupByTag(records);
  std::erase_if(batch, [&](const auto& entry) { return !tags_.contains(entry.first); });
  return batch;
}

Status SqliteStore::DoAppend(std::span<const AcceptedSample> records) {
  if (Status status = CheckRecords(records); !status.ok()) return status;
  // What can fail comes before the commit, so that the memory follows the journal for certain.
  PendingTags batch = GroupByKnownTag(records);
  if (batch.empty()) return {};
  pending_.Reserve(batch.size());
  Transaction transaction(*writer_, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  if (Status status = WriteJournal(*writer_, records); !status.ok()) return status;
  if (Status status = transaction.Commit(); !status.ok()) return status;
  pending_.Absorb(std::move(batch));
  pending_bytes_ += WeightOf(records);
  CheckpointIfDue();
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

// ---- checkpoints ----

// The records are durable whether it succeeds or not, so a failure is no one's status: the journal
// grows by another measure, then it is tried again.
void SqliteStore::CheckpointIfDue() {
  if (pending_bytes_ < checkpoint_at_bytes_) return;
  if (const Status status = Guarded([&] { return Checkpoint(); }); !status.ok()) {
    Log().warn("the journal waits for more room: {}", status.message());
    checkpoint_at_bytes_ = pending_bytes_ + options_.pending_bytes;
  }
}

Status SqliteStore::Checkpoint() {
  const PendingTags& pending = pending_.tags();
  std::vector<TagId> order;  // so that the chunks of a tag lie near those of its neighbours
  for (const auto& [id, tag] : pending) order.push_back(id);
  std::ranges::sort(order);
  Transaction transaction(*writer_, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  for (const TagId id : order) {
    const PendingTag& tag = pending.at(id);
    Status status = MergeIntoChunks(*writer_, id, tag.archive, options_.chunk_records);
    if (status.ok() && tag.current) status = PutCurrentRow(*writer_, id, *tag.current);
    if (!status.ok()) return status;
  }
  if (Status status = ClearJournal(*writer_); !status.ok()) return status;
  if (Status status = transaction.Commit(); !status.ok()) return status;
  pending_.Clear();
  pending_bytes_ = 0;
  checkpoint_at_bytes_ = options_.pending_bytes;
  return {};
}

Result<std::unique_ptr<Store>> DoOpen(const std::filesystem::path& folder,
                                      const SqliteStoreOptions& options) {
  Result<FolderLock> lock = FolderLock::Take(folder);
  if (!lock.ok()) return lock.status();
  const std::filesystem::path file = folder / "zervane.db";
  Result<std::unique_ptr<Connection>> writer = Connection::Open(file);
  if (!writer.ok()) return writer.status();
  Status status = PrepareWriter(**writer);
  if (!status.ok()) return Status(status.code(), file.string() + ": " + status.message());
  auto store = std::make_unique<SqliteStore>(*std::move(lock), file, *std::move(writer), options);
  status = store->Start();
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
