#include "engine/derived/calculations/calculation_graph.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "engine/assert.h"

namespace zervane {
namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

}  // namespace

CalculationGraph::Node* CalculationGraph::Find(TagId tag) {
  const auto found = nodes_.find(tag);
  return found == nodes_.end() ? nullptr : found->second.get();
}

CalculationGraph::Node& CalculationGraph::NodeOf(TagId tag) {
  std::unique_ptr<Node>& node = nodes_[tag];
  if (node == nullptr) {
    node = std::make_unique<Node>();
    node->tag = tag;
    node->number = kUnknown;
  }
  return *node;
}

void CalculationGraph::Load(const std::vector<CalculationPtr>& rules) {
  nodes_.reserve(2 * rules.size());
  for (const CalculationPtr& rule : rules) Link(NodeOf(rule->tag), rule);
  RankAll();
}

CalculationGraph::Node& CalculationGraph::Put(const CalculationPtr& rule) {
  Node& node = NodeOf(rule->tag);
  const std::vector<Node*> targets_before = node.targets;
  Unlink(node);
  Link(node, rule);
  node.rank = RankAbove(node);
  RankReaders(node);
  for (Node* const target : targets_before) ForgetUnlessUsed(*target);
  return node;
}

void CalculationGraph::Remove(TagId tag) {
  Node* const node = Find(tag);
  if (node == nullptr) return;
  node->number = kUnknown;
  node->time_ms = kNoTime;
  node->computed.reset();
  node->late.reset();
  const std::vector<Node*> targets = node->targets;
  Unlink(*node);
  node->rank = 0;
  RankReaders(*node);
  for (Node* const target : targets) ForgetUnlessUsed(*target);
  ForgetUnlessUsed(*node);
}

void CalculationGraph::Set(const OperandValue& value) {
  Node* const node = Find(value.tag);
  if (node == nullptr) return;
  node->number = value.number;
  node->time_ms = value.time_ms;
}

void CalculationGraph::Visit(const std::function<void(Node&)>& visit) {
  for (const auto& [tag, node] : nodes_) visit(*node);
}

void CalculationGraph::Link(Node& node, const CalculationPtr& rule) {
  for (const TagId operand : rule->operands) {
    // A place without a link is as a tag that is not there.
    node.operands.push_back(&NodeOf(operand));
  }
  for (const TagId target : TargetsOf(*rule)) {
    Node& read = NodeOf(target);
    node.targets.push_back(&read);
    read.readers.push_back(&node);
  }
  node.rule = rule;
}

void CalculationGraph::Unlink(Node& node) {
  for (Node* const target : node.targets) std::erase(target->readers, &node);
  node.targets.clear();
  node.operands.clear();
  node.rule.reset();
}

void CalculationGraph::ForgetUnlessUsed(Node& node) {
  if (node.rule == nullptr && node.readers.empty()) nodes_.erase(node.tag);
}

std::uint32_t CalculationGraph::RankAbove(const Node& node) {
  std::uint32_t rank = 0;
  for (const Node* const target : node.targets) rank = std::max(rank, target->rank);
  return rank + 1;
}

void CalculationGraph::RankReaders(Node& node) {
  std::vector<Node*> changed = {&node};
  while (!changed.empty()) {
    const Node& lower = *changed.back();
    changed.pop_back();
    for (Node* const reader : lower.readers) {
      const std::uint32_t rank = RankAbove(*reader);
      if (rank == reader->rank) continue;
      ZERVANE_ASSERT(rank <= nodes_.size());  // else it were a loop
      reader->rank = rank;
      changed.push_back(reader);
    }
  }
}

// Each after all that it reads, in one go, however long the chains are.
void CalculationGraph::RankAll() {
  std::unordered_map<const Node*, std::size_t> waits_for;
  std::vector<Node*> ranked;
  for (const auto& [tag, node] : nodes_) {
    if (node->rule == nullptr) {
      ranked.push_back(node.get());
    } else if (node->targets.empty()) {
      node->rank = 1;
      ranked.push_back(node.get());
    } else {
      waits_for[node.get()] = node->targets.size();
    }
  }
  while (!ranked.empty()) {
    const Node& lower = *ranked.back();
    ranked.pop_back();
    for (Node* const reader : lower.readers) {
      if (--waits_for[reader] > 0) continue;
      reader->rank = RankAbove(*reader);
      ranked.push_back(reader);
    }
  }
}

}  // namespace zervane
