#include "engine/catalogue/tag_rows.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>
#include <vector>

#include "api/words/tag_columns.h"
#include "engine/storage/cells.h"
#include "engine/storage/table.h"

namespace zervane {
namespace {

struct OwnTable {
  std::int32_t tag_class;
  TableId table;
};

// The classes whose tags have rows of a table of their own. Point tags have all in the table of
// tags.
constexpr OwnTable kOwnTables[] = {{ZR3_TAG_CLASS_ALARM, TableId::kAlarmTag},
                                   {ZR3_TAG_CLASS_STATS, TableId::kStatisticsTag},
                                   {ZR3_TAG_CLASS_CALC, TableId::kCalculationTag}};

const OwnTable* FindOwnTable(std::int32_t tag_class) {
  const auto* const found = std::ranges::find(kOwnTables, tag_class, &OwnTable::tag_class);
  return found == std::end(kOwnTables) ? nullptr : found;
}

Row KeyCells(TagId id) { return {CellOf(id)}; }

// What a row of a class's own table says.
struct OwnRow {
  TagId id = 0;
  OwnProperties own;
};

bool ReadOwnRow(RowView row, std::int32_t tag_class, OwnRow& read) {
  Tag tag;
  tag.own = DefaultOwnProperties(tag_class);
  bool is_whole = FromCell(row.front(), &read.id);
  std::size_t at = 0;
  for (const PropertyColumn& column : OwnColumns(tag_class)) {
    const CellView& cell = row[++at];
    VisitProperty(column, tag, [&](auto& value) { is_whole = is_whole && FromCell(cell, &value); });
  }
  read.own = std::move(tag.own);
  return is_whole;
}

// The rows of one class's table, which are taken in order of identifier.
class OwnRows {
 public:
  explicit OwnRows(const OwnTable& table) : table_(table) {}

  Status Load(Store& store) {
    bool is_whole = true;
    const auto read = [&](RowView row) {
      is_whole = ReadOwnRow(row, table_.tag_class, rows_.emplace_back());
      return is_whole;
    };
    Status status =
        store.Rows({.table = table_.table}, std::numeric_limits<std::size_t>::max(), read);
    return status.ok() && !is_whole ? DamagedRow(table_.table) : status;
  }

  std::int32_t tag_class() const { return table_.tag_class; }

  // The properties of the tag, which is behind all that were taken; false when the next row is not
  // the tag's.
  bool Take(TagId id, OwnProperties& own) {
    if (taken_ == rows_.size() || rows_[taken_].id != id) return false;
    own = std::move(rows_[taken_++].own);
    return true;
  }

  // All rows must be some tag's.
  Status CheckTaken() const {
    if (taken_ == rows_.size()) return {};
    return {ZR3_ERR_STORAGE_DAMAGED,
            fmt::format("own properties of a tag {} that is none", rows_[taken_].id)};
  }

 private:
  const OwnTable table_;
  std::vector<OwnRow> rows_;
  std::size_t taken_ = 0;
};

}  // namespace

void PutTagRows(const Tag& tag, StoreBatch& batch) {
  Table<Tag>::Put(tag, batch);
  PutOwnRow(tag, batch);
}

void PutOwnRow(const Tag& tag, StoreBatch& batch) {
  const std::int32_t tag_class = ClassOf(tag.own);
  const OwnTable* const table = FindOwnTable(tag_class);
  if (table == nullptr) return;
  Row row = KeyCells(tag.id);
  row.reserve(1 + OwnColumns(tag_class).size());
  for (const PropertyColumn& column : OwnColumns(tag_class)) {
    VisitProperty(column, tag, [&](const auto& value) { row.push_back(CellOf(value)); });
  }
  batch.rows.push_back({.table = table->table, .key = KeyCells(tag.id), .row = std::move(row)});
}

void RemoveTagRows(TagId id, std::int32_t tag_class, StoreBatch& batch) {
  Table<Tag>::Remove(id, batch);
  const OwnTable* const table = FindOwnTable(tag_class);
  if (table == nullptr) return;
  batch.rows.push_back({.table = table->table, .key = KeyCells(id), .row = {}});
}

Status VisitTags(Store& store, const std::function<bool(const Tag&)>& take) {
  std::vector<OwnRows> classes;
  for (const OwnTable& table : kOwnTables) {
    if (Status status = classes.emplace_back(table).Load(store); !status.ok()) return status;
  }
  Status fault;
  bool goes_on = true;
  const auto join = [&](Tag tag) {
    const auto own = std::ranges::find(classes, tag.tag_class, &OwnRows::tag_class);
    if (own != classes.end() && !own->Take(tag.id, tag.own)) {
      fault = {ZR3_ERR_STORAGE_DAMAGED, fmt::format("tag {} has no own properties", tag.id)};
      return false;
    }
    goes_on = take(tag);
    return goes_on;
  };
  Status status = Table<Tag>(store).Visit({.table = TableId::kTag},
                                          std::numeric_limits<std::size_t>::max(), join);
  if (!fault.ok()) return fault;
  if (!status.ok() || !goes_on) return status;
  for (const OwnRows& own : classes) {
    if (Status left = own.CheckTaken(); !left.ok()) return left;
  }
  return {};
}

}  // namespace zervane
