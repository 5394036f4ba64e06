#include "engine/authorised.h"

#include <utility>

#include "api/describe.h"
#include "api/words/ascii.h"
#include "engine/log.h"

namespace zervane {
namespace {

constexpr int kReadsTags = 1;

// Whether the operation is of those that need no level for oneself, and concerns its caller, who is
// still a user. No two users have one name, and none ever has another.
bool ConcernsCaller(const Caller& caller, int level, const OperationRow& row,
                    const void* operation) {
  return row.concerned_user != nullptr && level != kNoUserNeeded &&
         EqualsFolded(row.concerned_user(operation), caller.user);
}

Status Refuse(const Caller& caller, int level, const OperationRow& row, const void* operation) {
  LogWarning("audit: '{}' of {}, level {}, may not {}, which needs level {}", caller.user,
             caller.from, level, Describe(row.number, operation), row.level);
  return {ZR3_ERR_NO_RIGHT, {}};
}

// What was done stays done when there is no memory for its line.
void Audited(const Caller& caller, OperationNumber number, const void* operation,
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

}  // namespace

Authorised::Authorised(std::unique_ptr<Database> database, Levels levels)
    : database_(std::move(database)), levels_(std::move(levels)) {}

std::optional<std::int64_t> Authorised::HeardCatalogueVersion(const Caller& caller) const {
  if (levels_(caller, AuthorityItem::kTags) < kReadsTags) return std::nullopt;
  return database_->HeardCatalogueVersion(caller);
}

Status Authorised::Carry(const Caller& caller, OperationNumber number, const void* operation,
                         void* reply) {
  if (!IsOperation(number)) return {ZR3_ERR_NOT_SUPPORTED, {}};
  const OperationRow& row = RowOf(number);
  const int level = levels_(caller, row.item);
  if (level < row.level && !ConcernsCaller(caller, level, row, operation)) {
    return Refuse(caller, level, row, operation);
  }
  if (row.audit == Audit::kNo) return database_->Carry(caller, number, operation, reply);
  Status status = database_->Carry(caller, number, operation, reply);
  Audited(caller, number, operation, status.code());
  return status;
}

Status Authorised::Close() { return database_->Close(); }

}  // namespace zervane
