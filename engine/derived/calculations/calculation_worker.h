#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <vector>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "engine/clock.h"
#include "engine/derived/calculations/calculation_graph.h"
#include "engine/derived/calculations/calculation_history.h"
#include "engine/derived/calculations/calculation_news.h"
#include "engine/derived/calculations/calculation_pass.h"
#include "engine/derived/calculations/calculation_stage.h"
#include "engine/derived/calculations/poll_schedule.h"
#include "engine/write/write_path.h"

namespace zervane {

// Computes calculation tags, and writes what comes of it as the database's own records.
//
// What news mean and what a polled instant asks for is computed commit by commit, each as a pass of
// its own; what several passes in a row have computed is written in one batch. What the store
// refuses stays, and is tried again before anything else is computed.
//
// What is still to be followed of NOTIFY tags stands in the store, see NotifyRows, and goes with
// what is computed. At opening the tags that it names are computed once, and those NOTIFY tags,
// too, of which a value that is a reason is newer than their own newest record.
//
// Threads: one at a time, but for those of the stage.
class CalculationWorker {
 public:
  // All outlive it.
  CalculationWorker(CalculationStage& stage, CalculationHistory& history, WritePath& writes,
                    Clock clock)
      : stage_(stage),
        history_(history),
        writes_(writes),
        clock_(std::move(clock)),
        pass_(writes.current_values()) {}

  // Before the first batch, with all calculation tags, and the tags whose values were still to be
  // followed when the database ended.
  void Load(const std::vector<CalculationPtr>& rules, std::span<const TagId> unfollowed) {
    graph_.Load(rules);
    unfollowed_.assign(unfollowed.begin(), unfollowed.end());
  }
  // Once current values can be read.
  void Start();

  // Does all that is to be done now. The status of the store, when it refuses.
  Status Work(const std::function<bool()>& is_stopping);
  // When by the clock there is something to do next; the greatest number: never.
  std::int64_t next_deadline_ms() const { return schedule_.NextDue(); }

 private:
  using Node = CalculationGraph::Node;

  // So many records are written in one go, and what a pass has added beyond.
  static constexpr std::size_t kMostUnwritten = 10'000;

  // Each answers whether there was something to do.
  bool ComputeOpening();
  Result<bool> ComputeNews();
  bool ComputeDue();
  Result<bool> ComputePast();

  Status Follow(const CalculationNews& news);
  void FollowSaved(const CalculationNews& news);
  void FollowRemoval(TagId tag);
  Status AskForCorrected();
  void FollowValue(const OperandValue& value, std::vector<Node*>& triggered);
  static void AddTriggered(const Node& node, std::vector<Node*>& triggered);
  OperandValue CurrentOf(TagId tag) const;

  void Run(const std::vector<Node*>& first, std::int64_t time_ms);
  Status Write();
  Status WriteDone();
  Status DropRefused(const WriteSamples::Reply& reply);

  CalculationStage& stage_;
  CalculationHistory& history_;
  WritePath& writes_;
  const Clock clock_;
  CalculationGraph graph_;
  PollSchedule schedule_;
  CalculationPass pass_;

  std::int64_t opened_ms_ = 0;  // from then on values are computed live
  std::vector<TagId> unfollowed_;
  bool is_opening_ = true;  // what is computed at opening is still to come
  CalculationNewsQueue::List news_;
  SampleBatch unwritten_;
  std::uint64_t followed_ = CalculationStage::kOpening;  // the last commit that was
  bool has_rows_done_ = false;                           // which go with the next write
};

}  // namespace zervane
