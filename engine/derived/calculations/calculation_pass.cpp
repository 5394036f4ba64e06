#include "engine/derived/calculations/calculation_pass.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace zervane {
namespace {

// Whether the one is computed after the other, for a heap whose top is the first.
bool IsLater(const CalculationGraph::Node* a, const CalculationGraph::Node* b) {
  return std::pair(a->rank, a->tag) > std::pair(b->rank, b->tag);
}

std::int64_t NewestTargetTime(const CalculationGraph::Node& node) {
  std::int64_t time_ms = kNoTime;
  for (const auto* target : node.targets) time_ms = std::max(time_ms, target->time_ms);
  return time_ms;
}

}  // namespace

void CalculationPass::Run(const std::vector<Node*>& first, std::int64_t time_ms,
                          SampleBatch& batch) {
  ++pass_;
  waiting_.clear();
  for (Node* const node : first) Add(*node);
  while (!waiting_.empty()) {
    std::ranges::pop_heap(waiting_, IsLater);
    Node& node = *waiting_.back();
    waiting_.pop_back();
    const bool is_polled = node.rule->mode == Calculation::Mode::kPoll;
    const std::int64_t at_ms = is_polled ? time_ms : NewestTargetTime(node);
    if (!Compute(node, at_ms, batch)) continue;
    for (Node* const reader : node.readers) {
      if (reader->rule->IsTriggeredBy(node.tag)) Add(*reader);
    }
  }
}

void CalculationPass::Add(Node& node) {
  if (node.pass == pass_) return;
  waiting_.push_back(&node);
  std::ranges::push_heap(waiting_, IsLater);
  node.pass = pass_;
}

bool CalculationPass::Compute(Node& node, std::int64_t time_ms, SampleBatch& batch) {
  const std::optional<Sample> newest = NewestOf(node);
  const bool is_late = newest && time_ms < newest->time_ms;
  if (time_ms == kNoTime || (is_late && node.rule->mode == Calculation::Mode::kNotify)) {
    return false;
  }
  operands_.clear();
  for (const Node* const operand : node.operands) operands_.push_back(operand->number);
  const std::optional<Sample>& before = is_late && node.late ? node.late : newest;
  std::optional<Value> previous;
  if (before && before->type == node.rule->type) previous = before->value;
  const Sample record = ComputeRecord(*node.rule, operands_, time_ms, previous);
  batch.Add(node.tag, record);
  if (is_late) {
    node.late = record;
    return false;
  }
  node.number = OperandOf(record);
  node.time_ms = record.time_ms;
  node.computed = record;
  node.late.reset();
  return true;
}

// What was computed may not be stored yet; and what is stored may have come from elsewhere.
std::optional<Sample> CalculationPass::NewestOf(const Node& node) const {
  std::optional<Sample> stored = current_values_.Find(node.tag);
  if (stored && (!node.computed || stored->time_ms > node.computed->time_ms)) return stored;
  return node.computed;
}

}  // namespace zervane
