#pragma once

#include <cstdint>
#include <span>

#include "api/words/status.h"
#include "engine/alarms/alarm_book.h"
#include "engine/alarms/source_value.h"
#include "engine/storage/store.h"

namespace zervane {

// Has a batch store what becomes of alarms: a whole record for each transition, in order, even
// where a later one of the same batch replaces it, for those who follow commits tell transitions by
// them; the actions of records that start; and how far an alarm is while some test of it holds.
//
// Threads: with the turn alone.
class AlarmRecorder {
 public:
  explicit AlarmRecorder(Store& store) : store_(store) {}

  // A record of the test starts, at the time or the next one at which none of the tag starts; where
  // there is none up to the greatest time, at the last one before. Its action is the how many-th of
  // its chain.
  Status Raise(AlarmBook::Trial& trial, int position, std::int64_t time_ms,
               const SourceValue& value, std::int32_t action_depth, StoreBatch& batch);
  // The same of one that ends as it starts.
  Status NoteChange(AlarmBook::Trial& trial, int position, std::int64_t time_ms,
                    const SourceValue& value, std::int32_t action_depth, StoreBatch& batch);
  // The record that stands ends, not before its start.
  Status Return(AlarmBook::Trial& trial, std::int64_t time_ms, StoreBatch& batch);

  // Has the store hold how far the alarms are, where that is not as it was.
  static void PutStates(std::span<const AlarmBook::Trial> trials, StoreBatch& batch);
  // All that there is of an alarm tag goes: records, state, pending actions.
  static void RemoveAllOf(TagId alarm, StoreBatch& batch);

 private:
  // Notes that the start is taken.
  Result<std::int64_t> TakeStart(AlarmBook::Trial& trial, std::int64_t time_ms);
  Status LookUpLatest(AlarmBook::Trial& trial);
  Result<std::int64_t> FindFree(const AlarmBook::Trial& trial, std::int64_t time_ms);
  Result<std::int64_t> FindLastFree(const AlarmBook::Trial& trial);
  static void AddAction(const AlarmRule& rule, int position, std::int64_t start_ms,
                        std::int32_t depth, StoreBatch& batch);

  Store& store_;
};

}  // namespace zervane
