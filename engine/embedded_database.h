#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "api/database.h"
#include "engine/engine.h"

namespace zervane {

// The database in this process, as the Database that callers see: it finds the handler of an
// operation by its number, and refuses all once it is closed.
class EmbeddedDatabase final : public Database {
 public:
  explicit EmbeddedDatabase(std::unique_ptr<Engine> engine) : engine_(std::move(engine)) {}

  // Always heard just now: the catalogue is in this process.
  std::optional<std::int64_t> HeardCatalogueVersion(const Caller& caller) const override;

  Status Carry(const Caller& caller, OperationNumber number, const void* operation,
               void* reply) override;
  Status Close() override;

 private:
  const std::unique_ptr<Engine> engine_;
  std::atomic<bool> is_closed_{false};
};

}  // namespace zervane
