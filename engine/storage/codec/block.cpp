#include "engine/storage/codec/block.h"

#include <libdeflate.h>

#include <algorithm>
#include <utility>

#include "engine/assert.h"
#include "engine/storage/codec/section.h"

namespace zervane::storage {
namespace {

constexpr std::size_t kFormatOffset = 2;
constexpr std::size_t kCompressionOffset = 3;
constexpr std::size_t kSizeOffset = 12;
constexpr std::size_t kChecksumOffset = 16;

enum : std::uint8_t { kStored = 0, kZstd = 1 };

std::uint8_t LatestFormat(BlockKind kind) {
  switch (kind) {
    case BlockKind::kBatch:
      return kBatchFormat;
    case BlockKind::kChunk:
      return kChunkFormat;
    case BlockKind::kSummary:
      return kSummaryFormat;
    case BlockKind::kEmptied:
      break;
  }
  return kEmptiedFormat;
}

// Of all bytes but its own.
std::uint32_t Checksum(std::string_view bytes) {
  const std::uint32_t of_header = libdeflate_crc32(0, bytes.data(), kChecksumOffset);
  const std::string_view body = bytes.substr(kBlockHeaderBytes);
  return libdeflate_crc32(of_header, body.data(), body.size());
}

}  // namespace

std::size_t BeginBlock(ByteWriter* out) {
  const std::size_t begin = out->size();
  out->Advance(out->Room(kBlockHeaderBytes) + kBlockHeaderBytes);
  return begin;
}

void SealBlock(BlockKind kind, const BlockHead& head, std::size_t begin, ByteWriter* out) {
  ZERVANE_ASSERT(out->size() >= begin + kBlockHeaderBytes && head.count <= kMaxBlockRecords);
  const std::size_t body = out->size() - begin - kBlockHeaderBytes;
  char* to = PutFixed(out->At(begin), std::uint8_t{'Z'});
  to = PutFixed(to, static_cast<std::uint8_t>(kind));
  to = PutFixed(to, head.format);
  to = PutFixed(to, std::uint8_t{kStored});
  to = PutFixed(to, std::uint32_t{head.type});
  to = PutFixed(to, static_cast<std::uint32_t>(head.count));
  to = PutFixed(to, static_cast<std::uint32_t>(body));
  PutFixed(to, Checksum(out->bytes().substr(begin)));
}

bool IsOfKind(BlockKind kind, std::string_view bytes) {
  return bytes.size() >= 2 && bytes[0] == 'Z' && bytes[1] == static_cast<char>(kind);
}

// What is compressed does not say how long it is, and stands alone.
std::size_t BytesOfFirstBlock(std::string_view bytes) {
  if (bytes.size() < kBlockHeaderBytes || bytes[kCompressionOffset] != kStored) return bytes.size();
  ByteReader header(bytes.substr(kSizeOffset));
  const std::size_t size = header.Fixed<std::uint32_t>();
  return std::min(bytes.size(), kBlockHeaderBytes + size);
}

Decoded<Block> OpenBlock(BlockKind kind, std::string_view bytes) {
  if (bytes.size() < kBlockHeaderBytes) return Damage{"shorter than a block's header"};
  const std::string_view stored = bytes.substr(kBlockHeaderBytes);
  if (!IsOfKind(kind, bytes)) return Damage{"not a block of this kind"};
  ByteReader header(bytes.substr(kFormatOffset));
  const auto format = header.Fixed<std::uint8_t>();
  const auto compression = header.Fixed<std::uint8_t>();
  const auto type = header.Fixed<std::uint32_t>();
  const std::size_t count = header.Fixed<std::uint32_t>();
  const std::size_t size = header.Fixed<std::uint32_t>();
  if (header.Fixed<std::uint32_t>() != Checksum(bytes)) {
    return Damage{"the checksum does not match"};
  }
  if (format == 0 || format > LatestFormat(kind) || compression > kZstd) {
    return Damage{"unknown block format"};
  }
  if (type > 0xFF || count > kMaxBlockRecords || size > count * kMaxRecordBytes) {
    return Damage{"the header is out of bounds"};
  }
  const BlockHead head{.format = format, .type = static_cast<std::uint8_t>(type), .count = count};
  if (compression == kStored) {
    if (size != stored.size()) return Damage{"the body's size does not match"};
    return Block(head, stored);
  }
  std::string body(size, '\0');
  if (!Decompress(stored, body)) return Damage{"the body does not decompress"};
  return Block(head, std::move(body));
}

}  // namespace zervane::storage
