#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/alarms/alarm_book.h"
#include "engine/alarms/alarm_groups.h"
#include "engine/alarms/alarm_recorder.h"
#include "engine/alarms/alarm_rows.h"
#include "engine/alarms/alarm_rule.h"
#include "engine/alarms/source_history.h"
#include "engine/alarms/source_value.h"
#include "engine/clock.h"
#include "engine/storage/store.h"
#include "engine/write/stage.h"
#include "engine/write/turn.h"

namespace zervane {

// Judges the values of tags that alarms watch, and has what becomes of alarms stored in the same
// batch: an alarm and the value that raised it are stored together or not at all.
//
// A value counts when it is good and was its tag's newest in its turn. What time alone makes of
// alarms, in silence, comes as a change of the store (see CompleteHolds), or before the next value
// of the source is judged, whichever is first.
//
// Threads: with the turn alone, but for next_deadline_ms and HasNewActions, which any may ask.
class AlarmStage final : public Stage {
 public:
  // Everything outlives the stage.
  AlarmStage(Store& store, SourceHistory history, AlarmBook& book, AlarmGroups& groups,
             Clock clock);

  // Before the first batch, with the rules of all alarm tags: files the tags in their groups, and
  // has the alarms go on from where they stand. ZR3_ERR_STORAGE_DAMAGED when what the store holds
  // of an alarm is none of it.
  Status Load(Turn& turn, std::vector<AlarmRule> rules);

  // Whoever works off what is due by time, and actions, is told when there is something earlier
  // than he knows. Before the first batch. It must not throw.
  void OnWork(std::function<void()> wake) { wake_ = std::move(wake); }

  Status Process(Turn& turn, const StagedRecords& group, StoreBatch& batch) override;
  // What stands of an alarm tag ends when it is judged in another way from now on.
  Status PrepareTagChange(Turn& turn, TagId tag, StoreBatch& batch) override;
  // What stands of an alarm tag ends, and so does what its source has raised.
  Status PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch& batch) override;
  Status PrepareRecord(Turn& turn, TagId tag, std::int64_t time_ms, std::uint8_t* marks,
                       StoreBatch& batch) override;
  void Keep(Turn& turn) noexcept override;
  void Discard(Turn& turn) noexcept override;

  // Completes pending holds that have lasted by the clock, of some alarm tags, the first ones
  // first. For a plan of a change.
  Status CompleteHolds(Turn& turn, StoreBatch& batch);
  // When by the clock the next hold is complete; AlarmBook::kNever when there is none.
  std::int64_t next_deadline_ms() const { return next_deadline_ms_.load(); }
  // Whether actions were stored since this was asked last; true the first time.
  bool HasNewActions() { return has_new_actions_.exchange(false); }

 private:
  // A record of the group that was written because of an action, and how deep in a chain.
  struct ActionRecord {
    TagId tag = 0;
    std::int64_t time_ms = 0;
    std::int32_t depth = 0;
  };
  // A value that is judged.
  struct Judged {
    GoodValue good;
    SourceValue value;
  };

  Status Start(const StandingAlarm& stored);
  Status CheckActions() const;
  Status FindActionRecords(const StagedRecords& group);
  std::int32_t DepthOf(TagId tag, std::int64_t time_ms) const;
  Status JudgeSource(AlarmBook::Source& source, const Judged& judged, StoreBatch& batch);
  Status Judge(AlarmBook::Alarm& alarm, const Judged& judged, StoreBatch& batch);
  Status JudgeChange(AlarmBook::Alarm& alarm, const SourceValue& before, const Judged& judged,
                     StoreBatch& batch);
  Status Carry(AlarmBook::Trial& trial, const AlarmTransitions& transitions, TagType type,
               StoreBatch& batch);
  Status CompleteHoldsOf(AlarmBook::Alarm& alarm, std::int64_t now_ms, StoreBatch& batch);
  Result<GoodValue> NewestFor(AlarmBook::Alarm& alarm, const AlarmState& state);
  // The source's newest good value in this batch, looked up when it is not known.
  Result<NewestGood*> LookUpNewest(TagId tag, AlarmBook::Source& source);
  Status EndStanding(AlarmBook::Alarm& alarm, StoreBatch& batch);
  void FinishBatch(StoreBatch& batch);

  Store& store_;
  const SourceHistory history_;
  AlarmBook& book_;
  AlarmGroups& groups_;
  const Clock clock_;
  AlarmRecorder recorder_;
  std::function<void()> wake_;

  std::atomic<std::int64_t> next_deadline_ms_ = AlarmBook::kNever;
  std::atomic<bool> has_new_actions_ = true;

  // Of the batch that is on its way.
  std::vector<ActionRecord> action_records_;
  bool adds_actions_ = false;
};

}  // namespace zervane
