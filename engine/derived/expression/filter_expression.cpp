#include "engine/derived/expression/filter_expression.h"

#include <array>

#include "engine/derived/expression/parser.h"

namespace zervane {

Result<FilterExpression> FilterExpression::Parse(std::string_view text) {
  static constexpr std::string_view kVariables[] = {"value", "quality", "time"};
  Result<ParsedExpression> parsed = ParseExpression(text, {.variables = kVariables});
  if (!parsed.ok()) return parsed.status();
  return FilterExpression(std::move(parsed->program));
}

double FilterExpression::Evaluate(double value, double quality, double time_s) const {
  const std::array<double, 3> operands = {value, quality, time_s};
  return program_.Evaluate(operands);
}

}  // namespace zervane
