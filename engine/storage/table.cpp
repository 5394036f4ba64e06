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
  static const Tag other_class;  // has its own properties elsewhere
  const bool is_point = std::holds_alternative<PointProperties>(tag.own);
  Row row = KeyCells(tag.id);
  row.reserve(InfoOf(kTable).columns.size());
  ForEachCell([&](const PropertyColumn& column) {
    const bool is_own = column.column >= ZR3_TAG_COL_PT_EXT_PROP_MIN;
    VisitProperty(column, is_own && !is_point ? other_class : tag,
                  [&](const auto& value) { row.push_back(CellOf(value)); });
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
  if (!is_whole) return std::nullopt;
  if (tag.tag_class != ZR3_TAG_CLASS_BASIC) tag.own = DefaultOwnProperties(tag.tag_class);
  return tag;
}

std::optional<Setting> RowFormat<Setting>::FromRow(RowView row) {
  Setting setting;
  if (!FromCell(row[0], &setting.name)) return std::nullopt;
  setting.value = CopyOf(row[1]);
  return setting;
}

}  // namespace zervane
