// Users log in, change, come and go at once, behind the one who asks whether they may.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <initializer_list>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "api/operations/security.h"
#include "engine/authorised.h"
#include "engine/catalogue/catalogue.h"
#include "engine/security_family.h"
#include "engine/write/turn.h"
#include "tests/engine/security/fake_pause.h"
#include "tests/engine/test_disk.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

// Carries out the operations that concern users, and no others.
class UsersDatabase final : public Database {
 public:
  UsersDatabase(SecurityFamily& family, Security& security)
      : family_(family), security_(security) {}

  std::optional<std::int64_t> HeardCatalogueVersion(const Caller&) const override { return {}; }
  Status Carry(const Caller& caller, OperationNumber number, const void* operation,
               void* reply) override {
    Status status(ZR3_ERR_NOT_SUPPORTED, {});
    AllOperations::ForEach([&]<typename Op>() {
      if constexpr (requires(const Op& op) { family_.Handle(caller, op); }) {
        if (number != Op::kNumber) return;
        auto result = family_.Handle(caller, *static_cast<const Op*>(operation));
        status = result.status();
        if (result.ok()) *static_cast<typename Op::Reply*>(reply) = *std::move(result);
      }
    });
    return status;
  }
  Status Close() override {
    security_.Close();
    return {};
  }

 private:
  SecurityFamily& family_;
  Security& security_;
};

constexpr int kUsers = 3;
constexpr int kRounds = 60;

std::string NameOf(int user) { return "user" + std::to_string(user); }
std::string PasswordOf(int round) { return "password" + std::to_string(round % 2); }

class SecurityConcurrency : public testing::Test {
 protected:
  SecurityConcurrency() {
    EXPECT_TRUE(catalogue_.Load().ok());
    EXPECT_TRUE(security_.Load().ok());
    EXPECT_TRUE(writes_.Start(Turn::Issue()).ok());
    database_ = std::make_unique<Authorised>(
        std::make_unique<UsersDatabase>(family_, security_),
        [&](const Caller& caller, AuthorityItem item) { return security_.LevelOf(caller, item); });
  }

  template <typename Op>
  ZR3_STATUS CodeOf(const Op& operation, const Caller& caller = {}) {
    return database_->Do(caller, operation).code();
  }

  Result<User> LogIn(const std::string& name, const std::string& password) {
    return database_->Do(Caller(), Login{.name = name, .password = Secret(password)});
  }

  // A user comes, gets rights and another password, loses them, and goes.
  void LiveAs(int user) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string name = NameOf(user);
      EXPECT_EQ(
          CodeOf(AddUser{.name = name, .password = Secret(PasswordOf(0)), .description = "first"}),
          ZR3_OK);
      EXPECT_EQ(CodeOf(AddMember{.user = name, .group = "engineers"}), ZR3_OK);
      EXPECT_EQ(CodeOf(DescribeUser{.user = name, .description = "second"}), ZR3_OK);
      const Result<User> known = LogIn(name, PasswordOf(0));
      ASSERT_TRUE(known.ok()) << known.status().code();
      const Caller self{.user = known->name, .user_id = known->id};
      EXPECT_EQ(CodeOf(ListUsers{.from = 0, .limit = 10}, self), ZR3_OK);
      EXPECT_EQ(CodeOf(ChangePassword{.user = name,
                                      .old_password = Secret(PasswordOf(0)),
                                      .new_password = Secret(PasswordOf(1))},
                       self),
                ZR3_OK);
      EXPECT_EQ(CodeOf(RemoveMember{.user = name, .group = "engineers"}), ZR3_OK);
      EXPECT_EQ(CodeOf(ListUsers{.from = 0, .limit = 10}, self), ZR3_ERR_NO_RIGHT)
          << "what was taken is gone with the next call";
      EXPECT_EQ(CodeOf(GetCurrentUser{}, self), ZR3_OK);
      EXPECT_EQ(CodeOf(DeleteUser{.name = name}), ZR3_OK);
      EXPECT_EQ(CodeOf(GetCurrentUser{}, self), ZR3_ERR_NO_RIGHT) << "so is who was deleted";
    }
  }

  // Logs in as whoever may be there, and calls in his name whatever becomes of him.
  void CallAsAny(unsigned seed, const std::atomic<bool>& is_over) {
    std::mt19937 random(seed);
    while (!is_over) {
      const std::string name = NameOf(static_cast<int>(random() % kUsers));
      const Result<User> user = LogIn(name, PasswordOf(static_cast<int>(random() % 2)));
      if (!user.ok()) {
        EXPECT_EQ(user.code(), ZR3_ERR_LOGIN_FAILED);
        continue;
      }
      EXPECT_EQ(user->name, name);
      const Caller caller{.user = user->name, .user_id = user->id};
      ExpectOneOf(CodeOf(ListUsers{.from = 0, .limit = 10}, caller), {ZR3_OK, ZR3_ERR_NO_RIGHT});
      ExpectOneOf(CodeOf(ListAuthorityItems{}, caller), {ZR3_OK, ZR3_ERR_NO_RIGHT});
      ExpectOneOf(CodeOf(AddUserGroup{.name = "g", .description = {}}, caller), {ZR3_ERR_NO_RIGHT});
    }
  }

  // Whoever is listed is whole.
  void ListUntil(const std::atomic<bool>& is_over) {
    while (!is_over) {
      const Result<ListUsers::Reply> users =
          database_->Do(Caller(), ListUsers{.from = 0, .limit = 10});
      ASSERT_TRUE(users.ok());
      ASSERT_FALSE(users->items.empty());
      EXPECT_EQ(users->items[0].name, "admin");
      for (std::size_t at = 1; at < users->items.size(); ++at) {
        const User& user = users->items[at];
        EXPECT_GT(user.id, users->items[at - 1].id);
        EXPECT_TRUE(user.description == "first" || user.description == "second");
        ExpectOneOf(CodeOf(GetAuthorityLevel{.user = user.name, .item = "tags"}),
                    {ZR3_OK, ZR3_ERR_USER_NOT_FOUND});
      }
    }
  }

  static void ExpectOneOf(ZR3_STATUS code, std::initializer_list<ZR3_STATUS> codes) {
    EXPECT_NE(std::ranges::find(codes, code), codes.end()) << code;
  }

  const std::shared_ptr<TestDisk> disk_ = std::make_shared<TestDisk>();
  const std::unique_ptr<Store> store_ = disk_->Open(disk_);
  Catalogue catalogue_{*store_};
  WritePath writes_{*store_, catalogue_.tags(), [] { return std::int64_t{1'700'000'000'000}; }};
  Security security_{*store_,
                     writes_,
                     {.password_cost = {.passes = 1, .memory_bytes = 8'192},
                      .pause = std::make_unique<FakePause>()}};
  SubscriptionFamily subscriptions_{catalogue_.tags(), writes_};
  SecurityFamily family_{security_, subscriptions_};
  std::unique_ptr<Authorised> database_;
};

TEST_F(SecurityConcurrency, UsersComeChangeAndGoWhileOthersLogInAndCall) {
  const Seed seed;
  std::atomic<bool> is_over{false};
  std::vector<std::thread> others;
  for (unsigned i = 0; i < 2; ++i) {
    others.emplace_back([&, i] { CallAsAny(seed.value() + i, is_over); });
  }
  others.emplace_back([&] { ListUntil(is_over); });
  std::vector<std::thread> users;
  for (int user = 0; user < kUsers; ++user) users.emplace_back([&, user] { LiveAs(user); });
  for (std::thread& user : users) user.join();
  is_over = true;
  for (std::thread& other : others) other.join();
  const Result<ListUsers::Reply> left = database_->Do(Caller(), ListUsers{.from = 0, .limit = 10});
  ASSERT_TRUE(left.ok());
  EXPECT_EQ(left->items.size(), 1U) << "admin";
}

// However many of them race, somebody administers at any time.
TEST_F(SecurityConcurrency, TheLastAdministratorStaysOneWhoeverLeavesAtOnce) {
  for (int user = 0; user < kUsers; ++user) {
    ASSERT_EQ(
        CodeOf(AddUser{.name = NameOf(user), .password = Secret(PasswordOf(0)), .description = {}}),
        ZR3_OK);
  }
  // Asked by the database, for whom it may: those who leave lose the right to come back.
  const Caller& system = Caller::System();
  for (int round = 0; round < kRounds; ++round) {
    for (int user = 0; user < kUsers; ++user) {
      ExpectOneOf(CodeOf(AddMember{.user = NameOf(user), .group = "administrators"}, system),
                  {ZR3_OK, ZR3_ERR_MEMBER_EXISTS});
    }
    ExpectOneOf(CodeOf(RemoveMember{.user = "admin", .group = "administrators"}, system),
                {ZR3_OK, ZR3_ERR_NOT_A_MEMBER});
    std::atomic<int> refused{0};
    std::vector<std::thread> leaving;
    for (int user = 0; user < kUsers; ++user) {
      leaving.emplace_back([&, user] {
        const ZR3_STATUS code =
            CodeOf(RemoveMember{.user = NameOf(user), .group = "administrators"}, system);
        ExpectOneOf(code, {ZR3_OK, ZR3_ERR_LAST_ADMINISTRATOR});
        if (code != ZR3_OK) ++refused;
      });
    }
    for (std::thread& one : leaving) one.join();
    EXPECT_EQ(refused, 1);
  }
}

// Whoever logs in or waits then is told, and nobody waits for ever.
TEST_F(SecurityConcurrency, ClosingEndsLoginsWhateverTheyAreAt) {
  std::vector<std::thread> logins;
  std::atomic<int> begun{0};
  for (int i = 0; i < 6; ++i) {
    logins.emplace_back([&, i] {
      ++begun;
      const std::string password = i % 2 == 0 ? "" : "wrong";
      ZR3_STATUS code = ZR3_OK;
      while (code != ZR3_ERR_NOT_CONNECTED) {
        code = LogIn("admin", password).code();
        ExpectOneOf(code, {i % 2 == 0 ? ZR3_OK : ZR3_ERR_LOGIN_FAILED, ZR3_ERR_NOT_CONNECTED});
      }
    });
  }
  while (begun < 6) std::this_thread::yield();
  EXPECT_TRUE(database_->Close().ok());
  for (std::thread& login : logins) login.join();
}

}  // namespace
}  // namespace zervane
