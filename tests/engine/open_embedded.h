#pragma once

#include <memory>
#include <utility>

#include "engine/embedded_database.h"

namespace zervane {

// The embedded database over any store, with limits of its queue of the test's own.
inline Result<std::unique_ptr<Database>> OpenEmbeddedWith(std::unique_ptr<Store> store, Clock clock,
                                                          const WriteQueue::Limits& limits = {}) {
  Result<std::unique_ptr<Engine>> engine = Engine::Open(std::move(store), std::move(clock), limits);
  if (!engine.ok()) return engine.status();
  return std::unique_ptr<Database>(std::make_unique<EmbeddedDatabase>(*std::move(engine)));
}

}  // namespace zervane
