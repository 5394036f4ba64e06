#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "api/words/page.h"
#include "api/words/status.h"
#include "api/words/user.h"
#include "engine/security/rights.h"
#include "engine/security/security_rows.h"
#include "engine/storage/store.h"

namespace zervane {

// All users, all groups and who is in which: a plain value, which is copied to be changed. Every
// member that changes it checks the rules and puts the rows of the change into the batch; on a
// failure book and batch are as they were. Users and groups are named without regard to ASCII case.
//
// The built-in groups, admin and that he administers are there without a row, as long as nothing of
// them was changed: what is lost of their rows gives nobody rights and locks nobody out. When no
// row says who administers, admin does.
class UserBook {
 public:
  // A new database's: admin alone, without a password.
  UserBook();

  // Reads the store's. ZR3_ERR_STORAGE_DAMAGED when the rows of others than the built-in ones break
  // a rule.
  static Result<UserBook> Load(Store& store);

  // ---- looking ----

  // Null when there is none.
  const Account* Find(UserId id) const;
  const Account* Find(std::string_view user) const;
  // ZR3_ERR_USER_NOT_FOUND, ZR3_ERR_USER_GROUP_NOT_FOUND; of lists, too.
  Result<UserId> FindUserId(std::string_view user) const;
  Result<UserGroupId> FindGroupId(std::string_view group) const;
  // The highest of the user's groups.
  PackedLevels LevelsOf(UserId user) const;

  // From an identifier on, at most `limit`, in order of it.
  Page<User, UserId> ListUsers(UserId from, std::size_t limit) const;
  Page<UserGroup, UserGroupId> ListGroups(UserGroupId from, std::size_t limit) const;
  Result<Page<User, UserId>> ListMembers(std::string_view group, UserId from,
                                         std::size_t limit) const;
  Result<Page<UserGroup, UserGroupId>> ListGroupsOf(std::string_view user, UserGroupId from,
                                                    std::size_t limit) const;

  // ---- changing: the statuses are those of the operations ----

  // The identifier of the account is given here.
  Result<UserId> AddUser(Account account, StoreBatch& batch);
  Result<UserId> DeleteUser(std::string_view user, StoreBatch& batch);
  Result<UserId> SetPassword(std::string_view user, std::string password, StoreBatch& batch);
  Result<UserId> DescribeUser(std::string_view user, std::string description, StoreBatch& batch);

  Result<UserGroupId> AddGroup(UserGroup group, StoreBatch& batch);
  Result<UserGroupId> DeleteGroup(std::string_view group, StoreBatch& batch);
  Result<UserGroupId> DescribeGroup(std::string_view group, std::string description,
                                    StoreBatch& batch);

  // The user whom it concerns.
  Result<UserId> AddMember(std::string_view user, std::string_view group, StoreBatch& batch);
  Result<UserId> RemoveMember(std::string_view user, std::string_view group, StoreBatch& batch);

 private:
  // Those of the store, which come in order of identifier.
  Status LoadUsers(Store& store);
  Status LoadGroups(Store& store);
  Status LoadMembers(Store& store);
  Status AddLoaded(const Account& account);
  Status AddLoaded(UserGroup group);

  void Put(const Account& account);
  void Put(const UserGroup& group);
  void Put(const Membership& member);
  void Erase(const Membership& member);
  // ZR3_ERR_LAST_ADMINISTRATOR when nobody else is.
  Status CheckNotLastAdministrator(UserId user) const;

  std::map<UserId, Account> users_;
  std::map<std::string, UserId> user_names_;  // folded
  std::map<UserGroupId, UserGroup> groups_;
  std::map<std::string, UserGroupId> group_names_;  // folded
  std::set<Membership> members_;
  std::set<std::pair<UserId, UserGroupId>> groups_of_;  // the same by user
  UserId last_user_ = kAdminId;                         // the highest identifiers ever given
  UserGroupId last_group_ = kLastBuiltInGroup;
};

// Whether a user or a group may have the name, a description, and a user the password.
// ZR3_ERR_INVALID_USER_NAME, ZR3_ERR_INVALID_TEXT, ZR3_ERR_INVALID_PASSWORD.
Status CheckUserName(std::string_view name);
Status CheckDescription(std::string_view description);
Status CheckPassword(std::string_view password);

}  // namespace zervane
