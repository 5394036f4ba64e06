#pragma once

#include <cstdint>

#include "api/words/status.h"
#include "engine/storage/sqlite/sqlite.h"

namespace zervane::storage {

// Marks a database file of this system ("ZVDB"), and tells its layout. A change that an older
// release cannot read adds one to the layout.
constexpr std::int64_t kApplicationId = 0x5A564442;
constexpr std::int64_t kLayoutVersion = 2;

// Makes the connection the writer of its file: checks what the file is, sets how it is written and,
// in an empty one, makes the tables; an earlier layout becomes this one. A file that is refused is
// left as it is. ZR3_ERR_NOT_A_DATABASE, ZR3_ERR_DATABASE_VERSION and the statuses of SqliteStatus.
Status PrepareWriter(Connection& connection);

// Makes the connection a reader of a file that has its writer.
Status PrepareReader(Connection& connection);

}  // namespace zervane::storage
