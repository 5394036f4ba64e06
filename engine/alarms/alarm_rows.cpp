#include "engine/alarms/alarm_rows.h"

#include <cstddef>

#include "engine/storage/cells.h"

namespace zervane {
namespace {

// Cells one after the other into values; whether all were such values.
class CellReader {
 public:
  explicit CellReader(RowView row) : row_(row) {}

  template <typename T>
  void Into(T* value) {
    is_whole_ = is_whole_ && FromCell(row_[at_++], value);
  }
  void Into(bool* value) {
    std::int64_t number = 0;
    Into(&number);
    is_whole_ = is_whole_ && (number == 0 || number == 1);
    *value = number != 0;
  }

  bool is_whole() const { return is_whole_; }

 private:
  const RowView row_;
  std::size_t at_ = 0;
  bool is_whole_ = true;
};

using Hold = TestState::Hold;

void ReadTest(CellReader& cells, TestState* test, bool* is_whole) {
  std::int64_t hold = 0;
  cells.Into(&hold);
  cells.Into(&test->since_ms);
  cells.Into(&test->value);
  cells.Into(&test->stored_ms);
  cells.Into(&test->depth);
  *is_whole = *is_whole && hold >= 0 && hold <= static_cast<std::int64_t>(Hold::kComplete);
  test->hold = static_cast<Hold>(hold);
}

}  // namespace

// ---- alarm records ----

Row RowFormat<AlarmRecord>::KeyCells(const Key& key) {
  return {Cell(std::int64_t{key.tag}), Cell(key.start_ms)};
}

Row RowFormat<AlarmRecord>::RowOf(const AlarmRecord& record) {
  Row row;
  row.reserve(kAlarmProperties);
  ForEachField(record, [&](const char*, const auto& value) { row.push_back(CellOf(value)); });
  return row;
}

std::optional<AlarmRecord> RowFormat<AlarmRecord>::FromRow(RowView row) {
  AlarmRecord record;
  CellReader cells(row);
  ForEachField(record, [&](const char*, auto& value) { cells.Into(&value); });
  return cells.is_whole() ? std::optional(std::move(record)) : std::nullopt;
}

// ---- groups ----

Row RowFormat<AlarmGroup>::RowOf(const AlarmGroup& group) {
  Row row;
  ForEachField(group, [&](const char*, const auto& value) { row.push_back(CellOf(value)); });
  return row;
}

std::optional<AlarmGroup> RowFormat<AlarmGroup>::FromRow(RowView row) {
  AlarmGroup group;
  CellReader cells(row);
  ForEachField(group, [&](const char*, auto& value) { cells.Into(&value); });
  return cells.is_whole() ? std::optional(std::move(group)) : std::nullopt;
}

// ---- standing alarms ----

Row RowFormat<StandingAlarm>::RowOf(const StandingAlarm& alarm) {
  Row row = {CellOf(alarm.tag), CellOf(alarm.state.position), CellOf(alarm.state.start_ms)};
  for (const TestState& test : alarm.state.tests) {
    row.push_back(CellOf(static_cast<std::int64_t>(test.hold)));
    row.push_back(CellOf(test.since_ms));
    row.push_back(CellOf(test.value));
    row.push_back(CellOf(test.stored_ms));
    row.push_back(CellOf(test.depth));
  }
  return row;
}

std::optional<StandingAlarm> RowFormat<StandingAlarm>::FromRow(RowView row) {
  StandingAlarm alarm;
  CellReader cells(row);
  cells.Into(&alarm.tag);
  cells.Into(&alarm.state.position);
  cells.Into(&alarm.state.start_ms);
  bool is_whole = alarm.state.position >= AlarmState::kNoAlarm &&
                  alarm.state.position < static_cast<int>(kAlarmTests);
  for (TestState& test : alarm.state.tests) ReadTest(cells, &test, &is_whole);
  if (!cells.is_whole() || !is_whole) return std::nullopt;
  return alarm;
}

}  // namespace zervane
