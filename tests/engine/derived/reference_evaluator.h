#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zervane {

// What a name in an expression is worth.
struct ReferenceNames {
  std::map<std::string, double, std::less<>> variables;
  // Of a tag's name; none where tags cannot be named.
  double (*value_of_tag)(std::string_view name) = nullptr;
};

// The value of an expression, or nothing when the text is none. Written apart from the engine, by
// descent through the text, which it computes on the way.
std::optional<double> EvaluateByDescent(std::string_view text, const ReferenceNames& names);

// Any number for a tag, always the same one for a name.
double ReferenceValueOfTag(std::string_view name);

// Equal to the bit, or both NaN.
bool IsSameNumber(double a, double b);

}  // namespace zervane
