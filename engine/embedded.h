#pragma once

#include <filesystem>
#include <memory>

#include "api/database.h"
#include "engine/clock.h"
#include "engine/storage/store.h"

namespace zervane {

// The embedded database over a store of any kind. The statuses of the store, and
// ZR3_ERR_STORAGE_DAMAGED when what it holds breaks a rule of the database.
Result<std::unique_ptr<Database>> OpenEmbedded(std::unique_ptr<Store> store, Clock clock);

// The embedded database in a folder (made when missing), and a volatile one; both on the system's
// clock. `encoding` is that of the process's texts, for a database of an earlier layout.
Result<std::unique_ptr<Database>> OpenEmbeddedFolder(const std::filesystem::path& folder,
                                                     const TextEncoding& encoding = {});
Result<std::unique_ptr<Database>> OpenVolatile();

}  // namespace zervane
