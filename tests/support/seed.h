#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace zervane {

// Where a random test starts: at ZERVANE_SEED when that is set, which repeats a run, else at a
// number that is new in every process and the same for all its tests. Every failure while this
// lives names it; it is also printed once, for tests that crash or fail on another thread.
//
//   const Seed seed;
//   std::mt19937 random(seed.value());
class Seed {
 public:
  std::uint32_t value() const { return value_; }

 private:
  static std::uint32_t OfProcess() {
    static const std::uint32_t seed = [] {
      const char* given = std::getenv("ZERVANE_SEED");
      const std::uint32_t chosen =
          given == nullptr ? std::random_device{}() : static_cast<std::uint32_t>(std::stoul(given));
      std::cout << "ZERVANE_SEED=" << chosen << std::endl;
      return chosen;
    }();
    return seed;
  }

  const std::uint32_t value_ = OfProcess();
  const testing::ScopedTrace trace_{__FILE__, __LINE__, "ZERVANE_SEED=" + std::to_string(value_)};
};

}  // namespace zervane
