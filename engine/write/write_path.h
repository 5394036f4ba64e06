#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "api/caller.h"
#include "api/operations/values.h"
#include "api/words/status.h"
#include "engine/catalogue/tag_index.h"
#include "engine/clock.h"
#include "engine/current/current_values.h"
#include "engine/feed/commit_feed.h"
#include "engine/storage/store.h"
#include "engine/write/admission.h"
#include "engine/write/committer.h"
#include "engine/write/stage.h"
#include "engine/write/turn.h"
#include "engine/write/write_queue.h"

namespace zervane {

// The way into the store, from the caller's batch to what readers see: admission, the queue, the
// committer, the current values and the feed, put together.
//
//   WritePath path(store, tags, clock);
//   path.AddStage(filters);
//   status = path.Start(Turn::Issue());
//   reply = path.Write(caller, {...});
//
// Threads: any may call Write, Change, TellLost and Close, once it has started.
class WritePath final : private WriteQueue::Owner {
 public:
  // `tags` is the index of the tags, which changes by Change alone once the path has started.
  WritePath(Store& store, const TagIndex& tags, Clock clock);
  ~WritePath();

  // Before Start. The stage is there for as long as the path is open.
  void AddStage(Stage& stage) { committer_.AddStage(stage); }

  // Reads the current values, and begins. ZR3_ERR_STORAGE_DAMAGED when one could not have been
  // accepted, ZR3_ERR_OUT_OF_MEMORY when there can be no thread.
  Status Start(Turn turn, const WriteQueue::Limits& limits = {});

  // As WriteSamples says. ZR3_ERR_INVALID_COUNT when there is not one tag for each sample,
  // ZR3_ERR_INVALID_ARGUMENT when a text does not lie among the batch's.
  Result<WriteSamples::Reply> Write(const Caller& caller, const WriteSamples& write);

  // Has the database itself write records, durably and in any order, and rows that are stored with
  // them or not at all. When a record is refused, which its code tells, nothing is stored: the
  // status is ZR3_ERR_SOME_RECORDS_FAILED. REQUIRES a record, and that no row is a tag's.
  Result<WriteSamples::Reply> WriteAsSystem(const SampleBatch& batch, std::vector<RowChange> rows);

  // Carries out a change of the store in its turn; see Committer::Change.
  Status Change(const Committer::Plan& plan, const Committer::Adopt& adopt);

  // For plans: whether the tag holds a record, stored or queued. From then on until the change is
  // over none is accepted, so that the answer holds.
  Result<bool> HoldsRecords(Turn& turn, TagId tag);

  // The status of the first batch of the session that was lost after it was answered, once. For the
  // end of a session: its durable writes are told as they come.
  Status TellLost(SessionId session) { return queue_->TellLost(session); }

  // Stores what is queued, refuses all later calls and closes the feed. The status of a batch whose
  // loss nobody was told, if there is one.
  Status Close();

  const CurrentValues& current_values() const { return current_values_; }
  CommitFeed& feed() { return feed_; }

 private:
  Status LoadCurrentValues(Turn& turn);
  Result<WriteSamples::Reply> Send(const SampleBatch& batch, const WriteRules& rules,
                                   const WriteQueue::Offer& offer);

  CommitAnswer Commit(Turn& turn, RecordBatch& records, std::span<const RowChange> rows) override;
  void FallBackToStored(const RecordBatch& settled) noexcept override;
  void CountQueued(const RecordBatch& queued) noexcept override;

  Store& store_;
  const TagIndex& tags_;
  CurrentValues current_values_;
  CommitFeed feed_;
  Committer committer_;
  Admission admission_ GUARDED_BY(queue_->mutex());
  // Set once by Start; goes first, for its thread uses all of the above.
  std::optional<WriteQueue> queue_;
};

}  // namespace zervane
