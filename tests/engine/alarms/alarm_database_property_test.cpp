#include <gtest/gtest.h>
#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "engine/alarms/alarm_test.h"
#include "engine/alarms/source_value.h"
#include "tests/engine/alarms/alarm_database.h"
#include "tests/engine/alarms/oracle.h"
#include "tests/engine/storage/support.h"
#include "tests/engine/storage/temp_folder.h"
#include "tests/engine/test_disk.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

// Random values of random sources, judged by the whole database and by the oracle.
namespace zervane {
namespace {

using oracle::AlarmEvent;
using Kind = AlarmEvent::Kind;

constexpr std::size_t kAlarmsOfASource = 3;

class RandomSeries {
 public:
  RandomSeries(std::uint32_t seed, TagType type) : random_(seed), type_(type) {}

  std::int64_t Draw(std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random_);
  }
  bool Chance(int one_in) { return Draw(1, one_in) == 1; }

  // Few different numbers near few limits, so that much happens.
  Value RandomValue() {
    const std::int64_t number = Draw(-4, 4);
    if (type_ == TagType::kFloat64) return static_cast<double>(number) / 2;
    if (type_ == TagType::kFloat32) return static_cast<float>(number) / 2;
    if (IsText(type_)) return std::string(static_cast<std::size_t>(Draw(0, 2)), 'x');
    return static_cast<std::int32_t>(number);
  }

  Sample NextInOrder() {
    if (!Chance(5)) time_ms_ += Draw(1, 2'000);
    Sample sample = At(time_ms_);
    if (Chance(5)) {
      time_ms_ += 1;
      sample.time_ms = time_ms_;
      MakeBad(sample);
    } else {
      good_ms_ = time_ms_;
    }
    return sample;
  }
  Sample Late() { return At(good_ms_ - Draw(1, 3'000)); }

  std::vector<std::string> Tests() {
    std::vector<std::string> tests;
    for (std::size_t i = 0; i < kAlarmTests; ++i) tests.push_back(Chance(4) ? "" : Test());
    return tests;
  }

 private:
  Sample At(std::int64_t time_ms) {
    return {.time_ms = time_ms, .quality = ZR3_QUALITY_GOOD, .type = type_, .value = RandomValue()};
  }

  void MakeBad(Sample& sample) {
    const bool is_real = type_ == TagType::kFloat64 || type_ == TagType::kFloat32;
    if (is_real && Chance(2)) {
      const double number = Chance(2) ? std::nan("") : HUGE_VAL;
      sample.value = type_ == TagType::kFloat64 ? Value(number) : Value(static_cast<float>(number));
      return;
    }
    sample.quality = Chance(2) ? ZR3_QUALITY_BAD : ZR3_QUALITY_UNCERTAIN;
  }

  std::string Test() {
    const std::string priority = Chance(2) ? "" : fmt::format(" PRIORITY {}", Draw(1, 4));
    if (IsText(type_)) return "CHANGE" + priority;
    if (Chance(4)) return fmt::format("CHANGE {}{}", Draw(0, 3), priority);
    static constexpr const char* kTypes[] = {"LOLO", "LOW", "HIGH", "HIHI"};
    static constexpr const char* kComparisons[] = {">", ">=", "<", "<=", "=", "<>"};
    return fmt::format("{} {} {}{}", kTypes[Draw(0, 3)], kComparisons[Draw(0, 5)],
                       static_cast<double>(Draw(-3, 3)) / 2, priority);
  }

  std::mt19937_64 random_;
  const TagType type_;
  std::int64_t time_ms_ = 1'600'000'000'000;
  std::int64_t good_ms_ = time_ms_;
};

AlarmConditions ConditionsOf(const Tag& tag) {
  const auto& alarm = std::get<AlarmProperties>(tag.own);
  AlarmConditions conditions;
  const std::string* const texts[] = {&alarm.test1, &alarm.test2, &alarm.test3, &alarm.test4};
  for (std::size_t at = 0; at < kAlarmTests; ++at) {
    conditions.tests[at] = *ParseAlarmTest(*texts[at]);
  }
  conditions.time_dead_band_ms = std::int64_t{alarm.time_dead_band} * 1'000;
  conditions.value_dead_band = alarm.value_dead_band;
  return conditions;
}

std::string TextOf(std::int64_t start_ms, std::optional<std::int64_t> end_ms, std::int32_t type,
                   std::int32_t priority, const std::string& value) {
  const std::string end = end_ms ? std::to_string(*end_ms) : "";
  return fmt::format("{}-{} type {} priority {} '{}'", start_ms, end, type, priority, value);
}

std::vector<std::string> TextsOf(const std::vector<AlarmRecord>& records) {
  std::vector<std::string> texts;
  for (const AlarmRecord& record : records) {
    texts.push_back(TextOf(record.start_ms,
                           record.is_restored ? std::optional(record.end_ms) : std::nullopt,
                           record.type, record.priority, record.source_value));
  }
  return texts;
}

std::string ValueTextOf(const Sample& sample) {
  SampleColumns columns;
  columns.Add(sample);
  return SourceValueText(SourceValueAt(columns, 0));
}

// An alarm tag, and all that has happened to it. Its tests stay those that it was added with.
struct Watched {
  TagId id = 0;
  Tag tag;
  std::vector<AlarmEvent> events;

  std::vector<std::string> Expected() const {
    const AlarmConditions conditions = ConditionsOf(tag);
    std::vector<std::string> texts;
    for (const oracle::ExpectedAlarm& alarm : oracle::AlarmsOf(events)) {
      const AlarmTest& test = *conditions.tests[static_cast<std::size_t>(alarm.position)];
      texts.push_back(TextOf(alarm.start_ms, alarm.end_ms, test.type, test.priority,
                             ValueTextOf(alarm.source)));
    }
    return texts;
  }
};

std::string FirstDifference(std::vector<std::string> are, std::vector<std::string> expected) {
  const std::size_t size = std::max(are.size(), expected.size());
  are.resize(size);
  expected.resize(size);
  const auto [one, other] = std::ranges::mismatch(are, expected);
  return one == are.end() ? "" : fmt::format("{}, not {}", *one, *other);
}

enum class On : std::uint8_t { kMemory, kSqlite };

class AlarmsOfDatabase : public testing::TestWithParam<std::tuple<On, TagType>> {
 protected:
  AlarmsOfDatabase() {
    if (std::get<0>(GetParam()) == On::kMemory) {
      database_.emplace([this] { return disk_->Open(disk_); });
    } else {
      database_.emplace([this] { return storage::MustOpen(folder_); });
    }
  }

  void AddAlarms(RandomSeries& series) {
    for (std::size_t i = 0; i < kAlarmsOfASource; ++i) {
      Watched watched;
      watched.tag = AlarmTagOf(fmt::format("ALARM{}", i), "SOURCE", series.Tests());
      auto& alarm = std::get<AlarmProperties>(watched.tag.own);
      alarm.time_dead_band = static_cast<std::int32_t>(series.Chance(2) ? 0 : series.Draw(1, 4));
      alarm.value_dead_band = static_cast<float>(series.Chance(2) ? 0 : series.Draw(1, 2));
      watched.id = database_->Add(watched.tag);
      watched_.push_back(std::move(watched));
      Note(watched_.back(), Kind::kSaved);
    }
  }

  void Note(Watched& watched, Kind kind, const Sample& sample = {}) {
    watched.events.push_back({.kind = kind,
                              .clock_ms = database_->now_ms(),
                              .sample = sample,
                              .conditions = ConditionsOf(watched.tag)});
  }
  void NoteAll(Kind kind, const Sample& sample = {}) {
    for (Watched& watched : watched_) Note(watched, kind, sample);
  }

  void Step(RandomSeries& series) {
    database_->SetClock(database_->now_ms() + series.Draw(0, 1'500));
    switch (series.Draw(1, 12)) {
      case 1:
        database_->Work();
        return NoteAll(Kind::kSilence);
      case 2: {
        const Sample late = series.Late();
        database_->Write({{source_, late}}, WriteOrder::kAnyOrder);
        return NoteAll(Kind::kValue, late);
      }
      case 3:
        if (series.Chance(3)) Reopen(series);
        return;
      case 4:
        return SaveAgain(series, watched_[static_cast<std::size_t>(series.Draw(0, 2))]);
      default:
        return WriteSome(series);
    }
  }

  // The same, or with another dead band.
  void SaveAgain(RandomSeries& series, Watched& watched) {
    auto& alarm = std::get<AlarmProperties>(watched.tag.own);
    if (series.Chance(3)) alarm.time_dead_band = static_cast<std::int32_t>(series.Draw(0, 4));
    if (series.Chance(3)) alarm.value_dead_band = static_cast<float>(series.Draw(0, 2));
    const Status status = database_->Modify(watched.id, watched.tag);
    EXPECT_TRUE(status.ok()) << status.message();
    Note(watched, Kind::kSaved);
  }

  void WriteSome(RandomSeries& series) {
    std::vector<TagSample> batch(static_cast<std::size_t>(series.Draw(1, 4)));
    for (TagSample& record : batch) record = {source_, series.NextInOrder()};
    database_->Write(batch, WriteOrder::kInOrder);
    for (const TagSample& record : batch) NoteAll(Kind::kValue, record.sample);
  }

  // Closed, or as the machine would leave it that stops.
  void Reopen(RandomSeries& series) {
    if (std::get<0>(GetParam()) == On::kSqlite && series.Chance(2)) {
      const auto copy = std::filesystem::path(temp_.path()) / std::to_string(++copies_);
      std::filesystem::create_directory(copy);
      storage::CopyAsAfterCrash(folder_, copy);
      folder_ = copy;
    }
    database_->Reopen();
    NoteAll(Kind::kReopened);
  }

  void ExpectWhatTheOracleSays() {
    for (const Watched& watched : watched_) {
      const std::vector<std::string> expected = watched.Expected();
      EXPECT_EQ(FirstDifference(TextsOf(database_->Records(watched.id)), expected), "");
      records_ += expected.size();
    }
  }

  void DeleteAll() {
    for (const Watched& watched : watched_) {
      EXPECT_TRUE(database_->Do(DeleteTag{.id = watched.id}).ok());
    }
    EXPECT_TRUE(database_->Do(DeleteTag{.id = source_}).ok());
    watched_.clear();
  }

  const Seed seed_;
  const std::shared_ptr<TestDisk> disk_ = std::make_shared<TestDisk>();
  const storage::TempFolder temp_;
  std::filesystem::path folder_ = temp_.path() / "0";
  int copies_ = 0;
  std::optional<AlarmDatabase> database_;
  TagId source_ = 0;
  std::vector<Watched> watched_;
  std::size_t records_ = 0;
};

TEST_P(AlarmsOfDatabase, AreThoseThatAPlainSearchFindsInWhatWasAccepted) {
  const auto [on, type] = GetParam();
  const int rounds = on == On::kMemory ? 10 : 6;
  RandomSeries series(seed_.value(), type);
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    source_ = database_->AddPoint("SOURCE", type);
    AddAlarms(series);
    for (int step = 0; step < 60; ++step) Step(series);
    ExpectWhatTheOracleSays();
    DeleteAll();
  }
  EXPECT_GT(records_, 0U);
}

INSTANTIATE_TEST_SUITE_P(OnStores, AlarmsOfDatabase,
                         testing::Combine(testing::Values(On::kMemory, On::kSqlite),
                                          testing::Values(TagType::kInt8, TagType::kInt16,
                                                          TagType::kInt32, TagType::kFloat32,
                                                          TagType::kFloat64, TagType::kDigital,
                                                          TagType::kString, TagType::kBlob)),
                         [](const auto& one) {
                           return fmt::format(
                               "{}{}", std::get<0>(one.param) == On::kMemory ? "Memory" : "Sqlite",
                               static_cast<int>(std::get<1>(one.param)));
                         });

}  // namespace
}  // namespace zervane
