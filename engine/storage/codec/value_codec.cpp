#include "engine/storage/codec/value_codec.h"

#include <algorithm>
#include <bit>
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

using Numbers = std::vector<std::int64_t>;

std::span<const std::uint64_t> Values(const SampleColumns& samples, std::size_t begin,
                                      std::size_t end) {
  return samples.values().subspan(begin, end - begin);
}

// The same numbers, as they are signed.
std::span<std::int64_t> Signed(std::span<std::uint64_t> values) {
  return {reinterpret_cast<std::int64_t*>(values.data()), values.size()};
}
std::span<const std::int64_t> Signed(std::span<const std::uint64_t> values) {
  return {reinterpret_cast<const std::int64_t*>(values.data()), values.size()};
}

// ---- integers ----

bool WriteInteger32s(const SampleColumns& samples, std::size_t begin, std::size_t end,
                     ByteWriter* out) {
  Numbers numbers;
  numbers.reserve(end - begin);
  for (const std::uint64_t bits : Values(samples, begin, end)) {
    numbers.push_back(static_cast<std::int32_t>(bits));
  }
  WriteIntegers(numbers, out);
  return true;
}

bool ReadInteger32s(ByteReader* in, SampleColumns* samples) {
  if (!ReadIntegers(in, Signed(samples->values()))) return false;
  for (std::uint64_t& value : samples->values()) {
    if (!std::in_range<std::int32_t>(static_cast<std::int64_t>(value))) return false;
    value = static_cast<std::uint32_t>(value);
  }
  return true;
}

// ---- floating point ----

template <typename Float>
using BitsOf = std::conditional_t<std::is_same_v<Float, float>, std::uint32_t, std::uint64_t>;

// As counts of a decimal unit.
template <typename Float>
bool WriteScaled(const SampleColumns& samples, std::size_t begin, std::size_t end,
                 ByteWriter* out) {
  const std::optional<ScaledFloats> scaled = Scale<Float>(Values(samples, begin, end));
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
bool ReadScaled(ByteReader* in, SampleColumns* samples) {
  const std::span<std::uint64_t> values = samples->values();
  const std::uint64_t exponent = in->Varint();
  const std::uint64_t exceptions = in->Varint();
  if (exponent > kMaxScaleExponent || exceptions > values.size()) return false;
  std::vector<std::pair<std::size_t, std::uint64_t>> exact(exceptions);
  std::uint64_t next = 0;
  for (auto& [index, bits] : exact) {
    const std::uint64_t gap = in->Varint();
    if (gap >= values.size() - next) return false;
    index = next + gap;
    bits = in->Fixed<BitsOf<Float>>();
    next = index + 1;
  }
  if (!in->ok() || !ReadIntegers(in, Signed(values))) return false;
  UnscaleAll<Float>(values, static_cast<unsigned>(exponent));
  for (const auto& [index, bits] : exact) values[index] = bits;
  return true;
}

// As the integers that their bits are: neighbours share sign, exponent and first digits.
bool WriteBits32(const SampleColumns& samples, std::size_t begin, std::size_t end,
                 ByteWriter* out) {
  Numbers numbers;
  numbers.reserve(end - begin);
  for (const std::uint64_t bits : Values(samples, begin, end)) {
    numbers.push_back(static_cast<std::uint32_t>(bits));
  }
  WriteIntegers(numbers, out);
  return true;
}

bool ReadBits32(ByteReader* in, SampleColumns* samples) {
  if (!ReadIntegers(in, Signed(samples->values()))) return false;
  return std::ranges::all_of(samples->values(),
                             [](std::uint64_t bits) { return std::in_range<std::uint32_t>(bits); });
}

bool WriteBits64(const SampleColumns& samples, std::size_t begin, std::size_t end,
                 ByteWriter* out) {
  WriteIntegers(Signed(Values(samples, begin, end)), out);
  return true;
}

bool ReadBits64(ByteReader* in, SampleColumns* samples) {
  return ReadIntegers(in, Signed(samples->values()));
}

// ---- texts and blobs: the lengths, then the bytes ----

bool WriteTexts(const SampleColumns& samples, std::size_t begin, std::size_t end, ByteWriter* out) {
  Numbers lengths;
  lengths.reserve(end - begin);
  std::string bytes;
  for (std::size_t at = begin; at < end; ++at) {
    const std::string_view text = samples.TextAt(at);
    lengths.push_back(static_cast<std::int64_t>(text.size()));
    bytes += text;
  }
  WriteIntegers(lengths, out);
  WriteSection(bytes, out);
  return true;
}

bool ReadTexts(ByteReader* in, SampleColumns* samples) {
  std::size_t size = 0;
  if (!ReadIntegers(in, Signed(samples->values()))) return false;
  if (!PlaceTexts(samples->values(), &size)) return false;
  std::string bytes(size, '\0');
  if (!ReadSection(in, bytes)) return false;
  samples->SetTexts(std::move(bytes));
  return true;
}

// ---- by type ----

enum CodecId : std::uint8_t { kInteger32s = 0, kScaled = 1, kBits = 2, kTexts = 3 };

constexpr ValueCodec kIntegerCodecs[] = {{kInteger32s, WriteInteger32s, ReadInteger32s}};
constexpr ValueCodec kFloatCodecs[] = {{kScaled, WriteScaled<float>, ReadScaled<float>},
                                       {kBits, WriteBits32, ReadBits32}};
constexpr ValueCodec kDoubleCodecs[] = {{kScaled, WriteScaled<double>, ReadScaled<double>},
                                        {kBits, WriteBits64, ReadBits64}};
constexpr ValueCodec kTextCodecs[] = {{kTexts, WriteTexts, ReadTexts}};

}  // namespace

bool PlaceTexts(std::span<std::uint64_t> lengths, std::size_t* size) {
  std::size_t offset = 0;
  for (std::uint64_t& value : lengths) {
    const std::uint64_t length = value;
    if (length > kMaxStringBytes) return false;
    value = SampleColumns::PlaceOf(offset, length);
    offset += length;
  }
  *size = offset;
  return true;
}

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
