#pragma once

#include <span>

#include "api/words/value.h"
#include "engine/storage/codec/bytes.h"

namespace zervane::storage {

// Reads the columns of a chunk of format 1, which earlier releases wrote, into records that have
// their type already. False when they do not decode; what comes out is checked by the caller, as
// that of the present format is.
bool ReadFormat1(ByteReader* in, std::span<Sample> records);

}  // namespace zervane::storage
