#include "engine/alarms/alarm_groups.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <functional>
#include <limits>

#include "api/words/ascii.h"
#include "api/words/utf8.h"
#include "engine/alarms/alarm_rows.h"
#include "engine/assert.h"
#include "engine/catalogue/rules.h"
#include "engine/storage/tables.h"

namespace zervane {
namespace {

// What fits a record's 255 bytes in any encoding.
constexpr std::size_t kMaxDescriptionBytes = std::size_t{3} * (ZR3_LEN_TAG_NAME - 1);
constexpr GroupId kGreatestGroup = std::numeric_limits<GroupId>::max();

Status NoSuchGroup(GroupId group) {
  return {ZR3_ERR_GROUP_NOT_FOUND, fmt::format("alarm group {}", group)};
}

Status CheckNotRoot(GroupId group) {
  if (group != kRootGroup) return {};
  return {ZR3_ERR_INVALID_ARGUMENT, "the root of the alarm groups does not change"};
}

// Whether name and description are within their bounds.
Status CheckTexts(const AlarmGroup& group) {
  Status name = CheckName(group.name);
  if (name.code() == ZR3_ERR_INVALID_TAG_NAME) return {ZR3_ERR_INVALID_GROUP_NAME, name.message()};
  if (!name.ok()) return name;
  const std::string& text = group.description;
  if (text.size() > kMaxDescriptionBytes || text.find('\0') != std::string::npos) {
    return {ZR3_ERR_INVALID_PROPERTY,
            fmt::format("'{}': a description of {} bytes", group.name, text.size())};
  }
  if (IsUtf8(text)) return {};
  return {ZR3_ERR_INVALID_TEXT, fmt::format("'{}': the description is not UTF-8", group.name)};
}

Status Damaged(std::string what) { return {ZR3_ERR_STORAGE_DAMAGED, std::move(what)}; }

}  // namespace

// ---- loading ----

Status AlarmGroups::Load(Turn& turn) {
  turn.AssertHeld();
  const Result<GroupId> last_id = ReadLastId();
  if (!last_id.ok()) return last_id.status();
  std::vector<AlarmGroup> groups;
  const auto add = [&](AlarmGroup group) {
    groups.push_back(std::move(group));
    return true;
  };
  Status read = Table<AlarmGroup>(store_).Visit(
      {.table = TableId::kAlarmGroup}, std::numeric_limits<std::size_t>::max(), std::cref(add));
  if (!read.ok()) return read;
  const MutexLock lock(mutex_);
  last_id_ = *last_id;
  for (const AlarmGroup& group : groups) {
    if (Status status = CheckLoaded(group); !status.ok()) return status;
    AddTo(tree_, group);
  }
  return {};
}

Result<GroupId> AlarmGroups::ReadLastId() const {
  const Result<std::optional<Setting>> setting =
      Table<Setting>(store_).Read(std::string(kLastGroupSetting));
  if (!setting.ok()) return setting.status();
  if (!setting->has_value()) return GroupId{0};
  const auto* number = std::get_if<std::int64_t>(&(*setting)->value);
  if (number == nullptr || *number < 0 || *number > kGreatestGroup) {
    return Damaged(fmt::format("the setting {} is out of bounds", kLastGroupSetting));
  }
  return static_cast<GroupId>(*number);
}

// Rows come in order of identifier, so that a parent that is not there yet is unknown, or part of a
// loop.
Status AlarmGroups::CheckLoaded(const AlarmGroup& group) const {
  if (group.id == kRootGroup || group.id > last_id_) {
    return Damaged(fmt::format("the stored alarm group {} is out of bounds", group.id));
  }
  if (!IsGroup(group.parent)) {
    return Damaged(fmt::format("the stored alarm group {} is under {}, which is not before it",
                               group.id, group.parent));
  }
  Status fault = CheckTexts(group);
  if (fault.ok()) fault = CheckUnique(group);
  if (fault.ok()) return {};
  return Damaged(
      fmt::format("the stored alarm group {} breaks a rule: {}", group.id, fault.message()));
}

// ---- looking ----

bool AlarmGroups::Exists(GroupId group) const {
  const MutexLock lock(mutex_);
  return IsGroup(group);
}

Result<AlarmGroup> AlarmGroups::Read(GroupId group) const {
  if (group == kRootGroup) return AlarmGroup();
  const MutexLock lock(mutex_);
  const AlarmGroup* found = FindGroup(group);
  if (found == nullptr) return NoSuchGroup(group);
  return *found;
}

Result<GroupId> AlarmGroups::Find(std::string_view name, GroupId parent) const {
  const Place place(parent, FoldAscii(name));
  const MutexLock lock(mutex_);
  const auto found = tree_.names.find(place);
  if (found != tree_.names.end()) return found->second;
  return Status(ZR3_ERR_GROUP_NOT_FOUND, fmt::format("'{}' under alarm group {}", name, parent));
}

Result<Page<AlarmGroup, GroupId>> AlarmGroups::ListGroups(GroupId parent, GroupId from,
                                                          std::size_t limit) const {
  const MutexLock lock(mutex_);
  if (!IsGroup(parent)) return NoSuchGroup(parent);
  Page<AlarmGroup, GroupId> page;
  for (auto child = tree_.children.lower_bound({parent, from});
       child != tree_.children.end() && child->first == parent; ++child) {
    if (page.items.size() == limit) {
      page.next = child->second;
      break;
    }
    page.items.push_back(tree_.groups.at(child->second));
  }
  return page;
}

Result<Page<TagId>> AlarmGroups::ListTags(GroupId group, TagId from, std::size_t limit) const {
  const MutexLock lock(mutex_);
  if (!IsGroup(group)) return NoSuchGroup(group);
  Page<TagId> page;
  for (auto tag = filed_.tags.lower_bound({group, from});
       tag != filed_.tags.end() && tag->first == group; ++tag) {
    if (page.items.size() == limit) {
      page.next = tag->second;
      break;
    }
    page.items.push_back(tag->second);
  }
  return page;
}

std::vector<TagId> AlarmGroups::TagsUnder(GroupId group) const {
  std::vector<TagId> tags;
  std::vector<GroupId> groups = {group};
  const MutexLock lock(mutex_);
  for (std::size_t at = 0; at < groups.size(); ++at) {
    const GroupId next = groups[at];
    for (auto child = tree_.children.lower_bound({next, 0});
         child != tree_.children.end() && child->first == next; ++child) {
      groups.push_back(child->second);
    }
    for (auto tag = filed_.tags.lower_bound({next, 0});
         tag != filed_.tags.end() && tag->first == next; ++tag) {
      tags.push_back(tag->second);
    }
  }
  std::ranges::sort(tags);
  return tags;
}

bool AlarmGroups::IsGroup(GroupId group) const {
  return group == kRootGroup || FindGroup(group) != nullptr;
}

const AlarmGroup* AlarmGroups::FindGroup(GroupId group) const {
  const auto found = tree_.groups.find(group);
  return found == tree_.groups.end() ? nullptr : &found->second;
}

Status AlarmGroups::CheckUnique(const AlarmGroup& group) const {
  const auto owner = tree_.names.find(PlaceOf(group));
  if (owner == tree_.names.end() || owner->second == group.id) return {};
  return {ZR3_ERR_GROUP_EXISTS, fmt::format("'{}' under alarm group {} is group {}", group.name,
                                            group.parent, owner->second)};
}

bool AlarmGroups::IsEmpty(GroupId group) const {
  const auto child = tree_.children.lower_bound({group, 0});
  const auto tag = filed_.tags.lower_bound({group, 0});
  return (child == tree_.children.end() || child->first != group) &&
         (tag == filed_.tags.end() || tag->first != group);
}

// ---- changing groups ----

AlarmGroups::Place AlarmGroups::PlaceOf(const AlarmGroup& group) {
  return {group.parent, FoldAscii(group.name)};
}

void AlarmGroups::AddTo(Tree& tree, const AlarmGroup& group) {
  tree.groups.emplace(group.id, group);
  tree.names.emplace(PlaceOf(group), group.id);
  tree.children.emplace(group.parent, group.id);
}

Result<AlarmGroups::Change> AlarmGroups::PlanAdd(Turn& turn, const AlarmGroup& given,
                                                 StoreBatch& batch) const {
  turn.AssertHeld();
  AlarmGroup group = given;
  if (Status status = CheckTexts(group); !status.ok()) return status;
  const MutexLock lock(mutex_);
  if (!IsGroup(group.parent)) return NoSuchGroup(group.parent);
  group.id = kRootGroup;  // none has it, so that every name that is taken is another's
  if (Status status = CheckUnique(group); !status.ok()) return status;
  if (last_id_ == kGreatestGroup) {
    return Status(ZR3_ERR_TAG_IDS_EXHAUSTED, "of alarm groups");
  }
  group.id = last_id_ + 1;
  Table<AlarmGroup>::Put(group, batch);
  Table<Setting>::Put(
      {.name = std::string(kLastGroupSetting), .value = static_cast<std::int64_t>(group.id)},
      batch);
  Change change;
  change.id_ = group.id;
  AddTo(change.after_, group);
  return change;
}

Result<AlarmGroups::Change> AlarmGroups::PlanModify(Turn& turn, const ModifyAlarmGroup& wanted,
                                                    StoreBatch& batch) const {
  turn.AssertHeld();
  if (Status status = CheckNotRoot(wanted.id); !status.ok()) return status;
  const MutexLock lock(mutex_);
  const AlarmGroup* before = FindGroup(wanted.id);
  if (before == nullptr) return NoSuchGroup(wanted.id);
  AlarmGroup after = *before;
  if (wanted.name) after.name = *wanted.name;
  if (wanted.description) after.description = *wanted.description;
  if (Status status = CheckTexts(after); !status.ok()) return status;
  if (Status status = CheckUnique(after); !status.ok()) return status;
  if (after != *before) Table<AlarmGroup>::Put(after, batch);
  Change change;
  change.id_ = wanted.id;
  change.place_before_ = PlaceOf(*before);
  AddTo(change.after_, after);
  return change;
}

Result<AlarmGroups::Change> AlarmGroups::PlanRemove(Turn& turn, GroupId group,
                                                    StoreBatch& batch) const {
  turn.AssertHeld();
  if (Status status = CheckNotRoot(group); !status.ok()) return status;
  const MutexLock lock(mutex_);
  const AlarmGroup* before = FindGroup(group);
  if (before == nullptr) return NoSuchGroup(group);
  if (!IsEmpty(group)) {
    return Status(ZR3_ERR_GROUP_NOT_EMPTY, fmt::format("alarm group {}", group));
  }
  Table<AlarmGroup>::Remove(group, batch);
  Change change;
  change.id_ = group;
  change.place_before_ = PlaceOf(*before);
  return change;
}

void AlarmGroups::Adopt(Turn& turn, Change& change) noexcept {
  turn.AssertHeld();
  const MutexLock lock(mutex_);
  if (change.place_before_) {
    tree_.groups.erase(change.id_);
    tree_.names.erase(*change.place_before_);
    tree_.children.erase({change.place_before_->first, change.id_});
  }
  tree_.groups.merge(change.after_.groups);
  tree_.names.merge(change.after_.names);
  tree_.children.merge(change.after_.children);
  ZERVANE_ASSERT(change.after_.groups.empty() && change.after_.names.empty());
  last_id_ = std::max(last_id_, change.id_);
}

// ---- filing tags ----

void AlarmGroups::Filings::Add(GroupId group, TagId tag) {
  groups.emplace(tag, group);
  tags.emplace(group, tag);
}

void AlarmGroups::Filings::Erase(TagId tag) noexcept {
  const auto found = groups.find(tag);
  if (found == groups.end()) return;
  tags.erase({found->second, tag});
  groups.erase(found);
}

void AlarmGroups::Reserve(Turn& turn, GroupId group, TagId tag) {
  turn.AssertHeld();
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(IsGroup(group));
  reserved_.Erase(tag);
  reserved_.Add(group, tag);
}

void AlarmGroups::File(Turn& turn, GroupId group, TagId tag) noexcept {
  turn.AssertHeld();
  const MutexLock lock(mutex_);
  filed_.Erase(tag);
  const auto place = filed_.groups.insert(reserved_.groups.extract(tag));
  ZERVANE_ASSERT(place.inserted && place.position->second == group);
  const auto filing = filed_.tags.insert(reserved_.tags.extract({group, tag}));
  ZERVANE_ASSERT(filing.inserted);
  (void)place;
  (void)filing;
}

void AlarmGroups::Remove(Turn& turn, TagId tag) noexcept {
  turn.AssertHeld();
  const MutexLock lock(mutex_);
  filed_.Erase(tag);
  reserved_.Erase(tag);
}

}  // namespace zervane
