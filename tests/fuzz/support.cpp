#include "tests/fuzz/support.h"

#include <libdeflate.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/storage/codec/batch_codec.h"
#include "engine/storage/codec/chunk_codec.h"
#include "engine/storage/record_check.h"

namespace zervane::storage {
namespace {

void RequireValid(std::span<const Sample> records) {
  Require(!records.empty(), "a chunk holds records");
  std::int64_t previous = kNoTime;
  for (const Sample& record : records) {
    Require(record.type == records.front().type, "a chunk's records have one type");
    Require(record.time_ms > previous && record.time_ms <= kMaxTimeMs, "times ascend in bounds");
    Require(CheckValue(record.type, record.value) == ValueFault::kNone, "values suit their type");
    previous = record.time_ms;
  }
}

// To the bit, so that NaNs equal themselves and zeros of either sign do not equal each other.
bool IsSame(const Value& a, const Value& b) {
  if (a.kind() != b.kind()) return false;
  if (a.kind() == Value::Kind::kFloat32) {
    return std::bit_cast<std::uint32_t>(a.float32()) == std::bit_cast<std::uint32_t>(b.float32());
  }
  if (a.kind() == Value::Kind::kFloat64) {
    return std::bit_cast<std::uint64_t>(a.float64()) == std::bit_cast<std::uint64_t>(b.float64());
  }
  return a == b;
}

bool IsSame(const Sample& a, const Sample& b) {
  return a.time_ms == b.time_ms && a.quality == b.quality && a.type == b.type &&
         IsSame(a.value, b.value);
}

}  // namespace

void Require(bool truth, const char* what) {
  if (truth) return;
  std::fprintf(stderr, "fuzz: not so: %s\n", what);
  std::abort();
}

std::string Sealed(BlockKind kind, std::string_view bytes) {
  if (bytes.size() < kBlockHeaderBytes) return {};
  std::string block(bytes);
  block[0] = 'Z';
  block[1] = static_cast<char>(kind);
  constexpr std::size_t kChecksumOffset = 16;
  const std::uint32_t sum =
      libdeflate_crc32(libdeflate_crc32(0, block.data(), kChecksumOffset),
                       block.data() + kBlockHeaderBytes, block.size() - kBlockHeaderBytes);
  std::memcpy(block.data() + kChecksumOffset, &sum, sizeof(sum));
  return block;
}

void CheckRoundTrip(std::span<const Sample> records) {
  const auto again = DecodeChunk(EncodeChunk(records));
  Require(again.ok(), "what was encoded decodes");
  Require(again->size() == records.size(), "a chunk brings all its records back");
  for (std::size_t i = 0; i < records.size(); ++i) {
    Require(IsSame((*again)[i], records[i]), "a chunk brings its records back to the bit");
  }
}

void CheckChunk(std::string_view bytes) {
  const auto records = DecodeChunk(bytes);
  if (!records.ok()) return;
  RequireValid(*records);
  CheckRoundTrip(*records);
}

void CheckBatch(std::string_view bytes) {
  const auto records = DecodeBatch(bytes);
  if (!records.ok()) return;
  Require(CheckRecords(*records).ok(), "a batch's records are valid");
  const auto again = DecodeBatch(EncodeBatch(*records));
  Require(again.ok() && again->size() == records->size(), "a batch brings all its records back");
  for (std::size_t i = 0; i < records->size(); ++i) {
    const AcceptedSample& a = (*records)[i];
    const AcceptedSample& b = (*again)[i];
    Require(a.tag == b.tag && a.archive == b.archive && a.current == b.current && a.held == b.held,
            "a batch brings tags and marks back");
    Require(IsSame(a.sample, b.sample), "a batch brings its records back to the bit");
  }
}

}  // namespace zervane::storage
