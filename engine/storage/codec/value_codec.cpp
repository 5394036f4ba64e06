#include "engine/storage/codec/value_codec.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "engine/storage/codec/integer_column.h"
#include "engine/storage/codec/scaled_floats.h"
#include "engine/storage/codec/section.h"

namespace zervane::storage {
namespace {

using Samples = std::span<Sample>;
using ConstSamples = std::span<const Sample>;
using Numbers = std::vector<std::int64_t>;

// ---- integers ----

bool WriteInteger32s(ConstSamples records, ByteWriter* out) {
  Numbers numbers(records.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    numbers[i] = records[i].value.integer();
  }
  WriteIntegers(numbers, out);
  return true;
}

bool ReadInteger32s(ByteReader* in, Samples records) {
  Numbers numbers(records.size());
  if (!ReadIntegers(in, numbers)) return false;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (!std::in_range<std::int32_t>(numbers[i])) return false;
    records[i].value = static_cast<std::int32_t>(numbers[i]);
  }
  return true;
}

// ---- floating point ----

template <typename Float>
using BitsOf = std::conditional_t<std::is_same_v<Float, float>, std::uint32_t, std::uint64_t>;

// As counts of a decimal unit.
template <typename Float>
bool WriteScaled(ConstSamples records, ByteWriter* out) {
  std::vector<Float> values(records.size());
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = records[i].value.As<Float>();
  const std::optional<ScaledFloats> scaled = Scale(values);
  if (!scaled) return false;
  out->Varint(scaled->exponent);
  out->Varint(scaled->exceptions.size());
  std::uint32_t next = 0;
  for (const ScaledFloats::Exception& exception : scaled->exceptions) {
    out->Varint(exception.index - next);
    out->Fixed(static_cast<BitsOf<Float>>(exception.bits));
    next = exception.index + 1;
  }
  WriteIntegers(scaled->counts, out);
  return true;
}

template <typename Float>
bool ReadScaled(ByteReader* in, Samples records) {
  const std::uint64_t exponent = in->Varint();
  const std::uint64_t exceptions = in->Varint();
  if (exponent > kMaxScaleExponent || exceptions > records.size()) return false;
  std::vector<std::pair<std::size_t, Float>> exact(exceptions);
  std::uint64_t next = 0;
  for (auto& [index, value] : exact) {
    const std::uint64_t gap = in->Varint();
    if (gap >= records.size() - next) return false;
    index = next + gap;
    value = std::bit_cast<Float>(in->Fixed<BitsOf<Float>>());
    next = index + 1;
  }
  Numbers counts(records.size());
  if (!in->ok() || !ReadIntegers(in, counts)) return false;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    records[i].value = Unscale<Float>(counts[i], static_cast<unsigned>(exponent));
  }
  for (const auto& [index, value] : exact) records[index].value = value;
  return true;
}

// As the integers that their bits are: neighbours share sign, exponent and first digits.
template <typename Float>
bool WriteBits(ConstSamples records, ByteWriter* out) {
  Numbers numbers(records.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    numbers[i] =
        static_cast<std::int64_t>(std::bit_cast<BitsOf<Float>>(records[i].value.As<Float>()));
  }
  WriteIntegers(numbers, out);
  return true;
}

template <typename Float>
bool ReadBits(ByteReader* in, Samples records) {
  Numbers numbers(records.size());
  if (!ReadIntegers(in, numbers)) return false;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto bits = static_cast<BitsOf<Float>>(numbers[i]);
    if (static_cast<std::int64_t>(bits) != numbers[i]) return false;
    records[i].value = std::bit_cast<Float>(bits);
  }
  return true;
}

// ---- texts and blobs: the lengths, then the bytes ----

bool WriteTexts(ConstSamples records, ByteWriter* out) {
  Numbers lengths;
  std::string bytes;
  for (const Sample& record : records) {
    const std::string& text = record.value.text().str();
    lengths.push_back(static_cast<std::int64_t>(text.size()));
    bytes += text;
  }
  WriteIntegers(lengths, out);
  WriteSection(bytes, out);
  return true;
}

bool ReadTexts(ByteReader* in, Samples records) {
  constexpr std::int64_t kMaxLength = std::max(kMaxStringBytes, kMaxBlobBytes);
  Numbers lengths(records.size());
  if (!ReadIntegers(in, lengths)) return false;
  std::size_t size = 0;
  for (const std::int64_t length : lengths) {
    if (length < 0 || length > kMaxLength) return false;
    size += static_cast<std::size_t>(length);
  }
  std::string bytes(size, '\0');
  if (!ReadSection(in, bytes)) return false;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    const auto length = static_cast<std::size_t>(lengths[i]);
    records[i].value = bytes.substr(begin, length);
    begin += length;
  }
  return true;
}

// ---- by type ----

enum CodecId : std::uint8_t { kInteger32s = 0, kScaled = 1, kBits = 2, kTexts = 3 };

constexpr ValueCodec kIntegerCodecs[] = {{kInteger32s, WriteInteger32s, ReadInteger32s}};
constexpr ValueCodec kFloatCodecs[] = {{kScaled, WriteScaled<float>, ReadScaled<float>},
                                       {kBits, WriteBits<float>, ReadBits<float>}};
constexpr ValueCodec kDoubleCodecs[] = {{kScaled, WriteScaled<double>, ReadScaled<double>},
                                        {kBits, WriteBits<double>, ReadBits<double>}};
constexpr ValueCodec kTextCodecs[] = {{kTexts, WriteTexts, ReadTexts}};

}  // namespace

std::span<const ValueCodec> CodecsOf(TagType type) {
  switch (type) {
    case TagType::kFloat32:
      return kFloatCodecs;
    case TagType::kFloat64:
      return kDoubleCodecs;
    case TagType::kString:
    case TagType::kBlob:
      return kTextCodecs;
    case TagType::kInt8:
    case TagType::kInt16:
    case TagType::kInt32:
    case TagType::kDigital:
      break;
  }
  return kIntegerCodecs;
}

}  // namespace zervane::storage
