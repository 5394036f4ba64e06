// What users may do to themselves and others, on a database that forgets nothing.

#include "engine/security_family.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "engine/catalogue/catalogue.h"
#include "engine/write/turn.h"
#include "tests/engine/security/fake_pause.h"
#include "tests/engine/short_memory.h"
#include "tests/engine/storage/faulty_store.h"
#include "tests/engine/test_disk.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SecurityFamilyTest : public testing::Test {
 protected:
  // The part of an engine that users concern.
  struct World {
    explicit World(const std::shared_ptr<TestDisk>& disk)
        : store(disk->Open(disk)),
          catalogue(*store),
          writes(*store, catalogue.tags(), [] { return std::int64_t{1'700'000'000'000}; }),
          pause(new FakePause),
          security(*store, writes,
                   {.password_cost = {.passes = 1, .memory_bytes = 8'192},
                    .pause = std::unique_ptr<Pause>(pause)}),
          subscriptions(catalogue.tags(), writes),
          family(security, subscriptions) {
      EXPECT_TRUE(catalogue.Load().ok());
      EXPECT_TRUE(security.Load().ok());
      EXPECT_TRUE(writes.Start(Turn::Issue()).ok());
    }

    const std::unique_ptr<Store> store;
    Catalogue catalogue;
    WritePath writes;
    FakePause* const pause;
    Security security;
    SubscriptionFamily subscriptions;
    SecurityFamily family;
  };

  SecurityFamilyTest() { Reopen(); }

  void Reopen() {
    world_.reset();
    world_.emplace(disk_);
  }

  template <typename Op>
  Result<typename Op::Reply> Do(const Op& operation, const Caller& caller = {}) {
    return world_->family.Handle(caller, operation);
  }
  ZR3_STATUS LogIn(const std::string& name, const std::string& password,
                   const Caller& caller = {}) {
    return Do(Login{.name = name, .password = Secret(password)}, caller).code();
  }
  ZR3_STATUS Add(const std::string& name, const std::string& password) {
    return Do(AddUser{.name = name, .password = Secret(password), .description = {}}).code();
  }
  ZR3_STATUS Change(const std::string& name, const std::string& old_password,
                    const std::string& new_password) {
    return Do(ChangePassword{.user = name,
                             .old_password = Secret(old_password),
                             .new_password = Secret(new_password)})
        .code();
  }
  ZR3_STATUS Reset(const std::string& name, const std::string& password) {
    return Do(ResetPassword{.user = name, .password = Secret(password)}).code();
  }
  int LevelOf(UserId user, AuthorityItem item = AuthorityItem::kTags) {
    return world_->security.LevelOf({.user = "whoever", .user_id = user}, item);
  }

  const std::shared_ptr<TestDisk> disk_ = std::make_shared<TestDisk>();
  std::optional<World> world_;
};

const Caller kRemote{.from = "far away", .is_remote = true};

// ---- logging in ----

TEST_F(SecurityFamilyTest, AUserLogsInWithHisPassword) {
  ASSERT_EQ(Add("Anna", "secret"), ZR3_OK);
  const Result<User> anna = Do(Login{.name = "aNNA", .password = Secret("secret")}, kRemote);
  ASSERT_TRUE(anna.ok());
  EXPECT_EQ(anna->name, "Anna") << "as it was given";
  EXPECT_EQ(anna->id, 2U);
  Reopen();
  EXPECT_EQ(LogIn("Anna", "secret"), ZR3_OK);
}

TEST_F(SecurityFamilyTest, UnknownUsersAndWrongPasswordsFailAlike) {
  ASSERT_EQ(Add("Anna", "secret"), ZR3_OK);
  const std::pair<std::string, std::string> wrong[] = {
      {"Anna", "Secret"}, {"Anna", ""},     {"nobody", "secret"},
      {"nobody", ""},     {"", ""},         {std::string(64, 'n'), "secret"},
      {"a\nb", "secret"}, {"\xFF", "\xFF"}, {"Anna", std::string(300, 'p')}};
  for (const auto& [name, password] : wrong) {
    const Result<User> outcome = Do(Login{.name = name, .password = Secret(password)});
    EXPECT_EQ(outcome.code(), ZR3_ERR_LOGIN_FAILED) << name;
    EXPECT_EQ(outcome.status().message(), "") << name;
  }
  EXPECT_EQ(world_->pause->waits().size(), std::size(wrong)) << "each waits";
}

TEST_F(SecurityFamilyTest, AdminWithoutAPasswordLogsInFromThisProcessAlone) {
  EXPECT_EQ(LogIn("admin", ""), ZR3_OK);
  EXPECT_EQ(LogIn("Admin", "x"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(LogIn("admin", "", kRemote), ZR3_ERR_LOGIN_FAILED);
  ASSERT_EQ(Change("admin", "", "secret"), ZR3_OK);
  EXPECT_EQ(LogIn("admin", ""), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(LogIn("admin", "secret", kRemote), ZR3_OK);
  Reopen();
  EXPECT_EQ(LogIn("admin", ""), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(LogIn("admin", "secret"), ZR3_OK);
}

TEST_F(SecurityFamilyTest, FailuresOfANameDelayItWhateverItsCase) {
  ASSERT_EQ(Add("Anna", "secret"), ZR3_OK);
  (void)LogIn("Anna", "x");
  (void)LogIn("ANNA", "x");
  (void)Change("anna", "x", "new");
  EXPECT_THAT(world_->pause->waits(), ElementsAre(100, 200, 400));
  EXPECT_EQ(LogIn("anna", "secret"), ZR3_OK);
  (void)LogIn("anna", "x");
  EXPECT_THAT(world_->pause->waits(), ElementsAre(100, 200, 400, 100));
}

TEST_F(SecurityFamilyTest, LoggingInEndsWhatTheSessionHasSubscribedTo) {
  const Caller caller;
  Tag tag;
  tag.name = "t";
  ASSERT_TRUE(world_->subscriptions.Handle(caller, SubscribeAlarms{}).ok());
  ASSERT_EQ(LogIn("admin", "x"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_TRUE(world_->writes.feed().HasConsumers()) << "a failure leaves it";
  ASSERT_EQ(LogIn("admin", ""), ZR3_OK);
  EXPECT_FALSE(world_->writes.feed().HasConsumers());
}

TEST_F(SecurityFamilyTest, LoginsEndWithTheDatabase) {
  world_->pause->Hold();
  std::thread waiting([&] { EXPECT_EQ(LogIn("admin", "x"), ZR3_ERR_NOT_CONNECTED); });
  world_->pause->AwaitWaits(1);
  world_->security.Close();
  waiting.join();
  EXPECT_EQ(LogIn("admin", ""), ZR3_ERR_NOT_CONNECTED);
}

// ---- passwords ----

TEST_F(SecurityFamilyTest, PasswordsAreChangedByWhoeverKnowsTheOldOne) {
  ASSERT_EQ(Add("Anna", "one"), ZR3_OK);
  EXPECT_EQ(Change("Anna", "two", "three"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(Change("Anna", "", "three"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(Change("nobody", "one", "three"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(Change("Anna", "one", ""), ZR3_ERR_INVALID_PASSWORD);
  EXPECT_EQ(Change("Anna", "one", std::string(128, 'p')), ZR3_ERR_INVALID_PASSWORD);
  EXPECT_EQ(LogIn("Anna", "one"), ZR3_OK) << "nothing has changed";
  EXPECT_EQ(Change("anna", "one", std::string(127, 'p')), ZR3_OK);
  EXPECT_EQ(LogIn("Anna", "one"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(LogIn("Anna", std::string(127, 'p')), ZR3_OK);
}

TEST_F(SecurityFamilyTest, PasswordsAreResetWithoutTheOldOne) {
  ASSERT_EQ(Add("Anna", "one"), ZR3_OK);
  EXPECT_EQ(Reset("nobody", "two"), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(Reset("Anna", ""), ZR3_ERR_INVALID_PASSWORD);
  EXPECT_EQ(Reset("ANNA", "two"), ZR3_OK);
  Reopen();
  EXPECT_EQ(LogIn("Anna", "one"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(LogIn("Anna", "two"), ZR3_OK);
}

TEST_F(SecurityFamilyTest, UsersAreAddedWithAPassword) {
  EXPECT_EQ(Add("Anna", ""), ZR3_ERR_INVALID_PASSWORD);
  EXPECT_EQ(Add("Anna", std::string(128, 'p')), ZR3_ERR_INVALID_PASSWORD);
  EXPECT_EQ(Add("", "secret"), ZR3_ERR_INVALID_USER_NAME);
  EXPECT_EQ(Add("Anna", "secret"), ZR3_OK);
  EXPECT_EQ(Add("anna", "secret"), ZR3_ERR_USER_EXISTS);
}

// ---- levels ----

TEST_F(SecurityFamilyTest, LevelsFollowWhatIsChanged) {
  EXPECT_EQ(LevelOf(0), kMaxLevel) << "the database itself";
  EXPECT_EQ(LevelOf(kAdminId), kMaxLevel);
  EXPECT_EQ(LevelOf(2), kNoUserNeeded);
  EXPECT_EQ(LevelOf(4'000'000'000), kNoUserNeeded);
  ASSERT_EQ(Add("Anna", "p"), ZR3_OK);
  EXPECT_EQ(LevelOf(2), 0);
  ASSERT_TRUE(Do(AddMember{.user = "Anna", .group = "engineers"}).ok());
  EXPECT_EQ(LevelOf(2), 3);
  EXPECT_EQ(LevelOf(2, AuthorityItem::kRecords), 2);
  Reopen();
  EXPECT_EQ(LevelOf(2), 3);
  ASSERT_TRUE(Do(RemoveMember{.user = "Anna", .group = "engineers"}).ok());
  EXPECT_EQ(LevelOf(2), 0);
  ASSERT_TRUE(Do(AddMember{.user = "Anna", .group = "viewers"}).ok());
  EXPECT_EQ(LevelOf(2), 1);
  ASSERT_TRUE(Do(DeleteUser{.name = "Anna"}).ok());
  EXPECT_EQ(LevelOf(2), kNoUserNeeded);
  ASSERT_EQ(Add("Anna", "p"), ZR3_OK);
  EXPECT_EQ(LevelOf(2), kNoUserNeeded) << "another one";
  EXPECT_EQ(LevelOf(3), 0);
}

TEST_F(SecurityFamilyTest, TellsTheLevelOfAUser) {
  ASSERT_EQ(Add("Anna", "p"), ZR3_OK);
  ASSERT_TRUE(Do(AddMember{.user = "Anna", .group = "operators"}).ok());
  EXPECT_EQ(*Do(GetAuthorityLevel{.user = "anna", .item = "Records"}), 2);
  EXPECT_EQ(*Do(GetAuthorityLevel{.user = "anna", .item = "security"}), 0);
  EXPECT_EQ(Do(GetAuthorityLevel{.user = "nobody", .item = "tags"}).code(), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(Do(GetAuthorityLevel{.user = "anna", .item = "tag"}).code(),
            ZR3_ERR_AUTH_ITEM_NOT_FOUND);
}

TEST_F(SecurityFamilyTest, ListsTheItemsWithTheCallersLevels) {
  ASSERT_EQ(Add("Anna", "p"), ZR3_OK);
  ASSERT_TRUE(Do(AddMember{.user = "Anna", .group = "engineers"}).ok());
  const auto items = Do(ListAuthorityItems{}, {.user = "Anna", .user_id = 2});
  ASSERT_TRUE(items.ok());
  std::vector<std::pair<std::string, int>> levels;
  for (const AuthorityEntry& entry : *items) {
    EXPECT_NE(entry.description, "") << entry.name;
    levels.emplace_back(entry.name, entry.level);
  }
  EXPECT_THAT(levels,
              ElementsAre(std::pair("tags", 3), std::pair("records", 2), std::pair("alarms", 3),
                          std::pair("security", 1), std::pair("system", 1)));
}

// ---- lists ----

TEST_F(SecurityFamilyTest, ListsRefuseLimitsBelowOne) {
  for (const int limit : {0, -1, INT32_MIN}) {
    EXPECT_EQ(Do(ListUsers{.from = 0, .limit = limit}).code(), ZR3_ERR_INVALID_COUNT);
    EXPECT_EQ(Do(ListUserGroups{.from = 0, .limit = limit}).code(), ZR3_ERR_INVALID_COUNT);
    EXPECT_EQ(Do(ListMembers{.group = "viewers", .from = 0, .limit = limit}).code(),
              ZR3_ERR_INVALID_COUNT);
    EXPECT_EQ(Do(ListGroupsOfUser{.user = "admin", .from = 0, .limit = limit}).code(),
              ZR3_ERR_INVALID_COUNT);
  }
  EXPECT_EQ(Do(ListUsers{.from = 0, .limit = INT32_MAX})->items.size(), 1U);
}

// ---- failures ----

TEST_F(SecurityFamilyTest, WhatTheStoreRefusesDoesNotHappen) {
  ASSERT_EQ(Add("Anna", "p"), ZR3_OK);
  disk_->FailCommits(TestDisk::kForever);
  EXPECT_EQ(Add("Bert", "p"), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Reset("Anna", "q"), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Do(DeleteUser{.name = "Anna"}).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Do(AddMember{.user = "Anna", .group = "viewers"}).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Do(AddUserGroup{.name = "g", .description = {}}).code(), ZR3_ERR_STORAGE_FAILED);
  disk_->EndFailingCommits();
  EXPECT_EQ(LevelOf(2), 0);
  EXPECT_EQ(LevelOf(3), kNoUserNeeded);
  EXPECT_EQ(LogIn("Anna", "p"), ZR3_OK);
  EXPECT_EQ(LogIn("Bert", "p"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(Do(ListUserGroups{})->items.size(), kLastBuiltInGroup);
  EXPECT_EQ(Add("Bert", "p"), ZR3_OK);
  EXPECT_EQ(LevelOf(3), 0);
}

}  // namespace
}  // namespace zervane
