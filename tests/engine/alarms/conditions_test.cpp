// Every transition of an alarm's life as far as conditions carry it.
//
// Of the states that ISA-18.2 describes, normal and active are told apart here; whether somebody
// has acknowledged is a matter of the record. A hold that is pending is still normal to everybody.

#include "engine/alarms/conditions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

using Comparison = AlarmTest::Comparison;
using Hold = TestState::Hold;
using Kind = AlarmTransition::Kind;

AlarmTest Test(const char* text) {
  const auto test = ParseAlarmTest(text);
  EXPECT_TRUE(test.ok()) << text;
  return test->value();
}

AlarmConditions Conditions(std::vector<const char*> tests, std::int64_t time_dead_band_ms,
                           double value_dead_band) {
  AlarmConditions conditions = {.time_dead_band_ms = time_dead_band_ms,
                                .value_dead_band = value_dead_band};
  for (std::size_t i = 0; i < tests.size(); ++i) conditions.tests[i] = Test(tests[i]);
  return conditions;
}

// Stored an hour after its time, so that neither passes for the other.
constexpr std::int64_t kBehindMs = 3'600'000;

GoodValue At(double seconds, double number) {
  const auto time_ms = static_cast<std::int64_t>(std::llround(seconds * 1000));
  return {.time_ms = time_ms, .number = number, .stored_ms = time_ms + kBehindMs};
}

std::string Seconds(std::int64_t time_ms) {
  EXPECT_EQ(time_ms % 1000, 0);
  return std::to_string(time_ms / 1000);
}

// Such as `returned 0 at 100, raised 1 at 100 with 97`.
std::string Told(const AlarmTransitions& transitions) {
  std::string told;
  for (const AlarmTransition& transition : transitions) {
    const bool is_raised = transition.kind == Kind::kRaised;
    told += told.empty() ? "" : ", ";
    told += (is_raised ? "raised " : "returned ") + std::to_string(transition.position) + " at " +
            Seconds(transition.time_ms);
    if (is_raised) told += " with " + std::to_string(std::lround(transition.value));
  }
  return told;
}

// ---- the table ----

// HIGH > 90 stands in place 0 and HIHI > 95 in place 1. Until 88 and 93 is their dead band, and
// they must have held for five seconds. In a state p98 is a test that is pending since 98 s, c90
// one whose hold is complete since a value of 90 s; what stands behind the colon is the alarm.
struct Transition {
  const char* before;
  double number;  // at that time; none for silence up to then
  double at_s;
  const char* after;
  const char* transitions;
};

constexpr double kSilence = std::numeric_limits<double>::quiet_NaN();

constexpr const char* kNormal = "- -:-";
constexpr const char* kPending = "p98 -:-";
constexpr const char* kBothPending = "p98 p98:-";
constexpr const char* kHigh = "c90 -:0";
constexpr const char* kHighToHiHi = "c90 p98:0";
constexpr const char* kHiHi = "c90 c93:1";

const Transition kTransitions[] = {
    // Nothing holds.
    {kNormal, 50, 100, kNormal, ""},
    {kNormal, 89, 100, kNormal, ""},  // what is within a dead band does not begin
    {kNormal, 92, 100, "p100 -:-", ""},
    {kNormal, 94, 100, "p100 -:-", ""},
    {kNormal, 97, 100, "p100 p100:-", ""},
    {kNormal, kSilence, 103, kNormal, ""},
    // HIGH holds, not yet for long enough,
    {kPending, 50, 100, kNormal, ""},
    {kPending, 89, 100, kPending, ""},
    {kPending, 92, 100, kPending, ""},
    {kPending, 94, 100, kPending, ""},
    {kPending, 97, 100, "p98 p100:-", ""},
    {kPending, kSilence, 102, kPending, ""},
    // and then for long enough.
    {kPending, 50, 103, kNormal, "raised 0 at 98 with 92, returned 0 at 103"},
    {kPending, 89, 103, "c98 -:0", "raised 0 at 98 with 92"},
    {kPending, 92, 103, "c98 -:0", "raised 0 at 98 with 92"},
    {kPending, 94, 103, "c98 -:0", "raised 0 at 98 with 92"},
    {kPending, 97, 103, "c98 p103:0", "raised 0 at 98 with 92"},
    {kPending, kSilence, 103, "c98 -:0", "raised 0 at 98 with 92"},
    // Both hold since one value.
    {kBothPending, 50, 100, kNormal, ""},
    {kBothPending, 89, 100, kPending, ""},
    {kBothPending, 92, 100, kPending, ""},
    {kBothPending, 94, 100, kBothPending, ""},
    {kBothPending, 97, 100, kBothPending, ""},
    {kBothPending, kSilence, 102, kBothPending, ""},
    {kBothPending, 50, 103, kNormal, "raised 1 at 98 with 97, returned 1 at 103"},
    {kBothPending, 89, 103, "c98 -:0",
     "raised 1 at 98 with 97, returned 1 at 103, raised 0 at 103 with 89"},
    {kBothPending, 92, 103, "c98 -:0",
     "raised 1 at 98 with 97, returned 1 at 103, raised 0 at 103 with 92"},
    {kBothPending, 94, 103, "c98 c98:1", "raised 1 at 98 with 97"},
    {kBothPending, 97, 103, "c98 c98:1", "raised 1 at 98 with 97"},
    {kBothPending, kSilence, 103, "c98 c98:1", "raised 1 at 98 with 97"},
    // HIGH is the alarm.
    {kHigh, 50, 100, kNormal, "returned 0 at 100"},
    {kHigh, 89, 100, kHigh, ""},
    {kHigh, 92, 100, kHigh, ""},
    {kHigh, 94, 100, kHigh, ""},
    {kHigh, 97, 100, "c90 p100:0", ""},
    {kHigh, kSilence, 103, kHigh, ""},
    // HIGH is the alarm, and HIHI holds, not yet for long enough,
    {kHighToHiHi, 50, 100, kNormal, "returned 0 at 100"},
    {kHighToHiHi, 89, 100, kHigh, ""},
    {kHighToHiHi, 92, 100, kHigh, ""},
    {kHighToHiHi, 94, 100, kHighToHiHi, ""},
    {kHighToHiHi, 97, 100, kHighToHiHi, ""},
    {kHighToHiHi, kSilence, 102, kHighToHiHi, ""},
    // and then for long enough: it goes over, and back again where the value ends HIHI.
    {kHighToHiHi, 50, 103, kNormal,
     "returned 0 at 103, raised 1 at 103 with 50, returned 1 at 103"},
    {kHighToHiHi, 89, 103, kHigh,
     "returned 0 at 103, raised 1 at 103 with 89, returned 1 at 103, raised 0 at 103 with 89"},
    {kHighToHiHi, 92, 103, kHigh,
     "returned 0 at 103, raised 1 at 103 with 92, returned 1 at 103, raised 0 at 103 with 92"},
    {kHighToHiHi, 94, 103, "c90 c98:1", "returned 0 at 103, raised 1 at 103 with 94"},
    {kHighToHiHi, 97, 103, "c90 c98:1", "returned 0 at 103, raised 1 at 103 with 97"},
    // In silence with the newest value, which came at 99 s.
    {kHighToHiHi, kSilence, 103, "c90 c98:1", "returned 0 at 99, raised 1 at 99 with 96"},
    // HIHI is the alarm, HIGH holds under it.
    {kHiHi, 50, 100, kNormal, "returned 1 at 100"},
    {kHiHi, 89, 100, kHigh, "returned 1 at 100, raised 0 at 100 with 89"},
    {kHiHi, 92, 100, kHigh, "returned 1 at 100, raised 0 at 100 with 92"},
    {kHiHi, 94, 100, kHiHi, ""},
    {kHiHi, 97, 100, kHiHi, ""},
    {kHiHi, kSilence, 103, kHiHi, ""},
};

std::string Told(const AlarmState& state) {
  std::string told;
  for (std::size_t i = 0; i < 2; ++i) {
    const TestState& test = state.tests[i];
    told += i == 0 ? "" : " ";
    if (test.hold == Hold::kNone) {
      told += "-";
    } else {
      told += (test.hold == Hold::kPending ? "p" : "c") + Seconds(test.since_ms);
    }
  }
  return told + ":" +
         (state.position == AlarmState::kNoAlarm ? "-" : std::to_string(state.position));
}

// The state that the text tells, which came of values of 92 for HIGH alone and of 97 for both.
AlarmState StateOf(const std::string& told) {
  AlarmState state;
  std::size_t at = 0;
  for (std::size_t i = 0; i < 2; ++i) {
    const std::size_t end = told.find_first_of(" :", at);
    const std::string test = told.substr(at, end - at);
    at = end + 1;
    if (test == "-") continue;
    const bool is_with_hihi = i == 1 || test == told.substr(at, told.find(':') - at);
    const GoodValue value = At(std::stod(test.substr(1)), is_with_hihi ? 97 : 92);
    state.tests[i] = {.hold = test[0] == 'p' ? Hold::kPending : Hold::kComplete,
                      .since_ms = value.time_ms,
                      .value = value.number,
                      .stored_ms = value.stored_ms};
  }
  if (told.back() != '-') state.position = told.back() - '0';
  return state;
}

TEST(EveryTransition, IsAsTheTableHasIt) {
  const AlarmConditions conditions = Conditions({"HIGH > 90", "HIHI > 95"}, 5000, 2);
  for (const Transition& row : kTransitions) {
    SCOPED_TRACE(std::string(row.before) + ", " + std::to_string(row.number) + " at " +
                 std::to_string(row.at_s));
    AlarmState state = StateOf(row.before);
    ASSERT_EQ(Told(state), row.before);
    const GoodValue value = At(row.at_s, row.number);
    const AlarmState before = state;
    const AlarmTransitions transitions =
        std::isnan(row.number) ? JudgeSilence(conditions, value.stored_ms, At(99, 96), state)
                               : JudgeValue(conditions, value, state);
    EXPECT_EQ(Told(state), row.after);
    EXPECT_EQ(Told(transitions), row.transitions);
    if (!std::isnan(row.number)) {
      EXPECT_EQ(ChangesNothing(conditions, value, before), state == before);
    }
  }
}

// ---- limits ----

struct LimitCase {
  const char* name;
  Comparison comparison;
  double limit;
  double dead_band;
  double number;
  bool begins;   // meets the test
  bool goes_on;  // is no end of it
};

class Limit : public testing::TestWithParam<LimitCase> {};

TEST_P(Limit, IsMetByValuesThatBeginAnAlarmAndLeftByThoseThatEndIt) {
  const LimitCase& row = GetParam();
  AlarmConditions conditions;
  conditions.tests[2] = {.comparison = row.comparison, .limit = row.limit};
  conditions.value_dead_band = row.dead_band;
  AlarmState normal;
  JudgeValue(conditions, At(1, row.number), normal);
  EXPECT_EQ(normal.position, row.begins ? 2 : AlarmState::kNoAlarm);
  AlarmState active;
  active.tests[2].hold = Hold::kComplete;
  active.position = 2;
  JudgeValue(conditions, At(1, row.number), active);
  EXPECT_EQ(active.position, row.goes_on ? 2 : AlarmState::kNoAlarm);
  EXPECT_EQ(active.IsNormal(), !row.goes_on);
}

constexpr double kGreatest = std::numeric_limits<double>::max();

INSTANTIATE_TEST_SUITE_P(
    Of, Limit,
    testing::Values(
        LimitCase{"GreaterAbove", Comparison::kGreater, 95, 2, 95.5, true, true},
        LimitCase{"GreaterAtTheLimit", Comparison::kGreater, 95, 2, 95, false, true},
        LimitCase{"GreaterWithinTheBand", Comparison::kGreater, 95, 2, 93.5, false, true},
        LimitCase{"GreaterAtTheBandsEnd", Comparison::kGreater, 95, 2, 93, false, false},
        LimitCase{"GreaterWithoutABand", Comparison::kGreater, 95, 0, 95, false, false},
        LimitCase{"GreaterOrEqualAtTheLimit", Comparison::kGreaterOrEqual, 95, 2, 95, true, true},
        LimitCase{"GreaterOrEqualBelowIt", Comparison::kGreaterOrEqual, 95, 2, 94.9, false, true},
        LimitCase{"GreaterOrEqualAtTheBandsEnd", Comparison::kGreaterOrEqual, 95, 2, 93, false,
                  true},
        LimitCase{"GreaterOrEqualBelowTheBand", Comparison::kGreaterOrEqual, 95, 2, 92.9, false,
                  false},
        LimitCase{"LessBelow", Comparison::kLess, 5, 2, 4.5, true, true},
        LimitCase{"LessAtTheLimit", Comparison::kLess, 5, 2, 5, false, true},
        LimitCase{"LessWithinTheBand", Comparison::kLess, 5, 2, 6.5, false, true},
        LimitCase{"LessAtTheBandsEnd", Comparison::kLess, 5, 2, 7, false, false},
        LimitCase{"LessOrEqualAtTheLimit", Comparison::kLessOrEqual, 5, 2, 5, true, true},
        LimitCase{"LessOrEqualAtTheBandsEnd", Comparison::kLessOrEqual, 5, 2, 7, false, true},
        LimitCase{"LessOrEqualAboveTheBand", Comparison::kLessOrEqual, 5, 2, 7.1, false, false},
        LimitCase{"EqualAtTheLimit", Comparison::kEqual, 5, 2, 5, true, true},
        LimitCase{"EqualHasNoBand", Comparison::kEqual, 5, 2, 5.5, false, false},
        LimitCase{"NotEqualBeside", Comparison::kNotEqual, 5, 2, 4.5, true, true},
        LimitCase{"NotEqualHasNoBand", Comparison::kNotEqual, 5, 2, 5, false, false},
        LimitCase{"ZerosAreEqual", Comparison::kEqual, 0, 0, -0.0, true, true},
        LimitCase{"TheGreatestIsGreater", Comparison::kGreater, 0, 2, kGreatest, true, true},
        LimitCase{"TheLeastIsNot", Comparison::kGreater, 0, 2, -kGreatest, false, false},
        LimitCase{"NothingIsGreaterThanTheGreatest", Comparison::kGreater, kGreatest, 0, kGreatest,
                  false, false},
        LimitCase{"ABandThatIsLostInTheLimit", Comparison::kGreater, kGreatest, 2, kGreatest, false,
                  false},
        LimitCase{"ABandBeyondAllNumbers", Comparison::kGreaterOrEqual, -kGreatest, kGreatest,
                  -kGreatest, true, true},
        LimitCase{"AsFarOnTheOtherSide", Comparison::kLess, kGreatest, kGreatest, kGreatest, false,
                  true}),
    CaseName());

// ---- the rest of an alarm's life ----

std::string Told(const AlarmConditions& conditions, const std::vector<GoodValue>& values) {
  AlarmState state;
  std::string told;
  for (const GoodValue& value : values) {
    const std::string transitions = Told(JudgeValue(conditions, value, state));
    if (!told.empty() && !transitions.empty()) told += ", ";
    told += transitions;
  }
  return told;
}

TEST(TimeDeadBand, IsOverUpToTheValueThatEndsTheHold) {
  const AlarmConditions conditions = Conditions({"HIGH > 90"}, 5000, 0);
  EXPECT_EQ(Told(conditions, {At(10, 99), At(17, 1)}), "raised 0 at 10 with 99, returned 0 at 17");
  EXPECT_EQ(Told(conditions, {At(10, 99), At(15, 1)}), "raised 0 at 10 with 99, returned 0 at 15");
  EXPECT_EQ(Told(conditions, {At(10, 99), At(14, 1)}), "");
  EXPECT_EQ(Told(conditions, {At(10, 99), At(12, 1), At(13, 99), At(17, 99), At(18, 99)}),
            "raised 0 at 13 with 99");
}

TEST(TimeDeadBand, OfNothingCompletesAHoldAtOnce) {
  const AlarmConditions conditions = Conditions({"HIGH > 90"}, 0, 0);
  EXPECT_EQ(Told(conditions, {At(10, 99), At(10, 1), At(10, 99), At(11, 1)}),
            "raised 0 at 10 with 99, returned 0 at 10, raised 0 at 10 with 99, returned 0 at 11");
}

TEST(TimeDeadBand, OfEachTestIsItsOwn) {
  const AlarmConditions conditions = Conditions({"LOW < 10", "LOLO < 5"}, 5000, 0);
  EXPECT_EQ(Told(conditions, {At(0, 8), At(4, 4), At(6, 4), At(9, 4)}),
            "raised 0 at 0 with 8, returned 0 at 9, raised 1 at 9 with 4");
}

TEST(TimeDeadBand, EndsInSilenceByTheClockSinceTheValueWasStored) {
  const AlarmConditions conditions = Conditions({"HIGH > 90", "HIHI > 95"}, 5000, 0);
  AlarmState state;
  EXPECT_EQ(DeadlineOf(conditions, state), std::nullopt);
  const GoodValue first = {.time_ms = 10'000, .number = 92, .stored_ms = 70'000};
  const GoodValue second = {.time_ms = 10'500, .number = 96, .stored_ms = 73'000};
  JudgeValue(conditions, first, state);
  EXPECT_EQ(DeadlineOf(conditions, state), 75'000);
  JudgeValue(conditions, second, state);
  EXPECT_EQ(DeadlineOf(conditions, state), 75'000);
  // A clock that was set back completes nothing.
  EXPECT_EQ(JudgeSilence(conditions, 60'000, second, state).size(), 0U);
  EXPECT_EQ(JudgeSilence(conditions, 74'999, second, state).size(), 0U);
  EXPECT_EQ(Told(JudgeSilence(conditions, 75'000, second, state)), "raised 0 at 10 with 92");
  EXPECT_EQ(DeadlineOf(conditions, state), 78'000);
  const AlarmTransitions over = JudgeSilence(conditions, 78'000, second, state);
  ASSERT_EQ(over.size(), 2U);
  EXPECT_EQ(*over.begin(),
            (AlarmTransition{.kind = Kind::kReturned, .position = 0, .time_ms = 10'500}));
  EXPECT_EQ(over.begin()[1], (AlarmTransition{.kind = Kind::kRaised,
                                              .position = 1,
                                              .time_ms = 10'500,
                                              .value = 96,
                                              .is_of_hold = true}));
  EXPECT_EQ(DeadlineOf(conditions, state), std::nullopt);
  EXPECT_EQ(JudgeSilence(conditions, 90'000, second, state).size(), 0U);
}

TEST(Alarm, IsTheTestOfTheLeastPriorityAndOfEqualOnesTheFirst) {
  const auto raised = [](std::vector<const char*> tests) {
    return Told(Conditions(std::move(tests), 0, 0), {At(1, 99)});
  };
  EXPECT_EQ(raised({"HIGH > 90", "HIHI > 95"}), "raised 1 at 1 with 99");
  EXPECT_EQ(raised({"HIGH > 90 PRIORITY 1", "HIHI > 95"}), "raised 0 at 1 with 99");
  EXPECT_EQ(raised({"HIGH > 90", "HIGH > 80", "HIGH > 70"}), "raised 0 at 1 with 99");
  EXPECT_EQ(raised({"HIGH > 90 PRIORITY 4", "HIGH > 80 PRIORITY 3", "LOW < 5", "HIGH > 1"}),
            "raised 3 at 1 with 99");
}

TEST(Alarm, GoesOverInEitherDirectionWithTheValueThatIsJudged) {
  const AlarmConditions conditions = Conditions({"HIGH > 90", "HIHI > 95"}, 0, 0);
  EXPECT_EQ(Told(conditions, {At(1, 92), At(2, 97), At(3, 94), At(4, 50)}),
            "raised 0 at 1 with 92, returned 0 at 2, raised 1 at 2 with 97, "
            "returned 1 at 3, raised 0 at 3 with 94, returned 0 at 4");
}

TEST(Alarm, GoesOverFromATestThatEndsToOneThatTheSameValueBegins) {
  const AlarmConditions conditions = Conditions({"HIGH > 90", "LOW < 10"}, 0, 0);
  EXPECT_EQ(Told(conditions, {At(1, 92), At(2, 5)}),
            "raised 0 at 1 with 92, returned 0 at 2, raised 1 at 2 with 5");
}

TEST(Alarm, IsNoneOfAChangeTest) {
  const AlarmConditions conditions = Conditions({"CHANGE", "CHANGE 5"}, 0, 0);
  AlarmState state;
  for (const double number : {1.0, 99.0, -5.0}) {
    EXPECT_TRUE(ChangesNothing(conditions, At(1, number), state));
    EXPECT_EQ(JudgeValue(conditions, At(1, number), state).size(), 0U);
  }
  EXPECT_EQ(state, AlarmState());
}

}  // namespace
}  // namespace zervane
