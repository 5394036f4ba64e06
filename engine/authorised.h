#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "api/database.h"
#include "api/operation_table.h"

namespace zervane {

// The level that a caller has in an authority item, from 0 to kMaxLevel.
using Levels = std::function<int(const Caller&, AuthorityItem)>;

// As long as there are no users, whoever reaches a database in this process may do everything.
int EverythingIsAllowed(const Caller& caller, AuthorityItem item);

// Stands before a database: what a caller has no right to do is refused with ZR3_ERR_NO_RIGHT and
// logged, the rest goes on to it.
class Authorised final : public Database {
 public:
  explicit Authorised(std::unique_ptr<Database> database, Levels levels = EverythingIsAllowed);

  std::optional<std::int64_t> HeardCatalogueVersion() const override;
  Status Carry(const Caller& caller, OperationNumber number, const void* operation,
               void* reply) override;
  Status Close() override;

 private:
  const std::unique_ptr<Database> database_;
  const Levels levels_;
};

}  // namespace zervane
