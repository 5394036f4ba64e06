#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

// Rows of tables, as every store keeps them.
namespace zervane {

// The tables, which docs/file-layout.md explains. Their columns and indexes are listed in tables.h.
enum class TableId : std::uint8_t {
  kSettings,
  kTag,
  kProgress,
  kAlarmTag,
  kTagLink,
  kAlarmGroup,
  kAlarmRecord,
  kStandingAlarm,
  kStatisticsTag,
  kCalculationTag,
  kUser,
  kUserGroup,
  kMember,
};

// The bytes of a cell. They are a type of their own because libstdc++ 12 takes a variant of numbers
// and std::string for one that always has a value, which it has not when copying a string has
// failed.
class CellBytes : public std::string {
 public:
  using std::string::string;
  // NOLINTNEXTLINE(google-explicit-constructor): they are what they are made of
  CellBytes(std::string bytes) : std::string(std::move(bytes)) {}
};

// One cell: nothing, a whole number, a floating-point one, or bytes. A NaN is kept as nothing.
using Cell = std::variant<std::monostate, std::int64_t, double, CellBytes>;
// The same where the bytes are another's.
using CellView = std::variant<std::monostate, std::int64_t, double, std::string_view>;

// A row: a cell for each of the table's columns, the key's first.
using Row = std::vector<Cell>;
using RowView = std::span<const CellView>;

// Puts a row in the place of the one of its key, or removes that. A key to remove may be given by
// its first cells alone: all rows go whose key begins so.
struct RowChange {
  TableId table = TableId::kSettings;
  Row key = {};                 // the key's cells; to remove, its first one at least
  std::optional<Row> row = {};  // the whole row, key included; none: it is removed
};

// Rows of an index whose first cells lie within bounds, both of which belong; a bound of fewer
// cells than the index has columns stands for all rows that begin so, an empty one is none. Cells
// are in order: nothing, numbers by their value, bytes as unsigned ones.
struct RowRange {
  TableId table = TableId::kSettings;
  std::size_t index = 0;  // 0 is the key, others as listed with the table
  Row from = {};
  Row to = {};
  bool is_backward = false;
  // Leaves out the rows whose index cells begin as `from` (backward: `to`), to go on behind them.
  bool is_behind = false;
};

// Whether to go on. The cells are valid for the length of the call.
using RowVisitor = std::function<bool(RowView)>;

}  // namespace zervane
