#include "tests/engine/derived/against_reference.h"

#include <spdlog/fmt/fmt.h>

#include <limits>
#include <map>
#include <vector>

#include "engine/derived/expression/filter_expression.h"
#include "engine/derived/expression/parser.h"
#include "tests/engine/derived/reference_evaluator.h"

namespace zervane {
namespace {

struct Operands {
  double value = 0;
  double quality = 0;
  double time_s = 0;
};

constexpr Operands kSomeOperands[] = {
    {50.5, 192, 1.7e9},
    {-0.0, 0, 1},
    {std::numeric_limits<double>::quiet_NaN(), 192, 1.7e9},
    {-std::numeric_limits<double>::infinity(), 88, 0.001},
};

// `evaluate` is the engine's program, asked for values when the engine takes the text.
template <typename Evaluate>
std::optional<std::string> FindDifference(std::string_view text, bool is_taken, bool with_tags,
                                          const Evaluate& evaluate) {
  for (const Operands& operands : kSomeOperands) {
    const ReferenceNames names = {.variables = {{"value", operands.value},
                                                {"quality", operands.quality},
                                                {"time", operands.time_s}},
                                  .value_of_tag = with_tags ? ReferenceValueOfTag : nullptr};
    const std::optional<double> expected = EvaluateByDescent(text, names);
    if (is_taken != expected.has_value()) {
      return is_taken ? "the reference refuses it" : "the reference takes it";
    }
    if (!is_taken) return std::nullopt;
    if (const double actual = evaluate(operands); !IsSameNumber(actual, *expected)) {
      return fmt::format("{}, by the reference {}, where value is {}", actual, *expected,
                         operands.value);
    }
  }
  return std::nullopt;
}

std::optional<std::string> FindDifferenceAsFilter(std::string_view text) {
  const Result<FilterExpression> filter = FilterExpression::Parse(text);
  return FindDifference(text, filter.ok(), false, [&](const Operands& operands) {
    return filter->Evaluate(operands.value, operands.quality, operands.time_s);
  });
}

std::optional<std::string> FindDifferenceWithTags(std::string_view text) {
  static constexpr std::string_view kVariables[] = {"value", "quality", "time"};
  const Result<ParsedExpression> parsed =
      ParseExpression(text, {.variables = kVariables, .allows_tags = true});
  return FindDifference(text, parsed.ok(), true, [&](const Operands& operands) {
    std::vector<double> all = {operands.value, operands.quality, operands.time_s};
    for (const std::string& tag : parsed->tags) all.push_back(ReferenceValueOfTag(tag));
    return parsed->program.Evaluate(all);
  });
}

}  // namespace

std::optional<std::string> FindDifference(std::string_view text) {
  if (const auto difference = FindDifferenceAsFilter(text)) return "as a filter: " + *difference;
  if (const auto difference = FindDifferenceWithTags(text)) return "with tags: " + *difference;
  return std::nullopt;
}

}  // namespace zervane
