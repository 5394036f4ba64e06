#pragma once

#include "api/words/samples.h"
#include "engine/storage/codec/bytes.h"

namespace zervane::storage {

// Reads the columns of a chunk of format 1, which earlier releases wrote, into samples, at least
// one, that have their number and type already. False when they do not decode; what comes out is
// checked by the caller, as that of later formats is.
bool ReadFormat1(ByteReader* in, SampleColumns* samples);

}  // namespace zervane::storage
