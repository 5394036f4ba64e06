#include "engine/alarms/alarm_test.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <system_error>

#include "engine/alarms/alarm_grammar.h"
#include "engine/assert.h"

namespace zervane {
namespace {

namespace pegtl = tao::pegtl;
namespace grammar = alarm_grammar;

// Why a text is no test and no action, and at which of its bytes.
struct SyntaxError {
  std::size_t at = 0;
  std::string reason;
};

// What has come of the text so far: of either language it fills its own.
struct Parts {
  AlarmTest test;
  AlarmAction action;
  std::size_t name_begin = 0;  // of the target, behind its quote
  std::size_t name_size = 0;   // as it is written, with doubled quotes
};

double NumberOf(std::size_t at, std::string_view digits) {
  if (digits.starts_with('+')) digits.remove_prefix(1);
  double number = 0;
  const std::from_chars_result result =
      std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (result.ec != std::errc{}) throw SyntaxError{at, "the number is out of range"};
  ZERVANE_ASSERT(result.ptr == digits.data() + digits.size());
  return number == 0 ? 0 : number;  // no negative zero
}

// What happens when a rule of the grammar has matched; most need nothing.
template <typename Rule>
struct OnMatch : pegtl::nothing<Rule> {};

template <std::int32_t kType, std::int32_t kPriority>
struct SetsType {
  static void apply0(Parts& parts) {
    parts.test.type = kType;
    parts.test.priority = kPriority;
  }
};
template <>
struct OnMatch<grammar::LoLo> : SetsType<ZR3_AM_REC_TYPE_LOLO, ZR3_AM_REC_PRIORITY_FIRST> {};
template <>
struct OnMatch<grammar::Low> : SetsType<ZR3_AM_REC_TYPE_LOW, ZR3_AM_REC_PRIORITY_SECOND> {};
template <>
struct OnMatch<grammar::High> : SetsType<ZR3_AM_REC_TYPE_HIGH, ZR3_AM_REC_PRIORITY_SECOND> {};
template <>
struct OnMatch<grammar::HiHi> : SetsType<ZR3_AM_REC_TYPE_HIHI, ZR3_AM_REC_PRIORITY_FIRST> {};
template <>
struct OnMatch<grammar::Change> : SetsType<ZR3_AM_REC_TYPE_CHANGE, ZR3_AM_REC_PRIORITY_THIRD> {};

template <AlarmTest::Comparison kComparison>
struct SetsComparison {
  static void apply0(Parts& parts) { parts.test.comparison = kComparison; }
};
using Comparison = AlarmTest::Comparison;
template <>
struct OnMatch<grammar::Greater> : SetsComparison<Comparison::kGreater> {};
template <>
struct OnMatch<grammar::GreaterOrEqual> : SetsComparison<Comparison::kGreaterOrEqual> {};
template <>
struct OnMatch<grammar::Less> : SetsComparison<Comparison::kLess> {};
template <>
struct OnMatch<grammar::LessOrEqual> : SetsComparison<Comparison::kLessOrEqual> {};
template <>
struct OnMatch<grammar::Equal> : SetsComparison<Comparison::kEqual> {};
template <>
struct OnMatch<grammar::NotEqual> : SetsComparison<Comparison::kNotEqual> {};

template <>
struct OnMatch<grammar::LimitNumber> {
  template <typename Input>
  static void apply(const Input& in, Parts& parts) {
    parts.test.limit = NumberOf(in.position().byte, in.string_view());
  }
};
template <>
struct OnMatch<grammar::LeastNumber> {
  template <typename Input>
  static void apply(const Input& in, Parts& parts) {
    const double least = NumberOf(in.position().byte, in.string_view());
    if (least < 0) throw SyntaxError{in.position().byte, "the least difference is negative"};
    parts.test.limit = least;
  }
};
template <>
struct OnMatch<grammar::PriorityDigit> {
  template <typename Input>
  static void apply(const Input& in, Parts& parts) {
    parts.test.priority = in.peek_char() - '0';
  }
};
template <>
struct OnMatch<grammar::Target> {
  template <typename Input>
  static void apply(const Input& in, Parts& parts) {
    parts.name_begin = in.position().byte;
    parts.name_size = in.size();
    const std::string_view name = in.string_view();
    for (std::size_t i = 0; i < name.size(); ++i) {
      if (name[i] == '\'') ++i;  // the first of two
      parts.action.target += name[i];
    }
  }
};
template <>
struct OnMatch<grammar::SetNumber> {
  template <typename Input>
  static void apply(const Input& in, Parts& parts) {
    parts.action.number = NumberOf(in.position().byte, in.string_view());
  }
};

// What a text lacks where a rule that must match does not.
template <typename Rule>
constexpr std::string_view kExpected = {};
template <>
constexpr std::string_view kExpected<grammar::AnyTest> = "LOLO, LOW, HIGH, HIHI or CHANGE";
template <>
constexpr std::string_view kExpected<grammar::Comparison> = "a comparison";
template <>
constexpr std::string_view kExpected<grammar::Limit> = "a number";
template <>
constexpr std::string_view kExpected<grammar::NumberEnd> = "a space or the end";
template <>
constexpr std::string_view kExpected<grammar::NoNumber> = "a space or the end";
template <>
constexpr std::string_view kExpected<grammar::PriorityNumber> = "a priority from 1 to 4";
template <>
constexpr std::string_view kExpected<grammar::LimitEnd> = "PRIORITY or the end";
template <>
constexpr std::string_view kExpected<grammar::ChangeEnd> = "a number, PRIORITY or the end";
template <>
constexpr std::string_view kExpected<grammar::TextEnd> = "the end";
template <>
constexpr std::string_view kExpected<grammar::Set> = "SET";
template <>
constexpr std::string_view kExpected<grammar::TargetBegin> = "a tag's name in quotes";
template <>
constexpr std::string_view kExpected<grammar::Target> = "a tag's name";
template <>
constexpr std::string_view kExpected<grammar::TargetEnd> = "the quote that ends the name";
template <>
constexpr std::string_view kExpected<grammar::SetValue> = "a number";

bool IsWordCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// What stands there: a word, or one character.
std::string FoundIn(std::string_view rest) {
  constexpr std::size_t kMostOfAWord = 16;
  if (rest.empty()) return "the end";
  const auto word_end = std::ranges::find_if_not(rest, IsWordCharacter);
  const auto size = static_cast<std::size_t>(word_end - rest.begin());
  if (size > 0) return std::string(rest.substr(0, std::min(size, kMostOfAWord)));
  const auto byte = static_cast<unsigned char>(rest.front());
  return byte > ' ' && byte < 0x7F ? std::string(1, rest.front())
                                   : fmt::format("the byte 0x{:02x}", byte);
}

template <typename Rule>
struct Control : pegtl::normal<Rule> {
  template <typename Input>
  [[noreturn]] static void raise(const Input& in, Parts& /*parts*/) {
    static_assert(!kExpected<Rule>.empty());
    const std::string_view rest(in.current(), in.size());
    throw SyntaxError{in.position().byte,
                      fmt::format("expected {}, found {}", kExpected<Rule>, FoundIn(rest))};
  }
};

template <typename Language>
Result<Parts> Parse(std::string_view text) {
  Parts parts;
  pegtl::memory_input<pegtl::tracking_mode::lazy> in(text.data(), text.size(), "");
  try {
    [[maybe_unused]] const bool has_matched = pegtl::parse<Language, OnMatch, Control>(in, parts);
    ZERVANE_ASSERT(has_matched);
  } catch (const SyntaxError& error) {
    return Status(ZR3_ERR_INVALID_ALARM_TEST,
                  fmt::format("column {}: {}", error.at + 1, error.reason));
  }
  return parts;
}

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(" \t\n\v\f\r") == std::string_view::npos;
}

}  // namespace

Result<std::optional<AlarmTest>> ParseAlarmTest(std::string_view text) {
  if (IsBlank(text)) return std::optional<AlarmTest>();
  const Result<Parts> parts = Parse<grammar::Test>(text);
  if (!parts.ok()) return parts.status();
  return std::optional(parts->test);
}

Result<std::optional<AlarmAction>> ParseAlarmAction(std::string_view text) {
  if (IsBlank(text)) return std::optional<AlarmAction>();
  const Result<Parts> parts = Parse<grammar::Action>(text);
  if (!parts.ok()) return parts.status();
  return std::optional(parts->action);
}

std::string WithTarget(std::string_view text, std::string_view name) {
  const Result<Parts> parts = Parse<grammar::Action>(text);
  ZERVANE_ASSERT(parts.ok());
  std::string changed(text.substr(0, parts->name_begin));
  for (const char c : name) changed.append(c == '\'' ? 2 : 1, c);
  changed += text.substr(parts->name_begin + parts->name_size);
  return changed;
}

}  // namespace zervane
