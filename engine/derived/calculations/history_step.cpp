#include "engine/derived/calculations/history_step.h"

#include <algorithm>
#include <limits>

#include "engine/assert.h"
#include "engine/history/interpolation.h"
#include "engine/history/raw_records.h"
#include "engine/storage/run_statistics.h"

namespace zervane {
namespace {

// Values of all operands of one step, so that memory does not grow with their number.
constexpr std::size_t kMostValues = 65'536;

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

bool IsPolled(const Calculation& calculation) {
  return calculation.mode == Calculation::Mode::kPoll;
}

std::int64_t PeriodOf(const Calculation& calculation) { return calculation.period_s * 1000; }

// The first multiple of the period at or behind a time; 0 is no time that a record can have.
std::int64_t MultipleFrom(std::int64_t time_ms, std::int64_t period_ms) {
  return std::max((time_ms + period_ms - 1) / period_ms * period_ms, period_ms);
}

// The first record's time, of which a summary tells.
class FirstTime final : public ScanVisitor {
 public:
  Wants Offer(const RunSummary& run) override {
    time_ms_ = run.first_ms;
    return Wants::kStop;
  }
  bool Show(const SampleColumns&, std::size_t, std::size_t) override { return false; }

  std::optional<std::int64_t> time_ms() const { return time_ms_; }

 private:
  std::optional<std::int64_t> time_ms_;
};

// The times of up to `most` records.
class TimesReader final : public ScanVisitor {
 public:
  explicit TimesReader(std::size_t most) : most_(most) {}

  bool UsesStatistics() const override { return false; }
  Wants Offer(const RunSummary&) override { return IsFull() ? Wants::kStop : Wants::kRecords; }
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override {
    const auto times = records.times().subspan(begin, std::min(end - begin, most_ - times_.size()));
    times_.insert(times_.end(), times.begin(), times.end());
    return !IsFull();
  }

  bool IsFull() const { return times_.size() == most_; }
  const std::vector<std::int64_t>& times() const { return times_; }

 private:
  const std::size_t most_;
  std::vector<std::int64_t> times_;
};

}  // namespace

std::span<const TagId> TriggersOf(const Calculation& calculation) {
  if (calculation.source != 0) return {&calculation.source, 1};
  return calculation.operands;
}

bool HaveSameHistory(const Calculation& a, const Calculation& b) {
  const bool compute_the_same = a.type == b.type && a.program == b.program &&
                                a.operands == b.operands && a.mode == b.mode &&
                                a.history == b.history;
  return compute_the_same && (IsPolled(a) ? a.period_s == b.period_s : a.source == b.source);
}

TimeRange HistoryWithin(const Calculation& calculation, TimeRange range) {
  ZERVANE_ASSERT(calculation.history);
  const CalculatedPast& history = *calculation.history;
  range.from_ms = std::max({range.from_ms, history.start_s * 1000, std::int64_t{1}});
  if (history.end_s) range.to_ms = std::min(range.to_ms, *history.end_s * 1000);
  if (IsPolled(calculation)) {
    range.from_ms = MultipleFrom(range.from_ms, PeriodOf(calculation));
  }
  return range;
}

Result<HistoryStep> HistoryReader::Compute(const Calculation& calculation,
                                           const HistoryProgress& progress) const {
  ZERVANE_ASSERT(!progress.IsDone());
  HistoryStep step = {.records = {}, .after = progress};
  if (!progress.previous) {
    Result<HistoryProgress> begun = Begin(calculation, progress);
    if (!begun.ok()) return begun.status();
    step.after = *begun;
    if (step.after.IsDone()) return step;
  }
  const Result<std::vector<std::int64_t>> instants = NextInstants(calculation, &step.after);
  if (!instants.ok()) return instants.status();
  const Result<std::optional<Operands>> operands = OperandsAt(calculation, *instants);
  if (!operands.ok()) return operands.status();
  if (!*operands) {
    step.after.next_ms = progress.key.until_ms + 1;
    return step;
  }
  if (!step.after.previous && !instants->empty()) {
    const Result<std::optional<double>> before = ValueBefore(calculation, instants->front());
    if (!before.ok()) return before.status();
    step.after.previous = *before;
  }
  AddResults(calculation, *instants, **operands, &step);
  return step;
}

void HistoryReader::AddResults(const Calculation& calculation,
                               std::span<const std::int64_t> times_ms, const Operands& operands,
                               HistoryStep* step) {
  if (times_ms.empty()) return;
  std::optional<Value> previous;
  if (step->after.previous) previous = RoundedTo(calculation.type, *step->after.previous);
  std::vector<double> values(operands.size());
  for (std::size_t at = 0; at < times_ms.size(); ++at) {
    std::ranges::transform(operands, values.begin(), [&](const auto& all) { return all[at]; });
    const Sample record = ComputeRecord(calculation, values, times_ms[at], previous);
    previous = record.value;
    step->records.Add(calculation.tag, record);
  }
  step->after.previous = NumberAt(step->records.samples, times_ms.size() - 1);
}

// ---- where it begins ----

Result<std::optional<TagPoints>> HistoryReader::PointsOf(TagId tag, std::int64_t until_ms) const {
  const std::optional<TagTraits> traits = tags_.Find(tag);
  if (!traits) return std::optional<TagPoints>();
  Result<TagPoints> points =
      TagPoints::Read(store_, current_values_, tag, *traits, std::max(clock_(), until_ms));
  if (!points.ok()) return points.status();
  return std::optional(*std::move(points));
}

Result<HistoryProgress> HistoryReader::Begin(const Calculation& calculation,
                                             HistoryProgress progress) const {
  const std::int64_t until_ms = progress.key.until_ms;
  const Result<std::optional<std::int64_t>> first = FirstOperandsOf(calculation, until_ms);
  if (!first.ok()) return first.status();
  if (!*first) {
    progress.next_ms = until_ms + 1;
    return progress;
  }
  progress.next_ms = std::max(progress.next_ms, **first);
  if (IsPolled(calculation)) {
    const std::int64_t period_ms = PeriodOf(calculation);
    const std::int64_t last = until_ms / period_ms;  // multiple
    const std::int64_t first_allowed = std::max<std::int64_t>(last - kMostPolledInstants + 1, 0);
    progress.next_ms =
        MultipleFrom(std::max(progress.next_ms, first_allowed * period_ms), period_ms);
  }
  progress.from_ms = progress.next_ms;
  return progress;
}

Result<std::optional<std::int64_t>> HistoryReader::FirstOperandsOf(const Calculation& calculation,
                                                                   std::int64_t until_ms) const {
  std::int64_t first_ms = 0;
  for (const TagId operand : calculation.operands) {
    const Result<std::optional<TagPoints>> points = PointsOf(operand, until_ms);
    if (!points.ok()) return points.status();
    FirstTime first;
    if (*points) {
      Status status = (*points)->Visit({}, Direction::kForward, first);
      if (!status.ok()) return status;
    }
    if (!first.time_ms()) return std::optional<std::int64_t>();
    first_ms = std::max(first_ms, *first.time_ms());
  }
  return std::optional(first_ms);
}

// A tag that is not archived has no other record than its current value.
Result<std::optional<double>> HistoryReader::ValueBefore(const Calculation& calculation,
                                                         std::int64_t time_ms) const {
  SampleColumns records;
  const bool has_current = current_values_.AddTo(records, calculation.tag);
  if (has_current && records.times().front() < time_ms) return std::optional(NumberAt(records, 0));
  const Result<std::optional<TagPoints>> points = PointsOf(calculation.tag, time_ms);
  if (!points.ok()) return points.status();
  if (!*points) return std::optional<double>();
  RecordReader last(Direction::kBackward, 1);
  Status status = (*points)->Visit({.to_ms = time_ms - 1}, Direction::kBackward, last);
  if (!status.ok()) return status;
  if (last.records().empty()) return std::optional<double>();
  return std::optional(NumberAt(last.records(), 0));
}

// ---- instants, and operands there ----

std::size_t HistoryReader::InstantsOf(const Calculation& calculation) const {
  const std::size_t tags = std::max<std::size_t>(calculation.operands.size(), 1);
  return std::clamp<std::size_t>(kMostValues / tags, 1, most_instants_);
}

Result<std::vector<std::int64_t>> HistoryReader::NextInstants(const Calculation& calculation,
                                                              HistoryProgress* progress) const {
  if (!IsPolled(calculation)) return NextRecords(calculation, progress);
  const std::int64_t period_ms = PeriodOf(calculation);
  std::vector<std::int64_t> instants;
  const std::size_t most = InstantsOf(calculation);
  instants.reserve(most);
  for (; !progress->IsDone() && instants.size() < most; progress->next_ms += period_ms) {
    instants.push_back(progress->next_ms);
  }
  return instants;
}

// Some records of each tag are read, so what is known of all of them ends with the first that has
// more.
Result<std::vector<std::int64_t>> HistoryReader::NextRecords(const Calculation& calculation,
                                                             HistoryProgress* progress) const {
  const std::size_t most = InstantsOf(calculation);
  const TimeRange range = {.from_ms = progress->next_ms, .to_ms = progress->key.until_ms};
  std::int64_t known_ms = range.to_ms;
  std::vector<std::int64_t> instants;
  for (const TagId tag : TriggersOf(calculation)) {
    const Result<std::optional<TagPoints>> points = PointsOf(tag, range.to_ms);
    if (!points.ok()) return points.status();
    if (!*points) continue;
    TimesReader reader(most);
    if (Status status = (*points)->Visit(range, Direction::kForward, reader); !status.ok()) {
      return status;
    }
    if (reader.IsFull()) known_ms = std::min(known_ms, reader.times().back());
    instants.insert(instants.end(), reader.times().begin(), reader.times().end());
  }
  std::ranges::sort(instants);
  instants.erase(std::unique(instants.begin(), instants.end()), instants.end());
  if (instants.size() > most) known_ms = std::min(known_ms, instants[most - 1]);
  instants.erase(std::ranges::upper_bound(instants, known_ms), instants.end());
  progress->next_ms = known_ms + 1;
  return instants;
}

Result<std::optional<HistoryReader::Operands>> HistoryReader::OperandsAt(
    const Calculation& calculation, std::span<const std::int64_t> times_ms) const {
  Operands all;
  if (times_ms.empty()) return std::optional(std::move(all));
  for (const TagId operand : calculation.operands) {
    const Result<std::optional<TagPoints>> points = PointsOf(operand, times_ms.back());
    if (!points.ok()) return points.status();
    if (!*points) return std::optional<Operands>();
    const Result<Interpolated> values =
        Interpolate(**points, InterpolationMode::kPrevious, times_ms);
    if (!values.ok()) return values.status();
    const SampleColumns& samples = values->samples;
    std::vector<double>& known = all.emplace_back(times_ms.size(), kUnknown);
    for (std::size_t at = 0; at < times_ms.size(); ++at) {
      if (values->codes[at] != ZR3_OK) continue;
      known[at] = OperandOf(samples.types()[at], samples.qualities()[at], samples.values()[at]);
    }
  }
  return std::optional(std::move(all));
}

}  // namespace zervane
