#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "api/operation_table.h"
#include "api/words/user.h"

// What may be done, and what the groups that the database comes with may do.
namespace zervane {

// The levels of a user in all authority items, in a word that is read and written as a whole. One
// that was not made by OfUser is that of nobody.
class PackedLevels {
 public:
  constexpr PackedLevels() = default;
  constexpr explicit PackedLevels(std::uint16_t word) : word_(word) {}
  // A user without rights.
  static constexpr PackedLevels OfUser() { return PackedLevels(kIsUser); }

  constexpr std::uint16_t word() const { return word_; }

  // kNoUserNeeded when it is nobody's.
  constexpr int Level(AuthorityItem item) const {
    return word_ == 0 ? kNoUserNeeded : word_ >> ShiftOf(item) & kMaxLevel;
  }
  // A user in several groups has the highest level of them.
  constexpr void RaiseTo(AuthorityItem item, int level) {
    if (level <= Level(item)) return;
    word_ &= static_cast<std::uint16_t>(~(kMaxLevel << ShiftOf(item)));
    word_ |= static_cast<std::uint16_t>(level << ShiftOf(item));
  }

  friend constexpr bool operator==(const PackedLevels&, const PackedLevels&) = default;

 private:
  static constexpr std::uint16_t kIsUser = 1U << 15;
  static constexpr int kBits = 2;
  static_assert(kMaxLevel < 1 << kBits && kBits * kAuthorityItems < 15);

  static constexpr int ShiftOf(AuthorityItem item) { return kBits * static_cast<int>(item); }

  std::uint16_t word_ = 0;
};

struct AuthorityItemInfo {
  AuthorityItem item;
  std::string_view name;
  std::string_view description;
};

// In order of item.
std::span<const AuthorityItemInfo> AllAuthorityItems();
// Without regard to ASCII case.
std::optional<AuthorityItem> FindAuthorityItem(std::string_view name);

// A group that the database comes with. Its levels are the program's and stand in no row.
struct BuiltInGroup {
  UserGroupId id;
  std::string_view name;
  std::string_view description;
  std::array<int, kAuthorityItems> levels;  // in order of item
};

constexpr UserGroupId kAdministrators = 1;
// The identifiers up to here are those of built-in groups, and of no others.
constexpr UserGroupId kLastBuiltInGroup = 4;

// In order of identifier, from 1.
std::span<const BuiltInGroup> BuiltInGroups();

}  // namespace zervane
