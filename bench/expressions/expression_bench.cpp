// expression_bench: how many records a filter judges in a second, on one core, beside the same
// filter written in C++. One line for each; the medians of seven runs.

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <vector>

#include "engine/derived/expression/filter_expression.h"

namespace zervane {
namespace {

constexpr int kRuns = 7;
constexpr int kRounds = 20;
constexpr std::size_t kRecords = 100'000;

struct Record {
  double value = 0;
  double quality = 0;
  double time_s = 0;
};

// Every fifth one is bad, and the values vary so that no branch can be foreseen.
std::vector<Record> Records() {
  std::mt19937_64 random(1);
  std::uniform_real_distribution value(0.0, 100.0);
  std::vector<Record> records(kRecords);
  for (std::size_t i = 0; i < kRecords; ++i) {
    records[i] = {value(random), random() % 5 == 0 ? 0.0 : 192.0, 1.7e9 + static_cast<double>(i)};
  }
  return records;
}

double ProcessorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

struct Outcome {
  double records_per_second = 0;
  std::size_t passed = 0;
};

// Millions of records in a second of the processor, and how many of them pass.
template <typename Judge>
Outcome Measure(const std::vector<Record>& records, const Judge& judge) {
  std::array<double, kRuns> times{};
  std::size_t passed = 0;
  for (double& time : times) {
    const double begin = ProcessorSeconds();
    for (int round = 0; round < kRounds; ++round) {
      for (const Record& record : records) {
        passed += judge(record.value, record.quality, record.time_s) != 0 ? 1 : 0;
      }
    }
    time = ProcessorSeconds() - begin;
  }
  std::ranges::nth_element(times, times.begin() + kRuns / 2);
  return {static_cast<double>(kRounds * kRecords) / times[kRuns / 2], passed};
}

template <typename Judge>
void Compare(const std::vector<Record>& records, std::string_view text, const Judge& by_hand) {
  const Result<FilterExpression> filter = FilterExpression::Parse(text);
  if (!filter.ok()) {
    fmt::print(stderr, "{}: {}\n", text, filter.status().message());
    std::exit(1);
  }
  const Outcome ours = Measure(records, [&](double value, double quality, double time_s) {
    return filter->Evaluate(value, quality, time_s);
  });
  const Outcome theirs = Measure(records, by_hand);
  if (ours.passed != theirs.passed) {
    fmt::print(stderr, "{}: {} pass, of those in C++ {}\n", text, ours.passed, theirs.passed);
    std::exit(1);
  }
  fmt::print("{}: {:.1f} million records a second, in C++ {:.1f}, {:.1f} times as many\n", text,
             ours.records_per_second / 1e6, theirs.records_per_second / 1e6,
             theirs.records_per_second / ours.records_per_second);
}

void CompareAll() {
  const std::vector<Record> records = Records();
  Compare(records, "value > 50",
          [](double value, double, double) { return value > 50 ? 1.0 : 0.0; });
  Compare(records, "value > 50 && quality >= 192", [](double value, double quality, double) {
    return value > 50 && quality >= 192 ? 1.0 : 0.0;
  });
  Compare(records, "value >= 20 && value <= 80 && quality >= 192 || time < 1700000100",
          [](double value, double quality, double time_s) {
            const bool is_good = value >= 20 && value <= 80 && quality >= 192;
            return is_good || time_s < 1700000100 ? 1.0 : 0.0;
          });
  Compare(records, "(value - 32) * 5 / 9 > 20",
          [](double value, double, double) { return (value - 32) * 5 / 9 > 20 ? 1.0 : 0.0; });
  Compare(records, "sqrt(abs(value)) > 5 ? 1 : 0", [](double value, double, double) {
    return __builtin_sqrt(__builtin_fabs(value)) > 5 ? 1.0 : 0.0;
  });
}

}  // namespace
}  // namespace zervane

int main() { zervane::CompareAll(); }
