#include "engine/derived/statistics_tags/progress_rows.h"

#include <spdlog/fmt/fmt.h>

#include <array>
#include <charconv>
#include <cstddef>
#include <string>
#include <system_error>
#include <variant>

#include "engine/storage/cells.h"

namespace zervane {
namespace {

// Reads so many whole numbers, with a space between two, and nothing else.
template <std::size_t kCount>
std::optional<std::array<std::int64_t, kCount>> NumbersIn(std::string_view text) {
  std::array<std::int64_t, kCount> numbers;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::size_t number = 0; number < kCount; ++number) {
    if (number > 0 && (at == end || *at++ != ' ')) return std::nullopt;
    const auto [rest, fault] = std::from_chars(at, end, numbers[number]);
    if (fault != std::errc()) return std::nullopt;
    at = rest;
  }
  if (at != end) return std::nullopt;
  return numbers;
}

bool IsTimeOrNone(std::int64_t time_ms) { return time_ms >= kNoTime && time_ms <= kMaxTimeMs; }

}  // namespace

// ---- how far a tag is ----

Row RowFormat<StatisticsProgress>::KeyCells(Key tag) {
  Row cells = AllKeys();
  cells.push_back(CellOf(tag));
  cells.push_back(CellOf(0));
  return cells;
}

Row RowFormat<StatisticsProgress>::AllKeys() { return {CellOf(std::string(kTask))}; }

Row RowFormat<StatisticsProgress>::RowOf(const StatisticsProgress& progress) {
  Row row = KeyCells(progress.tag);
  row.push_back(CellOf(fmt::format("{} {} {} {} {} {} {}", progress.until_ms, progress.from_ms,
                                   progress.seen_ms, progress.first_record_ms, progress.reset_ms,
                                   progress.gap.after_ms, progress.gap.until_ms)));
  return row;
}

std::optional<StatisticsProgress> RowFormat<StatisticsProgress>::FromRow(RowView row) {
  StatisticsProgress progress;
  std::string detail;
  if (!FromCell(row[1], &progress.tag) || !FromCell(row[3], &detail)) return std::nullopt;
  const auto numbers = NumbersIn<7>(detail);
  if (!numbers) return std::nullopt;
  for (const std::int64_t time_ms : *numbers) {
    if (!IsTimeOrNone(time_ms)) return std::nullopt;
  }
  progress.until_ms = (*numbers)[0];
  progress.from_ms = (*numbers)[1];
  progress.seen_ms = (*numbers)[2];
  progress.first_record_ms = (*numbers)[3];
  progress.reset_ms = (*numbers)[4];
  progress.gap = {.after_ms = (*numbers)[5], .until_ms = (*numbers)[6]};
  return progress;
}

// ---- what is computed again ----

Row RowFormat<LateStretch>::KeyCells(const Key& key) {
  Row cells = KeysOf(key.tag);
  cells.push_back(CellOf(key.time_ms));
  return cells;
}

Row RowFormat<LateStretch>::KeysOf(TagId tag) {
  Row cells = AllKeys();
  cells.push_back(CellOf(tag));
  return cells;
}

Row RowFormat<LateStretch>::AllKeys() { return {CellOf(std::string(kTask))}; }

Row RowFormat<LateStretch>::RowOf(const LateStretch& late) {
  Row row = KeyCells(late.key);
  row.push_back(CellOf(fmt::format("{} {}", late.first_ms, late.last_ms)));
  return row;
}

std::optional<LateStretch> RowFormat<LateStretch>::FromRow(RowView row) {
  LateStretch late;
  std::string detail;
  if (!FromCell(row[1], &late.key.tag) || !FromCell(row[2], &late.key.time_ms) ||
      !FromCell(row[3], &detail)) {
    return std::nullopt;
  }
  const auto numbers = NumbersIn<2>(detail);
  if (!numbers) return std::nullopt;
  late.first_ms = (*numbers)[0];
  late.last_ms = (*numbers)[1];
  if (late.first_ms < 0 || late.last_ms < late.first_ms) return std::nullopt;
  return late;
}

bool IsOfStatistics(const RowChange& change) {
  if (change.table != TableId::kProgress || change.key.empty()) return false;
  const auto* const task = std::get_if<CellBytes>(&change.key[0]);
  return task != nullptr &&
         (*task == RowFormat<StatisticsProgress>::kTask || *task == RowFormat<LateStretch>::kTask);
}

}  // namespace zervane
