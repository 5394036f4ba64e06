#include "engine/embedded.h"

#include <utility>

#include "engine/authorised.h"
#include "engine/embedded_database.h"
#include "engine/guard.h"

namespace zervane {
namespace {

// The levels of an engine's own users.
struct LevelsOfUsers {
  int operator()(const Caller& caller, AuthorityItem item) const {
    return engine.LevelOf(caller, item);
  }

  const Engine& engine;
};

}  // namespace

Result<std::unique_ptr<Database>> OpenEmbedded(std::unique_ptr<Store> store, Clock clock) {
  Result<std::unique_ptr<Engine>> engine = Engine::Open(std::move(store), std::move(clock));
  if (!engine.ok()) return engine.status();
  return Guarded([&]() -> Result<std::unique_ptr<Database>> {
    const LevelsOfUsers levels{**engine};
    auto database = std::make_unique<EmbeddedDatabase>(*std::move(engine));
    return std::unique_ptr<Database>(
        std::make_unique<AuthorisedDatabase<EmbeddedDatabase, LevelsOfUsers>>(std::move(database),
                                                                              levels));
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
