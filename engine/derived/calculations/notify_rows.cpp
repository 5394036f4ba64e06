#include "engine/derived/calculations/notify_rows.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <variant>

#include "engine/storage/cells.h"

namespace zervane {
namespace {

using Format = RowFormat<NotifyReason>;

void Put(TagId tag, StoreBatch& batch) { Table<NotifyReason>::Put({.tag = tag}, batch); }

// Room for so many more, at least twice as much as before.
void ReserveFor(std::size_t more, std::vector<TagId>& tags) {
  const std::size_t size = tags.size() + more;
  if (size > tags.capacity()) tags.reserve(std::max(size, 2 * tags.capacity()));
}

}  // namespace

// The time says nothing: there is one row for a tag.
Row Format::KeyCells(Key tag) {
  return {CellOf(std::string(kTask)), CellOf(tag), CellOf(std::int64_t{0})};
}

Row Format::AllKeys() { return {CellOf(std::string(kTask))}; }

Row Format::RowOf(const NotifyReason& reason) {
  Row row = KeyCells(reason.tag);
  row.emplace_back();
  return row;
}

std::optional<NotifyReason> Format::FromRow(RowView row) {
  NotifyReason reason;
  std::int64_t time = 0;
  const bool is_such = FromCell(row[1], &reason.tag) && reason.tag != 0 &&
                       FromCell(row[2], &time) && time == 0 &&
                       std::holds_alternative<std::monostate>(row[3]);
  return is_such ? std::optional(reason) : std::nullopt;
}

Status NotifyRows::Load(Turn& turn, Store& store) {
  turn.AssertHeld();
  return Table<NotifyReason>(store).Visit(
      {.table = Format::kTable, .from = Format::AllKeys(), .to = Format::AllKeys()},
      std::numeric_limits<std::size_t>::max(), [this](const NotifyReason& reason) {
        reasons_.At(reason.tag).since = 1;
        standing_.push_back(reason.tag);
        return true;
      });
}

// Everything that needs memory, so that keeping it cannot fail.
void NotifyRows::PrepareValue(TagId tag, std::uint64_t number, StoreBatch& batch) {
  Reason& reason = reasons_.At(tag);
  if (reason.prepared == number) return;
  valued_.push_back(tag);
  reason.prepared = number;
  if (reason.since != 0) return;
  Put(tag, batch);
  ReserveFor(valued_.size(), standing_);
}

void NotifyRows::PrepareRemoval(TagId tag, StoreBatch& batch) {
  const Reason* const reason = reasons_.Find(tag);
  if (reason == nullptr || reason->since == 0) return;
  removed_.push_back(tag);
  Table<NotifyReason>::Remove(tag, batch);
}

void NotifyRows::PrepareDone(std::uint64_t through, StoreBatch& batch) {
  for (const TagId tag : standing_) {
    const Reason& reason = *reasons_.Find(tag);
    const bool is_left = reason.since > through || reason.prepared != 0;
    (is_left ? left_ : done_).push_back(tag);
    if (is_left) Put(tag, batch);
  }
  ReserveFor(valued_.size(), left_);
  is_all_done_ = true;
}

RowChange NotifyRows::AllDone() {
  return {.table = Format::kTable, .key = Format::AllKeys(), .row = {}};
}

bool NotifyRows::IsAllDone(const RowChange& change) {
  if (change.table != Format::kTable || change.row || change.key.size() != 1) return false;
  const auto* const task = std::get_if<CellBytes>(&change.key[0]);
  return task != nullptr && *task == Format::kTask;
}

void NotifyRows::Keep() noexcept {
  if (is_all_done_) standing_.swap(left_);
  for (const TagId tag : done_) reasons_.Find(tag)->since = 0;
  for (const TagId tag : removed_) {
    reasons_.Find(tag)->since = 0;
    std::erase(standing_, tag);
  }
  for (const TagId tag : valued_) {
    Reason& reason = *reasons_.Find(tag);
    if (reason.since == 0) standing_.push_back(tag);
    reason.since = reason.prepared;
  }
  Discard();
}

void NotifyRows::Discard() noexcept {
  for (const TagId tag : valued_) reasons_.Find(tag)->prepared = 0;
  valued_.clear();
  removed_.clear();
  is_all_done_ = false;
  done_.clear();
  left_.clear();
}

}  // namespace zervane
