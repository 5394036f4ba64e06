#include <gtest/gtest.h>
#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/derived/statistics_tags/statistics_rule.h"
#include "tests/engine/derived/statistics_tags/plain_tag.h"
#include "tests/engine/derived/statistics_tags/statistics_database.h"
#include "tests/engine/history/random_requests.h"
#include "tests/support/seed.h"
#include "tests/support/time_zone.h"

// Random tags, computed by the whole database, and by a plain list of windows and the plain
// calculation of statistics.
namespace zervane {
namespace {

using Database = StatisticsDatabase;

constexpr int kSteps = 60;

class RandomStatistics {
 public:
  explicit RandomStatistics(std::uint32_t seed) : random_(seed) {
    source_ = database_.AddPoint("source");
    texts_ = database_.AddPoint("texts", TagType::kString);
    for (int i = 0; i < 6; ++i) AddTag();
  }

  void Step() {
    switch (Draw(0, 9)) {
      case 0:
        return Reopen();
      case 1:
        return tags_.size() < 12 ? AddTag() : ChangeTag();
      case 2:
        return ChangeTag();
      case 3:
      case 4:
      case 5:
        return Work();
      default:
        return Write();
    }
  }

  void Work() {
    if (Chance(60)) {
      now_ms_ += Draw(1, 20) * kPlainDayMs;
    } else if (Chance(12)) {
      now_ms_ -= Draw(1, 7'200) * 1000;  // the clock is put back
    } else {
      now_ms_ += Draw(1, Chance(4) ? 100'000 : 4'000) * 1000;
    }
    SetClock();
    database_.Work();
    for (PlainTag& tag : tags_) Compute(tag);
  }

  void ExpectTheSame() {
    for (const PlainTag& tag : tags_) ExpectTheSame(tag);
  }

 private:
  std::int64_t Draw(std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random_);
  }
  bool Chance(int one_in) { return Draw(1, one_in) == 1; }
  void SetClock() { database_.SetClock((now_ms_ - Database::kStart) / 1000); }

  std::int32_t TypeFor(bool is_of_texts) {
    constexpr std::int32_t kOfTexts[] = {ZR3_STATS_TYPE_COUNT, ZR3_STATS_TYPE_COUNT_CHG_VALUE,
                                         ZR3_STATS_TYPE_PCT_GOOD, ZR3_STATS_TYPE_TIME_DURATION};
    return is_of_texts ? kOfTexts[Draw(0, 3)] : static_cast<std::int32_t>(Draw(0, 25));
  }

  static double ParameterOf(std::int64_t eighths) { return static_cast<double>(eighths) / 8; }

  void DrawWindows(StatisticsProperties* drawn) {
    StatisticsProperties& properties = *drawn;
    constexpr std::int32_t kModes[] = {
        ZR3_STATS_SAMPLE_MODE_INTERVAL, ZR3_STATS_SAMPLE_MODE_EVERY_DAY,
        ZR3_STATS_SAMPLE_MODE_EVERY_MONTH, ZR3_STATS_SAMPLE_MODE_TIME_MOVING,
        ZR3_STATS_SAMPLE_MODE_FOREVER};
    properties.sample_mode = kModes[Draw(0, 4)];
    // Mostly about the day on which it begins, the fourteenth.
    const auto day = [&] {
      return static_cast<std::uint8_t>(Chance(4) ? Draw(1, 31) : Draw(11, 18));
    };
    properties.sample_month_begin_day = day();
    properties.sample_month_end_day = day();
    const auto start_s = Database::kStart / 1000 - Draw(0, 200'000);
    properties.sample_start_date = static_cast<std::int32_t>(Chance(3) ? 0 : start_s);
    properties.sample_interval = static_cast<std::int32_t>(Draw(900, 9'000));
    properties.calc_period = static_cast<std::int32_t>(Draw(900, 9'000));
    properties.sample_begin_offset = static_cast<std::int32_t>(Draw(0, 23) * 3600);
    properties.sample_end_offset = static_cast<std::int32_t>(Draw(0, 24) * 3600);
    properties.scan_period = static_cast<std::int32_t>(Chance(2) ? 0 : Draw(1, 3'000));
  }

  void DrawCalculation(PlainTag* drawn) {
    PlainTag& tag = *drawn;
    StatisticsProperties& properties = tag.properties;
    properties.pct_good = Chance(3) ? static_cast<float>(Draw(0, 100)) : 0;
    tag.filter = Chance(3) ? static_cast<std::size_t>(Draw(1, 4)) : 0;
    properties.filter_fail_mode = static_cast<std::int32_t>(Draw(0, 1));
    properties.drop_bad_mode = static_cast<std::int32_t>(Draw(0, 1));
    properties.use_bad_value = Chance(4);
    properties.sample_type = static_cast<std::int32_t>(Chance(3) ? Draw(1, 2) : 0);
    if (tag.is_of_texts && properties.sample_type == ZR3_STATS_SAMPLE_TYPE_LINER_INTERP) {
      properties.sample_type = ZR3_STATS_SAMPLE_TYPE_PREV_INTERP;
    }
    properties.interp_period = static_cast<std::int32_t>(Draw(60, 700));
    // Not where a value on a line may lie just beside the filter's limit.
    const bool has_lines = properties.sample_type == ZR3_STATS_SAMPLE_TYPE_LINER_INTERP;
    if (has_lines && tag.filter != 0) tag.filter = static_cast<std::size_t>(Draw(2, 3));
    properties.filter_expr = kFilters[tag.filter].text;
    properties.count_param1 = ParameterOf(Draw(-8, 8)) + 0.0123;
    properties.count_param2 = properties.count_param1 + ParameterOf(Draw(0, 12));
    properties.conversion = Chance(3) ? ParameterOf(Draw(1, 30)) : 0;
    properties.conversion_type = static_cast<std::int32_t>(Draw(0, 1));
  }

  void AddTag() {
    PlainTag tag;
    StatisticsProperties& properties = tag.properties;
    tag.is_of_texts = Chance(4);
    properties.source_tag = tag.is_of_texts ? "texts" : "source";
    properties.stats_type = TypeFor(tag.is_of_texts);
    DrawWindows(&properties);
    DrawCalculation(&tag);
    tag.type = Chance(4) ? TagType::kInt32 : TagType::kFloat64;
    const std::string name = fmt::format("statistic {}", tags_.size());
    tag.id = database_.Add(Database::TagOf(properties, name, tag.type));
    tag.known_ms = now_ms_;
    FindStart(tag);
    tags_.push_back(tag);
  }

  void ChangeTag() {
    PlainTag& tag = tags_[static_cast<std::size_t>(Draw(0, static_cast<int>(tags_.size()) - 1))];
    const bool is_forever = tag.properties.sample_mode == ZR3_STATS_SAMPLE_MODE_FOREVER;
    const bool starts_anew = is_forever && Chance(2);
    StatisticsProperties properties = tag.properties;
    properties.reset = starts_anew;
    if (!starts_anew) properties.stats_type = TypeFor(tag.is_of_texts);
    const bool changes = starts_anew || properties.stats_type != tag.properties.stats_type;
    const auto bit = [](std::int32_t column) {
      return std::int64_t{1} << (column - ZR3_TAG_COL_ST_EXT_PROP_MIN);
    };
    const PropertyMask mask = {
        .common = 0,
        .extension = bit(ZR3_TAG_COL_ST_EXT_PROP_STATS_TYPE) | bit(ZR3_TAG_COL_ST_EXT_PROP_RESET)};
    ASSERT_EQ(database_.Save(tag.id, properties, mask), ZR3_OK);
    if (!changes) return;
    tag.properties.stats_type = properties.stats_type;
    tag.late.clear();
    tag.late_running.clear();
    if (starts_anew) {
      tag.start_ms = now_ms_;
      tag.until_ms = now_ms_;
    }
    tag.from_ms = tag.until_ms;
    tag.computed_ms = tag.until_ms;
    tag.known_ms = now_ms_;
    PassOver(tag);
  }

  void Write() {
    const bool are_texts = Chance(3);
    std::vector<TagSample> records;
    for (std::int64_t count = Draw(1, 12); count > 0; --count) {
      const bool is_old = Chance(3);
      const std::int64_t at_s =
          (now_ms_ - Database::kStart) / 1000 - Draw(0, is_old ? 150'000 : 3'000);
      const std::uint16_t quality = Chance(5) ? 0 : 192;
      Sample sample = Database::At(at_s, ParameterOf(Draw(-16, 16)), quality);
      if (are_texts) {
        sample.type = TagType::kString;
        sample.value = Value(Draw(0, 1) == 0 ? "off" : "on");
      }
      records.push_back({are_texts ? texts_ : source_, sample});
    }
    database_.Write(records);
    for (const TagSample& record : records) {
      (are_texts ? text_points_ : points_)[record.sample.time_ms] = record.sample;
      for (PlainTag& tag : tags_) {
        if (tag.is_of_texts == are_texts) NoteLate(tag, record.sample.time_ms);
      }
    }
  }

  void Reopen() {
    database_.Close();
    now_ms_ += Draw(1, Chance(4) ? 100'000 : 4'000) * 1000;
    SetClock();
    database_.Open();
    for (PlainTag& tag : tags_) {
      tag.known_ms = now_ms_;
      tag.until_ms = tag.computed_ms;
      PassOver(tag);
    }
    database_.Work();
    for (PlainTag& tag : tags_) Compute(tag);
  }

  static void PassOver(PlainTag& tag) {
    if (!tag.start_ms || !tag.known_ms) return;
    const std::int64_t scan_ms = std::int64_t{tag.properties.scan_period} * 1000;
    const std::vector<Window> missed = tag.WindowsUpTo(*tag.known_ms - scan_ms);
    tag.known_ms.reset();
    if (!tag.IsRunning() || missed.size() < 2) return;
    tag.until_ms = std::max(tag.until_ms, missed[missed.size() - 2].end_ms);
  }

  // A record comes into windows that are computed; of running ones the latest counts.
  static void NoteLate(PlainTag& tag, std::int64_t time_ms) {
    if (!tag.start_ms || time_ms >= tag.computed_ms) return;
    if (!tag.IsRunning()) return tag.late.push_back(time_ms);
    const std::vector<Window> done = tag.WindowsUpTo(tag.computed_ms);
    if (done.empty() || done.back().end_ms <= tag.from_ms) return;
    if (done.back().Contains(time_ms)) tag.late_running.push_back(done.back());
  }

  void FindStart(PlainTag& tag) const {
    if (tag.start_ms) return;
    if (tag.properties.sample_start_date != 0) {
      tag.start_ms = std::int64_t{tag.properties.sample_start_date} * 1000;
    } else if (!PointsOf(tag).empty() && is_working_) {
      tag.start_ms = PointsOf(tag).begin()->first / 1000 * 1000;
    }
    PassOver(tag);
  }

  void Compute(PlainTag& tag) {
    is_working_ = true;
    FindStart(tag);
    is_working_ = false;
    if (!tag.start_ms) return;
    const std::int64_t scan_ms = std::int64_t{tag.properties.scan_period} * 1000;
    for (const Window& window : tag.late_running) ComputeWindow(tag, window);
    tag.late_running.clear();
    for (const Window& window : tag.WindowsUpTo(tag.computed_ms)) {
      if (window.end_ms <= tag.from_ms) continue;
      if (std::ranges::any_of(tag.late, [&](auto time_ms) { return window.Contains(time_ms); })) {
        ComputeWindow(tag, window);
      }
    }
    tag.late.clear();
    for (const Window& window : tag.WindowsUpTo(now_ms_ - scan_ms)) {
      if (window.end_ms <= tag.until_ms) continue;
      ComputeWindow(tag, window);
      tag.until_ms = window.end_ms;
      tag.computed_ms = window.end_ms;
    }
  }

  const std::map<std::int64_t, Sample>& PointsOf(const PlainTag& tag) const {
    return tag.is_of_texts ? text_points_ : points_;
  }

  void ComputeWindow(PlainTag& tag, const Window& window) {
    const std::map<std::int64_t, Sample>& points = PointsOf(tag);
    const TagType type = tag.is_of_texts ? TagType::kString : TagType::kFloat64;
    std::vector<Sample> all;
    for (const auto& [time_ms, sample] : points) all.push_back(sample);
    const std::int64_t last_ms = points.empty() ? kNoTime : points.rbegin()->first;
    const std::int64_t known_until_ms = std::max(now_ms_, last_ms);
    const StatisticRequest request = RequestFor(tag.properties, window);
    StatisticRequest share = request;
    share.type = StatisticType::kPercentGood;
    share.source = SampleSource::kRecords;
    share.filter.clear();
    const double percent = oracle::StatisticOf(all, type, share, {}, known_until_ms).number;
    const bool is_of_time =
        request.type == StatisticType::kPercentGood || request.type == StatisticType::kTimeDuration;
    std::vector<Sample> used = all;
    if (tag.properties.drop_bad_mode == ZR3_STATS_DROP_BAD_MODE_REC && !is_of_time &&
        !tag.properties.use_bad_value) {
      std::erase_if(used, [](const Sample& sample) { return sample.quality != 192; });
    }
    const oracle::Answer answer =
        oracle::StatisticOf(used, type, request, kFilters[tag.filter].filter, known_until_ms);
    ExpectedStatistic& expected = tag.records[window.end_ms];
    expected = {};
    if (answer.code != ZR3_OK) return;
    double number = answer.number;
    const double factor = tag.properties.conversion;
    const bool divides = tag.properties.conversion_type == ZR3_STATS_CONVERSION_TYPE_MINIFICATION;
    if (factor != 0) number = divides ? number / factor : number * factor;
    expected.number = number;
    expected.is_good = request.type == StatisticType::kPercentGood ||
                       static_cast<float>(percent) >= tag.properties.pct_good;
  }

  void ExpectTheSame(const PlainTag& tag) {
    const std::vector<Sample> records = database_.RecordsOf(tag.id);
    const std::string what =
        fmt::format("tag {}, mode {}, type {}, sample type {}", tag.id, tag.properties.sample_mode,
                    tag.properties.stats_type, tag.properties.sample_type);
    ASSERT_EQ(records.size(), tag.records.size()) << what;
    std::size_t at = 0;
    for (const auto& [time_ms, expected] : tag.records) {
      const Sample& sample = records[at++];
      ASSERT_EQ(sample.time_ms, time_ms) << what;
      const double number = Database::NumberIn(sample);
      const bool is_whole = tag.type == TagType::kInt32;
      ASSERT_EQ(sample.quality, expected.is_good ? 192 : 0) << what << " at " << time_ms;
      if (!expected.number) continue;
      const double wanted = is_whole ? std::round(*expected.number) : *expected.number;
      // A sum that is rounded in another order may be on the other side of a half.
      const double half = std::abs(std::abs(*expected.number - std::trunc(*expected.number)) - 0.5);
      const double slack = is_whole && half < 1e-6 ? 1 : 1e-9 * (1 + std::abs(wanted));
      ASSERT_NEAR(number, wanted, slack) << what << " at " << time_ms;
    }
  }

  std::mt19937 random_;
  Database database_;
  TagId source_ = 0;
  TagId texts_ = 0;
  std::int64_t now_ms_ = Database::kStart;
  std::vector<PlainTag> tags_;
  std::map<std::int64_t, Sample> points_;
  std::map<std::int64_t, Sample> text_points_;
  bool is_working_ = false;
};

TEST(StatisticsOfRandomTags, AreThoseOfAPlainListOfWindows) {
  const ScopedTimeZone zone("UTC");
  const Seed seed;
  for (std::uint32_t run = 0; run < 6; ++run) {
    SCOPED_TRACE(run);
    RandomStatistics statistics(seed.value() + run);
    for (int step = 0; step < kSteps && !testing::Test::HasFatalFailure(); ++step) {
      statistics.Step();
    }
    statistics.Work();
    statistics.ExpectTheSame();
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace
}  // namespace zervane
