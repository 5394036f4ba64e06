#include "engine/derived/expression/functions.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace zervane {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

bool IsTrue(double a) { return a < 0 || a > 0; }

double Truth(bool truth) { return truth ? 1 : 0; }

// NaN when one of the two is NaN, where a comparison would be false.
double OrNaN(bool truth, double a, double b) {
  return std::isunordered(a, b) ? kNaN : Truth(truth);
}

double Least(double a, double b) {
  if (std::isunordered(a, b)) return kNaN;
  return b < a ? b : a;
}

double Greatest(double a, double b) {
  if (std::isunordered(a, b)) return kNaN;
  return b > a ? b : a;
}

double SignOf(double a) {
  if (std::isnan(a)) return a;
  return Truth(a > 0) - Truth(a < 0);
}

constexpr NamedFunction OfOne(std::string_view name, UnaryFunction function) {
  return {.name = name, .arity = Arity::kOne, .unary = function};
}

constexpr NamedFunction OfMany(std::string_view name, BinaryFunction join) {
  return {.name = name, .arity = Arity::kOneOrMore, .binary = join};
}

constexpr UnaryFunction kLogarithm = [](double a) { return std::log(a); };

constexpr NamedFunction kFunctions[] = {
    OfOne("sin", [](double a) { return std::sin(a); }),
    OfOne("cos", [](double a) { return std::cos(a); }),
    OfOne("tan", [](double a) { return std::tan(a); }),
    OfOne("asin", [](double a) { return std::asin(a); }),
    OfOne("acos", [](double a) { return std::acos(a); }),
    OfOne("atan", [](double a) { return std::atan(a); }),
    {.name = "atan2",
     .arity = Arity::kTwo,
     .binary = [](double y, double x) { return std::atan2(y, x); }},
    OfOne("sinh", [](double a) { return std::sinh(a); }),
    OfOne("cosh", [](double a) { return std::cosh(a); }),
    OfOne("tanh", [](double a) { return std::tanh(a); }),
    OfOne("asinh", [](double a) { return std::asinh(a); }),
    OfOne("acosh", [](double a) { return std::acosh(a); }),
    OfOne("atanh", [](double a) { return std::atanh(a); }),
    OfOne("exp", [](double a) { return std::exp(a); }),
    OfOne("ln", kLogarithm),
    OfOne("log", kLogarithm),
    OfOne("log2", [](double a) { return std::log2(a); }),
    OfOne("log10", [](double a) { return std::log10(a); }),
    OfOne("sqrt", [](double a) { return std::sqrt(a); }),
    OfOne("cbrt", [](double a) { return std::cbrt(a); }),
    OfOne("abs", [](double a) { return std::abs(a); }),
    OfOne("sign", SignOf),
    OfOne("rint", [](double a) { return std::rint(a); }),
    OfOne("floor", [](double a) { return std::floor(a); }),
    OfOne("ceil", [](double a) { return std::ceil(a); }),
    OfOne("trunc", [](double a) { return std::trunc(a); }),
    OfMany("min", Least),
    OfMany("max", Greatest),
    OfMany("sum", Add),
    {.name = "avg", .arity = Arity::kOneOrMore, .binary = Add, .divides_by_count = true},
};

}  // namespace

double Negate(double a) { return -a; }

double Add(double a, double b) { return a + b; }
double Subtract(double a, double b) { return a - b; }
double Multiply(double a, double b) { return a * b; }
double Divide(double a, double b) { return a / b; }
double Power(double a, double b) { return std::pow(a, b); }

double Equal(double a, double b) { return OrNaN(a == b, a, b); }
double NotEqual(double a, double b) { return OrNaN(a != b, a, b); }
double Less(double a, double b) { return OrNaN(a < b, a, b); }
double LessOrEqual(double a, double b) { return OrNaN(a <= b, a, b); }
double Greater(double a, double b) { return OrNaN(a > b, a, b); }
double GreaterOrEqual(double a, double b) { return OrNaN(a >= b, a, b); }

double And(double a, double b) {
  if (a == 0 || b == 0) return 0;
  return OrNaN(true, a, b);
}

double Or(double a, double b) {
  if (IsTrue(a) || IsTrue(b)) return 1;
  return OrNaN(false, a, b);
}

double Choose(double condition, double when_true, double when_false) {
  if (std::isnan(condition)) return kNaN;
  return condition == 0 ? when_false : when_true;
}

const NamedFunction* FindFunction(std::string_view name) {
  const auto* const found = std::ranges::find(kFunctions, name, &NamedFunction::name);
  return found == std::end(kFunctions) ? nullptr : found;
}

}  // namespace zervane
