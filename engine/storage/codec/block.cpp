#include "engine/storage/codec/block.h"

#include <libdeflate.h>

#include "engine/assert.h"
#include "engine/storage/codec/section.h"

namespace zervane::storage {
namespace {

constexpr std::size_t kChecksumOffset = 16;

enum : std::uint8_t { kStored = 0, kZstd = 1 };

std::uint8_t LastFormat(BlockKind kind) {
  return kind == BlockKind::kChunk ? kChunkFormat : kBatchFormat;
}

// Of all bytes but its own.
std::uint32_t Checksum(std::string_view bytes) {
  const std::uint32_t of_header = libdeflate_crc32(0, bytes.data(), kChecksumOffset);
  const std::string_view body = bytes.substr(kBlockHeaderBytes);
  return libdeflate_crc32(of_header, body.data(), body.size());
}

}  // namespace

void BeginBlock(ByteWriter* block) {
  block->Cut(0);
  block->Advance(block->Room(kBlockHeaderBytes) + kBlockHeaderBytes);
}

std::string_view SealBlock(BlockKind kind, const BlockHead& head, ByteWriter* block) {
  ZERVANE_ASSERT(block->size() >= kBlockHeaderBytes && head.count <= kMaxBlockRecords);
  char* to = PutFixed(block->At(0), std::uint8_t{'Z'});
  to = PutFixed(to, static_cast<std::uint8_t>(kind));
  to = PutFixed(to, head.format);
  to = PutFixed(to, std::uint8_t{kStored});
  to = PutFixed(to, std::uint32_t{head.type});
  to = PutFixed(to, static_cast<std::uint32_t>(head.count));
  to = PutFixed(to, static_cast<std::uint32_t>(block->size() - kBlockHeaderBytes));
  PutFixed(to, Checksum(block->bytes()));
  return block->bytes();
}

Decoded<Block> OpenBlock(BlockKind kind, std::string_view bytes) {
  if (bytes.size() < kBlockHeaderBytes) return Damage{"shorter than a block's header"};
  const std::string_view stored = bytes.substr(kBlockHeaderBytes);
  ByteReader header(bytes);
  const bool is_block = header.Fixed<std::uint8_t>() == 'Z' &&
                        header.Fixed<std::uint8_t>() == static_cast<std::uint8_t>(kind);
  if (!is_block) return Damage{"not a block of this kind"};
  const auto format = header.Fixed<std::uint8_t>();
  const auto compression = header.Fixed<std::uint8_t>();
  const auto type = header.Fixed<std::uint32_t>();
  const std::size_t count = header.Fixed<std::uint32_t>();
  const std::size_t size = header.Fixed<std::uint32_t>();
  if (header.Fixed<std::uint32_t>() != Checksum(bytes)) {
    return Damage{"the checksum does not match"};
  }
  if (format == 0 || format > LastFormat(kind) || compression > kZstd) {
    return Damage{"unknown block format"};
  }
  if (type > 0xFF || count > kMaxBlockRecords || size > count * kMaxRecordBytes) {
    return Damage{"the header is out of bounds"};
  }
  Block block{.head = {.format = format, .type = static_cast<std::uint8_t>(type), .count = count},
              .body = {}};
  if (compression == kStored) {
    block.body = stored;
    if (size != stored.size()) return Damage{"the body's size does not match"};
    return block;
  }
  block.body.resize(size);
  if (!Decompress(stored, block.body)) return Damage{"the body does not decompress"};
  return block;
}

}  // namespace zervane::storage
