#pragma once

#include <sqlite3.h>

#include <concepts>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "api/words/status.h"
#include "engine/storage/row.h"

// A thin shell around SQLite: connections and statements that close themselves, and its result
// codes as statuses.
namespace zervane::storage {

// The status of an SQLite result other than SQLITE_OK, SQLITE_ROW and SQLITE_DONE. The only place
// that knows what they mean. `connection` may be null.
Status SqliteStatus(int result, sqlite3* connection, std::string_view doing);

// One connection to a database file, with the statements that were used on it. Threads: one at a
// time.
class Connection {
 public:
  // Opens the file, made when missing. Nothing is read yet: what it is shows in the first query.
  static Result<std::unique_ptr<Connection>> Open(const std::filesystem::path& file);

  // Runs statements that return nothing of interest.
  Status Execute(const char* sql);

  // Whether the file can only be read.
  bool IsReadOnly() const { return sqlite3_db_readonly(handle_.get(), "main") == 1; }

  // From now on the log is folded into the file only when FoldLog is called.
  void CountLogPages();
  // How many pages the log had after this connection's last commit. After CountLogPages.
  int log_pages() const { return log_pages_; }

  // Whether a commit failed in a way that leaves open what the file has of it: the disk did not
  // take what was written, or did not say. No transaction begins from then on, for to go on could
  // overwrite what is whole, or trust what is not there.
  bool is_uncertain() const { return is_uncertain_; }

  // Folds into the file what the log has, as far as no other connection needs it, without waiting
  // for any. Once all of it is folded, the next write starts the log over.
  Status FoldLog();

 private:
  friend class Query;
  friend class Transaction;

  struct CloseConnection {
    void operator()(sqlite3* handle) const { sqlite3_close(handle); }
  };
  struct CloseStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  Connection() = default;
  Result<sqlite3_stmt*> Prepared(std::string_view sql);

  int log_pages_ = 0;
  bool is_uncertain_ = false;
  std::unique_ptr<sqlite3, CloseConnection> handle_;
  // By their text. Destroyed before the handle.
  std::unordered_map<std::string_view, std::unique_ptr<sqlite3_stmt, CloseStatement>> statements_;
};

// One run of a statement, from its first row to the destructor:
//
//   Query rows(connection, "SELECT id, payload FROM chunk WHERE tag = ?", tag);
//   while (rows.Next()) Use(rows.Integer(0), rows.Bytes(1));
//   return rows.status();
//
// The text outlives the connection. One run of a text at a time on a connection.
class Query {
 public:
  template <typename... Arguments>
  Query(Connection& connection, std::string_view sql, const Arguments&... arguments)
      : Query(connection, sql, Unbound{}) {
    (Bind(arguments), ...);
  }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;
  ~Query();

  // Gives the next parameter its value; bytes are kept by the caller until the run ends.
  void Bind(std::integral auto value) { BindInteger(static_cast<std::int64_t>(value)); }
  void Bind(double value);
  void Bind(std::string_view bytes);
  void BindText(std::string_view text);
  void BindNothing();

  // Moves to the first or the next row. False at the end and on a failure, which status() tells.
  bool Next();

  // Runs a statement that returns no rows.
  Status Run();

  const Status& status() const { return status_; }
  // SQLite's result code behind the status.
  int result() const { return result_; }

  // Columns of the row, from 0. Bytes stay until the next row.
  std::int64_t Integer(int column) const { return sqlite3_column_int64(statement_, column); }
  double Real(int column) const { return sqlite3_column_double(statement_, column); }
  std::string_view Bytes(int column) const;
  bool IsNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
  CellView CellAt(int column) const;

 private:
  struct Unbound {};
  Query(Connection& connection, std::string_view sql, Unbound);

  void BindInteger(std::int64_t value);
  void Check(int result);

  sqlite3* connection_;
  sqlite3_stmt* statement_ = nullptr;
  int parameter_ = 0;
  int result_ = SQLITE_OK;
  Status status_;
};

// A transaction that is undone unless it is committed.
class Transaction {
 public:
  enum class Kind {
    kRead,   // all queries see one state of the file
    kWrite,  // takes the right to write at once
  };

  Transaction(Connection& connection, Kind kind);
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  ~Transaction();

  // What became of its begin.
  const Status& status() const { return status_; }

  // Durable and whole when it succeeds; undone when it does not, unless the connection is uncertain
  // then.
  Status Commit();

 private:
  Connection& connection_;
  std::unique_ptr<sqlite3_stmt, Connection::CloseStatement> rollback_;
  Status status_;
};

}  // namespace zervane::storage
