#include "engine/storage/run_statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "api/words/samples.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr std::uint16_t kGood = 192;
constexpr std::uint16_t kUncertain = 64;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Point {
  std::int64_t time_ms;
  double value;
  std::uint16_t quality = kGood;
};

SampleColumns Columns(const std::vector<Point>& points, TagType type = TagType::kFloat64) {
  SampleColumns columns;
  for (const Point& point : points) {
    const std::uint64_t bits = type == TagType::kFloat64 ? BitsOf(Value(point.value))
                               : type == TagType::kFloat32
                                   ? BitsOf(Value(static_cast<float>(point.value)))
                                   : BitsOf(Value(static_cast<std::int32_t>(point.value)));
    columns.AddNumber(point.time_ms, point.quality, type, bits);
  }
  return columns;
}

// ---- worked examples ----

struct Example {
  const char* name;
  TagType type;
  std::vector<Point> points;
  std::int64_t good;
  double least;
  double greatest;
  double sum;
  double mean;
  double squares;
  std::int64_t good_ms;
  double area;
};

const Example kExamples[] = {
    {"OneRecord", TagType::kFloat64, {{10, 7}}, 1, 7, 7, 7, 7, 0, 0, 0},
    {"ALine", TagType::kFloat64, {{0, 0}, {10, 10}}, 2, 0, 10, 10, 5, 50, 10, 50},
    {"AStep",
     TagType::kDigital,
     {{0, 0}, {10, 10}, {30, 1}},
     3,
     0,
     10,
     11,
     11 / 3.,
     182 / 3.,
     30,
     200},
    {"WholeNumbers", TagType::kInt16, {{0, -4}, {2, 4}}, 2, -4, 4, 0, 0, 32, 2, 0},
    {"SingleFloats", TagType::kFloat32, {{0, 0.5}, {2, 1.5}}, 2, 0.5, 1.5, 2, 1, 0.5, 2, 2},
    {"ALineStaysBeforeABadRecord",
     TagType::kFloat64,
     {{0, 4}, {10, 8, 0}, {15, 6}, {20, 8}},
     3,
     4,
     8,
     18,
     6,
     8,
     15,
     75},
    {"UncertainIsBad",
     TagType::kFloat64,
     {{0, 4}, {10, 8, kUncertain}, {15, 6}},
     2,
     4,
     6,
     10,
     5,
     2,
     10,
     40},
    {"WhatIsNotFiniteIsBad",
     TagType::kFloat64,
     {{0, 4}, {5, kNaN}, {9, 6}, {10, kInfinity}},
     2,
     4,
     6,
     10,
     5,
     2,
     6,
     26},
    {"AllBad", TagType::kFloat64, {{0, 4, 0}, {5, kNaN}}, 0, 0, 0, 0, 0, 0, 0, 0},
    {"FirstBad",
     TagType::kFloat64,
     {{0, 1e200, 0}, {5, 1e200}, {7, 1e200}},
     2,
     1e200,
     1e200,
     2e200,
     1e200,
     0,
     2,
     2e200},
};

class StatisticsOfRecords : public testing::TestWithParam<Example> {};

INSTANTIATE_TEST_SUITE_P(Of, StatisticsOfRecords, testing::ValuesIn(kExamples), CaseName());

void ExpectExample(const RunStatistics& run, const Example& example) {
  EXPECT_EQ(run.first_ms, example.points.front().time_ms);
  EXPECT_EQ(run.last_ms, example.points.back().time_ms);
  EXPECT_EQ(run.count, std::ssize(example.points));
  EXPECT_EQ(run.course, CourseOf(example.type));
  EXPECT_EQ(run.good, example.good);
  EXPECT_EQ(run.least, example.least);
  EXPECT_EQ(run.greatest, example.greatest);
  EXPECT_DOUBLE_EQ(run.sum.Value(), example.sum);
  EXPECT_DOUBLE_EQ(run.mean, example.mean);
  EXPECT_NEAR(run.squares, example.squares, 1e-12 * example.squares);
  EXPECT_EQ(run.good_ms, example.good_ms);
  EXPECT_DOUBLE_EQ(run.area.Value(), example.area);
}

TEST_P(StatisticsOfRecords, AreThoseOfTheExample) {
  const SampleColumns columns = Columns(GetParam().points, GetParam().type);
  ExpectExample(StatisticsOf(columns, 0, columns.size()), GetParam());
}

TEST_P(StatisticsOfRecords, AreTheSameWhenOneRecordAtATimeIsAppended) {
  const SampleColumns columns = Columns(GetParam().points, GetParam().type);
  RunStatistics run = StatisticsOf(columns, 0, 1);
  for (std::size_t at = 1; at < columns.size(); ++at) {
    Append(run, StatisticsOf(columns, at, at + 1));
  }
  ExpectExample(run, GetParam());
}

TEST(RunStatistics, TellTheFirstAndTheLastGoodRecord) {
  const SampleColumns columns = Columns({{1, 1, 0}, {2, 2}, {3, 3}, {4, kNaN}, {5, 5}, {6, 6, 0}});
  const RunStatistics all = StatisticsOf(columns, 0, 6);
  EXPECT_EQ(all.first_good.time_ms, 2);
  EXPECT_EQ(all.first_good.value, 2);
  EXPECT_EQ(all.last_good.time_ms, 5);
  EXPECT_EQ(all.last_good.value, 5);
  EXPECT_FALSE(all.IsFirstGood() || all.IsLastGood());
  const RunStatistics inner = StatisticsOf(columns, 1, 5);
  EXPECT_TRUE(inner.IsFirstGood() && inner.IsLastGood());
  const RunStatistics bad = StatisticsOf(columns, 0, 1);
  EXPECT_FALSE(bad.IsFirstGood() || bad.IsLastGood());
}

TEST(RunStatistics, OfTextsAreTheirNumberTheirQualityAndTheirTime) {
  SampleColumns columns;
  columns.AddText(10, kGood, TagType::kString, "open");
  columns.AddText(30, kGood, TagType::kString, "7");
  columns.AddText(70, 0, TagType::kString, "");
  columns.AddText(90, kGood, TagType::kString, "shut");
  RunStatistics run = StatisticsOf(columns, 0, 2);
  Append(run, StatisticsOf(columns, 2, 4));
  for (const RunStatistics& texts : {run, StatisticsOf(columns, 0, 4)}) {
    EXPECT_EQ(texts.course, Course::kNone);
    EXPECT_EQ(texts.count, 4);
    EXPECT_EQ(texts.good, 3);
    EXPECT_EQ(texts.good_ms, 60);
    EXPECT_EQ(texts.last_good.time_ms, 90);
    EXPECT_EQ(texts.greatest, 0);
    EXPECT_EQ(texts.sum.Value(), 0);
    EXPECT_EQ(texts.area.Value(), 0);
  }
}

// The deviation of a measurement that stands still is 0, not what its mean was rounded by.
TEST(RunStatistics, OfEqualValuesHaveNoSquares) {
  std::vector<Point> points;
  for (int i = 0; i < 1000; ++i) points.push_back({i, 0.1});
  const SampleColumns columns = Columns(points);
  const RunStatistics run = StatisticsOf(columns, 0, columns.size());
  EXPECT_EQ(run.squares, 0);
  EXPECT_EQ(run.mean, 0.1);
}

TEST(RunStatistics, KeepWhatPlainSumsWouldLose) {
  std::vector<Point> points{{0, 1e16}};
  for (int i = 1; i <= 600; ++i) points.push_back({i, 1});
  points.push_back({601, -1e16});
  const SampleColumns columns = Columns(points);
  EXPECT_EQ(StatisticsOf(columns, 0, columns.size()).sum.Value(), 600);
}

TEST(RunStatistics, OfAnOverflowingSumStillTellTheRest) {
  const double most = std::numeric_limits<double>::max();
  const SampleColumns columns = Columns({{0, most}, {1, most}, {2, -most}, {3, 1}});
  const RunStatistics run = StatisticsOf(columns, 0, 4);
  EXPECT_EQ(run.good, 4);
  EXPECT_EQ(run.least, -most);
  EXPECT_EQ(run.greatest, most);
  EXPECT_EQ(run.last_good.value, 1);
  EXPECT_EQ(run.good_ms, 3);
}

// ---- against a plain calculation ----

struct Plain {
  std::int64_t good = 0;
  long double sum = 0;
  long double magnitude = 0;  // of all that was added
  long double squares = 0;
  double least = kInfinity;
  double greatest = -kInfinity;
  std::int64_t good_ms = 0;
  long double area = 0;
  long double area_magnitude = 0;
};

Plain PlainStatistics(const SampleColumns& columns) {
  Plain plain;
  std::vector<long double> values;
  const auto is_good = [&](std::size_t at) {
    return (columns.qualities()[at] & 0xC0) == 0xC0 && std::isfinite(NumberAt(columns, at));
  };
  for (std::size_t at = 0; at < columns.size(); ++at) {
    if (!is_good(at)) continue;
    const double value = NumberAt(columns, at);
    values.push_back(value);
    plain.sum += value;
    plain.magnitude += std::abs(value);
    plain.least = std::min(plain.least, value);
    plain.greatest = std::max(plain.greatest, value);
    if (at + 1 == columns.size()) continue;
    const std::int64_t length_ms = columns.times()[at + 1] - columns.times()[at];
    const bool is_line = CourseOf(columns.types()[at]) == Course::kLine && is_good(at + 1);
    const long double next = is_line ? NumberAt(columns, at + 1) : value;
    plain.good_ms += length_ms;
    plain.area += (value + next) / 2 * static_cast<long double>(length_ms);
    plain.area_magnitude +=
        (std::abs(value) + std::abs(next)) / 2 * static_cast<long double>(length_ms);
  }
  plain.good = std::ssize(values);
  if (values.empty()) {
    plain.least = plain.greatest = 0;
    return plain;
  }
  const long double mean = plain.sum / static_cast<long double>(values.size());
  for (const long double value : values) plain.squares += (value - mean) * (value - mean);
  return plain;
}

// Random records, most of them good. About one series in three has nothing but good ones.
SampleColumns RandomColumns(std::mt19937& random, TagType type, std::size_t count) {
  std::uniform_int_distribution<int> percent(0, 99);
  const bool has_bad = percent(random) < 66;
  const double offset = percent(random) < 50 ? 0 : 1000;
  std::uniform_real_distribution<double> numbers(-100, 100);
  std::vector<Point> points;
  std::int64_t time_ms = 1'000'000'000'000;
  for (std::size_t i = 0; i < count; ++i) {
    time_ms += std::uniform_int_distribution<int>(1, 5000)(random);
    Point point{time_ms, offset + numbers(random)};
    if (has_bad && percent(random) < 10) point.quality = percent(random) < 50 ? 0 : kUncertain;
    if (has_bad && percent(random) < 3 && type == TagType::kFloat64) point.value = kNaN;
    points.push_back(point);
  }
  return Columns(points, type);
}

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

void ExpectPlain(const RunStatistics& run, const Plain& plain) {
  EXPECT_EQ(run.good, plain.good);
  EXPECT_EQ(run.least, plain.least);
  EXPECT_EQ(run.greatest, plain.greatest);
  EXPECT_EQ(run.good_ms, plain.good_ms);
  // A sum is compensated: all that is lost is that it is rounded once, or each area when it is
  // made.
  const auto sum_error =
      static_cast<double>(2 * kEpsilon * std::abs(plain.sum) + kEpsilon / 100 * plain.magnitude);
  EXPECT_NEAR(run.sum.Value(), static_cast<double>(plain.sum), sum_error);
  EXPECT_NEAR(run.area.Value(), static_cast<double>(plain.area),
              static_cast<double>(2 * kEpsilon * plain.area_magnitude));
  EXPECT_NEAR(run.squares, static_cast<double>(plain.squares),
              static_cast<double>(1e-11 * plain.squares));
  if (plain.good == 0) return;
  const long double mean = plain.sum / static_cast<long double>(plain.good);
  const long double magnitude = plain.magnitude / static_cast<long double>(plain.good);
  EXPECT_NEAR(run.mean, static_cast<double>(mean), static_cast<double>(1e-12 * magnitude));
}

// In one go, and appended at random cuts.
TEST(RunStatistics, AreThoseOfAPlainCalculationHoweverTheyAreCut) {
  const Seed seed;
  std::mt19937 random(seed.value());
  constexpr TagType kTypes[] = {TagType::kFloat64, TagType::kFloat32, TagType::kInt32,
                                TagType::kDigital};
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
    const std::size_t count = std::uniform_int_distribution<std::size_t>(1, 1500)(random);
    const SampleColumns columns = RandomColumns(random, kTypes[round % std::size(kTypes)], count);
    const Plain plain = PlainStatistics(columns);
    ExpectPlain(StatisticsOf(columns, 0, count), plain);
    std::optional<RunStatistics> appended;
    for (std::size_t from = 0; from < count;) {
      const std::size_t to =
          std::min(count, from + std::uniform_int_distribution<std::size_t>(1, 400)(random));
      const RunStatistics piece = StatisticsOf(columns, from, to);
      if (appended) {
        Append(*appended, piece);
      } else {
        appended = piece;
      }
      from = to;
    }
    ExpectPlain(*appended, plain);
    EXPECT_EQ(appended->first_ms, columns.times().front());
    EXPECT_EQ(appended->last_ms, columns.times().back());
    EXPECT_EQ(appended->count, std::ssize(columns.times()));
  }
}

}  // namespace
}  // namespace zervane
