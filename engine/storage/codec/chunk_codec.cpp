#include "engine/storage/codec/chunk_codec.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "engine/assert.h"
#include "engine/storage/codec/block.h"
#include "engine/storage/codec/bytes.h"
#include "engine/storage/codec/chunk_format_1.h"
#include "engine/storage/codec/integer_column.h"
#include "engine/storage/codec/quality_column.h"
#include "engine/storage/codec/value_codec.h"

namespace zervane::storage {
namespace {

using Samples = std::span<Sample>;
using ConstSamples = std::span<const Sample>;

void WriteTimes(ConstSamples records, ByteWriter* out) {
  std::vector<std::int64_t> times(records.size());
  for (std::size_t i = 0; i < times.size(); ++i) times[i] = records[i].time_ms;
  WriteIntegers(times, out);
}

bool ReadTimes(ByteReader* in, Samples records) {
  std::vector<std::int64_t> times(records.size());
  if (!ReadIntegers(in, times)) return false;
  for (std::size_t i = 0; i < times.size(); ++i) records[i].time_ms = times[i];
  return true;
}

void WriteValues(ConstSamples records, ByteWriter* out) {
  const std::span<const ValueCodec> codecs = CodecsOf(records.front().type);
  const std::size_t begin = out->size();
  for (const ValueCodec& codec : codecs) {
    out->Fixed(codec.id);
    if (codec.write(records, out)) return;
    out->Cut(begin);
  }
  ZERVANE_ASSERT(out->size() > begin);  // the last codec takes any values
}

bool ReadValues(ByteReader* in, Samples records) {
  const auto id = in->Fixed<std::uint8_t>();
  const std::span<const ValueCodec> codecs = CodecsOf(records.front().type);
  const auto codec = std::ranges::find(codecs, id, &ValueCodec::id);
  return codec != codecs.end() && codec->read(in, records);
}

bool ReadFormat2(ByteReader* in, Samples records) {
  return ReadTimes(in, records) && ReadQualities(in, records) && ReadValues(in, records);
}

bool TimesAreValid(ConstSamples records) {
  std::int64_t previous = -1;
  for (const Sample& record : records) {
    if (record.time_ms <= previous) return false;
    previous = record.time_ms;
  }
  return previous <= kMaxTimeMs;
}

bool ValuesAreValid(ConstSamples records) {
  for (const Sample& record : records) {
    if (CheckValue(record.type, record.value) != ValueFault::kNone) return false;
  }
  return true;
}

}  // namespace

std::string EncodeChunk(std::span<const Sample> records) {
  ZERVANE_ASSERT(!records.empty() && records.size() <= kMaxBlockRecords);
  ZERVANE_ASSERT(std::ranges::count(records, records.front().type, &Sample::type) ==
                 std::ssize(records));
  ZERVANE_ASSERT(TimesAreValid(records) && ValuesAreValid(records));
  // Room enough for numbers; texts let it grow.
  ByteWriter block(records.size() * 12 + 1024);
  BeginBlock(&block);
  WriteTimes(records, &block);
  WriteQualities(records, &block);
  WriteValues(records, &block);
  const auto type = static_cast<std::uint8_t>(records.front().type);
  return std::string(SealBlock(
      BlockKind::kChunk, {.format = kChunkFormat, .type = type, .count = records.size()}, &block));
}

Decoded<std::vector<Sample>> DecodeChunk(std::string_view bytes) {
  const Decoded<Block> block = OpenBlock(BlockKind::kChunk, bytes);
  if (!block.ok()) return block.damage();
  if (block->head.count == 0 || !IsTagType(block->head.type))
    return Damage{"no such chunk is written"};
  const auto type = static_cast<TagType>(block->head.type);
  std::vector<Sample> records(block->head.count);
  for (Sample& record : records) record.type = type;
  ByteReader in(block->body);
  const bool whole = (block->head.format == kChunkFormat ? ReadFormat2(&in, records)
                                                         : ReadFormat1(&in, records)) &&
                     in.AtEnd() && TimesAreValid(records) && ValuesAreValid(records);
  if (!whole) return Damage{"the chunk's columns do not decode"};
  return records;
}

}  // namespace zervane::storage
