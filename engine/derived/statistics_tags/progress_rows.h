#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "api/words/value.h"
#include "engine/storage/table.h"

namespace zervane {

// Windows that are passed over: those that end behind the one time and up to the other.
struct WindowGap {
  std::int64_t after_ms = kNoTime;
  std::int64_t until_ms = kNoTime;

  friend bool operator==(const WindowGap&, const WindowGap&) = default;
};

// How far a statistics tag is. Times are kNoTime where there is none.
struct StatisticsProgress {
  TagId tag = 0;
  // Windows that end up to it are done: they were computed, or are not to be.
  std::int64_t until_ms = kNoTime;
  // Those that end up to it are none of the present properties.
  std::int64_t from_ms = kNoTime;
  // When this was written: what ends up to it is the tag's past, or closed while the database was
  // open. All of it is computed but for the gap.
  std::int64_t seen_ms = 0;
  // The source's first record, down to the second, once it was found for a tag without a start.
  std::int64_t first_record_ms = kNoTime;
  // When it was last told to start anew.
  std::int64_t reset_ms = kNoTime;
  // Of what closed while the database was shut, as long as there is something to do before it.
  WindowGap gap = {};

  friend bool operator==(const StatisticsProgress&, const StatisticsProgress&) = default;
};

// Each statistics tag has one, by identifier.
template <>
struct RowFormat<StatisticsProgress> {
  static constexpr TableId kTable = TableId::kProgress;
  static constexpr std::string_view kTask = "statistics";

  using Key = TagId;
  static Key KeyOf(const StatisticsProgress& progress) { return progress.tag; }
  static Row KeyCells(Key tag);
  static Row AllKeys();
  static Row RowOf(const StatisticsProgress& progress);
  static std::optional<StatisticsProgress> FromRow(RowView row);
};

// Windows that are to be computed again, because late records came: those that share an instant
// with the stretch. It waits until the batch removes it that has them all, or the last of them.
struct LateStretch {
  struct Key {
    TagId tag = 0;             // the statistics tag
    std::int64_t time_ms = 0;  // of its own among the tag's: where it began, or an instant behind
    friend bool operator==(const Key&, const Key&) = default;
  };

  Key key;
  std::int64_t first_ms = 0;
  std::int64_t last_ms = 0;

  friend bool operator==(const LateStretch&, const LateStretch&) = default;
};

template <>
struct RowFormat<LateStretch> {
  static constexpr TableId kTable = TableId::kProgress;
  static constexpr std::string_view kTask = "statistics_late";

  using Key = LateStretch::Key;
  static const Key& KeyOf(const LateStretch& late) { return late.key; }
  static Row KeyCells(const Key& key);
  // What the keys of all stretches of a tag, or of all of them, begin with.
  static Row KeysOf(TagId tag);
  static Row AllKeys();
  static Row RowOf(const LateStretch& late);
  static std::optional<LateStretch> FromRow(RowView row);
};

// Whether a row is one of these.
bool IsOfStatistics(const RowChange& change);

}  // namespace zervane
