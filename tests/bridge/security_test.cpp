#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

constexpr jlong kHandle = 81985529216486895;

Ref Holder() { return Java().New(kLongWrapperClass, "holder").Set("Value", 41); }

Ref T(const char* text) { return Java().String(text); }

// ---- calls that pass texts on ----

struct TextsMethod {
  const char* name;
  std::string api;
  bool leaks;  // its converted texts
  size_t texts;
  jint (*call)(const Ref& a, const Ref& b, const Ref& c);
};

template <auto kMethod>
jint One(const Ref& a, const Ref&, const Ref&) {
  return Call(kMethod, a);
}

template <auto kMethod>
jint Two(const Ref& a, const Ref& b, const Ref&) {
  return Call(kMethod, a, b);
}

template <auto kMethod>
jint Three(const Ref& a, const Ref& b, const Ref& c) {
  return Call(kMethod, a, b, c);
}

const TextsMethod kTextsMethods[] = {
    {"login", "sc3_login(\"A\", \"BB\")", false, 2, Two<ZR(login)>},
    {"addUser", "sc3_add_user(ZR3SecUser)", true, 3, Three<ZR(addUser)>},
    {"deleteUser", "sc3_delete_user(\"A\")", true, 1, One<ZR(deleteUser)>},
    {"modifyUserPassword", "sc3_modify_password(\"A\", \"BB\", \"CCC\")", true, 3,
     Three<ZR(modifyUserPassword)>},
    {"modifyUserDesc", "sc3_modify_user_desc(\"A\", \"BB\")", true, 2, Two<ZR(modifyUserDesc)>},
    {"resetUserPassword", "sc3_reset_password(\"A\", \"BB\")", false, 2,
     Two<ZR(resetUserPassword)>},
    {"addGroup", "sc3_add_group(ZR3SecGroup)", false, 2, Two<ZR(addGroup)>},
    {"deleteGroup", "sc3_delete_group(\"A\")", false, 1, One<ZR(deleteGroup)>},
    {"modifyGroupDesc", "sc3_modify_group_desc(\"A\", \"BB\")", false, 2, Two<ZR(modifyGroupDesc)>},
    {"addUserToGroup", "sc3_add_user_to_group(\"A\", \"BB\")", false, 2, Two<ZR(addUserToGroup)>},
    {"deleteUserFromGroup", "sc3_delete_user_from_group(\"A\", \"BB\")", false, 2,
     Two<ZR(deleteUserFromGroup)>},
};

jint CallWithTexts(const TextsMethod& method) { return method.call(T("a"), T("bb"), T("ccc")); }

class SecurityTexts : public BridgeTest, public testing::WithParamInterface<TextsMethod> {};

TEST_P(SecurityTexts, AreConvertedInOrderAndEmptyWhenNull) {
  CallWithTexts(GetParam());
  Lines taken;
  for (const std::string& line : Log().Texts()) {
    if (line.starts_with("GetStringLength")) taken.push_back(line.substr(16));
  }
  const Lines all = {"\"a\"", "\"bb\"", "\"ccc\""};
  EXPECT_TRUE(SameLines(Lines(all.begin(), all.begin() + GetParam().texts), taken));
  EXPECT_EQ(GetParam().call(Ref(), Ref(), Ref()), 0);
  EXPECT_EQ(Probe().count(), static_cast<int>(GetParam().texts));
}

INSTANTIATE_TEST_SUITE_P(Method, SecurityTexts, testing::ValuesIn(kTextsMethods),
                         [](const auto& row) { return std::string(row.param.name); });

class Security : public BridgeTest {};

TEST_F(Security, AUserIsSentInARecordThatIsNotCleared) {
  Call(ZR(addUser), T("alice"), T("secret"), T("operator"));
  const ZR3SecUser& sent = Api().Sent<ZR3SecUser>().at(0);
  EXPECT_STREQ(sent.szUserName, "ALICE");
  EXPECT_STREQ(sent.szPasswd, "SECRET");
  EXPECT_STREQ(sent.szUserDesc, "OPERATOR");
  EXPECT_TRUE(HoldsOldBytes(sent.szUserName + 6, sizeof sent.szUserName - 6));
  EXPECT_TRUE(HoldsOldBytes(sent.szUserDesc + 9, sizeof sent.szUserDesc - 9));
}

TEST_F(Security, AGroupIsSentInARecordThatIsNotCleared) {
  Call(ZR(addGroup), T("ops"), T("the shift"));
  const ZR3SecGroup& sent = Api().Sent<ZR3SecGroup>().at(0);
  EXPECT_STREQ(sent.szGroupName, "OPS");
  EXPECT_STREQ(sent.szGroupDesc, "THE SHIFT");
  EXPECT_TRUE(HoldsOldBytes(sent.szGroupName + 4, sizeof sent.szGroupName - 4));
}

TEST_F(Security, TheLongestTextsOfAUserArriveWhole) {
  const std::string name(63, 'N');
  const std::string password(127, 'P');
  const std::string description(127, 'D');
  Call(ZR(addUser), T(name.c_str()), T(password.c_str()), T(description.c_str()));
  const ZR3SecUser& sent = Api().Sent<ZR3SecUser>().at(0);
  EXPECT_EQ(std::string(sent.szUserName), name);
  EXPECT_EQ(std::string(sent.szPasswd), password);
  EXPECT_EQ(std::string(sent.szUserDesc), description);
}

TEST_F(Security, ATooLongNameOfAUserRunsIntoThePasswordWhichIsCopiedAfterIt) {
  const std::string name(70, 'N');
  Call(ZR(addUser), T(name.c_str()), T("p"), T("d"));
  const ZR3SecUser& sent = Api().Sent<ZR3SecUser>().at(0);
  EXPECT_EQ(std::string(sent.szUserName, 64), name.substr(0, 64));
  EXPECT_EQ(std::string(sent.szPasswd, 6), std::string("P\0NNNN", 6));
}

TEST_F(Security, ATooLongNameOfAGroupRunsIntoTheDescriptionWhichIsCopiedAfterIt) {
  const std::string name(70, 'N');
  Call(ZR(addGroup), T(name.c_str()), T("d"));
  const ZR3SecGroup& sent = Api().Sent<ZR3SecGroup>().at(0);
  EXPECT_EQ(std::string(sent.szGroupName, 64), name.substr(0, 64));
  EXPECT_EQ(std::string(sent.szGroupDesc, 6), std::string("D\0NNNN", 6));
}

// ---- the current user ----

jint CurrentUser(const Ref& user) { return Call(ZR(getCurrentUser), user); }

void AnswerCurrentUser(const std::string& name) {
  Api().On<sc3_query_current_user_name>([name](int32, char* buffer) {
    EXPECT_TRUE(HoldsOldBytes(buffer, 32));
    strcpy(buffer, name.c_str());
    return 0;
  });
}

TEST_F(Security, TheCurrentUsersNameIsWrittenAlone) {
  const std::string longest(31, 'X');
  AnswerCurrentUser(longest);
  EXPECT_EQ(CurrentUser(Java().New(kUserClass, "user")), 0);
  EXPECT_TRUE(SameLines({"sc3_query_current_user_name(32, out)",
                         "SetObjectField user.userName = \"" + std::string(31, 'x') + "\""},
                        Log().Steps()));
}

// ---- lists ----

struct ListMethod {
  const char* name;
  std::string api;
  jint (*call)(const Ref& holder);
};

const ListMethod kListMethods[] = {
    {"getAllUsers", "sc3_query_all_users(out)",
     [](const Ref& holder) { return Call(ZR(getAllUsers), holder); }},
    {"getUsersOfGroup", "sc3_query_members_of_group(\"OPS\", out)",
     [](const Ref& holder) { return Call(ZR(getUsersOfGroup), T("ops"), holder); }},
    {"getAllGroups", "sc3_query_all_groups(out)",
     [](const Ref& holder) { return Call(ZR(getAllGroups), holder); }},
    {"queryGroupsOfUser", "sc3_query_groups_of_user(\"ALICE\", out)",
     [](const Ref& holder) { return Call(ZR(queryGroupsOfUser), T("alice"), holder); }},
    {"getAuthItems", "sc3_query_all_auth_items(out)",
     [](const Ref& holder) { return Call(ZR(getAuthItems), holder); }},
};

void AnswerLists(int32 status) {
  const auto answer = [status](ZR3HANDLE* handle) {
    *handle = reinterpret_cast<ZR3HANDLE>(kHandle);
    return status;
  };
  const auto answer_of = [answer](const char*, ZR3HANDLE* handle) { return answer(handle); };
  Api().On<sc3_query_all_users>(answer);
  Api().On<sc3_query_all_groups>(answer);
  Api().On<sc3_query_all_auth_items>(answer);
  Api().On<sc3_query_members_of_group>(answer_of);
  Api().On<sc3_query_groups_of_user>(answer_of);
}

class SecurityLists : public BridgeTest, public testing::WithParamInterface<ListMethod> {};

TEST_P(SecurityLists, StoreTheHandleWhateverTheStatus) {
  for (const int32 status : {0, 110100}) {
    AnswerLists(status);
    const Ref holder = Holder();
    EXPECT_EQ(GetParam().call(holder), status);
    EXPECT_EQ(holder.Int("Value"), kHandle);
    EXPECT_EQ(Left(), Blocks{});
  }
}

TEST_P(SecurityLists, LookTheHolderUpBeforeAnythingElse) {
  AnswerLists(0);
  GetParam().call(Holder());
  const Lines all = Log().All();
  EXPECT_TRUE(SameLines(LookUp(kLongWrapperClass), Lines(all.begin(), all.begin() + 2)));
}

INSTANTIATE_TEST_SUITE_P(Method, SecurityLists, testing::ValuesIn(kListMethods),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- steps ----

template <typename Record>
void AnswerItem(void (*fill)(Record*)) {
  Api().On<ut3_get_item_step>([fill](ZR3HANDLE, void* item) {
    EXPECT_TRUE(HoldsOldBytes(item, sizeof(Record)));
    fill(static_cast<Record*>(item));
    return 0;
  });
}

void FillUser(ZR3SecUser* user) {
  strcpy(user->szUserName, "ALICE");
  strcpy(user->szPasswd, "");
  strcpy(user->szUserDesc, "OPERATOR");
}

void FillGroup(ZR3SecGroup* group) {
  strcpy(group->szGroupName, "OPS");
  strcpy(group->szGroupDesc, "THE SHIFT");
}

void FillItem(ZR3SecAuthItem* item) {
  strcpy(item->szName, "TAGS");
  strcpy(item->szDesc, "DEFINITIONS");
  item->nAuth = 3;
}

jint StepUser() { return Call(ZR(getUserFromIterator), 77, Java().New(kUserClass, "user")); }

jint StepGroup() { return Call(ZR(getZRGroupFromIterator), 77, Java().New(kGroupClass, "group")); }

jint StepItem() {
  return Call(ZR(getZRAuthItemFromIterator), 77, Java().New(kAuthItemClass, "item"));
}

const std::string kStep = "ut3_get_item_step(handle 77, out)";

TEST_F(Security, AUserIsWrittenWithAllThreeTexts) {
  AnswerItem(FillUser);
  EXPECT_EQ(StepUser(), 0);
  EXPECT_TRUE(
      SameLines(Lines{kStep} + Sets("user", {"Object userName = \"alice\"", "Object userPwd = \"\"",
                                             "Object userDesc = \"operator\""}),
                Log().Steps()));
}

TEST_F(Security, AGroupIsWrittenWithBothTexts) {
  AnswerItem(FillGroup);
  EXPECT_EQ(StepGroup(), 0);
  EXPECT_TRUE(SameLines(Lines{kStep} + Sets("group", {"Object groupName = \"ops\"",
                                                      "Object groupDesc = \"the shift\""}),
                        Log().Steps()));
}

TEST_F(Security, AnAuthorityItemIsWrittenWithoutItsLevel) {
  AnswerItem(FillItem);
  EXPECT_EQ(StepItem(), 0);
  EXPECT_TRUE(SameLines(Lines{kStep} + Sets("item", {"Object authItemName = \"tags\"",
                                                     "Object authItemDesc = \"definitions\""}),
                        Log().Steps()));
}

// ---- levels ----

jint Level() { return Call(ZR(getControlLevel), T("alice"), T("tags")); }

TEST_F(Security, ALevelIsTheResultAndZeroLooksLikeSuccess) {
  for (const int32 level : {0, 3, -4}) {
    Api().On<sc3_query_auth_of_user>([level](auto, auto, int32* answer) {
      *answer = level;
      return 0;
    });
    EXPECT_EQ(Level(), level);
    EXPECT_EQ(Left(), Blocks{});
  }
}

Method RowOf(const TextsMethod& method) {
  const Blocks texts = {TextBlock(1), TextBlock(2), TextBlock(3)};
  const Blocks left = method.leaks ? Blocks(texts.begin(), texts.begin() + method.texts) : Blocks{};
  return {.name = method.name,
          .api = {method.api},
          .left = left,
          .failures = {{.left = left}},
          .call = [&method] { return CallWithTexts(method); }};
}

Method RowOf(const ListMethod& method) {
  return {.name = method.name,
          .lookups = LookUp(kLongWrapperClass),
          .api = {method.api},
          .failures = {{.writes = {"SetLongField holder.Value = ..."}}},
          .call = [&method] {
            AnswerLists(0);
            return method.call(Holder());
          }};
}

template <typename Record>
Method StepRow(const char* name, const JavaClass& java_class, void (*fill)(Record*),
               jint (*step)()) {
  return {.name = name, .lookups = LookUp(java_class), .api = {kStep}, .call = [fill, step] {
            AnswerItem(fill);
            return step();
          }};
}

}  // namespace

Methods SecurityMethods() {
  Methods methods = {
      {.name = "getCurrentUser",
       .lookups = LookUp(kUserClass),
       .api = {"sc3_query_current_user_name(32, out)"},
       .call =
           [] {
             AnswerCurrentUser("ALICE");
             return CurrentUser(Java().New(kUserClass, "user"));
           }},
      StepRow("getUserFromIterator", kUserClass, FillUser, StepUser),
      StepRow("getZRGroupFromIterator", kGroupClass, FillGroup, StepGroup),
      StepRow("getZRAuthItemFromIterator", kAuthItemClass, FillItem, StepItem),
      {.name = "getControlLevel",
       .api = {"sc3_query_auth_of_user(\"ALICE\", \"TAGS\", 0)"},
       .failures = {{.left = {TextBlock(5), TextBlock(4)}}},
       .call = [] { return Level(); }},
  };
  for (const TextsMethod& method : kTextsMethods) methods.push_back(RowOf(method));
  for (const ListMethod& method : kListMethods) methods.push_back(RowOf(method));
  return methods;
}

}  // namespace zervane::bridge_test
