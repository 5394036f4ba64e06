// Who may do what, written out apart from the tables that decide it.

#include "engine/security/rights.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "engine/authorised.h"
#include "engine/security/user_book.h"

namespace zervane {
namespace {

// Carries everything out, by doing nothing.
class WillingDatabase final : public Database {
 public:
  std::optional<std::int64_t> HeardCatalogueVersion(const Caller&) const override { return 1; }
  Status Carry(const Caller&, OperationNumber, const void*, void*) override { return {}; }
  Status Close() override { return {}; }
};

struct Rights {
  bool administrators;
  bool engineers;
  bool operators;
  bool viewers;
};

constexpr Rights kAll = {true, true, true, true};
constexpr Rights kNotViewers = {true, true, true, false};
constexpr Rights kEngineers = {true, true, false, false};
constexpr Rights kAdministratorsAlone = {true, false, false, false};

const std::map<std::string_view, Rights> kRights = {
    {"add tag", kEngineers},
    {"modify tag", kEngineers},
    {"delete tag", kEngineers},
    {"get tag", kAll},
    {"get tag type", kAll},
    {"find tag identifier", kAll},
    {"get catalogue version", kAll},
    {"find tags", kAll},
    {"count tags", kAll},
    {"list tags", kAll},
    {"write samples", kNotViewers},
    {"read current value", kAll},
    {"read current values", kAll},
    {"count records", kAll},
    {"read records", kAll},
    {"read clock", kAll},
    {"correct record", kNotViewers},
    {"interpolate tag", kAll},
    {"interpolate tags", kAll},
    {"calculate statistic", kAll},
    {"find alarms of tags", kAll},
    {"find alarms of a group", kAll},
    {"read latest alarms", kAll},
    {"acknowledge alarms", kNotViewers},
    {"comment alarms", kNotViewers},
    {"add alarm group", kEngineers},
    {"modify alarm group", kEngineers},
    {"delete alarm group", kEngineers},
    {"find alarm group", kAll},
    {"read alarm groups", kAll},
    {"list alarm groups", kAll},
    {"list tags of a group", kAll},
    {"subscribe to tags", kAll},
    {"unsubscribe from tags", kAll},
    {"subscribe to fields", kAll},
    {"unsubscribe from fields", kAll},
    {"poll changes", kAll},
    {"subscribe to alarms", kAll},
    {"poll alarms", kAll},
    {"log in", kAll},
    {"get current user", kAll},
    {"get authority level", kEngineers},
    {"list authority items", kEngineers},
    {"add user", kAdministratorsAlone},
    {"delete user", kAdministratorsAlone},
    {"change password", kAdministratorsAlone},
    {"reset password", kAdministratorsAlone},
    {"describe user", kAdministratorsAlone},
    {"list users", kEngineers},
    {"add user group", kAdministratorsAlone},
    {"delete user group", kAdministratorsAlone},
    {"describe user group", kAdministratorsAlone},
    {"list user groups", kEngineers},
    {"add member", kAdministratorsAlone},
    {"remove member", kAdministratorsAlone},
    {"list members", kEngineers},
    {"list groups of a user", kEngineers},
    {"configure relay", kAdministratorsAlone},
};

struct GroupCase {
  const char* name;
  bool Rights::*right;
};

class BuiltInGroupRights : public testing::TestWithParam<GroupCase> {};

TEST_P(BuiltInGroupRights, AreThoseOfTheTableForEveryOperation) {
  UserBook book;
  StoreBatch batch;
  const UserId user =
      *book.AddUser({.user = {.id = 0, .name = "u", .description = {}}, .password = {}}, batch);
  ASSERT_TRUE(book.AddMember("u", GetParam().name, batch).ok());
  Authorised database(std::make_unique<WillingDatabase>(),
                      [&](const Caller& caller, AuthorityItem item) {
                        return book.LevelsOf(caller.user_id).Level(item);
                      });
  const Caller caller{.user = "u", .user_id = user};
  AllOperations::ForEach([&]<typename Op>() {
    const std::string_view name = RowOf(Op::kNumber).name;
    ASSERT_TRUE(kRights.contains(name)) << name;
    const bool may = kRights.at(name).*GetParam().right;
    EXPECT_EQ(database.Do(caller, Op()).code(), may ? ZR3_OK : ZR3_ERR_NO_RIGHT) << name;
  });
  EXPECT_EQ(kRights.size(), AllOperations::kSize);
}

INSTANTIATE_TEST_SUITE_P(Security, BuiltInGroupRights,
                         testing::Values(GroupCase{"administrators", &Rights::administrators},
                                         GroupCase{"engineers", &Rights::engineers},
                                         GroupCase{"operators", &Rights::operators},
                                         GroupCase{"viewers", &Rights::viewers}),
                         [](const auto& test) { return std::string(test.param.name); });

ChangePassword PasswordOf(const char* user) {
  ChangePassword change;
  change.user = user;
  return change;
}

TEST(Rights, OfAUserInNoGroupAreThoseThatNeedNone) {
  Authorised database(std::make_unique<WillingDatabase>(),
                      [](const Caller&, AuthorityItem) { return 0; });
  const Caller caller{.user = "u", .user_id = 7};
  int allowed = 0;
  AllOperations::ForEach([&]<typename Op>() { allowed += database.Do(caller, Op()).ok() ? 1 : 0; });
  EXPECT_EQ(allowed, 3) << "the clock, logging in, one's own name";
  EXPECT_TRUE(database.Do(caller, GetAuthorityLevel{.user = "U", .item = "tags"}).ok());
  EXPECT_TRUE(database.Do(caller, PasswordOf("U")).ok());
  EXPECT_EQ(database.Do(caller, GetAuthorityLevel{.user = "v", .item = "tags"}).code(),
            ZR3_ERR_NO_RIGHT);
  EXPECT_EQ(database.Do(caller, PasswordOf("v")).code(), ZR3_ERR_NO_RIGHT);
  EXPECT_FALSE(database.HeardCatalogueVersion(caller));
}

TEST(Rights, OfAUserWhoIsGoneAreToLogInAlone) {
  Authorised database(std::make_unique<WillingDatabase>(),
                      [](const Caller&, AuthorityItem) { return kNoUserNeeded; });
  const Caller caller{.user = "u", .user_id = 7};
  AllOperations::ForEach([&]<typename Op>() {
    const bool is_login = Op::kNumber == OperationNumber::kLogin;
    EXPECT_EQ(database.Do(caller, Op()).code(), is_login ? ZR3_OK : ZR3_ERR_NO_RIGHT)
        << RowOf(Op::kNumber).name;
  });
  EXPECT_EQ(database.Do(caller, PasswordOf("u")).code(), ZR3_ERR_NO_RIGHT);
  EXPECT_FALSE(database.HeardCatalogueVersion(caller));
}

TEST(AuthorityItems, AreFoundInAnyCase) {
  EXPECT_EQ(FindAuthorityItem("Tags"), AuthorityItem::kTags);
  EXPECT_EQ(FindAuthorityItem("SYSTEM"), AuthorityItem::kSystem);
  EXPECT_FALSE(FindAuthorityItem("tag"));
  EXPECT_FALSE(FindAuthorityItem(""));
}

TEST(PackedLevels, KeepEachItemApart) {
  PackedLevels levels = PackedLevels::OfUser();
  for (const AuthorityItemInfo& info : AllAuthorityItems()) {
    levels.RaiseTo(info.item, static_cast<int>(info.item) % (kMaxLevel + 1));
  }
  for (const AuthorityItemInfo& info : AllAuthorityItems()) {
    const int level = static_cast<int>(info.item) % (kMaxLevel + 1);
    EXPECT_EQ(levels.Level(info.item), level) << info.name;
    levels.RaiseTo(info.item, level - 1);
    EXPECT_EQ(levels.Level(info.item), level) << "it is never lowered";
  }
}

}  // namespace
}  // namespace zervane
