#include "engine/storage/series.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>

#include "tests/engine/storage/support.h"
#include "tests/support/seed.h"

namespace zervane::storage {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Series SeriesOf(const std::vector<std::int64_t>& times) {
  Series series;
  double value = 0;
  for (const std::int64_t time_ms : times) {
    series.Reserve(1);
    series.Put(Record(1, time_ms, ++value).sample);  // the value tells which one came when
  }
  return series;
}

std::vector<std::int64_t> TimesOf(const std::vector<Sample>& records) {
  std::vector<std::int64_t> times;
  for (const Sample& record : records) times.push_back(record.time_ms);
  return times;
}

TEST(Series, IsReadInEitherDirectionUpToALimit) {
  const Series series = SeriesOf({10, 20, 40, 30, 50, 5});
  EXPECT_THAT(TimesOf(series.Copy({}, Direction::kForward, 3)), ElementsAre(5, 10, 20));
  EXPECT_THAT(TimesOf(series.Copy({}, Direction::kBackward, 3)), ElementsAre(50, 40, 30));
  EXPECT_THAT(TimesOf(series.Copy({10, 30}, Direction::kForward, 9)), ElementsAre(10, 20, 30));
  EXPECT_THAT(series.Times({11, 40}), ElementsAre(20, 30, 40));
  EXPECT_THAT(series.Times({11, 19}), IsEmpty());
  EXPECT_THAT(series.Copy({20, 10}, Direction::kForward, 9), IsEmpty());
  EXPECT_THAT(series.Times({20, 10}), IsEmpty());
}

TEST(Series, HasTheLastRecordOfATime) {
  const Series series = SeriesOf({10, 30, 30, 20, 20, 10});
  const auto records = series.Copy({}, Direction::kForward, 9);
  ASSERT_THAT(TimesOf(records), ElementsAre(10, 20, 30));
  EXPECT_EQ(records[0].value, Value(6.0));
  EXPECT_EQ(records[1].value, Value(5.0));
  EXPECT_EQ(records[2].value, Value(3.0));
  EXPECT_THAT(series.Times({}), ElementsAre(10, 20, 30));
}

// So many late ones that they are merged on the way, against a map.
TEST(Series, TellsTheSameAsAMap) {
  const Seed seed;
  std::mt19937 random(seed.value());
  for (const unsigned spread : {1U, 50U, 5000U}) {
    Series series;
    std::map<std::int64_t, Sample> expected;
    for (unsigned i = 0; i < 3000; ++i) {
      const Sample sample = Record(1, i / 2 + random() % spread, i).sample;
      series.Reserve(1);
      series.Put(sample);
      expected.insert_or_assign(sample.time_ms, sample);
    }
    std::vector<Sample> all;
    std::vector<std::int64_t> times;
    for (const auto& [time_ms, sample] : expected) {
      all.push_back(sample);
      times.push_back(time_ms);
    }
    EXPECT_EQ(series.Copy({}, Direction::kForward, SIZE_MAX), all);
    EXPECT_EQ(series.Times({}), times);
    std::ranges::reverse(all);
    EXPECT_EQ(series.Copy({}, Direction::kBackward, SIZE_MAX), all);
  }
}

}  // namespace
}  // namespace zervane::storage
