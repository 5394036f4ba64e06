#include "engine/storage/table.h"

#include <spdlog/fmt/fmt.h>

#include <concepts>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "api/words/tag_columns.h"
#include "engine/storage/cells.h"
#include "engine/storage/tables.h"

namespace zervane {
namespace {

// Calls visit(column) for every column of a tag's row but the key, in the row's order.
template <typename Visit>
void ForEachCell(Visit visit) {
  for (const auto columns : {CommonColumns(), PointColumns()}) {
    for (const PropertyColumn& column : columns) {
      if (column.column != ZR3_TAG_COL_COMM_PROP_TAGID) visit(column);
    }
  }
}

}  // namespace

Status DamagedRow(TableId table) {
  return {ZR3_ERR_STORAGE_DAMAGED,
          fmt::format("a row of the table {} is none", InfoOf(table).name)};
}

Row RowFormat<Tag>::RowOf(const Tag& tag) {
  Row row = KeyCells(tag.id);
  row.reserve(InfoOf(kTable).columns.size());
  ForEachCell([&](const PropertyColumn& column) {
    VisitProperty(column, tag, [&](const auto& value) { row.push_back(CellOf(value)); });
  });
  return row;
}

std::optional<Tag> RowFormat<Tag>::FromRow(RowView row) {
  Tag tag;
  tag.own = PointProperties();
  bool is_whole = FromCell(row.front(), &tag.id);
  std::size_t at = 0;
  ForEachCell([&](const PropertyColumn& column) {
    const CellView& cell = row[++at];
    VisitProperty(column, tag, [&](auto& value) { is_whole = is_whole && FromCell(cell, &value); });
  });
  return is_whole ? std::optional(std::move(tag)) : std::nullopt;
}

std::optional<Setting> RowFormat<Setting>::FromRow(RowView row) {
  Setting setting;
  if (!FromCell(row[0], &setting.name)) return std::nullopt;
  setting.value = CopyOf(row[1]);
  return setting;
}

}  // namespace zervane
