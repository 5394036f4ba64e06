#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <span>
#include <utility>
#include <vector>

#include "api/words/status.h"
#include "engine/clock.h"
#include "engine/current/current_values.h"
#include "engine/derived/calculations/calculation_history.h"
#include "engine/derived/calculations/calculation_news.h"
#include "engine/derived/calculations/calculation_rules.h"
#include "engine/derived/calculations/notify_rows.h"
#include "engine/storage/store.h"
#include "engine/tag_array.h"
#include "engine/write/stage.h"
#include "engine/write/turn.h"

namespace zervane {

// Notes what commits mean to calculations, for the one who computes: new current values of tags
// that they read, and which calculation tags are saved or go. A value for which NOTIFY tags are to
// be computed gets a row of `progress` in its batch, unless one of its tag stands; the batch of
// what was computed removes it. A record that nobody reads costs nothing.
//
// Threads: with the turn alone, but for the queue, and SetIsWriting.
class CalculationStage final : public Stage {
 public:
  // What was before the first commit.
  static constexpr std::uint64_t kOpening = 1;

  // All outlive it.
  CalculationStage(CalculationRules& rules, CalculationHistory& history,
                   const CurrentValues& current_values, Clock clock)
      : rules_(rules),
        history_(history),
        current_values_(current_values),
        clock_(std::move(clock)) {}

  // Whoever computes is told when there are news. Before the first batch. It must not throw.
  void OnNews(std::function<void()> wake) { wake_ = std::move(wake); }

  // Before the first batch: what was left to do. ZR3_ERR_STORAGE_DAMAGED when the store holds of it
  // what is none of it.
  Status Load(Turn& turn, Store& store) { return rows_.Load(turn, store); }
  // Then: the tags whose values were still to be followed when the database ended.
  std::span<const TagId> unfollowed() const { return rows_.standing(); }

  // Tells what current values were corrected to, if that is not told yet. For a change.
  void PrepareCorrected(Turn& turn);

  // What the one who computes has of all commits up to `through` is on its way, until EndWriting:
  // he knows the values of calculation tags that become current then. With NotifyRows::AllDone
  // among its rows what he was to compute of these commits is done.
  void BeginWriting(std::uint64_t through) noexcept { writing_through_.store(through); }
  void EndWriting() noexcept { writing_through_.store(0); }
  // The same for a change, when there is nothing to write.
  void PrepareDone(Turn& turn, std::uint64_t through, StoreBatch& batch);

  CalculationNewsQueue& queue() { return queue_; }

  Status Process(Turn& turn, const StagedRecords& group, StoreBatch& batch) override;
  Status PrepareTagChange(Turn& turn, TagId tag, StoreBatch& batch) override;
  Status PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch& batch) override;
  Status PrepareRecord(Turn& turn, TagId tag, std::int64_t time_ms, std::uint8_t* marks,
                       StoreBatch& batch) override;
  void Keep(Turn& turn) noexcept override;
  void Discard(Turn& turn) noexcept override;

 private:
  static constexpr std::uint64_t kFirstBatch = kOpening + 1;

  // Where the value of a tag stands among those of a batch.
  struct Place {
    std::uint64_t batch = 0;
    std::size_t at = 0;
  };

  // What this batch means so far.
  CalculationNews& News();
  void TellCorrected();
  void AddValue(const OperandValue& value, StoreBatch& batch);
  void AddReason(TagId tag, StoreBatch& batch);

  CalculationRules& rules_;
  CalculationHistory& history_;
  const CurrentValues& current_values_;
  const Clock clock_;
  std::function<void()> wake_;
  CalculationNewsQueue queue_;
  std::atomic<std::uint64_t> writing_through_ = 0;  // 0: nothing of it is on its way
  NotifyRows rows_;

  // Tags whose current values were corrected, which is not told yet: a stage hears of a correction
  // before it is there to be read, and looks it up when it is asked next.
  std::vector<TagId> corrected_;

  // Of the batch that is on its way.
  std::uint64_t batch_ = kFirstBatch;
  CalculationNewsQueue::List news_;  // none; one; or two, of which the first has what was corrected
  std::vector<TagId> corrects_;
  TagArray<Place> places_;
};

}  // namespace zervane
