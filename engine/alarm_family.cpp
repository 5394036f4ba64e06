#include "engine/alarm_family.h"

namespace zervane {
namespace {

Status NotYet() { return {ZR3_ERR_NOT_SUPPORTED, {}}; }

}  // namespace

Result<AlarmPage> AlarmFamily::Handle(const Caller&, const FindAlarmsOfTags&) const {
  return NotYet();
}

Result<AlarmPage> AlarmFamily::Handle(const Caller&, const FindAlarmsOfGroup&) const {
  return NotYet();
}

Result<ReadLatestAlarms::Reply> AlarmFamily::Handle(const Caller&, const ReadLatestAlarms&) const {
  return NotYet();
}

Result<AcknowledgeAlarms::Reply> AlarmFamily::Handle(const Caller&, const AcknowledgeAlarms&) {
  return NotYet();
}

Result<CommentAlarms::Reply> AlarmFamily::Handle(const Caller&, const CommentAlarms&) {
  return NotYet();
}

Result<GroupId> AlarmFamily::Handle(const Caller&, const AddAlarmGroup&) { return NotYet(); }

Result<Nothing> AlarmFamily::Handle(const Caller&, const ModifyAlarmGroup&) { return NotYet(); }

Result<Nothing> AlarmFamily::Handle(const Caller&, const DeleteAlarmGroup&) { return NotYet(); }

Result<GroupId> AlarmFamily::Handle(const Caller&, const FindAlarmGroup&) const { return NotYet(); }

Result<ReadAlarmGroups::Reply> AlarmFamily::Handle(const Caller&, const ReadAlarmGroups&) const {
  return NotYet();
}

Result<ListAlarmGroups::Reply> AlarmFamily::Handle(const Caller&, const ListAlarmGroups&) const {
  return NotYet();
}

Result<ListTagsOfGroup::Reply> AlarmFamily::Handle(const Caller&, const ListTagsOfGroup&) const {
  return NotYet();
}

}  // namespace zervane
