#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "api/words/status.h"
#include "engine/storage/row.h"
#include "engine/storage/tables.h"

namespace zervane::storage {

// A row in one piece of memory, since most cells are small and there may be millions of rows.
class PackedRow {
 public:
  explicit PackedRow(const Row& row);

  // The cells, into `cells`; valid for as long as the row.
  void Unpack(std::vector<CellView>* cells) const;

 private:
  std::string bytes_;  // of each cell its kind and what it holds
};

// The rows of one table in memory, in the order of each of its indexes.
//
// Invariant: every index has an entry for each row.
//
// Threads: as a container.
class RowTable {
 private:
  // A row's cells of one index are before another's, or before those that begin as a bound's.
  struct Before {
    struct Bound {
      const Row& cells;
    };
    using is_transparent = void;

    bool operator()(const Row& a, const Row& b) const;
    bool operator()(const Row& a, Bound b) const { return OrderToBound(a, b.cells) < 0; }
    bool operator()(Bound a, const Row& b) const { return OrderToBound(b, a.cells) > 0; }
  };
  static int OrderToBound(const Row& cells, const Row& bound);
  struct Entry {
    PackedRow row;
    std::vector<Row> places;  // its cells of index 1 and up
  };
  using Index = std::map<Row, std::shared_ptr<const Entry>, Before>;

 public:
  explicit RowTable(const TableInfo& info) : info_(info), indexes_(info.indexes.size()) {}

  // What carrying a change out needs, made before, so that it cannot fail.
  class Prepared {
   private:
    friend class RowTable;

    Row key_;                     // of what is removed its first cells, or all
    std::vector<Index> entries_;  // for each index one entry of the row; none: it is removed
  };

  Prepared Prepare(const RowChange& change) const;
  void Carry(Prepared change) noexcept;

  bool Has(const Row& key) const { return indexes_.front().contains(key); }

  // As Store::Rows.
  void Visit(const RowRange& range, std::size_t limit, const RowVisitor& visit) const;

 private:
  // The rows whose keys begin so.
  void Remove(const Row& key) noexcept;

  const TableInfo& info_;
  std::vector<Index> indexes_;  // the key's first
};

}  // namespace zervane::storage
