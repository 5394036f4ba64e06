#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "engine/alarms/alarm_test.h"
#include "engine/assert.h"

// When an alarm stands: a pure function of what it was, and of the value that comes or the time
// that passes. docs/alarms.md tells the rules.
namespace zervane {

constexpr std::size_t kAlarmTests = 4;

// What is tested.
struct AlarmConditions {
  std::array<std::optional<AlarmTest>, kAlarmTests> tests = {};
  std::int64_t time_dead_band_ms = 0;
  double value_dead_band = 0;  // engineering units

  friend bool operator==(const AlarmConditions&, const AlarmConditions&) = default;
};

// Of one test whether it holds, and since which value.
struct TestState {
  enum class Hold : std::uint8_t {
    kNone,
    kPending,  // it has not yet held for as long as the time dead band asks for
    kComplete,
  };

  Hold hold = Hold::kNone;
  std::int64_t since_ms = 0;   // the time of the value that met it first
  double value = 0;            // that value
  std::int64_t stored_ms = 0;  // when that was stored, by the database's clock
  std::int32_t depth = 0;      // how many actions, each because of the other, led to that value

  friend bool operator==(const TestState&, const TestState&) = default;
};

// Of all tests, and which of them is the alarm: the one of those whose hold is complete with the
// least priority number, of equal ones the first.
struct AlarmState {
  static constexpr int kNoAlarm = -1;

  std::array<TestState, kAlarmTests> tests;
  int position = kNoAlarm;    // of the test that is the alarm
  std::int64_t start_ms = 0;  // of the record that stands, when there is an alarm

  // Whether no test holds, so that nothing is worth keeping.
  bool IsNormal() const;
  friend bool operator==(const AlarmState&, const AlarmState&) = default;
};

// A good value of the source.
struct GoodValue {
  std::int64_t time_ms = 0;
  double number = 0;
  std::int64_t stored_ms = 0;  // by the database's clock
  std::int32_t depth = 0;      // how many actions, each because of the other, led to it
};

// What becomes of the alarm, in this order: what stands returns, then another is raised.
struct AlarmTransition {
  enum class Kind : std::uint8_t { kReturned, kRaised };

  Kind kind = Kind::kRaised;
  int position = 0;          // of the test
  std::int64_t time_ms = 0;  // of the end, or of the start
  double value = 0;          // the source value of the record that is raised
  std::int32_t depth = 0;    // that of the value

  friend bool operator==(const AlarmTransition&, const AlarmTransition&) = default;
};

// At most so many come of one value: its time completes a hold (that is another alarm), its number
// ends it.
class AlarmTransitions {
 public:
  static constexpr std::size_t kMost = 4;

  void Add(const AlarmTransition& transition) {
    ZERVANE_ASSERT(size_ < kMost);
    transitions_[size_++] = transition;
  }
  const AlarmTransition* begin() const { return transitions_.data(); }
  const AlarmTransition* end() const { return transitions_.data() + size_; }
  std::size_t size() const { return size_; }

 private:
  std::array<AlarmTransition, kMost> transitions_;
  std::size_t size_ = 0;
};

// Whether a number meets the test when its limit is moved by the dead band to the normal side; `=`
// and `<>` have no such side. REQUIRES a test that is none of CHANGE.
inline bool HoldsWith(const AlarmTest& test, double number, double dead_band) {
  // For each comparison which of less, equal and greater meet it, as bits 0 to 2, and where the
  // normal side is: a value is judged without a branch that depends on what is compared how.
  static constexpr std::array<unsigned, 6> kMeets = {0b100, 0b110, 0b001, 0b011, 0b010, 0b101};
  static constexpr std::array<double, 6> kNormalSide = {-1, -1, 1, 1, 0, 0};
  const auto comparison = static_cast<std::size_t>(test.comparison);
  const double limit = test.limit + kNormalSide[comparison] * dead_band;
  const unsigned side = (number >= limit ? 1U : 0U) + (number > limit ? 1U : 0U);
  return (kMeets[comparison] >> side & 1U) != 0;
}

// Whether the hold is pending and a value of that time completes it.
inline bool IsCompleteAt(const AlarmConditions& conditions, const TestState& test,
                         std::int64_t time_ms) {
  return test.hold == TestState::Hold::kPending &&
         time_ms - test.since_ms >= conditions.time_dead_band_ms;
}

// Judges a good value that is not older than the one judged before. First its time completes holds,
// and the alarm is what it then is; then its number ends tests and begins others, and the alarm is
// what it is after that. CHANGE tests are not looked at. The `start_ms` of the state is left to the
// caller, who knows which starts are free. Holds that have lasted by the clock by now are the
// caller's, too: JudgeSilence comes first.
//
// REQUIRES a finite number, dead bands that are not negative, and a state that came of these
// conditions.
AlarmTransitions JudgeValue(const AlarmConditions& conditions, const GoodValue& value,
                            AlarmState& state);

// Whether JudgeValue would change nothing, which is what nearly always is. REQUIRES the same.
inline bool ChangesNothing(const AlarmConditions& conditions, const GoodValue& value,
                           const AlarmState& state) {
  for (std::size_t i = 0; i < kAlarmTests; ++i) {
    const std::optional<AlarmTest>& test = conditions.tests[i];
    if (!test || test->is_change()) continue;
    const TestState& met = state.tests[i];
    const bool holds = met.hold != TestState::Hold::kNone;
    if (HoldsWith(*test, value.number, holds ? conditions.value_dead_band : 0) != holds ||
        IsCompleteAt(conditions, met, value.time_ms)) {
      return false;
    }
  }
  return true;
}

// Completes holds that have lasted by the database's clock. `newest` is the newest good value of
// the source: a transition to another alarm is at its time, with its value. REQUIRES a state that
// came of these conditions.
AlarmTransitions JudgeSilence(const AlarmConditions& conditions, std::int64_t clock_ms,
                              const GoodValue& newest, AlarmState& state);

// When by the database's clock the first of the pending holds is complete.
std::optional<std::int64_t> DeadlineOf(const AlarmConditions& conditions, const AlarmState& state);

}  // namespace zervane
