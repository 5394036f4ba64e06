#pragma once

#include <span>

#include "api/words/value.h"
#include "engine/storage/codec/bytes.h"

// The qualities of a chunk: runs of a length and the quality that repeats.
namespace zervane::storage {

void WriteQualities(std::span<const Sample> records, ByteWriter* out);

// Sets the qualities; false when what stands there is not one for each record.
bool ReadQualities(ByteReader* in, std::span<Sample> records);

}  // namespace zervane::storage
