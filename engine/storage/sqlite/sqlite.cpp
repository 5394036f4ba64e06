#include "engine/storage/sqlite/sqlite.h"

#include <spdlog/fmt/fmt.h>

#include <cerrno>
#include <cstddef>
#include <utility>

#include "engine/assert.h"
#include "engine/storage/sqlite/sqlite_files.h"
#include "engine/storage/sqlite/system_status.h"

namespace zervane::storage {
namespace {

// Readers and the writer meet on a lock only for moments: while the first one recovers the log.
constexpr int kBusyTimeoutMs = 10'000;

ZR3_STATUS CodeOf(int result) {
  if (result == SQLITE_IOERR_NOMEM) return ZR3_ERR_OUT_OF_MEMORY;
  switch (result & 0xFF) {
    case SQLITE_FULL:
      return ZR3_ERR_STORAGE_FULL;
    case SQLITE_READONLY:
    case SQLITE_PERM:
      return ZR3_ERR_STORAGE_READ_ONLY;
    case SQLITE_NOTADB:
      return ZR3_ERR_NOT_A_DATABASE;
    case SQLITE_CORRUPT:
      return ZR3_ERR_STORAGE_DAMAGED;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return ZR3_ERR_DATABASE_IN_USE;
    case SQLITE_NOMEM:
      return ZR3_ERR_OUT_OF_MEMORY;
    default:
      return ZR3_ERR_STORAGE_FAILED;
  }
}

// The error number behind a failed file operation, 0 when there is none. A failed commit leaves it
// only with the file: the write-ahead log's or the database's own.
int SystemError(sqlite3* connection) {
  if (const int error = sqlite3_system_errno(connection); error != 0) return error;
  sqlite3_file* log = nullptr;
  sqlite3_file* database = nullptr;
  sqlite3_file_control(connection, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
  sqlite3_file_control(connection, "main", SQLITE_FCNTL_FILE_POINTER, &database);
  int error = 0;
  for (sqlite3_file* file : {log, database}) {
    if (error != 0 || file == nullptr || file->pMethods == nullptr) continue;
    file->pMethods->xFileControl(file, SQLITE_FCNTL_LAST_ERRNO, &error);
  }
  return error;
}

}  // namespace

Status SqliteStatus(int result, sqlite3* connection, std::string_view doing) {
  const char* cause = connection == nullptr ? sqlite3_errstr(result) : sqlite3_errmsg(connection);
  constexpr std::size_t kEnough = 100;  // of a statement's text to tell which it is
  std::string message =
      fmt::format("{}: {} (SQLite result {})", doing.substr(0, kEnough), cause, result);
  const bool by_system = ((result & 0xFF) == SQLITE_IOERR && result != SQLITE_IOERR_NOMEM) ||
                         (result & 0xFF) == SQLITE_CANTOPEN;
  const int error = by_system && connection != nullptr ? SystemError(connection) : 0;
  if (error != 0) return SystemStatus(error, message);
  return Status(CodeOf(result), std::move(message));
}

// ---- connections ----

Result<std::unique_ptr<Connection>> Connection::Open(const std::filesystem::path& file) {
  std::unique_ptr<Connection> connection(new Connection);
  // No mutex of SQLite's own: a connection is used by one thread at a time.
  constexpr int kFlags =
      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  sqlite3* handle = nullptr;
  const char* const files = SqliteFiles();
  if (files == nullptr) return SqliteStatus(SQLITE_NOMEM, nullptr, "cannot open " + file.string());
  const int result = sqlite3_open_v2(file.c_str(), &handle, kFlags, files);
  connection->handle_.reset(handle);
  if (result != SQLITE_OK) return SqliteStatus(result, handle, "cannot open " + file.string());
  sqlite3_busy_timeout(handle, kBusyTimeoutMs);
  return connection;
}

Status Connection::Execute(const char* sql) {
  const int result = sqlite3_exec(handle_.get(), sql, nullptr, nullptr, nullptr);
  if (result == SQLITE_OK) return {};
  return SqliteStatus(result, handle_.get(), sql);
}

Result<sqlite3_stmt*> Connection::Prepared(std::string_view sql) {
  auto& statement = statements_[sql];
  if (statement == nullptr) {
    sqlite3_stmt* prepared = nullptr;
    const int result = sqlite3_prepare_v3(handle_.get(), sql.data(), static_cast<int>(sql.size()),
                                          SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    if (result != SQLITE_OK) return SqliteStatus(result, handle_.get(), sql);
    statement.reset(prepared);
  }
  return statement.get();
}

void Connection::CountLogPages() {
  const auto count = [](void* connection, sqlite3*, const char*, int pages) {
    static_cast<Connection*>(connection)->log_pages_ = pages;
    return SQLITE_OK;
  };
  sqlite3_wal_hook(handle_.get(), count, this);
}

Status Connection::FoldLog() {
  // A connection that has read nothing yet does not know of the log, and would fold nothing.
  if (Status status = Execute("PRAGMA schema_version"); !status.ok()) return status;
  const int result =
      sqlite3_wal_checkpoint_v2(handle_.get(), "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  // Another one that folds at the moment does the same.
  if (result == SQLITE_OK || (result & 0xFF) == SQLITE_BUSY) return {};
  return SqliteStatus(result, handle_.get(), "cannot fold the log into the file");
}

// ---- queries ----

Query::Query(Connection& connection, std::string_view sql, Unbound)
    : connection_(connection.handle_.get()) {
  Result<sqlite3_stmt*> prepared = connection.Prepared(sql);
  if (prepared.ok()) {
    ZERVANE_ASSERT(sqlite3_stmt_busy(*prepared) == 0);
    statement_ = *prepared;
  } else {
    status_ = prepared.status();
  }
}

Query::~Query() {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

void Query::Check(int result) {
  if (status_.ok() && result != SQLITE_OK) {
    result_ = result;  // first: the text of the status needs memory
    status_ = SqliteStatus(result, connection_, sqlite3_sql(statement_));
  }
}

void Query::BindInteger(std::int64_t value) {
  if (status_.ok()) Check(sqlite3_bind_int64(statement_, ++parameter_, value));
}

void Query::Bind(double value) {
  if (status_.ok()) Check(sqlite3_bind_double(statement_, ++parameter_, value));
}

void Query::Bind(std::string_view bytes) {
  if (!status_.ok()) return;
  const char* data = bytes.empty() ? "" : bytes.data();  // a null pointer would bind NULL
  Check(sqlite3_bind_blob64(statement_, ++parameter_, data, bytes.size(), SQLITE_STATIC));
}

void Query::BindText(std::string_view text) {
  if (!status_.ok()) return;
  const char* data = text.empty() ? "" : text.data();
  Check(
      sqlite3_bind_text64(statement_, ++parameter_, data, text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void Query::BindNothing() {
  if (status_.ok()) Check(sqlite3_bind_null(statement_, ++parameter_));
}

bool Query::Next() {
  if (!status_.ok()) return false;
  const int result = sqlite3_step(statement_);
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) Check(result);
  return false;
}

Status Query::Run() {
  while (Next()) {
  }
  return status_;
}

std::string_view Query::Bytes(int column) const {
  const void* data = sqlite3_column_blob(statement_, column);
  const int size = sqlite3_column_bytes(statement_, column);
  return {static_cast<const char*>(data), data == nullptr ? 0 : static_cast<std::size_t>(size)};
}

// By the value, which is found once; no other thread uses the connection meanwhile.
CellView Query::CellAt(int column) const {
  sqlite3_value* const value = sqlite3_column_value(statement_, column);
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
      return std::int64_t{sqlite3_value_int64(value)};
    case SQLITE_FLOAT:
      return sqlite3_value_double(value);
    case SQLITE_NULL:
      return std::monostate();
    default:
      break;
  }
  const void* data = sqlite3_value_blob(value);
  const int size = sqlite3_value_bytes(value);
  return std::string_view(static_cast<const char*>(data),
                          data == nullptr ? 0 : static_cast<std::size_t>(size));
}

// ---- transactions ----

namespace {

// Whether a commit that fails so may still be found in the log when that is read anew: its frames
// are written, the last one of them makes it a commit, and then they are synced and entered into
// the log's index. So a write that fails leaves nothing to be found. (A want of memory for the
// index may leave something, which the next commit overwrites.)
bool LeavesOpen(int result) {
  return (result & 0xFF) == SQLITE_IOERR && result != SQLITE_IOERR_NOMEM &&
         result != SQLITE_IOERR_WRITE && result != SQLITE_IOERR_READ;
}

}  // namespace

// What undoes it is made before there is anything to undo, since that may fail for want of memory;
// and anew each time, since SQLite makes a statement again, when it is run, that is older than an
// index or some pragmas.
Transaction::Transaction(Connection& connection, Kind kind) : connection_(connection) {
  sqlite3* const handle = connection.handle_.get();
  ZERVANE_ASSERT(sqlite3_get_autocommit(handle) != 0);
  if (connection.is_uncertain()) {
    status_ = Status(ZR3_ERR_STORAGE_FAILED, "an earlier commit could not be brought to the disk");
    return;
  }
  sqlite3_stmt* rollback = nullptr;
  const int result = sqlite3_prepare_v2(handle, "ROLLBACK", -1, &rollback, nullptr);
  rollback_.reset(rollback);
  status_ = result == SQLITE_OK
                ? Query(connection, kind == Kind::kRead ? "BEGIN" : "BEGIN IMMEDIATE").Run()
                : SqliteStatus(result, handle, "ROLLBACK");
}

Transaction::~Transaction() {
  // SQLite undoes some failed transactions itself.
  const bool is_open = sqlite3_get_autocommit(connection_.handle_.get()) == 0;
  if (status_.ok() && is_open) sqlite3_step(rollback_.get());
}

// A failure is noted also where there is no memory to tell of it.
Status Transaction::Commit() {
  Query commit(connection_, "COMMIT");
  const auto note = [&] { connection_.is_uncertain_ |= LeavesOpen(commit.result()); };
  try {
    Status status = commit.Run();
    note();
    return status;
  } catch (...) {
    note();
    throw;
  }
}

}  // namespace zervane::storage
