#pragma once

#include <array>
#include <optional>
#include <string>

#include "api/words/alarm.h"
#include "api/words/tag.h"
#include "api/words/value.h"
#include "engine/alarms/conditions.h"

namespace zervane {

// An alarm tag as it is judged, with the tags that it names by their identifiers.
struct AlarmRule {
  // Has the number written to the target when a record of the test starts.
  struct Action {
    TagId target = 0;
    double number = 0;

    friend bool operator==(const Action&, const Action&) = default;
  };

  TagId tag = 0;
  TagId source = 0;  // which may have been deleted
  AlarmConditions conditions;
  bool has_change = false;  // one of the tests is a CHANGE
  bool acknowledges_itself = false;
  GroupId group = kRootGroup;
  std::array<std::string, kAlarmTests> texts;  // of the tests, as they were saved
  std::array<std::optional<Action>, kAlarmTests> actions;

  // Whether the other one is judged in the same way, so that what stands goes on.
  bool JudgesAs(const AlarmRule& other) const {
    return source == other.source && conditions == other.conditions;
  }
};

}  // namespace zervane
