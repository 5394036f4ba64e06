#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "api/database.h"
#include "api/operation_table.h"

namespace zervane {

// The level that a caller has in an authority item, from 0 to kMaxLevel; kNoUserNeeded when its
// user is gone.
using Levels = std::function<int(const Caller&, AuthorityItem)>;

// Stands before a database: what a caller has no right to do is refused with ZR3_ERR_NO_RIGHT, the
// rest goes on to it. The log is told of every refusal, and of what changes users, tags and alarms
// or logs in: who, from where, what, and what became of it.
class Authorised final : public Database {
 public:
  Authorised(std::unique_ptr<Database> database, Levels levels);

  // None for a caller whose level in tags is below that of reading them.
  std::optional<std::int64_t> HeardCatalogueVersion(const Caller& caller) const override;
  Status Carry(const Caller& caller, OperationNumber number, const void* operation,
               void* reply) override;
  Status Close() override;

 private:
  const std::unique_ptr<Database> database_;
  const Levels levels_;
};

}  // namespace zervane
