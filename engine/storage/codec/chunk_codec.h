#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "api/words/samples.h"
#include "engine/storage/codec/decoded.h"
#include "engine/storage/codec/text_decoder.h"

namespace zervane::storage {

// A run of one tag's samples, those from `begin` to before `end`, as a block, column by column:
// times as differences, qualities as runs, values in the form that suits their type. STRINGs are of
// format 3; all others of format 2, whose bytes would be the same.
//
// The samples are valid, their STRINGs UTF-8, of one type, strictly ascending in time, 1 to
// kMaxBlockRecords.
std::string EncodeChunk(const SampleColumns& samples, std::size_t begin, std::size_t end);

// The samples of a chunk in `bytes`, which may hold anything: damaged unless what comes out is what
// EncodeChunk may be given. STRINGs of formats before 3 become UTF-8 by the decoder. `memory` is
// what they are to stand in: that of a chunk that was done with spares making it anew.
Decoded<SampleColumns> DecodeChunk(std::string_view bytes, const TextDecoder& decoder,
                                   SampleColumns memory = {});

}  // namespace zervane::storage
