#include "engine/authorised.h"

#include <utility>

#include "api/describe.h"
#include "engine/log.h"

namespace zervane {

Authorised::Authorised(std::unique_ptr<Database> database, Levels levels)
    : database_(std::move(database)), levels_(std::move(levels)), allows_everything_(!levels_) {}

std::optional<std::int64_t> Authorised::HeardCatalogueVersion() const {
  return database_->HeardCatalogueVersion();
}

Status Authorised::Carry(const Caller& caller, OperationNumber number, const void* operation,
                         void* reply) {
  if (allows_everything_) return database_->Carry(caller, number, operation, reply);
  if (!IsOperation(number)) return {ZR3_ERR_NOT_SUPPORTED, {}};
  const OperationRow& row = RowOf(number);
  const int level = levels_(caller, row.item);
  if (level >= row.level) return database_->Carry(caller, number, operation, reply);
  LogWarning("{} of {}, level {}, may not {}, which needs level {}", caller.user, caller.from,
             level, Describe(number, operation), row.level);
  return {ZR3_ERR_NO_RIGHT, {}};
}

Status Authorised::Close() { return database_->Close(); }

}  // namespace zervane
