// Users and groups beside kills: what was answered holds, compared with a plain second account of
// the rules.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "api/operation_table.h"
#include "engine/embedded.h"
#include "tests/engine/database/user_kill_script.h"
#include "tests/engine/storage/sqlite/kill_fixture.h"
#include "tests/engine/storage/support.h"

namespace zervane {
namespace {

using user_kill::Deed;
using user_kill::Step;

// Users and groups by name, and the rules once more.
struct Model {
  struct Person {
    std::string password;
    std::string description;
    std::set<std::string> groups;

    friend bool operator==(const Person&, const Person&) = default;
  };

  std::map<std::string, Person> users = {
      {"admin", {.password = {}, .description = {}, .groups = {"administrators"}}}};
  std::set<std::string> groups = {"administrators", "engineers", "operators", "viewers"};

  bool IsLastAdministrator(const std::string& user) const {
    const auto administers = [](const auto& one) {
      return one.second.groups.contains("administrators");
    };
    return users.at(user).groups.contains("administrators") &&
           std::ranges::count_if(users, administers) == 1;
  }

  void Perform(const Step& step) {
    const bool is_user = users.contains(step.user);
    const bool is_group = groups.contains(step.group);
    switch (step.deed) {
      case Deed::kAddUser:
        if (!is_user) users[step.user] = {.password = step.text, .description = {}, .groups = {}};
        break;
      case Deed::kDeleteUser:
        if (is_user && step.user != "admin" && !IsLastAdministrator(step.user)) {
          users.erase(step.user);
        }
        break;
      case Deed::kReset:
        if (is_user) users[step.user].password = step.text;
        break;
      case Deed::kDescribe:
        if (is_user) users[step.user].description = step.text;
        break;
      case Deed::kAddGroup:
        groups.insert(step.group);
        break;
      case Deed::kDeleteGroup:
        if (step.group.starts_with("group") && is_group) {
          groups.erase(step.group);
          for (auto& [name, person] : users) person.groups.erase(step.group);
        }
        break;
      case Deed::kJoin:
        if (is_user && is_group) users[step.user].groups.insert(step.group);
        break;
      case Deed::kLeave:
        if (is_user && (step.group != "administrators" || !IsLastAdministrator(step.user))) {
          users[step.user].groups.erase(step.group);
        }
        break;
    }
  }

  friend bool operator==(const Model&, const Model&) = default;
};

std::string TextOf(const Model& model) {
  std::string text;
  for (const auto& [name, person] : model.users) {
    text += "\n" + name + " '" + person.password + "' '" + person.description + "' in";
    for (const std::string& group : person.groups) text += " " + group;
  }
  text += "\ngroups";
  for (const std::string& group : model.groups) text += " " + group;
  return text;
}

class KilledUsers : public storage::KillFixture {
 protected:
  KilledUsers() : KillFixture(ZERVANE_USER_KILL_WRITER, 25) {}

  void TakeAnswer(std::int64_t step) override {
    ASSERT_EQ(step, next_step_);
    for (Model& model : possible_) model.Perform(user_kill::StepOf(seed_.value(), step));
    ++next_step_;
  }

  // The step that was under way has happened, or not: the one is not told from the other where what
  // is looked at is a copy, which may lack what was not synced when it was made.
  void ExpectAllAnswered(const std::filesystem::path& folder) override {
    const std::size_t before = possible_.size();
    for (std::size_t i = 0; i < before; ++i) {
      Model with_next = possible_[i];
      with_next.Perform(user_kill::StepOf(seed_.value(), next_step_));
      possible_.push_back(std::move(with_next));
    }
    auto opened = OpenEmbeddedFolder(folder);
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    Database& database = **opened;
    const std::optional<Model> stored = Read(database);
    ASSERT_TRUE(stored.has_value());
    EXPECT_TRUE(std::ranges::count(possible_, *stored) > 0)
        << "by step " << next_step_ << TextOf(*stored) << "\nnot, as was answered,"
        << TextOf(possible_[0]);
    if (folder == folder_.path()) possible_ = {*stored};
    users_ += stored->users.size();
    EXPECT_TRUE(database.Close().ok());
    ++next_step_;  // that was under way
  }

  // What lists tell, and of each user the password among those that he may have that logs him in.
  std::optional<Model> Read(Database& database) {
    const Caller& caller = Caller::System();
    Model stored;
    stored.users.clear();
    stored.groups.clear();
    const auto groups = database.Do(caller, ListUserGroups{});
    for (const UserGroup& group : groups->items) {
      stored.groups.insert(group.name);
    }
    const auto users = database.Do(caller, ListUsers{});
    for (const User& user : users->items) {
      Model::Person& person = stored.users[user.name];
      person.description = user.description;
      ListGroupsOfUser list;
      list.user = user.name;
      const auto joined = database.Do(caller, list);
      for (const UserGroup& group : joined->items) {
        person.groups.insert(group.name);
      }
      const std::optional<std::string> password = PasswordOf(database, user.name);
      if (!password) return std::nullopt;
      person.password = *password;
    }
    return stored;
  }

  std::optional<std::string> PasswordOf(Database& database, const std::string& user) {
    std::set<std::string> passwords;
    for (const Model& model : possible_) {
      const auto found = model.users.find(user);
      if (found != model.users.end()) passwords.insert(found->second.password);
    }
    for (const std::string& password : passwords) {
      const Login login{.name = user, .password = Secret(password)};
      const auto outcome = database.Do(Caller::System(), login);
      if (outcome.ok()) return password;
      EXPECT_EQ(outcome.code(), ZR3_ERR_LOGIN_FAILED) << outcome.status().message();
    }
    ADD_FAILURE() << user << " has none of the passwords that were answered by step " << next_step_
                  << ":" << TextOf(possible_[0]);
    return std::nullopt;
  }

  std::vector<Model> possible_ = {Model()};
  std::size_t users_ = 0;
};

TEST_F(KilledUsers, AreThoseThatWereAnswered) {
  constexpr std::size_t kEnough = ZERVANE_USER_KILLS;
  RunRoundsUntil(ZERVANE_USER_KILLS, [this] { return users_ > kEnough; });
  EXPECT_GT(users_, kEnough) << "or there was hardly ever more than admin";
}

}  // namespace
}  // namespace zervane
