#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "api/words/value.h"
#include "engine/storage/codec/bytes.h"
#include "engine/storage/codec/decoded.h"

// A block is how records stand in the database file: a header that tells what follows, a checksum
// and a body. docs/file-layout.md shows it byte by byte.
namespace zervane::storage {

enum class BlockKind : std::uint8_t { kBatch = 'B', kChunk = 'C' };

// The formats that are written. Earlier ones of a kind are read for ever.
constexpr std::uint8_t kBatchFormat = 1;
constexpr std::uint8_t kChunkFormat = 2;

constexpr std::size_t kBlockHeaderBytes = 20;

// Bounds that a reader holds a header to before it allocates what the header asks for.
constexpr std::size_t kMaxBlockRecords = 65'536;
constexpr std::size_t kMaxRecordBytes = 40 + kMaxBlobBytes;  // the longest value and its company

struct BlockHead {
  std::uint8_t format = 0;
  std::uint8_t type = 0;  // of a chunk's values; 0 in a batch
  std::size_t count = 0;  // records
};

struct Block {
  BlockHead head;
  std::string body;
};

// Makes `block` the beginning of a block, behind which its body is to be written.
void BeginBlock(ByteWriter* block);

// The block as bytes, which stay in `block`, from what BeginBlock began, the body as it is: a
// chunk's columns are compressed already, and a batch waits for the disk no longer than for a
// compressor. At most kMaxBlockRecords records of at most kMaxRecordBytes in the body.
std::string_view SealBlock(BlockKind kind, const BlockHead& head, ByteWriter* block);

// The block in `bytes`, which may hold anything: damaged unless they are exactly one whole block of
// the kind, of a format up to the one that is written. A body that an earlier release compressed is
// decompressed.
Decoded<Block> OpenBlock(BlockKind kind, std::string_view bytes);

}  // namespace zervane::storage
