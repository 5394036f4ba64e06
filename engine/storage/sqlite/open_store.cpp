#include <limits>
#include <utility>

#include "engine/guard.h"
#include "engine/storage/sqlite/owner_only.h"
#include "engine/storage/sqlite/record_table.h"
#include "engine/storage/sqlite/schema.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/sqlite/sqlite_store_internal.h"

namespace zervane::storage {

Status SqliteStore::Start(const std::filesystem::path& file) {
  if (Status status = StartBackground(file); !status.ok()) return status;
  const Role changing(changing_);
  const WriterHold hold(writer_.mutex);
  if (Status status = LoadTags(); !status.ok()) return status;
  if (Status status = LoadHeld(); !status.ok()) return status;
  const Result<std::int64_t> last_commit = LastCommit(*writer_.connection);
  if (!last_commit.ok()) return last_commit.status();
  if (Status status = Replay(); !status.ok()) return status;
  pending_.Sort();
  last_commit_ = *last_commit;
  is_started_ = true;
  return {};
}

Status SqliteStore::StartBackground(const std::filesystem::path& file) {
  Result<std::unique_ptr<Connection>> reader = Connection::Open(file);
  if (!reader.ok()) return reader.status();
  if (Status status = PrepareReader(**reader); !status.ok()) return status;
  const Result<ChunkIds> ids = ChunkIds::Behind(**reader);
  if (!ids.ok()) return ids.status();
  const ArchiveSizes sizes{options_.chunk_records, options_.group_chunks};
  background_ = std::make_unique<BackgroundWriter>(writer_, *std::move(reader), pending_, sizes,
                                                   *ids, decoder_);
  return {};
}

Status SqliteStore::LoadTags() {
  Query rows(*writer_.connection, "SELECT id FROM tag");
  while (rows.Next()) {
    const auto id = static_cast<TagId>(rows.Integer(0));
    pending_.ReserveTag(id);
    pending_.AddTag(id);
  }
  return rows.status();
}

Status SqliteStore::LoadHeld() {
  const auto note = [&](TagId tag, const Sample& held) {
    pending_.NoteHeld(tag, held.time_ms);
    background_->NoteHeldRow(tag);
  };
  return VisitRecords(*writer_.connection, RecordTable::kHeld, 0, std::numeric_limits<TagId>::max(),
                      decoder_, note);
}

Status SqliteStore::Replay() {
  const auto take = [&](std::int64_t commit, JournalEntry entry) REQUIRES(changing_) {
    if (!entry.emptied.empty()) pending_.Sort();
    for (const TagId tag : entry.emptied) pending_.EmptyTag(tag);
    ReserveBatch({});
    Adopt(entry.records, commit);
  };
  return ReplayJournal(*writer_.connection, decoder_, take);
}

namespace {

Result<std::unique_ptr<Store>> Open(const std::filesystem::path& folder,
                                    const TextEncoding& encoding,
                                    const SqliteStoreOptions& options) {
  Result<FolderLock> lock = FolderLock::Acquire(folder);
  if (!lock.ok()) return lock.status();
  const std::filesystem::path file = folder / kDatabaseFile;
  Result<std::unique_ptr<Connection>> writer = Connection::Open(file);
  if (!writer.ok()) return writer.status();
  Result<TextDecoder> decoder = PrepareWriter(**writer, encoding);
  if (!decoder.ok()) {
    return Status(decoder.code(), file.string() + ": " + decoder.status().message());
  }
  KeepForOwner(folder);  // only now: what is refused is left as it is
  auto store = std::make_unique<SqliteStore>(*std::move(lock), file, *std::move(writer),
                                             *std::move(decoder), options);
  const Status status = store->Start(file);
  if (!status.ok()) return Status(status.code(), file.string() + ": " + status.message());
  return std::unique_ptr<Store>(std::move(store));
}

}  // namespace
}  // namespace zervane::storage

namespace zervane {

Result<std::unique_ptr<Store>> OpenSqliteStore(const std::filesystem::path& folder,
                                               const TextEncoding& encoding) {
  return OpenSqliteStore(folder, encoding, SqliteStoreOptions());
}

Result<std::unique_ptr<Store>> OpenSqliteStore(const std::filesystem::path& folder,
                                               const TextEncoding& encoding,
                                               const SqliteStoreOptions& options) {
  return Guarded([&] { return storage::Open(folder, encoding, options); });
}

}  // namespace zervane
