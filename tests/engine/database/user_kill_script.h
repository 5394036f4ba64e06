#pragma once

#include <cstdint>
#include <random>
#include <string>

// What the writing process of the users' kill test does: one change of users, groups or memberships
// a step, known from the step's number alone. It may be one that the rules refuse.
namespace zervane::user_kill {

enum class Deed {
  kAddUser,
  kDeleteUser,
  kReset,
  kDescribe,
  kAddGroup,
  kDeleteGroup,
  kJoin,
  kLeave
};

struct Step {
  Deed deed = Deed::kJoin;
  std::string user;
  std::string group;
  std::string text;  // a password or a description
};

constexpr int kUsers = 5;   // admin is one of them
constexpr int kGroups = 6;  // the built-in ones and two more

inline std::string UserName(int n) { return n == 0 ? "admin" : "user" + std::to_string(n); }
inline std::string GroupName(int n) {
  static const char* const kNames[] = {"administrators", "engineers", "operators", "viewers"};
  return n < 4 ? kNames[n] : "group" + std::to_string(n);
}

// Passwords take long to keep, so that there are fewer of them.
inline Step StepOf(unsigned seed, std::int64_t number) {
  std::mt19937_64 random(seed + static_cast<std::uint64_t>(number));
  const auto draw = [&](int from, int to) {
    return std::uniform_int_distribution(from, to)(random);
  };
  static constexpr Deed kDeeds[] = {
      Deed::kAddUser,  Deed::kAddUser,     Deed::kDeleteUser, Deed::kReset, Deed::kDescribe,
      Deed::kAddGroup, Deed::kDeleteGroup, Deed::kJoin,       Deed::kJoin,  Deed::kJoin,
      Deed::kJoin,     Deed::kLeave,       Deed::kLeave,      Deed::kLeave};
  const int deeds = static_cast<int>(sizeof kDeeds / sizeof kDeeds[0]);
  Step step;
  step.deed = kDeeds[draw(0, deeds - 1)];
  step.user = UserName(draw(0, kUsers - 1));
  step.group = GroupName(draw(0, kGroups - 1));
  step.text = "text" + std::to_string(number);
  return step;
}

}  // namespace zervane::user_kill
