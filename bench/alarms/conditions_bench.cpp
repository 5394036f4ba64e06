// conditions_bench: what it costs to judge a value of which nothing comes, as of nearly all, on one
// core. One line for each number of tests and of alarm tags; the medians of seven runs.

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string_view>
#include <vector>

#include "engine/alarms/conditions.h"

namespace zervane {
namespace {

constexpr int kRuns = 7;
constexpr std::size_t kValues = 2'000'000;

struct Watched {
  AlarmConditions conditions;
  AlarmState state;
};

// The limits of the tags differ, so that no two are judged by the same numbers; none of the values,
// which lie between 20 and 80, meets one.
std::vector<Watched> Tags(std::size_t count, std::size_t tests) {
  static constexpr std::array<std::string_view, kAlarmTests> kTexts = {"HIGH > 90", "LOW < 10",
                                                                       "HIHI >= 95", "LOLO <= 5"};
  std::vector<Watched> tags(count);
  for (std::size_t i = 0; i < count; ++i) {
    AlarmConditions& conditions = tags[i].conditions;
    conditions.time_dead_band_ms = 5000;
    conditions.value_dead_band = 2;
    for (std::size_t k = 0; k < tests; ++k) {
      conditions.tests[k] = ParseAlarmTest(kTexts[(i + k) % kAlarmTests])->value();
    }
  }
  return tags;
}

std::vector<GoodValue> Values() {
  std::mt19937_64 random(1);
  std::uniform_real_distribution number(20.0, 80.0);
  std::vector<GoodValue> values(kValues);
  for (std::size_t i = 0; i < kValues; ++i) {
    const auto time_ms = static_cast<std::int64_t>(i);
    values[i] = {.time_ms = time_ms, .number = number(random), .stored_ms = time_ms};
  }
  return values;
}

double ProcessorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Nanoseconds for a value, judged by one tag after the other.
template <typename Judge>
double Measure(std::vector<Watched>& tags, const std::vector<GoodValue>& values,
               const Judge& changes_nothing) {
  std::array<double, kRuns> times{};
  for (double& time : times) {
    std::size_t unchanged = 0;
    std::size_t at = 0;
    const double begin = ProcessorSeconds();
    for (const GoodValue& value : values) {
      unchanged += changes_nothing(tags[at], value) ? 1 : 0;
      if (++at == tags.size()) at = 0;
    }
    time = ProcessorSeconds() - begin;
    if (unchanged != values.size()) {
      fmt::print(stderr, "{} of {} values change something\n", values.size() - unchanged,
                 values.size());
      std::exit(1);
    }
  }
  std::ranges::nth_element(times, times.begin() + kRuns / 2);
  return times[kRuns / 2] * 1e9 / static_cast<double>(values.size());
}

void MeasureAll() {
  const std::vector<GoodValue> values = Values();
  for (const std::size_t count : {std::size_t{1}, std::size_t{1000}, std::size_t{10'000}}) {
    for (const std::size_t tests : {std::size_t{1}, std::size_t{2}, kAlarmTests}) {
      std::vector<Watched> tags = Tags(count, tests);
      const double asked = Measure(tags, values, [](const Watched& tag, const GoodValue& value) {
        return ChangesNothing(tag.conditions, value, tag.state);
      });
      const double judged = Measure(tags, values, [](Watched& tag, const GoodValue& value) {
        return JudgeValue(tag.conditions, value, tag.state).size() == 0;
      });
      fmt::print(
          "{} alarm tags of {} tests: {:.1f} ns to see that nothing changes, {:.1f} ns to "
          "judge\n",
          count, tests, asked, judged);
    }
  }
}

}  // namespace
}  // namespace zervane

int main() { zervane::MeasureAll(); }
