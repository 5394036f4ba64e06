#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "api/operations/alarms.h"
#include "api/words/alarm.h"
#include "api/words/status.h"
#include "engine/storage/store.h"

// Alarm records as the store has them.
namespace zervane {

// ZR3_ERR_INVALID_MASK when a bit is set for which a record has no property. -1 selects all.
Status CheckAlarmMask(std::int64_t mask);

// Leaves of the record its tag, its start and the selected properties.
void KeepSelected(std::int64_t mask, AlarmRecord& record);

// Whether the masks of the query let the record pass. Its range is not looked at.
bool Matches(const AlarmQuery& query, const AlarmRecord& record);

// What is asked of the records of some tags.
struct AlarmSearch {
  std::span<const TagId> tags;  // ascending, each once
  const AlarmQuery& query;
  std::int64_t mask = -1;
  AlarmKey from;
  std::size_t limit = 0;  // at least 1
};

// A page of them. A few tags are read one beside the other, and what they have is merged; of many
// the index is read that leaves out the most, and what is of other tags is passed over. So it is of
// a few of which only what stands or is not acknowledged is wanted, unless that index is long. A
// page ends early, even without a record, when it took many rows to come so far.
Result<AlarmPage> FindAlarms(Store& store, const AlarmSearch& search);

// The latest record of a tag by start, if there is one.
Result<std::optional<AlarmRecord>> LatestAlarm(Store& store, TagId tag);

}  // namespace zervane
