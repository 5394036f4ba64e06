#include "engine/alarms/alarm_recorder.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "api/caller.h"
#include "engine/alarms/alarm_action.h"
#include "engine/alarms/alarm_rows.h"
#include "engine/assert.h"
#include "engine/log.h"
#include "engine/storage/table.h"

namespace zervane {
namespace {

using RecordFormat = RowFormat<AlarmRecord>;

// The record as it starts.
AlarmRecord Started(const AlarmRule& rule, int position, std::int64_t start_ms,
                    const SourceValue& value) {
  const auto at = static_cast<std::size_t>(position);
  ZERVANE_ASSERT(rule.conditions.tests[at].has_value());
  AlarmRecord record;
  record.tag = rule.tag;
  record.start_ms = start_ms;
  record.priority = rule.conditions.tests[at]->priority;
  record.type = rule.conditions.tests[at]->type;
  record.source_value = SourceValueText(value);
  record.test = rule.texts[at];
  if (rule.acknowledges_itself) {
    record.is_acknowledged = true;
    record.acknowledgement = ZR3_AM_ACK_TYPE_AUTO;
    record.acknowledged_ms = start_ms;
    record.acknowledged_by = Caller::System().user;
  }
  return record;
}

void End(AlarmRecord& record, std::int64_t time_ms) {
  record.is_restored = true;
  record.end_ms = std::max(time_ms, record.start_ms);
}

}  // namespace

Status AlarmRecorder::Raise(AlarmBook::Trial& trial, int position, std::int64_t time_ms,
                            const SourceValue& value, std::int32_t action_depth,
                            StoreBatch& batch) {
  const Result<std::int64_t> start = TakeStart(trial, time_ms);
  if (!start.ok()) return start.status();
  trial.track.state.start_ms = *start;
  trial.standing = Started(trial.alarm->rule, position, *start, value);
  Table<AlarmRecord>::Put(*trial.standing, batch);
  AddAction(trial.alarm->rule, position, *start, action_depth, batch);
  return {};
}

Status AlarmRecorder::NoteChange(AlarmBook::Trial& trial, int position, std::int64_t time_ms,
                                 const SourceValue& value, std::int32_t action_depth,
                                 StoreBatch& batch) {
  const Result<std::int64_t> start = TakeStart(trial, time_ms);
  if (!start.ok()) return start.status();
  AlarmRecord record = Started(trial.alarm->rule, position, *start, value);
  End(record, *start);
  Table<AlarmRecord>::Put(record, batch);
  AddAction(trial.alarm->rule, position, *start, action_depth, batch);
  return {};
}

// The record as it stands in the store, for it may have been acknowledged or commented meanwhile.
Status AlarmRecorder::Return(AlarmBook::Trial& trial, std::int64_t time_ms, StoreBatch& batch) {
  const AlarmKey key = {.start_ms = trial.track.state.start_ms, .tag = trial.alarm->rule.tag};
  std::optional<AlarmRecord> record = std::move(trial.standing);
  trial.standing.reset();
  trial.track.state.start_ms = 0;
  if (!record) {
    Result<std::optional<AlarmRecord>> stored = Table<AlarmRecord>(store_).Read(key);
    if (!stored.ok()) return stored.status();
    record = *std::move(stored);
  }
  if (!record) {
    LogError("the record of alarm tag {} that started at {} is missing, so it does not end",
             key.tag, key.start_ms);
    return {};
  }
  End(*record, time_ms);
  Table<AlarmRecord>::Put(*record, batch);
  return {};
}

void AlarmRecorder::PutStates(std::span<const AlarmBook::Trial> trials, StoreBatch& batch) {
  for (const AlarmBook::Trial& trial : trials) {
    const AlarmState& state = trial.track.state;
    const AlarmState& before = trial.alarm->track.state;
    if (state == before) continue;
    const TagId tag = trial.alarm->rule.tag;
    if (!state.IsNormal()) {
      Table<StandingAlarm>::Put({.tag = tag, .state = state}, batch);
    } else if (!before.IsNormal()) {
      Table<StandingAlarm>::Remove(tag, batch);
    }
  }
}

void AlarmRecorder::RemoveAllOf(TagId alarm, StoreBatch& batch) {
  batch.rows.push_back(
      {.table = TableId::kAlarmRecord, .key = {Cell(std::int64_t{alarm})}, .row = {}});
  batch.rows.push_back(
      {.table = TableId::kProgress, .key = RowFormat<PendingAction>::KeysOf(alarm), .row = {}});
  Table<StandingAlarm>::Remove(alarm, batch);
}

// ---- starts and actions ----

// Nearly every start is newer than all before it, which needs no look into the store.
Result<std::int64_t> AlarmRecorder::TakeStart(AlarmBook::Trial& trial, std::int64_t time_ms) {
  AlarmTrack& track = trial.track;
  if (!track.latest_start_ms) {
    if (Status status = LookUpLatest(trial); !status.ok()) return status;
  }
  std::int64_t start_ms = time_ms;
  if (start_ms <= *track.latest_start_ms) {
    Result<std::int64_t> free = FindFree(trial, time_ms);
    if (free.ok() && *free > kMaxTimeMs) free = FindLastFree(trial);
    if (!free.ok()) return free.status();
    start_ms = *free;
  }
  trial.starts.insert(start_ms);
  if (start_ms < time_ms) return start_ms;
  const bool goes_on = time_ms >= track.taken_from_ms && time_ms <= track.taken_until_ms;
  if (!goes_on) track.taken_from_ms = time_ms;
  track.taken_until_ms = start_ms + 1;
  track.latest_start_ms = std::max(*track.latest_start_ms, start_ms);
  return start_ms;
}

Status AlarmRecorder::LookUpLatest(AlarmBook::Trial& trial) {
  std::int64_t latest_ms = kNoTime;
  const Row records_of_tag = {Cell(std::int64_t{trial.alarm->rule.tag})};
  Status status = Table<AlarmRecord>(store_).Visit({.table = RecordFormat::kTable,
                                                    .index = RecordFormat::kByTag,
                                                    .from = records_of_tag,
                                                    .to = records_of_tag,
                                                    .is_backward = true},
                                                   1, [&](const AlarmRecord& record) {
                                                     latest_ms = record.start_ms;
                                                     return false;
                                                   });
  if (status.ok()) trial.track.latest_start_ms = latest_ms;
  return status;
}

// From the end of the times that are known to be taken, so that a thousand records of one time cost
// no more than a thousand others.
Result<std::int64_t> AlarmRecorder::FindFree(const AlarmBook::Trial& trial, std::int64_t time_ms) {
  const AlarmTrack& track = trial.track;
  const bool is_in_run = time_ms >= track.taken_from_ms && time_ms < track.taken_until_ms;
  std::int64_t free_ms = is_in_run ? track.taken_until_ms : time_ms;
  if (free_ms > *track.latest_start_ms) return free_ms;
  const auto pass_those_of_batch = [&] {
    while (trial.starts.contains(free_ms)) ++free_ms;
  };
  pass_those_of_batch();
  const TagId tag = trial.alarm->rule.tag;
  Status status = Table<AlarmRecord>(store_).Visit(
      {.table = RecordFormat::kTable,
       .index = RecordFormat::kByTag,
       .from = RecordFormat::KeyCells({.start_ms = free_ms, .tag = tag}),
       .to = {Cell(std::int64_t{tag})}},
      std::numeric_limits<std::size_t>::max(), [&](const AlarmRecord& record) {
        if (record.start_ms > free_ms) return false;
        free_ms = record.start_ms + 1;
        pass_those_of_batch();
        return true;
      });
  if (!status.ok()) return status;
  return free_ms;
}

// There is one: no store has as many records as there are times.
Result<std::int64_t> AlarmRecorder::FindLastFree(const AlarmBook::Trial& trial) {
  const TagId tag = trial.alarm->rule.tag;
  std::int64_t free_ms = kMaxTimeMs;
  const auto pass_those_of_batch = [&] {
    while (trial.starts.contains(free_ms)) --free_ms;
  };
  pass_those_of_batch();
  Status status = Table<AlarmRecord>(store_).Visit(
      {.table = RecordFormat::kTable,
       .index = RecordFormat::kByTag,
       .from = {Cell(std::int64_t{tag})},
       .to = RecordFormat::KeyCells({.start_ms = free_ms, .tag = tag}),
       .is_backward = true},
      std::numeric_limits<std::size_t>::max(), [&](const AlarmRecord& record) {
        if (record.start_ms < free_ms) return false;
        free_ms = record.start_ms - 1;
        pass_those_of_batch();
        return true;
      });
  if (!status.ok()) return status;
  return free_ms;
}

void AlarmRecorder::AddAction(const AlarmRule& rule, int position, std::int64_t start_ms,
                              std::int32_t depth, StoreBatch& batch) {
  const std::optional<AlarmRule::Action>& action = rule.actions[static_cast<std::size_t>(position)];
  if (!action) return;
  if (depth > PendingAction::kGreatestDepth) {
    LogWarning(
        "alarm tag {}: its action is not carried out, the {}th of a chain of alarms that set each "
        "other's sources",
        rule.tag, depth);
    return;
  }
  Table<PendingAction>::Put({.key = {.alarm = rule.tag, .start_ms = start_ms},
                             .target = action->target,
                             .number = action->number,
                             .depth = depth},
                            batch);
}

}  // namespace zervane
