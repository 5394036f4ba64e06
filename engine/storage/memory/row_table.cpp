#include "engine/storage/memory/row_table.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace zervane::storage {
namespace {

enum class Packed : char { kNothing, kInteger, kReal, kBytes };

template <typename T>
void Append(Packed kind, T value, std::string* bytes) {
  bytes->push_back(static_cast<char>(kind));
  char plain[sizeof(T)];
  std::memcpy(plain, &value, sizeof(T));
  bytes->append(plain, sizeof(T));
}

template <typename T>
T Next(const char*& from) {
  T value;
  std::memcpy(&value, from, sizeof(T));
  from += sizeof(T);
  return value;
}

Row CellsOf(const std::vector<std::size_t>& columns, const Row& row) {
  Row cells;
  for (const std::size_t column : columns) cells.push_back(row[column]);
  return cells;
}

}  // namespace

PackedRow::PackedRow(const Row& row) {
  for (const Cell& cell : row) {
    if (const auto* whole = std::get_if<std::int64_t>(&cell)) {
      Append(Packed::kInteger, *whole, &bytes_);
    } else if (const auto* text = std::get_if<CellBytes>(&cell)) {
      Append(Packed::kBytes, text->size(), &bytes_);
      bytes_ += *text;
    } else if (const auto* real = std::get_if<double>(&cell);
               real != nullptr && !std::isnan(*real)) {
      Append(Packed::kReal, *real, &bytes_);
    } else {
      bytes_.push_back(static_cast<char>(Packed::kNothing));
    }
  }
  bytes_.shrink_to_fit();
}

void PackedRow::Unpack(std::vector<CellView>* cells) const {
  cells->clear();
  const char* from = bytes_.data();
  const char* const end = from + bytes_.size();
  while (from < end) {
    switch (static_cast<Packed>(*from++)) {
      case Packed::kNothing:
        cells->emplace_back();
        break;
      case Packed::kInteger:
        cells->emplace_back(Next<std::int64_t>(from));
        break;
      case Packed::kReal:
        cells->emplace_back(Next<double>(from));
        break;
      case Packed::kBytes: {
        const auto size = Next<std::size_t>(from);
        cells->emplace_back(std::string_view(from, size));
        from += size;
        break;
      }
    }
  }
}

bool RowTable::Before::operator()(const Row& a, const Row& b) const {
  return OrderToBound(a, b) < 0;  // an index's entries have as many cells each
}

// Of the cells that the bound has.
int RowTable::OrderToBound(const Row& cells, const Row& bound) {
  for (std::size_t at = 0; at < bound.size(); ++at) {
    const int order = CompareCells(ViewOf(cells[at]), ViewOf(bound[at]));
    if (order != 0) return order;
  }
  return 0;
}

RowTable::Prepared RowTable::Prepare(const RowChange& change) const {
  Prepared prepared;
  prepared.key_ = change.key;
  if (!change.row) return prepared;
  auto entry = std::make_shared<Entry>(Entry{.row = PackedRow(*change.row), .places = {}});
  for (std::size_t index = 1; index < indexes_.size(); ++index) {
    entry->places.push_back(CellsOf(info_.indexes[index], *change.row));
  }
  prepared.entries_.resize(indexes_.size());
  prepared.entries_[0].emplace(change.key, entry);
  for (std::size_t index = 1; index < indexes_.size(); ++index) {
    prepared.entries_[index].emplace(entry->places[index - 1], entry);
  }
  return prepared;
}

void RowTable::Carry(Prepared change) noexcept {
  Remove(change.key_);
  for (std::size_t index = 0; index < change.entries_.size(); ++index) {
    indexes_[index].merge(change.entries_[index]);
  }
}

void RowTable::Remove(const Row& key) noexcept {
  Index& by_key = indexes_.front();
  auto row = by_key.lower_bound(Before::Bound{key});
  while (row != by_key.end() && OrderToBound(row->first, key) == 0) {
    for (std::size_t index = 1; index < indexes_.size(); ++index) {
      indexes_[index].erase(row->second->places[index - 1]);
    }
    row = by_key.erase(row);
  }
}

void RowTable::Visit(const RowRange& range, std::size_t limit, const RowVisitor& visit) const {
  const Index& index = indexes_[range.index];
  std::vector<CellView> cells;
  const auto show = [&](const auto& entry) {
    entry.second->row.Unpack(&cells);
    return visit(cells) && --limit > 0;
  };
  const Before::Bound from{range.from};
  const Before::Bound to{range.to};
  if (range.is_backward) {
    auto entry =
        range.is_behind && !range.to.empty() ? index.lower_bound(to) : index.upper_bound(to);
    while (entry != index.begin()) {
      --entry;
      if (OrderToBound(entry->first, range.from) < 0 || !show(*entry)) return;
    }
  } else {
    auto entry =
        range.is_behind && !range.from.empty() ? index.upper_bound(from) : index.lower_bound(from);
    for (; entry != index.end(); ++entry) {
      if (OrderToBound(entry->first, range.to) > 0 || !show(*entry)) return;
    }
  }
}

}  // namespace zervane::storage
