#include "tests/engine/derived/calculations/calculation_oracle.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zervane {
namespace {

// The number as a value of the type, if it has one.
std::optional<double> AsType(TagType type, double number) {
  if (!std::isfinite(number)) return std::nullopt;
  if (type == TagType::kFloat64) return number;
  if (type == TagType::kFloat32) {
    const auto narrow = static_cast<float>(number);
    return std::isfinite(narrow) ? std::optional<double>(narrow) : std::nullopt;
  }
  const double size = std::floor(std::fabs(number) + 0.5);
  const double whole = number < 0 && size > 0 ? -size : size;
  const double most = type == TagType::kInt8 ? 127 : type == TagType::kInt16 ? 32767 : 2147483647;
  return whole >= -most - 1 && whole <= most ? std::optional(whole) : std::nullopt;
}

}  // namespace

void CalculationOracle::Write(const std::vector<std::pair<TagId, Record>>& records) {
  Commit commit;
  for (const auto& [tag, record] : records) {
    if (record.time_ms >= NewestOf(tag).time_ms) commit.values[tag] = record;
    records_[tag][record.time_ms] = record;
  }
  waiting_.push_back(std::move(commit));
}

void CalculationOracle::Correct(TagId tag, const Record& record) {
  Commit commit;
  if (record.time_ms == NewestOf(tag).time_ms) commit.corrected[tag] = record;
  records_[tag][record.time_ms] = record;
  waiting_.push_back(std::move(commit));
}

void CalculationOracle::Save(TagId tag, const Rule& rule) {
  Commit commit;
  commit.saved = {tag, rule};
  commit.saved_ms = now_ms_;
  waiting_.push_back(std::move(commit));
}

void CalculationOracle::Remove(TagId tag) {
  Commit commit;
  commit.removed = tag;
  waiting_.push_back(std::move(commit));
}

void CalculationOracle::Work() {
  Run(std::exchange(opening_, {}));
  unfollowed_.clear();
  for (const Commit& commit : waiting_) {
    FollowTags(commit);
    for (const auto& [tag, record] : commit.corrected) held_[tag] = record;
    Pass pass;
    for (const auto& [tag, record] : commit.values) {
      held_[tag] = record;
      pass.changed.insert(tag);
    }
    Run(std::move(pass));
  }
  waiting_.clear();
  PollUpTo(now_ms_);
}

void CalculationOracle::Reopen() {
  for (const Commit& commit : waiting_) {
    FollowTags(commit);
    unfollowed_.erase(commit.removed);
    for (const auto& [tag, record] : commit.values) {
      if (Notifies(tag)) unfollowed_.insert(tag);
    }
  }
  waiting_.clear();
  held_.clear();
  for (const auto& [tag, records] : records_) held_[tag] = NewestOf(tag);
  opening_ = {};
  for (auto& [tag, calculated] : calculated_) {
    calculated.behind_ms = now_ms_;
    if (calculated.rule.is_polled) continue;
    for (const TagId trigger : TriggersOf(calculated.rule)) {
      const bool is_newer = HeldBy(trigger).time_ms > HeldBy(tag).time_ms;
      if (is_newer || unfollowed_.contains(trigger)) opening_.asked.insert(tag);
    }
  }
}

bool CalculationOracle::Notifies(TagId tag) const {
  return std::ranges::any_of(calculated_, [tag](const auto& entry) {
    const Rule& rule = entry.second.rule;
    return !rule.is_polled && TriggersOf(rule).contains(tag);
  });
}

void CalculationOracle::FollowTags(const Commit& commit) {
  if (commit.removed != 0) {
    calculated_.erase(commit.removed);
    held_.erase(commit.removed);
    records_.erase(commit.removed);
  }
  if (!commit.saved) return;
  const auto& [tag, rule] = *commit.saved;
  const auto before = calculated_.find(tag);
  const bool goes_on = before != calculated_.end() && before->second.rule.is_polled &&
                       before->second.rule.period_s == rule.period_s;
  const std::int64_t behind_ms = goes_on ? before->second.behind_ms : commit.saved_ms;
  calculated_[tag] = {.rule = rule, .behind_ms = behind_ms};
}

void CalculationOracle::PollUpTo(std::int64_t now_ms) {
  for (;;) {
    Pass pass = {.changed = {}, .asked = {}, .polled_ms = now_ms + 1, .has_new_value = {}};
    for (const auto& [tag, calculated] : calculated_) {
      if (!calculated.rule.is_polled) continue;
      const std::int64_t period_ms = calculated.rule.period_s * 1000;
      const std::int64_t next_ms = (calculated.behind_ms / period_ms + 1) * period_ms;
      if (next_ms < pass.polled_ms) pass.asked.clear();
      if (next_ms <= std::min(now_ms, pass.polled_ms)) pass.asked.insert(tag);
      pass.polled_ms = std::min(pass.polled_ms, next_ms);
    }
    if (pass.asked.empty()) return;
    for (const TagId tag : pass.asked) calculated_[tag].behind_ms = pass.polled_ms;
    Run(std::move(pass));
  }
}

void CalculationOracle::Run(Pass pass) {
  for (const auto& [tag, calculated] : calculated_) Decide(tag, pass);
}

bool CalculationOracle::Decide(TagId tag, Pass& pass) {
  const auto found = calculated_.find(tag);
  if (found == calculated_.end()) return pass.changed.contains(tag);
  if (pass.has_new_value.contains(tag)) return pass.has_new_value[tag];
  const Rule& rule = found->second.rule;
  bool is_asked = pass.asked.contains(tag);
  for (const TagId target : TargetsOf(rule)) {
    const bool has_new_value = Decide(target, pass);
    if (has_new_value && !rule.is_polled && TriggersOf(rule).contains(target)) is_asked = true;
  }
  return pass.has_new_value[tag] = is_asked && Compute(tag, pass.polled_ms);
}

bool CalculationOracle::Compute(TagId tag, std::int64_t polled_ms) {
  const Rule& rule = calculated_[tag].rule;
  std::int64_t time_ms = rule.is_polled ? polled_ms : kNoTime;
  if (!rule.is_polled) {
    for (const TagId target : TargetsOf(rule)) time_ms = std::max(time_ms, HeldBy(target).time_ms);
  }
  const Record newest = NewestOf(tag);
  if (time_ms == kNoTime || time_ms < newest.time_ms) return false;
  Record result = ResultOf(rule, time_ms);
  if (!result.is_good) result.number = newest.number;
  records_[tag][time_ms] = result;
  held_[tag] = result;
  return true;
}

CalculationOracle::Record CalculationOracle::ResultOf(const Rule& rule,
                                                      std::int64_t time_ms) const {
  double sum = rule.constant;
  for (const auto& [factor, operand] : rule.terms) {
    const Record held = HeldBy(operand);
    if (!held.is_good) return {.time_ms = time_ms, .number = 0, .is_good = false};
    sum += factor * held.number;
  }
  if (rule.divides) sum = HeldBy(rule.terms[0].second).number / HeldBy(rule.terms[1].second).number;
  const std::optional<double> number = AsType(rule.type, sum);
  return {.time_ms = time_ms, .number = number.value_or(0), .is_good = number.has_value()};
}

std::set<TagId> CalculationOracle::TargetsOf(const Rule& rule) {
  std::set<TagId> targets;
  if (rule.source != 0) targets.insert(rule.source);
  for (const auto& [factor, operand] : rule.terms) targets.insert(operand);
  return targets;
}

std::set<TagId> CalculationOracle::TriggersOf(const Rule& rule) {
  if (rule.source != 0) return {rule.source};
  return TargetsOf(rule);
}

CalculationOracle::Record CalculationOracle::NewestOf(TagId tag) const {
  const auto found = records_.find(tag);
  if (found == records_.end() || found->second.empty()) return {};
  return found->second.rbegin()->second;
}

CalculationOracle::Record CalculationOracle::HeldBy(TagId tag) const {
  const auto found = held_.find(tag);
  return found == held_.end() ? Record() : found->second;
}

}  // namespace zervane
