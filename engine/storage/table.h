#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "api/words/page.h"
#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/storage/store.h"

// The rows of one table as objects.
namespace zervane {

// ZR3_ERR_STORAGE_DAMAGED: a row that is none of its table.
Status DamagedRow(TableId table);

// What Table needs of a kind of object, specialised for each:
//
//   static constexpr TableId kTable = ...;
//   using Key = ...;
//   static Key KeyOf(const T& item);
//   static Row KeyCells(const Key& key);
//   static Row RowOf(const T& item);
//   static std::optional<T> FromRow(RowView row);  // none: no such object can have been put
template <typename T>
struct RowFormat;

// A tag, by identifier: a cell for each column of point tags. What tags of another class have of
// their own stands in a table of that class; here they are read with its defaults.
template <>
struct RowFormat<Tag> {
  static constexpr TableId kTable = TableId::kTag;
  using Key = TagId;
  static Key KeyOf(const Tag& tag) { return tag.id; }
  static Row KeyCells(Key id) { return {Cell(std::int64_t{id})}; }
  static Row RowOf(const Tag& tag);
  static std::optional<Tag> FromRow(RowView row);
};

// Something kept of the database as a whole.
struct Setting {
  std::string name;
  Cell value;

  friend bool operator==(const Setting&, const Setting&) = default;
};

template <>
struct RowFormat<Setting> {
  static constexpr TableId kTable = TableId::kSettings;
  using Key = std::string;
  static const Key& KeyOf(const Setting& setting) { return setting.name; }
  static Row KeyCells(const Key& name) { return {Cell(name)}; }
  static Row RowOf(const Setting& setting) { return {Cell(setting.name), setting.value}; }
  static std::optional<Setting> FromRow(RowView row);
};

//   Table<Tag> tags(store);
//   tags.Put(tag, batch);
//   const Result<Page<Tag>> page = tags.ReadPage(from, 1'000);
//
// Threads: any, as the store's.
template <typename T>
class Table {
 public:
  using Format = RowFormat<T>;
  using Key = typename Format::Key;

  explicit Table(Store& store) : store_(store) {}

  // Has the batch put the item in the place of the one of its key.
  static void Put(const T& item, StoreBatch& batch) {
    batch.rows.push_back({.table = Format::kTable,
                          .key = Format::KeyCells(Format::KeyOf(item)),
                          .row = Format::RowOf(item)});
  }

  // Has the batch remove the item of the key; one that is not there is no failure.
  static void Remove(const Key& key, StoreBatch& batch) {
    batch.rows.push_back({.table = Format::kTable, .key = Format::KeyCells(key), .row = {}});
  }

  // None when there is no item of the key.
  Result<std::optional<T>> Read(const Key& key) const {
    std::optional<T> found;
    const auto take = [&](T item) {
      found = std::move(item);
      return false;
    };
    RowRange range{.table = Format::kTable, .from = Format::KeyCells(key)};
    range.to = range.from;
    Status status = Visit(range, 1, take);
    if (!status.ok()) return status;
    return found;
  }

  // The items from the key on, at most `limit` of them, in order.
  Result<Page<T, Key>> ReadPage(const Key& from, std::size_t limit) const {
    return ReadPage(RowRange{.table = Format::kTable, .from = Format::KeyCells(from)}, limit);
  }

  // Those of a range of an index of the table, at most `limit`. Its next key is that of the first
  // item that is left.
  Result<Page<T, Key>> ReadPage(const RowRange& range, std::size_t limit) const {
    Page<T, Key> page;
    const auto take = [&](T item) {
      if (page.items.size() == limit) {
        page.next = Format::KeyOf(item);
      } else {
        page.items.push_back(std::move(item));
      }
      return true;
    };
    const std::size_t one_more = std::max(limit, limit + 1);  // or all that there are
    Status status = Visit(range, one_more, take);
    if (!status.ok()) return status;
    return page;
  }

  // Hands the items of a range to `take` until it answers false, or `limit` were handed over.
  // ZR3_ERR_STORAGE_DAMAGED for a row that is none of an item.
  template <typename Take>
  Status Visit(const RowRange& range, std::size_t limit, Take take) const {
    bool is_damaged = false;
    Status status = store_.Rows(range, limit, [&](RowView row) {
      std::optional<T> item = Format::FromRow(row);
      is_damaged = !item;
      return item && take(*std::move(item));
    });
    if (status.ok() && is_damaged) return DamagedRow(Format::kTable);
    return status;
  }

 private:
  Store& store_;
};

}  // namespace zervane
