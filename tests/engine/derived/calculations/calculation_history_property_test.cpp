#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/engine/derived/calculations/past_database.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr double kBad = std::numeric_limits<double>::quiet_NaN();

struct Expression {
  const char* text;  // over the operands X and Y
  double (*value)(double, double);
  int operands;
};

constexpr std::array<Expression, 6> kExpressions = {{
    {"'X'", [](double x, double) { return x; }, 1},
    {"'X' + 'Y'", [](double x, double y) { return x + y; }, 2},
    {"'Y' * 2 - 'X'", [](double x, double y) { return y * 2 - x; }, 2},
    {"1 / 'X'", [](double x, double) { return 1 / x; }, 1},
    {"max('X', 'Y', 3)",
     [](double x, double y) {
       return std::max({x, y, 3.0});
     },
     2},
    {"40 + 2", [](double, double) { return 42.0; }, 0},
}};

// A calculation tag as the second implementation knows it.
struct PlainRule {
  TagId tag = 0;
  std::shared_ptr<const Calculation> saved;
  const Expression* expression = nullptr;
  std::vector<TagId> operands;  // X, Y
  TagType type = TagType::kFloat64;
  bool is_polled = true;
  std::int64_t period_ms = 0;
  std::vector<TagId> triggers;
  std::optional<PastDatabase::Past> past;
};

// All of it, plainly: every record that there should be, and what is to be computed.
class PlainPast {
 public:
  using Records = std::map<std::int64_t, Sample>;
  using Key = HistoryProgress::Key;

  struct Job {
    std::int64_t next_ms = 0;
    std::optional<double> previous;
  };

  void Put(TagId tag, const Sample& sample) { records_[tag][sample.time_ms] = sample; }
  const Records& RecordsOf(TagId tag) { return records_[tag]; }
  const std::map<Key, Job>& jobs() const { return jobs_; }
  std::map<TagId, PlainRule>& rules() { return rules_; }
  void RemovePoint(TagId tag) {
    records_.erase(tag);
    gone_.insert(tag);
  }

  void Save(const PlainRule& rule, bool is_another, std::int64_t now_ms) {
    const TagId tag = rule.tag;
    rules_[tag] = rule;
    if (!is_another) return;
    DropJobs(tag);
    if (rule.past) AddJob(rule, 0, now_ms);
  }
  void Remove(TagId tag) {
    DropJobs(tag);
    rules_.erase(tag);
    records_.erase(tag);
    gone_.insert(tag);
  }

  // What the opening of the database asks for.
  void Open(std::int64_t now_ms) {
    const std::map<Key, Job> before = jobs_;
    for (const auto& [tag, rule] : rules_) {
      if (!rule.past) continue;
      std::int64_t known_ms = NewestOf(tag);
      for (const auto& [key, job] : before) {
        if (key.tag == tag) known_ms = std::max(known_ms, key.until_ms);
      }
      bool is_due = rule.is_polled;
      for (const TagId trigger : rule.triggers) {
        const auto other = rules_.find(trigger);
        is_due = is_due || NewestOf(trigger) > known_ms ||
                 (other != rules_.end() && other->second.past.has_value());
      }
      if (is_due) AddJob(rule, known_ms + 1, now_ms);
    }
  }

  // A stretch is computed up to before `next_ms`.
  void Compute(const Key& key, std::int64_t next_ms) {
    Job& job = jobs_.at(key);
    const PlainRule& rule = rules_.at(key.tag);
    for (const std::int64_t at :
         InstantsOf(rule, job.next_ms, std::min(next_ms - 1, key.until_ms))) {
      if (!job.previous) job.previous = ValueBefore(key.tag, at);
      const Sample result = ResultAt(rule, at, job.previous.value_or(0));
      job.previous = PastDatabase::NumberIn(result);
      Put(key.tag, result);
    }
    job.next_ms = next_ms;
    if (next_ms > key.until_ms) jobs_.erase(key);
  }

 private:
  std::int64_t NewestOf(TagId tag) {
    return records_[tag].empty() ? -1 : records_[tag].rbegin()->first;
  }
  void DropJobs(TagId tag) {
    std::erase_if(jobs_, [&](const auto& job) { return job.first.tag == tag; });
  }

  void AddJob(const PlainRule& rule, std::int64_t from_ms, std::int64_t to_ms) {
    if (!rule.is_polled) {
      for (const TagId trigger : rule.triggers) to_ms = std::max(to_ms, NewestOf(trigger));
    }
    from_ms = std::max({from_ms, rule.past->start_s * 1000, std::int64_t{1}});
    if (rule.past->end_s) to_ms = std::min(to_ms, *rule.past->end_s * 1000);
    if (rule.is_polled) {
      while (from_ms % rule.period_ms != 0) ++from_ms;
    }
    if (from_ms <= to_ms) jobs_[{rule.tag, to_ms}] = {.next_ms = from_ms, .previous = {}};
  }

  // Those at which there is a result.
  std::vector<std::int64_t> InstantsOf(const PlainRule& rule, std::int64_t from_ms,
                                       std::int64_t to_ms) {
    for (const TagId operand : rule.operands) {
      if (gone_.contains(operand) || records_[operand].empty()) return {};
      from_ms = std::max(from_ms, records_[operand].begin()->first);
    }
    std::set<std::int64_t> instants;
    if (rule.is_polled) {
      for (std::int64_t at = 1; at <= to_ms; ++at) {
        if (at >= from_ms && at % rule.period_ms == 0) instants.insert(at);
      }
    } else {
      for (const TagId trigger : rule.triggers) {
        for (const auto& [at, record] : records_[trigger]) {
          if (at >= from_ms && at <= to_ms) instants.insert(at);
        }
      }
    }
    return {instants.begin(), instants.end()};
  }

  double OperandAt(TagId tag, std::int64_t at_ms) {
    const Sample& sample = std::prev(records_[tag].upper_bound(at_ms))->second;
    const bool is_good = (sample.quality & 0xC0) == 0xC0;
    return is_good ? PastDatabase::NumberIn(sample) : kBad;
  }
  std::optional<double> ValueBefore(TagId tag, std::int64_t at_ms) {
    const auto behind = records_[tag].lower_bound(at_ms);
    if (behind == records_[tag].begin()) return std::nullopt;
    return PastDatabase::NumberIn(std::prev(behind)->second);
  }

  Sample ResultAt(const PlainRule& rule, std::int64_t at_ms, double previous) {
    std::array<double, 2> values = {0, 0};
    bool is_bad = false;
    for (std::size_t i = 0; i < rule.operands.size(); ++i) {
      values[i] = OperandAt(rule.operands[i], at_ms);
      is_bad = is_bad || std::isnan(values[i]);
    }
    double result = is_bad ? kBad : rule.expression->value(values[0], values[1]);
    if (rule.type == TagType::kInt8) {
      result = std::round(result);
      if (result < -128 || result > 127) result = kBad;
    }
    const bool is_good = std::isfinite(result);
    const double number = is_good ? result : previous;
    Sample sample = {.time_ms = at_ms,
                     .quality = static_cast<std::uint16_t>(is_good ? 192 : 0),
                     .type = rule.type,
                     .value = Value(number)};
    if (rule.type == TagType::kInt8) sample.value = Value(static_cast<std::int32_t>(number));
    return sample;
  }

  std::map<TagId, Records> records_;
  std::map<TagId, PlainRule> rules_;
  std::map<Key, Job> jobs_;
  std::set<TagId> gone_;
};

// Does something at random with both, and compares.
class RandomPast {
 public:
  explicit RandomPast(std::uint32_t seed) : random_(seed) {
    database_.most_instants = 1 + Below(5);
    database_.now_ms = 20'000;
    database_.Reopen();
  }

  void Act() {
    switch (Below(10)) {
      case 0:
      case 1:
        return Write();
      case 2:
        return WriteLive();
      case 3:
        return Save();
      case 4:
        return Below(6) == 0 ? Remove() : Reopen();
      case 5:
        database_.now_ms += static_cast<std::int64_t>(Below(4'000));
        return;
      default:
        return Step(Below(8) == 0);
    }
  }
  void Finish() {
    for (int steps = 0; database_.history().HasWork(); ++steps) {
      ASSERT_LT(steps, 10'000);
      Step(false);
    }
    EXPECT_TRUE(model_.jobs().empty());
    for (TagId tag = 1; tag <= kLastTag; ++tag) Compare(tag);
  }

 private:
  static constexpr TagId kFirstTag = 5;  // of calculations
  static constexpr TagId kLastTag = 7;

  std::size_t Below(std::size_t end) { return random_() % end; }
  bool IsGone(TagId tag) const { return gone_.contains(tag); }

  void Write() {
    const auto tag = static_cast<TagId>(1 + Below(3));
    if (IsGone(tag)) return;
    const Sample sample = {.time_ms = static_cast<std::int64_t>(1 + Below(140)) * 500,
                           .quality = Below(4) == 0 ? std::uint16_t{64} : std::uint16_t{192},
                           .type = TagType::kFloat64,
                           .value = Value(static_cast<double>(Below(200)) - 50)};
    WriteSample(tag, sample);
  }
  // As live computing would: behind all that there is.
  void WriteLive() {
    if (model_.rules().empty()) return;
    auto rule = model_.rules().begin();
    std::advance(rule, Below(model_.rules().size()));
    const TagId tag = rule->first;
    Sample sample = {.time_ms = database_.now_ms / 1000 * 1000 + 1000,
                     .quality = 192,
                     .type = rule->second.type,
                     .value = Value(7.0)};
    if (sample.type == TagType::kInt8) sample.value = Value(std::int32_t{7});
    database_.now_ms = sample.time_ms;
    WriteSample(tag, sample);
  }
  void WriteSample(TagId tag, const Sample& sample) {
    SampleBatch batch;
    batch.Add(tag, sample);
    const auto reply = database_.path().WriteAsSystem(batch, {});
    ASSERT_TRUE(reply.ok() && reply->status == ZR3_OK);
    model_.Put(tag, sample);
  }

  PlainRule RandomRule(TagId tag) {
    PlainRule rule;
    rule.expression = &kExpressions[Below(kExpressions.size())];
    std::string text = rule.expression->text;
    for (int i = 0; i < rule.expression->operands; ++i) {
      TagId operand = 0;
      do {
        operand = static_cast<TagId>(1 + Below(tag - 1));
      } while (operand == 4 || std::ranges::count(rule.operands, operand) > 0);
      rule.operands.push_back(operand);
      std::ranges::replace(text, i == 0 ? 'X' : 'Y', PastDatabase::NameOf(operand).front());
    }
    rule.type = Below(3) == 0 ? TagType::kInt8 : TagType::kFloat64;
    rule.is_polled = Below(2) == 0;
    if (Below(6) > 0) {
      rule.past = PastDatabase::Past{.start_s = static_cast<std::int64_t>(Below(30)), .end_s = {}};
      if (Below(2) == 0) {
        rule.past->end_s = rule.past->start_s + static_cast<std::int64_t>(Below(60));
      }
    }
    const auto period_s = static_cast<std::int32_t>(1 + Below(7));
    rule.period_ms = period_s * 1000;
    const TagId source = Below(2) == 0 ? 0 : static_cast<TagId>(1 + Below(3));
    rule.triggers = source == 0 ? rule.operands : std::vector{source};
    rule.tag = tag;
    const Calculation saved = rule.is_polled
                                  ? PastDatabase::Polled(tag, text, period_s, rule.past, rule.type)
                                  : PastDatabase::Notified(tag, text, source, rule.past, rule.type);
    rule.saved = std::make_shared<const Calculation>(saved);
    return rule;
  }

  void Save() {
    const auto tag = static_cast<TagId>(kFirstTag + Below(kLastTag - kFirstTag + 1));
    if (IsGone(tag)) return;
    const auto before = model_.rules().find(tag);
    const bool is_same = before != model_.rules().end() && Below(3) == 0;
    PlainRule rule = is_same ? before->second : RandomRule(tag);
    if (before != model_.rules().end() && rule.type != before->second.type) return;
    const bool is_refused = Below(6) == 0;
    if (is_refused)
      database_.faults().Fail(storage::Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL, 1);
    const bool is_saved = database_.TrySave(*rule.saved).ok();
    ASSERT_EQ(is_saved, !is_refused);
    if (!is_saved) return;
    // Without a history there is nothing to go on with.
    const bool was_past = before != model_.rules().end() && before->second.past.has_value();
    const bool is_another =
        !was_past || !rule.past || !HaveSameHistory(*before->second.saved, *rule.saved);
    model_.Save(rule, is_another, database_.now_ms);
    CompareJobs();
  }

  void Remove() {
    const TagId tag = Below(2) == 0 ? TagId{3} : TagId{kLastTag};
    if (IsGone(tag) || (tag >= kFirstTag && !model_.rules().contains(tag))) return;
    database_.Remove(tag);
    gone_.insert(tag);
    if (tag >= kFirstTag) {
      model_.Remove(tag);
    } else {
      model_.RemovePoint(tag);
    }
    CompareJobs();
  }

  void Reopen() {
    database_.Close();
    database_.now_ms += static_cast<std::int64_t>(Below(15'000));
    database_.Reopen();
    model_.Open(database_.now_ms);
    CompareJobs();
  }

  void Step(bool fails) {
    const std::vector<HistoryProgress> before = database_.Rows();
    if (fails) {
      database_.faults().Fail(storage::Faults::Call::kCommit, ZR3_ERR_STORAGE_FAILED, 1);
      const bool had_work = database_.history().HasWork();
      ASSERT_EQ(database_.history().Step().ok(), !had_work);
      ASSERT_EQ(database_.Rows(), before);
      database_.faults().Fail(storage::Faults::Call::kCommit, ZR3_OK, 0);
      return;
    }
    const Result<TagId> step = database_.history().Step();
    ASSERT_TRUE(step.ok()) << step.status().message();
    std::map<HistoryProgress::Key, std::int64_t> next;
    for (const HistoryProgress& row : before) next[row.key] = row.key.until_ms + 1;
    for (const HistoryProgress& row : database_.Rows()) next[row.key] = row.next_ms;
    TagId changed = 0;
    for (const HistoryProgress& row : before) {
      if (next[row.key] == row.next_ms) continue;
      ASSERT_EQ(changed, 0U) << "two stretches changed";
      changed = row.key.tag;
      model_.Compute(row.key, next[row.key]);
    }
    ASSERT_TRUE(changed != 0 || before.empty());
    if (changed != 0) Compare(changed);
    CompareJobs();
  }

  void Compare(TagId tag) {
    if (IsGone(tag)) return;
    std::vector<Sample> expected;
    for (const auto& [time_ms, sample] : model_.RecordsOf(tag)) expected.push_back(sample);
    ASSERT_EQ(database_.RecordsOf(tag), expected) << "tag " << tag;
  }
  void CompareJobs() {
    std::set<HistoryProgress::Key> given;
    std::set<HistoryProgress::Key> expected;
    for (const HistoryProgress& row : database_.Rows()) given.insert(row.key);
    for (const auto& [key, job] : model_.jobs()) expected.insert(key);
    ASSERT_EQ(given == expected, true);
  }

  std::mt19937 random_;
  PastDatabase database_;
  PlainPast model_;
  std::set<TagId> gone_;
};

TEST(CalculationHistoryProperty, IsWhatASecondImplementationComputes) {
  const Seed seed;
  std::mt19937 random(seed.value());
  for (int run = 0; run < 60; ++run) {
    SCOPED_TRACE(run);
    RandomPast past(static_cast<std::uint32_t>(random()));
    for (int act = 0; act < 120; ++act) {
      SCOPED_TRACE(act);
      past.Act();
      if (testing::Test::HasFatalFailure()) return;
    }
    past.Finish();
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace
}  // namespace zervane
