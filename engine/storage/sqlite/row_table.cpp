#include "engine/storage/sqlite/row_table.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <variant>
#include <vector>

#include "engine/mutex.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {
namespace {

using Kind = TableColumn::Kind;

// Of numbers with a point SQLite keeps a NaN as NULL.
std::string_view TypeOf(Kind kind) {
  switch (kind) {
    case Kind::kInteger:
      return " INTEGER NOT NULL";
    case Kind::kReal:
      return " REAL";
    case Kind::kText:
      return " TEXT NOT NULL";
    case Kind::kBytes:
      return " BLOB NOT NULL";
    case Kind::kAny:
      break;
  }
  return "";
}

// The column's name in statements. Some are words of SQL. In double quotes SQLite would take one
// that a damaged file has not for a text.
std::string NameOf(const TableColumn& column) { return fmt::format("[{}]", column.name); }

// What `format` makes of each of the columns, separated by commas.
template <typename Format>
std::string Listed(const TableInfo& table, std::span<const std::size_t> columns, Format format) {
  std::string list;
  for (const std::size_t column : columns) {
    if (!list.empty()) list += ", ";
    list += format(table.columns[column]);
  }
  return list;
}

std::string Names(const TableInfo& table, std::span<const std::size_t> columns) {
  return Listed(table, columns, NameOf);
}

std::vector<std::size_t> AllColumns(const TableInfo& table) {
  std::vector<std::size_t> columns(table.columns.size());
  for (std::size_t at = 0; at < columns.size(); ++at) columns[at] = at;
  return columns;
}

bool IsNumbered(const TableInfo& table) {
  return table.key_columns == 1 && table.columns[0].kind == Kind::kInteger;
}

// The statements that change a table's rows.
struct ChangeSql {
  std::string put;
  std::vector<std::string> remove;  // by the first cell of the key, by the first two, ...
};

// For each number of cells that a key to remove may be given by.
std::vector<std::string> RemovalsFrom(const TableInfo& table) {
  std::vector<std::string> removals;
  std::string sql = fmt::format("DELETE FROM {} WHERE ", table.name);
  for (std::size_t at = 0; at < table.key_columns; ++at) {
    sql += (at == 0 ? "" : " AND ") + NameOf(table.columns[at]) + " = ?";
    removals.push_back(sql);
  }
  return removals;
}

const ChangeSql& ChangeSqlOf(TableId table) {
  static const std::vector<ChangeSql> all = [] {
    std::vector<ChangeSql> list;
    for (const TableInfo& info : AllTables()) {
      const auto columns = AllColumns(info);
      const auto mark = [](const TableColumn&) { return std::string("?"); };
      list.push_back({.put = fmt::format("INSERT OR REPLACE INTO {} ({}) VALUES ({})", info.name,
                                         Names(info, columns), Listed(info, columns, mark)),
                      .remove = RemovalsFrom(info)});
    }
    return list;
  }();
  return all[static_cast<std::size_t>(table)];
}

// The text, kept for good: connections know their statements by it. There are few of them.
std::string_view Kept(std::string sql) {
  struct Texts {
    Mutex mutex;
    std::unordered_set<std::string> all GUARDED_BY(mutex);
  };
  static auto* const texts = new Texts;
  const MutexLock lock(texts->mutex);
  return *texts->all.insert(std::move(sql)).first;
}

// Rows whose first index columns compare so with as many parameters.
std::string Condition(const TableInfo& table, std::span<const std::size_t> columns,
                      std::string_view comparison) {
  const auto mark = [](const TableColumn&) { return std::string("?"); };
  return fmt::format("({}) {} ({})", Names(table, columns), comparison,
                     Listed(table, columns, mark));
}

std::string_view RangeSql(const RowRange& range) {
  const TableInfo& table = InfoOf(range.table);
  const std::span<const std::size_t> index = table.indexes[range.index];
  std::string sql = fmt::format("SELECT {} FROM {}", Names(table, AllColumns(table)), table.name);
  const bool is_behind_from = range.is_behind && !range.is_backward;
  const bool is_behind_to = range.is_behind && range.is_backward;
  if (!range.from.empty()) {
    sql +=
        " WHERE " + Condition(table, index.first(range.from.size()), is_behind_from ? ">" : ">=");
  }
  if (!range.to.empty()) {
    sql += range.from.empty() ? " WHERE " : " AND ";
    sql += Condition(table, index.first(range.to.size()), is_behind_to ? "<" : "<=");
  }
  const auto order = [&](const TableColumn& column) {
    return NameOf(column) + (range.is_backward ? " DESC" : "");
  };
  return Kept(sql + " ORDER BY " + Listed(table, index, order) + " LIMIT ?");
}

// SQLite keeps numbers, texts and bytes apart, so that a cell is bound as its column has it.
void BindCell(const Cell& cell, Kind kind, Query* query) {
  if (const auto* whole = std::get_if<std::int64_t>(&cell)) {
    query->Bind(*whole);
  } else if (const auto* real = std::get_if<double>(&cell); real != nullptr && !std::isnan(*real)) {
    query->Bind(*real);
  } else if (const auto* bytes = std::get_if<CellBytes>(&cell)) {
    kind == Kind::kBytes ? query->Bind(*bytes) : query->BindText(*bytes);
  } else {
    query->BindNothing();
  }
}

}  // namespace

std::string CreateTable(const TableInfo& table) {
  const bool is_numbered = IsNumbered(table);
  std::string sql = fmt::format("CREATE TABLE {} (", table.name);
  for (std::size_t at = 0; at < table.columns.size(); ++at) {
    const TableColumn& column = table.columns[at];
    if (at > 0) sql += ", ";
    sql += NameOf(column);
    sql += at == 0 && is_numbered ? " INTEGER PRIMARY KEY" : TypeOf(column.kind);
  }
  sql += is_numbered
             ? ");\n"
             : fmt::format(", PRIMARY KEY ({})) WITHOUT ROWID;\n", Names(table, table.indexes[0]));
  for (std::size_t index = 1; index < table.indexes.size(); ++index) {
    sql += fmt::format("CREATE UNIQUE INDEX {}_{} ON {} ({});\n", table.name, index, table.name,
                       Names(table, table.indexes[index]));
  }
  return sql;
}

Status CheckTable(Connection& connection, const TableInfo& table) {
  const std::string sql =
      fmt::format("SELECT {} FROM {} LIMIT 0", Names(table, AllColumns(table)), table.name);
  return Query(connection, Kept(sql)).Run();
}

Status ChangeRow(Connection& connection, const RowChange& change) {
  const TableInfo& table = InfoOf(change.table);
  const ChangeSql& sql = ChangeSqlOf(change.table);
  Query query(connection, change.row ? sql.put : sql.remove[change.key.size() - 1]);
  const Row& cells = change.row ? *change.row : change.key;
  for (std::size_t at = 0; at < cells.size(); ++at) {
    BindCell(cells[at], table.columns[at].kind, &query);
  }
  return query.Run();
}

Status VisitRows(Connection& connection, const RowRange& range, std::size_t limit,
                 const RowVisitor& visit) {
  const TableInfo& table = InfoOf(range.table);
  const std::vector<std::size_t>& index = table.indexes[range.index];
  Query rows(connection, RangeSql(range));
  for (const Row* bound : {&range.from, &range.to}) {
    for (std::size_t at = 0; at < bound->size(); ++at) {
      BindCell((*bound)[at], table.columns[index[at]].kind, &rows);
    }
  }
  constexpr std::size_t kMost = std::numeric_limits<std::int64_t>::max();
  rows.Bind(static_cast<std::int64_t>(std::min(limit, kMost)));
  std::vector<CellView> cells(table.columns.size());
  while (rows.Next()) {
    for (std::size_t at = 0; at < cells.size(); ++at) cells[at] = rows.CellAt(static_cast<int>(at));
    if (!visit(cells)) return {};
  }
  return rows.status();
}

}  // namespace zervane::storage
