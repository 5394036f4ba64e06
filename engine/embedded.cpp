#include "engine/embedded.h"

#include <utility>

#include "engine/embedded_database.h"

namespace zervane {
namespace {

constexpr char kLocalUser[] = "admin";

}  // namespace

Result<std::unique_ptr<Database>> OpenEmbedded(std::unique_ptr<Store> store, Clock clock,
                                               std::string user) {
  return EmbeddedDatabase::Open(std::move(store), std::move(clock), std::move(user));
}

Result<std::unique_ptr<Database>> OpenEmbeddedFolder(const std::filesystem::path& folder) {
  Result<std::unique_ptr<Store>> store = OpenSqliteStore(folder);
  if (!store.ok()) return store.status();
  return OpenEmbedded(*std::move(store), SystemClock(), kLocalUser);
}

Result<std::unique_ptr<Database>> OpenVolatile() {
  return OpenEmbedded(OpenMemoryStore(), SystemClock(), kLocalUser);
}

}  // namespace zervane
