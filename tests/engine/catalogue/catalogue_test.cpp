#include "engine/catalogue/catalogue.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/storage/table.h"
#include "engine/storage/tables.h"
#include "tests/engine/catalogue/fixture.h"
#include "tests/engine/short_memory.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

class CatalogueTest : public CatalogueFixture {};

Setting LastId(std::int64_t id) { return {std::string(kLastIdSetting), id}; }

// ---- identifiers and version ----

TEST_F(CatalogueTest, CountsIdentifiersUpFromOne) {
  EXPECT_EQ(Add("a"), 1U);
  EXPECT_EQ(Add("b"), 2U);
}

TEST_F(CatalogueTest, NeverUsesAnIdentifierAgain) {
  Add("a");
  EXPECT_TRUE(Remove(1).ok());
  EXPECT_EQ(Add("a"), 2U);
  EXPECT_TRUE(Remove(2).ok());
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(Add("a"), 3U);
}

TEST_F(CatalogueTest, SpendsNoIdentifierOnATagThatIsRefused) {
  Add("a");
  EXPECT_EQ(TryAdd(Named("A")).code(), ZR3_ERR_TAG_EXISTS);
  EXPECT_EQ(Add("b"), 2U);
}

TEST_F(CatalogueTest, SaysSoWhenNoIdentifierIsLeft) {
  StoreBatch batch;
  Table<Setting>::Put(LastId(std::numeric_limits<TagId>::max() - 1), batch);
  driver_.MustCommit(std::move(batch));
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(Add("last"), std::numeric_limits<TagId>::max());
  EXPECT_EQ(TryAdd(Named("more")).code(), ZR3_ERR_TAG_IDS_EXHAUSTED);
}

TEST_F(CatalogueTest, AddsOneToTheVersionWithEveryChange) {
  EXPECT_EQ(catalogue_->version(), 0);
  Add("a");
  EXPECT_EQ(catalogue_->version(), 1);
  EXPECT_TRUE(Rename(1, "b").ok());
  EXPECT_EQ(catalogue_->version(), 2);
  EXPECT_TRUE(Remove(1).ok());
  EXPECT_EQ(catalogue_->version(), 3);
  EXPECT_EQ(Remove(1).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(catalogue_->version(), 3);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(catalogue_->version(), 3);
}

// ---- names ----

TEST_F(CatalogueTest, FindsATagWithoutRegardToCaseAndKeepsItsNameAsGiven) {
  Add("Fic101.PV");
  EXPECT_EQ(IdOf("fIC101.pv"), 1U);
  EXPECT_EQ(catalogue_->Find(1)->name, "Fic101.PV");
  EXPECT_EQ(IdOf("fic101"), 0U);
  EXPECT_EQ(IdOf(""), 0U);
}

TEST_F(CatalogueTest, RefusesASecondTagOfTheSameName) {
  Add("a");
  Add("b");
  EXPECT_EQ(TryAdd(Named("A")).code(), ZR3_ERR_TAG_EXISTS);
  EXPECT_EQ(Rename(2, "A").code(), ZR3_ERR_TAG_EXISTS);
  EXPECT_EQ(IdOf("b"), 2U);
}

TEST_F(CatalogueTest, FindsARenamedTagByItsNewNameAlone) {
  Add("old");
  EXPECT_TRUE(Rename(1, "new").ok());
  EXPECT_EQ(IdOf("new"), 1U);
  EXPECT_EQ(IdOf("old"), 0U);
  EXPECT_EQ(Add("old"), 2U);
}

TEST_F(CatalogueTest, LetsATagChangeTheCaseOfItsName) {
  Add("pump");
  EXPECT_TRUE(Rename(1, "PUMP").ok());
  EXPECT_EQ(catalogue_->Find(1)->name, "PUMP");
  EXPECT_EQ(IdOf("Pump"), 1U);
}

TEST_F(CatalogueTest, GivesANameFreeWithItsTag) {
  Add("a");
  EXPECT_TRUE(Remove(1).ok());
  EXPECT_EQ(IdOf("a"), 0U);
  EXPECT_EQ(catalogue_->Find(1).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(catalogue_->tags().Find(1), std::nullopt);
}

// ---- types and classes ----

TEST_F(CatalogueTest, TellsTheTraitsOfATag) {
  Tag given = Named("a");
  given.type = ZR3_TAG_TYPE_STRING;
  given.archiving = false;
  ASSERT_TRUE(TryAdd(given).ok());
  EXPECT_EQ(catalogue_->tags().Find(1), (TagTraits{TagType::kString, false}));
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(catalogue_->tags().Find(1), (TagTraits{TagType::kString, false}));
}

TEST_F(CatalogueTest, ChangesTheTypeOfATag) {
  Add("a");
  EXPECT_TRUE(Retype(1, ZR3_TAG_TYPE_INT8).ok());
  EXPECT_EQ(catalogue_->tags().Find(1)->type, TagType::kInt8);
}

TEST_F(CatalogueTest, TellsWhetherAChangeIsOneOfType) {
  Add("a");
  const auto changes_type = [&](std::int32_t type, const PropertyMask& mask) {
    Tag given = Named("a");
    given.type = type;
    StoreBatch batch;
    return catalogue_->PlanModify(1, ZR3_TAG_CLASS_BASIC, given, mask, kStamp, batch)
        ->changes_type();
  };
  EXPECT_FALSE(changes_type(ZR3_TAG_TYPE_FLOAT64, kAll));
  EXPECT_TRUE(changes_type(ZR3_TAG_TYPE_INT8, kAll));
  EXPECT_FALSE(changes_type(ZR3_TAG_TYPE_INT8, {0, -1}));
}

TEST_F(CatalogueTest, ChangesNothingByPlanningAChange) {
  Add("a");
  StoreBatch batch;
  const Result<CatalogueChange> change =
      catalogue_->PlanModify(1, ZR3_TAG_CLASS_BASIC, Named("b"), {1, 0}, kStamp, batch);
  ASSERT_TRUE(change.ok());
  EXPECT_EQ(change->before->name, "a");
  EXPECT_EQ(change->after->name, "b");
  EXPECT_EQ(IdOf("a"), 1U);
  EXPECT_EQ(IdOf("b"), 0U);
  EXPECT_EQ(catalogue_->version(), 1);
}

TEST_F(CatalogueTest, KeepsATagInItsClass) {
  Add("a");
  EXPECT_EQ(Modify(1, ZR3_TAG_CLASS_ALARM, Named("a"), kAll).code(), ZR3_ERR_INVALID_TAG_CLASS);
  Tag alarm = Named("a");
  alarm.tag_class = ZR3_TAG_CLASS_ALARM;
  EXPECT_EQ(Modify(1, ZR3_TAG_CLASS_BASIC, alarm, kAll).code(), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(TryAdd(alarm).code(), ZR3_ERR_INVALID_TAG_CLASS);
}

TEST_F(CatalogueTest, TakesAnUnselectedClassAsThatOfPointTags) {
  Tag alarm = Named("a");
  alarm.tag_class = ZR3_TAG_CLASS_ALARM;
  EXPECT_TRUE(TryAdd(alarm, {0, 0}).ok());
  EXPECT_EQ(catalogue_->Find(1)->tag_class, ZR3_TAG_CLASS_BASIC);
}

// ---- refusals ----

TEST_F(CatalogueTest, RefusesWhatTheRulesRefuse) {
  EXPECT_EQ(TryAdd(Named("")).code(), ZR3_ERR_INVALID_TAG_NAME);
  EXPECT_EQ(TryAdd(Named("a"), {-2, 0}).code(), ZR3_ERR_INVALID_MASK);
  Add("a");
  EXPECT_EQ(Rename(1, "").code(), ZR3_ERR_INVALID_TAG_NAME);
  EXPECT_EQ(Rename(0, "b").code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(Modify(1, ZR3_TAG_CLASS_BASIC, Named("b"), {0, 1 << 9}).code(), ZR3_ERR_INVALID_MASK);
  EXPECT_EQ(catalogue_->version(), 1);
}

TEST_F(CatalogueTest, ReadsOnlySelectedProperties) {
  Tag broken = Named("a");
  broken.type = 99;
  broken.comp_dev = -1;
  EXPECT_TRUE(TryAdd(broken, {0, 0}).ok());
  EXPECT_TRUE(Modify(1, ZR3_TAG_CLASS_BASIC, broken, {1, 0}).ok());
}

TEST_F(CatalogueTest, StaysAsItWasWhenTheStoreRefuses) {
  Add("a");
  faults_->FailCommitsTo(TableId::kTag, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(TryAdd(Named("b")).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Rename(1, "b").code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Retype(1, ZR3_TAG_TYPE_INT8).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Remove(1).code(), ZR3_ERR_STORAGE_FULL);

  EXPECT_EQ(catalogue_->version(), 1);
  EXPECT_EQ(IdOf("b"), 0U);
  EXPECT_EQ(IdOf("a"), 1U);
  EXPECT_EQ(catalogue_->tags().Find(1)->type, TagType::kFloat64);
  EXPECT_EQ(catalogue_->tags().Find(2), std::nullopt);

  faults_->EndFailingCommits();
  EXPECT_EQ(Add("b"), 2U);
}

TEST_F(CatalogueTest, HoldsAfterReloadingWhatItHeldBefore) {
  Add("a");
  Add("b");
  EXPECT_TRUE(Rename(2, "c").ok());
  const Tag before = *catalogue_->Find(2);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(*catalogue_->Find(2), before);
  EXPECT_EQ(IdOf("C"), 2U);
}

// ---- rows ----

TEST_F(CatalogueTest, PutsAllThatItKeepsIntoOneBatch) {
  StoreBatch batch;
  ASSERT_TRUE(catalogue_->PlanAdd(Named("a"), kAll, kStamp, batch).ok());
  std::vector<TableId> tables;
  for (const RowChange& row : batch.rows) tables.push_back(row.table);
  EXPECT_EQ(tables, (std::vector<TableId>{TableId::kTag, TableId::kSettings, TableId::kSettings}));
}

TEST_F(CatalogueTest, PutsNothingIntoTheBatchOfAChangeThatItRefuses) {
  Add("a");
  StoreBatch batch;
  EXPECT_FALSE(catalogue_->PlanAdd(Named("A"), kAll, kStamp, batch).ok());
  EXPECT_FALSE(catalogue_->PlanModify(2, 0, Named("b"), kAll, kStamp, batch).ok());
  EXPECT_FALSE(catalogue_->PlanModify(1, 0, Named(""), kAll, kStamp, batch).ok());
  EXPECT_FALSE(catalogue_->PlanRemove(2, batch).ok());
  EXPECT_TRUE(batch.rows.empty());
  EXPECT_TRUE(batch.emptied.empty());
}

TEST_F(CatalogueTest, EmptiesATagThatItRemoves) {
  Add("a");
  StoreBatch batch;
  ASSERT_TRUE(catalogue_->PlanRemove(1, batch).ok());
  EXPECT_EQ(batch.emptied, std::vector<TagId>{1});
}

// ---- images ----

TEST_F(CatalogueTest, LeavesAnImageAsItWas) {
  Add("a");
  Add("b");
  const TagImagePtr image = catalogue_->image();
  EXPECT_TRUE(Rename(1, "c").ok());
  EXPECT_TRUE(Remove(2).ok());
  Add("d");
  EXPECT_EQ(image->Find(1)->name(), "a");
  EXPECT_EQ(image->FindByName("A"), image->Find(1));
  EXPECT_EQ(image->FindByName("c"), nullptr);
  EXPECT_EQ(image->FindByName("b"), image->Find(2));
  EXPECT_EQ(image->Find(3), nullptr);
  EXPECT_EQ(image->version(), 2);
  EXPECT_EQ(image->CountOf(ZR3_TAG_CLASS_BASIC), 2);
  EXPECT_EQ(catalogue_->image()->CountOf(ZR3_TAG_CLASS_BASIC), 2);
  EXPECT_EQ(catalogue_->image()->version(), 5);
}

// ---- want of memory ----

// Too long to stand in a string itself.
const std::string kFirstName = "a name of more than a few letters";
const std::string kSecondName = "ANOTHER NAME OF MORE THAN A FEW LETTERS";

class ShortCatalogue : public CatalogueFixture {
 protected:
  // Adopts a change without any memory to be had.
  void Adopt(const Result<CatalogueChange>& change) {
    ASSERT_TRUE(change.ok());
    const ShortMemory memory(1);
    catalogue_->Adopt(*change);
  }
  StoreBatch batch_;
};

TEST_F(ShortCatalogue, NeedsNoMemoryToFollowTheStore) {
  Adopt(catalogue_->PlanAdd(Named(kFirstName), kAll, kStamp, batch_));
  EXPECT_EQ(IdOf(kFirstName), 1U);
  Adopt(catalogue_->PlanModify(1, ZR3_TAG_CLASS_BASIC, Named(kSecondName), {1, 0}, kStamp, batch_));
  EXPECT_EQ(IdOf(kFirstName), 0U);
  EXPECT_EQ(IdOf(kSecondName), 1U);
  Adopt(catalogue_->PlanRemove(1, batch_));
  EXPECT_EQ(IdOf(kSecondName), 0U);
  Adopt(catalogue_->PlanAdd(Named(kSecondName), kAll, kStamp, batch_));
  EXPECT_EQ(IdOf(kSecondName), 2U);
  EXPECT_EQ(catalogue_->version(), 4);
}

TEST_F(CatalogueTest, StaysAsItWasWhicheverRequestForMemoryFails) {
  const Tag given = Named(kSecondName);
  ASSERT_EQ(Add(kFirstName), 1U);
  bool failed = true;
  for (std::uint64_t nth = 1; failed; ++nth) {
    try {
      StoreBatch batch;
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      (void)catalogue_->PlanAdd(given, kAll, kStamp, batch);
      failed = ShortMemory::Failed() > 0;
    } catch (const std::bad_alloc&) {
    }
    EXPECT_EQ(IdOf(kFirstName), 1U);
    EXPECT_EQ(IdOf(kSecondName), 0U);
    EXPECT_EQ(catalogue_->Find(2).code(), ZR3_ERR_TAG_NOT_FOUND);
    EXPECT_EQ(catalogue_->tags().Find(2), std::nullopt);
    EXPECT_EQ(catalogue_->version(), 1);
  }
  EXPECT_EQ(Add(kSecondName), 2U);
}

// ---- what a damaged store may hold ----

Tag Stored(TagId id, const std::string& name) {
  Tag tag = Named(name);
  tag.id = id;
  return tag;
}

Tag OfType(std::int32_t type) {
  Tag tag = Stored(1, "a");
  tag.type = type;
  return tag;
}

struct DamageCase {
  const char* name;
  std::vector<Tag> tags;
  std::vector<Setting> settings;
};

class DamagedCatalogue : public testing::TestWithParam<DamageCase> {};

TEST_P(DamagedCatalogue, IsRefused) {
  const std::unique_ptr<Store> store = OpenMemoryStore();
  StoreBatch batch;
  for (const Tag& tag : GetParam().tags) Table<Tag>::Put(tag, batch);
  for (const Setting& setting : GetParam().settings) Table<Setting>::Put(setting, batch);
  storage::StoreDriver(*store).MustCommit(std::move(batch));
  EXPECT_EQ(Catalogue(*store).Load().code(), ZR3_ERR_STORAGE_DAMAGED);
}

const std::string kVersion(kCatalogueVersionSetting);

INSTANTIATE_TEST_SUITE_P(
    Catalogue, DamagedCatalogue,
    testing::Values(
        DamageCase{"IdentifierZero", {Stored(0, "a")}, {LastId(1)}},
        DamageCase{"IdentifierPastTheLast", {Stored(2, "a")}, {LastId(1)}},
        DamageCase{"NoLastIdentifier", {Stored(1, "a")}, {}},
        DamageCase{"NameTwice", {Stored(1, "a"), Stored(2, "A")}, {LastId(2)}},
        DamageCase{"NoName", {Stored(1, "")}, {LastId(1)}},
        DamageCase{"NameNotUtf8", {Stored(1, "\xFF")}, {LastId(1)}},
        DamageCase{"NoSuchType", {OfType(8)}, {LastId(1)}},
        DamageCase{"LastIdentifierTooGreat", {}, {LastId(std::int64_t{1} << 32)}},
        DamageCase{"LastIdentifierNegative", {}, {LastId(-1)}},
        DamageCase{"LastIdentifierNoNumber", {}, {{std::string(kLastIdSetting), std::string("1")}}},
        DamageCase{"VersionNegative", {}, {{kVersion, std::int64_t{-1}}}},
        DamageCase{"VersionNothing", {}, {{kVersion, Cell()}}}),
    CaseName());

TEST_F(CatalogueTest, AnswersTheStatusOfAStoreThatCannotBeRead) {
  for (int calls = 0; calls < 3; ++calls) {
    faults_->Fail(storage::Faults::Call::kRows, ZR3_ERR_STORAGE_FAILED, 1, calls);
    EXPECT_EQ(Reload().code(), ZR3_ERR_STORAGE_FAILED) << calls;
  }
  EXPECT_TRUE(Reload().ok());
}

}  // namespace
}  // namespace zervane
