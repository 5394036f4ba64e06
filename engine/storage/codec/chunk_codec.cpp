#include "engine/storage/codec/chunk_codec.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>

#include "engine/assert.h"
#include "engine/storage/codec/block.h"
#include "engine/storage/codec/bytes.h"
#include "engine/storage/codec/chunk_format_1.h"
#include "engine/storage/codec/integer_column.h"
#include "engine/storage/codec/quality_column.h"
#include "engine/storage/codec/value_codec.h"
#include "engine/storage/record_check.h"

namespace zervane::storage {
namespace {

// From this format on STRINGs are UTF-8.
constexpr std::uint8_t kUtf8Format = 3;
constexpr std::uint8_t kColumnsFormat = 2;
static_assert(kChunkFormat == kUtf8Format);

void WriteValues(const SampleColumns& samples, std::size_t begin, std::size_t end,
                 ByteWriter* out) {
  const std::span<const ValueCodec> codecs = CodecsOf(samples.types()[begin]);
  const std::size_t start = out->size();
  for (const ValueCodec& codec : codecs) {
    out->Fixed(codec.id);
    if (codec.write(samples, begin, end, out)) return;
    out->Cut(start);
  }
  ZERVANE_ASSERT(out->size() > start);  // the last codec takes any values
}

bool ReadValues(ByteReader* in, SampleColumns* samples) {
  const auto id = in->Fixed<std::uint8_t>();
  const std::span<const ValueCodec> codecs = CodecsOf(samples->types().front());
  const auto codec = std::ranges::find(codecs, id, &ValueCodec::id);
  return codec != codecs.end() && codec->read(in, samples);
}

bool ReadColumns(ByteReader* in, SampleColumns* samples) {
  return ReadIntegers(in, samples->times()) && ReadQualities(in, samples->qualities()) &&
         ReadValues(in, samples);
}

bool TimesAreValid(std::span<const std::int64_t> times) {
  std::int64_t previous = kNoTime;
  bool ascends = true;
  for (const std::int64_t time_ms : times) {
    ascends &= time_ms > previous;
    previous = time_ms;
  }
  return ascends && previous <= kMaxTimeMs;
}

// Of STRINGs, whose bytes were taken as they came.
void ConvertTexts(const TextDecoder& decoder, SampleColumns* samples) {
  std::string texts;
  for (std::size_t at = 0; at < samples->size(); ++at) {
    const std::string text = TextOfStored(samples->TextAt(at), decoder);
    samples->values()[at] = SampleColumns::PlaceOf(texts.size(), text.size());
    texts += text;
  }
  samples->SetTexts(std::move(texts));
}

[[maybe_unused]] bool IsChunk(const SampleColumns& samples, std::size_t begin, std::size_t end) {
  if (begin >= end || end > samples.size() || end - begin > kMaxBlockRecords) return false;
  const auto types = samples.types().subspan(begin, end - begin);
  for (std::size_t at = begin; at < end; ++at) {
    if (CheckValue(samples, at) != ValueFault::kNone) return false;
  }
  return std::ranges::count(types, types.front()) == std::ssize(types) &&
         TimesAreValid(samples.times().subspan(begin, end - begin));
}

}  // namespace

std::string EncodeChunk(const SampleColumns& samples, std::size_t begin, std::size_t end) {
  ZERVANE_ASSERT(IsChunk(samples, begin, end));
  const std::size_t count = end - begin;
  const TagType type = samples.types()[begin];
  // Room enough for numbers; texts let it grow.
  ByteWriter block(count * 12 + 1024);
  const std::size_t start = BeginBlock(&block);
  WriteIntegers(samples.times().subspan(begin, count), &block);
  WriteQualities(samples.qualities().subspan(begin, count), &block);
  WriteValues(samples, begin, end, &block);
  const std::uint8_t format = type == TagType::kString ? kUtf8Format : kColumnsFormat;
  SealBlock(BlockKind::kChunk,
            {.format = format, .type = static_cast<std::uint8_t>(type), .count = count}, start,
            &block);
  return std::string(block.bytes());
}

Decoded<SampleColumns> DecodeChunk(std::string_view bytes, const TextDecoder& decoder,
                                   SampleColumns memory) {
  const Decoded<Block> block = OpenBlock(BlockKind::kChunk, bytes);
  if (!block.ok()) return block.damage();
  const BlockHead& head = block->head();
  if (head.count == 0 || !IsTagType(head.type)) return Damage{"no such chunk is written"};
  const auto type = static_cast<TagType>(head.type);
  SampleColumns samples = std::move(memory);
  samples.Assign(head.count, type);
  ByteReader in(block->body());
  const bool is_whole =
      (head.format >= kColumnsFormat ? ReadColumns(&in, &samples) : ReadFormat1(&in, &samples)) &&
      in.AtEnd() && TimesAreValid(samples.times()) && ValuesAreValid(samples);
  if (!is_whole) return Damage{"the chunk's columns do not decode"};
  const bool is_encoded = type == TagType::kString && head.format < kUtf8Format;
  if (is_encoded) ConvertTexts(decoder, &samples);
  return samples;
}

}  // namespace zervane::storage
