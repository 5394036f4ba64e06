#include "engine/embedded_database.h"

#include <array>
#include <cstddef>
#include <utility>

#include "api/operation_table.h"

namespace zervane {
namespace {

using Handler = Status (*)(Engine& engine, const Caller& caller, const void* operation,
                           void* reply);

// The engine's handler of one operation, for callers who know only its number. An operation without
// one does not compile.
template <typename Op>
Status HandleOperation(Engine& engine, const Caller& caller, const void* operation, void* reply) {
  return engine.HandleInto(caller, *static_cast<const Op*>(operation),
                           static_cast<typename Op::Reply*>(reply));
}

template <typename... Op>
constexpr auto HandlersOf(OperationList<Op...>) {
  std::array<Handler, sizeof...(Op) + 1> handlers{};
  ((handlers[static_cast<std::size_t>(Op::kNumber)] = HandleOperation<Op>), ...);
  return handlers;
}

constexpr auto kHandlers = HandlersOf(AllOperations());

}  // namespace

std::optional<std::int64_t> EmbeddedDatabase::HeardCatalogueVersion(const Caller&) const {
  return engine_->catalogue_version();
}

Status EmbeddedDatabase::Carry(const Caller& caller, OperationNumber number, const void* operation,
                               void* reply) {
  if (is_closed_.load(std::memory_order_acquire)) return DatabaseClosed();
  if (!IsOperation(number)) return {ZR3_ERR_NOT_SUPPORTED, {}};
  return kHandlers[static_cast<std::size_t>(number)](*engine_, caller, operation, reply);
}

Status EmbeddedDatabase::Close() {
  if (is_closed_.exchange(true)) return {};
  return engine_->Close();
}

}  // namespace zervane
