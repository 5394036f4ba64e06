#include "tests/engine/alarms/oracle.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <set>
#include <utility>

namespace zervane::oracle {
namespace {

using Events = std::vector<AlarmEvent>;
using Kind = AlarmEvent::Kind;

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

double NumberIn(const Sample& sample) {
  switch (sample.value.kind()) {
    case Value::Kind::kInteger:
      return sample.value.integer();
    case Value::Kind::kFloat32:
      return sample.value.float32();
    case Value::Kind::kFloat64:
      return sample.value.float64();
    case Value::Kind::kText:
      break;
  }
  return 0;
}

bool IsGood(const Sample& sample) {
  return sample.quality % 256 >= 192 && std::isfinite(NumberIn(sample));
}

// Of each event whether it is a value that is judged: good, and no older than any before.
std::vector<bool> JudgedOf(const Events& events) {
  std::vector<bool> judged;
  std::int64_t newest_ms = kNoTime;
  for (const AlarmEvent& event : events) {
    const bool is_in_order = event.kind == Kind::kValue && event.sample.time_ms >= newest_ms;
    if (is_in_order) newest_ms = event.sample.time_ms;
    judged.push_back(is_in_order && IsGood(event.sample));
  }
  return judged;
}

bool Meets(const AlarmTest& test, double number, double band) {
  switch (test.comparison) {
    case AlarmTest::Comparison::kGreater:
      return number > test.limit - band;
    case AlarmTest::Comparison::kGreaterOrEqual:
      return number >= test.limit - band;
    case AlarmTest::Comparison::kLess:
      return number < test.limit + band;
    case AlarmTest::Comparison::kLessOrEqual:
      return number <= test.limit + band;
    case AlarmTest::Comparison::kEqual:
      return number == test.limit;
    case AlarmTest::Comparison::kNotEqual:
      return number != test.limit;
  }
  return false;
}

// Every event has three steps: the database's clock is looked at, then the value's time, then its
// number.
enum Look : std::uint8_t { kAtClock, kAtTime, kAtNumber, kLooks };
std::size_t StepOf(std::size_t event, Look look) { return event * kLooks + look; }

struct Hold {
  std::size_t begin = 0;          // the event that met the test first
  std::size_t complete = kNever;  // the step from which on it has held for long enough
  std::size_t end = kNever;       // the step from which on it does not hold any more
};

// Events from one at which the conditions were saved to the next of these.
struct Era {
  const Events& events;
  const std::vector<bool>& judged;
  const AlarmConditions& conditions;
  std::size_t begin = 0;
  std::size_t end = 0;
};

// The step at which a hold that began with event `begin` and ended with event `end` was complete.
// The clock counts when a value is judged, when it is looked at though none has come, and when the
// era ends.
std::size_t CompletionOf(const Era& era, std::size_t begin, std::size_t end) {
  const std::int64_t band_ms = era.conditions.time_dead_band_ms;
  if (band_ms == 0) return StepOf(begin, kAtNumber);
  const AlarmEvent& first = era.events[begin];
  for (std::size_t i = begin + 1; i < era.events.size() && i <= end; ++i) {
    const AlarmEvent& event = era.events[i];
    const bool has_clock = era.judged[i] || event.kind == Kind::kSilence ||
                           event.kind == Kind::kReopened || i == era.end;
    if (has_clock && event.clock_ms - first.clock_ms >= band_ms) return StepOf(i, kAtClock);
    if (era.judged[i] && event.sample.time_ms - first.sample.time_ms >= band_ms) {
      return StepOf(i, kAtTime);
    }
  }
  return kNever;
}

std::vector<Hold> HoldsOf(const Era& era, const AlarmTest& test) {
  std::vector<Hold> holds;
  std::size_t i = era.begin;
  while (i < era.end) {
    if (!era.judged[i] || !Meets(test, NumberIn(era.events[i].sample), 0)) {
      ++i;
      continue;
    }
    std::size_t end = i + 1;
    while (end < era.end && (!era.judged[end] || Meets(test, NumberIn(era.events[end].sample),
                                                       era.conditions.value_dead_band))) {
      ++end;
    }
    holds.push_back({.begin = i,
                     .complete = CompletionOf(era, i, end),
                     .end = end < era.end ? StepOf(end, kAtNumber) : kNever});
    i = end;
  }
  return holds;
}

// What a CHANGE test compares event `at` with: the last one that was judged, or, when the database
// was opened since, the last good record that there was then.
std::optional<Sample> GoodBefore(const Events& events, const std::vector<bool>& judged,
                                 std::size_t at) {
  std::size_t i = at;
  while (i > 0 && !judged[i - 1] && events[i - 1].kind != Kind::kReopened) --i;
  if (i == 0) return std::nullopt;
  if (judged[i - 1]) return events[i - 1].sample;
  // Of equal times the record that came last has taken the place of the others, good or not.
  std::optional<Sample> last;
  for (std::size_t k = 0; k < i; ++k) {
    if (events[k].kind != Kind::kValue || !IsGood(events[k].sample)) continue;
    const std::int64_t time_ms = events[k].sample.time_ms;
    const bool is_replaced =
        std::any_of(events.begin() + static_cast<std::ptrdiff_t>(k) + 1,
                    events.begin() + static_cast<std::ptrdiff_t>(i), [&](const AlarmEvent& event) {
                      return event.kind == Kind::kValue && event.sample.time_ms == time_ms;
                    });
    if (!is_replaced && (!last || time_ms > last->time_ms)) last = events[k].sample;
  }
  return last;
}

bool IsChange(const AlarmTest& test, const Sample& before, const Sample& value) {
  if (value.value.kind() == Value::Kind::kText) return !(before.value == value.value);
  const double difference = std::fabs(NumberIn(value) - NumberIn(before));
  return difference > 0 && difference >= test.limit;
}

// The alarms of one tag, each with a start of its own.
class Alarms {
 public:
  void Raise(int position, std::int64_t time_ms, const Sample& source) {
    while (!starts_.insert(time_ms).second) ++time_ms;
    alarms_.push_back({.position = position, .start_ms = time_ms, .source = source});
  }
  void End(std::size_t which, std::int64_t time_ms) {
    alarms_[which].end_ms = std::max(time_ms, alarms_[which].start_ms);
  }
  std::size_t last() const { return alarms_.size() - 1; }

  std::vector<ExpectedAlarm> Sorted() && {
    std::ranges::sort(alarms_, {}, &ExpectedAlarm::start_ms);
    return std::move(alarms_);
  }

 private:
  std::vector<ExpectedAlarm> alarms_;
  std::set<std::int64_t> starts_;
};

class EraWalk {
 public:
  EraWalk(const Era& era, Alarms& alarms) : era_(era), alarms_(alarms) {
    for (std::size_t i = 0; i < kAlarmTests; ++i) {
      const auto& test = era.conditions.tests[i];
      if (test && !test->is_change()) holds_[i] = HoldsOf(era, *test);
    }
  }

  void Walk() {
    std::optional<Sample> newest;
    for (std::size_t i = era_.begin; i < era_.end; ++i) {
      Compare(StepOf(i, kAtClock), newest);
      if (!era_.judged[i]) continue;
      newest = era_.events[i].sample;
      Compare(StepOf(i, kAtTime), newest);
      Compare(StepOf(i, kAtNumber), newest);
      AddChanges(i);
    }
    if (era_.end == era_.events.size()) return;
    Compare(StepOf(era_.end, kAtClock), newest);
    if (standing_) {
      alarms_.End(record_, era_.events[era_.end].clock_ms);
    }
  }

 private:
  // The holds of a test follow each other, so it is the last one that began.
  const Hold* HoldAt(std::size_t position, std::size_t step) const {
    const std::vector<Hold>& holds = holds_[position];
    const auto after = std::ranges::upper_bound(holds, step / kLooks, {}, &Hold::begin);
    if (after == holds.begin()) return nullptr;
    const Hold& last = *(after - 1);
    return last.complete <= step && step < last.end ? &last : nullptr;
  }

  std::optional<std::size_t> AlarmAt(std::size_t step) const {
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < kAlarmTests; ++i) {
      if (HoldAt(i, step) == nullptr) continue;
      if (!best || era_.conditions.tests[i]->priority < era_.conditions.tests[*best]->priority) {
        best = i;
      }
    }
    return best;
  }

  // What another alarm ends or raises is at the newest good value.
  void Compare(std::size_t step, const std::optional<Sample>& newest) {
    const std::optional<std::size_t> alarm = AlarmAt(step);
    if (alarm == standing_) return;
    if (standing_) alarms_.End(record_, newest->time_ms);
    if (alarm) {
      const Sample& source = standing_ ? *newest : era_.events[HoldAt(*alarm, step)->begin].sample;
      alarms_.Raise(static_cast<int>(*alarm), source.time_ms, source);
      record_ = alarms_.last();
    }
    standing_ = alarm;
  }

  void AddChanges(std::size_t at) {
    const Sample& value = era_.events[at].sample;
    const std::optional<Sample> before = GoodBefore(era_.events, era_.judged, at);
    if (!before) return;
    for (std::size_t i = 0; i < kAlarmTests; ++i) {
      const auto& test = era_.conditions.tests[i];
      if (!test || !test->is_change() || !IsChange(*test, *before, value)) continue;
      alarms_.Raise(static_cast<int>(i), value.time_ms, value);
      alarms_.End(alarms_.last(), value.time_ms);
    }
  }

  const Era& era_;
  Alarms& alarms_;
  std::array<std::vector<Hold>, kAlarmTests> holds_;
  std::optional<std::size_t> standing_;  // the test that is the alarm
  std::size_t record_ = 0;               // that of the alarm
};

}  // namespace

std::vector<ExpectedAlarm> AlarmsOf(const std::vector<AlarmEvent>& events) {
  const std::vector<bool> judged = JudgedOf(events);
  Alarms alarms;
  std::size_t begin = 0;
  const AlarmConditions* conditions = nullptr;
  for (std::size_t i = 0; i <= events.size(); ++i) {
    const bool is_end = i == events.size();
    // Saving the same again is nothing.
    const bool is_saved = !is_end && events[i].kind == Kind::kSaved &&
                          (conditions == nullptr || !(events[i].conditions == *conditions));
    if (!is_end && !is_saved) continue;
    if (conditions != nullptr) {
      const Era era = {events, judged, *conditions, begin, i};
      EraWalk(era, alarms).Walk();
    }
    begin = i;
    if (is_saved) conditions = &events[i].conditions;
  }
  return std::move(alarms).Sorted();
}

}  // namespace zervane::oracle
