#pragma once

#include <cstddef>
#include <cstdint>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/sqlite/chunk_table.h"
#include "engine/storage/sqlite/sqlite.h"

namespace zervane::storage {

// A number for a store that is opened, which no other one of this process has or had.
std::uint64_t NumberOfOpening();

// The chunk whose records a scan looks at. Its thread keeps the one that it decoded last, unless
// that is a great one, so that many scans in a row over a chunk decode it once.
//
// What is kept cannot grow old: a chunk never changes, and while a store is open its identifier is
// never given to another one (ChunkIds); whoever has the row of a chunk has its records.
//
// Threads: an object stays with the thread that made it. A second one of the thread keeps nothing
// that the first one has.
class LoadedChunk {
 public:
  // May throw std::bad_alloc.
  explicit LoadedChunk(std::uint64_t opening);
  LoadedChunk(const LoadedChunk&) = delete;
  LoadedChunk& operator=(const LoadedChunk&) = delete;
  ~LoadedChunk();

  // Has the records of the chunk, whose row the connection sees. ZR3_ERR_STORAGE_DAMAGED when they
  // do not decode.
  Status Load(Connection& connection, const ChunkExtent& chunk, const TextDecoder& decoder);

  // Those that were loaded last, until the next are.
  const SampleColumns& records() const { return kept_.records; }

 private:
  struct Kept {
    std::uint64_t opening = 0;  // of the store that it is of; 0 for none
    ChunkExtent chunk;
    SampleColumns records;
  };

  bool Has(const ChunkExtent& chunk) const;

  const std::uint64_t opening_;
  Kept& of_thread_;
  Kept kept_;
};

}  // namespace zervane::storage
