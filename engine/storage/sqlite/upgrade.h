#pragma once

#include <cstdint>
#include <string_view>

#include "api/words/status.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/store.h"

namespace zervane::storage {

// Makes the present layout of an earlier one, within the caller's transaction, so that it happens
// whole or not at all. The texts of the tags become UTF-8: they are taken to be in the encoding,
// whose name the file keeps, for the values that are converted when they are read.
// ZR3_ERR_INVALID_TEXT when one of them is not, or when names of two tags would become one.
Status Upgrade(Connection& connection, std::int64_t layout, const TextEncoding& encoding);

// The decoder of an encoding by its name: null for UTF-8. ZR3_ERR_INVALID_TEXT when it is not
// known.
Result<TextDecoder> DecoderOf(const TextEncoding& encoding, std::string_view name);

}  // namespace zervane::storage
