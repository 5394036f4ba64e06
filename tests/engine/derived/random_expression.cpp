#include "tests/engine/derived/random_expression.h"

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <string_view>
#include <vector>

namespace zervane {
namespace {

class Generator {
 public:
  explicit Generator(std::mt19937& random) : random_(random) {}

  // `levels`: how many more operators may nest.
  std::string Any(int levels) {
    if (levels == 0) return Blanks() + Operand() + Blanks();
    switch (Below(9)) {
      case 0:
        return Blanks() + Operand();
      case 1:
        return "(" + Any(levels - 1) + ")" + Blanks();
      case 2:
        return Any(levels - 1) + "?" + Any(levels - 1) + ":" + Any(levels - 1);
      case 3:
        return Blanks() + OneOf({"-", "+", "- -"}) + Any(levels - 1);
      case 4:
        return Call(levels);
      case 5:
        return Any(levels - 1) + "^" + Any(levels - 1);
      default:
        return Any(levels - 1) + Infix() + Any(levels - 1);
    }
  }

  std::size_t Below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
  }

 private:
  std::string OneOf(const std::vector<const char*>& choices) {
    return choices[Below(choices.size())];
  }

  std::string Blanks() { return OneOf({"", "", "", "", " ", "  ", "\t", "\r\n"}); }

  std::string Infix() {
    return OneOf(
        {"+", "-", "*", "/", "==", "!=", "<", "<=", ">", ">=", "&&", "||", "+", "-", "*", "/"});
  }

  std::string Call(int levels) {
    const bool has_many = Below(3) == 0;
    const std::string name =
        has_many
            ? OneOf({"min", "max", "sum", "avg"})
            : OneOf({"sin",   "cos",   "tan",   "asin", "acos",  "atan", "sinh",  "cosh",  "tanh",
                     "asinh", "acosh", "atanh", "exp",  "ln",    "log",  "log2",  "log10", "sqrt",
                     "cbrt",  "abs",   "sign",  "rint", "floor", "ceil", "trunc", "atan2"});
    std::string call = name + Blanks() + "(" + Any(levels - 1);
    const std::size_t more = has_many ? Below(3) : name == "atan2" ? 1 : 0;
    for (std::size_t i = 0; i < more; ++i) call += "," + Any(levels - 1);
    return call + ")" + Blanks();
  }

  std::string Operand() {
    return OneOf({"value",       "value",     "quality",   "time",     "0",   "1",
                  "2",           "3",         "0.5",       ".25",      "7.",  "192",
                  "1e3",         "2.5E-2",    "1e308",     "4.9e-324", "_pi", "_e",
                  "'FIC101.PV'", "'a ''b'''", "'\xc3\xa9'"});
  }

  std::mt19937& random_;
};

}  // namespace

std::string RandomExpression(std::mt19937& random) {
  Generator generator(random);
  return generator.Any(static_cast<int>(generator.Below(7)));
}

std::string RandomTokens(std::mt19937& random) {
  static constexpr std::string_view kTokens[] = {
      "+",     "-",    "*",   "/",     "^",    "(",   ")",      "?",     ":",    ",",
      "<",     "<=",   ">",   ">=",    "==",   "!=",  "&&",     "||",    "!",    "=",
      "&",     " ",    "(",   ")",     "1",    "0",   ".5",     "1e309", "2E-2", "e",
      "value", "time", "x",   "_pi",   "_",    "'a'", "'a''b'", "'",     "''",   "'\xc3\xa9'",
      "\xc3",  "sin",  "max", "atan2", "sin(", "max("};
  Generator generator(random);
  std::string text;
  for (std::size_t i = 0, count = generator.Below(12); i < count; ++i) {
    text += kTokens[generator.Below(std::size(kTokens))];
  }
  return text;
}

std::string Mutated(std::string text, std::mt19937& random) {
  static constexpr std::string_view kBytes =
      "0123456789.eE+-*/^()?:,<>=!&|'_ \t\nabvqmin\x80\xc3\xff";
  Generator generator(random);
  for (std::size_t i = 0, count = 1 + generator.Below(3); i < count; ++i) {
    const std::size_t at = generator.Below(text.size() + 1);
    const char byte = kBytes[generator.Below(kBytes.size())];
    switch (generator.Below(3)) {
      case 0:
        text.insert(at, 1, byte);
        break;
      case 1:
        text.erase(at, 1);
        break;
      default:
        if (at < text.size()) text[at] = byte;
    }
  }
  return text;
}

}  // namespace zervane
