#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <vector>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/catalogue/tag_index.h"
#include "engine/derived/statistics_tags/statistics_book.h"
#include "engine/derived/statistics_tags/statistics_rule.h"
#include "engine/storage/store.h"
#include "engine/write/stage.h"
#include "engine/write/turn.h"

namespace zervane {

// Notes what changes mean for statistics tags, in the same batch: a tag is added, changes or goes;
// a record comes into a window that is computed already, which is to be computed again.
//
// A batch with rows of statistics tags that is no change of tags is what the worker has computed.
// It is refused when one of its tags is not as it was when that began.
//
// Threads: with the turn alone, but for next_due_ms, which any may ask.
class StatisticsStage final : public Stage {
 public:
  // All outlive it.
  StatisticsStage(Store& store, const TagIndex& tags, StatisticsBook& book)
      : store_(store), tags_(tags), book_(book) {}

  // Before the first batch, with the rules of all statistics tags. ZR3_ERR_STORAGE_DAMAGED when
  // what the store holds of how far they are is none of it.
  Status Load(Turn& turn, std::vector<StatisticsRule> rules);

  // Whoever works off what is due is told when there is something earlier than he knows. Before the
  // first batch. It must not throw.
  void OnWork(std::function<void()> wake) { wake_ = std::move(wake); }

  Status Process(Turn& turn, const StagedRecords& group, StoreBatch& batch) override;
  Status PrepareTagChange(Turn& turn, TagId tag, StoreBatch& batch) override;
  Status PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch& batch) override;
  // A correction leaves what was computed as it is.
  Status PrepareRecord(Turn&, TagId, std::int64_t, std::uint8_t*, StoreBatch&) override {
    return {};
  }
  void Keep(Turn& turn) noexcept override;
  void Discard(Turn& turn) noexcept override;

  // Of a change without records that has these rows: what was computed is finished with it.
  Status PrepareFinish(Turn& turn);

  // When by the clock there is something to do; StatisticsBook::kNever.
  std::int64_t next_due_ms() const { return next_due_ms_.load(); }

 private:
  Store& store_;
  const TagIndex& tags_;
  StatisticsBook& book_;
  std::function<void()> wake_;
  std::atomic<std::int64_t> next_due_ms_ = StatisticsBook::kNever;
};

}  // namespace zervane
