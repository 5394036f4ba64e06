#include "engine/storage/sqlite/tag_table.h"

#include <concepts>
#include <cstdint>
#include <limits>
#include <span>
#include <type_traits>
#include <variant>

namespace zervane::storage {
namespace {

// Calls visit(column) for every column of the table, in its order.
template <typename Visit>
void ForEachColumn(Visit visit) {
  for (const PropertyColumn& column : CommonColumns()) visit(column);
  for (const PropertyColumn& column : PointColumns()) visit(column);
}

// The column names with what `format` makes of each, separated by commas.
template <typename Format>
std::string ColumnList(Format format) {
  std::string list;
  ForEachColumn([&](const PropertyColumn& column) {
    if (!list.empty()) list += ", ";
    list += format(column);
  });
  return list;
}

// SQLite has no NaN: a number that is none comes back from NULL.
struct ColumnType {
  const char* operator()(std::string Tag::*) const { return " BLOB NOT NULL"; }
  const char* operator()(float Tag::*) const { return " REAL"; }
  template <std::integral T>
  const char* operator()(T Tag::*) const {
    return " INTEGER NOT NULL";
  }
};

std::string ColumnDefinition(const PropertyColumn& column) {
  const bool is_key = column.column == ZR3_TAG_COL_COMM_PROP_TAGID;
  const char* type = is_key ? " INTEGER PRIMARY KEY" : std::visit(ColumnType{}, column.member);
  return column.name + std::string(type);
}

std::string ColumnName(const PropertyColumn& column) { return column.name; }

const std::string& PutSql() {
  static const std::string sql = "INSERT OR REPLACE INTO tag (" + ColumnList(ColumnName) +
                                 ") VALUES (" +
                                 ColumnList([](const PropertyColumn&) { return "?"; }) + ")";
  return sql;
}

const std::string& LoadSql() {
  static const std::string sql = "SELECT " + ColumnList(ColumnName) + " FROM tag ORDER BY id";
  return sql;
}

Tag ReadTag(const Query& row) {
  Tag properties;
  int index = 0;
  const auto read = [&]<typename T>(T Tag::*member) {
    const int column = index++;
    if constexpr (std::is_same_v<T, std::string>) {
      properties.*member = row.Bytes(column);
    } else if constexpr (std::is_same_v<T, float>) {
      properties.*member = row.IsNull(column) ? std::numeric_limits<float>::quiet_NaN()
                                              : static_cast<float>(row.Real(column));
    } else {
      properties.*member = static_cast<T>(row.Integer(column));
    }
  };
  ForEachColumn([&](const PropertyColumn& column) { std::visit(read, column.member); });
  return properties;
}

}  // namespace

std::string CreateTagTable() { return "CREATE TABLE tag (" + ColumnList(ColumnDefinition) + ")"; }

Status PutTagRow(Connection& connection, const Tag& properties) {
  Query put(connection, PutSql());
  ForEachColumn([&](const PropertyColumn& column) {
    std::visit([&](auto member) { put.Bind(properties.*member); }, column.member);
  });
  return put.Run();
}

Result<std::vector<Tag>> LoadTagRows(Connection& connection) {
  std::vector<Tag> tags;
  Query rows(connection, LoadSql());
  while (rows.Next()) tags.push_back(ReadTag(rows));
  if (!rows.status().ok()) return rows.status();
  return tags;
}

}  // namespace zervane::storage
