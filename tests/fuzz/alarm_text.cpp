#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "engine/alarms/alarm_test.h"
#include "tests/fuzz/target.h"

// Any bytes as an alarm test and as an action: what they say depends on no letter's case and on no
// number of spaces; a text that is none is refused at one of its bytes, or at its end.
namespace zervane {
namespace {

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: %s\n", what);
  std::abort();
}

// The text with its letters in the other case and a space more wherever one is, but for what stands
// in quotes.
std::string WrittenOtherwise(std::string_view text) {
  std::string other;
  bool is_quoted = false;
  for (const char c : text) {
    if (c == '\'') is_quoted = !is_quoted;
    const bool is_letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    other += is_letter && !is_quoted ? static_cast<char>(c ^ 0x20) : c;
    if (c == ' ' && !is_quoted) other += c;
  }
  return other;
}

void RequireAPlace(const Status& status, std::string_view text) {
  Require(status.code() == ZR3_ERR_INVALID_ALARM_TEST, "a text is refused with another status");
  std::size_t column = 0;
  Require(std::sscanf(status.message().c_str(), "column %zu: ", &column) == 1,
          "a text is refused without a place");
  Require(column >= 1 && column <= text.size() + 1, "the place is not in the text");
}

void TryTest(std::string_view text) {
  const auto parsed = ParseAlarmTest(text);
  const auto again = ParseAlarmTest(WrittenOtherwise(text));
  Require(parsed.ok() == again.ok(), "a test depends on case or spaces");
  if (!parsed.ok()) return RequireAPlace(parsed.status(), text);
  Require(*parsed == *again, "a test says something else in another case or with more spaces");
  if (!*parsed) return;
  const AlarmTest& test = **parsed;
  Require(test.type >= ZR3_AM_REC_TYPE_MIN && test.type <= ZR3_AM_REC_TYPE_MAX,
          "a test has a type that there is not");
  Require(test.priority >= ZR3_AM_REC_PRIORITY_MIN && test.priority <= ZR3_AM_REC_PRIORITY_MAX,
          "a test has a priority that there is not");
  Require(std::isfinite(test.limit), "a limit is not finite");
  Require(!test.is_change() || test.limit >= 0, "a least difference is negative");
}

void TryAction(std::string_view text) {
  const auto parsed = ParseAlarmAction(text);
  const auto again = ParseAlarmAction(WrittenOtherwise(text));
  Require(parsed.ok() == again.ok(), "an action depends on case or spaces");
  if (!parsed.ok()) return RequireAPlace(parsed.status(), text);
  Require(*parsed == *again, "an action says something else in another case or with more spaces");
  if (!*parsed) return;
  const AlarmAction& action = **parsed;
  Require(!action.target.empty(), "an action has a target without a name");
  Require(std::isfinite(action.number), "an action's number is not finite");
  Require(WithTarget(text, action.target) == text, "the same target is another text");
  const std::string name = "it's '" + action.target + "'";
  const auto renamed = ParseAlarmAction(WithTarget(text, name));
  Require(renamed.ok() && *renamed && **renamed == AlarmAction{name, action.number},
          "an action does not take another target");
}

}  // namespace
}  // namespace zervane

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  zervane::TryTest(text);
  zervane::TryAction(text);
  return 0;
}
