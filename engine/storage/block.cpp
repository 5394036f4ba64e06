#include "engine/storage/block.h"

#include <zlib.h>

#include "engine/storage/bytes.h"
#include "engine/storage/section.h"

namespace zervane::storage {
namespace {

constexpr std::size_t kChecksumOffset = 16;

enum : std::uint8_t { kStored = 0, kZstd = 1 };

std::uint8_t LastFormat(BlockKind kind) {
  return kind == BlockKind::kChunk ? kChunkFormat : kBatchFormat;
}

// Of all bytes but the checksum's own.
std::uint32_t Checksum(std::string_view header, std::string_view body) {
  const auto* head = reinterpret_cast<const Bytef*>(header.data());
  const auto* rest = reinterpret_cast<const Bytef*>(body.data());
  return static_cast<std::uint32_t>(crc32_z(crc32_z(0, head, kChecksumOffset), rest, body.size()));
}

}  // namespace

Status DamagedBlock(std::string_view why) {
  return Status(ZR3_ERR_STORAGE_DAMAGED, std::string(why));
}

std::string SealBlock(BlockKind kind, const Block& block) {
  ByteWriter out(kBlockHeaderBytes + block.body.size());
  out.Fixed(std::uint8_t{'Z'});
  out.Fixed(static_cast<std::uint8_t>(kind));
  out.Fixed(block.format);
  out.Fixed(std::uint8_t{kStored});
  out.Fixed(std::uint32_t{block.type});
  out.Fixed(static_cast<std::uint32_t>(block.count));
  out.Fixed(static_cast<std::uint32_t>(block.body.size()));
  out.Fixed(Checksum(out.bytes(), block.body));
  out.Bytes(block.body);
  return out.Take();
}

Result<Block> OpenBlock(BlockKind kind, std::string_view bytes) {
  if (bytes.size() < kBlockHeaderBytes) return DamagedBlock("shorter than a block's header");
  const std::string_view stored = bytes.substr(kBlockHeaderBytes);
  ByteReader header(bytes);
  const bool is_block = header.Fixed<std::uint8_t>() == 'Z' &&
                        header.Fixed<std::uint8_t>() == static_cast<std::uint8_t>(kind);
  if (!is_block) return DamagedBlock("not a block of this kind");
  const auto format = header.Fixed<std::uint8_t>();
  const auto compression = header.Fixed<std::uint8_t>();
  const auto type = header.Fixed<std::uint32_t>();
  const std::size_t count = header.Fixed<std::uint32_t>();
  const std::size_t size = header.Fixed<std::uint32_t>();
  if (header.Fixed<std::uint32_t>() != Checksum(bytes, stored)) {
    return DamagedBlock("the checksum does not match");
  }
  if (format == 0 || format > LastFormat(kind) || compression > kZstd) {
    return DamagedBlock("unknown block format");
  }
  if (type > 0xFF || count > kMaxBlockRecords || size > count * kMaxRecordBytes) {
    return DamagedBlock("the header is out of bounds");
  }
  Block block{
      .format = format, .type = static_cast<std::uint8_t>(type), .count = count, .body = {}};
  if (compression == kStored) {
    block.body = stored;
    if (size != stored.size()) return DamagedBlock("the body's size does not match");
    return block;
  }
  block.body.resize(size);
  if (!Decompress(stored, block.body)) return DamagedBlock("the body does not decompress");
  return block;
}

}  // namespace zervane::storage
