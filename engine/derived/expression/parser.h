#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "api/words/status.h"
#include "engine/derived/expression/program.h"

namespace zervane {

constexpr std::size_t kMostExpressionBytes = 511;
// Brackets, calls, signs, exponents and branches of `?:` around a part of an expression.
constexpr std::size_t kMostExpressionDepth = 64;

// What an expression may name.
struct ExpressionWords {
  std::span<const std::string_view> variables;  // operand i of the program is variable i
  bool allows_tags = false;                     // whose operands follow those of the variables
};

// Where an expression names a tag, the quotes included.
struct TagMention {
  std::size_t begin = 0;
  std::size_t size = 0;
  std::size_t tag = 0;
};

struct ParsedExpression {
  Program program;
  std::vector<std::string> tags;  // in the order in which they are first named
  std::vector<TagMention> mentions;
};

// Makes a program of an expression. Any bytes may come:
// ZR3_ERR_INVALID_EXPRESSION has in its message where the text is wrong, and why.
Result<ParsedExpression> ParseExpression(std::string_view text, const ExpressionWords& words);

}  // namespace zervane
