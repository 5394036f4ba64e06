#include "engine/security_family.h"

namespace zervane {
namespace {

Status NotYet() { return {ZR3_ERR_NOT_SUPPORTED, {}}; }

}  // namespace

Result<User> SecurityFamily::Handle(const Caller&, const Login&) { return NotYet(); }
Result<std::string> SecurityFamily::Handle(const Caller&, const GetCurrentUser&) {
  return NotYet();
}
Result<std::int32_t> SecurityFamily::Handle(const Caller&, const GetAuthorityLevel&) {
  return NotYet();
}
Result<ListAuthorityItems::Reply> SecurityFamily::Handle(const Caller&, const ListAuthorityItems&) {
  return NotYet();
}
Result<UserId> SecurityFamily::Handle(const Caller&, const AddUser&) { return NotYet(); }
Result<Nothing> SecurityFamily::Handle(const Caller&, const DeleteUser&) { return NotYet(); }
Result<Nothing> SecurityFamily::Handle(const Caller&, const ChangePassword&) { return NotYet(); }
Result<Nothing> SecurityFamily::Handle(const Caller&, const ResetPassword&) { return NotYet(); }
Result<Nothing> SecurityFamily::Handle(const Caller&, const DescribeUser&) { return NotYet(); }
Result<ListUsers::Reply> SecurityFamily::Handle(const Caller&, const ListUsers&) {
  return NotYet();
}
Result<UserGroupId> SecurityFamily::Handle(const Caller&, const AddUserGroup&) { return NotYet(); }
Result<Nothing> SecurityFamily::Handle(const Caller&, const DeleteUserGroup&) { return NotYet(); }
Result<Nothing> SecurityFamily::Handle(const Caller&, const DescribeUserGroup&) { return NotYet(); }
Result<ListUserGroups::Reply> SecurityFamily::Handle(const Caller&, const ListUserGroups&) {
  return NotYet();
}
Result<Nothing> SecurityFamily::Handle(const Caller&, const AddMember&) { return NotYet(); }
Result<Nothing> SecurityFamily::Handle(const Caller&, const RemoveMember&) { return NotYet(); }
Result<ListMembers::Reply> SecurityFamily::Handle(const Caller&, const ListMembers&) {
  return NotYet();
}
Result<ListGroupsOfUser::Reply> SecurityFamily::Handle(const Caller&, const ListGroupsOfUser&) {
  return NotYet();
}

}  // namespace zervane
