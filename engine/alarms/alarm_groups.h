#pragma once

#include <cstdint>
#include <set>
#include <string_view>
#include <vector>

#include "api/operations/alarms.h"
#include "api/words/alarm.h"
#include "api/words/status.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"
#include "engine/write/turn.h"

namespace zervane {

// The tree of alarm groups, and which alarm tags are filed in each. The root, 0, is always there.
//
// Threads: any may look; what changes it is called with the turn.
class AlarmGroups {
 public:
  bool Exists(GroupId group) const EXCLUDES(mutex_);
  // The alarm tags of the group and of those under it, ascending; none for an unknown group.
  std::vector<TagId> TagsUnder(GroupId group) const EXCLUDES(mutex_);

  // An alarm tag is filed in a group, in the place of where it was filed before, or goes. Room for
  // it is made first, so that filing cannot fail.
  void Reserve(Turn& turn, GroupId group, TagId tag) EXCLUDES(mutex_);
  void File(Turn& turn, GroupId group, TagId tag) noexcept EXCLUDES(mutex_);
  void Remove(Turn& turn, TagId tag) noexcept EXCLUDES(mutex_);

 private:
  mutable Mutex mutex_;
};

}  // namespace zervane
