#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "api/words/value.h"
#include "engine/storage/codec/bytes.h"
#include "engine/storage/codec/decoded.h"

// A block is how records stand in the database file: a header that tells what follows, a checksum
// and a body. docs/file-layout.md shows it byte by byte.
namespace zervane::storage {

enum class BlockKind : std::uint8_t { kBatch = 'B', kChunk = 'C', kEmptied = 'E', kSummary = 'S' };

// The latest formats of each kind. Earlier ones are read for ever.
//
// The STRINGs of batches of format 1 and of chunks of formats 1 and 2 stand in the encoding that
// the database kept its texts in, those of later formats in UTF-8.
constexpr std::uint8_t kBatchFormat = 2;
constexpr std::uint8_t kChunkFormat = 3;
constexpr std::uint8_t kEmptiedFormat = 1;
constexpr std::uint8_t kSummaryFormat = 1;

constexpr std::size_t kBlockHeaderBytes = 20;

// Bounds that a reader holds a header to before it allocates what the header asks for.
constexpr std::size_t kMaxBlockRecords = 65'536;
constexpr std::size_t kMaxRecordBytes = 40 + kMaxStringBytes;  // the longest value and its company
static_assert(kMaxStringBytes >= kMaxBlobBytes);

struct BlockHead {
  std::uint8_t format = 0;
  std::uint8_t type = 0;  // of a chunk's values; 0 in others
  std::size_t count = 0;  // records, or tags; of a summary 1
};

// A block that was opened, beside the bytes that it was opened from.
class Block {
 public:
  Block(const BlockHead& head, std::string_view stored) : head_(head), stored_(stored) {}
  Block(const BlockHead& head, std::string decompressed)
      : head_(head), decompressed_(std::move(decompressed)), is_stored_(false) {}

  const BlockHead& head() const { return head_; }
  // As long as the block and the bytes live.
  std::string_view body() const { return is_stored_ ? stored_ : decompressed_; }

 private:
  BlockHead head_;
  std::string_view stored_;
  std::string decompressed_;
  bool is_stored_ = true;
};

// Leaves room for a header, behind which the block's body is to be written. Answers where the block
// begins.
std::size_t BeginBlock(ByteWriter* out);

// Puts the header before the body, which is all that was written since BeginBlock answered `begin`
// and stays as it is: a chunk's columns are compressed already, and a batch waits for the disk no
// longer than for a compressor. At most kMaxBlockRecords records of at most kMaxRecordBytes.
void SealBlock(BlockKind kind, const BlockHead& head, std::size_t begin, ByteWriter* out);

// Of what kind the block in `bytes` says that it is, and how many of the bytes are its own: blocks
// may stand one behind the other. OpenBlock checks both.
bool IsOfKind(BlockKind kind, std::string_view bytes);
std::size_t BytesOfFirstBlock(std::string_view bytes);

// The block in `bytes`, which may hold anything: damaged unless they are exactly one whole block of
// the kind, of a format up to the latest. A body that an earlier release compressed is
// decompressed.
Decoded<Block> OpenBlock(BlockKind kind, std::string_view bytes);

}  // namespace zervane::storage
