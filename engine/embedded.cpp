#include "engine/embedded.h"

#include <utility>

#include "engine/authorised.h"
#include "engine/embedded_database.h"
#include "engine/guard.h"

namespace zervane {

Result<std::unique_ptr<Database>> OpenEmbedded(std::unique_ptr<Store> store, Clock clock) {
  Result<std::unique_ptr<Engine>> engine = Engine::Open(std::move(store), std::move(clock));
  if (!engine.ok()) return engine.status();
  return Guarded([&]() -> Result<std::unique_ptr<Database>> {
    const Engine& levels = **engine;
    auto database = std::make_unique<EmbeddedDatabase>(*std::move(engine));
    return std::unique_ptr<Database>(std::make_unique<Authorised>(
        std::move(database), [&levels](const Caller& caller, AuthorityItem item) {
          return levels.LevelOf(caller, item);
        }));
  });
}

Result<std::unique_ptr<Database>> OpenEmbeddedFolder(const std::filesystem::path& folder,
                                                     const TextEncoding& encoding) {
  Result<std::unique_ptr<Store>> store = OpenSqliteStore(folder, encoding);
  if (!store.ok()) return store.status();
  return OpenEmbedded(*std::move(store), SystemClock());
}

Result<std::unique_ptr<Database>> OpenVolatile() {
  return OpenEmbedded(OpenMemoryStore(), SystemClock());
}

}  // namespace zervane
