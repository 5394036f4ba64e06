// Users, groups and rights through the exported functions and the embedded database.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "zervane.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

template <std::size_t kCapacity>
void Overflow(char (&text)[kCapacity]) {
  std::memset(text, 'x', kCapacity);
}

class SecurityFunctions : public testing::Test {
 protected:
  void SetUp() override {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, "memory:");
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
  }
  void TearDown() override { (void)nt3_disconnect(); }

  static int32 Add(const std::string& name, const std::string& password,
                   const std::string& description = {}) {
    ZR3SecUser user{};
    std::strcpy(user.szUserName, name.c_str());
    std::strcpy(user.szPasswd, password.c_str());
    std::strcpy(user.szUserDesc, description.c_str());
    return sc3_add_user(&user);
  }
  static int32 AddGroup(const std::string& name, const std::string& description = {}) {
    ZR3SecGroup group{};
    std::strcpy(group.szGroupName, name.c_str());
    std::strcpy(group.szGroupDesc, description.c_str());
    return sc3_add_group(&group);
  }
  static std::string CurrentUser() {
    char name[ZR3_LEN_NAME] = {};
    EXPECT_EQ(sc3_query_current_user_name(sizeof name, name), ZR3_OK);
    return name;
  }
  static int32 LevelOf(const std::string& user, const std::string& item) {
    int32 level = -1;
    EXPECT_EQ(sc3_query_auth_of_user(user.c_str(), item.c_str(), &level), ZR3_OK) << user;
    return level;
  }

  // The items that an iterator has.
  template <typename Record>
  static std::vector<Record> ItemsOf(int32 status, ZR3HANDLE handle) {
    EXPECT_EQ(status, ZR3_OK);
    std::vector<Record> items;
    for (;;) {
      Record record;
      std::memset(&record, 'x', sizeof record);
      if (ut3_get_item_step(handle, &record) != ZR3_OK) break;
      items.push_back(record);
    }
    EXPECT_EQ(ut3_free_handle(handle), ZR3_OK);
    return items;
  }
  std::vector<ZR3SecUser> Users() {
    const int32 status = sc3_query_all_users(&handle_);
    return ItemsOf<ZR3SecUser>(status, handle_);
  }
  std::vector<ZR3SecUser> Members(const char* group) {
    const int32 status = sc3_query_members_of_group(group, &handle_);
    return ItemsOf<ZR3SecUser>(status, handle_);
  }
  std::vector<ZR3SecGroup> Groups() {
    const int32 status = sc3_query_all_groups(&handle_);
    return ItemsOf<ZR3SecGroup>(status, handle_);
  }
  std::vector<ZR3SecGroup> GroupsOf(const char* user) {
    const int32 status = sc3_query_groups_of_user(user, &handle_);
    return ItemsOf<ZR3SecGroup>(status, handle_);
  }
  static std::vector<std::string> Names(const std::vector<ZR3SecUser>& users) {
    std::vector<std::string> names;
    for (const ZR3SecUser& user : users) names.emplace_back(user.szUserName);
    return names;
  }
  static std::vector<std::string> Names(const std::vector<ZR3SecGroup>& groups) {
    std::vector<std::string> names;
    for (const ZR3SecGroup& group : groups) names.emplace_back(group.szGroupName);
    return names;
  }

  // A tag named t.
  uint32 AddTag() {
    ZR3PtTagProp tag{};
    std::strcpy(tag.szTagName, "t");
    tag.nTagType = ZR3_TAG_TYPE_FLOAT64;
    const ZR3Mask type{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, .nExtMask = 0};
    uint32 id = 0;
    EXPECT_EQ(pt3_add_tag(&tag, &type, nullptr, &id), ZR3_OK);
    return id;
  }
  static int32 Write(uint32 id) {
    ZR3Record record{};
    record.nSec = 1;
    record.nTagType = ZR3_TAG_TYPE_FLOAT64;
    return sn3_save_snapshot(id, &record);
  }

  ZR3HANDLE handle_ = nullptr;
};

// ---- logging in ----

TEST_F(SecurityFunctions, ASessionBeginsAsAdmin) {
  EXPECT_EQ(CurrentUser(), "admin");
  EXPECT_EQ(sc3_login("ADMIN", ""), ZR3_OK);
  EXPECT_EQ(CurrentUser(), "admin");
}

TEST_F(SecurityFunctions, LoggingInChangesWhoAsksAndWhatHeMay) {
  const uint32 id = AddTag();
  ASSERT_EQ(Add("Viewer", "look"), ZR3_OK);
  ASSERT_EQ(sc3_add_user_to_group("viewer", "Viewers"), ZR3_OK);
  ASSERT_EQ(sc3_login("VIEWER", "look"), ZR3_OK);
  EXPECT_EQ(CurrentUser(), "Viewer");
  uint32 found = 0;
  EXPECT_EQ(tag3_query_id_by_name("t", &found), ZR3_OK);
  EXPECT_EQ(Write(id), ZR3_ERR_NO_RIGHT);
  EXPECT_EQ(tag3_delete_tag(id), ZR3_ERR_NO_RIGHT);
  EXPECT_EQ(sc3_query_all_users(&handle_), ZR3_ERR_NO_RIGHT);
  EXPECT_EQ(handle_, nullptr);
  EXPECT_EQ(Add("another", "p"), ZR3_ERR_NO_RIGHT);
  EXPECT_EQ(LevelOf("viewer", "records"), 1) << "one's own";
  int32 level = -1;
  EXPECT_EQ(sc3_query_auth_of_user("admin", "records", &level), ZR3_ERR_NO_RIGHT);
  EXPECT_EQ(level, -1);
  EXPECT_EQ(sc3_login("admin", ""), ZR3_OK);
  EXPECT_EQ(tag3_delete_tag(id), ZR3_OK);
}

TEST_F(SecurityFunctions, AFailedLoginLeavesTheSessionAsItWas) {
  const uint32 id = AddTag();
  ASSERT_EQ(am3_register_alarm_record_info(nullptr), ZR3_OK);
  const uint32 ids[] = {id};
  ASSERT_EQ(sn3_register_callback(1, ids, nullptr), ZR3_OK);
  EXPECT_EQ(sc3_login("nobody", "x"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(CurrentUser(), "admin");
  ASSERT_EQ(Write(id), ZR3_OK);
  int32 count = 0;
  uint32* tags = nullptr;
  ZR3Record* records = nullptr;
  ASSERT_EQ(sn3_get_callback_sn(&count, &tags, &records), ZR3_OK);
  EXPECT_EQ(count, 1) << "still followed";
  EXPECT_EQ(sn3_free_callback_sn(count, tags, records), ZR3_OK);
}

TEST_F(SecurityFunctions, LoggingInEndsWhatTheSessionFollowed) {
  const uint32 id = AddTag();
  const uint32 ids[] = {id};
  ASSERT_EQ(sn3_register_callback(1, ids, nullptr), ZR3_OK);
  ASSERT_EQ(Write(id), ZR3_OK);
  ASSERT_EQ(sc3_login("admin", ""), ZR3_OK);
  int32 count = -1;
  uint32* tags = nullptr;
  ZR3Record* records = nullptr;
  ASSERT_EQ(sn3_get_callback_sn(&count, &tags, &records), ZR3_OK);
  EXPECT_EQ(count, 0);
}

TEST_F(SecurityFunctions, WhatWasLookedUpIsNotAnsweredToWhoMayNotReadIt) {
  AddTag();
  uint32 found = 0;
  ASSERT_EQ(tag3_query_id_by_name("t", &found), ZR3_OK);
  ASSERT_EQ(Add("none", "p"), ZR3_OK);
  ASSERT_EQ(sc3_login("none", "p"), ZR3_OK);
  EXPECT_EQ(tag3_query_id_by_name("t", &found), ZR3_ERR_NO_RIGHT);
}

TEST_F(SecurityFunctions, RightsThatAreTakenCountFromTheNextCallOn) {
  AddTag();
  ASSERT_EQ(Add("chief", "p"), ZR3_OK);
  ASSERT_EQ(sc3_add_user_to_group("chief", "administrators"), ZR3_OK);
  ASSERT_EQ(sc3_login("chief", "p"), ZR3_OK);
  uint32 found = 0;
  ASSERT_EQ(tag3_query_id_by_name("t", &found), ZR3_OK);
  ASSERT_EQ(sc3_delete_user_from_group("chief", "administrators"), ZR3_OK);
  EXPECT_EQ(tag3_query_id_by_name("t", &found), ZR3_ERR_NO_RIGHT) << "though it was remembered";
  EXPECT_EQ(sc3_add_user_to_group("chief", "administrators"), ZR3_ERR_NO_RIGHT);
  EXPECT_EQ(CurrentUser(), "chief");
}

TEST_F(SecurityFunctions, AUserWhoIsDeletedIsRefusedFromTheNextCallOn) {
  ASSERT_EQ(Add("chief", "p"), ZR3_OK);
  ASSERT_EQ(sc3_add_user_to_group("chief", "administrators"), ZR3_OK);
  ASSERT_EQ(sc3_login("chief", "p"), ZR3_OK);
  ASSERT_EQ(sc3_query_all_users(&handle_), ZR3_OK);
  ASSERT_EQ(sc3_delete_user("CHIEF"), ZR3_OK);
  char name[ZR3_LEN_NAME] = {};
  EXPECT_EQ(sc3_query_current_user_name(sizeof name, name), ZR3_ERR_NO_RIGHT);
  int64 time_ms = 0;
  EXPECT_EQ(ut3_get_server_ms_time(&time_ms), ZR3_ERR_NO_RIGHT);
  EXPECT_EQ(sc3_modify_password("chief", "p", "q"), ZR3_ERR_NO_RIGHT);
  EXPECT_EQ(sc3_login("admin", ""), ZR3_OK) << "logging in is all that is left";
  EXPECT_EQ(CurrentUser(), "admin");
}

TEST_F(SecurityFunctions, ANewSessionIsAdminAgain) {
  ASSERT_EQ(Add("none", "p"), ZR3_OK);
  ASSERT_EQ(sc3_login("none", "p"), ZR3_OK);
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  SetUp();
  EXPECT_EQ(CurrentUser(), "admin");
}

// ---- one's own name ----

TEST_F(SecurityFunctions, TheCurrentNameIsWrittenWhenItFits) {
  struct Case {
    int32 size;
    int32 status;
  };
  const Case cases[] = {{-1, ZR3_ERR_INVALID_COUNT},
                        {INT32_MIN, ZR3_ERR_INVALID_COUNT},
                        {0, ZR3_ERR_BUFFER_TOO_SMALL},
                        {1, ZR3_ERR_BUFFER_TOO_SMALL},
                        {5, ZR3_ERR_BUFFER_TOO_SMALL},
                        {6, ZR3_OK},
                        {INT32_MAX, ZR3_OK}};
  for (const Case& one : cases) {
    char name[8] = "#######";
    EXPECT_EQ(sc3_query_current_user_name(one.size, name), one.status) << one.size;
    EXPECT_STREQ(name, one.status == ZR3_OK ? "admin" : "#######") << one.size;
    EXPECT_EQ(name[6], '#') << "nothing behind it";
  }
}

TEST_F(SecurityFunctions, ANameOf31BytesFitsABufferOf32) {
  for (const std::size_t length : {31U, 32U, 63U}) {
    const std::string name(length, 'n');
    ASSERT_EQ(Add(name, "p"), ZR3_OK);
    ASSERT_EQ(sc3_login(name.c_str(), "p"), ZR3_OK);
    char buffer[32] = {};
    EXPECT_EQ(sc3_query_current_user_name(sizeof buffer, buffer),
              length < sizeof buffer ? ZR3_OK : ZR3_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(buffer, length < sizeof buffer ? name : std::string());
    ASSERT_EQ(sc3_login("admin", ""), ZR3_OK);
  }
}

// ---- users ----

TEST_F(SecurityFunctions, UsersAreListedWithoutPasswordsInTheOrderInWhichTheyCame) {
  ASSERT_EQ(Add("b", "one", "first"), ZR3_OK);
  ASSERT_EQ(Add("a", "two", "second"), ZR3_OK);
  ASSERT_EQ(sc3_modify_user_desc("B", "changed"), ZR3_OK);
  const std::vector<ZR3SecUser> users = Users();
  EXPECT_THAT(Names(users), ElementsAre("admin", "b", "a"));
  EXPECT_STREQ(users[1].szUserDesc, "changed");
  EXPECT_STREQ(users[2].szUserDesc, "second");
  for (const ZR3SecUser& user : users) {
    for (const char c : user.szPasswd) ASSERT_EQ(c, '\0') << user.szUserName;
  }
}

TEST_F(SecurityFunctions, UsersComeAndGo) {
  EXPECT_EQ(Add("a", "p"), ZR3_OK);
  EXPECT_EQ(Add("A", "p"), ZR3_ERR_USER_EXISTS);
  EXPECT_EQ(sc3_delete_user("A"), ZR3_OK);
  EXPECT_EQ(sc3_delete_user("A"), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(sc3_delete_user("admin"), ZR3_ERR_BUILT_IN);
  EXPECT_EQ(sc3_modify_user_desc("a", ""), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(sc3_reset_password("a", "p"), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(sc3_query_groups_of_user("a", &handle_), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_THAT(Names(Users()), ElementsAre("admin"));
}

TEST_F(SecurityFunctions, PasswordsAreChangedAndReset) {
  ASSERT_EQ(Add("a", "one"), ZR3_OK);
  EXPECT_EQ(sc3_modify_password("a", "two", "three"), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(sc3_modify_password("a", "one", ""), ZR3_ERR_INVALID_PASSWORD);
  EXPECT_EQ(sc3_modify_password("a", "one", "two"), ZR3_OK);
  EXPECT_EQ(sc3_login("a", "two"), ZR3_OK);
  EXPECT_EQ(sc3_modify_password("A", "two", "three"), ZR3_OK) << "one's own";
  EXPECT_EQ(sc3_reset_password("a", "four"), ZR3_ERR_NO_RIGHT) << "not even that";
  EXPECT_EQ(sc3_modify_password("admin", "", "mine"), ZR3_ERR_NO_RIGHT);
  ASSERT_EQ(sc3_login("admin", ""), ZR3_OK);
  EXPECT_EQ(sc3_reset_password("a", ""), ZR3_ERR_INVALID_PASSWORD);
  EXPECT_EQ(sc3_reset_password("a", "four"), ZR3_OK);
  EXPECT_EQ(sc3_login("a", "four"), ZR3_OK);
}

TEST_F(SecurityFunctions, RefuseNamesAndTextsThatAreNone) {
  EXPECT_EQ(Add("", "p"), ZR3_ERR_INVALID_USER_NAME);
  EXPECT_EQ(Add("a\tb", "p"), ZR3_ERR_INVALID_USER_NAME);
  EXPECT_EQ(Add("a", ""), ZR3_ERR_INVALID_PASSWORD);
  EXPECT_EQ(Add("a\xFF", "p"), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(Add("a", "\xFF"), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(Add("a", "p", "\xFF"), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(AddGroup(""), ZR3_ERR_INVALID_USER_NAME);
  EXPECT_EQ(AddGroup("\xFF"), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(sc3_login("\xFF", "p"), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(sc3_modify_password("admin", "", "\xFF"), ZR3_ERR_INVALID_TEXT);
  EXPECT_THAT(Names(Users()), ElementsAre("admin"));
}

TEST_F(SecurityFunctions, RefuseTextsThatDoNotEnd) {
  const auto user_with = [](auto member) {
    ZR3SecUser user{};
    Overflow(user.*member);
    return sc3_add_user(&user);
  };
  EXPECT_EQ(user_with(&ZR3SecUser::szUserName), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(user_with(&ZR3SecUser::szPasswd), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(user_with(&ZR3SecUser::szUserDesc), ZR3_ERR_INVALID_TEXT);
  const auto group_with = [](auto member) {
    ZR3SecGroup group{};
    Overflow(group.*member);
    return sc3_add_group(&group);
  };
  EXPECT_EQ(group_with(&ZR3SecGroup::szGroupName), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(group_with(&ZR3SecGroup::szGroupDesc), ZR3_ERR_INVALID_TEXT);
}

TEST_F(SecurityFunctions, TakeNamesAndPasswordsThatJustFit) {
  const std::string name(ZR3_LEN_NAME - 1, 'n');
  const std::string password(ZR3_LEN_PASSWORD - 1, 'p');
  ASSERT_EQ(Add(name, password, std::string(ZR3_LEN_DESC - 1, 'd')), ZR3_OK);
  EXPECT_EQ(sc3_login(name.c_str(), password.c_str()), ZR3_OK);
  EXPECT_EQ(sc3_login((name + "n").c_str(), password.c_str()), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(sc3_login(name.c_str(), (password + "p").c_str()), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(CurrentUser(), name);
}

TEST_F(SecurityFunctions, TakeNamesOfGroupsThatJustFit) {
  const std::string name(ZR3_LEN_NAME - 1, 'g');
  ASSERT_EQ(AddGroup(name, std::string(ZR3_LEN_DESC - 1, 'd')), ZR3_OK);
  EXPECT_EQ(sc3_add_user_to_group("admin", name.c_str()), ZR3_OK);
  EXPECT_EQ(sc3_add_user_to_group("admin", (name + "g").c_str()), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(sc3_delete_group((name + "g").c_str()), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(sc3_delete_group(name.c_str()), ZR3_OK);
}

TEST_F(SecurityFunctions, NobodyIsWithoutAName) {
  EXPECT_EQ(sc3_login("", ""), ZR3_ERR_LOGIN_FAILED);
  EXPECT_EQ(sc3_delete_user(""), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(sc3_reset_password("", "p"), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(sc3_add_user_to_group("", "viewers"), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(sc3_add_user_to_group("admin", ""), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(sc3_delete_group(""), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(CurrentUser(), "admin");
}

// ---- groups ----

TEST_F(SecurityFunctions, GroupsComeAndGo) {
  EXPECT_EQ(AddGroup("Boilers", "who fire them"), ZR3_OK);
  EXPECT_EQ(AddGroup("boilers"), ZR3_ERR_USER_GROUP_EXISTS);
  EXPECT_EQ(sc3_modify_group_desc("BOILERS", "and feed them"), ZR3_OK);
  const std::vector<ZR3SecGroup> groups = Groups();
  EXPECT_THAT(Names(groups),
              ElementsAre("administrators", "engineers", "operators", "viewers", "Boilers"));
  EXPECT_STREQ(groups[4].szGroupDesc, "and feed them");
  EXPECT_EQ(sc3_delete_group("boilers"), ZR3_OK);
  EXPECT_EQ(sc3_delete_group("boilers"), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(sc3_modify_group_desc("boilers", ""), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(sc3_query_members_of_group("boilers", &handle_), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(sc3_delete_group("Viewers"), ZR3_ERR_BUILT_IN);
}

TEST_F(SecurityFunctions, UsersJoinAndLeaveGroups) {
  ASSERT_EQ(Add("a", "p", "first"), ZR3_OK);
  EXPECT_EQ(sc3_add_user_to_group("A", "OPERATORS"), ZR3_OK);
  EXPECT_EQ(sc3_add_user_to_group("a", "operators"), ZR3_ERR_MEMBER_EXISTS);
  EXPECT_EQ(sc3_add_user_to_group("b", "operators"), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(sc3_add_user_to_group("a", "nothing"), ZR3_ERR_USER_GROUP_NOT_FOUND);
  EXPECT_EQ(Members("operators").at(0).szUserDesc, std::string("first"));
  EXPECT_THAT(Names(GroupsOf("a")), ElementsAre("operators"));
  EXPECT_EQ(LevelOf("a", "RECORDS"), 2);
  EXPECT_EQ(LevelOf("a", "security"), 0);
  EXPECT_EQ(sc3_delete_user_from_group("a", "operators"), ZR3_OK);
  EXPECT_EQ(sc3_delete_user_from_group("a", "operators"), ZR3_ERR_NOT_A_MEMBER);
  EXPECT_THAT(Members("operators"), IsEmpty());
  EXPECT_EQ(LevelOf("a", "records"), 0);
  EXPECT_EQ(sc3_delete_user_from_group("admin", "administrators"), ZR3_ERR_LAST_ADMINISTRATOR);
}

TEST_F(SecurityFunctions, ListsOfMoreThanAPageComeWhole) {
  constexpr int kCount = 1'100;
  for (int i = 0; i < kCount; ++i) ASSERT_EQ(AddGroup("g" + std::to_string(i)), ZR3_OK);
  const std::vector<ZR3SecGroup> groups = Groups();
  ASSERT_EQ(groups.size(), 4U + kCount);
  for (int i = 0; i < kCount; ++i) {
    EXPECT_EQ(groups[4 + static_cast<std::size_t>(i)].szGroupName, "g" + std::to_string(i));
  }
}

// ---- levels ----

TEST_F(SecurityFunctions, TheAuthorityItemsCarryTheCallersLevels) {
  const auto levels = [&] {
    const int32 status = sc3_query_all_auth_items(&handle_);
    std::vector<std::pair<std::string, int32>> all;
    for (const ZR3SecAuthItem& item : ItemsOf<ZR3SecAuthItem>(status, handle_)) {
      EXPECT_STRNE(item.szDesc, "") << item.szName;
      all.emplace_back(item.szName, item.nAuth);
    }
    return all;
  };
  EXPECT_THAT(levels(),
              ElementsAre(std::pair("tags", 3), std::pair("records", 3), std::pair("alarms", 3),
                          std::pair("security", 3), std::pair("system", 3)));
  ASSERT_EQ(Add("e", "p"), ZR3_OK);
  ASSERT_EQ(sc3_add_user_to_group("e", "engineers"), ZR3_OK);
  ASSERT_EQ(sc3_login("e", "p"), ZR3_OK);
  EXPECT_THAT(levels(),
              ElementsAre(std::pair("tags", 3), std::pair("records", 2), std::pair("alarms", 3),
                          std::pair("security", 1), std::pair("system", 1)));
}

TEST_F(SecurityFunctions, ALevelIsOfAUserAndAnItem) {
  int32 level = -1;
  EXPECT_EQ(sc3_query_auth_of_user("nobody", "tags", &level), ZR3_ERR_USER_NOT_FOUND);
  EXPECT_EQ(sc3_query_auth_of_user("admin", "nothing", &level), ZR3_ERR_AUTH_ITEM_NOT_FOUND);
  EXPECT_EQ(sc3_query_auth_of_user("admin", "", &level), ZR3_ERR_AUTH_ITEM_NOT_FOUND);
  EXPECT_EQ(level, -1);
  EXPECT_EQ(LevelOf("ADMIN", "System"), 3);
}

TEST_F(SecurityFunctions, HandOutNothingThatWasFetchedForTheUserBefore) {
  ASSERT_EQ(Add("bob", "secret"), ZR3_OK);
  ZR3HANDLE users = nullptr;
  ASSERT_EQ(sc3_query_all_users(&users), ZR3_OK);
  ZR3SecUser user{};
  ASSERT_EQ(ut3_get_item_step(users, &user), ZR3_OK);
  EXPECT_STREQ(user.szUserName, "admin");
  ASSERT_EQ(sc3_login("bob", "secret"), ZR3_OK);
  EXPECT_EQ(ut3_get_item_step(users, &user), ZR3_ERR_NO_RIGHT);
  ASSERT_EQ(sc3_login("admin", ""), ZR3_OK);
  ASSERT_EQ(ut3_get_item_step(users, &user), ZR3_OK) << "where it was";
  EXPECT_STREQ(user.szUserName, "bob");
}

}  // namespace
}  // namespace zervane
