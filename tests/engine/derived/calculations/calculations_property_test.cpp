#include <gtest/gtest.h>
#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tests/engine/derived/calculations/calculation_database.h"
#include "tests/engine/derived/calculations/calculation_oracle.h"
#include "tests/support/seed.h"

// Random tags that read each other, computed by the whole database and by the oracle.
namespace zervane {
namespace {

using Database = CalculationDatabase;
using Oracle = CalculationOracle;

constexpr int kSteps = 150;

class RandomPlant {
 public:
  explicit RandomPlant(std::uint32_t seed) : random_(seed), oracle_(Database::kStart) {
    for (int i = 0; i < 4; ++i) AddPoint();
    for (int i = 0; i < 6; ++i) AddCalculation();
  }

  void Step() {
    switch (Draw(0, 11)) {
      case 0:
        return AddCalculation();
      case 1:
        return ChangeCalculation();
      case 2:
        return Rename();
      case 3:
        return Chance(4) ? Remove() : Work();
      case 4:
        return Chance(2) ? Reopen() : Correct();
      case 5:
      case 6:
        return Work();
      default:
        return Write();
    }
  }

  void Work() {
    database_.SetClock(now_ms_);
    oracle_.SetClock(Database::kStart + now_ms_);
    database_.Work();
    oracle_.Work();
  }

  void ExpectTheSame() {
    for (const TagId tag : calculations_) {
      std::string expected;
      for (const auto& [time_ms, record] : oracle_.RecordsOf(tag)) {
        expected += fmt::format("{}{}={}{}", expected.empty() ? "" : " ",
                                static_cast<double>(time_ms - Database::kStart) / 1000,
                                record.number, record.is_good ? "" : "!");
      }
      EXPECT_EQ(database_.Records(tag), expected)
          << "tag " << tag << ": " << database_.ExpressionOf(tag);
    }
  }

 private:
  std::int64_t Draw(std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random_);
  }
  bool Chance(int one_in) { return Draw(1, one_in) == 1; }
  TagId Any(const std::vector<TagId>& tags) {
    return tags[static_cast<std::size_t>(Draw(0, static_cast<std::int64_t>(tags.size()) - 1))];
  }
  std::string NewName() { return fmt::format("{}{}", Chance(3) ? "it's " : "tag", ++names_); }
  std::string Quoted(TagId tag) {
    std::string quoted = "'";
    for (const char c : database_.Read(tag).name) quoted.append(c == '\'' ? 2 : 1, c);
    return quoted + "'";
  }

  void AddPoint() { points_.push_back(database_.AddPoint(NewName())); }

  // It reads tags that are older than this one, so that there are no loops.
  Oracle::Rule RandomRule(TagId below) {
    std::vector<TagId> readable = points_;
    for (const TagId tag : calculations_) {
      if (tag < below) readable.push_back(tag);
    }
    constexpr TagType kTypes[] = {TagType::kFloat64, TagType::kFloat32, TagType::kInt32,
                                  TagType::kInt8};
    Oracle::Rule rule;
    rule.type = kTypes[Draw(0, 3)];
    rule.is_polled = Chance(3);
    rule.period_s = Draw(1, 3);
    if (Chance(4)) rule.source = Any(readable);
    rule.divides = Chance(4);
    if (!rule.divides) rule.constant = static_cast<double>(Draw(0, 3)) / 2;
    const std::int64_t terms = rule.divides ? 2 : Draw(1, 3);
    for (std::int64_t i = 0; i < terms; ++i) {
      rule.terms.emplace_back(static_cast<double>(Draw(0, 6)) / 2, Any(readable));
    }
    return rule;
  }

  Tag TagOf(const Oracle::Rule& rule, const std::string& name) {
    std::string text = fmt::format("{}", rule.constant);
    for (const auto& [factor, operand] : rule.terms) {
      text += fmt::format(" + {} * {}", factor, Quoted(operand));
    }
    if (rule.divides) {
      text = fmt::format("{}/{}", Quoted(rule.terms[0].second), Quoted(rule.terms[1].second));
    }
    if (rule.is_polled) {
      Tag tag = Database::Polled(name, text, static_cast<std::int32_t>(rule.period_s), rule.type);
      if (rule.source != 0) {
        std::get<CalculationProperties>(tag.own).source_tag = database_.Read(rule.source).name;
      }
      return tag;
    }
    return Database::Notified(name, text, rule.source == 0 ? "" : database_.Read(rule.source).name,
                              rule.type);
  }

  void AddCalculation() {
    const Oracle::Rule rule = RandomRule(0xFFFFFFFF);
    const TagId tag = database_.Add(TagOf(rule, NewName()));
    calculations_.push_back(tag);
    rules_[tag] = rule;
    oracle_.Save(tag, rule);
  }

  // Its records fix a tag's type.
  void ChangeCalculation() {
    const TagId tag = Any(calculations_);
    Oracle::Rule rule = RandomRule(tag);
    rule.type = rules_[tag].type;
    const bool is_same = Chance(3);
    if (is_same) {
      Tag same = database_.Read(tag);
      same.descriptor = NewName();
      EXPECT_EQ(database_.Save(tag, same, {.common = -1, .extension = 0}), ZR3_OK);
      return oracle_.Save(tag, rules_[tag]);
    }
    EXPECT_EQ(database_.Save(tag, TagOf(rule, database_.Read(tag).name)), ZR3_OK);
    rules_[tag] = rule;
    oracle_.Save(tag, rule);
  }

  void Rename() {
    EXPECT_EQ(database_.Rename(Chance(2) ? Any(points_) : Any(calculations_), NewName()), ZR3_OK);
  }

  void Remove() {
    const bool is_point = Chance(2);
    std::vector<TagId>& from = is_point ? points_ : calculations_;
    if (from.size() < 3) return;
    const TagId tag = Any(from);
    std::erase(from, tag);
    database_.Delete(tag);
    oracle_.Remove(tag);
    if (is_point) AddPoint();
  }

  // Few numbers, so that results are often equal, and some are bad.
  Oracle::Record RandomRecord(std::int64_t time_ms) {
    return {.time_ms = Database::kStart + time_ms,
            .number = static_cast<double>(Draw(-3, 3)) * (Chance(4) ? 40 : 1),
            .is_good = !Chance(6)};
  }
  static Sample SampleOf(const Oracle::Record& record) {
    return Database::At(record.time_ms - Database::kStart, record.number, record.is_good ? 192 : 0);
  }

  void Write() {
    std::vector<std::pair<TagId, Oracle::Record>> records;
    std::vector<TagSample> samples;
    for (std::int64_t left = Draw(1, 4); left > 0; --left) {
      if (!Chance(3)) now_ms_ += Draw(1, 900);
      const std::int64_t time_ms = Chance(5) ? Draw(1, now_ms_ + 1) : now_ms_;  // some are late
      const TagId tag = Any(points_);
      const Oracle::Record record = RandomRecord(time_ms);
      records.emplace_back(tag, record);
      samples.push_back({tag, SampleOf(record)});
      written_.emplace_back(tag, time_ms);
    }
    database_.SetClock(now_ms_);
    oracle_.SetClock(Database::kStart + now_ms_);
    database_.Write(samples);
    oracle_.Write(records);
  }

  void Correct() {
    if (written_.empty()) return;
    const bool is_last = Chance(2);
    const auto& [tag, time_ms] = is_last ? written_.back()
                                         : written_[static_cast<std::size_t>(Draw(
                                               0, static_cast<std::int64_t>(written_.size()) - 1))];
    if (std::ranges::find(points_, tag) == points_.end()) return;
    const Oracle::Record record = RandomRecord(time_ms);
    EXPECT_EQ(database_.Do(CorrectRecord{.id = tag, .sample = SampleOf(record)}).code(), ZR3_OK);
    oracle_.Correct(tag, record);
  }

  void Reopen() {
    database_.Close();
    now_ms_ += Draw(0, 5000);
    database_.SetClock(now_ms_);
    oracle_.SetClock(Database::kStart + now_ms_);
    database_.Open();
    oracle_.Reopen();
  }

  std::mt19937 random_;
  Database database_;
  Oracle oracle_;
  std::vector<TagId> points_;
  std::vector<TagId> calculations_;
  std::map<TagId, Oracle::Rule> rules_;
  std::vector<std::pair<TagId, std::int64_t>> written_;
  std::int64_t now_ms_ = 0;
  int names_ = 0;
};

TEST(CalculationsOfDatabase, AreThoseThatAPlainPassOverAllTagsFinds) {
  const Seed seed;
  std::mt19937 seeds(seed.value());
  for (int plants = 0; plants < 15 && !testing::Test::HasFailure(); ++plants) {
    RandomPlant plant(static_cast<std::uint32_t>(seeds()));
    for (int step = 0; step < kSteps; ++step) plant.Step();
    plant.Work();
    plant.ExpectTheSame();
  }
}

}  // namespace
}  // namespace zervane
