#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "api/words/status.h"
#include "zr3Enum.h"

// The texts of alarm tags: tests, and what is done when an alarm starts.
namespace zervane {

// `LOLO|LOW|HIGH|HIHI  >|>=|<|<=|=|<>  number  [PRIORITY n]`, or `CHANGE [least] [PRIORITY n]`.
struct AlarmTest {
  enum class Comparison : std::uint8_t {
    kGreater,
    kGreaterOrEqual,
    kLess,
    kLessOrEqual,
    kEqual,
    kNotEqual,
  };

  std::int32_t type = ZR3_AM_REC_TYPE_HIGH;           // ZR3_AM_REC_TYPE_...
  Comparison comparison = Comparison::kGreater;       // of CHANGE none
  double limit = 0;                                   // of CHANGE the least difference, 0 for any
  std::int32_t priority = ZR3_AM_REC_PRIORITY_FIRST;  // 1 to 4

  bool is_change() const { return type == ZR3_AM_REC_TYPE_CHANGE; }
  friend bool operator==(const AlarmTest&, const AlarmTest&) = default;
};

// The test of a text, none of an empty one (or one of spaces). ZR3_ERR_INVALID_ALARM_TEST, with the
// place and what was expected there in its text.
Result<std::optional<AlarmTest>> ParseAlarmTest(std::string_view text);

// `SET 'TAG' number`: the tag's name, in which a quote is doubled in the text.
struct AlarmAction {
  std::string target;
  double number = 0;

  friend bool operator==(const AlarmAction&, const AlarmAction&) = default;
};

// The same of an action.
Result<std::optional<AlarmAction>> ParseAlarmAction(std::string_view text);

// The text with another name for the target. REQUIRES that it parses to an action.
std::string WithTarget(std::string_view text, std::string_view name);

}  // namespace zervane
