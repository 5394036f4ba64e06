#include "engine/alarms/alarm_groups.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/alarms/alarm_rows.h"
#include "engine/storage/tables.h"
#include "tests/engine/short_memory.h"
#include "tests/engine/storage/store_driver.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

AlarmGroup Named(const std::string& name, GroupId parent = kRootGroup,
                 const std::string& description = {}) {
  return {.id = 0, .parent = parent, .name = name, .description = description};
}

class AlarmGroupsTest : public testing::Test {
 protected:
  AlarmGroupsTest() { EXPECT_TRUE(groups_->Load(turn_).ok()); }

  // Carries a planned change out, or answers why there is none.
  template <typename Plan>
  Result<GroupId> Change(Plan plan) {
    StoreBatch batch;
    Result<AlarmGroups::Change> change = plan(batch);
    if (!change.ok()) {
      EXPECT_THAT(batch.rows, IsEmpty());
      return change.status();
    }
    driver_.MustCommit(std::move(batch));
    groups_->Adopt(turn_, *change);
    return change->id();
  }
  Result<GroupId> TryAdd(const AlarmGroup& group) {
    return Change([&](StoreBatch& batch) { return groups_->PlanAdd(turn_, group, batch); });
  }
  GroupId Add(const std::string& name, GroupId parent = kRootGroup) {
    const Result<GroupId> id = TryAdd(Named(name, parent));
    EXPECT_TRUE(id.ok()) << id.status().message();
    return id.ok() ? *id : 0;
  }
  ZR3_STATUS Modify(const ModifyAlarmGroup& wanted) {
    return Change([&](StoreBatch& batch) { return groups_->PlanModify(turn_, wanted, batch); })
        .code();
  }
  ZR3_STATUS Delete(GroupId id) {
    return Change([&](StoreBatch& batch) { return groups_->PlanRemove(turn_, id, batch); }).code();
  }
  void File(GroupId group, TagId tag) {
    groups_->Reserve(turn_, group, tag);
    groups_->File(turn_, group, tag);
  }

  std::vector<GroupId> ChildrenOf(GroupId parent) {
    std::vector<GroupId> ids;
    const auto page = groups_->ListGroups(parent, 0, 1'000);
    EXPECT_TRUE(page.ok());
    for (const AlarmGroup& group : page->items) ids.push_back(group.id);
    return ids;
  }

  // What the store has, in memory anew.
  Status Reload() {
    groups_ = std::make_unique<AlarmGroups>(*store_);
    return groups_->Load(turn_);
  }
  void PutRow(const AlarmGroup& group, std::int64_t last_id) {
    StoreBatch batch;
    Table<AlarmGroup>::Put(group, batch);
    Table<Setting>::Put({.name = std::string(kLastGroupSetting), .value = last_id}, batch);
    driver_.MustCommit(std::move(batch));
  }

  const std::unique_ptr<Store> store_ = OpenMemoryStore();
  storage::StoreDriver driver_{*store_};
  Turn turn_ = Turn::Issue();
  std::unique_ptr<AlarmGroups> groups_ = std::make_unique<AlarmGroups>(*store_);
};

TEST_F(AlarmGroupsTest, TheRootIsThereWithoutAName) {
  EXPECT_TRUE(groups_->Exists(kRootGroup));
  EXPECT_EQ(*groups_->Read(kRootGroup), AlarmGroup());
  EXPECT_THAT(ChildrenOf(kRootGroup), IsEmpty());
}

TEST_F(AlarmGroupsTest, GroupsAreThereAgainAfterLoading) {
  const GroupId area = Add("Area");
  const GroupId boiler = Add("Boiler", area);
  EXPECT_EQ(Modify({.id = boiler, .name = {}, .description = "of the north side"}), ZR3_OK);
  ASSERT_TRUE(Reload().ok());
  EXPECT_THAT(ChildrenOf(kRootGroup), ElementsAre(area));
  EXPECT_THAT(ChildrenOf(area), ElementsAre(boiler));
  const AlarmGroup stored = {
      .id = boiler, .parent = area, .name = "Boiler", .description = "of the north side"};
  EXPECT_EQ(*groups_->Read(boiler), stored);
}

TEST_F(AlarmGroupsTest, NamesAreUniqueUnderOneParentAndFoundInAnyCase) {
  const GroupId north = Add("North");
  const GroupId south = Add("South");
  const GroupId boiler = Add("Boiler", north);
  EXPECT_EQ(TryAdd(Named("BOILER", north)).code(), ZR3_ERR_GROUP_EXISTS);
  const GroupId other = Add("Boiler", south);
  EXPECT_EQ(*groups_->Find("boilER", north), boiler);
  EXPECT_EQ(*groups_->Find("Boiler", south), other);
  EXPECT_EQ(groups_->Find("Boiler", kRootGroup).code(), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_EQ(groups_->Find("Boiler", 99).code(), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_EQ(groups_->Find("", kRootGroup).code(), ZR3_ERR_GROUP_NOT_FOUND);
}

TEST_F(AlarmGroupsTest, ARenamedGroupGivesItsNameUpAndMayChangeTheCaseOfItsOwn) {
  const GroupId first = Add("First");
  const GroupId second = Add("Second");
  EXPECT_EQ(Modify({.id = second, .name = "FIRST", .description = {}}), ZR3_ERR_GROUP_EXISTS);
  EXPECT_EQ(Modify({.id = first, .name = "FIRST", .description = {}}), ZR3_OK);
  EXPECT_EQ(groups_->Read(first)->name, "FIRST");
  EXPECT_EQ(Modify({.id = first, .name = "Third", .description = {}}), ZR3_OK);
  EXPECT_EQ(groups_->Find("first", kRootGroup).code(), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_EQ(Modify({.id = second, .name = "First", .description = {}}), ZR3_OK);
  EXPECT_EQ(*groups_->Find("first", kRootGroup), second);
}

TEST_F(AlarmGroupsTest, AModificationThatChangesNothingPutsNoRow) {
  const GroupId group = Add("Area");
  StoreBatch batch;
  EXPECT_TRUE(
      groups_->PlanModify(turn_, {.id = group, .name = "Area", .description = {}}, batch).ok());
  EXPECT_THAT(batch.rows, IsEmpty());
}

TEST_F(AlarmGroupsTest, TextsAreRefusedWithAStatusOfTheirOwn) {
  const std::string longest_name(765, 'n');
  const std::string longest_description(765, 'd');
  struct Case {
    std::string name;
    std::string description;
    ZR3_STATUS status;
  };
  const std::vector<Case> cases = {
      {"", "", ZR3_ERR_INVALID_GROUP_NAME},
      {"a\tb", "", ZR3_ERR_INVALID_GROUP_NAME},
      {"a\x7F", "", ZR3_ERR_INVALID_GROUP_NAME},
      {longest_name + "n", "", ZR3_ERR_INVALID_GROUP_NAME},
      {"\xFF", "", ZR3_ERR_INVALID_TEXT},
      {"A", "\xC3", ZR3_ERR_INVALID_TEXT},
      {"A", longest_description + "d", ZR3_ERR_INVALID_PROPERTY},
      {"A", std::string("a\0b", 3), ZR3_ERR_INVALID_PROPERTY},
      {longest_name, longest_description, ZR3_OK},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TryAdd(Named(c.name, kRootGroup, c.description)).code(), c.status)
        << c.name.size() << " bytes, " << c.description.size() << " bytes";
  }
  EXPECT_THAT(ChildrenOf(kRootGroup), testing::SizeIs(1));
}

TEST_F(AlarmGroupsTest, AGroupUnderAnUnknownParentIsRefused) {
  EXPECT_EQ(TryAdd(Named("A", 7)).code(), ZR3_ERR_GROUP_NOT_FOUND);
}

TEST_F(AlarmGroupsTest, AGroupWithChildrenOrTagsIsNotDeleted) {
  const GroupId area = Add("Area");
  const GroupId boiler = Add("Boiler", area);
  EXPECT_EQ(Delete(area), ZR3_ERR_GROUP_NOT_EMPTY);
  File(boiler, 5);
  EXPECT_EQ(Delete(boiler), ZR3_ERR_GROUP_NOT_EMPTY);
  groups_->Remove(turn_, 5);
  EXPECT_EQ(Delete(boiler), ZR3_OK);
  EXPECT_EQ(Delete(area), ZR3_OK);
  EXPECT_EQ(Delete(area), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_FALSE(groups_->Exists(area));
  EXPECT_EQ(groups_->Find("Area", kRootGroup).code(), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_THAT(ChildrenOf(kRootGroup), IsEmpty());
}

TEST_F(AlarmGroupsTest, IdentifiersAreNeverUsedAgain) {
  const GroupId first = Add("First");
  EXPECT_EQ(Delete(first), ZR3_OK);
  EXPECT_EQ(Add("Second"), first + 1);
  EXPECT_EQ(Delete(first + 1), ZR3_OK);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(Add("Third"), first + 2);
}

TEST_F(AlarmGroupsTest, NoGroupIsAddedWhenIdentifiersHaveRunOut) {
  const GroupId last = std::numeric_limits<GroupId>::max();
  PutRow({.id = last, .parent = kRootGroup, .name = "Last", .description = {}}, last);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(TryAdd(Named("One more")).code(), ZR3_ERR_TAG_IDS_EXHAUSTED);
  EXPECT_EQ(Delete(last), ZR3_OK);
}

TEST_F(AlarmGroupsTest, TheRootDoesNotChange) {
  EXPECT_EQ(Modify({.id = kRootGroup, .name = "Plant", .description = {}}),
            ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(Delete(kRootGroup), ZR3_ERR_INVALID_ARGUMENT);
}

TEST_F(AlarmGroupsTest, APlanThatIsNotAdoptedLeavesNothingBehind) {
  StoreBatch batch;
  ASSERT_TRUE(groups_->PlanAdd(turn_, Named("Area"), batch).ok());
  EXPECT_THAT(ChildrenOf(kRootGroup), IsEmpty());
  EXPECT_EQ(groups_->Find("Area", kRootGroup).code(), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_EQ(Add("Area"), 1U);
}

TEST_F(AlarmGroupsTest, NoMemoryIsNeededToFollowTheStore) {
  const auto adopt = [&](Result<AlarmGroups::Change> change, StoreBatch& batch) {
    ASSERT_TRUE(change.ok());
    driver_.MustCommit(std::move(batch));
    const ShortMemory memory(1);
    groups_->Adopt(turn_, *change);
    EXPECT_EQ(ShortMemory::Failed(), 0U);
  };
  const std::string name(40, 'n');  // more than a string holds by itself
  const std::string other_name(40, 'o');
  StoreBatch add;
  adopt(groups_->PlanAdd(turn_, Named(name), add), add);
  EXPECT_EQ(*groups_->Find(name, kRootGroup), 1U);
  StoreBatch modify;
  adopt(groups_->PlanModify(turn_, {.id = 1, .name = other_name, .description = name}, modify),
        modify);
  EXPECT_EQ(*groups_->Find(other_name, kRootGroup), 1U);
  groups_->Reserve(turn_, 1, 5);
  {
    const ShortMemory memory(1);
    groups_->File(turn_, 1, 5);
    EXPECT_EQ(ShortMemory::Failed(), 0U);
  }
  EXPECT_THAT(groups_->TagsUnder(1), ElementsAre(5));
  {
    const ShortMemory memory(1);
    groups_->Remove(turn_, 5);
    EXPECT_EQ(ShortMemory::Failed(), 0U);
  }
  StoreBatch remove;
  adopt(groups_->PlanRemove(turn_, 1, remove), remove);
  EXPECT_FALSE(groups_->Exists(1));
}

TEST_F(AlarmGroupsTest, TagsAreFiledInOneGroupAndFoundFromAboveIt) {
  const GroupId area = Add("Area");
  const GroupId boiler = Add("Boiler", area);
  const GroupId other = Add("Other");
  File(boiler, 9);
  File(area, 4);
  File(other, 6);
  File(kRootGroup, 2);
  EXPECT_THAT(groups_->TagsUnder(kRootGroup), ElementsAre(2, 4, 6, 9));
  EXPECT_THAT(groups_->TagsUnder(area), ElementsAre(4, 9));
  EXPECT_THAT(groups_->ListTags(area, 0, 10)->items, ElementsAre(4));
  File(other, 9);
  EXPECT_THAT(groups_->TagsUnder(area), ElementsAre(4));
  EXPECT_THAT(groups_->ListTags(other, 0, 10)->items, ElementsAre(6, 9));
  File(other, 9);
  EXPECT_THAT(groups_->ListTags(other, 0, 10)->items, ElementsAre(6, 9));
  EXPECT_THAT(groups_->TagsUnder(99), IsEmpty());
}

TEST_F(AlarmGroupsTest, RoomThatIsMadeFilesNothing) {
  const GroupId area = Add("Area");
  const GroupId other = Add("Other");
  groups_->Reserve(turn_, area, 5);
  EXPECT_THAT(groups_->TagsUnder(kRootGroup), IsEmpty());
  groups_->Reserve(turn_, other, 5);
  groups_->File(turn_, other, 5);
  EXPECT_THAT(groups_->ListTags(other, 0, 10)->items, ElementsAre(5));
  EXPECT_EQ(Delete(area), ZR3_OK);
}

TEST_F(AlarmGroupsTest, PagesGoOnFromTheirKey) {
  for (const char* name : {"A", "B", "C"}) Add(name);
  for (const TagId tag : {3U, 1U, 2U}) File(1, tag);
  const auto first = groups_->ListGroups(kRootGroup, 0, 2);
  ASSERT_EQ(first->items.size(), 2U);
  EXPECT_EQ(first->next, 3U);
  const auto rest = groups_->ListGroups(kRootGroup, *first->next, 2);
  ASSERT_EQ(rest->items.size(), 1U);
  EXPECT_EQ(rest->items[0].name, "C");
  EXPECT_EQ(rest->next, std::nullopt);
  const auto tags = groups_->ListTags(1, 0, 2);
  EXPECT_THAT(tags->items, ElementsAre(1, 2));
  EXPECT_THAT(groups_->ListTags(1, *tags->next, 2)->items, ElementsAre(3));
  EXPECT_EQ(groups_->ListGroups(99, 0, 2).code(), ZR3_ERR_GROUP_NOT_FOUND);
  EXPECT_EQ(groups_->ListTags(99, 0, 2).code(), ZR3_ERR_GROUP_NOT_FOUND);
}

TEST_F(AlarmGroupsTest, StoredGroupsThatBreakARuleAreDamage) {
  Add("A");
  Add("B");
  struct Case {
    const char* what;
    AlarmGroup group;
    std::int64_t last_id;
  };
  const std::vector<Case> cases = {
      {"an unknown parent", {3, 9, "C", ""}, 9},
      {"its own parent", {3, 3, "C", ""}, 3},
      {"a loop of two", {1, 2, "A", ""}, 2},
      {"the root as a row", {0, 0, "C", ""}, 2},
      {"an identifier that was never given", {3, 0, "C", ""}, 2},
      {"the name of another", {3, 0, "a", ""}, 3},
      {"no name", {3, 0, "", ""}, 3},
      {"a description that is no text", {3, 0, "C", "\xFF"}, 3},
      {"a last identifier that is none", {3, 0, "C", ""}, -1},
      {"a last identifier that is too great", {3, 0, "C", ""}, std::int64_t{1} << 32},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Result<AlarmGroup> before = groups_->Read(c.group.id);
    PutRow(c.group, c.last_id);
    EXPECT_EQ(AlarmGroups(*store_).Load(turn_).code(), ZR3_ERR_STORAGE_DAMAGED);
    StoreBatch repair;
    Table<AlarmGroup>::Remove(c.group.id, repair);
    if (before.ok() && c.group.id != kRootGroup) Table<AlarmGroup>::Put(*before, repair);
    Table<Setting>::Put({.name = std::string(kLastGroupSetting), .value = std::int64_t{2}}, repair);
    driver_.MustCommit(std::move(repair));
    EXPECT_TRUE(AlarmGroups(*store_).Load(turn_).ok());
  }
}

}  // namespace
}  // namespace zervane
