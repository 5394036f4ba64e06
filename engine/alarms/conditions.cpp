#include "engine/alarms/conditions.h"

namespace zervane {

bool AlarmState::IsNormal() const {
  for (const TestState& test : tests) {
    if (test.hold != TestState::Hold::kNone) return false;
  }
  return true;
}

AlarmTransitions JudgeValue(const AlarmConditions&, const GoodValue&, AlarmState&) { return {}; }

bool ChangesNothing(const AlarmConditions&, const GoodValue&, const AlarmState&) { return true; }

AlarmTransitions JudgeSilence(const AlarmConditions&, std::int64_t, const GoodValue&, AlarmState&) {
  return {};
}

std::optional<std::int64_t> DeadlineOf(const AlarmConditions&, const AlarmState&) {
  return std::nullopt;
}

}  // namespace zervane
