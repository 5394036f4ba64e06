#pragma once

#include "api/words/statistics.h"
#include "api/words/value.h"

namespace zervane {

// What a type of statistic is made of.
struct StatisticTraits {
  enum class Parameters {
    kNone,
    kOne,    // the first: a limit
    kRange,  // both: the least and the greatest
  };

  StatisticType type = StatisticType::kMax;
  bool uses_spans = false;     // else of records alone
  bool uses_line = false;      // what the values are between records, and so the record behind
  bool uses_previous = false;  // the admitted record before each
  bool takes_runs = false;     // the statistics of a run serve it
  bool takes_texts = false;
  Parameters parameters = Parameters::kNone;
};

// REQUIRES a type that there is.
const StatisticTraits& TraitsOf(StatisticType type);

}  // namespace zervane
