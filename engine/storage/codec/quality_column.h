#pragma once

#include <cstdint>
#include <span>

#include "engine/storage/codec/bytes.h"

// The qualities of a chunk: runs of a length and the quality that repeats.
namespace zervane::storage {

void WriteQualities(std::span<const std::uint16_t> qualities, ByteWriter* out);

// Fills `qualities`; false when what stands there is not as many.
bool ReadQualities(ByteReader* in, std::span<std::uint16_t> qualities);

}  // namespace zervane::storage
