#include "engine/history/statistics/statistic_traits.h"

#include <array>
#include <cstddef>

#include "engine/assert.h"

namespace zervane {
namespace {

using Type = StatisticType;
using Parameters = StatisticTraits::Parameters;

constexpr StatisticTraits OfRecords(Type type) { return {.type = type, .takes_runs = true}; }
constexpr StatisticTraits OfChanges(Type type, Parameters parameters) {
  return {.type = type,
          .uses_previous = true,
          .takes_texts = parameters == Parameters::kNone,
          .parameters = parameters};
}
constexpr StatisticTraits OfRecordsInRange(Type type) {
  return {.type = type, .parameters = Parameters::kRange};
}
constexpr StatisticTraits OfArea(Type type) {
  return {.type = type, .uses_spans = true, .uses_line = true, .takes_runs = true};
}
constexpr StatisticTraits OfTime(Type type, Parameters parameters) {
  return {.type = type, .uses_spans = true, .parameters = parameters};
}
constexpr StatisticTraits OfAllTime(Type type) {
  return {.type = type, .uses_spans = true, .takes_runs = true, .takes_texts = true};
}
constexpr StatisticTraits OfCount() {
  return {.type = Type::kCount, .takes_runs = true, .takes_texts = true};
}

constexpr std::array kTraits = {
    OfRecords(Type::kMax),
    OfRecords(Type::kMin),
    OfRecords(Type::kSum),
    OfRecords(Type::kLast),
    OfAllTime(Type::kPercentGood),
    OfRecords(Type::kArithmeticMean),
    OfArea(Type::kTimeWeightedMean),
    OfArea(Type::kIntegral),
    OfChanges(Type::kCountOfChanges, Parameters::kNone),
    OfChanges(Type::kCountOfRises, Parameters::kOne),
    OfChanges(Type::kCountOfFalls, Parameters::kOne),
    OfRecords(Type::kDifference),
    OfRecordsInRange(Type::kCountInRange),
    OfRecordsInRange(Type::kCountNotInRange),
    OfRecords(Type::kRange),
    OfRecords(Type::kStandardDeviation),
    OfTime(Type::kTimeGreater, Parameters::kOne),
    OfTime(Type::kTimeGreaterOrEqual, Parameters::kOne),
    OfTime(Type::kTimeEqual, Parameters::kOne),
    OfTime(Type::kTimeNotEqual, Parameters::kOne),
    OfTime(Type::kTimeLess, Parameters::kOne),
    OfTime(Type::kTimeLessOrEqual, Parameters::kOne),
    OfTime(Type::kTimeInRange, Parameters::kRange),
    OfTime(Type::kTimeNotInRange, Parameters::kRange),
    OfCount(),
    OfAllTime(Type::kTimeDuration),
};
static_assert(kTraits.size() == ZR3_STATS_TYPE_LIMIT_MAX + 1);
static_assert([] {
  for (std::size_t at = 0; at < kTraits.size(); ++at) {
    if (static_cast<std::size_t>(kTraits[at].type) != at) return false;
  }
  return true;
}());

}  // namespace

const StatisticTraits& TraitsOf(StatisticType type) {
  ZERVANE_ASSERT(static_cast<std::size_t>(type) < kTraits.size());
  return kTraits[static_cast<std::size_t>(type)];
}

}  // namespace zervane
