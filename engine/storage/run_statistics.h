#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "api/words/samples.h"
#include "api/words/value.h"

// What many records say together, so that they need not be looked at one by one.
namespace zervane {

// Good: quality bits 7 and 6 are both set, and a number is finite. Uncertain is bad.
constexpr bool IsGoodQuality(std::uint16_t quality) { return (quality & 0xC0) == 0xC0; }

// How a type's values go on from a record to the next.
enum class Course : std::uint8_t {
  kLine,  // numbers: straight to the next one's
  kStep,  // DIGITAL: they stay until the next
  kNone,  // STRING and BLOB: they have no number
};
constexpr Course CourseOf(TagType type) {
  if (IsText(type)) return Course::kNone;
  return type == TagType::kDigital ? Course::kStep : Course::kLine;
}

// The number of sample `at`; NaN for a text.
double NumberAt(const SampleColumns& samples, std::size_t at);

// A sum, and what its additions rounded off: A. Neumaier, Rundungsfehleranalyse einiger Verfahren
// zur Summation endlicher Summen, 1974.
class CompensatedSum {
 public:
  CompensatedSum() = default;
  CompensatedSum(double sum, double rest) : sum_(sum), rest_(rest) {}

  void Add(double value) {
    const double sum = sum_ + value;
    const bool is_less = (value < 0 ? -value : value) > (sum_ < 0 ? -sum_ : sum_);
    rest_ += is_less ? (value - sum) + sum_ : (sum_ - sum) + value;
    sum_ = sum;
  }
  void Add(const CompensatedSum& other) {
    Add(other.sum_);
    rest_ += other.rest_;
  }

  // A sum that left the range of doubles is infinite, whatever its rest; so is one that left it on
  // both sides, for want of anything better. It is never NaN.
  double Value() const {
    const double value = sum_ + rest_;
    if (value == value) return value;
    return sum_ == sum_ ? sum_ : std::numeric_limits<double>::infinity();
  }
  double sum() const { return sum_; }
  double rest() const { return rest_; }

 private:
  double sum_ = 0;
  double rest_ = 0;
};

// How far some numbers lie from their mean: by Welford's recurrence of 1962, and with others as in
// Chan, Golub and LeVeque 1979. The mean is finite; squares beyond the range of doubles are
// infinite and stay so. None of it is ever NaN.
struct Spread {
  double count = 0;
  double mean = 0;
  double squares = 0;  // the sum of (number - mean)^2

  void Add(double number) {
    count += 1;
    const double apart = number - mean;
    mean += std::isinf(apart) ? number / count - mean / count : apart / count;
    squares += apart * (number - mean);
  }
  void Add(const Spread& other);
};

// Of some records of a tag that follow each other, all of one course. Its spans go from each record
// to the next one, and are good where the former is: there the value runs on the course, but stays
// where the next one is not good. None goes beyond the last record.
struct RunStatistics {
  struct Point {
    std::int64_t time_ms = kNoTime;
    double value = 0;  // NaN for texts
  };

  std::int64_t first_ms = 0;  // of all records
  std::int64_t last_ms = 0;
  std::int64_t count = 0;
  Course course = Course::kLine;

  // Of the good records. Where there are none, and for texts, the numbers are 0.
  std::int64_t good = 0;
  Point first_good;
  Point last_good;
  double least = 0;
  double greatest = 0;
  CompensatedSum sum;
  double mean = 0;
  double squares = 0;  // about the mean: Spread

  // Of the good spans.
  std::int64_t good_ms = 0;
  CompensatedSum area;  // value x milliseconds

  bool IsFirstGood() const { return good > 0 && first_good.time_ms == first_ms; }
  bool IsLastGood() const { return good > 0 && last_good.time_ms == last_ms; }
};

// Of the records from `begin` to before `end`, at least one, of one type, ascending in time.
RunStatistics StatisticsOf(const SampleColumns& samples, std::size_t begin, std::size_t end);

// Makes `run` that of its records and those of `next`, which come behind it and are of the same
// course; the span between them included.
void Append(RunStatistics& run, const RunStatistics& next);

}  // namespace zervane
