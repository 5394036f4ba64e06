#pragma once

#include "api/caller.h"
#include "api/operations/alarms.h"
#include "api/words/status.h"

namespace zervane {

// Carries out the operations on alarm records and alarm groups.
//
// Threads: any.
class AlarmFamily {
 public:
  Result<AlarmPage> Handle(const Caller& caller, const FindAlarmsOfTags& operation) const;
  Result<AlarmPage> Handle(const Caller& caller, const FindAlarmsOfGroup& operation) const;
  Result<ReadLatestAlarms::Reply> Handle(const Caller& caller,
                                         const ReadLatestAlarms& operation) const;
  Result<AcknowledgeAlarms::Reply> Handle(const Caller& caller, const AcknowledgeAlarms& operation);
  Result<CommentAlarms::Reply> Handle(const Caller& caller, const CommentAlarms& operation);

  Result<GroupId> Handle(const Caller& caller, const AddAlarmGroup& operation);
  Result<Nothing> Handle(const Caller& caller, const ModifyAlarmGroup& operation);
  Result<Nothing> Handle(const Caller& caller, const DeleteAlarmGroup& operation);
  Result<GroupId> Handle(const Caller& caller, const FindAlarmGroup& operation) const;
  Result<ReadAlarmGroups::Reply> Handle(const Caller& caller,
                                        const ReadAlarmGroups& operation) const;
  Result<ListAlarmGroups::Reply> Handle(const Caller& caller,
                                        const ListAlarmGroups& operation) const;
  Result<ListTagsOfGroup::Reply> Handle(const Caller& caller,
                                        const ListTagsOfGroup& operation) const;
};

}  // namespace zervane
