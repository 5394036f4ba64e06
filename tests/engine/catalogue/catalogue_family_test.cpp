#include "engine/catalogue/catalogue_family.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "tests/engine/catalogue/fixture.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

const Caller kCaller;

class CatalogueFamilyTest : public CatalogueFixture {
 protected:
  void AddMany(int count) {
    for (int i = 1; i <= count; ++i) Add("T" + std::to_string(i));
  }
  std::vector<TagId> Ids(const Result<Page<Tag>>& page) {
    EXPECT_TRUE(page.ok()) << page.status().message();
    std::vector<TagId> ids;
    if (!page.ok()) return ids;
    for (const Tag& tag : page->items) ids.push_back(tag.id);
    return ids;
  }
  std::vector<TagId> Find(const TagQuery& query, TagId from = 0, std::int32_t limit = 1000) {
    return Ids(family_.Handle(kCaller, FindTags{query, kAll, from, limit}));
  }
  Result<std::int64_t> Count(const TagQuery& query) {
    return family_.Handle(kCaller, CountTags{query});
  }

  CatalogueFamily family_{*catalogue_};
};

TagQuery Like(const std::string& pattern) {
  return {-1, {{ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3_RELATION_LIKE, pattern}}};
}
TagQuery NameIs(const std::string& name) {
  return {-1, {{ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3_RELATION_EQUAL, name}}};
}

// ---- single tags ----

TEST_F(CatalogueFamilyTest, TellsOfATagByItsIdentifier) {
  Add("a");
  EXPECT_EQ(family_.Handle(kCaller, GetTag{1})->name, "a");
  EXPECT_EQ(*family_.Handle(kCaller, GetTagType{1}), TagType::kFloat64);
  EXPECT_EQ(*family_.Handle(kCaller, FindTagId{"A"}), 1U);
  EXPECT_EQ(*family_.Handle(kCaller, GetCatalogueVersion{}), 1);
}

TEST_F(CatalogueFamilyTest, SaysThatThereIsNoSuchTag) {
  EXPECT_EQ(family_.Handle(kCaller, GetTag{1}).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(family_.Handle(kCaller, GetTag{0}).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(family_.Handle(kCaller, GetTagType{1}).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(family_.Handle(kCaller, FindTagId{"a"}).code(), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(family_.Handle(kCaller, FindTagId{""}).code(), ZR3_ERR_NAME_NOT_FOUND);
}

// ---- pages ----

TEST_F(CatalogueFamilyTest, FindsMatchesInOrderOfIdentifier) {
  for (const char* name : {"b.PV", "a.SP", "a.PV"}) Add(name);
  EXPECT_EQ(Find(Like("*.pv")), (std::vector<TagId>{1, 3}));
  EXPECT_EQ(Find({}), (std::vector<TagId>{1, 2, 3}));
  EXPECT_EQ(Find(Like("c*")), std::vector<TagId>{});
  EXPECT_EQ(*Count(Like("*.pv")), 2);
  EXPECT_EQ(*Count({}), 3);
}

TEST_F(CatalogueFamilyTest, BeginsAPageAtTheFirstMatchFromTheKeyOn) {
  AddMany(5);
  EXPECT_EQ(Find({}, 3), (std::vector<TagId>{3, 4, 5}));
  EXPECT_EQ(Find({}, 6), std::vector<TagId>{});
  EXPECT_EQ(Find({}, std::numeric_limits<TagId>::max()), std::vector<TagId>{});
  EXPECT_EQ(Find(NameIs("t3"), 3), std::vector<TagId>{3});
  EXPECT_EQ(Find(NameIs("t3"), 4), std::vector<TagId>{});
}

TEST_F(CatalogueFamilyTest, GoesOnFromTheKeyOfAPage) {
  AddMany(10);
  EXPECT_TRUE(Remove(4).ok());
  FindTags search{.query = {}, .mask = kAll, .from = 0, .limit = 3};
  const auto first = family_.Handle(kCaller, search);
  EXPECT_EQ(Ids(first), (std::vector<TagId>{1, 2, 3}));
  ASSERT_TRUE(first->next.has_value());
  EXPECT_TRUE(Remove(5).ok());  // passed over
  Add("new");                   // comes
  search.from = *first->next;
  search.limit = 1000;
  const auto rest = family_.Handle(kCaller, search);
  EXPECT_EQ(Ids(rest), (std::vector<TagId>{6, 7, 8, 9, 10, 11}));
  EXPECT_FALSE(rest->next.has_value());
}

TEST_F(CatalogueFamilyTest, HasNoKeyAfterTheLastTag) {
  AddMany(3);
  EXPECT_FALSE(family_.Handle(kCaller, FindTags{{}, kAll, 0, 3})->next.has_value());
  EXPECT_FALSE(family_.Handle(kCaller, FindTags{NameIs("t1"), kAll, 0, 1})->next.has_value());
  EXPECT_TRUE(family_.Handle(kCaller, FindTags{{}, kAll, 0, 2})->next.has_value());
}

TEST_F(CatalogueFamilyTest, FillsAPageWithAThousandTagsAtTheMost) {
  AddMany(1001);
  for (const std::int32_t limit : {1000, 1001, std::numeric_limits<std::int32_t>::max()}) {
    const auto page = family_.Handle(kCaller, FindTags{{}, kAll, 0, limit});
    EXPECT_EQ(page->items.size(), 1000U);
    EXPECT_EQ(page->next, 1001U);
  }
}

TEST_F(CatalogueFamilyTest, FillsAPageWithAboutAMebibyte) {
  Tag tag;
  tag.descriptor = std::string(3 * 2047, 'd');
  tag.imv_string = tag.ext_string1 = tag.ext_string2 = std::string(3 * 1023, 'i');
  for (int i = 0; i < 100; ++i) {
    tag.name = "T" + std::to_string(i);
    Add(tag);
  }
  const auto page = family_.Handle(kCaller, FindTags{{}, kAll, 0, 1000});
  EXPECT_GE(page->items.size(), 60U);
  EXPECT_LE(page->items.size(), 75U);
  EXPECT_TRUE(page->next.has_value());
}

TEST_F(CatalogueFamilyTest, RefusesAPageOfNoTags) {
  for (const std::int32_t limit : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(family_.Handle(kCaller, FindTags{{}, kAll, 0, limit}).code(), ZR3_ERR_INVALID_COUNT);
  }
}

TEST_F(CatalogueFamilyTest, RefusesAQueryThatMeansNothing) {
  const TagQuery unknown = {-1, {{36, ZR3_RELATION_EQUAL, "1"}}};
  EXPECT_EQ(family_.Handle(kCaller, FindTags{unknown, kAll, 0, 1}).code(),
            ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(Count(unknown).code(), ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(Count({0, {}}).code(), ZR3_ERR_INVALID_MASK);
}

// ---- selected properties ----

struct MaskCase {
  const char* name;
  std::int64_t class_mask;
  PropertyMask mask;
  ZR3_STATUS status;
};

class SearchMask : public testing::TestWithParam<MaskCase> {};

TEST_P(SearchMask, HasBitsForPropertiesOfTheClassesAlone) {
  const MaskCase& row = GetParam();
  const Result<ClassSet> classes = ClassSet::Parse(row.class_mask);
  ASSERT_TRUE(classes.ok());
  EXPECT_EQ(CheckSearchMask(row.mask, *classes).code(), row.status);
}

constexpr std::int64_t Bit(int bit) { return std::int64_t{1} << bit; }

INSTANTIATE_TEST_SUITE_P(
    Masks, SearchMask,
    testing::Values(MaskCase{"Nothing", 1, {0, 0}, ZR3_OK}, MaskCase{"All", 1, {-1, -1}, ZR3_OK},
                    MaskCase{"EveryBitOfPoints", 1, {Bit(36) - 1, Bit(9) - 1}, ZR3_OK},
                    MaskCase{"BitPastTheCommonOnes", 1, {Bit(36), 0}, ZR3_ERR_INVALID_MASK},
                    MaskCase{"BitPastPoints", 1, {0, Bit(9)}, ZR3_ERR_INVALID_MASK},
                    MaskCase{"EveryBitOfStatistics", 4, {0, Bit(26) - 1}, ZR3_OK},
                    MaskCase{"EveryBitOfAnyClass", -1, {0, Bit(26) - 1}, ZR3_OK},
                    MaskCase{"BitPastAnyClass", -1, {0, Bit(26)}, ZR3_ERR_INVALID_MASK},
                    MaskCase{"ClassWithoutOwnProperties", 16, {0, 1}, ZR3_ERR_INVALID_MASK},
                    MaskCase{"AllOfNone", 16, {-1, -1}, ZR3_OK},
                    MaskCase{"MinusTwo", 1, {-2, 0}, ZR3_ERR_INVALID_MASK}),
    CaseName());

TEST_F(CatalogueFamilyTest, GivesTheSelectedPropertiesWithIdentifierAndName) {
  Tag tag = Named("a");
  tag.descriptor = "kept";
  tag.eng_units = "bar";
  tag.point().device_name = "plc";
  tag.point().collector_name = "c";
  Add(tag);
  const PropertyMask mask = {Bit(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR), Bit(4)};
  Tag expected;
  ClearProperties(expected, ZR3_TAG_CLASS_BASIC);
  expected.id = 1;
  expected.name = "a";
  expected.descriptor = "kept";
  expected.point().device_name = "plc";
  const auto page = family_.Handle(kCaller, FindTags{{}, mask, 0, 10});
  ASSERT_EQ(Ids(page), std::vector<TagId>{1});
  EXPECT_EQ(page->items.front(), expected);
  EXPECT_EQ(family_.Handle(kCaller, FindTags{{}, {Bit(36), 0}, 0, 10}).code(),
            ZR3_ERR_INVALID_MASK);
}

// ---- the end ----

TEST_F(CatalogueFamilyTest, EndsSearchesWithTheDatabase) {
  AddMany(2);
  family_.Stop();
  EXPECT_EQ(Count(Like("*")).code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(family_.Handle(kCaller, FindTags{{}, kAll, 0, 10}).code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(family_.Handle(kCaller, ListTags{}).code(), ZR3_ERR_NOT_CONNECTED);
}

}  // namespace
}  // namespace zervane
