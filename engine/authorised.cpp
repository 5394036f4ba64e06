#include "engine/authorised.h"

#include <utility>

#include "engine/log.h"

namespace zervane {

int EverythingIsAllowed(const Caller&, AuthorityItem) { return kMaxLevel; }

Authorised::Authorised(std::unique_ptr<Database> database, Levels levels)
    : database_(std::move(database)), levels_(std::move(levels)) {}

std::optional<std::int64_t> Authorised::HeardCatalogueVersion() const {
  return database_->HeardCatalogueVersion();
}

Status Authorised::Carry(const Caller& caller, OperationNumber number, const void* operation,
                         void* reply) {
  const OperationRow& row = RowOf(number);
  const int level = levels_(caller, row.item);
  if (level >= row.level) return database_->Carry(caller, number, operation, reply);
  LogWarning("{} ({}) may not {}: level {} of {}", caller.user, caller.from, row.name, level,
             row.level);
  return {ZR3_ERR_NO_RIGHT, {}};
}

Status Authorised::Close() { return database_->Close(); }

}  // namespace zervane
