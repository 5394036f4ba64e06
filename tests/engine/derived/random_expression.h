#pragma once

#include <random>
#include <string>

namespace zervane {

// A random expression that is none too deep: operators, functions and operands of all kinds, with
// blanks here and there. Now and then it is longer than an expression may be.
std::string RandomExpression(std::mt19937& random);

// The text with a few bytes changed, removed or added, most of them such as expressions have.
std::string Mutated(std::string text, std::mt19937& random);

// Words and signs such as expressions have, in no order: hardly ever is it one.
std::string RandomTokens(std::mt19937& random);

}  // namespace zervane
