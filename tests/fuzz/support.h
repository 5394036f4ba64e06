#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "engine/storage/codec/block.h"
#include "engine/storage/store.h"
#include "tests/fuzz/target.h"

// What the targets of the decoders share.
namespace zervane::storage {

inline std::string_view AsBytes(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// The bytes as a block of the kind under a right checksum, so that a fuzzer, which cannot guess
// one, reaches what lies beneath. Empty when they are too few.
std::string Sealed(BlockKind kind, std::string_view bytes);

// The same for the blocks of an entry of the journal, one behind the other, each of the kind that
// its second byte says.
std::string SealedEntry(std::string_view bytes);

// Converts texts of earlier formats now and then, as one that meets bytes that are no text.
std::optional<std::string> DecodeSomeTexts(std::string_view bytes);

// Decodes; what comes out is valid and comes back whole from another round.
void CheckChunk(std::string_view bytes);
void CheckBatch(std::string_view bytes);
void CheckEntry(std::string_view bytes);

// The samples, which are as EncodeChunk wants them, come back from a chunk.
void CheckRoundTrip(const SampleColumns& samples);

// Prints what is wrong and ends the process, unless it is true.
void Require(bool truth, const char* what);

}  // namespace zervane::storage
