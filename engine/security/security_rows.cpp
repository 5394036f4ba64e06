#include "engine/security/security_rows.h"

#include "engine/storage/cells.h"

namespace zervane {

Row RowFormat<Account>::RowOf(const Account& account) {
  const User& user = account.user;
  return {CellOf(user.id), CellOf(user.name), CellOf(user.description), CellOf(account.password)};
}

std::optional<Account> RowFormat<Account>::FromRow(RowView row) {
  Account account;
  User& user = account.user;
  if (!FromCell(row[0], &user.id) || !FromCell(row[1], &user.name) ||
      !FromCell(row[2], &user.description) || !FromCell(row[3], &account.password)) {
    return std::nullopt;
  }
  return account;
}

Row RowFormat<UserGroup>::RowOf(const UserGroup& group) {
  return {CellOf(group.id), CellOf(group.name), CellOf(group.description)};
}

std::optional<UserGroup> RowFormat<UserGroup>::FromRow(RowView row) {
  UserGroup group;
  if (!FromCell(row[0], &group.id) || !FromCell(row[1], &group.name) ||
      !FromCell(row[2], &group.description)) {
    return std::nullopt;
  }
  return group;
}

std::optional<Membership> RowFormat<Membership>::FromRow(RowView row) {
  Membership member;
  if (!FromCell(row[0], &member.group) || !FromCell(row[1], &member.user)) return std::nullopt;
  return member;
}

}  // namespace zervane
