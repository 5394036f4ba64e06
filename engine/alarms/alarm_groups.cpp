#include "engine/alarms/alarm_groups.h"

namespace zervane {

bool AlarmGroups::Exists(GroupId group) const { return group == kRootGroup; }

std::vector<TagId> AlarmGroups::TagsUnder(GroupId) const { return {}; }

void AlarmGroups::Reserve(Turn&, GroupId, TagId) {}
void AlarmGroups::File(Turn&, GroupId, TagId) noexcept {}
void AlarmGroups::Remove(Turn&, TagId) noexcept {}

}  // namespace zervane
