#include "engine/storage/sqlite/schema.h"

#include <spdlog/fmt/fmt.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/storage/sqlite/row_table.h"
#include "engine/storage/sqlite/settings.h"
#include "engine/storage/sqlite/summary_table.h"
#include "engine/storage/sqlite/upgrade.h"
#include "engine/storage/tables.h"

namespace zervane::storage {
namespace {

// The tables but those of rows, which tables.h lists. docs/file-layout.md explains them.
constexpr char kCreateTables[] = R"(
CREATE TABLE current (
  tag INTEGER PRIMARY KEY,
  payload BLOB NOT NULL
);

CREATE TABLE held (
  tag INTEGER PRIMARY KEY,
  payload BLOB NOT NULL
);

CREATE TABLE journal (
  seq INTEGER PRIMARY KEY,
  payload BLOB NOT NULL
);

CREATE TABLE chunk (
  id INTEGER PRIMARY KEY,
  tag INTEGER NOT NULL,
  first_time INTEGER NOT NULL,
  last_time INTEGER NOT NULL,
  count INTEGER NOT NULL,
  payload BLOB NOT NULL
);
CREATE UNIQUE INDEX chunk_extent ON chunk (tag, first_time, last_time, count);

CREATE TABLE damaged (
  id INTEGER PRIMARY KEY,
  tag INTEGER,
  payload BLOB NOT NULL
);
)";

// A new file can give pages back that it no longer needs.
constexpr char kNewFileSettings[] = "PRAGMA auto_vacuum = INCREMENTAL";

// Every commit is synced to the disk before it is answered. Freed pages are not overwritten: the
// journal frees as much as it writes. The log is cut back to 64 MiB whenever it starts over.
constexpr char kWriterSettings[] = R"(
PRAGMA synchronous = FULL;
PRAGMA secure_delete = OFF;
PRAGMA journal_size_limit = 67108864;
PRAGMA cache_size = -16384;
PRAGMA temp_store = MEMORY;
)";

// A file may have been tampered with: its cells are checked, and nothing that it defines runs code
// beyond SQL.
constexpr char kSafety[] = R"(
PRAGMA cell_size_check = ON;
PRAGMA trusted_schema = OFF;
)";

Result<std::int64_t> ReadNumber(Connection& connection, std::string_view sql) {
  Query row(connection, sql);
  if (row.Next()) return row.Integer(0);
  if (row.status().ok()) return Status(ZR3_ERR_STORAGE_FAILED, fmt::format("{}: no row", sql));
  return row.status();
}

struct FileIdentity {
  std::int64_t application_id = 0;
  std::int64_t layout = 0;
  std::int64_t tables = 0;
};

Result<FileIdentity> Identify(Connection& connection) {
  const auto application_id = ReadNumber(connection, "PRAGMA application_id");
  if (!application_id.ok()) return application_id.status();
  const auto layout = ReadNumber(connection, "PRAGMA user_version");
  if (!layout.ok()) return layout.status();
  const auto tables = ReadNumber(connection, "SELECT count(*) FROM sqlite_schema");
  if (!tables.ok()) return tables.status();
  return FileIdentity{*application_id, *layout, *tables};
}

bool IsEmpty(const FileIdentity& file) {
  return file.application_id == 0 && file.layout == 0 && file.tables == 0;
}

Status CheckIdentity(const FileIdentity& file) {
  if (IsEmpty(file)) return {};
  if (file.application_id != kApplicationId || file.layout < 1) {
    return Status(ZR3_ERR_NOT_A_DATABASE,
                  fmt::format("the file is of another application (its identifier is {:#x})",
                              file.application_id));
  }
  if (file.layout > kLayoutVersion) {
    return Status(ZR3_ERR_DATABASE_VERSION,
                  fmt::format("the file has layout {}; this release reads up to layout {}",
                              file.layout, kLayoutVersion));
  }
  return {};
}

Status UseWriteAheadLog(Connection& connection) {
  Query mode(connection, "PRAGMA journal_mode = WAL");
  const bool is_used = mode.Next() && mode.Bytes(0) == "wal";
  Status status = mode.Run();  // the row comes before the mode is written
  if (is_used || !status.ok()) return status;
  return Status(ZR3_ERR_STORAGE_FAILED, "the file system cannot carry a write-ahead log");
}

Status MarkLayout(Connection& connection) {
  const std::string sql = fmt::format("PRAGMA application_id = {}; PRAGMA user_version = {};",
                                      kApplicationId, kLayoutVersion);
  return connection.Execute(sql.c_str());
}

Status MakeTables(Connection& connection) {
  Transaction transaction(connection, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  std::string sql = kCreateTables;
  for (const TableInfo& table : AllTables()) sql += CreateTable(table);
  Status status = connection.Execute(sql.c_str());
  if (status.ok()) status = CreateSummaries(connection);
  if (status.ok()) status = PutSetting(connection, kEncodingSetting, "UTF-8");
  if (status.ok()) status = MarkLayout(connection);
  return status.ok() ? transaction.Commit() : status;
}

Status BringUpToDate(Connection& connection, std::int64_t layout, const TextEncoding& encoding) {
  Transaction transaction(connection, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  if (Status status = Upgrade(connection, layout, encoding); !status.ok()) return status;
  if (Status status = MarkLayout(connection); !status.ok()) return status;
  return transaction.Commit();
}

// What nobody asks for until much later would be missed too late.
Status CheckTables(Connection& connection) {
  for (const TableInfo& table : AllTables()) {
    if (Status status = CheckTable(connection, table); !status.ok()) return status;
  }
  return {};
}

// The decoder of the encoding that the file names.
Result<TextDecoder> KeptDecoder(Connection& connection, const TextEncoding& encoding) {
  const Result<std::string> name = TextSetting(connection, kEncodingSetting);
  if (!name.ok()) return name.status();
  return DecoderOf(encoding, *name);
}

}  // namespace

Result<TextDecoder> PrepareWriter(Connection& connection, const TextEncoding& encoding) {
  if (Status status = connection.Execute(kSafety); !status.ok()) return status;
  const Result<FileIdentity> file = Identify(connection);
  if (!file.ok()) return file.status();
  if (Status status = CheckIdentity(*file); !status.ok()) return status;
  if (connection.IsReadOnly()) {
    return Status(ZR3_ERR_STORAGE_READ_ONLY, "the file cannot be written");
  }
  if (IsEmpty(*file)) {
    if (Status status = connection.Execute(kNewFileSettings); !status.ok()) return status;
  }
  if (Status status = UseWriteAheadLog(connection); !status.ok()) return status;
  if (Status status = connection.Execute(kWriterSettings); !status.ok()) return status;
  connection.CountLogPages();
  Status status;
  if (IsEmpty(*file)) {
    status = MakeTables(connection);
  } else if (file->layout < kLayoutVersion) {
    status = BringUpToDate(connection, file->layout, encoding);
  }
  if (status.ok()) status = CheckTables(connection);
  if (!status.ok()) return status;
  return KeptDecoder(connection, encoding);
}

Status PrepareReader(Connection& connection) {
  if (Status status = connection.Execute(kSafety); !status.ok()) return status;
  return connection.Execute("PRAGMA query_only = ON");
}

}  // namespace zervane::storage
