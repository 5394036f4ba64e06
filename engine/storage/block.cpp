#include "engine/storage/block.h"

#include <zlib.h>
#include <zstd.h>

#include "engine/storage/bytes.h"

namespace zervane::storage {
namespace {

constexpr std::size_t kChecksumOffset = 16;

// The fastest regular level: the next ones gain little on shuffled and delta-coded columns.
constexpr int kCompressionLevel = 1;

// Below this size a frame's own header eats what it saves.
constexpr std::size_t kMinCompressedBytes = 64;

enum : std::uint8_t { kStored = 0, kZstd = 1 };

// Empty when it would not be smaller.
std::string Compressed(std::string_view body) {
  if (body.size() < kMinCompressedBytes) return {};
  std::string frame(body.size() - 1, '\0');
  const std::size_t size =
      ZSTD_compress(frame.data(), frame.size(), body.data(), body.size(), kCompressionLevel);
  if (ZSTD_isError(size) != 0) return {};
  frame.resize(size);
  return frame;
}

bool Decompress(std::string_view frame, std::string* body) {
  return ZSTD_decompress(body->data(), body->size(), frame.data(), frame.size()) == body->size();
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
  const std::string frame = Compressed(block.body);
  const std::string_view body = frame.empty() ? block.body : frame;
  ByteWriter out;
  out.Reserve(kBlockHeaderBytes + body.size());
  out.Fixed(std::uint8_t{'Z'});
  out.Fixed(static_cast<std::uint8_t>(kind));
  out.Fixed(kBlockFormat);
  out.Fixed(frame.empty() ? std::uint8_t{kStored} : std::uint8_t{kZstd});
  out.Fixed(std::uint32_t{block.type});
  out.Fixed(static_cast<std::uint32_t>(block.count));
  out.Fixed(static_cast<std::uint32_t>(block.body.size()));
  out.Fixed(Checksum(out.buffer(), body));
  out.Bytes(body);
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
  if (format != kBlockFormat || compression > kZstd) return DamagedBlock("unknown block format");
  if (type > 0xFF || count > kMaxBlockRecords || size > count * kMaxRecordBytes) {
    return DamagedBlock("the header is out of bounds");
  }
  Block block{.type = static_cast<std::uint8_t>(type), .count = count, .body = {}};
  if (compression == kStored) {
    block.body = stored;
    if (size != stored.size()) return DamagedBlock("the body's size does not match");
    return block;
  }
  block.body.resize(size);
  if (!Decompress(stored, &block.body)) return DamagedBlock("the body does not decompress");
  return block;
}

}  // namespace zervane::storage
