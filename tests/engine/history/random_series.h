#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "api/words/value.h"
#include "tests/engine/history/history_fixture.h"
#include "tests/engine/history/run_store.h"

namespace zervane {

// The greatest magnitude of the records' finite numbers, or 1 when none is greater.
inline double GreatestOf(const std::vector<Sample>& records) {
  SampleColumns columns;
  for (const Sample& sample : records) columns.Add(sample);
  double greatest = 1;
  for (std::size_t at = 0; at < columns.size(); ++at) {
    const double magnitude = std::abs(NumberAt(columns, at));
    if (std::isfinite(magnitude)) greatest = std::max(greatest, magnitude);
  }
  return greatest;
}

// Draws series of records with gaps, stretches that are not good, numbers that are not finite and
// values that come again.
class SeriesDrawer {
 public:
  explicit SeriesDrawer(std::uint32_t seed) : random_(seed) {}

  std::int64_t Draw(std::int64_t least, std::int64_t greatest) {
    return std::uniform_int_distribution(least, greatest)(random_);
  }
  bool OneIn(std::int64_t n) { return Draw(1, n) == 1; }

  std::vector<Sample> Series(TagType type) {
    std::vector<Sample> records;
    const auto count = Draw(0, OneIn(3) ? 4 : 60);
    const std::int64_t rarely_bad = Draw(1, 12);
    std::int64_t time_ms = Draw(0, 3000);
    bool is_good = true;
    has_extremes_ = OneIn(5);
    for (std::int64_t i = 0; i < count; ++i) {
      if (OneIn(rarely_bad)) is_good = !is_good;
      const std::uint16_t quality =
          is_good ? (OneIn(9) ? 0xC1 : kGood) : (OneIn(3) ? kUncertain : kBad);
      records.push_back({.time_ms = time_ms, .quality = quality, .type = type, .value = Any(type)});
      time_ms += OneIn(8) ? Draw(1, 20'000) : Draw(1, 1500);
    }
    return records;
  }

  // At a record, just beside one, or anywhere near the series.
  std::int64_t TimeNear(const std::vector<Sample>& records) {
    const std::int64_t last_ms = records.empty() ? 0 : records.back().time_ms;
    if (records.empty() || OneIn(3)) return Draw(0, last_ms + 5000);
    const auto at = static_cast<std::size_t>(Draw(0, std::ssize(records) - 1));
    return std::max<std::int64_t>(0, records[at].time_ms + (OneIn(2) ? 0 : Draw(-1, 1)));
  }

  static std::vector<RunShape> Shapes() {
    return {{.chunk_records = 1000},
            {.chunk_records = 1, .group_chunks = 3},
            {.chunk_records = 7, .unarchived = 1},
            {.chunk_records = 3, .group_chunks = 4, .unarchived = 2},
            {.chunk_records = 4, .has_statistics = false}};
  }

 private:
  Value Any(TagType type) {
    const auto step = static_cast<std::int32_t>(Draw(-3, 3));
    switch (type) {
      case TagType::kInt8:
      case TagType::kDigital:
        return OneIn(9) ? std::int32_t{-128} : step;
      case TagType::kInt16:
        return OneIn(9) ? std::int32_t{32'767} : step * 100;
      case TagType::kInt32:
        return OneIn(9) ? std::numeric_limits<std::int32_t>::min() : step * 10'000;
      case TagType::kFloat32:
        return OneIn(20) ? std::numeric_limits<float>::infinity() : static_cast<float>(step) / 8;
      case TagType::kFloat64:
        if (OneIn(20)) return std::numeric_limits<double>::quiet_NaN();
        return has_extremes_ && OneIn(9) ? step * (OneIn(2) ? 1e300 : 1e-300) : step / 8.0 + 1;
      default:
        return OneIn(5) ? std::string(300, 'x') : std::string(OneIn(4) ? "" : "on");
    }
  }

  std::mt19937 random_;
  bool has_extremes_ =
      false;  // of the series that is being drawn: numbers near the ends of the range
};

}  // namespace zervane
