#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include "api/words/alarm.h"
#include "engine/alarms/conditions.h"
#include "engine/storage/table.h"

// What alarms keep in the store, as rows.
namespace zervane {

template <>
struct RowFormat<AlarmRecord> {
  static constexpr TableId kTable = TableId::kAlarmRecord;
  // The indexes of the table.
  enum Index : std::size_t { kByTag, kByStart, kByAcknowledged, kByRestored };

  using Key = AlarmKey;
  static Key KeyOf(const AlarmRecord& record) { return record.key(); }
  static Row KeyCells(const Key& key);
  static Row RowOf(const AlarmRecord& record);
  static std::optional<AlarmRecord> FromRow(RowView row);
};

template <>
struct RowFormat<AlarmGroup> {
  static constexpr TableId kTable = TableId::kAlarmGroup;
  using Key = GroupId;
  static Key KeyOf(const AlarmGroup& group) { return group.id; }
  static Row KeyCells(Key id) { return {Cell(std::int64_t{id})}; }
  static Row RowOf(const AlarmGroup& group);
  static std::optional<AlarmGroup> FromRow(RowView row);
};

// The state of an alarm tag of which some test holds.
struct StandingAlarm {
  TagId tag = 0;
  AlarmState state;

  friend bool operator==(const StandingAlarm&, const StandingAlarm&) = default;
};

template <>
struct RowFormat<StandingAlarm> {
  static constexpr TableId kTable = TableId::kStandingAlarm;
  using Key = TagId;
  static Key KeyOf(const StandingAlarm& alarm) { return alarm.tag; }
  static Row KeyCells(Key tag) { return {Cell(std::int64_t{tag})}; }
  static Row RowOf(const StandingAlarm& alarm);
  static std::optional<StandingAlarm> FromRow(RowView row);
};

}  // namespace zervane
