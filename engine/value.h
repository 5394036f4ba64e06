#pragma once

#include <cstddef>
#include <cstdint>
#include <variant>

#include "engine/text_value.h"
#include "zr3Enum.h"

namespace zervane {

// Identifier of a tag: counts up from 1, is never used again; 0 is never valid.
using TagId = std::uint32_t;

enum class TagType : std::uint8_t {
  kInt8 = ZR3_TAG_TYPE_INT8,
  kInt16 = ZR3_TAG_TYPE_INT16,
  kInt32 = ZR3_TAG_TYPE_INT32,
  kFloat32 = ZR3_TAG_TYPE_FLOAT32,
  kFloat64 = ZR3_TAG_TYPE_FLOAT64,
  kDigital = ZR3_TAG_TYPE_DIGITAL,
  kString = ZR3_TAG_TYPE_STRING,
  kBlob = ZR3_TAG_TYPE_BLOB,
};

constexpr bool IsTagType(ZR3_TAG_TYPE type) {
  return type >= ZR3_TAG_TYPE_MIN && type <= ZR3_TAG_TYPE_MAX;
}

constexpr std::size_t kMaxStringBytes = ZR3_LEN_VALUE - 1;  // without the terminator
constexpr std::size_t kMaxBlobBytes = ZR3_LEN_VALUE;

// A value. The tag's type fixes the alternative: INT8, INT16, INT32 and DIGITAL use int32, STRING
// (without its terminator) and BLOB use TextValue.
using Value = std::variant<std::int32_t, float, double, TextValue>;

// Whether the value has the alternative, the range and the length that the type allows.
enum class ValueFault { kNone, kWrongType, kTooLong, kEmbeddedNul };
ValueFault CheckValue(TagType type, const Value& value);

// Times are milliseconds since 1970-01-01 UTC, 0 to kMaxTimeMs (2106-02-07T06:28:15.999).
constexpr std::int64_t kMaxTimeMs = 0xFFFFFFFFLL * 1000 + 999;
constexpr std::int64_t kNoTime = -1;  // before all of them

// One measurement.
struct Sample {
  std::int64_t time_ms = 0;
  std::uint16_t quality = ZR3_QUALITY_GOOD;
  TagType type = TagType::kFloat64;
  Value value;

  friend bool operator==(const Sample&, const Sample&) = default;
};
static_assert(sizeof(Sample) == 32);  // millions of them wait in memory

struct TagSample {
  TagId tag = 0;
  Sample sample;

  friend bool operator==(const TagSample&, const TagSample&) = default;
};

// A closed range of times; empty when from_ms > to_ms.
struct TimeRange {
  std::int64_t from_ms = 0;
  std::int64_t to_ms = kMaxTimeMs;

  constexpr bool Holds(std::int64_t time_ms) const {
    return time_ms >= from_ms && time_ms <= to_ms;
  }
};

enum class Direction { kForward, kBackward };

}  // namespace zervane
