#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "api/words/value.h"
#include "engine/storage/codec/decoded.h"

namespace zervane::storage {

// A run of one tag's records as a block, column by column: times as differences, qualities as runs,
// values in the form that suits their type.
//
// The records are valid, of one type, strictly ascending in time, 1 to kMaxBlockRecords.
std::string EncodeChunk(std::span<const Sample> records);

// The records of a chunk in `bytes`, which may hold anything: damaged unless what comes
// out is what EncodeChunk may be given.
Decoded<std::vector<Sample>> DecodeChunk(std::string_view bytes);

}  // namespace zervane::storage
