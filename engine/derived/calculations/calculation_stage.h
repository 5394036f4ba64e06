#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <utility>
#include <vector>

#include "api/words/status.h"
#include "engine/clock.h"
#include "engine/current/current_values.h"
#include "engine/derived/calculations/calculation_history.h"
#include "engine/derived/calculations/calculation_news.h"
#include "engine/derived/calculations/calculation_rules.h"
#include "engine/storage/store.h"
#include "engine/tag_array.h"
#include "engine/write/stage.h"
#include "engine/write/turn.h"

namespace zervane {

// Notes what commits mean to calculations, for the one who computes: new current values of tags
// that they read, and which calculation tags are saved or go. It adds nothing to a batch, and costs
// a record that nobody reads nothing.
//
// Threads: with the turn alone, but for the queue, and SetIsWriting.
class CalculationStage final : public Stage {
 public:
  // All outlive it.
  CalculationStage(CalculationRules& rules, CalculationHistory& history,
                   const CurrentValues& current_values, Clock clock)
      : rules_(rules),
        history_(history),
        current_values_(current_values),
        clock_(std::move(clock)) {}

  // Whoever computes is told when there are news. Before the first batch. It must not throw.
  void OnNews(std::function<void()> wake) { wake_ = std::move(wake); }

  // Whether what the one who computes writes is on its way: he knows the values of calculation tags
  // that become current then.
  void SetIsWriting(bool is_writing) noexcept { is_writing_.store(is_writing); }

  CalculationNewsQueue& queue() { return queue_; }

  Status Process(Turn& turn, const StagedRecords& group, StoreBatch& batch) override;
  Status PrepareTagChange(Turn& turn, TagId tag, StoreBatch& batch) override;
  Status PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch& batch) override;
  Status PrepareRecord(Turn& turn, TagId tag, std::int64_t time_ms, std::uint8_t* marks,
                       StoreBatch& batch) override;
  void Keep(Turn& turn) noexcept override;
  void Discard(Turn& turn) noexcept override;

 private:
  // Where the value of a tag stands among those of a batch.
  struct Place {
    std::uint64_t batch = 0;
    std::size_t at = 0;
  };

  // What this batch means so far.
  CalculationNews& News();
  void AddValue(const OperandValue& value);

  CalculationRules& rules_;
  CalculationHistory& history_;
  const CurrentValues& current_values_;
  const Clock clock_;
  std::function<void()> wake_;
  CalculationNewsQueue queue_;
  std::atomic<bool> is_writing_ = false;

  // Of the batch that is on its way.
  std::uint64_t batch_ = 1;
  CalculationNewsQueue::List news_;  // one, or none
  TagArray<Place> places_;
};

}  // namespace zervane
