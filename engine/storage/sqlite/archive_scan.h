#pragma once

#include <cstddef>
#include <cstdint>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/sqlite/loaded_chunk.h"
#include "engine/storage/sqlite/pending.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/store.h"

// Reading a tag's archive: its chunks together with its pending records.
//
// The rule that makes it right beside a writer: pending records are copied first and the chunks
// opened after. A record leaves the pending ones only after the chunks that hold it are committed,
// so it is in the copy, in the chunks, or in both; in both, the copy counts once. This goes on
// piece by piece of the range: where much is pending, so that little is copied that nobody wants;
// where there are many chunks, so that no state of the file is held for as long as a long range
// takes. SQLite's log cannot start over while one is held.
namespace zervane::storage {

// How many chunks are looked at in one state of the file, a group for eight of them.
inline constexpr std::size_t kPieceChunks = 512;

// What is read.
struct Archive {
  Connection& connection;  // no part of a transaction
  Pending& pending;
  const TextDecoder& decoder;
  std::uint64_t opening;  // the store's (NumberOfOpening)
  std::size_t piece_chunks = kPieceChunks;
};

// Shows the archived records of the range to the visitor (Store::Scan). A chunk is decoded only
// where its records are wanted, where it crosses the range's ends or where pending records fall
// into it.
Status ScanArchive(const Archive& archive, TagId tag, TimeRange range, Direction direction,
                   ScanVisitor& visitor);

}  // namespace zervane::storage
