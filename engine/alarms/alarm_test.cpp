#include "engine/alarms/alarm_test.h"

namespace zervane {

Result<std::optional<AlarmTest>> ParseAlarmTest(std::string_view) {
  return Status(ZR3_ERR_NOT_SUPPORTED, {});
}

Result<std::optional<AlarmAction>> ParseAlarmAction(std::string_view) {
  return Status(ZR3_ERR_NOT_SUPPORTED, {});
}

std::string WithTarget(std::string_view text, std::string_view) { return std::string(text); }

}  // namespace zervane
