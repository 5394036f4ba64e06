#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/history/statistics/accumulator.h"

namespace zervane {
namespace {

// MAX, MIN, RANGE.
class Extremes final : public Accumulator {
 public:
  explicit Extremes(StatisticType type) : type_(type) {}

  void AddRecords(const PointBlock& block, std::size_t begin, std::size_t end) override {
    double least = least_;
    double greatest = greatest_;
    ForEachAdmitted(block, begin, end, [&](std::size_t at) {
      least = std::min(least, block.values[at]);
      greatest = std::max(greatest, block.values[at]);
    });
    least_ = least;
    greatest_ = greatest;
  }
  void AddRun(const RunStatistics& run) override {
    if (run.good == 0) return;
    least_ = std::min(least_, run.least);
    greatest_ = std::max(greatest_, run.greatest);
  }
  std::optional<double> Value() const override {
    if (least_ > greatest_) return std::nullopt;
    if (type_ == StatisticType::kMax) return greatest_;
    return type_ == StatisticType::kMin ? least_ : greatest_ - least_;
  }

 private:
  const StatisticType type_;
  double least_ = std::numeric_limits<double>::infinity();
  double greatest_ = -std::numeric_limits<double>::infinity();
};

// SUM, ARITH_MEAN, COUNT.
class Sum final : public Accumulator {
 public:
  explicit Sum(StatisticType type) : type_(type) {}

  void AddRecords(const PointBlock& block, std::size_t begin, std::size_t end) override {
    CompensatedSum sum = sum_;
    std::int64_t count = count_;
    ForEachAdmitted(block, begin, end, [&](std::size_t at) {
      sum.Add(block.values[at]);
      ++count;
    });
    sum_ = sum;
    count_ = count;
  }
  void AddRun(const RunStatistics& run) override {
    sum_.Add(run.sum);
    count_ += run.good;
  }
  std::optional<double> Value() const override {
    if (type_ == StatisticType::kCount) return static_cast<double>(count_);
    if (count_ == 0) return std::nullopt;
    if (type_ == StatisticType::kSum) return sum_.Value();
    return sum_.Value() / static_cast<double>(count_);
  }

 private:
  const StatisticType type_;
  CompensatedSum sum_;
  std::int64_t count_ = 0;
};

// LAST, DIFF.
class Ends final : public Accumulator {
 public:
  explicit Ends(StatisticType type) : type_(type) {}

  void AddRecords(const PointBlock& block, std::size_t begin, std::size_t end) override {
    const auto flags = block.is_admitted.subspan(begin, end - begin);
    const auto first = std::ranges::find(flags, 1);
    if (first == flags.end()) return;
    const auto last = std::find(flags.rbegin(), flags.rend(), 1);
    Add(block.values[begin + static_cast<std::size_t>(first - flags.begin())],
        block.values[end - 1 - static_cast<std::size_t>(last - flags.rbegin())]);
  }
  void AddRun(const RunStatistics& run) override {
    if (run.good > 0) Add(run.first_good.value, run.last_good.value);
  }
  std::optional<double> Value() const override {
    if (!first_) return std::nullopt;
    return type_ == StatisticType::kLast ? last_ : last_ - *first_;
  }

 private:
  void Add(double first, double last) {
    if (!first_) first_ = first;
    last_ = last;
  }

  const StatisticType type_;
  std::optional<double> first_;
  double last_ = 0;
};

// STANDARD_DEVIATION.
class Deviation final : public Accumulator {
 public:
  void AddRecords(const PointBlock& block, std::size_t begin, std::size_t end) override {
    Spread spread;
    ForEachAdmitted(block, begin, end, [&](std::size_t at) { spread.Add(block.values[at]); });
    spread_.Add(spread);
  }
  void AddRun(const RunStatistics& run) override {
    spread_.Add(Spread{static_cast<double>(run.good), run.mean, run.squares});
  }
  std::optional<double> Value() const override {
    if (spread_.count == 0) return std::nullopt;
    return std::sqrt(spread_.squares / spread_.count);
  }

 private:
  Spread spread_;
};

// COUNT_IN_RANGE, COUNT_NOT_IN_RANGE.
class RangeCount final : public Accumulator {
 public:
  explicit RangeCount(const StatisticRequest& request)
      : least_(request.parameter_1),
        greatest_(request.parameter_2),
        counts_outside_(request.type == StatisticType::kCountNotInRange) {}

  void AddRecords(const PointBlock& block, std::size_t begin, std::size_t end) override {
    std::int64_t inside = 0;
    std::int64_t all = 0;
    ForEachAdmitted(block, begin, end, [&](std::size_t at) {
      inside += block.values[at] >= least_ && block.values[at] <= greatest_ ? 1 : 0;
      ++all;
    });
    count_ += counts_outside_ ? all - inside : inside;
  }
  std::optional<double> Value() const override { return static_cast<double>(count_); }

 private:
  const double least_;
  const double greatest_;
  const bool counts_outside_;
  std::int64_t count_ = 0;
};

// Counts the admitted points that differ from the one before them in the way of the test.
template <typename Test>
class Changes final : public Accumulator {
 public:
  explicit Changes(Test test) : test_(test) {}

  void AddRecords(const PointBlock& block, std::size_t begin, std::size_t end) override {
    ForEachAdmitted(block, begin, end, [&](std::size_t at) {
      const double value = block.values[at];
      if (previous_ && test_(*previous_, value)) ++count_;
      previous_ = value;
    });
  }
  void PassPrevious(double value) override { previous_ = value; }
  void ForgetPrevious() override { previous_.reset(); }
  std::optional<double> Value() const override { return static_cast<double>(count_); }

 private:
  const Test test_;
  std::optional<double> previous_;
  std::int64_t count_ = 0;
};

template <typename Test>
std::unique_ptr<Accumulator> MakeChanges(Test test) {
  return std::make_unique<Changes<Test>>(test);
}

}  // namespace

std::unique_ptr<Accumulator> MakeRecordAccumulator(const StatisticRequest& request) {
  switch (request.type) {
    case StatisticType::kMax:
    case StatisticType::kMin:
    case StatisticType::kRange:
      return std::make_unique<Extremes>(request.type);
    case StatisticType::kSum:
    case StatisticType::kArithmeticMean:
    case StatisticType::kCount:
      return std::make_unique<Sum>(request.type);
    case StatisticType::kLast:
    case StatisticType::kDifference:
      return std::make_unique<Ends>(request.type);
    case StatisticType::kStandardDeviation:
      return std::make_unique<Deviation>();
    case StatisticType::kCountInRange:
    case StatisticType::kCountNotInRange:
      return std::make_unique<RangeCount>(request);
    default:
      return nullptr;
  }
}

std::unique_ptr<Accumulator> MakeChangeAccumulator(const StatisticRequest& request) {
  const double limit = request.parameter_1;
  switch (request.type) {
    case StatisticType::kCountOfChanges:
      return MakeChanges([](double before, double value) { return before != value; });
    case StatisticType::kCountOfRises:
      return MakeChanges(
          [limit](double before, double value) { return before <= limit && value > limit; });
    case StatisticType::kCountOfFalls:
      return MakeChanges(
          [limit](double before, double value) { return before > limit && value <= limit; });
    default:
      return nullptr;
  }
}

std::unique_ptr<Accumulator> MakeAccumulator(const StatisticRequest& request, bool is_line) {
  if (auto accumulator = MakeRecordAccumulator(request)) return accumulator;
  if (auto accumulator = MakeChangeAccumulator(request)) return accumulator;
  return MakeSpanAccumulator(request, is_line);
}

}  // namespace zervane
