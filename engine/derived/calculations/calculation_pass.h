#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "api/words/samples.h"
#include "engine/current/current_values.h"
#include "engine/derived/calculations/calculation_graph.h"

namespace zervane {

// Computes calculation tags and what follows from them, each once and after all that it reads.
//
// Threads: one at a time.
class CalculationPass {
 public:
  using Node = CalculationGraph::Node;

  explicit CalculationPass(const CurrentValues& current_values) : current_values_(current_values) {}

  // Computes these at that time, as polled tags are, or, with kNoTime, at the newest time of what
  // they read; then every NOTIFY tag for which one of the results is a reason. The results go
  // behind what is in the batch. When it fails, by an exception, it may be done again.
  void Run(const std::vector<Node*>& first, std::int64_t time_ms, SampleBatch& batch);

 private:
  // A tag is computed once in a pass.
  void Add(Node& node);
  // Whether the result becomes the tag's current value. A polled one that is older than the newest
  // record, as when the clock was set back, is a late record; a notified one is none at all.
  bool Compute(Node& node, std::int64_t time_ms, SampleBatch& batch);
  std::optional<Sample> NewestOf(const Node& node) const;

  const CurrentValues& current_values_;
  std::uint64_t pass_ = 0;
  std::vector<Node*> waiting_;  // a heap
  std::vector<double> operands_;
};

}  // namespace zervane
