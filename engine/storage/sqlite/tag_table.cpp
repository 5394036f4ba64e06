#include "engine/storage/sqlite/tag_table.h"

#include <cstdint>
#include <limits>
#include <span>
#include <type_traits>

#include "api/words/tag_columns.h"

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
const char* SqlTypeOf(PropertyKind kind) {
  switch (kind) {
    case PropertyKind::kText:
      return " BLOB NOT NULL";
    case PropertyKind::kFloat32:
    case PropertyKind::kFloat64:
      return " REAL";
    default:
      return " INTEGER NOT NULL";
  }
}

std::string ColumnDefinition(const PropertyColumn& column) {
  const bool is_key = column.column == ZR3_TAG_COL_COMM_PROP_TAGID;
  const char* type = is_key ? " INTEGER PRIMARY KEY" : SqlTypeOf(column.kind);
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
  const auto read = [&]<typename T>(T& property) {
    const int column = index++;
    if constexpr (std::is_same_v<T, std::string>) {
      property = row.Bytes(column);
    } else if constexpr (std::is_floating_point_v<T>) {
      property = row.IsNull(column) ? std::numeric_limits<T>::quiet_NaN()
                                    : static_cast<T>(row.Real(column));
    } else {
      property = static_cast<T>(row.Integer(column));
    }
  };
  ForEachColumn([&](const PropertyColumn& column) { VisitProperty(column, properties, read); });
  return properties;
}

}  // namespace

std::string CreateTagTable() { return "CREATE TABLE tag (" + ColumnList(ColumnDefinition) + ")"; }

Status PutTagRow(Connection& connection, const Tag& properties) {
  Query put(connection, PutSql());
  ForEachColumn([&](const PropertyColumn& column) {
    VisitProperty(column, properties, [&](const auto& property) { put.Bind(property); });
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
