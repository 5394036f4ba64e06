#include "engine/storage/codec/scaled_floats.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include "engine/assert.h"

namespace zervane::storage {
namespace {

// All exactly representable, as every count is: so the division has one rounding, to the nearest.
constexpr std::array<double, kMaxScaleExponent + 1> kPowersOfTen = {
    1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12};

// Counts stay below. Of a float: beyond its own digits they would be longer than its bits. Of a
// double: up to here half a unit can be added exactly, to round.
template <typename Float>
constexpr double kMaxCount = std::is_same_v<Float, float> ? 0x1p24 : 0x1p52;

// One number in so many may be an exception: even then all are shorter than their bits, and numbers
// that have no decimals are found out soon.
constexpr std::size_t kRecordsPerException = 16;

template <typename Float>
using BitsOf = std::conditional_t<std::is_same_v<Float, float>, std::uint32_t, std::uint64_t>;

template <typename Float>
Float NumberOf(std::uint64_t bits) {
  return std::bit_cast<Float>(static_cast<BitsOf<Float>>(bits));
}

// Between 2^52 and 2^53 a double's last bit is one unit.
constexpr double kShift = 0x1.8p52;

// Whether all counts, as the 64 bits that they are, lie within half of kShift's unit range.
bool AreSmall(std::span<const std::uint64_t> counts) {
  constexpr std::uint64_t kBound = std::uint64_t{1} << 50;
  std::uint64_t beyond = 0;
  for (const std::uint64_t count : counts) beyond |= count + kBound;
  return beyond < 2 * kBound;
}

template <typename Float>
Float Divided(std::int64_t count, double power_of_ten) {
  return static_cast<Float>(static_cast<double>(count) / power_of_ten);
}

// False when no count of this unit gives the number back.
template <typename Float>
bool Count(Float value, unsigned exponent, std::int64_t* count) {
  const double scaled = static_cast<double>(value) * kPowersOfTen[exponent];
  if (!(std::abs(scaled) < kMaxCount<Float>)) return false;  // a NaN neither
  *count = static_cast<std::int64_t>(scaled + std::copysign(0.5, scaled));
  const Float back = Divided<Float>(*count, kPowersOfTen[exponent]);
  return std::bit_cast<BitsOf<Float>>(back) == std::bit_cast<BitsOf<Float>>(value);
}

// The smallest exponent from `exponent` on that gives the number back.
template <typename Float>
std::optional<unsigned> ExponentOf(Float value, unsigned exponent) {
  std::int64_t count = 0;
  for (; exponent <= kMaxScaleExponent; ++exponent) {
    if (Count(value, exponent, &count)) return exponent;
  }
  return std::nullopt;
}

}  // namespace

// The exponent grows with the first number that needs a larger one, which is close to the front as
// a rule; the numbers before it are counted again.
template <typename Float>
std::optional<ScaledFloats> Scale(std::span<const std::uint64_t> numbers) {
  ScaledFloats scaled;
  scaled.counts.resize(numbers.size());
  std::int64_t before = 0;
  for (std::size_t i = 0; i < numbers.size();) {
    const auto number = NumberOf<Float>(numbers[i]);
    if (Count(number, scaled.exponent, &scaled.counts[i])) {
      before = scaled.counts[i++];
    } else if (const auto larger = ExponentOf(number, scaled.exponent + 1)) {
      scaled.exponent = *larger;
      scaled.exceptions.clear();
      before = 0;
      i = 0;
    } else if (scaled.exceptions.size() < numbers.size() / kRecordsPerException) {
      scaled.exceptions.push_back(
          {.index = static_cast<std::uint32_t>(i), .bits = static_cast<BitsOf<Float>>(numbers[i])});
      scaled.counts[i++] = before;
    } else {
      return std::nullopt;
    }
  }
  return scaled;
}

template std::optional<ScaledFloats> Scale<float>(std::span<const std::uint64_t>);
template std::optional<ScaledFloats> Scale<double>(std::span<const std::uint64_t>);

template <typename Float>
Float Unscale(std::int64_t count, unsigned exponent) {
  ZERVANE_ASSERT(exponent <= kMaxScaleExponent);
  return Divided<Float>(count, kPowersOfTen[exponent]);
}

template float Unscale(std::int64_t, unsigned);
template double Unscale(std::int64_t, unsigned);

// Nearly all counts are so small that adding kShift to their bits makes them a floating-point
// number of that magnitude, to the unit: a loop that the compiler makes vectors of, unlike a
// conversion.
template <typename Float>
void UnscaleAll(std::span<std::uint64_t> counts, unsigned exponent) {
  ZERVANE_ASSERT(exponent <= kMaxScaleExponent);
  const double power_of_ten = kPowersOfTen[exponent];
  if (!AreSmall(counts)) {
    for (std::uint64_t& count : counts) {
      const auto number = Divided<Float>(static_cast<std::int64_t>(count), power_of_ten);
      count = std::bit_cast<BitsOf<Float>>(number);
    }
    return;
  }
  for (std::uint64_t& count : counts) {
    const double exact =
        std::bit_cast<double>(count + std::bit_cast<std::uint64_t>(kShift)) - kShift;
    count = std::bit_cast<BitsOf<Float>>(static_cast<Float>(exact / power_of_ten));
  }
}

template void UnscaleAll<float>(std::span<std::uint64_t>, unsigned);
template void UnscaleAll<double>(std::span<std::uint64_t>, unsigned);

}  // namespace zervane::storage
