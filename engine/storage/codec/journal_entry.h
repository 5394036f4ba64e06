#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "engine/storage/codec/bytes.h"
#include "engine/storage/codec/decoded.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/store.h"

namespace zervane::storage {

// What the journal has of a commit: the tags whose earlier records go, and the records.
struct JournalEntry {
  std::vector<TagId> emptied;
  RecordBatch records;
};

// The entry as blocks one behind the other: the tags, if there are some, then as many batches as
// the records need. `out` is begun anew.
//
// The records are valid (record_check.h), their STRINGs UTF-8.
void EncodeEntry(std::span<const TagId> emptied, const RecordBatch& records, ByteWriter* out);

// The entry in `bytes`, which may hold anything: damaged unless what comes out is what EncodeEntry
// may be given. A block of an earlier release is an entry.
Decoded<JournalEntry> DecodeEntry(std::string_view bytes, const TextDecoder& decoder);

}  // namespace zervane::storage
