#include "engine/storage/series.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "tests/engine/storage/columns.h"
#include "tests/support/seed.h"

namespace zervane::storage {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void Put(Series& series, const SampleColumns& batch) {
  std::vector<std::uint32_t> which(batch.size());
  std::iota(which.begin(), which.end(), 0U);
  series.Reserve(batch, which);
  series.Put(batch, which);
}

SampleColumns Numbers(const std::vector<std::int64_t>& times) {
  SampleColumns columns;
  double value = 0;
  for (const std::int64_t time_ms : times) columns.Add(Record(1, time_ms, ++value).sample);
  return columns;  // the value tells which one came when
}

// One by one, or all at once.
std::vector<Series> SeriesOf(const std::vector<std::int64_t>& times) {
  std::vector<Series> both(2);
  const SampleColumns all = Numbers(times);
  Put(both[0], all);
  for (std::uint32_t at = 0; at < all.size(); ++at) {
    both[1].Reserve(all, {{at}});
    both[1].Put(all, {{at}});
  }
  return both;
}

std::vector<std::int64_t> Times(const Series& series, TimeRange range) {
  return TimesIn(series.Copy(range));
}

TEST(Series, IsReadAscendingUpToALimitFromEitherEnd) {
  for (const Series& series : SeriesOf({10, 20, 40, 30, 50, 5})) {
    EXPECT_THAT(TimesIn(series.Copy({}, Direction::kForward, 3)), ElementsAre(5, 10, 20));
    EXPECT_THAT(TimesIn(series.Copy({}, Direction::kBackward, 3)), ElementsAre(30, 40, 50));
    EXPECT_THAT(TimesIn(series.Copy({10, 30}, Direction::kForward, 9)), ElementsAre(10, 20, 30));
    EXPECT_THAT(Times(series, {11, 40}), ElementsAre(20, 30, 40));
    EXPECT_THAT(Times(series, {11, 19}), IsEmpty());
    EXPECT_THAT(Times(series, {20, 10}), IsEmpty());
    EXPECT_THAT(TimesIn(series.Copy({}, Direction::kForward, 0)), IsEmpty());
  }
}

TEST(Series, HasTheLastRecordOfATime) {
  for (const Series& series : SeriesOf({10, 30, 30, 20, 20, 10})) {
    const std::vector<Sample> records = SamplesIn(series.Copy({}));
    ASSERT_THAT(Times(series, {}), ElementsAre(10, 20, 30));
    EXPECT_EQ(records[0].value, Value(6.0));
    EXPECT_EQ(records[1].value, Value(5.0));
    EXPECT_EQ(records[2].value, Value(3.0));
  }
}

TEST(Series, TakesThoseOfABatchThatAreNamed) {
  Series series;
  const SampleColumns batch = Numbers({10, 20, 30, 40});
  const std::vector<std::uint32_t> which = {3, 1};
  series.Reserve(batch, which);
  series.Put(batch, which);
  EXPECT_THAT(Times(series, {}), ElementsAre(20, 40));
}

TEST(Series, ReservesNoMoreTheSecondTime) {
  Series series;
  const SampleColumns batch = Numbers({10, 30, 20});
  const std::vector<std::uint32_t> which = {0, 1, 2};
  for (int i = 0; i < 1000; ++i) series.Reserve(batch, which);
  series.Put(batch, which);
  EXPECT_THAT(Times(series, {}), ElementsAre(10, 20, 30));
}

Sample TextAt(std::int64_t time_ms, std::string text) {
  return {.time_ms = time_ms, .type = TagType::kString, .value = std::move(text)};
}

TEST(Series, KeepsTextsInOrderLateAndReplaced) {
  Series series;
  Put(series, ColumnsOf({TextAt(10, "a"), TextAt(20, ""), TextAt(30, std::string(500, 'c'))}));
  Put(series, ColumnsOf({TextAt(30, "replaced"), TextAt(15, "late"), TextAt(15, "later")}));
  EXPECT_EQ(SamplesIn(series.Copy({})), (std::vector{TextAt(10, "a"), TextAt(15, "later"),
                                                     TextAt(20, ""), TextAt(30, "replaced")}));
}

TEST(Series, HasItsRecordsInPlaceUnlessSomeCameLate) {
  Series series;
  SampleColumns merged;
  Put(series, Numbers({10, 20}));
  EXPECT_NE(series.All(&merged).samples, &merged);
  Put(series, Numbers({15}));
  const SampleRun all = series.All(&merged);
  EXPECT_EQ(all.samples, &merged);
  EXPECT_THAT(all.times(), ElementsAre(10, 15, 20));
}

// So many late ones that they are merged on the way, against a map.
TEST(Series, TellsTheSameAsAMap) {
  const Seed seed;
  std::mt19937 random(seed.value());
  for (const unsigned spread : {1U, 50U, 5000U}) {
    Series series;
    std::map<std::int64_t, Sample> expected;
    for (unsigned i = 0; i < 3000;) {
      std::vector<Sample> batch(1 + random() % 20);
      for (Sample& sample : batch) {
        sample = Record(1, i / 2 + random() % spread, i).sample;
        if (++i % 3 == 0) sample = TextAt(sample.time_ms, std::to_string(i));
        expected.insert_or_assign(sample.time_ms, sample);
      }
      Put(series, ColumnsOf(batch));
    }
    std::vector<Sample> all;
    for (const auto& [time_ms, sample] : expected) all.push_back(sample);
    EXPECT_EQ(SamplesIn(series.Copy({})), all);
    SampleColumns merged;
    const SampleRun run = series.All(&merged);
    EXPECT_EQ(SamplesIn(*run.samples, run.begin, run.end), all);
    const std::size_t some = all.size() / 3;
    EXPECT_EQ(SamplesIn(series.Copy({}, Direction::kForward, some)),
              std::vector(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(some)));
    EXPECT_EQ(SamplesIn(series.Copy({}, Direction::kBackward, some)),
              std::vector(all.end() - static_cast<std::ptrdiff_t>(some), all.end()));
  }
}

// ---- merging ----

std::vector<double> Merged(const std::vector<std::int64_t>& newer,
                           const std::vector<std::int64_t>& older) {
  const auto columns = [](const std::vector<std::int64_t>& times, double value) {
    SampleColumns samples;
    for (const std::int64_t time_ms : times) samples.Add(Record(1, time_ms, value).sample);
    return samples;
  };
  const SampleColumns a = columns(newer, 1);
  const SampleColumns b = columns(older, 0);
  SampleColumns merged;
  Merge(AllOf(a), AllOf(b), &merged);
  std::vector<double> told;  // ten times the time, and 1 for a newer one
  for (const Sample& sample : SamplesIn(merged)) {
    told.push_back(static_cast<double>(10 * sample.time_ms) + sample.value.float64());
  }
  return told;
}

TEST(Merge, TakesTheNewerOfEqualTimesAndAllOthers) {
  EXPECT_THAT(Merged({}, {}), IsEmpty());
  EXPECT_THAT(Merged({1, 2}, {}), ElementsAre(11, 21));
  EXPECT_THAT(Merged({}, {1, 2}), ElementsAre(10, 20));
  EXPECT_THAT(Merged({2}, {1, 2, 3}), ElementsAre(10, 21, 30));
  EXPECT_THAT(Merged({1, 2, 3}, {2}), ElementsAre(11, 21, 31));
  EXPECT_THAT(Merged({5, 6}, {1, 2}), ElementsAre(10, 20, 51, 61));
  EXPECT_THAT(Merged({1, 2}, {5, 6}), ElementsAre(11, 21, 50, 60));
  EXPECT_THAT(Merged({1, 3, 5}, {2, 3, 4, 5}), ElementsAre(11, 20, 31, 40, 51));
}

}  // namespace
}  // namespace zervane::storage
