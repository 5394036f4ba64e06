#include "engine/alarms/conditions.h"

#include <algorithm>

namespace zervane {
namespace {

using Hold = TestState::Hold;
using Kind = AlarmTransition::Kind;

// The test that is the alarm: of those whose hold is complete the one with the least priority
// number, of equal ones the first.
int AlarmOf(const AlarmConditions& conditions, const AlarmState& state) {
  int chosen = AlarmState::kNoAlarm;
  for (std::size_t i = 0; i < kAlarmTests; ++i) {
    if (state.tests[i].hold != Hold::kComplete) continue;
    ZERVANE_ASSERT(conditions.tests[i].has_value());
    if (chosen == AlarmState::kNoAlarm ||
        conditions.tests[i]->priority < conditions.tests[chosen]->priority) {
      chosen = static_cast<int>(i);
    }
  }
  return chosen;
}

// Makes the alarm what it is now that holds have changed. One that comes from nothing begins with
// the value that met it first; one that takes another's place, with the value that is judged.
void ChooseAlarm(const AlarmConditions& conditions, const GoodValue& judged, AlarmState& state,
                 AlarmTransitions& transitions) {
  const int before = state.position;
  const int after = AlarmOf(conditions, state);
  if (after == before) return;
  state.position = after;
  if (before != AlarmState::kNoAlarm) {
    transitions.Add({.kind = Kind::kReturned, .position = before, .time_ms = judged.time_ms});
  }
  if (after == AlarmState::kNoAlarm) return;
  const TestState& met = state.tests[after];
  const bool is_from_nothing = before == AlarmState::kNoAlarm;
  transitions.Add({.kind = Kind::kRaised,
                   .position = after,
                   .time_ms = is_from_nothing ? met.since_ms : judged.time_ms,
                   .value = is_from_nothing ? met.value : judged.number,
                   .depth = is_from_nothing ? met.depth : judged.depth});
}

void JudgeNumber(const AlarmConditions& conditions, const GoodValue& value, AlarmState& state) {
  for (std::size_t i = 0; i < kAlarmTests; ++i) {
    const std::optional<AlarmTest>& test = conditions.tests[i];
    if (!test || test->is_change()) continue;
    TestState& met = state.tests[i];
    const bool held = met.hold != Hold::kNone;
    if (HoldsWith(*test, value.number, held ? conditions.value_dead_band : 0) == held) continue;
    met = {};
    if (held) continue;
    met = {.hold = conditions.time_dead_band_ms == 0 ? Hold::kComplete : Hold::kPending,
           .since_ms = value.time_ms,
           .value = value.number,
           .stored_ms = value.stored_ms,
           .depth = value.depth};
  }
}

}  // namespace

bool AlarmState::IsNormal() const {
  return std::ranges::all_of(tests, [](const TestState& test) { return test.hold == Hold::kNone; });
}

AlarmTransitions JudgeValue(const AlarmConditions& conditions, const GoodValue& value,
                            AlarmState& state) {
  AlarmTransitions transitions;
  for (TestState& test : state.tests) {
    if (IsCompleteAt(conditions, test, value.time_ms)) test.hold = Hold::kComplete;
  }
  ChooseAlarm(conditions, value, state, transitions);
  JudgeNumber(conditions, value, state);
  ChooseAlarm(conditions, value, state, transitions);
  return transitions;
}

AlarmTransitions JudgeSilence(const AlarmConditions& conditions, std::int64_t clock_ms,
                              const GoodValue& newest, AlarmState& state) {
  AlarmTransitions transitions;
  for (TestState& test : state.tests) {
    const bool is_over = clock_ms - test.stored_ms >= conditions.time_dead_band_ms;
    if (test.hold == Hold::kPending && is_over) test.hold = Hold::kComplete;
  }
  ChooseAlarm(conditions, newest, state, transitions);
  return transitions;
}

std::optional<std::int64_t> DeadlineOf(const AlarmConditions& conditions, const AlarmState& state) {
  std::optional<std::int64_t> first;
  for (const TestState& test : state.tests) {
    if (test.hold != Hold::kPending) continue;
    const std::int64_t deadline_ms = test.stored_ms + conditions.time_dead_band_ms;
    first = std::min(first.value_or(deadline_ms), deadline_ms);
  }
  return first;
}

}  // namespace zervane
