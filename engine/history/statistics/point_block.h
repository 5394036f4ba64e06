#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "api/words/samples.h"
#include "api/words/statistics.h"
#include "api/words/value.h"
#include "engine/derived/expression/filter_expression.h"

namespace zervane {

// Some points of a tag, ascending in time, as columns, and what a statistic makes of each. A text
// has a number, too: how many texts before it differ from the admitted one before them. So of two
// admitted ones that follow each other those are equal that have equal numbers.
struct PointBlock {
  std::span<const std::int64_t> times;
  std::span<const double> values;
  std::span<const std::uint8_t> is_admitted;
  std::span<const std::uint8_t> is_good;
  bool are_all_admitted = false;
  bool are_all_good = false;

  std::size_t size() const { return times.size(); }
};

// One of them that was passed.
struct PassedPoint {
  std::int64_t time_ms = kNoTime;  // kNoTime: there is none
  double value = 0;
  bool is_admitted = false;
  bool is_good = false;

  bool exists() const { return time_ms != kNoTime; }
};
inline PassedPoint PointAt(const PointBlock& block, std::size_t at) {
  return {.time_ms = block.times[at],
          .value = block.values[at],
          .is_admitted = block.is_admitted[at] != 0,
          .is_good = block.is_good[at] != 0};
}

// Says which records a statistic admits: those that are good, or, where bad ones are asked for,
// have a finite number, and that pass the filter.
class RecordJudge {
 public:
  static constexpr std::size_t kMostRecords = 1'024;

  // `filter` may be null.
  RecordJudge(const StatisticRequest& request, const FilterExpression* filter)
      : uses_bad_values_(request.uses_bad_values),
        keeps_failures_(request.filter_failure == FilterFailure::kKeep),
        filter_(filter) {}

  // The block, of up to kMostRecords, is there until the next one.
  PointBlock Judge(const SampleColumns& records, std::size_t begin, std::size_t end);

 private:
  template <typename Number>
  void ReadNumbers(std::span<const std::uint64_t> bits);
  void ReadValues(const SampleColumns& records, std::size_t begin, std::size_t end);
  void JudgeQualities(std::span<const std::uint16_t> qualities, bool are_texts);
  void ApplyFilter(const SampleColumns& records, std::size_t begin, std::size_t end);
  void NumberTexts(const SampleColumns& records, std::size_t begin, std::size_t end);

  const bool uses_bad_values_;
  const bool keeps_failures_;
  const FilterExpression* const filter_;

  std::array<double, kMostRecords> values_;
  std::array<std::uint8_t, kMostRecords> is_admitted_;
  std::array<std::uint8_t, kMostRecords> is_good_;

  // The last admitted text, and its number.
  std::string text_;
  double text_number_ = 0;
};

}  // namespace zervane
