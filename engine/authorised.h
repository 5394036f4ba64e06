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

// Stands before a database: what a caller has no right to do is refused with ZR3_ERR_NO_RIGHT and
// logged, the rest goes on to it.
class Authorised final : public Database {
 public:
  // Without levels everything is allowed, as it is in this process as long as there are no users.
  explicit Authorised(std::unique_ptr<Database> database, Levels levels = nullptr);

  std::optional<std::int64_t> HeardCatalogueVersion() const override;
  Status Carry(const Caller& caller, OperationNumber number, const void* operation,
               void* reply) override;
  Status Close() override;

 private:
  const std::unique_ptr<Database> database_;
  const Levels levels_;
  const bool allows_everything_;
};

}  // namespace zervane
