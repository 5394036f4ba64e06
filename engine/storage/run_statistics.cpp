#include "engine/storage/run_statistics.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <optional>

#include "engine/assert.h"
#include "engine/storage/good_numbers.h"

namespace zervane {
namespace {

// A good record and the one behind it, between which the value is known.
struct Span {
  RunStatistics::Point from;
  std::int64_t to_ms = 0;
  double to_value = 0;
  bool is_to_good = false;
};

void AddSpan(const Span& span, RunStatistics& run) {
  const std::int64_t length_ms = span.to_ms - span.from.time_ms;
  run.good_ms += length_ms;
  if (run.course == Course::kNone) return;
  const bool is_line = run.course == Course::kLine && span.is_to_good;
  // Halved first: the sum of two doubles may be none.
  const double height = is_line ? span.from.value / 2 + span.to_value / 2 : span.from.value;
  run.area.Add(height * static_cast<double>(length_ms));
}

void AddGood(const RunStatistics::Point& point, RunStatistics& run) {
  if (run.good++ == 0) run.first_good = point;
  run.last_good = point;
  if (run.course == Course::kNone) return;
  const bool is_only = run.good == 1;
  run.least = is_only ? point.value : std::min(run.least, point.value);
  run.greatest = is_only ? point.value : std::max(run.greatest, point.value);
  run.sum.Add(point.value);
  Spread spread{static_cast<double>(run.good - 1), run.mean, run.squares};
  spread.Add(point.value);
  run.mean = spread.mean;
  run.squares = spread.squares;
}

RunStatistics StatisticsOneByOne(const SampleColumns& samples, std::size_t begin, std::size_t end) {
  RunStatistics run;
  run.first_ms = samples.times()[begin];
  run.last_ms = samples.times()[end - 1];
  run.count = static_cast<std::int64_t>(end - begin);
  run.course = CourseOf(samples.types()[begin]);
  bool was_good = false;
  for (std::size_t at = begin; at < end; ++at) {
    const RunStatistics::Point point{samples.times()[at], NumberAt(samples, at)};
    const bool is_good = IsGoodQuality(samples.qualities()[at]) &&
                         (run.course == Course::kNone || std::isfinite(point.value));
    if (was_good) AddSpan({run.last_good, point.time_ms, point.value, is_good}, run);
    if (is_good) AddGood(point, run);
    was_good = is_good;
  }
  return run;
}

}  // namespace

double NumberAt(const SampleColumns& samples, std::size_t at) {
  const std::uint64_t bits = samples.values()[at];
  switch (samples.types()[at]) {
    case TagType::kFloat64:
      return std::bit_cast<double>(bits);
    case TagType::kFloat32:
      return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
    case TagType::kString:
    case TagType::kBlob:
      return std::numeric_limits<double>::quiet_NaN();
    default:
      return static_cast<std::int32_t>(static_cast<std::uint32_t>(bits));
  }
}

void Spread::Add(const Spread& other) {
  if (other.count == 0) return;
  if (count == 0) {
    *this = other;
    return;
  }
  const double all = count + other.count;
  const double apart = other.mean - mean;
  mean = std::isinf(apart) ? mean * (count / all) + other.mean * (other.count / all)
                           : mean + apart * (other.count / all);
  squares += other.squares + apart * apart * (count * other.count / all);
  count = all;
}

RunStatistics StatisticsOf(const SampleColumns& samples, std::size_t begin, std::size_t end) {
  ZERVANE_ASSERT(begin < end && end <= samples.size());
  std::optional<RunStatistics> run;
  for (std::size_t from = begin; from < end; from += kPieceRecords) {
    const std::size_t to = std::min(end, from + kPieceRecords);
    std::optional<RunStatistics> piece = StatisticsOfGoodNumbers(samples, from, to);
    if (!piece) piece = StatisticsOneByOne(samples, from, to);
    if (run) {
      Append(*run, *piece);
    } else {
      run = piece;
    }
  }
  return *run;
}

void Append(RunStatistics& run, const RunStatistics& next) {
  ZERVANE_ASSERT(run.course == next.course && run.last_ms < next.first_ms);
  if (run.IsLastGood()) {
    AddSpan({run.last_good, next.first_ms, next.first_good.value, next.IsFirstGood()}, run);
  }
  run.last_ms = next.last_ms;
  run.count += next.count;
  run.good_ms += next.good_ms;
  run.area.Add(next.area);
  if (next.good == 0) return;
  run.last_good = next.last_good;
  run.sum.Add(next.sum);
  if (run.good == 0) {
    run.first_good = next.first_good;
    run.least = next.least;
    run.greatest = next.greatest;
  } else {
    run.least = std::min(run.least, next.least);
    run.greatest = std::max(run.greatest, next.greatest);
  }
  Spread spread{static_cast<double>(run.good), run.mean, run.squares};
  spread.Add(Spread{static_cast<double>(next.good), next.mean, next.squares});
  run.mean = spread.mean;
  run.squares = spread.squares;
  run.good += next.good;
}

}  // namespace zervane
