#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

#include "api/fields.h"
#include "api/words/text_value.h"
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

// A STRING's without the terminator. What the caller's encoding gives a byte may take three in UTF-8.
constexpr std::size_t kMaxStringBytes = std::size_t{3} * (ZR3_LEN_VALUE - 1);
constexpr std::size_t kMaxBlobBytes = ZR3_LEN_VALUE;

// A value: a number or a text. The tag's type fixes which: INT8, INT16, INT32 and DIGITAL use
// int32, FLOAT32 float, FLOAT64 double, STRING (without its terminator) and BLOB TextValue.
//
// Nearly all values are numbers, and millions of them are copied from thread to thread: a number's
// bits stand in the value itself, so that to copy, move or drop it takes an instruction or two.
class Value {
 public:
  enum class Kind : std::uint8_t { kInteger, kFloat32, kFloat64, kText };

  Value() : Value(std::int32_t{0}) {}
  // NOLINTBEGIN(google-explicit-constructor): it is what it is made of
  Value(std::int32_t number) : bits_(static_cast<std::uint32_t>(number)), kind_(Kind::kInteger) {}
  Value(float number) : bits_(std::bit_cast<std::uint32_t>(number)), kind_(Kind::kFloat32) {}
  Value(double number) : bits_(std::bit_cast<std::uint64_t>(number)), kind_(Kind::kFloat64) {}
  Value(TextValue text) noexcept : text_(std::move(text)), kind_(Kind::kText) {}
  Value(std::string text) : Value(TextValue(std::move(text))) {}
  // NOLINTEND(google-explicit-constructor)
  Value(const Value& other) noexcept : bits_(other.bits_), kind_(other.kind_) {
    if (kind_ == Kind::kText) new (&text_) TextValue(other.text_);
  }
  Value(Value&& other) noexcept : bits_(other.bits_), kind_(other.kind_) {
    if (kind_ == Kind::kText) new (&text_) TextValue(std::move(other.text_));
  }
  Value& operator=(const Value& other) noexcept {
    if (this != &other) *this = Value(other);
    return *this;
  }
  Value& operator=(Value&& other) noexcept {
    if (this == &other) return *this;
    this->~Value();
    new (this) Value(std::move(other));
    return *this;
  }
  ~Value() {
    if (kind_ == Kind::kText) text_.~TextValue();
  }

  Kind kind() const { return kind_; }

  // Of the kind that it is. Asked for another kind, it answers some number, or an empty text.
  std::int32_t integer() const { return static_cast<std::int32_t>(bits_); }
  float float32() const { return std::bit_cast<float>(static_cast<std::uint32_t>(bits_)); }
  double float64() const { return std::bit_cast<double>(bits_); }
  const TextValue& text() const { return kind_ == Kind::kText ? text_ : NoText(); }

  // The number of a floating-point type, for templates.
  template <std::floating_point Float>
  Float As() const {
    if constexpr (std::is_same_v<Float, float>) {
      return float32();
    } else {
      return float64();
    }
  }

  // How many bytes a text has; 0 for a number.
  std::size_t text_size() const { return kind_ == Kind::kText ? text_.size() : 0; }

  // As numbers: NaNs equal nothing, zeros of either sign are equal.
  friend bool operator==(const Value& a, const Value& b);

 private:
  static const TextValue& NoText();

  union {
    std::uint64_t bits_;  // of a number
    TextValue text_;
  };
  Kind kind_;
};

// Whether the value has the kind, the range and the length that the type allows.
enum class ValueFault { kNone, kWrongType, kTooLong, kEmbeddedNul };
ValueFault CheckInDetail(TagType type, const Value& value);

inline ValueFault CheckValue(TagType type, const Value& value) {
  // The usual case, which every record passes several times: any double suits.
  const bool suits = type == TagType::kFloat64 && value.kind() == Value::Kind::kFloat64;
  return suits ? ValueFault::kNone : CheckInDetail(type, value);
}

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

  static auto Fields(auto& self) {
    return FieldList(Field{"from_ms", self.from_ms}, Field{"to_ms", self.to_ms});
  }
  constexpr bool empty() const { return from_ms > to_ms; }
  constexpr bool Holds(std::int64_t time_ms) const {
    return time_ms >= from_ms && time_ms <= to_ms;
  }
};

enum class Direction { kForward, kBackward };

}  // namespace zervane
