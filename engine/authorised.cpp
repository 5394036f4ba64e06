#include "engine/authorised.h"

#include "api/describe.h"
#include "api/words/ascii.h"
#include "engine/log.h"

namespace zervane {

// No two users have one name, and none ever has another.
bool ConcernsCaller(const Caller& caller, int level, const OperationRow& row,
                    const void* operation) {
  return row.concerned_user != nullptr && level != kNoUserNeeded &&
         EqualsFolded(row.concerned_user(operation), caller.user);
}

Status RefuseOperation(const Caller& caller, int level, const OperationRow& row,
                       const void* operation) {
  LogWarning("audit: '{}' of {}, level {}, may not {}, which needs level {}", caller.user,
             caller.from, level, Describe(row.number, operation), row.level);
  return {ZR3_ERR_NO_RIGHT, {}};
}

void AuditOperation(const Caller& caller, OperationNumber number, const void* operation,
                    ZR3_STATUS outcome) noexcept {
  const bool is_refused = outcome == ZR3_ERR_LOGIN_FAILED;
  const auto level = is_refused ? spdlog::level::warn : spdlog::level::info;
  try {
    if (!Log().should_log(level)) return;
    LogAt(level, "audit: '{}' of {}: {}: {}", caller.user, caller.from, Describe(number, operation),
          outcome == ZR3_OK ? "done" : zr3_status_text(outcome));
  } catch (...) {
    LogError("audit: {}: a line is missing for want of memory", RowOf(number).name);
  }
}

}  // namespace zervane
