#include "engine/security/user_book.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/storage/tables.h"
#include "tests/engine/storage/store_driver.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// In the form in which passwords are kept.
const std::string kKept =
    "$argon2id$v=19$m=8,t=1,p=1$AAAAAAAAAAAAAAAAAAAAAA$" + std::string(43, 'A');
constexpr std::size_t kAll = 1'000;

Account Named(const std::string& name, const std::string& description = {}) {
  return {.user = {.id = 0, .name = name, .description = description}, .password = kKept};
}

class UserBookTest : public testing::Test {
 protected:
  // Changes the book and the store, or neither.
  template <typename Edit>
  Result<std::uint32_t> Change(Edit edit) {
    StoreBatch batch;
    UserBook changed = book_;
    const Result<std::uint32_t> outcome = edit(changed, batch);
    if (outcome.ok()) {
      driver_.MustCommit(std::move(batch));
      book_ = std::move(changed);
    } else {
      EXPECT_THAT(batch.rows, IsEmpty());
    }
    return outcome;
  }
  Result<UserId> TryAdd(const Account& account) {
    return Change([&](UserBook& book, StoreBatch& batch) { return book.AddUser(account, batch); });
  }
  UserId Add(const std::string& name) { return *TryAdd(Named(name)); }
  Result<UserGroupId> TryAddGroup(const std::string& name, const std::string& description = {}) {
    return Change([&](UserBook& book, StoreBatch& batch) {
      return book.AddGroup({.id = 0, .name = name, .description = description}, batch);
    });
  }
  ZR3_STATUS Delete(const std::string& user) {
    return Change([&](UserBook& book, StoreBatch& batch) { return book.DeleteUser(user, batch); })
        .code();
  }
  ZR3_STATUS DeleteGroup(const std::string& group) {
    return Change([&](UserBook& book, StoreBatch& batch) { return book.DeleteGroup(group, batch); })
        .code();
  }
  ZR3_STATUS Join(const std::string& user, const std::string& group) {
    return Change([&](UserBook& book, StoreBatch& batch) {
             return book.AddMember(user, group, batch);
           })
        .code();
  }
  ZR3_STATUS Leave(const std::string& user, const std::string& group) {
    return Change([&](UserBook& book, StoreBatch& batch) {
             return book.RemoveMember(user, group, batch);
           })
        .code();
  }

  std::vector<std::string> Users() const { return NamesOf(book_.ListUsers(0, kAll)); }
  std::vector<std::string> Groups() const { return NamesOf(book_.ListGroups(0, kAll)); }
  std::vector<std::string> Members(const std::string& group) const {
    return NamesOf(*book_.ListMembers(group, 0, kAll));
  }
  std::vector<std::string> GroupsOf(const std::string& user) const {
    return NamesOf(*book_.ListGroupsOf(user, 0, kAll));
  }
  template <typename Page>
  static std::vector<std::string> NamesOf(const Page& page) {
    std::vector<std::string> names;
    for (const auto& item : page.items) names.push_back(item.name);
    return names;
  }

  // What the store has, read anew.
  Status Reload() {
    Result<UserBook> loaded = UserBook::Load(*store_);
    if (loaded.ok()) book_ = *loaded;
    return loaded.status();
  }
  template <typename T>
  void PutRow(const T& item) {
    StoreBatch batch;
    Table<T>::Put(item, batch);
    driver_.MustCommit(std::move(batch));
  }
  template <typename T>
  void LoseRow(const typename RowFormat<T>::Key& key) {
    StoreBatch batch;
    Table<T>::Remove(key, batch);
    driver_.MustCommit(std::move(batch));
  }
  void PutLastUser(std::int64_t id) {
    PutRow(Setting{.name = std::string(kLastUserSetting), .value = id});
  }

  const std::unique_ptr<Store> store_ = OpenMemoryStore();
  storage::StoreDriver driver_{*store_};
  UserBook book_;
};

// ---- what is there from the start ----

TEST_F(UserBookTest, BeginsWithAdminAndFourGroups) {
  ASSERT_TRUE(Reload().ok());
  EXPECT_THAT(Users(), ElementsAre("admin"));
  EXPECT_THAT(Groups(), ElementsAre("administrators", "engineers", "operators", "viewers"));
  EXPECT_THAT(GroupsOf("admin"), ElementsAre("administrators"));
  EXPECT_EQ(book_.Find("admin")->user.id, kAdminId);
  EXPECT_EQ(book_.Find("admin")->password, "");
  for (const AuthorityItemInfo& info : AllAuthorityItems()) {
    EXPECT_EQ(book_.LevelsOf(kAdminId).Level(info.item), kMaxLevel) << info.name;
  }
}

TEST_F(UserBookTest, WhatComesWithTheDatabaseIsNotDeleted) {
  EXPECT_EQ(Delete("ADMIN"), ZR3_ERR_BUILT_IN);
  for (const char* group : {"administrators", "Engineers", "operators", "VIEWERS"}) {
    EXPECT_EQ(DeleteGroup(group), ZR3_ERR_BUILT_IN) << group;
  }
}

// ---- users ----

TEST_F(UserBookTest, UsersAreThereAgainAfterLoading) {
  ASSERT_TRUE(TryAdd(Named("Anna", "of the north side")).ok());
  ASSERT_TRUE(TryAddGroup("Boilers", "who fire them").ok());
  ASSERT_EQ(Join("anna", "boilers"), ZR3_OK);
  ASSERT_EQ(Join("anna", "operators"), ZR3_OK);
  ASSERT_TRUE(Reload().ok());
  EXPECT_THAT(Users(), ElementsAre("admin", "Anna"));
  EXPECT_EQ(book_.Find("ANNA")->user.description, "of the north side");
  EXPECT_EQ(book_.Find("ANNA")->password, kKept);
  EXPECT_THAT(GroupsOf("anna"), ElementsAre("operators", "Boilers"));
  EXPECT_THAT(Members("BOILERS"), ElementsAre("Anna"));
}

TEST_F(UserBookTest, NamesAreUniqueWithoutRegardToAsciiCase) {
  Add("Anna");
  EXPECT_EQ(TryAdd(Named("aNNA")).code(), ZR3_ERR_USER_EXISTS);
  EXPECT_EQ(TryAdd(Named("Admin")).code(), ZR3_ERR_USER_EXISTS);
  EXPECT_TRUE(TryAdd(Named("\xC3\x84nna")).ok());
  EXPECT_TRUE(TryAdd(Named("\xC3\xA4nna")).ok()) << "letters beyond ASCII are told apart";
  ASSERT_TRUE(TryAddGroup("anna").ok()) << "a group may be called as a user is";
  EXPECT_EQ(TryAddGroup("ANNA").code(), ZR3_ERR_USER_GROUP_EXISTS);
  EXPECT_EQ(TryAddGroup("Viewers").code(), ZR3_ERR_USER_GROUP_EXISTS);
}

struct NameCase {
  const char* what;
  std::string name;
  ZR3_STATUS status;
};

class UserNames : public testing::TestWithParam<NameCase> {};

TEST_P(UserNames, AreJudged) {
  EXPECT_EQ(CheckUserName(GetParam().name).code(), GetParam().status);
}

std::string Times(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

INSTANTIATE_TEST_SUITE_P(
    Security, UserNames,
    testing::Values(
        NameCase{"Empty", "", ZR3_ERR_INVALID_USER_NAME}, NameCase{"OneByte", "a", ZR3_OK},
        NameCase{"Space", " ", ZR3_OK}, NameCase{"Most", std::string(63, 'n'), ZR3_OK},
        NameCase{"OneTooMany", std::string(64, 'n'), ZR3_ERR_INVALID_USER_NAME},
        NameCase{"MostInAnotherEncoding", Times(63, "\xE6\xB5\x8B"), ZR3_OK},
        NameCase{"OneTooManyThere", Times(64, "\xE6\xB5\x8B"), ZR3_ERR_INVALID_USER_NAME},
        NameCase{"TooManyBytes", Times(48, "\xF0\x9F\x98\x80"), ZR3_ERR_INVALID_USER_NAME},
        NameCase{"Newline", "a\nb", ZR3_ERR_INVALID_USER_NAME},
        NameCase{"Delete", "a\x7F", ZR3_ERR_INVALID_USER_NAME},
        NameCase{"Nul", std::string("a\0b", 3), ZR3_ERR_INVALID_USER_NAME},
        NameCase{"NoUtf8", "a\xFF", ZR3_ERR_INVALID_TEXT}),
    [](const auto& test) { return std::string(test.param.what); });

TEST(UserTexts, PasswordsHaveFromOneTo127Characters) {
  EXPECT_EQ(CheckPassword("").code(), ZR3_ERR_INVALID_PASSWORD);
  EXPECT_EQ(CheckPassword(" ").code(), ZR3_OK);
  EXPECT_EQ(CheckPassword(std::string(127, 'p')).code(), ZR3_OK);
  EXPECT_EQ(CheckPassword(std::string(128, 'p')).code(), ZR3_ERR_INVALID_PASSWORD);
  EXPECT_EQ(CheckPassword("\xFF").code(), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(CheckPassword(std::string(128, 'p')).message(), "") << "nothing is told of one";
}

TEST(UserTexts, DescriptionsHaveUpTo127Characters) {
  EXPECT_EQ(CheckDescription("").code(), ZR3_OK);
  EXPECT_EQ(CheckDescription(std::string(127, 'd')).code(), ZR3_OK);
  EXPECT_EQ(CheckDescription(std::string(128, 'd')).code(), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(CheckDescription("\xFF").code(), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(CheckDescription(std::string("a\0b", 3)).code(), ZR3_ERR_INVALID_TEXT);
}

TEST_F(UserBookTest, WhatBreaksARuleChangesNothing) {
  EXPECT_EQ(TryAdd(Named("")).code(), ZR3_ERR_INVALID_USER_NAME);
  EXPECT_EQ(TryAdd(Named("a", std::string(128, 'd'))).code(), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(TryAddGroup("").code(), ZR3_ERR_INVALID_USER_NAME);
  EXPECT_EQ(TryAddGroup("g", std::string(128, 'd')).code(), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(Delete("nobody"), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(DeleteGroup("nothing"), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(Join("nobody", "viewers"), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(Join("admin", "nothing"), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(Leave("nobody", "viewers"), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(Leave("admin", "nothing"), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(Leave("admin", "viewers"), ZR3_ERR_NOT_A_MEMBER);
  EXPECT_EQ(Join("admin", "administrators"), ZR3_ERR_MEMBER_EXISTS);
  EXPECT_EQ(book_.ListMembers("nothing", 0, kAll).code(), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(book_.ListGroupsOf("nobody", 0, kAll).code(), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_THAT(Users(), ElementsAre("admin"));
  EXPECT_EQ(Groups().size(), kLastBuiltInGroup);
}

TEST_F(UserBookTest, IdentifiersAreNeverGivenAgain) {
  const UserId anna = Add("Anna");
  ASSERT_EQ(Delete("Anna"), ZR3_OK);
  const UserId again = Add("Anna");
  EXPECT_GT(again, anna);
  ASSERT_EQ(Delete("Anna"), ZR3_OK);
  ASSERT_TRUE(Reload().ok());
  EXPECT_GT(Add("Anna"), again) << "not after loading, either";
  const UserGroupId group = *TryAddGroup("g");
  ASSERT_EQ(DeleteGroup("g"), ZR3_OK);
  ASSERT_TRUE(Reload().ok());
  EXPECT_GT(*TryAddGroup("g"), group);
}

TEST_F(UserBookTest, IdentifiersMayRunOut) {
  PutLastUser(std::int64_t{UINT32_MAX} - 1);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(Add("last"), UINT32_MAX);
  EXPECT_EQ(TryAdd(Named("one more")).code(), ZR3_ERR_TAG_IDS_EXHAUSTED);
}

TEST_F(UserBookTest, DeletingAUserOrAGroupEndsItsMemberships) {
  const UserId anna = Add("Anna");
  ASSERT_TRUE(TryAddGroup("g").ok());
  ASSERT_EQ(Join("Anna", "g"), ZR3_OK);
  ASSERT_EQ(Join("Anna", "engineers"), ZR3_OK);
  ASSERT_EQ(Join("admin", "g"), ZR3_OK);
  ASSERT_EQ(Delete("anna"), ZR3_OK);
  EXPECT_EQ(book_.LevelsOf(anna), PackedLevels());
  EXPECT_THAT(Members("engineers"), IsEmpty());
  EXPECT_THAT(Members("g"), ElementsAre("admin"));
  ASSERT_EQ(DeleteGroup("g"), ZR3_OK);
  EXPECT_THAT(GroupsOf("admin"), ElementsAre("administrators"));
  ASSERT_TRUE(Reload().ok()) << "no row of theirs is left";
  EXPECT_THAT(Members("engineers"), IsEmpty());
}

TEST_F(UserBookTest, DescriptionsOfAllMayBeChanged) {
  const auto describe = [&](const std::string& name, const std::string& text) {
    return Change([&](UserBook& book, StoreBatch& batch) {
             return book.DescribeUser(name, text, batch);
           })
        .code();
  };
  const auto describe_group = [&](const std::string& name, const std::string& text) {
    return Change([&](UserBook& book, StoreBatch& batch) {
             return book.DescribeGroup(name, text, batch);
           })
        .code();
  };
  EXPECT_EQ(describe("Admin", "who comes first"), ZR3_OK);
  EXPECT_EQ(describe_group("VIEWERS", "who look on"), ZR3_OK);
  EXPECT_EQ(describe("nobody", ""), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(describe("admin", std::string(128, 'd')), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(describe_group("nothing", ""), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(describe_group("viewers", std::string(128, 'd')), ZR3_ERR_INVALID_TEXT);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(book_.Find("admin")->user.description, "who comes first");
  EXPECT_EQ(book_.Find("admin")->password, "") << "it did not get one by that";
  EXPECT_EQ(book_.ListGroups(4, 1).items[0].description, "who look on");
}

// ---- administrators ----

TEST_F(UserBookTest, TheLastAdministratorStaysOne) {
  EXPECT_EQ(Leave("admin", "administrators"), ZR3_ERR_LAST_ADMINISTRATOR);
  Add("Anna");
  ASSERT_EQ(Join("Anna", "administrators"), ZR3_OK);
  ASSERT_TRUE(Reload().ok());
  EXPECT_THAT(Members("administrators"), ElementsAre("admin", "Anna"));
  EXPECT_EQ(Leave("admin", "administrators"), ZR3_OK);
  EXPECT_EQ(Leave("Anna", "administrators"), ZR3_ERR_LAST_ADMINISTRATOR);
  EXPECT_EQ(Delete("Anna"), ZR3_ERR_LAST_ADMINISTRATOR);
  ASSERT_TRUE(Reload().ok());
  EXPECT_THAT(Members("administrators"), ElementsAre("Anna"));
  EXPECT_EQ(Join("admin", "administrators"), ZR3_OK);
  EXPECT_EQ(Delete("Anna"), ZR3_OK);
  ASSERT_TRUE(Reload().ok());
  EXPECT_THAT(Members("administrators"), ElementsAre("admin"));
}

// ---- pages ----

TEST_F(UserBookTest, ListsComeInPagesInOrderOfIdentifier) {
  for (const char* name : {"c", "a", "b"}) {
    Add(name);
    ASSERT_EQ(Join(name, "viewers"), ZR3_OK);
  }
  const auto first = book_.ListUsers(0, 2);
  EXPECT_THAT(NamesOf(first), ElementsAre("admin", "c"));
  const auto second = book_.ListUsers(*first.next, 2);
  EXPECT_THAT(NamesOf(second), ElementsAre("a", "b"));
  EXPECT_FALSE(second.next);
  const auto members = book_.ListMembers("viewers", 0, 2);
  EXPECT_THAT(NamesOf(*members), ElementsAre("c", "a"));
  EXPECT_THAT(NamesOf(*book_.ListMembers("viewers", *members->next, 2)), ElementsAre("b"));
  ASSERT_EQ(Join("a", "operators"), ZR3_OK);
  const auto groups = book_.ListGroupsOf("a", 0, 1);
  EXPECT_THAT(NamesOf(*groups), ElementsAre("operators"));
  EXPECT_THAT(NamesOf(*book_.ListGroupsOf("a", *groups->next, 1)), ElementsAre("viewers"));
}

// ---- levels ----

TEST_F(UserBookTest, AUserHasTheHighestLevelOfItsGroups) {
  using enum AuthorityItem;
  const UserId anna = Add("Anna");
  const auto levels = [&] {
    std::vector<int> all;
    for (const AuthorityItem item : {kTags, kRecords, kAlarms, kSecurity, kSystem}) {
      all.push_back(book_.LevelsOf(anna).Level(item));
    }
    return all;
  };
  EXPECT_THAT(levels(), ElementsAre(0, 0, 0, 0, 0));
  ASSERT_TRUE(TryAddGroup("own").ok());
  ASSERT_EQ(Join("Anna", "own"), ZR3_OK);
  EXPECT_THAT(levels(), ElementsAre(0, 0, 0, 0, 0)) << "groups of one's own hold none";
  ASSERT_EQ(Join("Anna", "viewers"), ZR3_OK);
  EXPECT_THAT(levels(), ElementsAre(1, 1, 1, 0, 1));
  ASSERT_EQ(Join("Anna", "operators"), ZR3_OK);
  EXPECT_THAT(levels(), ElementsAre(1, 2, 2, 0, 1));
  ASSERT_EQ(Join("Anna", "engineers"), ZR3_OK);
  EXPECT_THAT(levels(), ElementsAre(3, 2, 3, 1, 1));
  ASSERT_EQ(Join("Anna", "administrators"), ZR3_OK);
  EXPECT_THAT(levels(), ElementsAre(3, 3, 3, 3, 3));
  ASSERT_EQ(Leave("Anna", "engineers"), ZR3_OK);
  ASSERT_EQ(Leave("Anna", "administrators"), ZR3_OK);
  EXPECT_THAT(levels(), ElementsAre(1, 2, 2, 0, 1));
  EXPECT_EQ(book_.LevelsOf(99).Level(kTags), kNoUserNeeded);
}

// ---- damage ----

TEST_F(UserBookTest, RowsThatBreakARuleAreDamage) {
  PutLastUser(10);
  const auto is_damaged = [&](const Account& account) {
    PutRow(account);
    const ZR3_STATUS status = Reload().code();
    LoseRow<Account>(account.user.id);
    return status == ZR3_ERR_STORAGE_DAMAGED;
  };
  const auto user = [](UserId id, const std::string& name) {
    return Account{.user = {.id = id, .name = name, .description = {}}, .password = kKept};
  };
  EXPECT_FALSE(is_damaged(user(2, "a")));
  EXPECT_TRUE(is_damaged(user(11, "a"))) << "an identifier beyond the last one given";
  EXPECT_TRUE(is_damaged(user(0, "a")));
  EXPECT_TRUE(is_damaged(user(2, "")));
  EXPECT_TRUE(is_damaged(user(2, "ADMIN"))) << "another one's name";
  Account without = user(2, "a");
  without.password = "";
  EXPECT_TRUE(is_damaged(without)) << "nobody but admin is without a password";
  Account described = user(2, "a");
  described.user.description = "\xFF";
  EXPECT_TRUE(is_damaged(described));
}

TEST_F(UserBookTest, GroupsAndMembersThatBreakARuleAreDamage) {
  PutRow(UserGroup{.id = 5, .name = "g", .description = {}});
  EXPECT_EQ(Reload().code(), ZR3_ERR_STORAGE_DAMAGED);
  LoseRow<UserGroup>(5);
  PutRow(Membership{.group = kAdministrators, .user = 7});
  EXPECT_EQ(Reload().code(), ZR3_ERR_STORAGE_DAMAGED) << "of nobody";
  LoseRow<Membership>({.group = kAdministrators, .user = 7});
  PutRow(Membership{.group = 9, .user = kAdminId});
  EXPECT_EQ(Reload().code(), ZR3_ERR_STORAGE_DAMAGED) << "in nothing";
  LoseRow<Membership>({.group = 9, .user = kAdminId});
  PutLastUser(0);
  EXPECT_EQ(Reload().code(), ZR3_ERR_STORAGE_DAMAGED);
}

TEST_F(UserBookTest, DamageToWhatComesWithTheDatabaseLocksNobodyOutAndGivesNoRights) {
  PutRow(Account{.user = {.id = kAdminId, .name = "else", .description = "\xFF"},
                 .password = "nonsense"});
  PutRow(UserGroup{.id = 4, .name = "administrators", .description = "\xFF"});
  ASSERT_TRUE(Reload().ok());
  EXPECT_THAT(Users(), ElementsAre("admin"));
  EXPECT_THAT(Groups(), ElementsAre("administrators", "engineers", "operators", "viewers"));
  EXPECT_FALSE(book_.Find("admin")->password.empty()) << "nobody logs in without his password";
  EXPECT_EQ(book_.LevelsOf(kAdminId).Level(AuthorityItem::kSecurity), kMaxLevel);
  EXPECT_EQ(Change([&](UserBook& book, StoreBatch& batch) {
              return book.SetPassword("admin", kKept, batch);
            }).code(),
            ZR3_OK);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(book_.Find("admin")->password, kKept);
}

TEST_F(UserBookTest, WhenNoRowSaysWhoAdministersAdminDoes) {
  Add("Anna");
  ASSERT_EQ(Join("Anna", "administrators"), ZR3_OK);
  ASSERT_EQ(Leave("admin", "administrators"), ZR3_OK);
  LoseRow<Membership>({.group = kAdministrators, .user = 2});
  ASSERT_TRUE(Reload().ok());
  EXPECT_THAT(Members("administrators"), ElementsAre("admin"));
}

}  // namespace
}  // namespace zervane
