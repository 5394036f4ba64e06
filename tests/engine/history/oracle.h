#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "api/words/statistics.h"
#include "api/words/value.h"

// What answers about the past are to be, as plainly as they can be calculated: over all records of
// a tag, in order of time, one by one. Nothing of it is the engine's.
namespace zervane::oracle {

struct Answer {
  std::int32_t code = 0;
  double number = 0;  // of a text it is 0
  std::string text;
  std::uint16_t quality = 0;
};

// The number in a value; NaN for a text.
double NumberIn(const Value& value);

// The tag's value at an instant.
Answer ValueAt(const std::vector<Sample>& records, TagType type, InterpolationMode mode,
               std::int64_t now_ms, std::int64_t time_ms);

// What the request's filter says of a record, by its value, quality and time in seconds.
using Filter = std::function<double(double, double, double)>;

// The statistic, or the status that says why there is none. The request is valid; of its filter
// only `filter` counts, none when it is empty.
Answer StatisticOf(const std::vector<Sample>& records, TagType type,
                   const StatisticRequest& request, const Filter& filter, std::int64_t now_ms);

}  // namespace zervane::oracle
