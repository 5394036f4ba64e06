#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

#include "api/words/value.h"

namespace zervane {

// What a session wants to hear of a tag: bits, of which each is taken back by itself.
using Interests = std::uint8_t;
constexpr Interests kOfIdentifier = 1;  // any change, registered by the tag alone
constexpr Interests kOfAnyField = 2;    // the same of a pair
constexpr Interests kOfValue = 4;
constexpr Interests kOfQuality = 8;

// A tag, and what is registered of it or taken back.
struct Wish {
  TagId tag = 0;
  Interests interest = kOfIdentifier;
};

// What is registered of a tag.
struct Registration {
  Interests interests = 0;
  // The newest value that was seen, delivered or not; none before the tag has one.
  std::optional<Sample> newest;
};

// Whether two values are the same to those who follow values: a NaN is no change after a NaN.
inline bool IsSameValue(const Value& a, const Value& b) {
  if (a == b) return true;
  if (a.kind() != b.kind()) return false;
  if (a.kind() == Value::Kind::kFloat64) return std::isnan(a.float64()) && std::isnan(b.float64());
  if (a.kind() == Value::Kind::kFloat32) return std::isnan(a.float32()) && std::isnan(b.float32());
  return false;
}

inline bool IsSameSample(const Sample& a, const Sample& b) {
  return a.time_ms == b.time_ms && a.quality == b.quality && IsSameValue(a.value, b.value);
}

// Whether the tag's next newest value is to be delivered.
inline bool IsWanted(const Registration& registration, const Sample& next) {
  const Interests interests = registration.interests;
  if (interests == 0) return false;
  if ((interests & (kOfIdentifier | kOfAnyField)) != 0 || !registration.newest) return true;
  const Sample& before = *registration.newest;
  return ((interests & kOfValue) != 0 && !IsSameValue(before.value, next.value)) ||
         ((interests & kOfQuality) != 0 && before.quality != next.quality);
}

}  // namespace zervane
