#pragma once

#include <cstdint>

#include "api/words/status.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/store.h"

namespace zervane::storage {

// Marks a database file of this system ("ZVDB"), and tells its layout. A change that an older
// release cannot read adds one to the layout.
constexpr std::int64_t kApplicationId = 0x5A564442;
constexpr std::int64_t kLayoutVersion = 6;

// Makes the connection the writer of its file: checks what the file is, sets how it is written and,
// in an empty one, makes the tables; an earlier layout becomes this one (upgrade.h). A file that is
// refused is left as it is. Answers the decoder of texts that were stored before they were UTF-8.
// ZR3_ERR_NOT_A_DATABASE, ZR3_ERR_DATABASE_VERSION, ZR3_ERR_INVALID_TEXT and the statuses of
// SqliteStatus.
Result<TextDecoder> PrepareWriter(Connection& connection, const TextEncoding& encoding);

// Makes the connection a reader of a file that has its writer.
Status PrepareReader(Connection& connection);

}  // namespace zervane::storage
