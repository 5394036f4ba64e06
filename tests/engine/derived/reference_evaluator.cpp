#include "tests/engine/derived/reference_evaluator.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

namespace zervane {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct NoExpression {};

enum class Knowledge { kFalse, kUnknown, kTrue };

Knowledge Judge(double a) {
  if (std::isnan(a)) return Knowledge::kUnknown;
  return a == 0 ? Knowledge::kFalse : Knowledge::kTrue;
}

double NumberOf(Knowledge knowledge) {
  if (knowledge == Knowledge::kUnknown) return kNaN;
  return knowledge == Knowledge::kTrue ? 1 : 0;
}

struct BinaryOperator {
  const char* symbol;
  int level;  // the looser, the smaller
};

// A symbol stands before the ones that it begins with.
constexpr BinaryOperator kOperators[] = {
    {"||", 1}, {"&&", 2}, {"==", 3}, {"!=", 3}, {"<=", 3}, {">=", 3},
    {"<", 3},  {">", 3},  {"+", 4},  {"-", 4},  {"*", 5},  {"/", 5},
};
constexpr int kLoosest = 1;
constexpr int kTightest = 5;

double Compare(std::string_view symbol, double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return kNaN;
  if (symbol == "==") return a == b;
  if (symbol == "!=") return !(a == b);
  if (symbol == "<=") return a < b || a == b;
  if (symbol == ">=") return a > b || a == b;
  return symbol == "<" ? a < b : a > b;
}

double Compute(const BinaryOperator& by, double a, double b) {
  switch (*by.symbol) {
    case '|':
      return NumberOf(std::max(Judge(a), Judge(b)));
    case '&':
      return NumberOf(std::min(Judge(a), Judge(b)));
    case '+':
      return a + b;
    case '-':
      return a - b;
    case '*':
      return a * b;
    case '/':
      return a / b;
    default:
      return Compare(by.symbol, a, b);
  }
}

using OfOne = double (*)(double);

// A function of one argument, or null.
OfOne FunctionOfOne(std::string_view name) {
  static const std::map<std::string_view, OfOne> functions = {
      {"sin", sin},
      {"cos", cos},
      {"tan", tan},
      {"asin", asin},
      {"acos", acos},
      {"atan", atan},
      {"sinh", sinh},
      {"cosh", cosh},
      {"tanh", tanh},
      {"asinh", asinh},
      {"acosh", acosh},
      {"atanh", atanh},
      {"exp", exp},
      {"ln", log},
      {"log", log},
      {"log2", log2},
      {"log10", log10},
      {"sqrt", sqrt},
      {"cbrt", cbrt},
      {"abs", fabs},
      {"rint", rint},
      {"floor", floor},
      {"ceil", ceil},
      {"trunc", trunc},
      {"sign", [](double a) { return std::isnan(a) ? a
                                     : a == 0      ? 0
                                                   : std::copysign(1, a); }},
  };
  const auto found = functions.find(name);
  return found == functions.end() ? nullptr : found->second;
}

double Extreme(const std::vector<double>& arguments, bool wants_greatest) {
  double extreme = arguments.front();
  for (const double argument : arguments) {
    if (std::isnan(argument)) return kNaN;
    if (wants_greatest ? argument > extreme : argument < extreme) extreme = argument;
  }
  return extreme;
}

double SumOf(const std::vector<double>& arguments) {
  double sum = arguments.front();
  for (std::size_t i = 1; i < arguments.size(); ++i) sum += arguments[i];
  return sum;
}

double Call(std::string_view name, const std::vector<double>& arguments) {
  const std::size_t count = arguments.size();
  if (const OfOne function = FunctionOfOne(name)) {
    if (count != 1) throw NoExpression();
    return function(arguments[0]);
  }
  if (name == "atan2" && count == 2) return atan2(arguments[0], arguments[1]);
  if (name == "min") return Extreme(arguments, false);
  if (name == "max") return Extreme(arguments, true);
  if (name == "sum") return SumOf(arguments);
  if (name == "avg") return SumOf(arguments) / static_cast<double>(count);
  throw NoExpression();
}

class Descent {
 public:
  Descent(std::string_view text, const ReferenceNames& names) : rest_(text), names_(names) {}

  double All() {
    const double value = Conditional(0);
    Skip();
    if (!rest_.empty()) throw NoExpression();
    return value;
  }

 private:
  static constexpr int kDeepest = 64;

  void Skip() {
    while (!rest_.empty() && std::string_view(" \t\n\v\f\r").find(rest_[0]) < 6) {
      rest_.remove_prefix(1);
    }
  }

  // Passes over the symbol if it comes next.
  bool Meets(std::string_view symbol) {
    Skip();
    if (!rest_.starts_with(symbol)) return false;
    rest_.remove_prefix(symbol.size());
    return true;
  }

  void Need(std::string_view symbol) {
    if (!Meets(symbol)) throw NoExpression();
  }

  static int Below(int depth) {
    if (depth == kDeepest) throw NoExpression();
    return depth + 1;
  }

  double Conditional(int depth) {
    const double condition = Binary(kLoosest, depth);
    if (!Meets("?")) return condition;
    const int below = Below(depth);
    const double when_true = Conditional(below);
    Need(":");
    const double when_false = Conditional(below);
    switch (Judge(condition)) {
      case Knowledge::kTrue:
        return when_true;
      case Knowledge::kFalse:
        return when_false;
      default:
        return kNaN;
    }
  }

  const BinaryOperator* MeetsOperator(int level) {
    for (const BinaryOperator& candidate : kOperators) {
      if (candidate.level == level && Meets(candidate.symbol)) return &candidate;
    }
    return nullptr;
  }

  double Binary(int level, int depth) {
    if (level > kTightest) return Signed(depth);
    double value = Binary(level + 1, depth);
    while (const BinaryOperator* met = MeetsOperator(level)) {
      value = Compute(*met, value, Binary(level + 1, depth));
    }
    return value;
  }

  double Signed(int depth) {
    if (Meets("-")) return -Signed(Below(depth));
    if (Meets("+")) return Signed(Below(depth));
    const double base = Operand(depth);
    return Meets("^") ? pow(base, Signed(Below(depth))) : base;
  }

  double Operand(int depth) {
    if (Meets("(")) {
      const double value = Conditional(Below(depth));
      Need(")");
      return value;
    }
    Skip();
    if (rest_.empty()) throw NoExpression();
    if (rest_[0] == '\'') return Tag();
    if (isdigit(static_cast<unsigned char>(rest_[0])) != 0 || rest_[0] == '.') return Number();
    return Named(depth);
  }

  std::string While(bool (*belongs)(char c)) {
    std::string part;
    while (!rest_.empty() && belongs(rest_[0])) {
      part += rest_[0];
      rest_.remove_prefix(1);
    }
    return part;
  }

  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
  static bool IsOfWord(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
  }

  double Number() {
    std::string digits = While(IsDigit);
    if (!rest_.empty() && rest_[0] == '.') {
      digits += '.';
      rest_.remove_prefix(1);
      digits += While(IsDigit);
    }
    if (digits == ".") throw NoExpression();
    const bool is_nothing = digits.find_first_not_of(".0") == std::string::npos;
    digits += Exponent();
    const double number = strtod(digits.c_str(), nullptr);
    if (std::isinf(number) || (number == 0 && !is_nothing)) throw NoExpression();
    return number;
  }

  // Where no digits follow, an `e` is not an exponent's.
  std::string Exponent() {
    const std::string_view before = rest_;
    if (rest_.empty() || (rest_[0] != 'e' && rest_[0] != 'E')) return {};
    std::string exponent = "e";
    rest_.remove_prefix(1);
    if (!rest_.empty() && (rest_[0] == '+' || rest_[0] == '-')) {
      exponent += rest_[0];
      rest_.remove_prefix(1);
    }
    const std::string digits = While(IsDigit);
    if (!digits.empty()) return exponent + digits;
    rest_ = before;
    return {};
  }

  double Tag() {
    std::string name;
    for (std::size_t i = 1; i < rest_.size(); ++i) {
      if (rest_[i] == '\'') {
        if (i + 1 == rest_.size() || rest_[i + 1] != '\'') {
          rest_.remove_prefix(i + 1);
          if (name.empty() || names_.value_of_tag == nullptr) throw NoExpression();
          return names_.value_of_tag(name);
        }
        ++i;
      }
      name += rest_[i];
    }
    throw NoExpression();
  }

  double Named(int depth) {
    const std::string name = While(IsOfWord);
    if (name.empty()) throw NoExpression();
    if (Meets("(")) {
      const int below = Below(depth);
      std::vector<double> arguments;
      do {
        arguments.push_back(Conditional(below));
      } while (Meets(","));
      Need(")");
      return Call(name, arguments);
    }
    if (name == "_pi") return M_PI;
    if (name == "_e") return M_E;
    const auto variable = names_.variables.find(name);
    if (variable == names_.variables.end()) throw NoExpression();
    return variable->second;
  }

  std::string_view rest_;
  const ReferenceNames& names_;
};

}  // namespace

std::optional<double> EvaluateByDescent(std::string_view text, const ReferenceNames& names) {
  if (text.size() > 511) return std::nullopt;
  try {
    return Descent(text, names).All();
  } catch (const NoExpression&) {
    return std::nullopt;
  }
}

double ReferenceValueOfTag(std::string_view name) {
  double value = 1;
  for (const char c : name) value = value * 0.75 + static_cast<unsigned char>(c);
  return value;
}

bool IsSameNumber(double a, double b) {
  return (std::isnan(a) && std::isnan(b)) ||
         std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

}  // namespace zervane
