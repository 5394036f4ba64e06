#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "api/operations/alarms.h"
#include "api/words/alarm.h"
#include "api/words/status.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"
#include "engine/write/turn.h"

namespace zervane {

// The tree of alarm groups, and which alarm tags are filed in each. The root, 0, is always there;
// it has no name, and it never changes. There are no loops, because a group stays under the parent
// that it was added under, whose identifier is less than its own.
//
// A change is planned, which checks it against all rules and puts its rows into a batch, and is
// adopted once the store has that; between the two nobody sees it. What needs memory is done by
// the plan, so that to adopt it cannot fail.
//
// Threads: any may look; what changes it is called with the turn.
class AlarmGroups {
 public:
  class Change;

  explicit AlarmGroups(Store& store) : store_(store) {}

  // Reads the store's groups; called once, first. ZR3_ERR_STORAGE_DAMAGED when they break a rule.
  Status Load(Turn& turn) EXCLUDES(mutex_);

  // ---- looking ----

  bool Exists(GroupId group) const EXCLUDES(mutex_);
  // ZR3_ERR_GROUP_NOT_FOUND. The root is an empty one.
  Result<AlarmGroup> Read(GroupId group) const EXCLUDES(mutex_);
  // Without regard to ASCII case. ZR3_ERR_GROUP_NOT_FOUND.
  Result<GroupId> Find(std::string_view name, GroupId parent) const EXCLUDES(mutex_);
  // The groups, and the alarm tags, directly in a group, from an identifier on, at most `limit` of
  // them, in order of it. ZR3_ERR_GROUP_NOT_FOUND.
  Result<Page<AlarmGroup, GroupId>> ListGroups(GroupId parent, GroupId from,
                                               std::size_t limit) const EXCLUDES(mutex_);
  Result<Page<TagId>> ListTags(GroupId group, TagId from, std::size_t limit) const EXCLUDES(mutex_);
  // The alarm tags of the group and of those under it, ascending; none for an unknown group.
  std::vector<TagId> TagsUnder(GroupId group) const EXCLUDES(mutex_);

  // ---- changing groups ----

  // The statuses are those of the operations AddAlarmGroup, ModifyAlarmGroup and DeleteAlarmGroup.
  Result<Change> PlanAdd(Turn& turn, const AlarmGroup& given, StoreBatch& batch) const
      EXCLUDES(mutex_);
  Result<Change> PlanModify(Turn& turn, const ModifyAlarmGroup& wanted, StoreBatch& batch) const
      EXCLUDES(mutex_);
  Result<Change> PlanRemove(Turn& turn, GroupId group, StoreBatch& batch) const EXCLUDES(mutex_);
  // REQUIRES: no other change was adopted, and no tag was filed, since it was planned.
  void Adopt(Turn& turn, Change& change) noexcept EXCLUDES(mutex_);

  // ---- filing tags ----

  // An alarm tag is filed in a group, in the place of where it was filed before, or goes. Room for
  // it is made first, so that filing cannot fail; room that is not used stays for the next time.
  // REQUIRES that the group exists; to file, that room was made for this group and tag.
  void Reserve(Turn& turn, GroupId group, TagId tag) EXCLUDES(mutex_);
  void File(Turn& turn, GroupId group, TagId tag) noexcept EXCLUDES(mutex_);
  void Remove(Turn& turn, TagId tag) noexcept EXCLUDES(mutex_);

 private:
  // A group's parent and its folded name, which no two groups share.
  using Place = std::pair<GroupId, std::string>;
  // Nodes of these move from one to another without memory, which is how changes are adopted.
  struct Tree {
    std::map<GroupId, AlarmGroup> groups;
    std::map<Place, GroupId> names;
    std::set<std::pair<GroupId, GroupId>> children;  // a group after its parent
  };
  struct Filings {
    std::map<TagId, GroupId> groups;
    std::set<std::pair<GroupId, TagId>> tags;

    void Add(GroupId group, TagId tag);
    void Erase(TagId tag) noexcept;
  };

  static Place PlaceOf(const AlarmGroup& group);
  static void AddTo(Tree& tree, const AlarmGroup& group);

  bool IsGroup(GroupId group) const REQUIRES(mutex_);
  // Null for the root and for one that is not there.
  const AlarmGroup* FindGroup(GroupId group) const REQUIRES(mutex_);
  // ZR3_ERR_GROUP_EXISTS when another group than itself has its place.
  Status CheckUnique(const AlarmGroup& group) const REQUIRES(mutex_);
  bool IsEmpty(GroupId group) const REQUIRES(mutex_);
  // Why a stored group cannot be one, given those with lesser identifiers.
  Status CheckLoaded(const AlarmGroup& group) const REQUIRES(mutex_);

  Result<GroupId> ReadLastId() const;

  Store& store_;
  mutable Mutex mutex_;
  Tree tree_ GUARDED_BY(mutex_);
  Filings filed_ GUARDED_BY(mutex_);
  Filings reserved_ GUARDED_BY(mutex_);
  GroupId last_id_ GUARDED_BY(mutex_) = 0;  // the highest identifier ever given
};

// A change of one group that breaks no rule, and all that is needed to follow it.
class AlarmGroups::Change {
 public:
  GroupId id() const { return id_; }

 private:
  friend class AlarmGroups;

  GroupId id_ = 0;
  std::optional<Place> place_before_;  // none: it is added
  Tree after_;                         // the group alone, or nothing when it is removed
};

}  // namespace zervane
