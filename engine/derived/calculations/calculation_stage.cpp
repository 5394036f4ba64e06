#include "engine/derived/calculations/calculation_stage.h"

#include <optional>
#include <span>

namespace zervane {

CalculationNews& CalculationStage::News() {
  if (news_.empty()) {
    queue_.Compact();
    news_.emplace_back();
  }
  return news_.front();
}

void CalculationStage::AddValue(const OperandValue& value) {
  std::vector<OperandValue>& values = News().values;
  Place& place = places_.At(value.tag);
  if (place.batch == batch_) {
    values[place.at] = value;
    return;
  }
  values.push_back(value);
  place = {.batch = batch_, .at = values.size() - 1};
}

Status CalculationStage::Process(Turn& turn, const StagedRecords& group, StoreBatch&) {
  if (Status status = history_.Check(turn, group.rows); !status.ok()) return status;
  const bool is_writing = is_writing_.load();
  const std::span<const std::int64_t> times = group.samples.times();
  for (const std::uint32_t at : group.read) {
    const TagId tag = group.tags[at];
    if (group.was_newest[at] == 0 || !rules_.IsRead(tag)) continue;
    if (is_writing && rules_.Has(tag)) continue;
    AddValue({.tag = tag,
              .number = OperandOf(group.samples.types()[at], group.samples.qualities()[at],
                                  group.samples.values()[at]),
              .time_ms = times[at]});
  }
  return {};
}

// Whoever computes knows what tags hold that are read already; of others he is told.
Status CalculationStage::PrepareTagChange(Turn& turn, TagId tag, StoreBatch& batch) {
  turn.AssertHeld();
  const CalculationPtr rule = rules_.ProposalFor(tag);
  if (rule == nullptr) return {};  // it is no calculation tag
  CalculationNews& news = News();
  news.saved.push_back(rule);
  news.saved_ms = clock_();
  for (const TagId target : TargetsOf(*rule)) {
    if (rules_.IsRead(target)) continue;
    const std::optional<Sample> sample = current_values_.Find(target);
    if (!sample) continue;
    news.found.push_back({.tag = target, .number = OperandOf(*sample), .time_ms = sample->time_ms});
  }
  rules_.PrepareRule(rule);
  history_.PrepareSave(turn, rule, news.saved_ms, batch);
  return {};
}

Status CalculationStage::PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch& batch) {
  turn.AssertHeld();
  const bool is_calculation = rules_.Has(tag);
  if (!is_calculation && !rules_.IsRead(tag)) return {};
  News().removed.push_back(tag);
  if (!is_calculation) return {};
  rules_.PrepareRemoval(tag);
  history_.PrepareRemoval(turn, tag, batch);
  return {};
}

Status CalculationStage::PrepareRecord(Turn& turn, TagId tag, std::int64_t, std::uint8_t* marks,
                                       StoreBatch&) {
  turn.AssertHeld();
  if ((*marks & kCurrent) == 0 || !rules_.IsRead(tag)) return {};
  News().corrected.push_back(tag);
  return {};
}

void CalculationStage::Keep(Turn& turn) noexcept {
  rules_.Keep();
  history_.Keep(turn);
  const bool has_news = !news_.empty();
  if (has_news) queue_.Append(news_);
  Discard(turn);
  if (has_news && wake_) wake_();
}

void CalculationStage::Discard(Turn& turn) noexcept {
  turn.AssertHeld();
  rules_.Discard();
  history_.Discard(turn);
  news_.clear();
  ++batch_;
}

}  // namespace zervane
