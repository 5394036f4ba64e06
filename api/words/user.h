#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "api/fields.h"

namespace zervane {

// Users and user groups by number; none is ever used again. 0 is the database itself.
using UserId = std::uint32_t;
using UserGroupId = std::uint32_t;

// Who may do everything, from the start.
constexpr UserId kAdminId = 1;

// What rights are given for: a user has a level in each, from 0, none, to 3, all.
enum class AuthorityItem : std::uint8_t { kTags, kRecords, kAlarms, kSecurity, kSystem };
constexpr std::size_t kAuthorityItems = 5;
constexpr int kMaxLevel = 3;

// What may be known of a user.
struct User {
  UserId id = 0;
  std::string name;
  std::string description;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"name", self.name},
                     Field{"description", self.description});
  }
  friend bool operator==(const User&, const User&) = default;
};

struct UserGroup {
  UserGroupId id = 0;
  std::string name;
  std::string description;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"name", self.name},
                     Field{"description", self.description});
  }
  friend bool operator==(const UserGroup&, const UserGroup&) = default;
};

// An authority item as it is listed.
struct AuthorityEntry {
  std::string name;
  std::string description;
  std::int32_t level = 0;  // of the caller

  static auto Fields(auto& self) {
    return FieldList(Field{"name", self.name}, Field{"description", self.description},
                     Field{"level", self.level});
  }
  friend bool operator==(const AuthorityEntry&, const AuthorityEntry&) = default;
};

}  // namespace zervane
