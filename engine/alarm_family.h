#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "api/caller.h"
#include "api/operations/alarms.h"
#include "api/words/status.h"
#include "engine/alarms/alarm_groups.h"
#include "engine/alarms/alarm_notes.h"
#include "engine/catalogue/catalogue.h"
#include "engine/clock.h"
#include "engine/storage/store.h"
#include "engine/write/write_path.h"

namespace zervane {

// Carries out the operations on alarm records and alarm groups.
//
// Threads: any.
class AlarmFamily {
 public:
  AlarmFamily(Store& store, const Catalogue& catalogue, WritePath& writes, AlarmGroups& groups,
              Clock clock)
      : store_(store),
        catalogue_(catalogue),
        writes_(writes),
        groups_(groups),
        clock_(std::move(clock)) {}

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

 private:
  using PlanGroup = std::function<Result<AlarmGroups::Change>(Turn&, StoreBatch&)>;
  using NoteOne = std::function<Result<ZR3_STATUS>(AlarmNotes&, std::size_t)>;

  // Notes something on each of the alarms whose tag is an alarm tag, all in one change.
  Result<std::vector<std::int32_t>> NoteEach(const Caller& caller,
                                             const std::vector<AlarmKey>& alarms,
                                             const NoteOne& note);
  // Carries out what the plan says; the group's identifier.
  Result<GroupId> ChangeGroup(const PlanGroup& plan);

  Store& store_;
  const Catalogue& catalogue_;
  WritePath& writes_;
  AlarmGroups& groups_;
  const Clock clock_;
};

}  // namespace zervane
