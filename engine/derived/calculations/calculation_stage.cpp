#include "engine/derived/calculations/calculation_stage.h"

#include <algorithm>
#include <optional>
#include <span>

#include "engine/assert.h"

namespace zervane {

CalculationNews& CalculationStage::News() {
  if (!news_.empty()) return news_.back();
  queue_.Compact();
  CalculationNewsQueue::List news(1);
  news.front().number = batch_;
  if (!corrected_.empty()) TellCorrected();
  news_.splice(news_.end(), news);
  return news_.back();
}

// Before what this batch means. It is no reason to compute anything.
void CalculationStage::TellCorrected() {
  CalculationNews news;
  news.number = batch_ - 1;
  for (const TagId tag : corrected_) {
    const std::optional<Sample> sample = current_values_.Find(tag);
    if (!sample) continue;
    news.found.push_back({.tag = tag, .number = OperandOf(*sample), .time_ms = sample->time_ms});
  }
  news_.push_back(std::move(news));
}

void CalculationStage::AddReason(TagId tag, StoreBatch& batch) {
  if (!rules_.Notifies(tag)) return;
  rows_.PrepareValue(tag, batch_, batch);
  News().notifies = true;
}

void CalculationStage::AddValue(const OperandValue& value, StoreBatch& batch) {
  std::vector<OperandValue>& values = News().values;
  Place& place = places_.At(value.tag);
  if (place.batch == batch_) {
    values[place.at] = value;
    return;
  }
  values.push_back(value);
  place = {.batch = batch_, .at = values.size() - 1};
  AddReason(value.tag, batch);
}

Status CalculationStage::Process(Turn& turn, const StagedRecords& group, StoreBatch& batch) {
  if (Status status = history_.Check(turn, group.rows); !status.ok()) return status;
  const std::uint64_t through = writing_through_.load();
  const std::span<const std::int64_t> times = group.samples.times();
  for (const std::uint32_t at : group.read) {
    const TagId tag = group.tags[at];
    if (group.was_newest[at] == 0 || !rules_.IsRead(tag)) continue;
    if (through != 0 && rules_.Has(tag)) continue;
    AddValue({.tag = tag,
              .number = OperandOf(group.samples.types()[at], group.samples.qualities()[at],
                                  group.samples.values()[at]),
              .time_ms = times[at]},
             batch);
  }
  if (std::ranges::any_of(group.rows, NotifyRows::IsAllDone)) PrepareDone(turn, through, batch);
  return {};
}

void CalculationStage::PrepareCorrected(Turn& turn) {
  turn.AssertHeld();
  if (!corrected_.empty()) (void)News();
}

void CalculationStage::PrepareDone(Turn& turn, std::uint64_t through, StoreBatch& batch) {
  turn.AssertHeld();
  ZERVANE_ASSERT(through != 0);
  rows_.PrepareDone(through, batch);
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
  rows_.PrepareRemoval(tag, batch);
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
  News().corrects = true;
  corrects_.push_back(tag);
  corrected_.reserve(corrected_.size() + corrects_.size());
  return {};
}

void CalculationStage::Keep(Turn& turn) noexcept {
  rules_.Keep();
  history_.Keep(turn);
  rows_.Keep();
  const bool has_news = !news_.empty();
  if (has_news) corrected_.clear();  // for they are told now
  corrected_.insert(corrected_.end(), corrects_.begin(), corrects_.end());
  if (has_news) queue_.Append(news_);
  Discard(turn);
  if (has_news && wake_) wake_();
}

void CalculationStage::Discard(Turn& turn) noexcept {
  turn.AssertHeld();
  rules_.Discard();
  history_.Discard(turn);
  rows_.Discard();
  news_.clear();
  corrects_.clear();
  ++batch_;
}

}  // namespace zervane
