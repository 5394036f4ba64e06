// Statistics of random series against a plain calculation, whatever the shape of the runs in which
// a store shows them, and the identities that hold between them.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/filters/record_filter.h"
#include "engine/history/statistics/calculate.h"
#include "tests/engine/history/history_fixture.h"
#include "tests/engine/history/oracle.h"
#include "tests/engine/history/random_requests.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

class AnyStatistic : public testing::TestWithParam<TagType> {
 protected:
  // Of records in runs of a shape.
  static Result<double> Calculate(const std::vector<Sample>& records, const RunShape& shape,
                                  const StatisticRequest& request, std::int64_t now_ms) {
    RunStore store(shape);
    store.Put(1, records);
    CurrentValues values;
    if (!records.empty()) PutCurrent(values, 1, records.back());
    const TagPoints points = PointsIn(store, GetParam(), now_ms, values, shape.unarchived > 0);
    return CalculateStatisticOf(points, request);
  }
};

INSTANTIATE_TEST_SUITE_P(Of, AnyStatistic,
                         testing::Values(TagType::kInt8, TagType::kInt16, TagType::kInt32,
                                         TagType::kFloat32, TagType::kFloat64, TagType::kDigital,
                                         TagType::kString, TagType::kBlob));

TEST_P(AnyStatistic, IsAsAPlainCalculationHasIt) {
  const Seed seed;
  RequestDrawer draw(seed.value());
  for (int round = 0; round < 250; ++round) {
    const std::vector<Sample> records = draw.Series(GetParam());
    const std::int64_t clock_ms = draw.TimeNear(records);
    const std::int64_t now_ms =
        records.empty() ? clock_ms : std::max(clock_ms, records.back().time_ms);
    for (int i = 0; i < 4; ++i) {
      StatisticRequest request = draw.Request(records, GetParam());
      const FilterCase& filter = draw.Filter();
      request.filter = filter.text;
      const oracle::Answer expected =
          oracle::StatisticOf(records, GetParam(), request, filter.filter, now_ms);
      for (const RunShape& shape : SeriesDrawer::Shapes()) {
        const Result<double> value = Calculate(records, shape, request, clock_ms);
        ASSERT_EQ(value.code(), expected.code)
            << value.status().message() << Describe(request) << " round " << round << ", chunks of "
            << shape.chunk_records;
        if (!value.ok()) continue;
        ASSERT_TRUE(IsNear(*value, expected.number, RoundingOf(records, request)))
            << *value << " for " << expected.number << ": " << Describe(request) << " round "
            << round << ", chunks of " << shape.chunk_records;
      }
    }
  }
}

// ---- what holds between statistics ----

using Type = StatisticType;

class Identities : public testing::Test {
 protected:
  // A series in a store, and what is asked of it but the type.
  void DrawSeries() {
    records_ = draw_.Series(TagType::kFloat64);
    rounding_ = 1e-9 * GreatestOf(records_);
    store_.emplace(RunShape{.chunk_records = static_cast<std::size_t>(draw_.Draw(1, 9))});
    store_->Put(1, records_);
    request_ = draw_.Request(records_, TagType::kFloat64);
    request_.least_percent_good = 0;
    request_.filter = draw_.OneIn(3) ? "value < 1.5" : "";
  }

  Result<double> Ask(Type type) { return Ask(type, request_); }
  Result<double> Ask(Type type, StatisticRequest request) {
    request.type = type;
    const std::int64_t now_ms = records_.empty() ? 0 : records_.back().time_ms + 20'000;
    const CurrentValues none;
    return CalculateStatisticOf(PointsIn(*store_, TagType::kFloat64, now_ms, none), request);
  }
  // 0 where there is nothing to calculate it from.
  double ValueOf(Type type, const StatisticRequest& request) {
    const Result<double> value = Ask(type, request);
    EXPECT_TRUE(value.ok() || value.code() == ZR3_ERR_NO_RECORD);
    return value.ok() ? *value : 0;
  }

  const Seed seed_;
  RequestDrawer draw_{seed_.value()};
  std::vector<Sample> records_;
  double rounding_ = 0;
  std::optional<RunStore> store_;
  StatisticRequest request_;
};

TEST_F(Identities, HoldBetweenTheTypes) {
  for (int round = 0; round < 500; ++round) {
    DrawSeries();
    SCOPED_TRACE(Describe(request_));
    const double duration = *Ask(Type::kTimeDuration);
    EXPECT_NEAR(*Ask(Type::kTimeGreater) + *Ask(Type::kTimeLessOrEqual), duration, 1e-9);
    EXPECT_NEAR(*Ask(Type::kTimeGreaterOrEqual) + *Ask(Type::kTimeLess), duration, 1e-9);
    EXPECT_NEAR(*Ask(Type::kTimeEqual) + *Ask(Type::kTimeNotEqual), duration, 1e-9);
    EXPECT_NEAR(*Ask(Type::kTimeInRange) + *Ask(Type::kTimeNotInRange), duration, 1e-9);
    const double count = *Ask(Type::kCount);
    EXPECT_EQ(*Ask(Type::kCountInRange) + *Ask(Type::kCountNotInRange), count);
    const Result<double> mean = Ask(Type::kArithmeticMean);
    ASSERT_EQ(mean.ok(), count > 0);
    if (mean.ok()) {
      EXPECT_NEAR(*Ask(Type::kSum), *mean * count, rounding_);
      EXPECT_EQ(*Ask(Type::kRange), *Ask(Type::kMax) - *Ask(Type::kMin));
    }
    const Result<double> weighted = Ask(Type::kTimeWeightedMean);
    ASSERT_EQ(weighted.ok(), duration > 0);
    if (weighted.ok()) {
      EXPECT_NEAR(*Ask(Type::kIntegral), *weighted * duration, rounding_);
    }
    if (HasFailure()) return;
  }
}

// Of records: a sample of a region that begins elsewhere is another one.
TEST_F(Identities, HoldBetweenRegionsThatTouch) {
  const Type types[] = {Type::kCount,         Type::kCountOfChanges, Type::kCountOfRises,
                        Type::kCountOfFalls,  Type::kCountInRange,   Type::kSum,
                        Type::kIntegral,      Type::kTimeDuration,   Type::kTimeGreater,
                        Type::kTimeNotInRange};
  for (int round = 0; round < 500; ++round) {
    DrawSeries();
    const std::int64_t left_ms = draw_.TimeNear(records_);
    const std::int64_t right_ms = left_ms + draw_.Draw(2, 30'000);
    const std::int64_t middle_ms = draw_.Draw(left_ms + 1, right_ms - 1);
    const bool has_middle = draw_.OneIn(2);  // the former one has it
    const TimeRegion former = {left_ms, middle_ms, true, has_middle};
    const TimeRegion latter = {middle_ms, right_ms, !has_middle, false};
    request_.source = SampleSource::kRecords;
    StatisticRequest whole = request_;
    StatisticRequest first = request_;
    StatisticRequest second = request_;
    whole.regions = {{left_ms, right_ms, true, false}};
    first.regions = {former};
    second.regions = {latter};
    request_.regions = {former, latter};
    for (const Type type : types) {
      SCOPED_TRACE(testing::Message()
                   << "type " << static_cast<int>(type) << Describe(whole) << " at " << middle_ms);
      const double expected = ValueOf(type, whole);
      ASSERT_NEAR(ValueOf(type, first) + ValueOf(type, second), expected, rounding_);
      ASSERT_NEAR(ValueOf(type, request_), expected, rounding_);
    }
  }
}

// ---- compression ----

// What compression lets go of a series, and what it holds at its end.
struct Compressed {
  std::vector<Sample> archived;
  bool holds_last = false;
};

Compressed Compress(const std::vector<Sample>& records, double deviation) {
  RecordFilter filter({.compression_deviation = deviation});
  Compressed compressed;
  for (const Sample& record : records) {
    const Filtered filtered = filter.Filter(record, compressed.archived);
    if (filtered == Filtered::kArchived) compressed.archived.push_back(record);
    compressed.holds_last = filtered != Filtered::kArchived;
  }
  return compressed;
}

TEST(CompressedSeries, HasMeansAndAreasWithinTheDeviation) {
  const Seed seed;
  RequestDrawer draw(seed.value());
  int dropped = 0;
  for (int round = 0; round < 300; ++round) {
    const double deviation = static_cast<double>(draw.Draw(1, 40)) / 10;
    std::vector<Sample> records;
    double value = 0;
    std::int64_t time_ms = 1000;
    for (int i = 0; i < 200; ++i) {
      records.push_back(FloatAt(time_ms, value));
      time_ms += draw.Draw(1, 3000);
      value += static_cast<double>(draw.Draw(-100, 100)) / 100;
    }
    const Compressed compressed = Compress(records, deviation);
    dropped += static_cast<int>(records.size() - compressed.archived.size());
    RunStore whole({.chunk_records = 50});
    whole.Put(1, records);
    RunStore corners({.chunk_records = 7});
    corners.Put(1, compressed.archived);
    if (compressed.holds_last) corners.PutHeld(1, records.back());
    CurrentValues values;
    PutCurrent(values, 1, records.back());
    StatisticRequest request;
    const std::int64_t left_ms = draw.Draw(1000, time_ms - 2);
    request.regions = {{left_ms, draw.Draw(left_ms + 1, time_ms), true, false}};
    const double seconds =
        static_cast<double>(request.regions[0].right_ms - request.regions[0].left_ms) / 1000;
    const auto ask = [&](Store& store, Type type) {
      request.type = type;
      const TagPoints points = PointsIn(store, TagType::kFloat64, time_ms, values, true);
      return *CalculateStatisticOf(points, request);
    };
    EXPECT_NEAR(ask(corners, Type::kTimeWeightedMean), ask(whole, Type::kTimeWeightedMean),
                deviation + 1e-9);
    EXPECT_NEAR(ask(corners, Type::kIntegral), ask(whole, Type::kIntegral),
                (deviation + 1e-9) * seconds);
  }
  EXPECT_GT(dropped, 10'000);  // else nothing was compressed
}

}  // namespace
}  // namespace zervane
