#include "engine/storage/chunk_codec.h"

#include <bit>
#include <cstdint>

#include "engine/storage/block.h"
#include "engine/storage/bytes.h"

namespace zervane::storage {
namespace {

using Samples = std::span<Sample>;
using ConstSamples = std::span<const Sample>;

// ---- times: the first one, then the difference to the one before ----

void WriteTimes(ConstSamples records, ByteWriter* out) {
  std::int64_t previous = 0;
  for (const Sample& record : records) {
    out->Varint(static_cast<std::uint64_t>(record.time_ms - previous));
    previous = record.time_ms;
  }
}

bool ReadTimes(ByteReader* in, Samples records) {
  std::uint64_t time_ms = 0;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const std::uint64_t step = in->Varint();
    if (!in->ok() || (step == 0 && i > 0) || step > kMaxTimeMs - time_ms) return false;
    time_ms += step;
    records[i].time_ms = static_cast<std::int64_t>(time_ms);
  }
  return true;
}

// ---- qualities: runs of a length and the quality that they repeat ----

void WriteQualities(ConstSamples records, ByteWriter* out) {
  for (std::size_t begin = 0; begin < records.size();) {
    std::size_t end = begin + 1;
    while (end < records.size() && records[end].quality == records[begin].quality) ++end;
    out->Varint(end - begin);
    out->Varint(records[begin].quality);
    begin = end;
  }
}

bool ReadQualities(ByteReader* in, Samples records) {
  while (!records.empty()) {
    const std::uint64_t length = in->Varint();
    const std::uint64_t quality = in->Varint();
    if (!in->ok() || length == 0 || length > records.size() || quality > 0xFFFF) return false;
    for (Sample& record : records.first(length)) {
      record.quality = static_cast<std::uint16_t>(quality);
    }
    records = records.subspan(length);
  }
  return true;
}

// ---- integers: the difference to the one before ----

void WriteIntegers(ConstSamples records, ByteWriter* out) {
  std::int64_t previous = 0;
  for (const Sample& record : records) {
    const std::int64_t value = std::get<std::int32_t>(record.value);
    out->SignedVarint(value - previous);
    previous = value;
  }
}

bool ReadIntegers(ByteReader* in, Samples records) {
  std::int32_t value = 0;
  for (Sample& record : records) {
    // Unsigned: a hostile difference wraps instead of overflowing. CheckValue bounds what it gives.
    value = static_cast<std::int32_t>(static_cast<std::uint32_t>(value) +
                                      static_cast<std::uint32_t>(in->SignedVarint()));
    record.value = value;
  }
  return in->ok();
}

// ---- floating point: all first bytes, then all second bytes and so on, since the high bytes of
// neighbours resemble each other ----

template <typename Float, std::unsigned_integral Bits>
void WriteFloats(ConstSamples records, ByteWriter* out) {
  for (std::size_t plane = 0; plane < sizeof(Bits); ++plane) {
    for (const Sample& record : records) {
      const auto bits = std::bit_cast<Bits>(std::get<Float>(record.value));
      out->Fixed(static_cast<std::uint8_t>(bits >> (8 * plane)));
    }
  }
}

template <typename Float, std::unsigned_integral Bits>
bool ReadFloats(ByteReader* in, Samples records) {
  const std::string_view planes = in->Bytes(records.size() * sizeof(Bits));
  if (!in->ok()) return false;
  for (std::size_t i = 0; i < records.size(); ++i) {
    Bits bits = 0;
    for (std::size_t plane = 0; plane < sizeof(Bits); ++plane) {
      const auto byte = static_cast<std::uint8_t>(planes[plane * records.size() + i]);
      bits |= Bits{byte} << (8 * plane);
    }
    records[i].value = std::bit_cast<Float>(bits);
  }
  return true;
}

// ---- texts and blobs: each with its length ----

void WriteTexts(ConstSamples records, ByteWriter* out) {
  for (const Sample& record : records) out->Counted(std::get<std::string>(record.value));
}

bool ReadTexts(ByteReader* in, Samples records) {
  for (Sample& record : records) record.value = std::string(in->Counted());
  return in->ok();
}

// ---- by type ----

struct ValueCodec {
  void (*write)(ConstSamples, ByteWriter*);
  bool (*read)(ByteReader*, Samples);
};

ValueCodec CodecOf(TagType type) {
  switch (type) {
    case TagType::kFloat32:
      return {WriteFloats<float, std::uint32_t>, ReadFloats<float, std::uint32_t>};
    case TagType::kFloat64:
      return {WriteFloats<double, std::uint64_t>, ReadFloats<double, std::uint64_t>};
    case TagType::kString:
    case TagType::kBlob:
      return {WriteTexts, ReadTexts};
    case TagType::kInt8:
    case TagType::kInt16:
    case TagType::kInt32:
    case TagType::kDigital:
      break;
  }
  return {WriteIntegers, ReadIntegers};
}

bool ValuesAreValid(ConstSamples records) {
  for (const Sample& record : records) {
    if (CheckValue(record.type, record.value) != ValueFault::kNone) return false;
  }
  return true;
}

}  // namespace

std::string EncodeChunk(std::span<const Sample> records) {
  const TagType type = records.front().type;
  ByteWriter body;
  body.Reserve(records.size() * 12);
  WriteTimes(records, &body);
  WriteQualities(records, &body);
  CodecOf(type).write(records, &body);
  return SealBlock(
      BlockKind::kChunk,
      {.type = static_cast<std::uint8_t>(type), .count = records.size(), .body = body.Take()});
}

Result<std::vector<Sample>> DecodeChunk(std::string_view bytes) {
  const Result<Block> block = OpenBlock(BlockKind::kChunk, bytes);
  if (!block.ok()) return block.status();
  if (block->count == 0 || !IsTagType(block->type)) return DamagedBlock("no such chunk is written");
  const auto type = static_cast<TagType>(block->type);
  std::vector<Sample> records(block->count, Sample{.type = type, .value = {}});
  ByteReader in(block->body);
  const bool whole = ReadTimes(&in, records) && ReadQualities(&in, records) &&
                     CodecOf(type).read(&in, records) && in.AtEnd() && ValuesAreValid(records);
  if (!whole) return DamagedBlock("the chunk's columns do not decode");
  return records;
}

}  // namespace zervane::storage
