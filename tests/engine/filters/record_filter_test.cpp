#include "engine/filters/record_filter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/engine/filters/points.h"
#include "tests/engine/records.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr FilterSettings kReports = {.exception_deviation = 1};
constexpr FilterSettings kCompresses = {.compression_deviation = 1};
constexpr FilterSettings kBoth = {.exception_deviation = 0.5, .compression_deviation = 1};
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

Sample At(std::int64_t second, double value, std::uint16_t quality = ZR3_QUALITY_GOOD) {
  Sample sample = NumberAt(second * 1000, value);
  sample.quality = quality;
  return sample;
}

constexpr Filtered kArchived = Filtered::kArchived;
constexpr Filtered kHeld = Filtered::kHeld;
constexpr Filtered kHeldBack = Filtered::kHeldBack;

// NaNs of the same bits are the same here.
std::vector<std::string> Texts(const std::vector<Sample>& samples) {
  std::vector<std::string> texts;
  for (const Sample& sample : samples) {
    texts.push_back(std::to_string(sample.time_ms) +
                    " ms: " + std::to_string(sample.value.float64()) + " of quality " +
                    std::to_string(sample.quality));
  }
  return texts;
}

struct FilterCase {
  const char* name;
  FilterSettings settings;
  std::vector<Sample> given;
  std::vector<Filtered> becomes;
  std::vector<Sample> archived;  // in the order in which they enter
  std::vector<Sample> released;  // by what is still held in the end
};

class FilteredRecords : public testing::TestWithParam<FilterCase> {};

TEST_P(FilteredRecords, Become) {
  const FilterCase& row = GetParam();
  RecordFilter filter(row.settings);
  std::vector<Filtered> becomes;
  std::vector<Sample> archived;
  for (const Sample& sample : row.given) {
    becomes.push_back(filter.Filter(sample, archived));
    if (becomes.back() == kArchived) archived.push_back(sample);
  }
  EXPECT_EQ(becomes, row.becomes);
  EXPECT_EQ(Texts(archived), Texts(row.archived));
  std::vector<Sample> released;
  filter.Release(released);
  EXPECT_EQ(Texts(released), Texts(row.released));
}

INSTANTIATE_TEST_SUITE_P(
    InOrder, FilteredRecords,
    testing::Values(
        FilterCase{"TheArchiveWhenTheyAreTheFirst", kBoth, {At(1, 5)}, {kArchived}, {At(1, 5)}, {}},
        FilterCase{"HeldBackAndThenArchivedBeforeTheOneThatLeavesTheBand",
                   kReports,
                   {At(1, 10), At(2, 10.5), At(3, 10.75), At(4, 20)},
                   {kArchived, kHeldBack, kHeldBack, kArchived},
                   {At(1, 10), At(3, 10.75), At(4, 20)},
                   {}},
        FilterCase{"HeldByCompressionOnce",
                   kCompresses,
                   {At(1, 0), At(2, 0), At(3, 0), At(4, 9)},
                   {kArchived, kHeld, kHeld, kHeld},
                   {At(1, 0), At(3, 0)},
                   {At(4, 9)}},
        FilterCase{"HeldByBothInTheirOrder",
                   kBoth,
                   {At(1, 0), At(2, 0.75), At(3, 1), At(4, 1.125)},
                   {kArchived, kHeld, kHeldBack, kHeldBack},
                   {At(1, 0)},
                   {At(2, 0.75), At(4, 1.125)}},
        // The one held back, 9.25 at 8 s, leaves the cone of 9 at 2 s, and 20 at 9 s that of 9.25.
        FilterCase{"CompressedWhenTheyWereHeldBackBefore",
                   kBoth,
                   {At(1, 0), At(2, 9), At(8, 9.25), At(9, 20)},
                   {kArchived, kHeld, kHeldBack, kHeld},
                   {At(1, 0), At(2, 9), At(8, 9.25)},
                   {At(9, 20)}},
        FilterCase{"AllArchivedWithoutFilters",
                   {},
                   {At(1, 5), At(2, 5), At(3, 5)},
                   {kArchived, kArchived, kArchived},
                   {At(1, 5), At(2, 5), At(3, 5)},
                   {}}),
    CaseName());

INSTANTIATE_TEST_SUITE_P(
    AlwaysPassing, FilteredRecords,
    testing::Values(
        FilterCase{"ArchivedWithAllHeldWhenTheQualityChanges",
                   kBoth,
                   {At(1, 0), At(2, 0.75), At(3, 1), At(4, 1, 64), At(5, 1, 64)},
                   {kArchived, kHeld, kHeldBack, kArchived, kHeldBack},
                   {At(1, 0), At(2, 0.75), At(3, 1), At(4, 1, 64)},
                   {At(5, 1, 64)}},
        FilterCase{"FilteredWithinABadQualityToo",
                   kReports,
                   {At(1, 0, 0), At(2, 0, 0), At(3, 0)},
                   {kArchived, kHeldBack, kArchived},
                   {At(1, 0, 0), At(2, 0, 0), At(3, 0)},
                   {}},
        FilterCase{"ArchivedWhenTheyAreNoNumberAndAfterIt",
                   kBoth,
                   {At(1, 0), At(2, 0.75), At(3, 1), At(4, kNaN), At(5, kNaN), At(6, 1), At(7, 1)},
                   {kArchived, kHeld, kHeldBack, kArchived, kArchived, kArchived, kHeldBack},
                   {At(1, 0), At(2, 0.75), At(3, 1), At(4, kNaN), At(5, kNaN), At(6, 1)},
                   {At(7, 1)}},
        FilterCase{"ArchivedWhenTheyAreInfiniteAndAfterIt",
                   kCompresses,
                   {At(1, 0), At(2, kInfinity), At(3, -kInfinity), At(4, 0), At(5, 0)},
                   {kArchived, kArchived, kArchived, kArchived, kHeld},
                   {At(1, 0), At(2, kInfinity), At(3, -kInfinity), At(4, 0)},
                   {At(5, 0)}}),
    CaseName());

INSTANTIATE_TEST_SUITE_P(
    Late, FilteredRecords,
    testing::Values(FilterCase{"ArchivedAtOnceWhenTheyAreOlderThanTheLastArchived",
                               kBoth,
                               {At(10, 0), At(20, 0.75), At(30, 1), At(5, 70), At(40, 1.125)},
                               {kArchived, kHeld, kHeldBack, kArchived, kHeldBack},
                               {At(10, 0), At(5, 70)},
                               {At(20, 0.75), At(40, 1.125)}},
                    FilterCase{"ArchivedAfterWhatCompressionHolds",
                               kCompresses,
                               {At(10, 0), At(20, 0), At(15, 70), At(30, 0), At(40, 0)},
                               {kArchived, kHeld, kArchived, kHeld, kHeld},
                               {At(10, 0), At(20, 0), At(15, 70)},
                               {At(40, 0)}},
                    FilterCase{"ArchivedAfterAllThatIsHeld",
                               kBoth,
                               {At(10, 0), At(20, 0.75), At(30, 1), At(25, 70), At(40, 1.125)},
                               {kArchived, kHeld, kHeldBack, kArchived, kHeldBack},
                               {At(10, 0), At(20, 0.75), At(30, 1), At(25, 70)},
                               {At(40, 1.125)}},
                    FilterCase{"ArchivedInPlaceOfThatOfTheirTime",
                               kBoth,
                               {At(10, 0), At(20, 0.75), At(30, 1), At(20, 70)},
                               {kArchived, kHeld, kHeldBack, kArchived},
                               {At(10, 0), At(20, 0.75), At(30, 1), At(20, 70)},
                               {}}),
    CaseName());

INSTANTIATE_TEST_SUITE_P(
    OfEqualTime, FilteredRecords,
    testing::Values(FilterCase{"ArchivedInPlaceOfAnArchivedOne",
                               kBoth,
                               {At(1, 0), At(1, 0.25), At(2, 0.5)},
                               {kArchived, kArchived, kHeldBack},
                               {At(1, 0), At(1, 0.25)},
                               {At(2, 0.5)}},
                    FilterCase{"ArchivedInPlaceOfOneThatEndedALineOnceTheLineBeforeHasEnded",
                               {.compression_deviation = 1, .compression_max_ms = 2000},
                               {At(1, 0), At(2, 0), At(3, 0), At(3, 50), At(4, 50)},
                               {kArchived, kHeld, kArchived, kArchived, kHeld},
                               {At(1, 0), At(3, 0), At(2, 0), At(3, 50)},
                               {At(4, 50)}},
                    FilterCase{"HeldBackInPlaceOfOneHeldBack",
                               kReports,
                               {At(1, 0), At(2, 0.25), At(2, 0.5)},
                               {kArchived, kHeldBack, kHeldBack},
                               {At(1, 0)},
                               {At(2, 0.5)}},
                    FilterCase{"PassedOnWithoutTheOneHeldBackWhosePlaceTheyTake",
                               kReports,
                               {At(1, 0), At(2, 0.25), At(2, 9)},
                               {kArchived, kHeldBack, kArchived},
                               {At(1, 0), At(2, 9)},
                               {}},
                    FilterCase{"HeldInPlaceOfTheFirstHeld",
                               kCompresses,
                               {At(1, 0), At(2, 0), At(2, 50), At(3, 100)},
                               {kArchived, kHeld, kHeld, kHeld},
                               {At(1, 0)},
                               {At(3, 100)}},
                    FilterCase{"HeldInPlaceOfOneHeldOnceTheLineBeforeHasEnded",
                               kCompresses,
                               {At(1, 0), At(2, 0), At(3, 0), At(3, 50), At(4, 100)},
                               {kArchived, kHeld, kHeld, kHeld, kHeld},
                               {At(1, 0), At(2, 0)},
                               {At(4, 100)}},
                    FilterCase{"HeldThoughTheyAreInTheBandInPlaceOfOneThatLeftIt",
                               kBoth,
                               {At(1, 0), At(2, 9), At(2, 0.25), At(3, 0.5)},
                               {kArchived, kHeld, kHeld, kHeldBack},
                               {At(1, 0)},
                               {At(2, 0.25), At(3, 0.5)}},
                    FilterCase{"ArchivedWithAnotherQualityInPlaceOfOneHeld",
                               kCompresses,
                               {At(1, 0), At(2, 0), At(3, 0), At(3, 0, 64)},
                               {kArchived, kHeld, kHeld, kArchived},
                               {At(1, 0), At(2, 0), At(3, 0, 64)},
                               {}},
                    FilterCase{"ArchivedWithAnotherQualityInPlaceOfOneHeldBack",
                               kBoth,
                               {At(1, 0), At(2, 0.75), At(3, 1), At(3, 1, 64)},
                               {kArchived, kHeld, kHeldBack, kArchived},
                               {At(1, 0), At(2, 0.75), At(3, 1, 64)},
                               {}}),
    CaseName());

TEST(RecordFilter, StartsFromTheCurrentValue) {
  RecordFilter filter(kReports);
  filter.StartFrom(At(10, 5));
  std::vector<Sample> archived;
  EXPECT_EQ(filter.Filter(At(9, 5), archived), Filtered::kArchived);
  EXPECT_EQ(filter.Filter(At(11, 5.5), archived), Filtered::kHeldBack);
  EXPECT_TRUE(archived.empty());
}

// ---- types ----

struct TypeCase {
  const char* name;
  TagType type;
  Value low;
  Value high;
};

class Number : public testing::TestWithParam<TypeCase> {};

TEST_P(Number, ComesBackAsItWasHeld) {
  const Value& low = GetParam().low;
  const Value& high = GetParam().high;
  RecordFilter filter({.exception_deviation = 1e-9, .compression_deviation = 1e-9});
  const auto sample_at = [&](std::int64_t second, const Value& value) {
    return Sample{
        .time_ms = second * 1000, .quality = 0x1234, .type = GetParam().type, .value = value};
  };
  std::vector<Sample> archived;
  EXPECT_EQ(filter.Filter(sample_at(1, low), archived), Filtered::kArchived);
  EXPECT_EQ(filter.Filter(sample_at(2, high), archived), Filtered::kHeld);
  EXPECT_EQ(filter.Filter(sample_at(3, high), archived), Filtered::kHeldBack);
  filter.Release(archived);
  EXPECT_EQ(archived, (std::vector{sample_at(2, high), sample_at(3, high)}));
}

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kGreatest = std::numeric_limits<std::int32_t>::max();

INSTANTIATE_TEST_SUITE_P(Of, Number,
                         testing::Values(TypeCase{"Int8", TagType::kInt8, -128, 127},
                                         TypeCase{"Int16", TagType::kInt16, -32768, 32767},
                                         TypeCase{"Int32", TagType::kInt32, kLeast, kGreatest},
                                         TypeCase{"Float32", TagType::kFloat32, 0.1F, -0.7F},
                                         TypeCase{"Float64", TagType::kFloat64, 0.1, -0.7}),
                         CaseName());

// ---- what holds for every stream ----

Point PointOf(const Sample& sample) { return {sample.time_ms, sample.value.float64()}; }

// The difference between a record and what the archive around its time stands for; none when it
// stands for another quality.
std::optional<double> ErrorOf(const Sample& sample, const std::map<std::int64_t, Sample>& archive) {
  const auto next = archive.lower_bound(sample.time_ms);
  if (next == archive.end()) return std::nullopt;
  const Sample& end = next->second;
  if (end.time_ms == sample.time_ms) return end == sample ? std::optional(0.0) : std::nullopt;
  if (next == archive.begin()) return std::nullopt;
  const Sample& begin = std::prev(next)->second;
  if (begin.quality != sample.quality || end.quality != sample.quality) return std::nullopt;
  return std::abs(LineAt(PointOf(begin), PointOf(end), sample.time_ms) - PointOf(sample).value);
}

TEST(RecordFilter, RebuildsEveryRecordWithinTheDeviationWhateverQualitiesAndEqualTimesCome) {
  constexpr double kRounding = 1e-12;  // values are below 1,000: 8 units in their last place
  const Seed seed;
  std::mt19937_64 random(seed.value());
  for (int stream = 0; stream < 50; ++stream) {
    SCOPED_TRACE(testing::Message() << "stream " << stream);
    const auto chance = [&](int of) { return std::uniform_int_distribution(1, of)(random) == 1; };
    RecordFilter filter({.compression_deviation = 1, .compression_max_ms = chance(2) ? 0 : 5000});
    std::map<std::int64_t, Sample> written;
    std::map<std::int64_t, Sample> archive;
    std::vector<Sample> archived;
    Sample sample = At(1, 0);
    for (int i = 0; i < 1000; ++i) {
      const double step = std::uniform_real_distribution(-0.7, 0.7)(random);
      sample.value = sample.value.float64() + step;
      const std::int64_t half_seconds = std::uniform_int_distribution(1, 5)(random);
      if (!chance(5)) sample.time_ms += 500 * half_seconds;
      if (chance(40)) sample.quality = sample.quality == 0 ? ZR3_QUALITY_GOOD : 0;
      written[sample.time_ms] = sample;
      if (filter.Filter(sample, archived) == Filtered::kArchived) archived.push_back(sample);
      for (const Sample& entering : archived) archive[entering.time_ms] = entering;
      archived.clear();
    }
    filter.Release(archived);
    for (const Sample& entering : archived) archive[entering.time_ms] = entering;
    EXPECT_LT(archive.size(), written.size() * 3 / 4);
    for (const auto& [time_ms, record] : written) {
      const std::optional<double> error = ErrorOf(record, archive);
      ASSERT_TRUE(error) << "nothing stands for the record at " << time_ms;
      ASSERT_LE(*error, 1 + kRounding) << "at " << time_ms;
    }
  }
}

}  // namespace
}  // namespace zervane
