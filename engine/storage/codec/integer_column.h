#pragma once

#include <cstdint>
#include <span>

#include "engine/storage/codec/bytes.h"

// Integers that resemble their neighbours, small: what is left of them after a prediction, less the
// smallest such rest, in as many bytes as the largest needs. All first bytes stand together, then
// all second ones and so on, each such plane a section. Any 64 bits come back: the arithmetic
// wraps.
namespace zervane::storage {

// At least one number.
void WriteIntegers(std::span<const std::int64_t> values, ByteWriter* out);

// Fills `values`, of which there is at least one; false when what stands there is no such column.
bool ReadIntegers(ByteReader* in, std::span<std::int64_t> values);

}  // namespace zervane::storage
