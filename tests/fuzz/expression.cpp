#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/derived/calculations/calculation.h"
#include "engine/derived/calculations/calculation_tags.h"
#include "engine/derived/expression/parser.h"
#include "tests/engine/derived/against_reference.h"
#include "tests/fuzz/target.h"

namespace {

using zervane::ParsedExpression;
using zervane::Result;

Result<ParsedExpression> Parse(std::string_view text) {
  return zervane::ParseExpression(text, {.variables = {}, .allows_tags = true});
}

// The tags that are named, each once, however it is written.
std::vector<std::string> NamesOf(const ParsedExpression& parsed) {
  const std::vector<std::size_t> places = zervane::OperandPlaces(parsed.tags);
  std::vector<std::string> names;
  for (std::size_t at = 0; at < places.size(); ++at) {
    if (places[at] == names.size()) names.push_back(parsed.tags[at]);
  }
  return names;
}

// The value when each tag has one of its own.
double ValueOf(const ParsedExpression& parsed) {
  std::vector<double> operands;
  for (const std::size_t place : zervane::OperandPlaces(parsed.tags)) {
    operands.push_back(1.5 * static_cast<double>(place) - 2);
  }
  return parsed.program.Evaluate(operands);
}

bool IsSame(double a, double b) {
  return std::isnan(a) ? std::isnan(b)
                       : std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// What a rename of one of the tags makes otherwise than it should.
std::optional<std::string> FaultOfRename(std::string_view text, const ParsedExpression& parsed,
                                         std::size_t place, std::string_view name) {
  const Result<std::string> renamed = zervane::RenameOperand(text, place, name);
  std::vector<std::string> expected = NamesOf(parsed);
  if (!renamed.ok()) return std::nullopt;  // another one has the name
  if (renamed->size() > zervane::kMostExpressionBytes) return std::nullopt;
  expected[place] = name;
  const Result<ParsedExpression> after = Parse(*renamed);
  if (!after.ok()) return "no expression any more: " + *renamed;
  if (NamesOf(*after) != expected) return "other names: " + *renamed;
  if (!IsSame(ValueOf(parsed), ValueOf(*after))) return "another value: " + *renamed;
  return std::nullopt;
}

std::optional<std::string> FindFaultOfRenames(std::string_view text) {
  const Result<ParsedExpression> parsed = Parse(text);
  if (!parsed.ok()) return std::nullopt;
  for (std::size_t place = 0; place < NamesOf(*parsed).size(); ++place) {
    for (const std::string_view name : {"n", "it's '' + ", "'"}) {
      if (auto fault = FaultOfRename(text, *parsed, place, name)) return fault;
    }
  }
  return std::nullopt;
}

}  // namespace

// Any bytes as an expression: the reference refuses the same ones, and has the same values; and a
// tag in it may be renamed without changing what it is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  auto difference = zervane::FindDifference(text);
  if (!difference) difference = FindFaultOfRenames(text);
  if (!difference) return 0;
  std::fprintf(stderr, "fuzz: %s\n", difference->c_str());
  std::abort();
}
