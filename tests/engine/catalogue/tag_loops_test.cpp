#include "engine/catalogue/tag_loops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "engine/catalogue/tag_rows.h"
#include "engine/storage/table.h"
#include "engine/storage/tables.h"
#include "tests/engine/catalogue/fixture.h"
#include "tests/engine/catalogue/reading_class.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

using Graph = std::map<TagId, TagLinks>;

TagLinks ReadBy(const Graph& graph, TagId tag) {
  const auto at = graph.find(tag);
  return at == graph.end() ? TagLinks() : at->second;
}

std::string NameOf(TagId tag) { return std::string(1, static_cast<char>('A' + tag - 1)); }

// ---- looking for one ----

struct LoopCase {
  const char* name;
  Graph graph;
  std::vector<TagId> from;
  std::vector<TagId> loop;
};

class TagLoops : public testing::TestWithParam<LoopCase> {};

TEST_P(TagLoops, AreFoundAlongWhatTagsRead) {
  const auto reads = [](TagId tag) { return ReadBy(GetParam().graph, tag); };
  EXPECT_EQ(FindLoop(GetParam().from, reads), GetParam().loop);
}

INSTANTIATE_TEST_SUITE_P(
    Catalogue, TagLoops,
    testing::Values(LoopCase{"NothingRead", {}, {1}, {}},
                    LoopCase{"AChain", {{1, {2}}, {2, {3}}}, {1}, {}},
                    LoopCase{"ADiamond", {{1, {2, 3}}, {2, {4}}, {3, {4}}}, {1, 2, 3}, {}},
                    LoopCase{"TheSameTagTwice", {{1, {2, 2}}}, {1}, {}},
                    LoopCase{"EmptyPlaces", {{1, {0, 0, 2}}, {2, {0, 3}}}, {1}, {}},
                    LoopCase{"Itself", {{1, {1}}}, {1}, {1, 1}},
                    LoopCase{"Two", {{1, {2}}, {2, {1}}}, {1}, {1, 2, 1}},
                    LoopCase{"ThreeWithOthersBeside",
                             {{1, {5, 2}}, {2, {5, 3}}, {3, {4, 1}}, {4, {5}}},
                             {1},
                             {1, 2, 3, 1}},
                    LoopCase{"BehindATail", {{1, {2}}, {2, {3}}, {3, {2}}}, {1}, {2, 3, 2}},
                    LoopCase{"FromTheSecond", {{1, {9}}, {2, {3}}, {3, {2}}}, {1, 2}, {2, 3, 2}},
                    LoopCase{"ElsewhereOnly", {{2, {3}}, {3, {2}}}, {1}, {}}),
    CaseName());

constexpr TagId kLong = 100'000;

TEST(LongTagLoops, AreFoundWithEachTagAskedOnce) {
  for (const bool is_loop : {false, true}) {
    std::size_t asked = 0;
    const auto reads = [&](TagId tag) {
      ++asked;
      if (tag < kLong) return TagLinks{tag + 1, tag + 1};
      return is_loop ? TagLinks{1} : TagLinks();
    };
    const TagId first = 1;
    const std::vector<TagId> loop = FindLoop({&first, 1}, reads);
    EXPECT_EQ(loop.size(), is_loop ? kLong + 1 : 0U);
    EXPECT_EQ(asked, kLong);
  }
}

// Layer upon layer, each tag of one reads both of the next: more ways than could ever be walked.
TEST(LongTagLoops, AreLookedForOnceInATagToWhichManyWaysLead) {
  std::size_t asked = 0;
  const auto reads = [&](TagId tag) {
    ++asked;
    const TagId next = tag + (tag % 2 == 0 ? 1 : 2);
    return next > 200 ? TagLinks() : TagLinks{next, next + 1};
  };
  const std::vector<TagId> from = {1, 2};
  EXPECT_TRUE(FindLoop(from, reads).empty());
  EXPECT_LE(asked, 202U);
}

TEST(TagLoopText, NamesTheTagsInOrder) {
  std::map<TagId, std::string> names;
  for (TagId tag = 1; tag <= 26; ++tag) names[tag] = NameOf(tag);
  const auto name_of = [&](TagId tag) -> std::string_view { return names.at(tag); };
  EXPECT_EQ(TextOfLoop(std::vector<TagId>{1, 1}, name_of), "'A' reads 'A'");
  EXPECT_EQ(TextOfLoop(std::vector<TagId>{2, 1, 3, 2}, name_of),
            "'B' reads 'A' reads 'C' reads 'B'");
}

TEST(TagLoopText, TellsHowManyItLeavesOut) {
  std::vector<TagId> loop;
  for (TagId tag = 1; tag <= 5'000; ++tag) loop.push_back(tag);
  loop.push_back(1);
  const std::string text = TextOfLoop(loop, [](TagId) -> std::string_view { return "t"; });
  EXPECT_NE(text.find("reads (4981 more) reads"), std::string::npos) << text;
  EXPECT_EQ(std::ranges::count(text, '\''), 2 * 20);
}

// ---- saving tags ----

constexpr std::int64_t Own(std::int32_t column) {
  return std::int64_t{1} << (column - ZR3_TAG_COL_AM_EXT_PROP_MIN);
}
constexpr PropertyMask kSourceOnly = {0, Own(ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG)};

// Tags of a class whose source is read and whose target is set; both may be of the class.
class LoopsOfSavedTags : public CatalogueFixture {
 protected:
  LoopsOfSavedTags() {
    alarm_class_ = &class_;
    EXPECT_TRUE(Reload().ok());
    Add("point");
  }

  static Tag Reader(const std::string& name, const std::string& source,
                    const std::string& target = "") {
    Tag tag = Named(name);
    tag.tag_class = ZR3_TAG_CLASS_ALARM;
    AlarmProperties own;
    own.source_tag = source;
    own.action1 = target;
    tag.own = own;
    return tag;
  }
  Status Read(TagId id, const std::string& source) {
    return Modify(id, ZR3_TAG_CLASS_ALARM, Reader("", source), kSourceOnly);
  }

  ReadingClass class_;
};

TEST_F(LoopsOfSavedTags, AreRefusedWithTheirNames) {
  const TagId a = Add(Reader("A", "point"));
  const TagId b = Add(Reader("B", "A"));
  Add(Reader("C", "B"));
  const Status of_three = Read(a, "c");
  EXPECT_EQ(of_three.code(), ZR3_ERR_CALCULATION_LOOP);
  EXPECT_EQ(of_three.message(), "'A' reads 'C' reads 'B' reads 'A'");
  EXPECT_EQ(Read(b, "C").message(), "'B' reads 'C' reads 'B'");
  EXPECT_EQ(Read(b, "b").message(), "'B' reads 'B'");
  EXPECT_EQ(catalogue_->LinksOf(a), TagLinks{1});
  EXPECT_EQ(catalogue_->LinksOf(b), TagLinks{a});
  EXPECT_EQ(std::get<AlarmProperties>(catalogue_->Find(b)->own).source_tag, "A");
}

TEST_F(LoopsOfSavedTags, AreRefusedOfATagThatIsAddedAndReadsItself) {
  const Status refused = TryAdd(Reader("A", "a")).status();
  EXPECT_EQ(refused.code(), ZR3_ERR_CALCULATION_LOOP);
  EXPECT_EQ(refused.message(), "'A' reads 'A'");
  EXPECT_EQ(IdOf("A"), 0U);
}

TEST_F(LoopsOfSavedTags, AreNamedAsTheSavedTagIsAboutToBe) {
  const TagId a = Add(Reader("A", "point"));
  Add(Reader("B", "A"));
  const Status refused = Modify(a, ZR3_TAG_CLASS_ALARM, Reader("New", "B"), {1, -1});
  EXPECT_EQ(refused.message(), "'New' reads 'B' reads 'New'");
  EXPECT_EQ(IdOf("A"), a);
}

TEST_F(LoopsOfSavedTags, AreNoneOverTagsThatAreSet) {
  const TagId a = Add(Reader("A", "point"));
  Add(Reader("B", "A", "A"));
  EXPECT_TRUE(Modify(a, ZR3_TAG_CLASS_ALARM, Reader("A", "point", "B"), kAll).ok());
  EXPECT_TRUE(Modify(a, ZR3_TAG_CLASS_ALARM, Reader("A", "point", "A"), kAll).ok());
}

TEST_F(LoopsOfSavedTags, AreNoneOverTagsThatAreGone) {
  const TagId a = Add(Reader("A", "point"));
  const TagId b = Add(Reader("B", "A"));
  const TagId c = Add(Reader("C", "B"));
  ASSERT_TRUE(Remove(b).ok());
  EXPECT_TRUE(Read(a, "C").ok());
  const TagId reborn = Add(Reader("B", "A"));
  EXPECT_NE(reborn, b);
  EXPECT_EQ(Read(c, "B").code(), ZR3_ERR_CALCULATION_LOOP);  // now it would be
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(Read(c, "B").code(), ZR3_ERR_CALCULATION_LOOP);
}

TEST_F(LoopsOfSavedTags, AreLookedForInADiamondToo) {
  const TagId bottom = Add(Reader("bottom", "point"));
  Add(Reader("left", "bottom"));
  const TagId right = Add(Reader("right", "bottom"));
  EXPECT_TRUE(Read(right, "left").ok());
  EXPECT_EQ(Read(bottom, "right").message(), "'bottom' reads 'right' reads 'left' reads 'bottom'");
}

// Puts a chain: tag 2 reads 1, 3 reads 2 and so on.
void PutChain(TagId last, StoreBatch& rows) {
  for (TagId id = 2; id <= last; ++id) {
    Tag tag = Named("t" + std::to_string(id));
    tag.tag_class = ZR3_TAG_CLASS_ALARM;
    tag.own = AlarmProperties();
    tag.id = id;
    PutTagRows(tag, rows);
    PutLinks(id, {}, {id - 1}, rows);
  }
  Table<Setting>::Put({std::string(kLastIdSetting), std::int64_t{last}}, rows);
}

TEST_F(LoopsOfSavedTags, AreRefusedAtTheEndOfALongChain) {
  StoreBatch rows;
  PutChain(kLong, rows);
  driver_.MustCommit(std::move(rows));
  ASSERT_TRUE(Reload().ok());
  EXPECT_TRUE(TryAdd(Reader("end", "t" + std::to_string(kLong))).ok());
  EXPECT_EQ(Read(2, "end").code(), ZR3_ERR_CALCULATION_LOOP);
}

TEST_F(LoopsOfSavedTags, AreDamageWhenTheStoreHoldsOne) {
  StoreBatch rows;
  PutChain(4, rows);
  PutLinks(2, {1}, {4}, rows);
  driver_.MustCommit(std::move(rows));
  const Status refused = Reload();
  EXPECT_EQ(refused.code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ(refused.message(), "stored tags form a loop: 't2' reads 't4' reads 't3' reads 't2'");
}

}  // namespace
}  // namespace zervane
