#pragma once

#include <optional>
#include <string>
#include <utility>

#include "api/words/user.h"
#include "engine/storage/table.h"

// What users and groups are kept as in the store.
namespace zervane {

// A user, and what his password is checked with.
struct Account {
  User user;
  std::string password;  // as Passwords makes it; empty: he has none
};

template <>
struct RowFormat<Account> {
  static constexpr TableId kTable = TableId::kUser;
  using Key = UserId;
  static Key KeyOf(const Account& account) { return account.user.id; }
  static Row KeyCells(Key id) { return {Cell(std::int64_t{id})}; }
  static Row RowOf(const Account& account);
  static std::optional<Account> FromRow(RowView row);
};

template <>
struct RowFormat<UserGroup> {
  static constexpr TableId kTable = TableId::kUserGroup;
  using Key = UserGroupId;
  static Key KeyOf(const UserGroup& group) { return group.id; }
  static Row KeyCells(Key id) { return {Cell(std::int64_t{id})}; }
  static Row RowOf(const UserGroup& group);
  static std::optional<UserGroup> FromRow(RowView row);
};

// That a user is in a group.
struct Membership {
  UserGroupId group = 0;
  UserId user = 0;

  friend auto operator<=>(const Membership&, const Membership&) = default;
};

template <>
struct RowFormat<Membership> {
  static constexpr TableId kTable = TableId::kMember;
  using Key = Membership;
  static const Key& KeyOf(const Membership& member) { return member; }
  static Row KeyCells(const Key& member) {
    return {Cell(std::int64_t{member.group}), Cell(std::int64_t{member.user})};
  }
  static Row RowOf(const Membership& member) { return KeyCells(member); }
  static std::optional<Membership> FromRow(RowView row);
};

}  // namespace zervane
