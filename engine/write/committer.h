#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "api/words/status.h"
#include "engine/catalogue/tag_index.h"
#include "engine/current/current_values.h"
#include "engine/feed/commit_feed.h"
#include "engine/storage/store.h"
#include "engine/write/group_marks.h"
#include "engine/write/stage.h"
#include "engine/write/turn.h"

namespace zervane {

// Changes the store, one batch after the other, and what memory knows of it with it.
//
// A group of accepted records is marked, passes the stages and becomes one batch; when the store
// has it, its newest records become current values, and the feed's consumers hear of it. All that
// needs memory comes before the store is asked, so that memory never falls behind it.
//
// When it is unknown whether the store has a batch, all that would change something is refused with
// ZR3_ERR_STORAGE_FAILED from then on, until the database is opened again.
//
// Threads: by whoever has the turn.
class Committer {
 public:
  // Fills the batch with what changes (rows, tags whose records go, marked records), or refuses.
  using Plan = std::function<Status(Turn&, StoreBatch&)>;
  // Has memory follow. It must not throw.
  using Adopt = std::function<void(Turn&)>;

  Committer(Store& store, const TagIndex& tags, CurrentValues& current_values, CommitFeed& feed)
      : store_(store), current_values_(current_values), feed_(feed), marks_(tags, current_values) {}

  // Before the first batch. Stages are asked in the order in which they were added.
  void AddStage(Stage& stage) { stages_.push_back(&stage); }
  // Asks the store how far it is.
  Status Start(Turn& turn);

  // Stores accepted records and the rows that go with them, all or none. When they are stored the
  // store may have taken the records; else these are as they were, but for their marks. REQUIRES
  // that no row is a tag's.
  CommitAnswer Commit(Turn& turn, RecordBatch& records, std::span<const RowChange> rows = {});

  // Carries out a change of the store: what the plan says and what stages add to it, or nothing.
  //
  // Stages hear of every tag whose row it puts or removes, and of every record; with its row a
  // tag's records go. The current values follow by themselves: those of the batch's records that
  // are marked, and those of emptied tags. A plan that changes nothing needs no commit. REQUIRES
  // that no marked record of the batch is to become the current value of a tag that it empties.
  Status Change(Turn& turn, const Plan& plan, const Adopt& adopt);

  // Whether all that would change something is refused, the fate of a batch being unknown. Any
  // thread may ask.
  bool is_lost() const { return is_lost_.load(std::memory_order_relaxed); }

 private:
  class StagedWork;

  void BeginBatch() noexcept;
  Status Process(Turn& turn, RecordBatch& records, std::span<const RowChange> rows);
  // Prepares that the records at these positions become current values.
  void PrepareCurrent(Turn& turn, const RecordBatch& records,
                      std::span<const std::uint32_t> positions);
  // Adds the group's records that go anywhere to the batch, behind those of the stages. When it
  // answers true the two have changed places, so that nothing had to be copied.
  bool Compose(RecordBatch& records);
  // Has stages add what the batch's changes of tags ask for, and empties tags that go.
  Status PrepareTags(Turn& turn);
  // Has stages add what the records of a change ask for, which they may mark anew.
  Status PrepareRecords(Turn& turn, RecordBatch& planned);
  std::vector<std::uint32_t> CurrentInBatch() const;
  bool Empties(TagId tag) const;
  // What the feed's consumers are to hear; null when there are none, or there is no memory for it.
  std::shared_ptr<CommittedGroup> MakeNews(const RecordBatch& records,
                                           std::span<const std::uint8_t> was_newest) const noexcept;
  bool ChangesNothing() const;
  CommitAnswer CommitBatch(Turn& turn) noexcept;
  void PutCurrent(Turn& turn) noexcept;

  Store& store_;
  CurrentValues& current_values_;
  CommitFeed& feed_;
  GroupMarks marks_;
  std::vector<Stage*> stages_;
  std::int64_t last_commit_ = 0;
  std::atomic<bool> is_lost_ = false;  // the fate of a batch is unknown

  // Of the batch that is on its way.
  StoreBatch batch_;
  std::vector<CurrentValues::Next> next_;
};

}  // namespace zervane
