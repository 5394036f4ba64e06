// Users, groups and rights.

#include <gtest/gtest.h>

#include "tests/vask/whole_stack.h"

namespace zervane {
namespace {

using Stack = WholeStack;

ZR3SecUser UserNamed(const char* name) {
  ZR3SecUser user{};
  Put(name, user.szUserName);
  Put("secret", user.szPasswd);
  return user;
}

void AddWorker() {
  const ZR3SecUser worker = UserNamed("worker");
  const int32 status = sc3_add_user(&worker);
  EXPECT_TRUE(status == ZR3_OK || status == ZR3_ERR_USER_EXISTS) << status;
}

void AddCrew() {
  ZR3SecGroup crew{};
  Put("crew", crew.szGroupName);
  const int32 status = sc3_add_group(&crew);
  EXPECT_TRUE(status == ZR3_OK || status == ZR3_ERR_USER_GROUP_EXISTS) << status;
}

int LevelOf(const char* user, const char* item) {
  int32 level = -1;
  EXPECT_EQ(sc3_query_auth_of_user(user, item, &level), ZR3_OK);
  return level;
}

std::vector<Deed> LoggingIn() {
  return {
      {"sc3_login",
       [](const Stack&) {
         AddWorker();
         const int32 status = sc3_login("worker", "secret");
         char name[ZR3_LEN_NAME] = "";
         EXPECT_EQ(sc3_query_current_user_name(sizeof name, name), ZR3_OK);
         EXPECT_STREQ(name, "worker");
         return status;
       },
       [](const Stack&) { return sc3_login("nobody", "secret"); }, ZR3_ERR_LOGIN_FAILED},
  };
}

std::vector<Deed> ChangesOfUsers() {
  return {
      {"sc3_add_user",
       [](const Stack&) {
         const ZR3SecUser user = UserNamed("worker");
         return sc3_add_user(&user);
       },
       [](const Stack&) {
         const ZR3SecUser user = UserNamed("Admin");
         return sc3_add_user(&user);
       },
       ZR3_ERR_USER_EXISTS},
      {"sc3_delete_user",
       [](const Stack&) {
         AddWorker();
         return sc3_delete_user("worker");
       },
       [](const Stack&) { return sc3_delete_user("admin"); }, ZR3_ERR_BUILT_IN},
      {"sc3_modify_password",
       [](const Stack&) {
         AddWorker();
         const int32 status = sc3_modify_password("worker", "secret", "another");
         EXPECT_EQ(sc3_login("worker", "another"), ZR3_OK);
         return status;
       },
       [](const Stack&) {
         AddWorker();
         return sc3_modify_password("worker", "wrong", "another");
       },
       ZR3_ERR_LOGIN_FAILED},
      {"sc3_modify_user_desc",
       [](const Stack&) {
         AddWorker();
         return sc3_modify_user_desc("worker", "of the night shift");
       },
       [](const Stack&) { return sc3_modify_user_desc("nobody", "of no shift"); },
       ZR3_ERR_USER_NOT_FOUND},
      {"sc3_reset_password",
       [](const Stack&) {
         AddWorker();
         const int32 status = sc3_reset_password("worker", "another");
         EXPECT_EQ(sc3_login("worker", "another"), ZR3_OK);
         return status;
       },
       [](const Stack&) {
         AddWorker();
         return sc3_reset_password("worker", "");
       },
       ZR3_ERR_INVALID_PASSWORD},
  };
}

std::vector<Deed> QueriesOfUsers() {
  return {
      {"sc3_query_current_user_name",
       [](const Stack&) {
         char name[ZR3_LEN_NAME] = "";
         const int32 status = sc3_query_current_user_name(sizeof name, name);
         EXPECT_STREQ(name, "admin");
         return status;
       },
       [](const Stack&) {
         char name[5] = "";
         return sc3_query_current_user_name(sizeof name, name);
       },
       ZR3_ERR_BUFFER_TOO_SMALL},
      {"sc3_query_all_users",
       [](const Stack&) {
         AddWorker();
         ZR3HANDLE iterator = nullptr;
         const int32 status = sc3_query_all_users(&iterator);
         EXPECT_EQ(CountItems(iterator), 2);
         return status;
       },
       [](const Stack&) { return sc3_query_all_users(nullptr); }, ZR3_ERR_NULL_ARGUMENT},
  };
}

std::vector<Deed> ChangesOfUserGroups() {
  return {
      {"sc3_add_group",
       [](const Stack&) {
         ZR3SecGroup crew{};
         Put("crew", crew.szGroupName);
         return sc3_add_group(&crew);
       },
       [](const Stack&) {
         ZR3SecGroup viewers{};
         Put("Viewers", viewers.szGroupName);
         return sc3_add_group(&viewers);
       },
       ZR3_ERR_USER_GROUP_EXISTS},
      {"sc3_delete_group",
       [](const Stack&) {
         AddCrew();
         return sc3_delete_group("crew");
       },
       [](const Stack&) { return sc3_delete_group("operators"); }, ZR3_ERR_BUILT_IN},
      {"sc3_modify_group_desc",
       [](const Stack&) {
         AddCrew();
         return sc3_modify_group_desc("crew", "of the ship");
       },
       [](const Stack&) { return sc3_modify_group_desc("nobody", "of no ship"); },
       ZR3_ERR_USER_GROUP_NOT_FOUND},
      {"sc3_add_user_to_group",
       [](const Stack&) {
         AddWorker();
         const int32 status = sc3_add_user_to_group("worker", "operators");
         EXPECT_EQ(LevelOf("worker", "records"), 2);
         return status;
       },
       [](const Stack&) { return sc3_add_user_to_group("admin", "administrators"); },
       ZR3_ERR_MEMBER_EXISTS},
      {"sc3_delete_user_from_group",
       [](const Stack&) {
         AddWorker();
         EXPECT_EQ(sc3_add_user_to_group("worker", "operators"), ZR3_OK);
         const int32 status = sc3_delete_user_from_group("worker", "operators");
         EXPECT_EQ(LevelOf("worker", "records"), 0);
         return status;
       },
       [](const Stack&) { return sc3_delete_user_from_group("admin", "administrators"); },
       ZR3_ERR_LAST_ADMINISTRATOR},
  };
}

std::vector<Deed> QueriesOfUserGroups() {
  return {
      {"sc3_query_members_of_group",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const int32 status = sc3_query_members_of_group("administrators", &iterator);
         EXPECT_EQ(CountItems(iterator), 1);
         return status;
       },
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         return sc3_query_members_of_group("nobody", &iterator);
       },
       ZR3_ERR_USER_GROUP_NOT_FOUND},
      {"sc3_query_all_groups",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const int32 status = sc3_query_all_groups(&iterator);
         EXPECT_EQ(CountItems(iterator), 4);
         return status;
       },
       [](const Stack&) { return sc3_query_all_groups(nullptr); }, ZR3_ERR_NULL_ARGUMENT},
      {"sc3_query_groups_of_user",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const int32 status = sc3_query_groups_of_user("admin", &iterator);
         EXPECT_EQ(CountItems(iterator), 1);
         return status;
       },
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         return sc3_query_groups_of_user("nobody", &iterator);
       },
       ZR3_ERR_USER_NOT_FOUND},
  };
}

std::vector<Deed> Rights() {
  return {
      {"sc3_query_all_auth_items",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const int32 status = sc3_query_all_auth_items(&iterator);
         EXPECT_EQ(CountItems(iterator), 5);
         return status;
       },
       [](const Stack&) { return sc3_query_all_auth_items(nullptr); }, ZR3_ERR_NULL_ARGUMENT},
      {"sc3_query_auth_of_user",
       [](const Stack&) {
         int32 level = -1;
         const int32 status = sc3_query_auth_of_user("admin", "tags", &level);
         EXPECT_EQ(level, 3);
         return status;
       },
       [](const Stack&) {
         int32 level = -1;
         return sc3_query_auth_of_user("admin", "coffee", &level);
       },
       ZR3_ERR_AUTH_ITEM_NOT_FOUND},
  };
}

}  // namespace

std::vector<Deed> DeedsOfSecurity() {
  std::vector<Deed> all;
  for (const auto deeds : {LoggingIn, ChangesOfUsers, QueriesOfUsers, ChangesOfUserGroups,
                           QueriesOfUserGroups, Rights}) {
    for (const Deed& deed : deeds()) all.push_back(deed);
  }
  return all;
}

}  // namespace zervane
