#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "engine/database.h"
#include "engine/storage/store.h"

namespace zervane {

// The database's clock, in milliseconds since 1970-01-01 UTC. Handed in, so that tests set it.
using Clock = std::function<std::int64_t()>;
Clock SystemClock();

// The embedded database over a store of any kind. `user` is whom changes of the catalogue are
// stamped with.
Result<std::unique_ptr<Database>> OpenEmbedded(std::unique_ptr<Store> store, Clock clock,
                                               std::string user);

// The embedded database in a folder (made when missing), and a volatile one; both on the system's
// clock, stamped "admin".
Result<std::unique_ptr<Database>> OpenEmbeddedFolder(const std::filesystem::path& folder);
Result<std::unique_ptr<Database>> OpenVolatile();

}  // namespace zervane
