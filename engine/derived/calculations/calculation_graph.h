#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "api/words/value.h"
#include "engine/derived/calculations/calculation_news.h"
#include "engine/derived/calculations/calculation_rules.h"

namespace zervane {

// Calculation tags and the tags that they read, as who computes sees them: what each holds, and in
// which order they are computed.
//
// Invariants: a calculation's rank is greater than those of all that it reads, and those of tags
// that are not computed are 0; a node is there for as long as it has a rule or a reader. There are
// no loops, which the catalogue refuses.
//
// Threads: one at a time.
class CalculationGraph {
 public:
  struct Node {
    TagId tag = 0;
    // What the tag holds, as far as calculations have heard of it.
    double number = 0;  // NaN: it is bad, or holds nothing
    std::int64_t time_ms = kNoTime;

    // Of a calculation tag; null for others.
    CalculationPtr rule;
    std::int64_t since_ms = 0;    // it is computed at times behind this one
    std::vector<Node*> operands;  // as the rule has them
    std::vector<Node*> targets;   // operands and the source, each once
    // What was last computed, which may not be written yet.
    std::optional<Sample> computed;
    // The last result that was older than the tag's newest record, if it was the last one at all.
    std::optional<Sample> late;

    std::vector<Node*> readers;
    std::uint32_t rank = 0;
    std::uint64_t pass = 0;  // the last one in which it was computed
  };

  CalculationGraph() = default;
  CalculationGraph(const CalculationGraph&) = delete;
  CalculationGraph& operator=(const CalculationGraph&) = delete;

  // Null when it is no part of the graph.
  Node* Find(TagId tag);

  // All rules at once, for opening.
  void Load(const std::vector<CalculationPtr>& rules);
  // In the place of the tag's rule before. To do it twice is as to do it once.
  Node& Put(const CalculationPtr& rule);
  // The tag is gone, and with it what it holds.
  void Remove(TagId tag);
  // What the tag holds. Nothing when it is no part of the graph.
  void Set(const OperandValue& value);

  void Visit(const std::function<void(Node&)>& visit);

 private:
  Node& NodeOf(TagId tag);
  void Link(Node& node, const CalculationPtr& rule);
  void Unlink(Node& node);
  void ForgetUnlessUsed(Node& node);
  static std::uint32_t RankAbove(const Node& node);
  // Has the ranks of all that read the node, and of what reads these, follow its own.
  void RankReaders(Node& node);
  void RankAll();

  std::unordered_map<TagId, std::unique_ptr<Node>> nodes_;
};

}  // namespace zervane
