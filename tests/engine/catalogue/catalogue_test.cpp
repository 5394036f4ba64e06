#include "engine/catalogue/catalogue.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "tests/engine/fake_store.h"
#include "tests/engine/short_memory.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

const Stamp kStamp = {.date = 1000, .user = "admin"};
const PropertyMask kAll = {-1, -1};
constexpr std::int64_t kTypeBit = std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE;

Tag Named(const std::string& name) {
  Tag tag;
  tag.name = name;
  return tag;
}

class CatalogueTest : public testing::Test {
 protected:
  CatalogueTest() { EXPECT_TRUE(catalogue_->Load().ok()); }

  Status Reload() {
    catalogue_ = std::make_unique<Catalogue>(store_);
    return catalogue_->Load();
  }
  TagId Add(const std::string& name) {
    const Result<TagId> id = catalogue_->Add(Named(name), kAll, kStamp);
    EXPECT_TRUE(id.ok()) << id.status().message();
    return id.ok() ? *id : 0;
  }
  Status Rename(TagId id, const std::string& name) {
    return Modify(id, ZR3_TAG_CLASS_BASIC, Named(name), {1, 0});
  }
  Status Retype(TagId id, std::int32_t type) {
    Tag given;
    given.type = type;
    return Modify(id, ZR3_TAG_CLASS_BASIC, given, {kTypeBit, 0});
  }
  Status Modify(TagId id, std::int32_t tag_class, const Tag& given,
                const PropertyMask& mask) {
    const Result<Catalogue::Change> change =
        catalogue_->Prepare(id, tag_class, given, mask, kStamp);
    return change.ok() ? catalogue_->Modify(*change) : change.status();
  }

  std::shared_ptr<FakeDisk> disk_ = std::make_shared<FakeDisk>();
  FakeStore store_{disk_};
  std::unique_ptr<Catalogue> catalogue_ = std::make_unique<Catalogue>(store_);
};

// ---- identifiers and version ----

TEST_F(CatalogueTest, CountsIdentifiersUpFromOne) {
  EXPECT_EQ(Add("a"), 1U);
  EXPECT_EQ(Add("b"), 2U);
}

TEST_F(CatalogueTest, NeverUsesAnIdentifierAgain) {
  Add("a");
  EXPECT_TRUE(catalogue_->Remove(1).ok());
  EXPECT_EQ(Add("a"), 2U);
  EXPECT_TRUE(catalogue_->Remove(2).ok());
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(Add("a"), 3U);
}

TEST_F(CatalogueTest, SpendsNoIdentifierOnATagThatIsRefused) {
  Add("a");
  EXPECT_EQ(catalogue_->Add(Named("A"), kAll, kStamp).code(), ZR3_ERR_TAG_EXISTS);
  EXPECT_EQ(Add("b"), 2U);
}

TEST_F(CatalogueTest, SaysSoWhenNoIdentifierIsLeft) {
  disk_->set_image({.tags = {}, .last_id = std::numeric_limits<TagId>::max() - 1, .version = 0});
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(Add("last"), std::numeric_limits<TagId>::max());
  EXPECT_EQ(catalogue_->Add(Named("more"), kAll, kStamp).code(), ZR3_ERR_TAG_IDS_EXHAUSTED);
}

TEST_F(CatalogueTest, AddsOneToTheVersionWithEveryChange) {
  EXPECT_EQ(catalogue_->Version(), 0);
  Add("a");
  EXPECT_EQ(catalogue_->Version(), 1);
  EXPECT_TRUE(Rename(1, "b").ok());
  EXPECT_EQ(catalogue_->Version(), 2);
  EXPECT_TRUE(catalogue_->Remove(1).ok());
  EXPECT_EQ(catalogue_->Version(), 3);
  EXPECT_EQ(catalogue_->Remove(1).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(catalogue_->Version(), 3);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(catalogue_->Version(), 3);
}

// ---- names ----

TEST_F(CatalogueTest, FindsATagWithoutRegardToCaseAndKeepsItsNameAsGiven) {
  Add("Fic101.PV");
  EXPECT_EQ(catalogue_->FindByName("fIC101.pv"), 1U);
  EXPECT_EQ(catalogue_->Find(1)->name, "Fic101.PV");
  EXPECT_EQ(catalogue_->FindByName("fic101"), std::nullopt);
  EXPECT_EQ(catalogue_->FindByName(""), std::nullopt);
}

TEST_F(CatalogueTest, RefusesASecondTagOfTheSameName) {
  Add("a");
  Add("b");
  EXPECT_EQ(catalogue_->Add(Named("A"), kAll, kStamp).code(), ZR3_ERR_TAG_EXISTS);
  EXPECT_EQ(Rename(2, "A").code(), ZR3_ERR_TAG_EXISTS);
  EXPECT_EQ(catalogue_->FindByName("b"), 2U);
}

TEST_F(CatalogueTest, FindsARenamedTagByItsNewNameAlone) {
  Add("old");
  EXPECT_TRUE(Rename(1, "new").ok());
  EXPECT_EQ(catalogue_->FindByName("new"), 1U);
  EXPECT_EQ(catalogue_->FindByName("old"), std::nullopt);
  EXPECT_EQ(Add("old"), 2U);
}

TEST_F(CatalogueTest, LetsATagChangeTheCaseOfItsName) {
  Add("pump");
  EXPECT_TRUE(Rename(1, "PUMP").ok());
  EXPECT_EQ(catalogue_->Find(1)->name, "PUMP");
  EXPECT_EQ(catalogue_->FindByName("Pump"), 1U);
}

TEST_F(CatalogueTest, GivesANameFreeWithItsTag) {
  Add("a");
  EXPECT_TRUE(catalogue_->Remove(1).ok());
  EXPECT_EQ(catalogue_->FindByName("a"), std::nullopt);
  EXPECT_EQ(catalogue_->Find(1), nullptr);
  EXPECT_EQ(catalogue_->tags().Find(1), std::nullopt);
}

// ---- types and classes ----

TEST_F(CatalogueTest, TellsTheTraitsOfATag) {
  Tag given = Named("a");
  given.type = ZR3_TAG_TYPE_STRING;
  given.archiving = false;
  ASSERT_TRUE(catalogue_->Add(given, kAll, kStamp).ok());
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
    return catalogue_->Prepare(1, ZR3_TAG_CLASS_BASIC, given, mask, kStamp)->changes_type();
  };
  EXPECT_FALSE(changes_type(ZR3_TAG_TYPE_FLOAT64, kAll));
  EXPECT_TRUE(changes_type(ZR3_TAG_TYPE_INT8, kAll));
  EXPECT_FALSE(changes_type(ZR3_TAG_TYPE_INT8, {0, -1}));
}

TEST_F(CatalogueTest, ChangesNothingByPreparingAChange) {
  Add("a");
  const Result<Catalogue::Change> change =
      catalogue_->Prepare(1, ZR3_TAG_CLASS_BASIC, Named("b"), {1, 0}, kStamp);
  ASSERT_TRUE(change.ok());
  EXPECT_EQ(change->before->name, "a");
  EXPECT_EQ(change->after->name, "b");
  EXPECT_EQ(catalogue_->FindByName("a"), 1U);
  EXPECT_EQ(catalogue_->FindByName("b"), std::nullopt);
  EXPECT_EQ(catalogue_->Version(), 1);
}

TEST_F(CatalogueTest, KeepsATagInItsClass) {
  Add("a");
  EXPECT_EQ(Modify(1, ZR3_TAG_CLASS_ALARM, Named("a"), kAll).code(), ZR3_ERR_INVALID_TAG_CLASS);
  Tag alarm = Named("a");
  alarm.tag_class = ZR3_TAG_CLASS_ALARM;
  EXPECT_EQ(Modify(1, ZR3_TAG_CLASS_BASIC, alarm, kAll).code(), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(catalogue_->Add(alarm, kAll, kStamp).code(), ZR3_ERR_INVALID_TAG_CLASS);
}

TEST_F(CatalogueTest, TakesAnUnselectedClassAsThatOfPointTags) {
  Tag alarm = Named("a");
  alarm.tag_class = ZR3_TAG_CLASS_ALARM;
  EXPECT_TRUE(catalogue_->Add(alarm, {0, 0}, kStamp).ok());
  EXPECT_EQ(catalogue_->Find(1)->tag_class, ZR3_TAG_CLASS_BASIC);
}

// ---- refusals ----

TEST_F(CatalogueTest, RefusesWhatTheRulesRefuse) {
  EXPECT_EQ(catalogue_->Add(Named(""), kAll, kStamp).code(), ZR3_ERR_INVALID_TAG_NAME);
  EXPECT_EQ(catalogue_->Add(Named("a"), {-2, 0}, kStamp).code(), ZR3_ERR_INVALID_MASK);
  Add("a");
  EXPECT_EQ(Rename(1, "").code(), ZR3_ERR_INVALID_TAG_NAME);
  EXPECT_EQ(Rename(0, "b").code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(Modify(1, ZR3_TAG_CLASS_BASIC, Named("b"), {0, 1 << 9}).code(), ZR3_ERR_INVALID_MASK);
  EXPECT_EQ(catalogue_->Version(), 1);
}

TEST_F(CatalogueTest, ReadsOnlySelectedProperties) {
  Tag broken = Named("a");
  broken.type = 99;
  broken.comp_dev = -1;
  EXPECT_TRUE(catalogue_->Add(broken, {0, 0}, kStamp).ok());
  EXPECT_TRUE(Modify(1, ZR3_TAG_CLASS_BASIC, broken, {1, 0}).ok());
}

TEST_F(CatalogueTest, StaysAsItWasWhenTheStoreRefuses) {
  Add("a");
  disk_->FailCatalogue(true);
  EXPECT_EQ(catalogue_->Add(Named("b"), kAll, kStamp).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Rename(1, "b").code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Retype(1, ZR3_TAG_TYPE_INT8).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(catalogue_->Remove(1).code(), ZR3_ERR_STORAGE_FULL);

  EXPECT_EQ(catalogue_->Version(), 1);
  EXPECT_EQ(catalogue_->FindByName("b"), std::nullopt);
  EXPECT_EQ(catalogue_->FindByName("a"), 1U);
  EXPECT_EQ(catalogue_->tags().Find(1)->type, TagType::kFloat64);
  EXPECT_EQ(catalogue_->tags().Find(2), std::nullopt);

  disk_->FailCatalogue(false);
  EXPECT_EQ(Add("b"), 2U);
}

TEST_F(CatalogueTest, HoldsAfterReloadingWhatItHeldBefore) {
  Add("a");
  Add("b");
  EXPECT_TRUE(Rename(2, "c").ok());
  const Tag before = *catalogue_->Find(2);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(*catalogue_->Find(2), before);
  EXPECT_EQ(catalogue_->FindByName("C"), 2U);
}

// ---- want of memory ----

// Once a change is stored, there is no memory any more.
class ShortOnceStored : public FakeStore {
 public:
  using FakeStore::FakeStore;

  Status PutTag(const Tag& properties, std::int64_t version) override {
    Status status = FakeStore::PutTag(properties, version);
    memory.emplace(1);
    return status;
  }
  Status RemoveTag(TagId id, std::int64_t version) override {
    Status status = FakeStore::RemoveTag(id, version);
    memory.emplace(1);
    return status;
  }

  std::optional<ShortMemory> memory;
};

class ShortCatalogue : public testing::Test {
 protected:
  ShortCatalogue() { EXPECT_TRUE(catalogue_.Load().ok()); }

  ZR3_STATUS Add(const std::string& name) {
    const Tag given = Named(name);
    const ZR3_STATUS code = catalogue_.Add(given, kAll, kStamp).code();
    store_.memory.reset();
    return code;
  }
  ZR3_STATUS Rename(TagId id, const std::string& name) {
    const auto change = catalogue_.Prepare(id, ZR3_TAG_CLASS_BASIC, Named(name), {1, 0}, kStamp);
    EXPECT_TRUE(change.ok());
    const ZR3_STATUS code = catalogue_.Modify(*change).code();
    store_.memory.reset();
    return code;
  }
  ZR3_STATUS Remove(TagId id) {
    const ZR3_STATUS code = catalogue_.Remove(id).code();
    store_.memory.reset();
    return code;
  }

  ShortOnceStored store_{std::make_shared<FakeDisk>()};
  Catalogue catalogue_{store_};
};

// Too long to stand in a string itself.
const std::string kFirstName = "a name of more than a few letters";
const std::string kSecondName = "ANOTHER NAME OF MORE THAN A FEW LETTERS";

TEST_F(ShortCatalogue, NeedsNoMemoryOnceTheStoreHasAChange) {
  EXPECT_EQ(Add(kFirstName), ZR3_OK);
  EXPECT_EQ(catalogue_.FindByName(kFirstName), 1U);
  EXPECT_EQ(Rename(1, kSecondName), ZR3_OK);
  EXPECT_EQ(catalogue_.FindByName(kFirstName), std::nullopt);
  EXPECT_EQ(catalogue_.FindByName(kSecondName), 1U);
  EXPECT_EQ(Remove(1), ZR3_OK);
  EXPECT_EQ(catalogue_.FindByName(kSecondName), std::nullopt);
  EXPECT_EQ(Add(kSecondName), ZR3_OK);
  EXPECT_EQ(catalogue_.FindByName(kSecondName), 2U);
  EXPECT_EQ(catalogue_.Version(), 4);
}

TEST_F(CatalogueTest, StaysAsItWasWhicheverRequestForMemoryFails) {
  const Tag given = Named(kSecondName);
  const Stamp stamp = kStamp;
  ASSERT_EQ(Add(kFirstName), 1U);
  disk_->FailCatalogue(true);  // so that all requests are the catalogue's
  ZR3_STATUS code = ZR3_OK;
  for (std::uint64_t nth = 1; code != ZR3_ERR_STORAGE_FULL; ++nth) {
    try {
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      code = catalogue_->Add(given, kAll, stamp).code();
    } catch (const std::bad_alloc&) {
      code = ZR3_ERR_OUT_OF_MEMORY;
    }
    EXPECT_EQ(catalogue_->FindByName(kFirstName), 1U);
    EXPECT_EQ(catalogue_->FindByName(kSecondName), std::nullopt);
    EXPECT_EQ(catalogue_->Find(2), nullptr);
    EXPECT_EQ(catalogue_->tags().Find(2), std::nullopt);
    EXPECT_EQ(catalogue_->Version(), 1);
  }
  disk_->FailCatalogue(false);
  EXPECT_EQ(Add(kSecondName), 2U);
}

// ---- what a damaged store may hold ----

Tag Stored(TagId id, const std::string& name) {
  Tag tag = Named(name);
  tag.id = id;
  return tag;
}

struct DamageCase {
  const char* name;
  CatalogueImage image;
};

class DamagedCatalogue : public testing::TestWithParam<DamageCase> {};

class ImageStore : public FakeStore {
 public:
  explicit ImageStore(CatalogueImage image)
      : FakeStore(std::make_shared<FakeDisk>()), image_(std::move(image)) {}
  Result<CatalogueImage> LoadCatalogue() override { return image_; }

 private:
  const CatalogueImage image_;
};

TEST_P(DamagedCatalogue, IsRefused) {
  ImageStore store(GetParam().image);
  Catalogue catalogue(store);
  EXPECT_EQ(catalogue.Load().code(), ZR3_ERR_STORAGE_DAMAGED);
}

Tag OfType(std::int32_t type) {
  Tag tag = Stored(1, "a");
  tag.type = type;
  return tag;
}

INSTANTIATE_TEST_SUITE_P(
    Catalogue, DamagedCatalogue,
    testing::Values(DamageCase{"IdentifierZero", {{Stored(0, "a")}, 1, 1}},
                    DamageCase{"IdentifierPastTheLast", {{Stored(2, "a")}, 1, 1}},
                    DamageCase{"IdentifierTwice", {{Stored(1, "a"), Stored(1, "b")}, 1, 1}},
                    DamageCase{"NameTwice", {{Stored(1, "a"), Stored(2, "A")}, 2, 1}},
                    DamageCase{"NoName", {{Stored(1, "")}, 1, 1}},
                    DamageCase{"NoSuchType", {{OfType(8)}, 1, 1}}),
    CaseName());

}  // namespace
}  // namespace zervane
