#include "engine/history/interpolation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/engine/history/history_fixture.h"
#include "tests/engine/history/oracle.h"
#include "tests/engine/history/random_series.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr auto kLinear = InterpolationMode::kLinear;
constexpr auto kPrevious = InterpolationMode::kPrevious;

struct InstantCase {
  const char* name;
  std::vector<Sample> records;
  InterpolationMode mode;
  std::int64_t time_ms;
  std::int32_t code;
  Sample sample;  // of which the time is that of the instant
};

const InstantCase kInstantCases[] = {
    {"AtAGoodRecordIsThatRecord",
     {FloatAt(10, 1, 0xC3), FloatAt(20, 3)},
     kLinear,
     10,
     ZR3_OK,
     FloatAt(10, 1, 0xC3)},
    {"BetweenGoodRecordsLiesOnTheirLine",
     {FloatAt(10, 1), FloatAt(20, 3)},
     kLinear,
     15,
     ZR3_OK,
     FloatAt(15, 2)},
    {"InPreviousModeIsTheOneBefore",
     {FloatAt(10, 1), FloatAt(20, 3)},
     kPrevious,
     15,
     ZR3_OK,
     FloatAt(15, 1)},
    {"BeforeTheFirstRecordHasNone",
     {FloatAt(10, 1), FloatAt(20, 3)},
     kLinear,
     9,
     ZR3_ERR_NO_RECORD,
     FloatAt(9, 0)},
    {"BeforeTheFirstGoodRecordHasNone",
     {FloatAt(10, 1, kBad), FloatAt(20, 3)},
     kLinear,
     15,
     ZR3_ERR_NO_RECORD,
     FloatAt(15, 0)},
    {"AtABadRecordBeforeAnyGoodOneHasNone",
     {FloatAt(10, 1, kBad)},
     kPrevious,
     10,
     ZR3_ERR_NO_RECORD,
     FloatAt(10, 0)},
    {"OfATagWithoutRecordsHasNone", {}, kLinear, 10, ZR3_ERR_NO_RECORD, FloatAt(10, 0)},
    {"BehindTheLastRecordHoldsItUpToNow",
     {FloatAt(10, 1), FloatAt(20, 3)},
     kLinear,
     1000,
     ZR3_OK,
     FloatAt(1000, 3)},
    {"BehindNowHasNone",
     {FloatAt(10, 1), FloatAt(20, 3)},
     kLinear,
     1001,
     ZR3_ERR_NO_RECORD,
     FloatAt(1001, 0)},
    {"ThatIsNoTimeIsInvalid",
     {FloatAt(10, 1)},
     kLinear,
     kNoTime,
     ZR3_ERR_INVALID_TIME,
     FloatAt(kNoTime, 0)},
    {"BeyondAllTimesIsInvalid",
     {FloatAt(10, 1)},
     kLinear,
     kMaxTimeMs + 1,
     ZR3_ERR_INVALID_TIME,
     FloatAt(kMaxTimeMs + 1, 0)},
    {"OnALineAcrossABadRecordIsUncertain",
     {FloatAt(10, 1), FloatAt(18, 9, kBad), FloatAt(20, 3)},
     kLinear,
     15,
     ZR3_OK,
     FloatAt(15, 2, 88)},
    {"InPreviousModeBeforeTheBadRecordIsGood",
     {FloatAt(10, 1), FloatAt(18, 9, kBad), FloatAt(20, 3)},
     kPrevious,
     15,
     ZR3_OK,
     FloatAt(15, 1)},
    {"InPreviousModeAtABadRecordIsUncertain",
     {FloatAt(10, 1), FloatAt(15, 9, kUncertain), FloatAt(20, 3)},
     kPrevious,
     15,
     ZR3_OK,
     FloatAt(15, 1, 88)},
    {"BehindABadLastRecordIsUncertain",
     {FloatAt(10, 1), FloatAt(15, 9, kBad)},
     kLinear,
     17,
     ZR3_OK,
     FloatAt(17, 1, 88)},
    {"BeforeABadLastRecordIsGood",
     {FloatAt(10, 1), FloatAt(15, 9, kBad)},
     kLinear,
     12,
     ZR3_OK,
     FloatAt(12, 1)},
    {"TakesARecordThatIsNoNumberForBad",
     {FloatAt(10, 1), FloatAt(15, kNan), FloatAt(16, HUGE_VAL), FloatAt(20, 3)},
     kLinear,
     15,
     ZR3_OK,
     FloatAt(15, 2, 88)},
    {"BetweenWholeNumbersIsRoundedHalfAwayFromZero",
     {WholeAt(10, TagType::kInt16, 1), WholeAt(20, TagType::kInt16, 2)},
     kLinear,
     15,
     ZR3_OK,
     WholeAt(15, TagType::kInt16, 2)},
    {"BetweenNegativeWholeNumbersIsRoundedHalfAwayFromZero",
     {WholeAt(10, TagType::kInt8, -1), WholeAt(20, TagType::kInt8, -2)},
     kLinear,
     15,
     ZR3_OK,
     WholeAt(15, TagType::kInt8, -2)},
    {"BetweenTheEndsOfARangeStaysInIt",
     {WholeAt(0, TagType::kInt32, INT32_MIN), WholeAt(999, TagType::kInt32, INT32_MAX)},
     kLinear,
     998,
     ZR3_OK,
     WholeAt(998, TagType::kInt32, 2143184380)},
    {"OfADigitalTagHolds",
     {WholeAt(10, TagType::kDigital, 0), WholeAt(20, TagType::kDigital, 9)},
     kLinear,
     19,
     ZR3_OK,
     WholeAt(19, TagType::kDigital, 0)},
    {"OfATextHolds",
     {WordAt(10, "open"), WordAt(20, "shut")},
     kLinear,
     19,
     ZR3_OK,
     WordAt(19, "open")},
    {"AtATextIsThatText",
     {WordAt(10, "open"), WordAt(20, "shut", 0xC1)},
     kPrevious,
     20,
     ZR3_OK,
     WordAt(20, "shut", 0xC1)},
    {"BehindABadTextHoldsTheGoodOne",
     {WordAt(10, "open"), WordAt(20, "shut", kBad)},
     kLinear,
     30,
     ZR3_OK,
     WordAt(30, "open", 88)},
    {"BetweenHugeNumbersStaysFinite",
     {FloatAt(0, -1.5e308), FloatAt(100, 1.5e308)},
     kLinear,
     50,
     ZR3_OK,
     FloatAt(50, 0)},
};

class Instant : public testing::TestWithParam<InstantCase> {
 protected:
  static TagType Type() { return GetParam().sample.type; }
};

INSTANTIATE_TEST_SUITE_P(Single, Instant, testing::ValuesIn(kInstantCases), CaseName());

TEST_P(Instant, IsInterpolated) {
  for (const std::size_t chunk : {1, 2, 100}) {
    RunStore store({.chunk_records = chunk});
    store.Put(1, GetParam().records);
    const CurrentValues none;
    const TagPoints points = PointsIn(store, Type(), 1000, none);
    const std::int64_t times[] = {GetParam().time_ms};
    const Result<Interpolated> reply = Interpolate(points, GetParam().mode, times);
    ASSERT_TRUE(reply.ok());
    EXPECT_EQ(reply->codes, std::vector{GetParam().code});
    if (GetParam().code == ZR3_OK) {
      EXPECT_EQ(reply->samples.At(0), GetParam().sample);
    } else {
      EXPECT_EQ(reply->samples.times()[0], GetParam().time_ms);
    }
  }
}

// A year of records, ten seconds apart, in chunks of 100 and groups of 32.
class LongSeries : public testing::Test {
 protected:
  static constexpr std::int64_t kRecords = 300'000;

  void Fill(std::uint16_t (*quality)(std::int64_t), bool has_statistics = true) {
    store_.emplace(RunShape{.chunk_records = 100,
                            .group_chunks = has_statistics ? 32U : 0U,
                            .has_statistics = has_statistics});
    std::vector<Sample> records;
    for (std::int64_t i = 0; i < kRecords; ++i) {
      records.push_back(FloatAt(10'000 * i, static_cast<double>(i % 977), quality(i)));
    }
    store_->Put(1, records);
  }
  Result<Interpolated> Ask(InterpolationMode mode, std::vector<std::int64_t> times) {
    const CurrentValues none;
    return Interpolate(PointsIn(*store_, TagType::kFloat64, kMaxTimeMs, none), mode, times);
  }

  std::optional<RunStore> store_;
};

TEST_F(LongSeries, IsDecodedOnlyWhereInstantsAre) {
  Fill([](std::int64_t) { return kGood; });
  const auto reply = Ask(kLinear, {5'000, 1'500'005'000, 2'900'005'000});
  ASSERT_TRUE(reply.ok());
  EXPECT_DOUBLE_EQ(reply->samples.At(1).value.float64(), 150'000 % 977 + 0.5);
  EXPECT_LE(store_->chunks_shown(), 6);
}

TEST_F(LongSeries, IsDecodedOnlyWhereInstantsAreThoughNothingTellsOfItsChunks) {
  Fill([](std::int64_t) { return kGood; }, false);
  const auto reply = Ask(kLinear, {5'000, 1'500'005'000, 2'900'005'000});
  ASSERT_TRUE(reply.ok());
  EXPECT_DOUBLE_EQ(reply->samples.At(1).value.float64(), 150'000 % 977 + 0.5);
  EXPECT_LE(store_->chunks_shown(), 9);
}

TEST_F(LongSeries, IsPassedOverWhereItIsBad) {
  Fill([](std::int64_t i) { return i == 0 || i == kRecords - 1 ? kGood : kBad; });
  const auto reply = Ask(kLinear, {1'500'005'000});
  ASSERT_TRUE(reply.ok());
  EXPECT_EQ(reply->samples.At(0).quality, 88);
  EXPECT_LE(store_->chunks_shown(), 2);
  EXPECT_LE(store_->runs_offered(), 220);
}

// Each start anew looks at what was not passed yet, and no farther.
TEST_F(LongSeries, IsLookedThroughOnceWhereItIsBadAndNothingTellsOfItsChunks) {
  Fill([](std::int64_t i) { return i == 0 ? kGood : kBad; }, false);
  std::vector<std::int64_t> times;
  for (std::int64_t i = 1'000; i < 30'000; i += 1'000) times.push_back(10'000 * i + 5'000);
  const auto reply = Ask(kPrevious, times);
  ASSERT_TRUE(reply.ok());
  for (std::size_t at = 0; at < times.size(); ++at) {
    EXPECT_EQ(reply->samples.At(at), FloatAt(times[at], 0, 88));
  }
  EXPECT_LE(store_->chunks_shown(), 2 * 300);
}

TEST_F(LongSeries, DecodesAChunkOnceHoweverManyInstantsItHas) {
  Fill([](std::int64_t) { return kGood; });
  std::vector<std::int64_t> times;
  for (std::int64_t i = 0; i < 30'000; ++i) times.push_back(i * 7'919'000 % 300'000'000);
  const auto reply = Ask(kLinear, times);
  ASSERT_TRUE(reply.ok());
  EXPECT_LE(store_->chunks_shown(), 303);
}

TEST_F(LongSeries, IsNoWrongNumberWhereItIsDamaged) {
  Fill([](std::int64_t) { return kGood; });
  store_->Damage(1500);
  EXPECT_EQ(Ask(kLinear, {1'500'005'000}).code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_TRUE(Ask(kLinear, {5'000}).ok());
}

// Whatever the series, the shape of its runs and the instants.
class AnySeries : public testing::TestWithParam<TagType> {};

INSTANTIATE_TEST_SUITE_P(Of, AnySeries,
                         testing::Values(TagType::kInt8, TagType::kInt16, TagType::kInt32,
                                         TagType::kFloat32, TagType::kFloat64, TagType::kDigital,
                                         TagType::kString, TagType::kBlob));

void ExpectAnswer(const oracle::Answer& expected, const Interpolated& reply, std::size_t at,
                  double rounding) {
  ASSERT_EQ(reply.codes[at], expected.code);
  if (expected.code != ZR3_OK) return;
  EXPECT_EQ(reply.samples.qualities()[at], expected.quality);
  const Sample sample = reply.samples.At(at);
  if (sample.value.kind() == Value::Kind::kText) {
    EXPECT_EQ(sample.value.text().str(), expected.text);
  } else {
    EXPECT_NEAR(NumberAt(reply.samples, at), expected.number, rounding);
  }
}

TEST_P(AnySeries, IsInterpolatedAsItsRecordsSay) {
  const Seed seed;
  SeriesDrawer draw(seed.value());
  for (int round = 0; round < 60; ++round) {
    const std::vector<Sample> records = draw.Series(GetParam());
    std::vector<std::int64_t> times;
    for (int i = 0; i < 40; ++i) times.push_back(draw.TimeNear(records));
    times.push_back(kNoTime);
    const std::int64_t now_ms = draw.TimeNear(records);
    for (const RunShape& shape : SeriesDrawer::Shapes()) {
      RunStore store(shape);
      store.Put(1, records);
      CurrentValues values;
      if (!records.empty()) PutCurrent(values, 1, records.back());
      const TagPoints points = PointsIn(store, GetParam(), now_ms, values, shape.unarchived > 0);
      for (const InterpolationMode mode : {kLinear, kPrevious}) {
        const Result<Interpolated> reply = Interpolate(points, mode, times);
        ASSERT_TRUE(reply.ok());
        for (std::size_t at = 0; at < times.size(); ++at) {
          SCOPED_TRACE(testing::Message() << "round " << round << ", instant " << times[at]);
          ExpectAnswer(oracle::ValueAt(records, GetParam(), mode, points.now_ms(), times[at]),
                       *reply, at, 1e-12 * GreatestOf(records));
          if (HasFailure()) return;
        }
      }
    }
  }
}

}  // namespace
}  // namespace zervane
