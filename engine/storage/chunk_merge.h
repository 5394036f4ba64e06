#pragma once

#include <cstddef>

#include "engine/status.h"
#include "engine/storage/series.h"
#include "engine/storage/sqlite.h"

namespace zervane::storage {

// Brings a tag's pending records into its chunks, of up to `chunk_records` records each, where
// they replace those of equal time. Reads and writes only the chunks that they fall into, and the
// small ones that they follow. Within the caller's transaction.
Status MergeIntoChunks(Connection& connection, TagId tag, const Series& pending,
                       std::size_t chunk_records);

}  // namespace zervane::storage
