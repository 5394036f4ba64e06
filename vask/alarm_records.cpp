#include "vask/alarm_records.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include "vask/records.h"

namespace zervane {
namespace {

ZR3Time TimeOf(std::int64_t time_ms) {
  return {.nSec = static_cast<int32>(static_cast<std::uint32_t>(time_ms / 1000)),
          .nMsec = static_cast<int16>(time_ms % 1000)};
}

template <std::size_t kCapacity>
void Write(StandardText& texts, const std::string& text, char (&array)[kCapacity]) {
  WriteText(texts, text, array, kCapacity);
}

}  // namespace

Result<AlarmQuery> ReadAlarmQuery(const ZR3AlarmQuery& query) {
  const Result<std::int64_t> start_ms = ReadTime(query.tvStart.nSec, query.tvStart.nMsec);
  if (!start_ms.ok()) return start_ms.status();
  const Result<std::int64_t> end_ms = ReadTime(query.tvEnd.nSec, query.tvEnd.nMsec);
  if (!end_ms.ok()) return end_ms.status();
  if (*end_ms != 0 && *start_ms > *end_ms) {
    return Status(ZR3_ERR_INVALID_REGION,
                  std::to_string(*start_ms) + " ms to " + std::to_string(*end_ms) + " ms");
  }
  return AlarmQuery{.start_ms = *start_ms,
                    .end_ms = *end_ms,
                    .acknowledged_mask = query.nAckMask,
                    .type_mask = query.nTypeMask,
                    .priority_mask = query.nPriorMask,
                    .restored_mask = query.nRestoreMask};
}

void FillAlarmRecord(const AlarmRecord& alarm, StandardText& texts, ZR3AlarmRecord* record) {
  record->nAlarmTagID = alarm.tag;
  record->tvStartTime = TimeOf(alarm.start_ms);
  record->tvEndTime = TimeOf(alarm.end_ms);
  record->tvAckTime = TimeOf(alarm.acknowledged_ms);
  record->tvCommentTime = TimeOf(alarm.commented_ms);
  record->nAcked = alarm.is_acknowledged ? ZR3_AM_REC_ACK_STATE_YES : ZR3_AM_REC_ACK_STATE_NO;
  record->nRestored =
      alarm.is_restored ? ZR3_AM_REC_RESTORE_STATE_YES : ZR3_AM_REC_RESTORE_STATE_NO;
  record->nPriority = alarm.priority;
  record->nAckType = alarm.acknowledgement;
  record->nAlarmType = alarm.type;
  Write(texts, alarm.source_value, record->szSrcValue);
  Write(texts, alarm.test, record->szTest);
  Write(texts, alarm.comment, record->szComment);
  Write(texts, alarm.acknowledged_by, record->szAcker);
  Write(texts, alarm.commented_by, record->szCommentor);
}

void FillAlarmGroup(const AlarmGroup& group, StandardText& texts, ZR3AlarmGroup* record) {
  Write(texts, group.name, record->szName);
  Write(texts, group.description, record->szDesc);
  record->nGroupID = group.id;
  record->nParentID = group.parent;
}

}  // namespace zervane
