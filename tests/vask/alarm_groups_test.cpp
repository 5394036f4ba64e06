// Alarm groups through the exported functions and the embedded database.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "zervane.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

ZR3AlarmGroup Record(const std::string& name, uint32 parent = 0,
                     const std::string& description = {}) {
  ZR3AlarmGroup group{};
  std::strcpy(group.szName, name.c_str());
  std::strcpy(group.szDesc, description.c_str());
  group.nParentID = parent;
  return group;
}

class AlarmGroupFunctions : public testing::Test {
 protected:
  void SetUp() override {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, "memory:");
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
  }
  void TearDown() override { (void)nt3_disconnect(); }

  uint32 Add(const std::string& name, uint32 parent = 0, const std::string& description = {}) {
    ZR3AlarmGroup group = Record(name, parent, description);
    EXPECT_EQ(am3_add_group(&group, &group.nParentID), ZR3_OK);
    return group.nParentID;
  }
  ZR3AlarmGroup Props(uint32 id) {
    ZR3AlarmGroup group{};
    int32 code = -1;
    EXPECT_EQ(am3_query_group_props(1, &id, &group, &code), ZR3_OK);
    EXPECT_EQ(code, ZR3_OK);
    return group;
  }
  std::vector<std::string> ChildrenOf(uint32 parent) {
    ZR3HANDLE handle = nullptr;
    EXPECT_EQ(am3_query_group_child_groups(parent, &handle), ZR3_OK);
    std::vector<std::string> names;
    ZR3AlarmGroup group{};
    int32 status = ut3_get_item_step(handle, &group);
    for (; status == ZR3_OK; status = ut3_get_item_step(handle, &group)) {
      names.emplace_back(group.szName);
    }
    EXPECT_EQ(status, ZR3_ERR_END_OF_ITERATION);
    EXPECT_EQ(ut3_free_handle(handle), ZR3_OK);
    return names;
  }
};

TEST_F(AlarmGroupFunctions, TheIdentifierGoesOverTheRecordsParent) {
  const uint32 area = Add("Area", 0, "of the north");
  const uint32 boiler = Add("Boiler", area);
  EXPECT_NE(area, boiler);
  const ZR3AlarmGroup group = Props(area);
  EXPECT_STREQ(group.szName, "Area");
  EXPECT_STREQ(group.szDesc, "of the north");
  EXPECT_EQ(group.nGroupID, area);
  EXPECT_EQ(group.nParentID, 0U);
  EXPECT_EQ(Props(boiler).nParentID, area);
}

TEST_F(AlarmGroupFunctions, AFailureToAddWritesNothing) {
  ZR3AlarmGroup group = Record("Area", 99);
  EXPECT_EQ(am3_add_group(&group, &group.nParentID), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_EQ(group.nParentID, 99U);
  group = Record("");
  EXPECT_EQ(am3_add_group(&group, &group.nParentID), ZR3_ERR_INVALID_GROUP_NAME);
  Add("Area");
  group = Record("AREA");
  uint32 id = 77;
  EXPECT_EQ(am3_add_group(&group, &id), ZR3_ERR_GROUP_EXISTS);
  EXPECT_EQ(id, 77U);
}

TEST_F(AlarmGroupFunctions, TextsThatDoNotEndOrAreNoTextAreRefused) {
  const uint32 id = Add("Area");
  for (const auto member : {&ZR3AlarmGroup::szName, &ZR3AlarmGroup::szDesc}) {
    ZR3AlarmGroup group = Record("Other");
    std::memset(group.*member, 'x', sizeof(group.*member));
    EXPECT_EQ(am3_add_group(&group, &group.nParentID), ZR3_ERR_INVALID_TEXT);
    EXPECT_EQ(am3_modify_group(id, &group), ZR3_ERR_INVALID_TEXT);
    std::strcpy(group.*member, "\xC3(");
    EXPECT_EQ(am3_add_group(&group, &group.nParentID), ZR3_ERR_INVALID_TEXT);
    EXPECT_EQ(am3_modify_group(id, &group), ZR3_ERR_INVALID_TEXT);
  }
}

TEST_F(AlarmGroupFunctions, TextsOfTheFullLengthComeBack) {
  const std::string name(255, 'n');
  const std::string description(255, 'd');
  const ZR3AlarmGroup group = Props(Add(name, 0, description));
  EXPECT_EQ(group.szName, name);
  EXPECT_EQ(group.szDesc, description);
}

TEST_F(AlarmGroupFunctions, ANameIsChangedWithOrWithoutADescription) {
  const uint32 id = Add("Area", 0, "old");
  ZR3AlarmGroup group = Record("Plant");
  EXPECT_EQ(am3_modify_group(id, &group), ZR3_OK);
  EXPECT_STREQ(Props(id).szName, "Plant");
  EXPECT_STREQ(Props(id).szDesc, "old");
  group = Record("Works", 99, "new");
  EXPECT_EQ(am3_modify_group(id, &group), ZR3_OK);
  EXPECT_STREQ(Props(id).szName, "Works");
  EXPECT_STREQ(Props(id).szDesc, "new");
  EXPECT_EQ(Props(id).nParentID, 0U);
}

TEST_F(AlarmGroupFunctions, WithoutANameTheDescriptionAloneIsChangedAlsoToNone) {
  const uint32 id = Add("Area", 0, "old");
  ZR3AlarmGroup group = Record("", 0, "new");
  EXPECT_EQ(am3_modify_group(id, &group), ZR3_OK);
  EXPECT_STREQ(Props(id).szName, "Area");
  EXPECT_STREQ(Props(id).szDesc, "new");
  group = Record("");
  EXPECT_EQ(am3_modify_group(id, &group), ZR3_OK);
  EXPECT_STREQ(Props(id).szName, "Area");
  EXPECT_STREQ(Props(id).szDesc, "");
}

TEST_F(AlarmGroupFunctions, TheRootAndUnknownGroupsDoNotChange) {
  const ZR3AlarmGroup group = Record("Plant");
  EXPECT_EQ(am3_modify_group(0, &group), ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(am3_modify_group(9, &group), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_EQ(am3_delete_group(0), ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(am3_delete_group(9), ZR3_ERR_GROUP_NOT_FOUND);
}

TEST_F(AlarmGroupFunctions, AGroupWithChildrenIsNotDeleted) {
  const uint32 area = Add("Area");
  const uint32 boiler = Add("Boiler", area);
  EXPECT_EQ(am3_delete_group(area), ZR3_ERR_GROUP_NOT_EMPTY);
  EXPECT_EQ(am3_delete_group(boiler), ZR3_OK);
  EXPECT_EQ(am3_delete_group(area), ZR3_OK);
  EXPECT_THAT(ChildrenOf(0), IsEmpty());
}

TEST_F(AlarmGroupFunctions, AGroupIsFoundByItsNameUnderItsParent) {
  const uint32 area = Add("Area");
  const uint32 boiler = Add("Boiler", area);
  uint32 id = 77;
  EXPECT_EQ(am3_query_group_id("Boiler", 0, &id), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_EQ(id, 77U);
  EXPECT_EQ(am3_query_group_id("BOILER", area, &id), ZR3_OK);
  EXPECT_EQ(id, boiler);
  EXPECT_EQ(am3_query_group_id("\xC3(", area, &id), ZR3_ERR_INVALID_TEXT);
}

TEST_F(AlarmGroupFunctions, PropertiesHaveACodeEach) {
  const uint32 area = Add("Area");
  const uint32 ids[] = {area, 9, 0};
  ZR3AlarmGroup groups[3] = {Record("a"), Record("untouched"), Record("c")};
  int32 codes[3] = {-1, -1, -1};
  EXPECT_EQ(am3_query_group_props(3, ids, groups, codes), ZR3_ERR_SOME_ALARMS_FAILED);
  EXPECT_THAT(codes, ElementsAre(ZR3_OK, ZR3_ERR_GROUP_NOT_FOUND, ZR3_OK));
  EXPECT_STREQ(groups[0].szName, "Area");
  EXPECT_STREQ(groups[1].szName, "untouched");
  EXPECT_STREQ(groups[2].szName, "");
  EXPECT_EQ(groups[2].nGroupID, 0U);
  EXPECT_EQ(am3_query_group_props(3, ids, groups, nullptr), ZR3_ERR_SOME_ALARMS_FAILED);
  EXPECT_EQ(am3_query_group_props(0, nullptr, nullptr, nullptr), ZR3_OK);
}

TEST_F(AlarmGroupFunctions, TheCodeOfASingleGroupIsTheStatusToo) {
  const uint32 id = 9;
  ZR3AlarmGroup group{};
  int32 code = -1;
  EXPECT_EQ(am3_query_group_props(1, &id, &group, &code), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_EQ(code, ZR3_ERR_GROUP_NOT_FOUND);
}

TEST_F(AlarmGroupFunctions, ChildrenComeInOrderOfTheirIdentifier) {
  const uint32 area = Add("Area");
  Add("C", area);
  Add("B", area);
  Add("A", area);
  EXPECT_THAT(ChildrenOf(0), ElementsAre("Area"));
  EXPECT_THAT(ChildrenOf(area), ElementsAre("C", "B", "A"));
}

TEST_F(AlarmGroupFunctions, MoreThanAPageOfChildrenComesWhole) {
  for (int i = 0; i < 1'100; ++i) Add("G" + std::to_string(i));
  EXPECT_EQ(ChildrenOf(0).size(), 1'100U);
}

TEST_F(AlarmGroupFunctions, ChildrenOfAnUnknownGroupLeaveNoHandle) {
  int garbage = 0;
  for (const auto query : {am3_query_group_child_groups, am3_query_group_child_tags}) {
    ZR3HANDLE handle = &garbage;
    EXPECT_EQ(query(9, &handle), ZR3_ERR_GROUP_NOT_FOUND);
    EXPECT_EQ(handle, nullptr);
  }
}

}  // namespace
}  // namespace zervane
