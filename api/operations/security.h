#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "api/fields.h"
#include "api/operation_number.h"
#include "api/words/nothing.h"
#include "api/words/page.h"
#include "api/words/secret.h"
#include "api/words/user.h"

// Operations on users, user groups and what they may do. Users and groups are named without regard
// to ASCII case.
namespace zervane {

// Answers the user whose name and password these are: the session asks in that name from then on,
// and what it has subscribed to has ended. ZR3_ERR_LOGIN_FAILED leaves the session as it was; it is
// answered later with every failure of a name in a row.
struct Login {
  static constexpr OperationNumber kNumber = OperationNumber::kLogin;
  using Reply = User;

  std::string name;
  Secret password;

  static auto Fields(auto& self) {
    return FieldList(Field{"name", self.name}, Field{"password", self.password});
  }
};

// The name of the caller's user.
struct GetCurrentUser {
  static constexpr OperationNumber kNumber = OperationNumber::kGetCurrentUser;
  using Reply = std::string;

  static auto Fields(auto&) { return FieldList(); }
};

// The level of a user in an authority item. Of one's own it needs no right.
// ZR3_ERR_USER_NOT_FOUND, ZR3_ERR_AUTH_ITEM_NOT_FOUND.
struct GetAuthorityLevel {
  static constexpr OperationNumber kNumber = OperationNumber::kGetAuthorityLevel;
  using Reply = std::int32_t;

  std::string user;
  std::string item;

  static auto Fields(auto& self) {
    return FieldList(Field{"user", self.user}, Field{"item", self.item});
  }
};

// The authority items, of which there are few.
struct ListAuthorityItems {
  static constexpr OperationNumber kNumber = OperationNumber::kListAuthorityItems;
  using Reply = std::vector<AuthorityEntry>;

  static auto Fields(auto&) { return FieldList(); }
};

// ZR3_ERR_INVALID_USER_NAME, ZR3_ERR_INVALID_PASSWORD, ZR3_ERR_INVALID_TEXT for a description that
// is too long or no UTF-8, ZR3_ERR_USER_EXISTS.
struct AddUser {
  static constexpr OperationNumber kNumber = OperationNumber::kAddUser;
  using Reply = UserId;

  std::string name;
  Secret password;
  std::string description;

  static auto Fields(auto& self) {
    return FieldList(Field{"name", self.name}, Field{"password", self.password},
                     Field{"description", self.description});
  }
};

// Ends its memberships, and at their next call its sessions. ZR3_ERR_USER_NOT_FOUND,
// ZR3_ERR_BUILT_IN for admin, ZR3_ERR_LAST_ADMINISTRATOR.
struct DeleteUser {
  static constexpr OperationNumber kNumber = OperationNumber::kDeleteUser;
  using Reply = Nothing;

  std::string name;

  static auto Fields(auto& self) { return FieldList(Field{"name", self.name}); }
};

// With the old password, which is checked as Login does, ZR3_ERR_LOGIN_FAILED. Of one's own it
// needs no right. ZR3_ERR_INVALID_PASSWORD for the new one.
struct ChangePassword {
  static constexpr OperationNumber kNumber = OperationNumber::kChangePassword;
  using Reply = Nothing;

  std::string user;
  Secret old_password;
  Secret new_password;

  static auto Fields(auto& self) {
    return FieldList(Field{"user", self.user}, Field{"old_password", self.old_password},
                     Field{"new_password", self.new_password});
  }
};

// ZR3_ERR_USER_NOT_FOUND, ZR3_ERR_INVALID_PASSWORD.
struct ResetPassword {
  static constexpr OperationNumber kNumber = OperationNumber::kResetPassword;
  using Reply = Nothing;

  std::string user;
  Secret password;

  static auto Fields(auto& self) {
    return FieldList(Field{"user", self.user}, Field{"password", self.password});
  }
};

// Gives a user another description. ZR3_ERR_USER_NOT_FOUND, ZR3_ERR_INVALID_TEXT.
struct DescribeUser {
  static constexpr OperationNumber kNumber = OperationNumber::kDescribeUser;
  using Reply = Nothing;

  std::string user;
  std::string description;

  static auto Fields(auto& self) {
    return FieldList(Field{"user", self.user}, Field{"description", self.description});
  }
};

// All users from an identifier on, in order of it. ZR3_ERR_INVALID_COUNT for a limit below 1, here
// and below.
struct ListUsers {
  static constexpr OperationNumber kNumber = OperationNumber::kListUsers;
  using Reply = Page<User, UserId>;

  UserId from = 0;
  std::int32_t limit = kMaxPageItems;

  static auto Fields(auto& self) {
    return FieldList(Field{"from", self.from}, Field{"limit", self.limit});
  }
};

// ZR3_ERR_INVALID_USER_NAME, ZR3_ERR_INVALID_TEXT, ZR3_ERR_USER_GROUP_EXISTS.
struct AddUserGroup {
  static constexpr OperationNumber kNumber = OperationNumber::kAddUserGroup;
  using Reply = UserGroupId;

  std::string name;
  std::string description;

  static auto Fields(auto& self) {
    return FieldList(Field{"name", self.name}, Field{"description", self.description});
  }
};

// Ends its memberships. ZR3_ERR_USER_GROUP_NOT_FOUND, ZR3_ERR_BUILT_IN.
struct DeleteUserGroup {
  static constexpr OperationNumber kNumber = OperationNumber::kDeleteUserGroup;
  using Reply = Nothing;

  std::string name;

  static auto Fields(auto& self) { return FieldList(Field{"name", self.name}); }
};

// ZR3_ERR_USER_GROUP_NOT_FOUND, ZR3_ERR_INVALID_TEXT.
struct DescribeUserGroup {
  static constexpr OperationNumber kNumber = OperationNumber::kDescribeUserGroup;
  using Reply = Nothing;

  std::string group;
  std::string description;

  static auto Fields(auto& self) {
    return FieldList(Field{"group", self.group}, Field{"description", self.description});
  }
};

struct ListUserGroups {
  static constexpr OperationNumber kNumber = OperationNumber::kListUserGroups;
  using Reply = Page<UserGroup, UserGroupId>;

  UserGroupId from = 0;
  std::int32_t limit = kMaxPageItems;

  static auto Fields(auto& self) {
    return FieldList(Field{"from", self.from}, Field{"limit", self.limit});
  }
};

// ZR3_ERR_USER_NOT_FOUND, ZR3_ERR_USER_GROUP_NOT_FOUND, ZR3_ERR_MEMBER_EXISTS.
struct AddMember {
  static constexpr OperationNumber kNumber = OperationNumber::kAddMember;
  using Reply = Nothing;

  std::string user;
  std::string group;

  static auto Fields(auto& self) {
    return FieldList(Field{"user", self.user}, Field{"group", self.group});
  }
};

// ZR3_ERR_USER_NOT_FOUND, ZR3_ERR_USER_GROUP_NOT_FOUND, ZR3_ERR_NOT_A_MEMBER,
// ZR3_ERR_LAST_ADMINISTRATOR.
struct RemoveMember {
  static constexpr OperationNumber kNumber = OperationNumber::kRemoveMember;
  using Reply = Nothing;

  std::string user;
  std::string group;

  static auto Fields(auto& self) {
    return FieldList(Field{"user", self.user}, Field{"group", self.group});
  }
};

// The users in a group. ZR3_ERR_USER_GROUP_NOT_FOUND.
struct ListMembers {
  static constexpr OperationNumber kNumber = OperationNumber::kListMembers;
  using Reply = Page<User, UserId>;

  std::string group;
  UserId from = 0;
  std::int32_t limit = kMaxPageItems;

  static auto Fields(auto& self) {
    return FieldList(Field{"group", self.group}, Field{"from", self.from},
                     Field{"limit", self.limit});
  }
};

// The groups that a user is in. ZR3_ERR_USER_NOT_FOUND.
struct ListGroupsOfUser {
  static constexpr OperationNumber kNumber = OperationNumber::kListGroupsOfUser;
  using Reply = Page<UserGroup, UserGroupId>;

  std::string user;
  UserGroupId from = 0;
  std::int32_t limit = kMaxPageItems;

  static auto Fields(auto& self) {
    return FieldList(Field{"user", self.user}, Field{"from", self.from},
                     Field{"limit", self.limit});
  }
};

}  // namespace zervane
