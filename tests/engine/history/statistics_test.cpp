#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "tests/engine/history/random_series.h"
#include "tests/engine/history/statistics_fixture.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

// What all types make of some records.
struct AllTypes {
  const char* name;
  std::vector<Sample> records;
  StatisticRequest request;
  // MAX, MIN, SUM, LAST, PCT_GOOD, ARITH_MEAN, TIME_WEIGHTED_MEAN, INTEGRAL, changes, rises, falls,
  // DIFF, in range, not in range, RANGE, STANDARD_DEVIATION, TIME_GT GE EQ NE LT LE, in range, not
  // in range, COUNT, TIME_DURATION.
  std::array<double, 26> values;
};

const AllTypes kAllTypes[] = {
    {"OfATagWithoutRecords",
     {},
     Of({From(0, 60)}),
     {kNone, kNone, kNone, kNone, 0, kNone, kNone, kNone, 0, 0, 0, kNone, 0,
      0,     kNone, kNone, 0,     0, 0,     0,     0,     0, 0, 0, 0,     0}},
    {"OfOneRecord", {At(10, 3)}, Of({From(0, 60)}), {3, 3,  3, 3, 250.0 / 3, 3, 3, 150, 0,
                                                     0, 0,  0, 1, 0,         0, 0, 50,  50,
                                                     0, 50, 0, 0, 50,        0, 1, 50}},
    {"OfRecordsThatAreAllBad",
     {At(10, 3, kBad), At(20, 4, kUncertain)},
     Of({From(0, 60)}),
     {kNone, kNone, kNone, kNone, 0, kNone, kNone, kNone, 0, 0, 0, kNone, 0,
      0,     kNone, kNone, 0,     0, 0,     0,     0,     0, 0, 0, 0,     0}},
    {"AroundWhatIsNoNumber",
     {At(10, 1), At(20, kNan), At(30, 3)},
     Of({From(0, 60)}),
     {3, 1, 4, 3,  200.0 / 3, 2, 2.5, 100, 1,  1,  0,  2, 1,
      1, 2, 1, 30, 30,        0, 40,  10,  10, 30, 10, 2, 40}},
    {"OfRecordsWithGaps",
     {At(10, 1), At(20, 3), At(40, 2)},
     Of({From(0, 60)}),
     {3,  1,  6,  2,  250.0 / 3, 2,  2.2, 110, 2, 1, 1, 1, 2, 1, 2, std::sqrt(2.0 / 3),
      20, 40, 20, 30, 10,        30, 40,  10,  3, 50}},
    {"CutTheLineAtTheLeftEnd",
     {At(10, 0), At(20, 10)},
     Of({From(15, 25)}),
     {10, 10, 10, 10, 100, 10, 8.75, 87.5, 1, 1, 0,  0, 0,
      1,  0,  0,  5,  5,   0,  10,   5,    5, 0, 10, 1, 10}},
    {"CutTheLineAtBothEnds",
     {At(10, 0), At(20, 10)},
     Of({From(12, 16)}),
     {kNone, kNone, kNone, kNone, 100, kNone, 4, 16, 0, 0, 0, kNone, 0,
      0,     kNone, kNone, 0,     0,   0,     4, 4,  4, 0, 4, 0,     4}},
    {"HoldBehindTheLastRecordUpToNow",
     {At(10, 3)},
     Of({From(50, 200)}),
     {kNone, kNone, kNone, kNone, 100, kNone, 3,  150, 0, 0,  0, kNone, 0,
      0,     kNone, kNone, 50,    50,  0,     50, 0,   0, 50, 0, 0,     50}},
    {"HaveNothingBehindNow",
     {At(10, 3)},
     Of({From(150, 200)}),
     {kNone, kNone, kNone, kNone, 0, kNone, kNone, kNone, 0, 0, 0, kNone, 0,
      0,     kNone, kNone, 0,     0, 0,     0,     0,     0, 0, 0, 0,     0}},
    {"HoldADigitalValue",
     {WholeAt(10'000, TagType::kDigital, 0), WholeAt(20'000, TagType::kDigital, 1)},
     Of({From(15, 25)}),
     {1, 1, 1, 1, 100, 1, 0.5, 5, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 10, 10, 10, 0, 10, 1, 10}},
    {"DrawALineBetweenWholeNumbers",
     {WholeAt(10'000, TagType::kInt16, 1), WholeAt(20'000, TagType::kInt16, 4)},
     Of({From(10, 20, true, true)}),
     {4, 1, 5, 4, 100, 2.5, 2.5, 25, 1, 1, 0, 3, 1, 1, 3, 1.5, 0, 0, 0, 10, 10, 10, 0, 10, 2, 10}},
    {"HaveTheRecordOfAnInstant",
     {At(10, 1), At(20, 3)},
     Of({From(20, 20, true, true)}),
     {3, 3, 3, 3, 0, 3, kNone, kNone, 1, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0}},
    {"UseBadValuesThatAreAskedFor",
     {At(10, 1), At(20, 9, kBad), At(30, 3)},
     With(Of({From(10, 40)}), [](StatisticRequest& request) { request.uses_bad_values = true; }),
     {9,  1,  13, 3,  200.0 / 3, 13.0 / 3, 14.0 / 3, 140, 2, 1, 0, 2, 1, 2, 8, std::sqrt(104.0 / 9),
      20, 20, 0,  30, 10,        10,       10,       20,  3, 30}},
    {"PassTheFilter",
     {At(10, 1), At(20, 3), At(30, 4)},
     With(Of({From(10, 40)}), [](StatisticRequest& request) { request.filter = "value > 2"; }),
     {4, 3, 7, 4, 100, 3.5, 3.75, 75, 1, 0, 0, 1, 2, 0, 1, 0.5, 20, 20, 0, 20, 0, 0, 20, 0, 2, 20}},
    {"OfTwoRegions",
     {At(10, 1), At(20, 3), At(30, 2), At(40, 5)},
     Of({From(10, 20), From(30, 45)}),
     {5, 1,  8,  5,  100, 8.0 / 3, 3.2, 80, 2, 1, 1, 4, 1, 2, 4, std::sqrt(26.0 / 9),
      5, 15, 10, 15, 10,  20,      10,  15, 3, 25}},
    {"OfSamplesThatHoldThePreviousRecord",
     {At(10, 1), At(20, 3)},
     With(Of({From(5, 25)}),
          [](StatisticRequest& request) {
            request.source = SampleSource::kPrevious;
            request.period_s = 5;
          }),
     {3, 1, 5, 3,  75, 5.0 / 3, 5.0 / 3, 25, 1, 1, 0, 2, 1, 2, 2, std::sqrt(8.0 / 9),
      5, 5, 0, 15, 10, 10,      5,       10, 3, 15}},
    {"OfSamplesOnALine",
     {At(10, 1), At(20, 3)},
     With(Of({From(10, 20, true, true)}),
          [](StatisticRequest& request) {
            request.source = SampleSource::kLinear;
            request.offset_s = 5;
            request.period_s = 5;
          }),
     {3, 2, 5, 3, 50, 2.5, 2, 10, 1, 1, 0, 1, 2, 0, 1, 0.5, 0, 5, 5, 0, 0, 5, 5, 0, 2, 5}},
};

class Statistic : public testing::TestWithParam<AllTypes> {};

INSTANTIATE_TEST_SUITE_P(Edge, Statistic, testing::ValuesIn(kAllTypes), CaseName());

TEST_P(Statistic, IsCalculated) {
  const TagType type = GetParam().records.empty() ? TagType::kFloat64 : GetParam().records[0].type;
  for (const RunShape& shape : SeriesDrawer::Shapes()) {
    for (std::size_t number = 0; number < GetParam().values.size(); ++number) {
      SCOPED_TRACE(testing::Message()
                   << "type " << number << ", chunks of " << shape.chunk_records);
      StatisticRequest request = GetParam().request;
      request.type = static_cast<Type>(number);
      const double expected = GetParam().values[number];
      const Result<double> value = Calculate(GetParam().records, request, shape, type);
      ASSERT_EQ(value.code(), std::isnan(expected) ? ZR3_ERR_NO_RECORD : ZR3_OK);
      if (value.ok()) {
        EXPECT_DOUBLE_EQ(*value, expected);
      }
    }
  }
}

struct EndsCase {
  const char* name;
  bool is_left_closed;
  bool is_right_closed;
  double count;
  double changes;
  double sum;
};

class StatisticEnds : public testing::TestWithParam<EndsCase> {};

INSTANTIATE_TEST_SUITE_P(Flags, StatisticEnds,
                         testing::Values(EndsCase{"BothClosed", true, true, 3, 2, 7},
                                         EndsCase{"LeftClosed", true, false, 2, 1, 3},
                                         EndsCase{"RightClosed", false, true, 2, 2, 6},
                                         EndsCase{"BothOpen", false, false, 1, 1, 2}),
                         CaseName());

TEST_P(StatisticEnds, CountRecordsAsTheirFlagsSayAndSpansAlways) {
  const std::vector<Sample> records = {At(10, 1), At(20, 2), At(30, 4)};
  StatisticRequest request =
      Of({From(10, 30, GetParam().is_left_closed, GetParam().is_right_closed)});
  const auto value = [&](Type type) {
    request.type = type;
    return *Calculate(records, request);
  };
  EXPECT_EQ(value(Type::kCount), GetParam().count);
  EXPECT_EQ(value(Type::kCountOfChanges), GetParam().changes);
  EXPECT_EQ(value(Type::kSum), GetParam().sum);
  EXPECT_EQ(value(Type::kTimeDuration), 20);
  EXPECT_EQ(value(Type::kIntegral), 45);
  EXPECT_EQ(value(Type::kPercentGood), 100);
}

struct GreatCase {
  const char* name;
  std::vector<double> values;
  double deviation;
  double mean;
  double range;
};

class GreatNumbers : public testing::TestWithParam<GreatCase> {};

INSTANTIATE_TEST_SUITE_P(
    Of, GreatNumbers,
    testing::Values(
        GreatCase{"One", {1e200}, 0, 1e200, 0},
        GreatCase{"SomeThatAreEqual", {1e200, 1e200, 1e200}, 0, 1e200, 0},
        GreatCase{
            "SomeWhoseSquaresAreBeyondTheRange", {1e160, 2e160, 4e160}, HUGE_VAL, 7e160 / 3, 3e160},
        GreatCase{
            "SomeWhoseDifferencesAreBeyondTheRange", {1.7e308, -1.7e308}, HUGE_VAL, 0, HUGE_VAL},
        GreatCase{"SomeThatAreFartherFromTheMeanThanTheRange",
                  {1.7e308, -0.85e308, -0.85e308, -0.85e308},
                  HUGE_VAL,
                  -0.85e308 / 4,
                  HUGE_VAL},
        GreatCase{"SomeWhoseSumIsBeyondTheRange", {1.7e308, 1.7e308}, 0, HUGE_VAL, 0},
        GreatCase{"SomeWhoseSquaresAreWithinTheRange", {1e150, 3e150}, 1e150, 2e150, 2e150}),
    CaseName());

TEST_P(GreatNumbers, HaveInfiniteStatisticsWhereTheyAreBeyondTheRangeAndNeverNone) {
  std::vector<Sample> records;
  for (const double value : GetParam().values) {
    records.push_back(At(10 + static_cast<int>(records.size()), value));
  }
  for (const RunShape& shape : SeriesDrawer::Shapes()) {
    SCOPED_TRACE(testing::Message() << "chunks of " << shape.chunk_records);
    StatisticRequest request = Of({From(10, 60)});
    const auto value = [&](Type type) {
      request.type = type;
      return *Calculate(records, request, shape);
    };
    EXPECT_DOUBLE_EQ(value(Type::kStandardDeviation), GetParam().deviation);
    EXPECT_DOUBLE_EQ(value(Type::kArithmeticMean), GetParam().mean);
    EXPECT_DOUBLE_EQ(value(Type::kRange), GetParam().range);
    for (int number = 0; number <= 25; ++number) {
      EXPECT_FALSE(std::isnan(value(static_cast<Type>(number)))) << number;
    }
  }
}

// Sums that leave the range on both sides.
TEST(Statistic, IsNeverNone) {
  const std::vector<Sample> records = {At(10, 1.7e308),  At(11, 1.7e308),  At(12, 0),
                                       At(13, -1.7e308), At(14, -1.7e308), At(15, 0)};
  for (const RunShape& shape : {RunShape{.chunk_records = 3}, RunShape{.chunk_records = 1000}}) {
    StatisticRequest request = Of({From(10, 60)});
    for (int number = 0; number <= 25; ++number) {
      request.type = static_cast<Type>(number);
      EXPECT_FALSE(std::isnan(*Calculate(records, request, shape))) << number;
    }
  }
}

TEST(Statistic, HasFourTypesForTexts) {
  const std::vector<Sample> records = {WordAt(10'000, "a"), WordAt(20'000, "a"),
                                       WordAt(30'000, "b"), WordAt(40'000, "c", kBad)};
  for (const RunShape& shape : SeriesDrawer::Shapes()) {
    for (int number = 0; number <= 25; ++number) {
      StatisticRequest request = Of({From(10, 50)});
      request.type = static_cast<Type>(number);
      const Result<double> value = Calculate(records, request, shape, TagType::kString);
      switch (request.type) {
        case Type::kCount:
          EXPECT_EQ(*value, 3);
          break;
        case Type::kCountOfChanges:
          EXPECT_EQ(*value, 1);
          break;
        case Type::kPercentGood:
          EXPECT_EQ(*value, 75);
          break;
        case Type::kTimeDuration:
          EXPECT_EQ(*value, 30);
          break;
        default:
          EXPECT_EQ(value.code(), ZR3_ERR_TYPE_MISMATCH) << number;
      }
    }
  }
}

TEST(Statistic, ComparesATextWithTheOneBeforeTheRegion) {
  const std::vector<Sample> records = {WordAt(10'000, "a"), WordAt(20'000, "x", kBad),
                                       WordAt(30'000, "a"), WordAt(40'000, "b")};
  StatisticRequest request = Of({From(15, 35), From(36, 50)});
  request.type = Type::kCountOfChanges;
  for (const RunShape& shape : SeriesDrawer::Shapes()) {
    EXPECT_EQ(*Calculate(records, request, shape, TagType::kString), 1);
  }
}

TEST(Statistic, NeedsTheShareOfGoodThatWasAskedFor) {
  const std::vector<Sample> records = {At(10, 1), At(40, 3, kBad)};
  StatisticRequest request = Of({From(0, 50)});  // 30 s of 50 are good
  request.type = Type::kMax;
  request.least_percent_good = 60;
  EXPECT_EQ(*Calculate(records, request), 1);
  // The share is compared as the number of 32 bits that was given, which is greater.
  request.regions = {From(0, 13)};
  request.least_percent_good = static_cast<float>(100.0 * 3 / 13);
  ASSERT_GT(request.least_percent_good, 100.0 * 3 / 13);
  EXPECT_EQ(*Calculate(records, request), 1);
  request.regions = {From(0, 50)};
  request.least_percent_good = 60.1F;
  EXPECT_EQ(Calculate(records, request).code(), ZR3_ERR_TOO_FEW_GOOD);
  request.uses_bad_values = true;
  request.filter = "value > 7";
  EXPECT_EQ(Calculate(records, request).code(), ZR3_ERR_TOO_FEW_GOOD);
  request.type = Type::kPercentGood;
  EXPECT_EQ(*Calculate(records, request), 60);
}

TEST(Statistic, HasAFilterThatMayHaveNoAnswer) {
  const std::vector<Sample> records = {At(10, 0), At(20, 2)};
  StatisticRequest request = Of({From(0, 50)});
  request.type = Type::kCount;
  request.filter = "1 / value";
  EXPECT_EQ(*Calculate(records, request), 1);
  request.filter_failure = FilterFailure::kKeep;
  EXPECT_EQ(*Calculate(records, request), 2);
  request.filter = "value > 1";
  const std::vector<Sample> texts = {WordAt(10'000, "a")};
  EXPECT_EQ(*Calculate(texts, request, {}, TagType::kString), 1);
  request.filter_failure = FilterFailure::kDrop;
  EXPECT_EQ(*Calculate(texts, request, {}, TagType::kString), 0);
}

TEST(Statistic, HasWhatTheFiltersHoldBack) {
  RunStore store;
  store.Put(1, {At(10, 1)});
  store.PutHeld(1, At(20, 3));
  CurrentValues values;
  PutCurrent(values, 1, At(30, 2));
  StatisticRequest request = Of({From(10, 40)});
  request.type = Type::kIntegral;
  const TagPoints points = PointsIn(store, TagType::kFloat64, kNowMs, values, true);
  EXPECT_EQ(*CalculateStatisticOf(points, request), 20 + 25 + 20);
}

// A record every ten seconds, one of them bad, one uncertain, in intervals that they do not fit:
// such as OPC UA Part 13 likes to show its aggregates on.
struct Interval {
  int from_s;
  int to_s;
  double count;
  double mean;
  double difference;
  double percent_good;
  double weighted_mean;
};

TEST(Statistic, OfIntervalsThatRecordsDoNotFit) {
  const std::vector<Sample> records = {At(10, 10),
                                       At(20, 20),
                                       At(30, 30),
                                       At(40, 40, kBad),
                                       At(50, 50),
                                       At(60, 60),
                                       At(70, 70, kUncertain),
                                       At(80, 80),
                                       At(90, 90)};
  const Interval intervals[] = {
      {0, 16, 1, 10, 0, 37.5, 13},         {16, 32, 2, 25, 10, 100, (23.0 * 14 + 30 * 2) / 16},
      {32, 48, 0, kNone, kNone, 50, 30},   {48, 64, 2, 55, 10, 87.5, (55.0 * 10 + 60 * 4) / 14},
      {64, 80, 0, kNone, kNone, 37.5, 60}, {80, 96, 2, 85, 10, 100, (85.0 * 10 + 90 * 6) / 16},
      {96, 100, 0, kNone, kNone, 100, 90},
  };
  for (const Interval& interval : intervals) {
    SCOPED_TRACE(interval.from_s);
    const auto ask = [&](Type type) {
      StatisticRequest request = Of({From(interval.from_s, interval.to_s)});
      request.type = type;
      const Result<double> value = Calculate(records, request);
      return value.ok() ? *value : kNone;
    };
    const auto is = [](double expected) { return testing::NanSensitiveDoubleEq(expected); };
    EXPECT_THAT(ask(Type::kCount), is(interval.count));
    EXPECT_THAT(ask(Type::kArithmeticMean), is(interval.mean));
    EXPECT_THAT(ask(Type::kDifference), is(interval.difference));
    EXPECT_THAT(ask(Type::kPercentGood), is(interval.percent_good));
    EXPECT_THAT(ask(Type::kTimeWeightedMean), is(interval.weighted_mean));
  }
}

}  // namespace
}  // namespace zervane
