#pragma once

#include <cstdint>

#include "api/words/tag.h"

namespace zervane {

// What a tag's records pass on their way to the archive. A deviation of 0 turns its test off, a
// maximum time of 0 means that there is none.
struct FilterSettings {
  double exception_deviation = 0;  // engineering units
  std::int64_t exception_max_ms = 0;
  double compression_deviation = 0;  // engineering units
  std::int64_t compression_max_ms = 0;

  // Whether any test is on.
  bool any() const { return exception_deviation > 0 || compression_deviation > 0; }

  friend bool operator==(const FilterSettings&, const FilterSettings&) = default;
};

// Those of a tag that archives numbers; of any other, all tests are off.
FilterSettings FilterSettingsOf(const Tag& tag);

}  // namespace zervane
