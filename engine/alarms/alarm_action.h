#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "api/words/value.h"
#include "engine/alarms/action_chain.h"
#include "engine/storage/table.h"

namespace zervane {

// A value that is to be written because an alarm record started. It waits as a row of `progress`,
// which was stored with the record and goes with the write: so it is done exactly once.
struct PendingAction {
  struct Key {
    TagId alarm = 0;            // the alarm tag
    std::int64_t start_ms = 0;  // of the record
    friend bool operator==(const Key&, const Key&) = default;
  };

  Key key;
  TagId target = 0;
  double number = 0;
  ActionChain chain = {};

  friend bool operator==(const PendingAction&, const PendingAction&) = default;
};

template <>
struct RowFormat<PendingAction> {
  static constexpr TableId kTable = TableId::kProgress;
  static constexpr std::string_view kTask = "alarm_action";

  using Key = PendingAction::Key;
  static const Key& KeyOf(const PendingAction& action) { return action.key; }
  static Row KeyCells(const Key& key);
  // What the keys of all actions of an alarm tag, or of all actions, begin with.
  static Row KeysOf(TagId alarm);
  static Row AllKeys();
  static Row RowOf(const PendingAction& action);
  static std::optional<PendingAction> FromRow(RowView row);
};

// The number as a value of the type at that time; none when the type has no such value.
std::optional<Sample> SampleOf(TagType type, double number, std::int64_t time_ms);

}  // namespace zervane
