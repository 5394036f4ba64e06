#include "engine/security/user_book.h"

#include <spdlog/fmt/fmt.h>

#include <limits>

#include "api/words/ascii.h"
#include "engine/assert.h"
#include "engine/storage/tables.h"

namespace zervane {
namespace {

constexpr std::uint32_t kGreatestId = std::numeric_limits<std::uint32_t>::max();

Status NoSuchUser(std::string_view name) {
  return {ZR3_ERR_USER_NOT_FOUND, fmt::format("user '{}'", name)};
}

Status NoSuchGroup(std::string_view name) {
  return {ZR3_ERR_USER_GROUP_NOT_FOUND, fmt::format("user group '{}'", name)};
}

void PutLastId(std::string_view setting, std::uint32_t id, StoreBatch& batch) {
  Table<Setting>::Put({.name = std::string(setting), .value = std::int64_t{id}}, batch);
}

// The values of a map whose keys are `first` and those behind it, as a page.
template <typename Item, typename Map, typename ItemOf>
Page<Item, std::uint32_t> PageOf(const Map& map, std::uint32_t from, std::size_t limit,
                                 ItemOf item_of) {
  Page<Item, std::uint32_t> page;
  for (auto at = map.lower_bound(from); at != map.end(); ++at) {
    if (page.items.size() == limit) {
      page.next = at->first;
      break;
    }
    page.items.push_back(item_of(at->second));
  }
  return page;
}

}  // namespace

UserBook::UserBook() {
  Put(Account{.user = {.id = kAdminId, .name = "admin", .description = {}}, .password = {}});
  for (const BuiltInGroup& group : BuiltInGroups()) {
    Put(UserGroup{.id = group.id,
                  .name = std::string(group.name),
                  .description = std::string(group.description)});
  }
  Put(Membership{.group = kAdministrators, .user = kAdminId});
}

// ---- looking ----

const Account* UserBook::Find(UserId id) const {
  const auto found = users_.find(id);
  return found == users_.end() ? nullptr : &found->second;
}

const Account* UserBook::Find(std::string_view user) const {
  const auto found = user_names_.find(FoldAscii(user));
  return found == user_names_.end() ? nullptr : Find(found->second);
}

Result<UserId> UserBook::FindUserId(std::string_view user) const {
  const Account* found = Find(user);
  if (found == nullptr) return NoSuchUser(user);
  return found->user.id;
}

Result<UserGroupId> UserBook::FindGroupId(std::string_view group) const {
  const auto found = group_names_.find(FoldAscii(group));
  if (found == group_names_.end()) return NoSuchGroup(group);
  return found->second;
}

PackedLevels UserBook::LevelsOf(UserId user) const {
  if (Find(user) == nullptr) return {};
  PackedLevels levels = PackedLevels::OfUser();
  for (auto at = groups_of_.lower_bound({user, 0});
       at != groups_of_.end() && at->first == user && at->second <= kLastBuiltInGroup; ++at) {
    const BuiltInGroup& group = BuiltInGroups()[at->second - 1];
    for (const AuthorityItemInfo& info : AllAuthorityItems()) {
      levels.RaiseTo(info.item, group.levels[static_cast<std::size_t>(info.item)]);
    }
  }
  return levels;
}

Page<User, UserId> UserBook::ListUsers(UserId from, std::size_t limit) const {
  return PageOf<User>(users_, from, limit, [](const Account& account) { return account.user; });
}

Page<UserGroup, UserGroupId> UserBook::ListGroups(UserGroupId from, std::size_t limit) const {
  return PageOf<UserGroup>(groups_, from, limit, [](const UserGroup& group) { return group; });
}

Result<Page<User, UserId>> UserBook::ListMembers(std::string_view group, UserId from,
                                                 std::size_t limit) const {
  const Result<UserGroupId> id = FindGroupId(group);
  if (!id.ok()) return id.status();
  Page<User, UserId> page;
  for (auto at = members_.lower_bound({.group = *id, .user = from});
       at != members_.end() && at->group == *id; ++at) {
    if (page.items.size() == limit) {
      page.next = at->user;
      break;
    }
    page.items.push_back(users_.at(at->user).user);
  }
  return page;
}

Result<Page<UserGroup, UserGroupId>> UserBook::ListGroupsOf(std::string_view user, UserGroupId from,
                                                            std::size_t limit) const {
  const Result<UserId> id = FindUserId(user);
  if (!id.ok()) return id.status();
  Page<UserGroup, UserGroupId> page;
  for (auto at = groups_of_.lower_bound({*id, from}); at != groups_of_.end() && at->first == *id;
       ++at) {
    if (page.items.size() == limit) {
      page.next = at->second;
      break;
    }
    page.items.push_back(groups_.at(at->second));
  }
  return page;
}

// ---- changing users ----

Result<UserId> UserBook::AddUser(Account account, StoreBatch& batch) {
  User& user = account.user;
  if (Status status = CheckUserName(user.name); !status.ok()) return status;
  if (Status status = CheckDescription(user.description); !status.ok()) return status;
  if (Find(user.name) != nullptr) {
    return Status(ZR3_ERR_USER_EXISTS, fmt::format("user '{}'", user.name));
  }
  if (last_user_ == kGreatestId) return Status(ZR3_ERR_TAG_IDS_EXHAUSTED, "of users");
  user.id = ++last_user_;
  Put(account);
  Table<Account>::Put(account, batch);
  PutLastId(kLastUserSetting, last_user_, batch);
  return user.id;
}

Result<UserId> UserBook::DeleteUser(std::string_view user, StoreBatch& batch) {
  const Result<UserId> found = FindUserId(user);
  if (!found.ok()) return found.status();
  const UserId id = *found;
  if (id == kAdminId) return Status(ZR3_ERR_BUILT_IN, "admin");
  if (Status status = CheckNotLastAdministrator(id); !status.ok()) return status;
  for (auto at = groups_of_.lower_bound({id, 0}); at != groups_of_.end() && at->first == id;) {
    const Membership member{.group = at->second, .user = id};
    ++at;
    Table<Membership>::Remove(member, batch);
    Erase(member);
  }
  Table<Account>::Remove(id, batch);
  user_names_.erase(FoldAscii(user));
  users_.erase(id);
  return id;
}

Result<UserId> UserBook::SetPassword(std::string_view user, std::string password,
                                     StoreBatch& batch) {
  const Result<UserId> id = FindUserId(user);
  if (!id.ok()) return id;
  Account& account = users_.at(*id);
  account.password = std::move(password);
  Table<Account>::Put(account, batch);
  return id;
}

Result<UserId> UserBook::DescribeUser(std::string_view user, std::string description,
                                      StoreBatch& batch) {
  if (Status status = CheckDescription(description); !status.ok()) return status;
  const Result<UserId> id = FindUserId(user);
  if (!id.ok()) return id;
  Account& account = users_.at(*id);
  account.user.description = std::move(description);
  Table<Account>::Put(account, batch);
  return id;
}

// ---- changing groups ----

Result<UserGroupId> UserBook::AddGroup(UserGroup group, StoreBatch& batch) {
  if (Status status = CheckUserName(group.name); !status.ok()) return status;
  if (Status status = CheckDescription(group.description); !status.ok()) return status;
  if (FindGroupId(group.name).ok()) {
    return Status(ZR3_ERR_USER_GROUP_EXISTS, fmt::format("user group '{}'", group.name));
  }
  if (last_group_ == kGreatestId) return Status(ZR3_ERR_TAG_IDS_EXHAUSTED, "of user groups");
  group.id = ++last_group_;
  Put(group);
  Table<UserGroup>::Put(group, batch);
  PutLastId(kLastUserGroupSetting, last_group_, batch);
  return group.id;
}

Result<UserGroupId> UserBook::DeleteGroup(std::string_view group, StoreBatch& batch) {
  const Result<UserGroupId> found = FindGroupId(group);
  if (!found.ok()) return found;
  const UserGroupId id = *found;
  if (id <= kLastBuiltInGroup) {
    return Status(ZR3_ERR_BUILT_IN, fmt::format("user group '{}'", group));
  }
  for (auto at = members_.lower_bound({.group = id, .user = 0});
       at != members_.end() && at->group == id;) {
    const Membership member = *at++;
    Table<Membership>::Remove(member, batch);
    Erase(member);
  }
  Table<UserGroup>::Remove(id, batch);
  group_names_.erase(FoldAscii(group));
  groups_.erase(id);
  return id;
}

Result<UserGroupId> UserBook::DescribeGroup(std::string_view group, std::string description,
                                            StoreBatch& batch) {
  if (Status status = CheckDescription(description); !status.ok()) return status;
  const Result<UserGroupId> id = FindGroupId(group);
  if (!id.ok()) return id;
  UserGroup& described = groups_.at(*id);
  described.description = std::move(description);
  Table<UserGroup>::Put(described, batch);
  return id;
}

// ---- changing memberships ----

// With the first row of an administrator those count that have one: admin is one without, and stays
// one.
Result<UserId> UserBook::AddMember(std::string_view user, std::string_view group,
                                   StoreBatch& batch) {
  const Result<UserId> user_id = FindUserId(user);
  if (!user_id.ok()) return user_id;
  const Result<UserGroupId> group_id = FindGroupId(group);
  if (!group_id.ok()) return group_id.status();
  const Membership member{.group = *group_id, .user = *user_id};
  if (members_.contains(member)) {
    return Status(ZR3_ERR_MEMBER_EXISTS, fmt::format("'{}' in '{}'", user, group));
  }
  const Membership admin{.group = kAdministrators, .user = kAdminId};
  if (member.group == kAdministrators && members_.contains(admin)) {
    Table<Membership>::Put(admin, batch);
  }
  Put(member);
  Table<Membership>::Put(member, batch);
  return user_id;
}

Result<UserId> UserBook::RemoveMember(std::string_view user, std::string_view group,
                                      StoreBatch& batch) {
  const Result<UserId> user_id = FindUserId(user);
  if (!user_id.ok()) return user_id;
  const Result<UserGroupId> group_id = FindGroupId(group);
  if (!group_id.ok()) return group_id.status();
  const Membership member{.group = *group_id, .user = *user_id};
  if (!members_.contains(member)) {
    return Status(ZR3_ERR_NOT_A_MEMBER, fmt::format("'{}' in '{}'", user, group));
  }
  if (member.group == kAdministrators) {
    if (Status status = CheckNotLastAdministrator(member.user); !status.ok()) return status;
  }
  Erase(member);
  Table<Membership>::Remove(member, batch);
  return user_id;
}

Status UserBook::CheckNotLastAdministrator(UserId user) const {
  if (!members_.contains({.group = kAdministrators, .user = user})) return {};
  for (auto at = members_.lower_bound({.group = kAdministrators, .user = 0});
       at != members_.end() && at->group == kAdministrators; ++at) {
    if (at->user != user) return {};
  }
  return {ZR3_ERR_LAST_ADMINISTRATOR, fmt::format("user '{}'", users_.at(user).user.name)};
}

void UserBook::Put(const Account& account) {
  user_names_.insert_or_assign(FoldAscii(account.user.name), account.user.id);
  users_.insert_or_assign(account.user.id, account);
}

void UserBook::Put(const UserGroup& group) {
  group_names_.insert_or_assign(FoldAscii(group.name), group.id);
  groups_.insert_or_assign(group.id, group);
}

void UserBook::Put(const Membership& member) {
  members_.insert(member);
  groups_of_.emplace(member.user, member.group);
}

void UserBook::Erase(const Membership& member) {
  members_.erase(member);
  groups_of_.erase({member.user, member.group});
}

}  // namespace zervane
