#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string_view>

#include "api/words/value.h"
#include "engine/storage/table.h"

namespace zervane {

// How far a calculation tag is computed over a stretch of the past. It stands as a row of
// `progress`, which changes with every batch of results and goes with the last one: so computing
// goes on exactly where it was, whenever it ended.
struct HistoryProgress {
  struct Key {
    TagId tag = 0;
    std::int64_t until_ms = 0;  // the end of the stretch, which is part of it
    friend auto operator<=>(const Key&, const Key&) = default;
  };

  Key key;
  std::int64_t from_ms = 0;  // where it begins
  std::int64_t next_ms = 0;  // before it all is computed
  // The value of the last result, which a bad one repeats; none before the first.
  std::optional<double> previous = std::nullopt;

  bool IsDone() const { return next_ms > key.until_ms; }

  friend bool operator==(const HistoryProgress&, const HistoryProgress&) = default;
};

template <>
struct RowFormat<HistoryProgress> {
  static constexpr TableId kTable = TableId::kProgress;
  static constexpr std::string_view kTask = "calculation_history";

  using Key = HistoryProgress::Key;
  static const Key& KeyOf(const HistoryProgress& progress) { return progress.key; }
  static Row KeyCells(const Key& key);
  // What the keys of all stretches of a tag, or of all tags, begin with.
  static Row KeysOf(TagId tag);
  static Row AllKeys();
  static Row RowOf(const HistoryProgress& progress);
  static std::optional<HistoryProgress> FromRow(RowView row);
};

// The stretch whose row the change puts or removes; none when it is another's row.
std::optional<HistoryProgress::Key> StretchOf(const RowChange& change);

}  // namespace zervane
