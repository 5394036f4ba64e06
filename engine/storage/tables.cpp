#include "engine/storage/tables.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "api/words/tag_columns.h"

namespace zervane {
namespace {

using Kind = TableColumn::Kind;

// The table with its indexes made whole: the key's first, and the key appended to the others.
TableInfo Completed(TableInfo table) {
  std::vector<std::size_t> key(table.key_columns);
  std::iota(key.begin(), key.end(), std::size_t{0});
  for (std::vector<std::size_t>& index : table.indexes) {
    for (const std::size_t column : key) {
      if (std::ranges::count(index, column) == 0) index.push_back(column);
    }
  }
  table.indexes.insert(table.indexes.begin(), std::move(key));
  return table;
}

// What is kept of the database as a whole, by name.
TableInfo Settings() {
  return {.id = TableId::kSettings,
          .name = "settings",
          .columns = {{"name", Kind::kText}, {"value", Kind::kAny}},
          .key_columns = 1,
          .indexes = {}};
}

Kind KindOf(PropertyKind property) {
  switch (property) {
    case PropertyKind::kText:
      return Kind::kBytes;
    case PropertyKind::kFloat32:
    case PropertyKind::kFloat64:
      return Kind::kReal;
    default:
      return Kind::kInteger;
  }
}

// A column for each property, so that the table of properties alone says what a tag has.
TableInfo Tags() {
  TableInfo table{.id = TableId::kTag,
                  .name = "tag",
                  .columns = {{"id", Kind::kInteger}},
                  .key_columns = 1,
                  .indexes = {}};
  for (const auto columns : {CommonColumns(), PointColumns()}) {
    for (const PropertyColumn& column : columns) {
      if (column.column == ZR3_TAG_COL_COMM_PROP_TAGID) continue;  // the key
      table.columns.push_back({column.name, KindOf(column.kind)});
    }
  }
  return table;
}

// What is still to be done, of which tag and by when; what does it removes the row.
TableInfo Progress() {
  return {.id = TableId::kProgress,
          .name = "progress",
          .columns = {{"task", Kind::kText},
                      {"tag", Kind::kInteger},
                      {"time", Kind::kInteger},
                      {"detail", Kind::kAny}},
          .key_columns = 3,
          .indexes = {{1}}};
}

// What the tags of a class have beyond what all tags have, which stands in the table of tags.
TableInfo OwnTable(TableId id, std::string_view name, std::int32_t tag_class) {
  TableInfo table{
      .id = id, .name = name, .columns = {{"id", Kind::kInteger}}, .key_columns = 1, .indexes = {}};
  for (const PropertyColumn& column : OwnColumns(tag_class)) {
    table.columns.push_back({column.name, KindOf(column.kind)});
  }
  return table;
}

// Which tags a tag reads or sets: its source and others, each in a place that its class knows. It
// is kept by identifier, so that a tag that is renamed stays what it was to others.
TableInfo TagLinks() {
  return {
      .id = TableId::kTagLink,
      .name = "tag_link",
      .columns = {{"tag", Kind::kInteger}, {"place", Kind::kInteger}, {"target", Kind::kInteger}},
      .key_columns = 2,
      .indexes = {}};
}

TableInfo AlarmGroups() {
  return {.id = TableId::kAlarmGroup,
          .name = "alarm_group",
          .columns = {{"id", Kind::kInteger},
                      {"parent", Kind::kInteger},
                      {"name", Kind::kBytes},
                      {"description", Kind::kBytes}},
          .key_columns = 1,
          .indexes = {}};
}

// The fields of AlarmRecord in their order.
TableInfo AlarmRecords() {
  return {.id = TableId::kAlarmRecord,
          .name = "alarm_record",
          .columns = {{"tag", Kind::kInteger},
                      {"start", Kind::kInteger},
                      {"end", Kind::kInteger},
                      {"acknowledged_at", Kind::kInteger},
                      {"commented_at", Kind::kInteger},
                      {"acknowledged", Kind::kInteger},
                      {"restored", Kind::kInteger},
                      {"priority", Kind::kInteger},
                      {"acknowledgement", Kind::kInteger},
                      {"type", Kind::kInteger},
                      {"source_value", Kind::kBytes},
                      {"test", Kind::kBytes},
                      {"comment", Kind::kBytes},
                      {"acknowledged_by", Kind::kBytes},
                      {"commented_by", Kind::kBytes}},
          .key_columns = 2,
          .indexes = {{1, 0}, {5, 1, 0}, {6, 1, 0}}};
}

// Of an alarm tag the record that stands, and of each of its tests since when it holds, with which
// value, when that was stored, and what its action is in a chain of such.
TableInfo StandingAlarms() {
  TableInfo table{
      .id = TableId::kStandingAlarm,
      .name = "standing_alarm",
      .columns = {{"tag", Kind::kInteger}, {"position", Kind::kInteger}, {"start", Kind::kInteger}},
      .key_columns = 1,
      .indexes = {}};
  static constexpr std::array kNames = {"holds", "since", "value", "stored", "depth", "share"};
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (int test = 1; test <= 4; ++test) {
      for (const char* name : kNames) all.push_back(name + std::to_string(test));
    }
    return all;
  }();
  for (std::size_t at = 0; at < names.size(); ++at) {
    table.columns.push_back({names[at], at % kNames.size() == 2 ? Kind::kReal : Kind::kInteger});
  }
  return table;
}

// A password is kept as what it is checked with; nothing when there is none.
TableInfo Users() {
  return {.id = TableId::kUser,
          .name = "user",
          .columns = {{"id", Kind::kInteger},
                      {"name", Kind::kBytes},
                      {"description", Kind::kBytes},
                      {"password", Kind::kBytes}},
          .key_columns = 1,
          .indexes = {}};
}

TableInfo UserGroups() {
  return {
      .id = TableId::kUserGroup,
      .name = "user_group",
      .columns = {{"id", Kind::kInteger}, {"name", Kind::kBytes}, {"description", Kind::kBytes}},
      .key_columns = 1,
      .indexes = {}};
}

// Which users are in which groups.
TableInfo Members() {
  return {.id = TableId::kMember,
          .name = "member",
          .columns = {{"user_group", Kind::kInteger}, {"user", Kind::kInteger}},
          .key_columns = 2,
          .indexes = {}};
}

// Numbers before bytes, nothing before both.
int RankOf(const CellView& cell) { return cell.index() == 2 ? 1 : static_cast<int>(cell.index()); }

int Order(auto a, auto b) { return a < b ? -1 : (b < a ? 1 : 0); }

double NumberOf(const CellView& cell) {
  const auto* whole = std::get_if<std::int64_t>(&cell);
  return whole != nullptr ? static_cast<double>(*whole) : std::get<double>(cell);
}

bool Suits(const Cell& cell, Kind kind) {
  switch (kind) {
    case Kind::kInteger:
      return std::holds_alternative<std::int64_t>(cell);
    case Kind::kReal:
      return std::holds_alternative<double>(cell) || std::holds_alternative<std::monostate>(cell);
    case Kind::kText:
    case Kind::kBytes:
      return std::holds_alternative<CellBytes>(cell);
    case Kind::kAny:
      return true;
  }
  return false;
}

}  // namespace

std::span<const TableInfo> AllTables() {
  static const std::vector<TableInfo> tables = {
      Completed(Settings()),
      Completed(Tags()),
      Completed(Progress()),
      Completed(OwnTable(TableId::kAlarmTag, "alarm_tag", ZR3_TAG_CLASS_ALARM)),
      Completed(TagLinks()),
      Completed(AlarmGroups()),
      Completed(AlarmRecords()),
      Completed(StandingAlarms()),
      Completed(OwnTable(TableId::kStatisticsTag, "statistics_tag", ZR3_TAG_CLASS_STATS)),
      Completed(OwnTable(TableId::kCalculationTag, "calculation_tag", ZR3_TAG_CLASS_CALC)),
      Completed(Users()),
      Completed(UserGroups()),
      Completed(Members())};
  return tables;
}

int CompareCells(const CellView& a, const CellView& b) {
  if (const int ranks = Order(RankOf(a), RankOf(b)); ranks != 0) return ranks;
  if (a.index() == b.index()) {
    if (const auto* whole = std::get_if<std::int64_t>(&a)) {
      return Order(*whole, std::get<std::int64_t>(b));
    }
    if (const auto* bytes = std::get_if<std::string_view>(&a)) {
      return Order(*bytes, std::get<std::string_view>(b));
    }
    if (std::holds_alternative<std::monostate>(a)) return 0;
  }
  return Order(NumberOf(a), NumberOf(b));
}

CellView ViewOf(const Cell& cell) {
  return std::visit([](const auto& held) { return CellView(held); }, cell);
}

Cell CopyOf(const CellView& cell) {
  return std::visit(
      []<typename T>(const T& held) {
        if constexpr (std::is_same_v<T, std::string_view>) {
          return Cell(std::string(held));
        } else {
          return Cell(held);
        }
      },
      cell);
}

bool IsWhole(const RowChange& change) {
  const TableInfo& table = InfoOf(change.table);
  const std::size_t cells = change.key.size();
  const bool is_key = change.row ? cells == table.key_columns : cells <= table.key_columns;
  if (cells == 0 || !is_key) return false;
  for (std::size_t at = 0; at < cells; ++at) {
    if (!Suits(change.key[at], table.columns[at].kind)) return false;
  }
  if (!change.row) return true;
  const Row& row = *change.row;
  if (row.size() != table.columns.size()) return false;
  for (std::size_t at = 0; at < row.size(); ++at) {
    if (!Suits(row[at], table.columns[at].kind)) return false;
  }
  return std::equal(change.key.begin(), change.key.end(), row.begin());
}

bool IsWhole(const RowRange& range) {
  const TableInfo& table = InfoOf(range.table);
  if (range.index >= table.indexes.size()) return false;
  const std::size_t cells = table.indexes[range.index].size();
  return range.from.size() <= cells && range.to.size() <= cells;
}

}  // namespace zervane
