#include "engine/derived/calculations/history_progress.h"

#include <spdlog/fmt/fmt.h>

#include <charconv>
#include <cmath>
#include <string>
#include <system_error>
#include <variant>

#include "engine/storage/cells.h"

namespace zervane {
namespace {

using Format = RowFormat<HistoryProgress>;

// Reads a number at the beginning of the text, and the space behind it, if there is one.
template <typename T>
bool RemoveNumber(std::string_view* text, T* number) {
  const auto [rest, fault] = std::from_chars(text->data(), text->data() + text->size(), *number);
  if (fault != std::errc()) return false;
  text->remove_prefix(static_cast<std::size_t>(rest - text->data()));
  if (text->empty()) return true;
  const bool is_space = text->front() == ' ' && text->size() > 1;
  text->remove_prefix(1);
  return is_space;
}

bool IsWhole(const HistoryProgress& progress) {
  return progress.key.tag != 0 && progress.from_ms > 0 && progress.from_ms <= progress.next_ms &&
         !progress.IsDone() && progress.key.until_ms <= kMaxTimeMs &&
         std::isfinite(progress.previous.value_or(0));
}

}  // namespace

Row Format::KeyCells(const Key& key) {
  Row cells = KeysOf(key.tag);
  cells.push_back(CellOf(key.until_ms));
  return cells;
}

Row Format::KeysOf(TagId tag) {
  Row cells = AllKeys();
  cells.push_back(CellOf(tag));
  return cells;
}

Row Format::AllKeys() { return {CellOf(std::string(kTask))}; }

Row Format::RowOf(const HistoryProgress& progress) {
  std::string detail = fmt::format("{} {}", progress.from_ms, progress.next_ms);
  if (progress.previous) detail += fmt::format(" {}", *progress.previous);
  Row row = KeyCells(progress.key);
  row.push_back(CellOf(detail));
  return row;
}

std::optional<HistoryProgress> Format::FromRow(RowView row) {
  HistoryProgress progress;
  std::string detail;
  if (!FromCell(row[1], &progress.key.tag) || !FromCell(row[2], &progress.key.until_ms) ||
      !FromCell(row[3], &detail)) {
    return std::nullopt;
  }
  std::string_view rest = detail;
  if (!RemoveNumber(&rest, &progress.from_ms) || !RemoveNumber(&rest, &progress.next_ms)) {
    return std::nullopt;
  }
  double previous = 0;
  if (!rest.empty()) {
    if (!RemoveNumber(&rest, &previous) || !rest.empty()) return std::nullopt;
    progress.previous = previous;
  }
  return IsWhole(progress) ? std::optional(progress) : std::nullopt;
}

std::optional<HistoryProgress::Key> StretchOf(const RowChange& change) {
  if (change.table != Format::kTable || change.key.size() != 3) return std::nullopt;
  const auto* const task = std::get_if<CellBytes>(&change.key[0]);
  if (task == nullptr || *task != Format::kTask) return std::nullopt;
  return HistoryProgress::Key{.tag = static_cast<TagId>(std::get<std::int64_t>(change.key[1])),
                              .until_ms = std::get<std::int64_t>(change.key[2])};
}

}  // namespace zervane
