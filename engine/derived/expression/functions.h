#pragma once

#include <cstdint>
#include <string_view>

#include "engine/derived/expression/program.h"

// What the operators and functions of expressions compute. They are those of IEEE 754 and of the C
// library, but for truth: NaN, where a value is not known, is neither true nor false. What depends
// on it is NaN; what does not, such as `0 && x`, is not.
namespace zervane {

double Negate(double a);

double Add(double a, double b);
double Subtract(double a, double b);
double Multiply(double a, double b);
double Divide(double a, double b);
double Power(double a, double b);

// 1 or 0; NaN when one of the two is NaN.
double Equal(double a, double b);
double NotEqual(double a, double b);
double Less(double a, double b);
double LessOrEqual(double a, double b);
double Greater(double a, double b);
double GreaterOrEqual(double a, double b);

// 0 when one of the two is 0, else NaN when one is NaN, else 1.
double And(double a, double b);
// 1 when one of the two is a number other than 0, else NaN when one is NaN, else 0.
double Or(double a, double b);

// The first value when the condition is a number other than 0, the second when it is 0.
double Choose(double condition, double when_true, double when_false);

enum class Arity : std::uint8_t { kOne, kTwo, kOneOrMore };

// A function that expressions call by its name.
struct NamedFunction {
  std::string_view name;
  Arity arity = Arity::kOne;
  UnaryFunction unary = nullptr;
  // Of one or more arguments: joins what came of those before with the next.
  BinaryFunction binary = nullptr;
  bool divides_by_count = false;  // what has come of all arguments
};

// Null when there is none of that name.
const NamedFunction* FindFunction(std::string_view name);

}  // namespace zervane
