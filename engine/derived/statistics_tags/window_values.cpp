#include "engine/derived/statistics_tags/window_values.h"

#include <cmath>
#include <limits>
#include <utility>

#include "engine/history/statistics/calculate.h"
#include "engine/log.h"

namespace zervane {
namespace {

// Takes the first record that a scan shows.
class FirstShown final : public ScanVisitor {
 public:
  explicit FirstShown(Direction direction) : direction_(direction) {}

  bool UsesStatistics() const override { return false; }
  Wants Offer(const RunSummary& run) override {
    return run.count > 0 ? Wants::kRecords : Wants::kNext;
  }
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override {
    if (begin == end) return true;
    found_ = records.At(direction_ == Direction::kForward ? begin : end - 1);
    return false;
  }

  const std::optional<Sample>& found() const { return found_; }

 private:
  const Direction direction_;
  std::optional<Sample> found_;
};

// Whether asking again later may answer otherwise: the store or memory failed, not the question.
bool IsWorthAnotherTry(ZR3_STATUS code) {
  return code == ZR3_ERR_STORAGE_FAILED || code == ZR3_ERR_OUT_OF_MEMORY ||
         code == ZR3_ERR_INTERNAL || code == ZR3_ERR_NOT_CONNECTED;
}

// What is computed of a window.
struct Statistic {
  std::optional<double> number;
  bool has_enough_good = true;
};

// The share of good is always that of all records: it would say nothing where bad ones are left
// out.
Result<bool> HasEnoughGood(const StatisticsRule& rule, const TagPoints& points,
                           const Window& window) {
  const bool is_share = rule.properties.stats_type == ZR3_STATS_TYPE_PCT_GOOD;
  if (is_share || rule.properties.pct_good == 0) return true;
  StatisticRequest request = RequestFor(rule.properties, window);
  request.type = StatisticType::kPercentGood;
  request.source = SampleSource::kRecords;
  request.filter.clear();
  const Result<double> share = CalculateStatisticOf(points, request);
  if (!share.ok()) return share.status();
  return static_cast<float>(*share) >= rule.properties.pct_good;
}

// Bad records that are asked for are not left out.
bool LeavesBadOut(const StatisticsProperties& properties) {
  return !properties.use_bad_value && properties.drop_bad_mode == ZR3_STATS_DROP_BAD_MODE_REC &&
         properties.stats_type != ZR3_STATS_TYPE_PCT_GOOD &&
         properties.stats_type != ZR3_STATS_TYPE_TIME_DURATION;
}

Result<Statistic> Calculate(const StatisticsRule& rule, const TagPoints& points,
                            const Window& window) {
  const StatisticRequest request = RequestFor(rule.properties, window);
  const Result<double> number = LeavesBadOut(rule.properties)
                                    ? CalculateStatisticOf(points.WithoutBad(), request)
                                    : CalculateStatisticOf(points, request);
  if (!number.ok()) return number.status();
  const Result<bool> has_enough_good = HasEnoughGood(rule, points, window);
  if (!has_enough_good.ok()) return has_enough_good.status();
  return Statistic{.number = *number, .has_enough_good = *has_enough_good};
}

// The value of a whole-number type, if it is in the range of 32 bits; CheckValue knows the rest.
std::optional<Value> WholeNumber(double number) {
  const double rounded = std::round(number);  // halves away from zero
  if (rounded < std::numeric_limits<std::int32_t>::min() ||
      rounded > std::numeric_limits<std::int32_t>::max()) {
    return std::nullopt;
  }
  return Value(static_cast<std::int32_t>(rounded));
}

std::optional<Value> NumberAs(TagType type, double number) {
  if (type == TagType::kFloat64) return Value(number);
  if (type != TagType::kFloat32) return WholeNumber(number);
  if (std::fabs(number) > std::numeric_limits<float>::max()) return std::nullopt;
  return Value(static_cast<float>(number));
}

// 0, as a value of a type of numbers.
Value ZeroOf(TagType type) { return *NumberAs(type, 0); }

}  // namespace

std::optional<Value> ConvertedTo(const StatisticsRule& rule, double statistic) {
  const double factor = rule.properties.conversion;
  double number = statistic;
  if (factor != 0) {
    const bool divides = rule.properties.conversion_type == ZR3_STATS_CONVERSION_TYPE_MINIFICATION;
    number = divides ? statistic / factor : statistic * factor;
  }
  if (!std::isfinite(number)) return std::nullopt;
  std::optional<Value> value = NumberAs(rule.type, number);
  if (!value || CheckValue(rule.type, *value) != ValueFault::kNone) return std::nullopt;
  return value;
}

Result<std::optional<TagPoints>> WindowValues::PointsOf(const StatisticsRule& rule) const {
  const std::optional<TagTraits> traits = tags_.Find(rule.source);
  if (!traits) return std::optional<TagPoints>();
  Result<TagPoints> points =
      TagPoints::Read(store_, current_values_, rule.source, *traits, clock_());
  if (!points.ok()) return points.status();
  return std::optional<TagPoints>(*std::move(points));
}

Result<std::int64_t> WindowValues::FirstRecordOf(const TagPoints& points) {
  FirstShown first(Direction::kForward);
  Status status = points.Visit({}, Direction::kForward, first);
  if (!status.ok()) return status;
  return first.found() ? first.found()->time_ms : kNoTime;
}

Result<Value> WindowValues::ValueBefore(const StatisticsRule& rule, std::int64_t time_ms) const {
  const std::optional<TagTraits> traits = tags_.Find(rule.tag);
  if (!traits || time_ms == 0) return ZeroOf(rule.type);
  const std::optional<Sample> current = current_values_.Find(rule.tag);
  if (current && current->time_ms < time_ms) return current->value;
  const Result<TagPoints> points =
      TagPoints::Read(store_, current_values_, rule.tag, *traits, clock_());
  if (!points.ok()) return points.status();
  FirstShown last(Direction::kBackward);
  Status status = points->Visit({.from_ms = 0, .to_ms = time_ms - 1}, Direction::kBackward, last);
  if (!status.ok()) return status;
  return last.found() ? last.found()->value : ZeroOf(rule.type);
}

// What cannot be computed is no result, what is damaged neither: all others would wait for it.
Result<std::optional<Sample>> WindowValues::RecordOf(const StatisticsRule& rule,
                                                     const TagPoints& points, const Window& window,
                                                     const std::optional<Value>& previous) const {
  const std::int64_t stamp_ms =
      (rule.properties.begin_timestamp ? window.begin_ms : window.end_ms) +
      std::int64_t{rule.properties.timestamp_offset} * 1000;
  if (stamp_ms < 0 || stamp_ms > kMaxTimeMs) return std::optional<Sample>();
  Sample sample = {.time_ms = stamp_ms, .quality = ZR3_QUALITY_BAD, .type = rule.type, .value = {}};
  const Result<Statistic> statistic = Calculate(rule, points, window);
  if (!statistic.ok() && IsWorthAnotherTry(statistic.code())) return statistic.status();
  if (!statistic.ok() && statistic.code() == ZR3_ERR_STORAGE_DAMAGED) {
    LogError("statistics tag {} has no result for the time from {}: {}", rule.tag, window.begin_ms,
             statistic.status().message());
  }
  std::optional<Value> value;
  if (statistic.ok()) value = ConvertedTo(rule, *statistic->number);
  if (value) {
    sample.value = *value;
    if (statistic->has_enough_good) sample.quality = ZR3_QUALITY_GOOD;
    return std::optional(sample);
  }
  const Result<Value> before = previous ? Result<Value>(*previous) : ValueBefore(rule, stamp_ms);
  if (!before.ok()) return before.status();
  sample.value = *before;
  return std::optional(sample);
}

}  // namespace zervane
