#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <utility>

#include "api/words/value.h"

namespace zervane {

// Draws what records are made of.
class RandomRecords {
 public:
  explicit RandomRecords(std::uint64_t seed) : random_(seed) {}

  std::int64_t Draw(std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random_);
  }

  bool OneIn(std::int64_t n) { return Draw(1, n) == 1; }

  // From 1 to the maximum, each order of magnitude as often as the others.
  std::int64_t DrawMagnitude(std::int64_t max) {
    const double exponent =
        std::uniform_real_distribution(0.0, std::log(static_cast<double>(max)))(random_);
    return static_cast<std::int64_t>(std::exp(exponent));
  }

  // A measurement of two decimals now and then takes a value that ordinary numbers never have.
  template <typename Float>
  Float AnyFloat() {
    using Limits = std::numeric_limits<Float>;
    static constexpr std::array kRare = {Float{-0.0}, Limits::infinity(), -Limits::infinity(),
                                         Limits::quiet_NaN(), Limits::denorm_min()};
    if (OneIn(50)) return kRare[static_cast<std::size_t>(Draw(0, std::ssize(kRare) - 1))];
    return static_cast<Float>(Draw(-100'000, 100'000)) / 100;
  }

  Value AnyValue(TagType type) {
    switch (type) {
      case TagType::kFloat32:
        return AnyFloat<float>();
      case TagType::kFloat64:
        return AnyFloat<double>();
      case TagType::kString:
      case TagType::kBlob:
        return TextValue(
            std::string(static_cast<std::size_t>(OneIn(20) ? Draw(0, 999) : Draw(0, 20)),
                        static_cast<char>(Draw(1, 127))));
      case TagType::kInt16:
        return static_cast<std::int32_t>(Draw(INT16_MIN, INT16_MAX));
      case TagType::kInt32:
        return static_cast<std::int32_t>(Draw(INT32_MIN, INT32_MAX));
      case TagType::kInt8:
      case TagType::kDigital:
        break;
    }
    return static_cast<std::int32_t>(Draw(INT8_MIN, INT8_MAX));
  }

  Sample AnySample(TagType type, std::int64_t time_ms) {
    return {.time_ms = time_ms,
            .quality = static_cast<std::uint16_t>(OneIn(20) ? Draw(0, UINT16_MAX) : 192),
            .type = type,
            .value = AnyValue(type)};
  }

 private:
  std::mt19937_64 random_;
};

}  // namespace zervane
