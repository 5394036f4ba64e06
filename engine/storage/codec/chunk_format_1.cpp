#include "engine/storage/codec/chunk_format_1.h"

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "engine/storage/codec/quality_column.h"

namespace zervane::storage {
namespace {

using Samples = std::span<Sample>;

// The first one, then the difference to the one before.
bool ReadTimes(ByteReader* in, Samples records) {
  std::uint64_t time_ms = 0;
  for (Sample& record : records) {
    time_ms += in->Varint();
    record.time_ms = static_cast<std::int64_t>(time_ms);
  }
  return in->ok();
}

// The first one, then the difference to the one before.
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

// All first bytes, then all second bytes and so on.
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

// Each with its length.
bool ReadTexts(ByteReader* in, Samples records) {
  for (Sample& record : records) record.value = std::string(in->Counted());
  return in->ok();
}

bool ReadValues(ByteReader* in, Samples records) {
  switch (records.front().type) {
    case TagType::kFloat32:
      return ReadFloats<float, std::uint32_t>(in, records);
    case TagType::kFloat64:
      return ReadFloats<double, std::uint64_t>(in, records);
    case TagType::kString:
    case TagType::kBlob:
      return ReadTexts(in, records);
    case TagType::kInt8:
    case TagType::kInt16:
    case TagType::kInt32:
    case TagType::kDigital:
      break;
  }
  return ReadIntegers(in, records);
}

}  // namespace

bool ReadFormat1(ByteReader* in, Samples records) {
  return ReadTimes(in, records) && ReadQualities(in, records) && ReadValues(in, records);
}

}  // namespace zervane::storage
