#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// Floating-point numbers as integers of a decimal unit, to the bit: 21.37 is 2137 hundredths.
namespace zervane::storage {

// A number is count / 10^exponent, whose division rounds just as the number itself was rounded
// from its decimals. The few that are not (a NaN, a -0.0) count as the number before them and stand
// in `exceptions`.
struct ScaledFloats {
  struct Exception {
    std::uint32_t index;
    std::uint64_t bits;  // of the number
  };

  unsigned exponent = 0;  // 0 to kMaxScaleExponent
  std::vector<std::int64_t> counts;
  std::vector<Exception> exceptions;  // in order of index
};

constexpr unsigned kMaxScaleExponent = 12;

// Of the numbers whose bits these are, each in the low bytes of its element: the smallest exponent
// that gives them back; nothing when no exponent gives back nearly all of them.
template <typename Float>
std::optional<ScaledFloats> Scale(std::span<const std::uint64_t> numbers);

// count / 10^exponent, of any count; the exponent is at most kMaxScaleExponent.
template <typename Float>
Float Unscale(std::int64_t count, unsigned exponent);

// Turns counts, as the 64 bits that they are, into the bits of their numbers.
template <typename Float>
void UnscaleAll(std::span<std::uint64_t> counts, unsigned exponent);

}  // namespace zervane::storage
