#pragma once

#include <cstdint>

namespace zervane {

// Names an operation in messages and tables. Numbers are never given to another one.
enum class OperationNumber : std::uint16_t {
  kAddTag = 1,
  kModifyTag,
  kDeleteTag,
  kGetTag,
  kGetTagType,
  kFindTagId,
  kGetCatalogueVersion,
  kFindTags,
  kCountTags,
  kListTags,
  kWriteSamples,
  kReadCurrent,
  kReadCurrentValues,
  kCountRecords,
  kReadRecords,
  kReadClock,
  kCorrectRecord,
  kInterpolateTag,
  kInterpolateTags,
  kCalculateStatistic,
  kFindAlarmsOfTags,
  kFindAlarmsOfGroup,
  kReadLatestAlarms,
  kAcknowledgeAlarms,
  kCommentAlarms,
  kAddAlarmGroup,
  kModifyAlarmGroup,
  kDeleteAlarmGroup,
  kFindAlarmGroup,
  kReadAlarmGroups,
  kListAlarmGroups,
  kListTagsOfGroup,
  kSubscribeTags,
  kUnsubscribeTags,
  kSubscribeFields,
  kUnsubscribeFields,
  kPollChanges,
  kSubscribeAlarms,
  kPollAlarms,
};

constexpr OperationNumber kLastOperation = OperationNumber::kPollAlarms;

}  // namespace zervane
