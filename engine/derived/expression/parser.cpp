#include "engine/derived/expression/parser.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <charconv>
#include <numbers>
#include <system_error>
#include <utility>

#include "engine/assert.h"
#include "engine/derived/expression/functions.h"
#include "engine/derived/expression/grammar.h"
#include "engine/derived/expression/program_builder.h"

namespace zervane {
namespace {

namespace pegtl = tao::pegtl;

// Why a text is no expression, and at which of its bytes.
struct SyntaxError {
  std::size_t at = 0;
  std::string reason;
};

// What has come of the text so far.
class Parts {
 public:
  explicit Parts(const ExpressionWords& words) : words_(words) {}

  void BeginNested(std::size_t at);
  void EndNested() { --depth_; }

  void AddNumber(std::size_t at, std::string_view digits);
  void AddWord(std::size_t at, std::string_view word);
  void AddTag(std::size_t at, std::string_view quoted);

  void BeginCall(std::size_t at, std::string_view name);
  void EndArgument();
  void EndCall();

  ProgramBuilder& builder() { return builder_; }
  ParsedExpression Finish() &&;

 private:
  struct OpenCall {
    std::size_t at = 0;
    const NamedFunction* function = nullptr;
    std::size_t arguments = 0;
  };

  const ExpressionWords& words_;
  ProgramBuilder builder_;
  std::vector<OpenCall> calls_;
  std::vector<std::string> tags_;
  std::vector<TagMention> mentions_;
  std::size_t depth_ = 0;
};

void Parts::BeginNested(std::size_t at) {
  if (depth_ == kMostExpressionDepth) {
    throw SyntaxError{at, fmt::format("nests deeper than {}", kMostExpressionDepth)};
  }
  ++depth_;
}

void Parts::AddNumber(std::size_t at, std::string_view digits) {
  double number = 0;
  const std::from_chars_result result =
      std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (result.ec != std::errc{}) throw SyntaxError{at, "the number is out of range"};
  ZERVANE_ASSERT(result.ptr == digits.data() + digits.size());
  builder_.AddConstant(number);
}

void Parts::AddWord(std::size_t at, std::string_view word) {
  const auto variable = std::ranges::find(words_.variables, word);
  if (variable != words_.variables.end()) {
    builder_.AddOperand(static_cast<std::uint16_t>(variable - words_.variables.begin()));
  } else if (word == "_pi") {
    builder_.AddConstant(std::numbers::pi);
  } else if (word == "_e") {
    builder_.AddConstant(std::numbers::e);
  } else if (FindFunction(word) != nullptr) {
    throw SyntaxError{at + word.size(), fmt::format("expected '(' behind {}", word)};
  } else {
    throw SyntaxError{at, fmt::format("the word {} is unknown", word)};
  }
}

void Parts::AddTag(std::size_t at, std::string_view quoted) {
  if (!words_.allows_tags) throw SyntaxError{at, "a tag cannot be named here"};
  std::string name;
  for (std::size_t i = 1; i + 1 < quoted.size(); ++i) {
    if (quoted[i] == '\'') ++i;  // the first of two
    name += quoted[i];
  }
  if (name.empty()) throw SyntaxError{at, "the name of the tag is empty"};
  auto known = std::ranges::find(tags_, name);
  const auto tag = static_cast<std::size_t>(known - tags_.begin());
  if (known == tags_.end()) tags_.push_back(std::move(name));
  mentions_.push_back({.begin = at, .size = quoted.size(), .tag = tag});
  builder_.AddOperand(static_cast<std::uint16_t>(words_.variables.size() + tag));
}

void Parts::BeginCall(std::size_t at, std::string_view name) {
  const NamedFunction* const function = FindFunction(name);
  if (function == nullptr) throw SyntaxError{at, fmt::format("there is no function {}", name)};
  calls_.push_back({.at = at, .function = function});
}

void Parts::EndArgument() {
  OpenCall& call = calls_.back();
  ++call.arguments;
  if (call.arguments > 1 && call.function->binary != nullptr) {
    builder_.AddBinary(call.function->binary);
  }
}

void Parts::EndCall() {
  const OpenCall call = calls_.back();
  calls_.pop_back();
  const NamedFunction& function = *call.function;
  if (function.arity == Arity::kOne && call.arguments != 1) {
    throw SyntaxError{call.at, fmt::format("{} has one argument", function.name)};
  }
  if (function.arity == Arity::kTwo && call.arguments != 2) {
    throw SyntaxError{call.at, fmt::format("{} has two arguments", function.name)};
  }
  if (function.unary != nullptr) builder_.AddUnary(function.unary);
  if (function.divides_by_count) {
    builder_.AddConstant(static_cast<double>(call.arguments));
    builder_.AddBinary(Divide);
  }
}

ParsedExpression Parts::Finish() && {
  return {.program = std::move(builder_).Finish(),
          .tags = std::move(tags_),
          .mentions = std::move(mentions_)};
}

// What happens when a rule of the grammar has matched; most need nothing.
template <typename Rule>
struct Action : pegtl::nothing<Rule> {};

template <void (Parts::*kAdd)(std::size_t, std::string_view)>
struct Adds {
  template <typename Input>
  static void apply(const Input& in, Parts& parts) {
    (parts.*kAdd)(in.position().byte, in.string_view());
  }
};
template <>
struct Action<grammar::Number> : Adds<&Parts::AddNumber> {};
template <>
struct Action<grammar::Word> : Adds<&Parts::AddWord> {};
template <>
struct Action<grammar::Tag> : Adds<&Parts::AddTag> {};

template <>
struct Action<grammar::EndlessTag> {
  template <typename Input>
  static void apply(const Input& in, Parts& /*parts*/) {
    throw SyntaxError{in.position().byte, "the quote has no end"};
  }
};

template <>
struct Action<grammar::CallBegin> {
  template <typename Input>
  static void apply(const Input& in, Parts& parts) {
    const std::string_view text = in.string_view();
    parts.BeginCall(in.position().byte, text.substr(0, text.find_first_of(" \t\n\v\f\r(")));
  }
};
template <>
struct Action<grammar::ArgumentEnd> {
  static void apply0(Parts& parts) { parts.EndArgument(); }
};
template <>
struct Action<grammar::Call> {
  static void apply0(Parts& parts) { parts.EndCall(); }
};

template <>
struct Action<grammar::Deeper> {
  template <typename Input>
  static void apply(const Input& in, Parts& parts) {
    parts.BeginNested(in.position().byte);
  }
};
template <>
struct Action<grammar::Shallower> {
  static void apply0(Parts& parts) { parts.EndNested(); }
};

template <>
struct Action<grammar::Minus> {
  static void apply0(Parts& parts) { parts.builder().AddUnary(Negate); }
};
template <BinaryFunction kFunction, typename Operator, typename Right>
struct Action<grammar::With<kFunction, Operator, Right>> {
  static void apply0(Parts& parts) { parts.builder().AddBinary(kFunction); }
};
template <>
struct Action<grammar::Choice> {
  static void apply0(Parts& parts) { parts.builder().AddChoice(); }
};

// What a text lacks where a rule that must match does not.
template <typename Rule>
constexpr std::string_view kExpected = {};
template <>
constexpr std::string_view kExpected<grammar::Operand> = "a value";
template <>
constexpr std::string_view kExpected<grammar::BracketEnd> = "an operator or ')'";
template <>
constexpr std::string_view kExpected<grammar::CallEnd> = "an operator, ',' or ')'";
template <>
constexpr std::string_view kExpected<grammar::Colon> = "an operator or ':'";
template <>
constexpr std::string_view kExpected<pegtl::eof> = "an operator or the end";

template <typename Input>
std::string FoundIn(const Input& in) {
  if (in.empty()) return "the end";
  const auto byte = static_cast<unsigned char>(*in.current());
  return byte > ' ' && byte < 0x7F ? fmt::format("{}", *in.current())
                                   : fmt::format("the byte 0x{:02x}", byte);
}

template <typename Rule>
struct Control : pegtl::normal<Rule> {
  template <typename Input>
  [[noreturn]] static void raise(const Input& in, Parts& /*parts*/) {
    static_assert(!kExpected<Rule>.empty());
    throw SyntaxError{in.position().byte,
                      fmt::format("expected {}, found {}", kExpected<Rule>, FoundIn(in))};
  }
};

}  // namespace

Result<ParsedExpression> ParseExpression(std::string_view text, const ExpressionWords& words) {
  if (text.size() > kMostExpressionBytes) {
    return Status(ZR3_ERR_INVALID_EXPRESSION, fmt::format("an expression of {} bytes, at most {}",
                                                          text.size(), kMostExpressionBytes));
  }
  Parts parts(words);
  pegtl::memory_input<pegtl::tracking_mode::lazy> in(text.data(), text.size(), "");
  try {
    [[maybe_unused]] const bool has_matched =
        pegtl::parse<grammar::Expression, Action, Control>(in, parts);
    ZERVANE_ASSERT(has_matched);
  } catch (const SyntaxError& error) {
    return Status(ZR3_ERR_INVALID_EXPRESSION,
                  fmt::format("column {}: {}", error.at + 1, error.reason));
  }
  return std::move(parts).Finish();
}

}  // namespace zervane
