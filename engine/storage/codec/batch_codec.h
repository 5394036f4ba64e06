#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/storage/codec/bytes.h"
#include "engine/storage/codec/decoded.h"
#include "engine/storage/store.h"

namespace zervane::storage {

// Accepted records as one block of the journal, in their order; it stands in `block`, whose memory
// can serve many.
//
// The records are valid, at most kMaxBlockRecords.
std::string_view EncodeBatch(std::span<const AcceptedSample> records, ByteWriter* block);

inline std::string EncodeBatch(std::span<const AcceptedSample> records) {
  ByteWriter block;
  return std::string(EncodeBatch(records, &block));
}

// The records of a batch in `bytes`, which may hold anything: damaged unless what comes
// out is what EncodeBatch may be given.
Decoded<std::vector<AcceptedSample>> DecodeBatch(std::string_view bytes);

}  // namespace zervane::storage
