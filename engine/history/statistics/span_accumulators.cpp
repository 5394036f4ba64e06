#include "engine/history/statistics/accumulator.h"

namespace zervane {
namespace {

constexpr double kMillisecondsPerSecond = 1000;

// INTEGRAL, TIME_WEIGHTED_MEAN.
class Area final : public Accumulator {
 public:
  Area(StatisticType type, bool is_line)
      : is_mean_(type == StatisticType::kTimeWeightedMean), is_line_(is_line) {}

  void AddSpans(const PointBlock& block, std::size_t begin, std::size_t end) override {
    CompensatedSum area = area_;
    std::int64_t length_ms = length_ms_;
    ForEachAdmitted(block, begin, end - 1, [&](std::size_t at) {
      const double value = block.values[at];
      const bool is_line = is_line_ && (block.are_all_admitted || block.is_admitted[at + 1] != 0);
      const double height = is_line ? value / 2 + block.values[at + 1] / 2 : value;
      const std::int64_t span_ms = block.times[at + 1] - block.times[at];
      area.Add(height * static_cast<double>(span_ms));
      length_ms += span_ms;
    });
    area_ = area;
    length_ms_ = length_ms;
  }
  void AddSpan(const AdmittedSpan& span) override {
    const double height = is_line_ ? span.from / 2 + span.to / 2 : span.value;
    area_.Add(height * static_cast<double>(span.length_ms));
    length_ms_ += span.length_ms;
  }
  void AddRun(const RunStatistics& run) override {
    area_.Add(run.area);
    length_ms_ += run.good_ms;
  }
  std::optional<double> Value() const override {
    if (length_ms_ == 0) return std::nullopt;
    return area_.Value() / (is_mean_ ? static_cast<double>(length_ms_) : kMillisecondsPerSecond);
  }

 private:
  const bool is_mean_;
  const bool is_line_;
  CompensatedSum area_;  // value x milliseconds
  std::int64_t length_ms_ = 0;
};

// The length of the spans whose point's value passes the test, in seconds.
template <typename Test>
class TimeWhere final : public Accumulator {
 public:
  explicit TimeWhere(Test test) : test_(test) {}

  void AddSpans(const PointBlock& block, std::size_t begin, std::size_t end) override {
    std::int64_t length_ms = 0;
    ForEachAdmitted(block, begin, end - 1, [&](std::size_t at) {
      const std::int64_t span_ms = block.times[at + 1] - block.times[at];
      length_ms += test_(block.values[at]) ? span_ms : 0;
    });
    length_ms_ += length_ms;
  }
  void AddSpan(const AdmittedSpan& span) override {
    if (test_(span.value)) length_ms_ += span.length_ms;
  }
  // Runs come for TIME_DURATION alone, whose test all pass.
  void AddRun(const RunStatistics& run) override { length_ms_ += run.good_ms; }
  std::optional<double> Value() const override {
    return static_cast<double>(length_ms_) / kMillisecondsPerSecond;
  }

 private:
  const Test test_;
  std::int64_t length_ms_ = 0;
};

template <typename Test>
std::unique_ptr<Accumulator> MakeTime(Test test) {
  return std::make_unique<TimeWhere<Test>>(test);
}

}  // namespace

std::unique_ptr<Accumulator> MakeSpanAccumulator(const StatisticRequest& request, bool is_line) {
  const double first = request.parameter_1;
  const double second = request.parameter_2;
  switch (request.type) {
    case StatisticType::kTimeWeightedMean:
    case StatisticType::kIntegral:
      return std::make_unique<Area>(request.type, is_line);
    case StatisticType::kTimeDuration:
      return MakeTime([](double) { return true; });
    case StatisticType::kTimeGreater:
      return MakeTime([first](double value) { return value > first; });
    case StatisticType::kTimeGreaterOrEqual:
      return MakeTime([first](double value) { return value >= first; });
    case StatisticType::kTimeEqual:
      return MakeTime([first](double value) { return value == first; });
    case StatisticType::kTimeNotEqual:
      return MakeTime([first](double value) { return value != first; });
    case StatisticType::kTimeLess:
      return MakeTime([first](double value) { return value < first; });
    case StatisticType::kTimeLessOrEqual:
      return MakeTime([first](double value) { return value <= first; });
    case StatisticType::kTimeInRange:
      return MakeTime([=](double value) { return value >= first && value <= second; });
    case StatisticType::kTimeNotInRange:
      return MakeTime([=](double value) { return value < first || value > second; });
    default:
      return nullptr;
  }
}

}  // namespace zervane
