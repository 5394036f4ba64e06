#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "engine/storage/codec/bytes.h"

// Bytes within a chunk whose number the reader knows, in the shortest of three forms: as they are,
// one byte that repeats, or a zstd frame. Each has its own frame, since bytes of one kind share a
// code that bytes of another would spoil.
namespace zervane::storage {

void WriteSection(std::string_view bytes, ByteWriter* out);

// Fills `bytes`; false when what stands there is no section of as many bytes.
bool ReadSection(ByteReader* in, std::span<char> bytes);

// Whether `frame`, which may hold anything, is a zstd frame that gives exactly bytes.size() bytes.
bool Decompress(std::string_view frame, std::span<char> bytes);

}  // namespace zervane::storage
