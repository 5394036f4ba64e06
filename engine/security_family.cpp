#include "engine/security_family.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace zervane {
namespace {

// REQUIRES that the limit was checked.
std::size_t PageSize(std::int32_t limit) {
  return static_cast<std::size_t>(std::min(limit, kMaxPageItems));
}

Status CheckLimit(std::int32_t limit) {
  return limit < 1 ? Status(ZR3_ERR_INVALID_COUNT, {}) : Status();
}

template <typename T>
Result<Nothing> NothingOr(const Result<T>& result) {
  if (!result.ok()) return result.status();
  return Nothing();
}
Result<Nothing> NothingOr(Status status) {
  if (!status.ok()) return status;
  return Nothing();
}

}  // namespace

// ---- the caller ----

Result<User> SecurityFamily::Handle(const Caller& caller, const Login& operation) {
  Result<User> user = security_.LogIn(caller, operation.name, operation.password);
  if (user.ok()) subscriptions_.EndSession(caller.session);
  return user;
}

Result<std::string> SecurityFamily::Handle(const Caller& caller, const GetCurrentUser&) {
  return caller.user;
}

Result<std::int32_t> SecurityFamily::Handle(const Caller&, const GetAuthorityLevel& operation) {
  const Security::BookPtr book = security_.book();
  const Result<UserId> user = book->FindUserId(operation.user);
  if (!user.ok()) return user.status();
  const std::optional<AuthorityItem> item = FindAuthorityItem(operation.item);
  if (!item) return Status(ZR3_ERR_AUTH_ITEM_NOT_FOUND, operation.item);
  return book->LevelsOf(*user).Level(*item);
}

Result<ListAuthorityItems::Reply> SecurityFamily::Handle(const Caller& caller,
                                                         const ListAuthorityItems&) {
  ListAuthorityItems::Reply reply;
  for (const AuthorityItemInfo& info : AllAuthorityItems()) {
    reply.push_back({.name = std::string(info.name),
                     .description = std::string(info.description),
                     .level = security_.LevelOf(caller, info.item)});
  }
  return reply;
}

// ---- users ----

Result<UserId> SecurityFamily::Handle(const Caller&, const AddUser& operation) {
  return security_.AddUser(operation.name, operation.password, operation.description);
}

Result<Nothing> SecurityFamily::Handle(const Caller&, const DeleteUser& operation) {
  return NothingOr(security_.ChangeUser(
      [&](UserBook& book, StoreBatch& batch) { return book.DeleteUser(operation.name, batch); }));
}

Result<Nothing> SecurityFamily::Handle(const Caller& caller, const ChangePassword& operation) {
  return NothingOr(security_.ChangePassword(caller, operation.user, operation.old_password,
                                            operation.new_password));
}

Result<Nothing> SecurityFamily::Handle(const Caller&, const ResetPassword& operation) {
  return NothingOr(security_.ResetPassword(operation.user, operation.password));
}

Result<Nothing> SecurityFamily::Handle(const Caller&, const DescribeUser& operation) {
  return NothingOr(security_.ChangeUser([&](UserBook& book, StoreBatch& batch) {
    return book.DescribeUser(operation.user, operation.description, batch);
  }));
}

Result<ListUsers::Reply> SecurityFamily::Handle(const Caller&, const ListUsers& operation) {
  if (Status status = CheckLimit(operation.limit); !status.ok()) return status;
  return security_.book()->ListUsers(operation.from, PageSize(operation.limit));
}

// ---- groups ----

Result<UserGroupId> SecurityFamily::Handle(const Caller&, const AddUserGroup& operation) {
  return security_.ChangeGroup([&](UserBook& book, StoreBatch& batch) {
    return book.AddGroup({.id = 0, .name = operation.name, .description = operation.description},
                         batch);
  });
}

Result<Nothing> SecurityFamily::Handle(const Caller&, const DeleteUserGroup& operation) {
  return NothingOr(security_.ChangeGroup(
      [&](UserBook& book, StoreBatch& batch) { return book.DeleteGroup(operation.name, batch); }));
}

Result<Nothing> SecurityFamily::Handle(const Caller&, const DescribeUserGroup& operation) {
  return NothingOr(security_.ChangeGroup([&](UserBook& book, StoreBatch& batch) {
    return book.DescribeGroup(operation.group, operation.description, batch);
  }));
}

Result<ListUserGroups::Reply> SecurityFamily::Handle(const Caller&,
                                                     const ListUserGroups& operation) {
  if (Status status = CheckLimit(operation.limit); !status.ok()) return status;
  return security_.book()->ListGroups(operation.from, PageSize(operation.limit));
}

// ---- who is in which ----

Result<Nothing> SecurityFamily::Handle(const Caller&, const AddMember& operation) {
  return NothingOr(security_.ChangeUser([&](UserBook& book, StoreBatch& batch) {
    return book.AddMember(operation.user, operation.group, batch);
  }));
}

Result<Nothing> SecurityFamily::Handle(const Caller&, const RemoveMember& operation) {
  return NothingOr(security_.ChangeUser([&](UserBook& book, StoreBatch& batch) {
    return book.RemoveMember(operation.user, operation.group, batch);
  }));
}

Result<ListMembers::Reply> SecurityFamily::Handle(const Caller&, const ListMembers& operation) {
  if (Status status = CheckLimit(operation.limit); !status.ok()) return status;
  return security_.book()->ListMembers(operation.group, operation.from, PageSize(operation.limit));
}

Result<ListGroupsOfUser::Reply> SecurityFamily::Handle(const Caller&,
                                                       const ListGroupsOfUser& operation) {
  if (Status status = CheckLimit(operation.limit); !status.ok()) return status;
  return security_.book()->ListGroupsOf(operation.user, operation.from, PageSize(operation.limit));
}

}  // namespace zervane
