#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/catalogue/tag_index.h"
#include "engine/clock.h"
#include "engine/derived/calculations/calculation.h"
#include "engine/derived/calculations/history_progress.h"
#include "engine/derived/calculations/history_step.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"
#include "engine/write/turn.h"
#include "engine/write/write_path.h"

namespace zervane {

// Computes calculation tags back over the past, in the background.
//
// History and live computing share time between them: up to the instant at which a tag is saved it
// is the history's, behind it values are computed live. When a database is opened, the history of a
// tag goes on behind its newest record up to that instant, and live computing behind it. Each such
// stretch has a row of `progress`, and its results go with it from batch to batch: so none is
// missing, whenever it ends, and none is computed twice.
//
// A tag waits until the stretches of the tags that it is computed from are done; for the rest they
// take turns, so that a short one need not wait for a long one.
//
// The stage of calculation tags has it follow what is saved:
//
//   history.PrepareSave(turn, calculation, now_ms, batch);  // or PrepareRemoval
//   history.Check(turn, group.rows);                        // of every group of records
//   history.Keep(turn);                                     // or Discard: with every batch
//
// Their worker has it work when nothing is due live:
//
//   history.Begin(opened_ms);                               // before anything is computed live
//   while (history.HasWork() && ...) history.Step();
//
// Threads: Begin, HasWork and Step by the worker, the others with the turn.
class CalculationHistory {
 public:
  // Of one step at the most.
  static constexpr std::size_t kMostInstants = 4'096;

  // All outlive it.
  CalculationHistory(Store& store, WritePath& writes, const TagIndex& tags, Clock clock,
                     std::size_t most_instants = kMostInstants);
  CalculationHistory(const CalculationHistory&) = delete;
  CalculationHistory& operator=(const CalculationHistory&) = delete;

  // Takes up what was left to do, given all calculation tags. ZR3_ERR_STORAGE_DAMAGED when what the
  // store holds of it is none of it.
  Status Load(Turn& turn, std::span<const CalculationPtr> calculations) EXCLUDES(mutex_);

  // A calculation tag is added or changed. When its history is another one than before it is
  // computed anew, up to now; when it is the same, what there is to do stays; when it has none any
  // more, that ends. Live computing is to begin with the first instant behind `now_ms`.
  void PrepareSave(Turn& turn, CalculationPtr calculation, std::int64_t now_ms, StoreBatch& batch)
      EXCLUDES(mutex_);
  // A tag, which may be of another class, goes.
  void PrepareRemoval(Turn& turn, TagId tag, StoreBatch& batch) EXCLUDES(mutex_);
  // Refuses results of what a tag is not any more, which were on their way when it was saved.
  Status Check(Turn& turn, std::span<const RowChange> rows) EXCLUDES(mutex_);
  // The batch is stored, or not.
  void Keep(Turn& turn) noexcept EXCLUDES(mutex_);
  void Discard(Turn& turn) noexcept;

  // Has what was due while the database was closed computed, up to `opened_ms`, behind which live
  // computing goes on. Once it has succeeded it does nothing any more. The status of the store.
  Status Begin(std::int64_t opened_ms) EXCLUDES(mutex_);
  bool HasWork() const EXCLUDES(mutex_);
  // Computes up to some thousand results of one tag and stores them. The tag whose records these
  // are, or 0 when there are none. The status of the store; the same is tried again the next time.
  Result<TagId> Step() EXCLUDES(mutex_);

 private:
  // What is to be done of one stretch. Whoever works changes its progress, which nobody else reads.
  struct Job {
    CalculationPtr calculation;
    HistoryProgress progress;
    bool is_told = false;         // in the log, that it is computed
    std::int64_t told_ms = 0;     // by the clock
    std::int64_t told_share = 0;  // in percent
  };
  using JobPtr = std::shared_ptr<Job>;
  using Calculations = std::map<TagId, CalculationPtr>;
  using Jobs = std::map<HistoryProgress::Key, JobPtr>;

  // What a batch that is on its way changes: in the place of all that there is of a tag, or beside.
  struct Change {
    TagId tag = 0;
    bool replaces = true;
    Calculations::node_type calculation = {};
    Jobs::node_type job = {};
  };

  std::int64_t NewestTriggerOf(const Calculation& calculation) const;
  // The stretch that reaches from behind a time up to now; none when there is nothing in it.
  std::optional<HistoryProgress> StretchFrom(const Calculation& calculation, std::int64_t from_ms,
                                             std::int64_t now_ms) const;
  std::optional<HistoryProgress> GapOf(const Calculation& calculation, std::int64_t opened_ms) const
      REQUIRES(mutex_);
  bool HasJobs(TagId tag) const REQUIRES(mutex_);
  bool IsReady(const Job& job) const REQUIRES(mutex_);

  JobPtr NextJob() EXCLUDES(mutex_);
  bool IsCurrent(const JobPtr& job) const EXCLUDES(mutex_);
  Status Write(const JobPtr& job, const HistoryStep& step);
  Status WriteEnd(const JobPtr& job);
  void Follow(const JobPtr& job, const HistoryStep& step) EXCLUDES(mutex_);
  void Tell(Job& job, const HistoryStep& step) const;

  Store& store_;
  WritePath& writes_;
  const Clock clock_;
  const HistoryReader reader_;
  bool has_begun_ = false;

  mutable Mutex mutex_;
  Calculations calculations_ GUARDED_BY(mutex_);  // those with a history
  Jobs jobs_ GUARDED_BY(mutex_);
  JobPtr in_work_ GUARDED_BY(mutex_);             // the one whose results may be on their way
  HistoryProgress::Key last_ GUARDED_BY(mutex_);  // whose turn it was last

  std::vector<Change> changes_;  // of the batch that is on its way
};

}  // namespace zervane
