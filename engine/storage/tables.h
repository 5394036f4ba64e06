#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "engine/storage/row.h"

// The tables of rows, listed once: stores of SQL make their tables and statements from here, others
// know by it what a key is.
namespace zervane {

struct TableColumn {
  // What its cells hold. Of numbers with a point, and of any kind, a cell may also hold nothing.
  enum class Kind : std::uint8_t { kInteger, kReal, kText, kBytes, kAny };

  std::string_view name;
  Kind kind = Kind::kInteger;
};

struct TableInfo {
  TableId id;
  std::string_view name;
  std::vector<TableColumn> columns;  // the key's first
  std::size_t key_columns = 1;
  // The columns of each index, of which no two rows have the same cells: 0 is the key, the others
  // end with what of the key they have not.
  std::vector<std::vector<std::size_t>> indexes;
};

// In order of identifier.
std::span<const TableInfo> AllTables();

inline const TableInfo& InfoOf(TableId table) {
  return AllTables()[static_cast<std::size_t>(table)];
}

// Less than 0, 0 or greater: cells in the order of RowRange.
int CompareCells(const CellView& a, const CellView& b);

CellView ViewOf(const Cell& cell);
Cell CopyOf(const CellView& cell);

// Whether the change is as its table wants it: a cell for every column, of its kind, and the key's
// cells those of the row; of a removal at least the key's first cell. For asserts.
bool IsWhole(const RowChange& change);
// Whether the index exists, and the bounds are no longer than it.
bool IsWhole(const RowRange& range);

// Names of settings.
constexpr std::string_view kLastIdSetting = "last_id";  // the highest identifier ever given
constexpr std::string_view kCatalogueVersionSetting = "catalogue_version";
constexpr std::string_view kLastGroupSetting = "last_alarm_group";  // the highest identifier given
constexpr std::string_view kLastUserSetting = "last_user";          // likewise
constexpr std::string_view kLastUserGroupSetting = "last_user_group";  // likewise
// What the texts of earlier layouts are in. Kept by stores themselves.
constexpr std::string_view kEncodingSetting = "encoding";

}  // namespace zervane
