#include "engine/storage/codec/chunk_format_1.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "engine/storage/codec/quality_column.h"
#include "engine/storage/codec/value_codec.h"

namespace zervane::storage {
namespace {

// The first one, then the difference to the one before.
bool ReadTimes(ByteReader* in, std::span<std::int64_t> times) {
  std::uint64_t time_ms = 0;
  for (std::int64_t& time : times) {
    time_ms += in->Varint();
    time = static_cast<std::int64_t>(time_ms);
  }
  return in->ok();
}

// The first one, then the difference to the one before.
bool ReadIntegers(ByteReader* in, std::span<std::uint64_t> values) {
  std::uint32_t sum = 0;
  for (std::uint64_t& value : values) {
    // Unsigned: a hostile difference wraps instead of overflowing. CheckValue bounds what it gives.
    sum += static_cast<std::uint32_t>(in->SignedVarint());
    value = sum;
  }
  return in->ok();
}

// All first bytes, then all second bytes and so on.
bool ReadFloats(ByteReader* in, std::size_t width, std::span<std::uint64_t> values) {
  const std::string_view planes = in->Bytes(values.size() * width);
  if (!in->ok()) return false;
  for (std::size_t i = 0; i < values.size(); ++i) {
    std::uint64_t bits = 0;
    for (std::size_t plane = 0; plane < width; ++plane) {
      const auto byte = static_cast<std::uint8_t>(planes[plane * values.size() + i]);
      bits |= std::uint64_t{byte} << (8 * plane);
    }
    values[i] = bits;
  }
  return true;
}

// Each with its length.
bool ReadTexts(ByteReader* in, SampleColumns* samples) {
  std::string texts;
  for (std::uint64_t& value : samples->values()) {
    const std::string_view text = in->Counted();
    value = text.size();
    texts += text;
  }
  std::size_t size = 0;
  if (!in->ok() || !PlaceTexts(samples->values(), &size)) return false;
  samples->SetTexts(std::move(texts));
  return true;
}

bool ReadValues(ByteReader* in, SampleColumns* samples) {
  switch (samples->types().front()) {
    case TagType::kFloat32:
      return ReadFloats(in, sizeof(float), samples->values());
    case TagType::kFloat64:
      return ReadFloats(in, sizeof(double), samples->values());
    case TagType::kString:
    case TagType::kBlob:
      return ReadTexts(in, samples);
    case TagType::kInt8:
    case TagType::kInt16:
    case TagType::kInt32:
    case TagType::kDigital:
      break;
  }
  return ReadIntegers(in, samples->values());
}

}  // namespace

bool ReadFormat1(ByteReader* in, SampleColumns* samples) {
  return ReadTimes(in, samples->times()) && ReadQualities(in, samples->qualities()) &&
         ReadValues(in, samples);
}

}  // namespace zervane::storage
