#pragma once

#include "api/caller.h"
#include "api/operations/security.h"
#include "api/words/status.h"
#include "engine/security/security.h"
#include "engine/subscription_family.h"

namespace zervane {

// Carries out the operations on users, user groups and what they may do.
//
// Threads: any.
class SecurityFamily {
 public:
  // Both outlive it. Whoever logs in follows nothing of what his session did.
  SecurityFamily(Security& security, SubscriptionFamily& subscriptions)
      : security_(security), subscriptions_(subscriptions) {}

  Result<User> Handle(const Caller& caller, const Login& operation);
  Result<std::string> Handle(const Caller& caller, const GetCurrentUser& operation);
  Result<std::int32_t> Handle(const Caller& caller, const GetAuthorityLevel& operation);
  Result<ListAuthorityItems::Reply> Handle(const Caller& caller,
                                           const ListAuthorityItems& operation);
  Result<UserId> Handle(const Caller& caller, const AddUser& operation);
  Result<Nothing> Handle(const Caller& caller, const DeleteUser& operation);
  Result<Nothing> Handle(const Caller& caller, const ChangePassword& operation);
  Result<Nothing> Handle(const Caller& caller, const ResetPassword& operation);
  Result<Nothing> Handle(const Caller& caller, const DescribeUser& operation);
  Result<ListUsers::Reply> Handle(const Caller& caller, const ListUsers& operation);
  Result<UserGroupId> Handle(const Caller& caller, const AddUserGroup& operation);
  Result<Nothing> Handle(const Caller& caller, const DeleteUserGroup& operation);
  Result<Nothing> Handle(const Caller& caller, const DescribeUserGroup& operation);
  Result<ListUserGroups::Reply> Handle(const Caller& caller, const ListUserGroups& operation);
  Result<Nothing> Handle(const Caller& caller, const AddMember& operation);
  Result<Nothing> Handle(const Caller& caller, const RemoveMember& operation);
  Result<ListMembers::Reply> Handle(const Caller& caller, const ListMembers& operation);
  Result<ListGroupsOfUser::Reply> Handle(const Caller& caller, const ListGroupsOfUser& operation);

 private:
  Security& security_;
  SubscriptionFamily& subscriptions_;
};

}  // namespace zervane
