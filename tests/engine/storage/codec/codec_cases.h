#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/storage/codec/batch_codec.h"
#include "engine/storage/codec/block.h"
#include "engine/storage/codec/chunk_codec.h"
#include "tests/engine/storage/columns.h"

// Records that the codecs' suites share.
namespace zervane::storage {

// Two digits a byte, spaces left out.
inline std::string Bytes(std::string_view hex) {
  std::string digits(hex);
  std::erase(digits, ' ');
  std::string bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

inline std::string Hex(std::string_view bytes) {
  std::string hex;
  for (const char c : bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    hex += kDigits[static_cast<std::uint8_t>(c) >> 4];
    hex += kDigits[static_cast<std::uint8_t>(c) & 15];
  }
  return hex;
}

inline Sample At(std::int64_t time_ms, std::uint16_t quality, TagType type, Value value) {
  return {.time_ms = time_ms, .quality = quality, .type = type, .value = std::move(value)};
}

struct ValuesCase {
  const char* name;
  TagType type;
  std::vector<Value> values;
};

inline const std::string kEveryByte = [] {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
  return bytes;
}();

using Float = std::numeric_limits<float>;
using Double = std::numeric_limits<double>;

inline const ValuesCase kValues[] = {
    {"Int8", TagType::kInt8, {0, -128, 127, -128}},
    {"Int16", TagType::kInt16, {32767, -32768, 0, 1}},
    {"Int32",
     TagType::kInt32,
     {0, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max(),
      std::numeric_limits<std::int32_t>::min()}},
    {"Digital", TagType::kDigital, {0, 1, 1, 0, 127}},
    {"Float32",
     TagType::kFloat32,
     {0.0F, -0.0F, Float::infinity(), -Float::infinity(), Float::denorm_min(), Float::min(),
      Float::max(), Float::lowest(), std::bit_cast<float>(0x7FC12345U),
      std::bit_cast<float>(0xFFFFFFFFU), 21.37F}},
    {"Float64",
     TagType::kFloat64,
     {0.0, -0.0, Double::infinity(), -Double::infinity(), Double::denorm_min(), Double::min(),
      Double::max(), Double::lowest(), std::bit_cast<double>(0x7FF8123456789ABCULL),
      std::bit_cast<double>(0xFFFFFFFFFFFFFFFFULL), 21.37}},
    {"String",
     TagType::kString,
     {std::string(), std::string("a"), std::string(kMaxStringBytes, 'x'), std::string("\xC3\xA4")}},
    {"Blob",
     TagType::kBlob,
     {std::string(), std::string(1, '\0'), std::string(kMaxBlobBytes, '\0'), kEveryByte}},
};

// One record for each value, at times from the first to the last there is, of various qualities.
inline std::vector<Sample> SamplesOf(const ValuesCase& row) {
  std::vector<Sample> samples;
  for (const Value& value : row.values) {
    const auto i = static_cast<std::int64_t>(samples.size());
    const bool last = samples.size() + 1 == row.values.size();
    samples.push_back({.time_ms = last ? kMaxTimeMs : i * i,
                       .quality = static_cast<std::uint16_t>(i < 2 ? 0xFFFF : i),
                       .type = row.type,
                       .value = value});
  }
  return samples;
}

// The same in a batch, backward in time, to tags near and far, with all marks.
inline RecordBatch MarkedBatchOf(const ValuesCase& row) {
  std::vector<MarkedSample> records;
  for (const Sample& sample : SamplesOf(row)) {
    const auto i = static_cast<TagId>(records.size());
    records.insert(records.begin(),
                   {.tag = i % 2 == 0 ? i + 1 : std::numeric_limits<TagId>::max() - i,
                    .sample = sample,
                    .marks = static_cast<std::uint8_t>(i & (kArchive | kCurrent | kHeld))});
  }
  return BatchOf(records);
}

// As one chunk and as one batch.
inline std::string Chunk(const std::vector<Sample>& samples) {
  return EncodeChunk(ColumnsOf(samples), 0, samples.size());
}
inline std::string Batch(const RecordBatch& batch) {
  ByteWriter out;
  EncodeBatch(batch, 0, batch.size(), &out);
  return std::string(out.bytes());
}

// A block as another format: the bytes of many formats differ in the format's number alone.
inline std::string OfFormat(std::uint8_t format, BlockKind kind, const std::string& bytes) {
  const Decoded<Block> block = OpenBlock(kind, bytes);
  EXPECT_TRUE(block.ok());
  BlockHead head = block->head();
  head.format = format;
  ByteWriter out;
  const std::size_t begin = BeginBlock(&out);
  out.Bytes(block->body());
  SealBlock(kind, head, begin, &out);
  return std::string(out.bytes());
}

// Forty states in turn.
inline std::vector<Sample> Alternating() {
  std::vector<Sample> samples;
  for (int i = 0; i < 40; ++i) samples.push_back(At(1000 * i, 192, TagType::kDigital, i % 2));
  return samples;
}

// A measurement of two decimals that wanders, about a second apart: what archives are full of.
inline std::vector<Sample> SlowWalk(std::size_t records, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<Sample> samples;
  std::int64_t hundredths = 2137;
  for (std::size_t i = 0; i < records; ++i) {
    const auto jitter_ms = static_cast<std::int64_t>(random() % 81);
    hundredths += static_cast<std::int64_t>(random() % 7) - 3;
    samples.push_back(At(1'700'000'000'000 + static_cast<std::int64_t>(i) * 1000 + jitter_ms, 192,
                         TagType::kFloat64, static_cast<double>(hundredths) / 100));
  }
  return samples;
}

}  // namespace zervane::storage
