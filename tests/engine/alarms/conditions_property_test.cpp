// Random series through the conditions, whose records are those that the oracle finds.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "engine/alarms/conditions.h"
#include "engine/alarms/source_value.h"
#include "tests/engine/alarms/oracle.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

using oracle::AlarmEvent;
using oracle::ExpectedAlarm;
using Kind = AlarmEvent::Kind;

constexpr int kSeries = 3000;

// ---- random series ----

class RandomSeries {
 public:
  explicit RandomSeries(std::uint32_t seed) : random_(seed) {}

  // The tag is saved, and its source has values; both happen again and again.
  std::vector<AlarmEvent> Events() {
    type_ = static_cast<TagType>(Below(static_cast<int>(TagType::kBlob) + 1));
    std::vector<AlarmEvent> events;
    const int count = 1 + Below(60);
    for (int i = 0; i < count; ++i) {
      clock_ms_ += Below(3) * 1000;
      const int kind = i == 0 ? 20 : Below(22);
      if (kind == 20) {
        events.push_back({.kind = Kind::kSaved, .clock_ms = clock_ms_, .conditions = Conditions()});
      } else if (kind == 21) {
        events.push_back({.kind = Kind::kReopened, .clock_ms = clock_ms_});
      } else if (kind >= 16) {
        events.push_back({.kind = Kind::kSilence, .clock_ms = clock_ms_ + Below(4) * 1000});
      } else {
        events.push_back({.kind = Kind::kValue, .clock_ms = clock_ms_, .sample = RandomSample()});
      }
    }
    return events;
  }

 private:
  int Below(int bound) { return std::uniform_int_distribution(0, bound - 1)(random_); }

  // Few numbers, so that limits and the ends of dead bands are met exactly.
  std::optional<AlarmTest> Test() {
    const int type = Below(7);
    if (type >= ZR3_AM_REC_TYPE_MAX) return std::nullopt;
    AlarmTest test = {.type = type + 1, .priority = 1 + Below(4)};
    // Of texts any difference is all that can be asked for.
    if (IsText(type_)) test.type = ZR3_AM_REC_TYPE_CHANGE;
    if (IsText(type_)) return test;
    if (test.is_change()) {
      test.limit = Below(3);
    } else {
      test.comparison = static_cast<AlarmTest::Comparison>(Below(6));
      test.limit = Below(7) - 3;
    }
    return test;
  }

  AlarmConditions Conditions() {
    AlarmConditions conditions;
    for (auto& test : conditions.tests) test = Test();
    conditions.time_dead_band_ms = Below(4) * 1000;
    conditions.value_dead_band = Below(3);
    return conditions;
  }

  Sample RandomSample() {
    if (Below(8) != 0) time_ms_ += Below(4) * 500;
    Sample sample = {.time_ms = time_ms_, .type = type_, .value = RandomValue()};
    if (Below(10) == 0) sample.time_ms -= Below(5) * 500;
    static constexpr std::uint16_t kQualities[] = {0, 64, 127, 128, 0x100, 193, 255, 0x1C0};
    if (Below(6) == 0) sample.quality = kQualities[Below(8)];
    return sample;
  }

  Value RandomValue() {
    const int number = Below(9) - 4;
    switch (type_) {
      case TagType::kString:
      case TagType::kBlob:
        return std::string(number < 0 ? "" : std::to_string(number / 2));
      case TagType::kFloat32:
        return Below(20) == 0 ? std::numeric_limits<float>::infinity()
                              : static_cast<float>(number) / static_cast<float>(1 + Below(2));
      case TagType::kFloat64:
        return Below(20) == 0 ? std::numeric_limits<double>::quiet_NaN()
                              : static_cast<double>(number) / (1 + Below(2));
      default:
        return number;
    }
  }

  std::mt19937 random_;
  TagType type_ = TagType::kFloat64;
  std::int64_t clock_ms_ = 50'000;
  std::int64_t time_ms_ = 10'000;
};

// ---- the conditions, as whoever keeps records goes on from value to value with them ----

class Keeper {
 public:
  void Follow(const AlarmEvent& event) {
    switch (event.kind) {
      case Kind::kSaved:
        return Save(event);
      case Kind::kSilence:
        return CompleteHolds(event.clock_ms);
      case Kind::kReopened:
        Reopen();
        return CompleteHolds(event.clock_ms);
      case Kind::kValue:
        return FollowValue(event);
    }
  }

  struct Record {
    int position = 0;
    std::int64_t start_ms = 0;
    std::optional<std::int64_t> end_ms = {};
    std::string source_value;
  };
  const std::vector<Record>& records() const { return records_; }

 private:
  void Save(const AlarmEvent& event) {
    if (is_saved_ && event.conditions == conditions_) return;
    if (is_saved_) CompleteHolds(event.clock_ms);
    if (state_.position != AlarmState::kNoAlarm) End(event.clock_ms);
    is_saved_ = true;
    conditions_ = event.conditions;
    state_ = {};
  }

  // What is known of the source is what its records say.
  void Reopen() {
    before_.reset();
    for (const auto& [time_ms, sample] : points_) {
      if (IsGood(sample)) before_ = sample;
    }
  }

  static bool IsGood(const Sample& sample) {
    SampleColumns columns;
    columns.Add(sample);
    return (sample.quality & 0xC0) == 0xC0 && std::isfinite(SourceValueAt(columns, 0).number);
  }

  void FollowValue(const AlarmEvent& event) {
    const Sample& sample = event.sample;
    const bool is_late = !points_.empty() && sample.time_ms < points_.rbegin()->first;
    points_[sample.time_ms] = sample;
    if (is_late || !IsGood(sample)) return;
    SampleColumns columns;
    columns.Add(sample);
    const SourceValue value = SourceValueAt(columns, 0);
    CompleteHolds(event.clock_ms);
    newest_ = {.time_ms = sample.time_ms, .number = value.number, .stored_ms = event.clock_ms};
    JudgeNewest(value);
    AddChanges(sample, value);
    before_ = sample;
  }

  void CompleteHolds(std::int64_t clock_ms) {
    const std::optional<std::int64_t> deadline_ms = DeadlineOf(conditions_, state_);
    const AlarmState before = state_;
    Apply(JudgeSilence(conditions_, clock_ms, newest_, state_));
    EXPECT_EQ(deadline_ms && *deadline_ms <= clock_ms, before != state_);
  }

  void JudgeNewest(const SourceValue& value) {
    const AlarmState before = state_;
    const bool changes_nothing = ChangesNothing(conditions_, newest_, state_);
    const AlarmTransitions transitions = JudgeValue(conditions_, newest_, state_);
    EXPECT_EQ(changes_nothing, before == state_ && transitions.size() == 0);
    type_ = value.type;
    Apply(transitions);
  }

  void Apply(const AlarmTransitions& transitions) {
    for (const AlarmTransition& transition : transitions) {
      if (transition.kind == AlarmTransition::Kind::kReturned) {
        EXPECT_EQ(records_[standing_].position, transition.position);
        End(transition.time_ms);
      } else {
        Add(transition.position, transition.time_ms,
            SourceValueText({.type = type_, .number = transition.value}));
        standing_ = records_.size() - 1;
      }
    }
  }

  void AddChanges(const Sample& sample, const SourceValue& value) {
    if (!before_) return;
    SampleColumns columns;
    columns.Add(*before_);
    for (std::size_t i = 0; i < kAlarmTests; ++i) {
      const auto& test = conditions_.tests[i];
      if (!test || !test->is_change()) continue;
      if (!IsChange(*test, SourceValueAt(columns, 0), value)) continue;
      Add(static_cast<int>(i), sample.time_ms, SourceValueText(value));
      records_.back().end_ms = records_.back().start_ms;
    }
  }

  void Add(int position, std::int64_t time_ms, std::string source_value) {
    while (!starts_.insert(time_ms).second) ++time_ms;
    records_.push_back(
        {.position = position, .start_ms = time_ms, .source_value = std::move(source_value)});
  }

  void End(std::int64_t time_ms) {
    records_[standing_].end_ms = std::max(time_ms, records_[standing_].start_ms);
  }

  AlarmConditions conditions_;
  AlarmState state_;
  GoodValue newest_;
  TagType type_ = TagType::kFloat64;
  bool is_saved_ = false;
  std::optional<Sample> before_;
  std::map<std::int64_t, Sample> points_;
  std::vector<Record> records_;
  std::set<std::int64_t> starts_;
  std::size_t standing_ = 0;
};

std::string Told(int position, std::int64_t start_ms, std::optional<std::int64_t> end_ms,
                 const std::string& value) {
  return std::to_string(position) + ": " + std::to_string(start_ms) + " to " +
         (end_ms ? std::to_string(*end_ms) : "now") + " with " + value + "\n";
}

std::string Told(std::vector<Keeper::Record> records) {
  std::ranges::sort(records, {}, &Keeper::Record::start_ms);
  std::string told;
  for (const Keeper::Record& record : records) {
    told += Told(record.position, record.start_ms, record.end_ms, record.source_value);
  }
  return told;
}

std::string Told(const std::vector<ExpectedAlarm>& alarms) {
  std::string told;
  for (const ExpectedAlarm& alarm : alarms) {
    SampleColumns columns;
    columns.Add(alarm.source);
    told += Told(alarm.position, alarm.start_ms, alarm.end_ms,
                 SourceValueText(SourceValueAt(columns, 0)));
  }
  return told;
}

TEST(AnySeries, HasTheAlarmsThatAPlainSearchFinds) {
  const Seed seed;
  std::size_t alarms = 0;
  for (int i = 0; i < kSeries; ++i) {
    const std::vector<AlarmEvent> events =
        RandomSeries(seed.value() + static_cast<std::uint32_t>(i)).Events();
    Keeper keeper;
    for (const AlarmEvent& event : events) keeper.Follow(event);
    const std::vector<ExpectedAlarm> expected = oracle::AlarmsOf(events);
    ASSERT_EQ(Told(keeper.records()), Told(expected)) << "series " << i;
    alarms += expected.size();
  }
  EXPECT_GT(alarms, std::size_t{kSeries});  // they are about something
}

}  // namespace
}  // namespace zervane
