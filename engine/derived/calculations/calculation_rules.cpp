#include "engine/derived/calculations/calculation_rules.h"

#include <algorithm>
#include <ranges>

#include "engine/assert.h"

namespace zervane {

std::vector<TagId> TargetsOf(const Calculation& calculation) {
  std::vector<TagId> targets = calculation.operands;
  targets.push_back(calculation.source);
  std::ranges::sort(targets);
  const auto twice = std::ranges::unique(targets);
  targets.erase(twice.begin(), twice.end());
  std::erase(targets, TagId{0});
  return targets;
}

void CalculationRules::Load(const std::vector<CalculationPtr>& rules) {
  for (const CalculationPtr& rule : rules) {
    for (const Reading& reading : ReadingsOf(*rule)) {
      Readers& readers = readers_.At(reading.tag);
      ++readers.all;
      if (reading.notifies) ++readers.notified;
    }
    rules_.emplace(rule->tag, rule);
  }
}

bool CalculationRules::IsRead(TagId tag) const {
  const Readers* const readers = readers_.Find(tag);
  return readers != nullptr && readers->all > 0;
}

bool CalculationRules::Notifies(TagId tag) const {
  const Readers* const readers = readers_.Find(tag);
  return readers != nullptr && readers->notified > 0;
}

std::vector<CalculationRules::Reading> CalculationRules::ReadingsOf(const Calculation& rule) {
  std::vector<Reading> readings;
  for (const TagId target : TargetsOf(rule)) {
    readings.push_back({.tag = target, .notifies = rule.IsTriggeredBy(target)});
  }
  return readings;
}

void CalculationRules::Propose(Calculation rule) {
  proposals_.push_back(std::make_shared<const Calculation>(std::move(rule)));
}

CalculationPtr CalculationRules::ProposalFor(TagId calculation) const {
  const auto last_first = std::views::reverse(proposals_);
  const auto found = std::ranges::find_if(
      last_first, [&](const CalculationPtr& rule) { return rule->tag == calculation; });
  return found == last_first.end() ? nullptr : *found;
}

void CalculationRules::PrepareRule(const CalculationPtr& rule) { Prepare(rule->tag, rule); }

void CalculationRules::PrepareRemoval(TagId calculation) { Prepare(calculation, nullptr); }

// Everything that needs memory, so that keeping it cannot fail: a tag without a rule has an empty
// place until then, which Discard takes away.
void CalculationRules::Prepare(TagId tag, CalculationPtr rule) {
  ZERVANE_ASSERT(std::ranges::find(changes_, tag, &Change::tag) == changes_.end());
  Change change = {.tag = tag, .rule = std::move(rule), .begins = {}, .ends = {}};
  const auto before = rules_.find(tag);
  if (before != rules_.end() && before->second != nullptr)
    change.ends = ReadingsOf(*before->second);
  if (change.rule != nullptr) change.begins = ReadingsOf(*change.rule);
  for (const Reading& reading : change.begins) (void)readers_.At(reading.tag);
  changes_.push_back(std::move(change));
  if (before == rules_.end()) rules_.emplace(tag, nullptr);
}

void CalculationRules::Keep() noexcept {
  for (Change& change : changes_) {
    for (const Reading& reading : change.ends) {
      Readers& readers = *readers_.Find(reading.tag);
      --readers.all;
      if (reading.notifies) --readers.notified;
    }
    for (const Reading& reading : change.begins) {
      Readers& readers = *readers_.Find(reading.tag);
      ++readers.all;
      if (reading.notifies) ++readers.notified;
    }
    rules_.find(change.tag)->second = std::move(change.rule);
  }
  Discard();
}

void CalculationRules::Discard() noexcept {
  for (const Change& change : changes_) {
    const auto place = rules_.find(change.tag);
    if (place != rules_.end() && place->second == nullptr) rules_.erase(place);
  }
  changes_.clear();
  proposals_.clear();
}

}  // namespace zervane
