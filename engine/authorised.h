#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "api/database.h"
#include "api/operation_table.h"

namespace zervane {

// Of an operation that a caller's level does not suffice for. Whether it is let through all the
// same: it is of those that need no level for oneself, and concerns its caller, who is still a
// user.
bool ConcernsCaller(const Caller& caller, int level, const OperationRow& row,
                    const void* operation);
// Tells the log of a refusal: ZR3_ERR_NO_RIGHT.
Status RefuseOperation(const Caller& caller, int level, const OperationRow& row,
                       const void* operation);
// Tells the log what became of an operation. What was done stays done when there is no memory for
// its line.
void AuditOperation(const Caller& caller, OperationNumber number, const void* operation,
                    ZR3_STATUS outcome) noexcept;

// Stands before a database: what a caller has no right to do is refused with ZR3_ERR_NO_RIGHT, the
// rest goes on to it. The log is told of every refusal, and of what changes users, tags and alarms
// or logs in: who, from where, what, and what became of it.
//
// `levels` answers the level that a caller has in an authority item, from 0 to kMaxLevel;
// kNoUserNeeded when its user is gone. It is asked with every call, of which some take nanoseconds:
// both are parameters so that asking costs no call of its own.
template <typename Inner, typename Levels>
class AuthorisedDatabase final : public Database {
 public:
  AuthorisedDatabase(std::unique_ptr<Inner> database, Levels levels)
      : database_(std::move(database)), levels_(std::move(levels)) {}

  // None for a caller whose level in tags is below that of reading them.
  std::optional<std::int64_t> HeardCatalogueVersion(const Caller& caller) const override {
    constexpr int kReadsTags = 1;
    if (levels_(caller, AuthorityItem::kTags) < kReadsTags) return std::nullopt;
    return database_->HeardCatalogueVersion(caller);
  }

  Status Carry(const Caller& caller, OperationNumber number, const void* operation,
               void* reply) override {
    if (!IsOperation(number)) return {ZR3_ERR_NOT_SUPPORTED, {}};
    const OperationRow& row = RowOf(number);
    const int level = levels_(caller, row.item);
    if (level < row.level && !ConcernsCaller(caller, level, row, operation)) {
      return RefuseOperation(caller, level, row, operation);
    }
    if (row.audit == Audit::kNo) return database_->Carry(caller, number, operation, reply);
    Status status = database_->Carry(caller, number, operation, reply);
    AuditOperation(caller, number, operation, status.code());
    return status;
  }

  Status Close() override { return database_->Close(); }

 private:
  const std::unique_ptr<Inner> database_;
  const Levels levels_;
};

// Before any database, by any levels.
using Authorised = AuthorisedDatabase<Database, std::function<int(const Caller&, AuthorityItem)>>;

}  // namespace zervane
