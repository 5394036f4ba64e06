#include "engine/derived/calculations/calculation.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <variant>

#include "api/words/ascii.h"
#include "api/words/samples.h"
#include "engine/assert.h"
#include "engine/derived/expression/parser.h"
#include "engine/storage/run_statistics.h"

namespace zervane {
namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

// Seconds reach beyond 2038: the property has 32 bits, and none of them is a sign.
std::int64_t SecondsOf(std::int32_t property) { return static_cast<std::uint32_t>(property); }

Status CheckNumbers(const Tag& tag, const CalculationProperties& properties) {
  if (IsText(static_cast<TagType>(tag.type))) {
    return {ZR3_ERR_INVALID_TAG_TYPE,
            fmt::format("'{}': a calculation tag has numbers for values", tag.name)};
  }
  if (properties.calc_mode == ZR3_CALC_MODE_POLL && properties.calc_period < 1) {
    return {ZR3_ERR_INVALID_PROPERTY,
            fmt::format("calc_period of '{}' is {}", tag.name, properties.calc_period)};
  }
  const bool has_end = properties.calc_history && properties.have_end_time;
  if (has_end && SecondsOf(properties.calc_start_date) > SecondsOf(properties.calc_end_date)) {
    return {ZR3_ERR_INVALID_PROPERTY,
            fmt::format("the history of '{}' starts after its end", tag.name)};
  }
  return {};
}

std::optional<CalculatedPast> HistoryOf(const CalculationProperties& properties) {
  if (!properties.calc_history) return std::nullopt;
  CalculatedPast history = {.start_s = SecondsOf(properties.calc_start_date), .end_s = {}};
  if (properties.have_end_time) history.end_s = SecondsOf(properties.calc_end_date);
  return history;
}

}  // namespace

bool Calculation::IsTriggeredBy(TagId changed) const {
  if (mode != Mode::kNotify || changed == 0) return false;
  if (source != 0) return source == changed;
  return std::ranges::find(operands, changed) != operands.end();
}

std::vector<std::size_t> OperandPlaces(std::span<const std::string> names) {
  std::vector<std::size_t> places;
  std::vector<std::string_view> distinct;
  places.reserve(names.size());
  for (const std::string& name : names) {
    const auto known = std::ranges::find_if(
        distinct, [&](std::string_view other) { return EqualsFolded(name, other); });
    places.push_back(static_cast<std::size_t>(known - distinct.begin()));
    if (known == distinct.end()) distinct.push_back(name);
  }
  return places;
}

Result<Calculation> MakeCalculation(const Tag& tag, const TagLinks& links) {
  const auto& properties = std::get<CalculationProperties>(tag.own);
  if (Status status = CheckNumbers(tag, properties); !status.ok()) return status;
  Result<ParsedExpression> parsed =
      ParseExpression(properties.calc_expr, {.variables = {}, .allows_tags = true});
  if (!parsed.ok()) return parsed.status();
  Calculation calculation = {.tag = tag.id,
                             .type = static_cast<TagType>(tag.type),
                             .program = std::move(parsed->program),
                             .operands = {},
                             .source = links.empty() ? 0 : links[0],
                             .mode = properties.calc_mode == ZR3_CALC_MODE_NOTIFY
                                         ? Calculation::Mode::kNotify
                                         : Calculation::Mode::kPoll,
                             .period_s = properties.calc_period,
                             .history = HistoryOf(properties)};
  for (const std::size_t place : OperandPlaces(parsed->tags)) {
    calculation.operands.push_back(1 + place < links.size() ? links[1 + place] : 0);
  }
  return calculation;
}

double OperandOf(TagType type, std::uint16_t quality, std::uint64_t bits) {
  if (IsText(type) || !IsGoodQuality(quality)) return kUnknown;
  const Value value = NumberOf(type, bits);
  const double number = type == TagType::kFloat64   ? value.float64()
                        : type == TagType::kFloat32 ? static_cast<double>(value.float32())
                                                    : static_cast<double>(value.integer());
  return std::isfinite(number) ? number : kUnknown;
}

double OperandOf(const Sample& sample) {
  if (IsText(sample.type)) return kUnknown;
  return OperandOf(sample.type, sample.quality, BitsOf(sample.value));
}

std::optional<Value> RoundedTo(TagType type, double number) {
  if (!std::isfinite(number) || IsText(type)) return std::nullopt;
  std::optional<Value> value;
  if (type == TagType::kFloat64) {
    value = number;
  } else if (type == TagType::kFloat32) {
    if (std::fabs(number) > std::numeric_limits<float>::max()) return std::nullopt;
    value = static_cast<float>(number);
  } else {
    const double whole = std::round(number);
    using Limits = std::numeric_limits<std::int32_t>;
    if (whole < Limits::min() || whole > Limits::max()) return std::nullopt;
    value = static_cast<std::int32_t>(whole);
  }
  if (CheckValue(type, *value) != ValueFault::kNone) return std::nullopt;
  return value;
}

Sample ComputeRecord(const Calculation& calculation, std::span<const double> operands,
                     std::int64_t time_ms, const std::optional<Value>& previous) {
  ZERVANE_ASSERT(operands.size() == calculation.operands.size());
  const bool all_known = std::ranges::none_of(operands, [](double x) { return std::isnan(x); });
  const double result = all_known ? calculation.program.Evaluate(operands) : kUnknown;
  Sample record = {
      .time_ms = time_ms, .quality = ZR3_QUALITY_GOOD, .type = calculation.type, .value = Value()};
  if (const std::optional<Value> value = RoundedTo(calculation.type, result)) {
    record.value = *value;
    return record;
  }
  record.quality = 0;
  record.value = previous ? *previous : *RoundedTo(calculation.type, 0);
  return record;
}

}  // namespace zervane
