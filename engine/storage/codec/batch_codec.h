#pragma once

#include <cstddef>
#include <string_view>

#include "engine/storage/codec/bytes.h"
#include "engine/storage/codec/decoded.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/store.h"

namespace zervane::storage {

// Appends the records from `begin` to before `end`, in their order, as one block.
//
// The records are valid (record_check.h), their STRINGs UTF-8; at most kMaxBlockRecords.
void EncodeBatch(const RecordBatch& batch, std::size_t begin, std::size_t end, ByteWriter* out);

// The records of a batch in `bytes`, which may hold anything: damaged unless what comes out is what
// EncodeBatch may be given. STRINGs of format 1 become UTF-8 by the decoder.
Decoded<RecordBatch> DecodeBatch(std::string_view bytes, const TextDecoder& decoder);

}  // namespace zervane::storage
