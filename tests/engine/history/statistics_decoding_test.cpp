// What of an archive is decoded for a statistic.

#include <gtest/gtest.h>

#include <vector>

#include "tests/engine/history/statistics_fixture.h"

namespace zervane {
namespace {

class LongRegion : public testing::Test {
 protected:
  static constexpr int kRecords = 100'000;

  LongRegion() {
    std::vector<Sample> records;
    for (int i = 0; i < kRecords; ++i) records.push_back(At(i, i % 10, i == 777 ? kBad : kGood));
    store_.Put(1, records);
  }
  Result<double> Ask(Type type, std::vector<TimeRegion> regions, const char* filter = "") {
    StatisticRequest request = Of(std::move(regions));
    request.type = type;
    request.filter = filter;
    const CurrentValues none;
    return CalculateStatisticOf(PointsIn(store_, TagType::kFloat64, 1000LL * kRecords, none),
                                request);
  }

  RunStore store_{{.chunk_records = 100, .group_chunks = 16}};
};

TEST_F(LongRegion, IsDecodedAtItsEndsAloneWhereTheStatisticsOfRunsServe) {
  const Type types[] = {Type::kMax,          Type::kMin,
                        Type::kRange,        Type::kCount,
                        Type::kSum,          Type::kArithmeticMean,
                        Type::kLast,         Type::kDifference,
                        Type::kIntegral,     Type::kStandardDeviation,
                        Type::kTimeDuration, Type::kTimeWeightedMean,
                        Type::kPercentGood};
  for (const Type type : types) {
    const int before = store_.chunks_shown();
    EXPECT_TRUE(Ask(type, {From(50, 90'050)}).ok());
    EXPECT_LE(store_.chunks_shown() - before, 3) << static_cast<int>(type);
  }
}

TEST_F(LongRegion, IsDecodedOnceWhereTheyDoNot) {
  EXPECT_EQ(*Ask(Type::kCount, {From(0, kRecords)}, "value > 4"), kRecords / 2 - 1);
  EXPECT_EQ(store_.chunks_shown(), kRecords / 100);
}

TEST_F(LongRegion, IsNotDecodedBetweenRegions) {
  EXPECT_EQ(*Ask(Type::kCountOfChanges, {From(1000, 1100), From(80'000, 80'100)}), 200);
  EXPECT_LE(store_.chunks_shown(), 6);
}

// What its changes are compared with may lie far before it.
TEST(LongSilence, IsNotDecodedForTheRecordBeforeARegion) {
  RunStore store({.chunk_records = 100, .group_chunks = 16});
  std::vector<Sample> records;
  for (int i = 0; i < 50'000; ++i) records.push_back(At(i, 1, i == 0 ? kGood : kBad));
  records.push_back(At(50'000, 2));
  store.Put(1, records);
  StatisticRequest request = Of({From(50'000, 50'001)});
  request.type = Type::kCountOfChanges;
  const CurrentValues none;
  const TagPoints points = PointsIn(store, TagType::kFloat64, kMaxTimeMs, none);
  EXPECT_EQ(*CalculateStatisticOf(points, request), 1);
  EXPECT_LE(store.chunks_shown(), 3);
}

TEST_F(LongRegion, IsNoWrongNumberWhereItIsDamaged) {
  store_.Damage(300);
  EXPECT_EQ(Ask(Type::kMax, {From(30'010, 30'020)}).code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ(*Ask(Type::kMax, {From(10, 20)}), 9);
}

// Hundreds of blocks of samples between two records: none of them is kept.
TEST(LongSampling, AddsUpBlockByBlock) {
  RunStore store;
  store.Put(1, {At(0, 1), At(199'999, 3)});
  StatisticRequest request = Of({From(0, 200'000)});
  request.type = Type::kArithmeticMean;
  request.source = SampleSource::kLinear;
  request.period_s = 1;
  const CurrentValues none;
  const TagPoints points = PointsIn(store, TagType::kFloat64, kMaxTimeMs, none);
  EXPECT_NEAR(*CalculateStatisticOf(points, request), 2, 1e-12);
  request.type = Type::kTimeDuration;
  EXPECT_EQ(*CalculateStatisticOf(points, request), 200'000);
}

}  // namespace
}  // namespace zervane
