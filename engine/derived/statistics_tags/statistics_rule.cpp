#include "engine/derived/statistics_tags/statistics_rule.h"

#include <spdlog/fmt/fmt.h>

#include <string_view>

#include "api/words/samples.h"
#include "engine/derived/expression/filter_expression.h"
#include "engine/history/statistics/request_check.h"

namespace zervane {
namespace {

constexpr std::int32_t kDayS = 86'400;
constexpr std::int32_t kLongestMonthDays = 31;

struct Bounded {
  std::string_view name;
  std::int64_t number = 0;
  std::int64_t min = 0;
  std::int64_t max = INT32_MAX;
  bool counts = true;  // for the sample mode
};

Status CheckBounds(const Bounded& property) {
  if (!property.counts || (property.number >= property.min && property.number <= property.max)) {
    return {};
  }
  return {ZR3_ERR_INVALID_PROPERTY,
          fmt::format("{} is {}, from {} to {} are possible", property.name, property.number,
                      property.min, property.max)};
}

// A window as long as any is at first, wherever it may lie.
Window SpecimenOf(const StatisticsProperties& properties) {
  std::int64_t length_s = properties.sample_interval;
  if (properties.sample_mode == ZR3_STATS_SAMPLE_MODE_EVERY_DAY) length_s = kDayS;
  if (properties.sample_mode == ZR3_STATS_SAMPLE_MODE_EVERY_MONTH) {
    length_s = std::int64_t{kLongestMonthDays} * kDayS;
  }
  if (properties.sample_mode == ZR3_STATS_SAMPLE_MODE_FOREVER) length_s = properties.calc_period;
  return {.begin_ms = 0, .end_ms = length_s * 1000};
}

// What a caller is told of a tag that asks for what cannot be calculated.
ZR3_STATUS StatusOfProperty(ZR3_STATUS code) {
  if (code == ZR3_ERR_INVALID_ARGUMENT) return ZR3_ERR_INVALID_PROPERTY;
  return code == ZR3_ERR_TYPE_MISMATCH ? ZR3_ERR_INVALID_TAG_TYPE : code;
}

}  // namespace

std::optional<std::int64_t> StatisticsRule::start_ms() const {
  if (properties.sample_start_date == 0) return std::nullopt;
  return std::int64_t{static_cast<std::uint32_t>(properties.sample_start_date)} * 1000;
}

StatisticsRule RuleOf(const Tag& tag, TagId source) {
  StatisticsRule rule = {.tag = tag.id,
                         .source = source,
                         .type = static_cast<TagType>(tag.type),
                         .properties = std::get<StatisticsProperties>(tag.own)};
  rule.properties.source_tag.clear();
  rule.properties.reset = false;
  return rule;
}

StatisticRequest RequestFor(const StatisticsProperties& properties, const Window& window) {
  return {.type = static_cast<StatisticType>(properties.stats_type),
          .regions = {{.left_ms = window.begin_ms,
                       .right_ms = window.end_ms,
                       .is_left_closed = true,
                       .is_right_closed = false}},
          .least_percent_good = 0,
          .source = static_cast<SampleSource>(properties.sample_type),
          .filter = properties.filter_expr,
          .filter_failure = static_cast<FilterFailure>(properties.filter_fail_mode),
          .parameter_1 = properties.count_param1,
          .parameter_2 = properties.count_param2,
          .offset_s = properties.interp_offset,
          .period_s = properties.interp_period,
          .uses_bad_values = properties.use_bad_value};
}

Status CheckSampling(const StatisticsProperties& properties) {
  const std::int32_t mode = properties.sample_mode;
  const bool is_by_month = mode == ZR3_STATS_SAMPLE_MODE_EVERY_MONTH;
  const bool is_by_day = mode == ZR3_STATS_SAMPLE_MODE_EVERY_DAY || is_by_month;
  const bool has_interval =
      mode == ZR3_STATS_SAMPLE_MODE_INTERVAL || mode == ZR3_STATS_SAMPLE_MODE_TIME_MOVING;
  const Bounded bounds[] = {
      {.name = "sample_interval",
       .number = properties.sample_interval,
       .min = 1,
       .counts = has_interval},
      {.name = "calc_period",
       .number = properties.calc_period,
       .min = 1,
       .counts = AreRunning(mode)},
      {.name = "sample_begin_offset",
       .number = properties.sample_begin_offset,
       .max = kDayS - 1,
       .counts = is_by_day},
      {.name = "sample_end_offset",
       .number = properties.sample_end_offset,
       .max = kDayS,
       .counts = is_by_day},
      {.name = "sample_month_begin_day",
       .number = properties.sample_month_begin_day,
       .min = 1,
       .max = kLongestMonthDays,
       .counts = is_by_month},
      {.name = "sample_month_end_day",
       .number = properties.sample_month_end_day,
       .min = 1,
       .max = kLongestMonthDays,
       .counts = is_by_month},
  };
  for (const Bounded& property : bounds) {
    if (Status status = CheckBounds(property); !status.ok()) return status;
  }
  return {};
}

Status CheckRule(const StatisticsRule& rule, std::optional<TagType> source_type) {
  if (IsText(rule.type)) return {ZR3_ERR_INVALID_TAG_TYPE, "a statistic is a number"};
  if (Status status = CheckSampling(rule.properties); !status.ok()) return status;
  StatisticRequest request = RequestFor(rule.properties, SpecimenOf(rule.properties));
  request.least_percent_good = rule.properties.pct_good;
  // The source that is gone was one of numbers, or the statistic suits texts, too.
  Status status = CheckRequest(request, source_type.value_or(TagType::kFloat64));
  if (!status.ok()) return {StatusOfProperty(status.code()), status.message()};
  if (request.filter.empty()) return {};
  return FilterExpression::Parse(request.filter).status();
}

}  // namespace zervane
