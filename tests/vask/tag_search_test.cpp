// Searches of tags, their pages and counts, and all tags at once.

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

constexpr int64 kBasic = int64{1} << ZR3_TAG_CLASS_BASIC;

class TagSearch : public ConnectedTest {
 protected:
  void AddTags(int count) {
    for (int i = 1; i <= count; ++i) database->Add("T" + std::to_string(i), TagType::kInt16);
  }

  // The four functions that take conditions.
  void ExpectAll(int32 status) {
    const ZR3FilterItemSet set{.nSize = size, .pItem = items};
    const ZR3PageQueryTagParam page{.itemSet = set, .mask = {}, .nStartID = 0, .nCapacity = 1};
    EXPECT_EQ(pt3_query_tags_cond(&set, &mask, &handle), status);
    EXPECT_EQ(handle != nullptr, status == ZR3_OK);
    EXPECT_EQ(tag3_query_tags_cond(kBasic, &set, 0, &handle), status);
    EXPECT_EQ(handle != nullptr, status == ZR3_OK);
    EXPECT_EQ(tag3_query_specify_page_tags_cond(kBasic, &page, &handle), status);
    EXPECT_EQ(handle != nullptr, status == ZR3_OK);
    EXPECT_EQ(tag3_query_tag_num_cond(ZR3_TAG_CLASS_BASIC, &set, &number), status);
  }

  static ZR3HANDLE Search(const ZR3FilterItemSet& set = {}) {
    ZR3HANDLE iterator = nullptr;
    EXPECT_EQ(tag3_query_tags_cond(-1, &set, -1, &iterator), ZR3_OK);
    return iterator;
  }

  // The identifiers of what the iterator still has, at most so many.
  static std::vector<uint32> Drain(ZR3HANDLE iterator, std::size_t most = 100'000) {
    std::vector<uint32> ids;
    ZR3CommTagProp tag{};
    while (ids.size() < most && ut3_get_item_step(iterator, &tag) == ZR3_OK) {
      ids.push_back(tag.nTagID);
    }
    return ids;
  }

  static std::vector<uint32> UpTo(uint32 last, uint32 first = 1) {
    std::vector<uint32> ids;
    for (uint32 id = first; id <= last; ++id) ids.push_back(id);
    return ids;
  }

  ZR3Mask mask{.nCommMask = 5, .nExtMask = 3};
  ZR3FilterItem item[2] = {};
  ZR3FilterItem* items = item;
  int32 size = 2;
  ZR3HANDLE handle = nullptr;
  int32 number = 0;
};

// ---- arguments ----

template <std::size_t kCapacity>
void Overflow(char (&text)[kCapacity]) {
  std::memset(text, 'x', kCapacity);
}

TEST_F(TagSearch, TakesRightConditions) {
  item[1] = {ZR3_TAG_COL_CA_EXT_PROP_MAX, ZR3_RELATION_MAX, "*"};
  ExpectAll(ZR3_OK);
  size = 0;
  items = nullptr;
  ExpectAll(ZR3_OK);
}

TEST_F(TagSearch, RefusesConditionsThatAreNotThere) {
  items = nullptr;
  ExpectAll(ZR3_ERR_NULL_ARGUMENT);
}

TEST_F(TagSearch, RefusesANegativeNumberOfConditions) {
  for (const int32 wrong : {-1, std::numeric_limits<int32>::min()}) {
    size = wrong;
    ExpectAll(ZR3_ERR_INVALID_COUNT);
  }
}

TEST_F(TagSearch, RefusesAValueThatDoesNotEnd) {
  Overflow(item[1].szValue);
  ExpectAll(ZR3_ERR_INVALID_TEXT);
}

TEST_F(TagSearch, RefusesAValueThatDoesNotConvert) {
  std::strcpy(item[1].szValue, "T\xFF");
  ExpectAll(ZR3_ERR_INVALID_TEXT);
  std::strcpy(item[1].szValue, "\xED\xA0\x80");
  ExpectAll(ZR3_ERR_INVALID_TEXT);
}

TEST_F(TagSearch, RefusesUnknownColumns) {
  for (const int32 column : {-1, 36, 99, 109, 213, 300, 426, 508, INT32_MAX}) {
    item[1].nItemID = column;
    ExpectAll(ZR3_ERR_INVALID_ARGUMENT);
  }
}

TEST_F(TagSearch, RefusesUnknownRelations) {
  for (const int32 relation : {-1, 7, 255}) {
    item[1].nRelation = relation;
    ExpectAll(ZR3_ERR_INVALID_ARGUMENT);
  }
}

TEST_F(TagSearch, RefusesClassesThatAreNone) {
  const ZR3FilterItemSet set{};
  const ZR3PageQueryTagParam page{.itemSet = {}, .mask = {}, .nStartID = 0, .nCapacity = 1};
  ZR3CommTagProp* props = nullptr;
  for (const int64 classes : {int64{0}, int64{1} << 7, kBasic | int64{1} << 7,
                              std::numeric_limits<int64>::min(), int64{-2}}) {
    EXPECT_EQ(tag3_query_tags_cond(classes, &set, 0, &handle), ZR3_ERR_INVALID_MASK);
    EXPECT_EQ(tag3_query_specify_page_tags_cond(classes, &page, &handle), ZR3_ERR_INVALID_MASK);
    EXPECT_EQ(tag3_query_all_tags_prop(classes, &number, 0, &props, 0), ZR3_ERR_INVALID_MASK);
  }
  for (const int32 tag_class : {-1, 7}) {
    EXPECT_EQ(tag3_query_tag_num_cond(tag_class, &set, &number), ZR3_ERR_INVALID_TAG_CLASS);
  }
  EXPECT_EQ(database->calls(), 0);
}

TEST_F(TagSearch, RefusesAPageWithoutRoom) {
  for (const int32 capacity : {0, -1, std::numeric_limits<int32>::min()}) {
    const ZR3PageQueryTagParam page{
        .itemSet = {}, .mask = {}, .nStartID = 0, .nCapacity = capacity};
    EXPECT_EQ(tag3_query_specify_page_tags_cond(kBasic, &page, &handle), ZR3_ERR_INVALID_COUNT);
  }
}

TEST_F(TagSearch, RefusesWhatIsReserved) {
  ZR3CommTagProp* props = nullptr;
  for (const int32 reserved : {1, -1}) {
    EXPECT_EQ(tag3_query_all_tags_prop(kBasic, &number, 0, &props, reserved),
              ZR3_ERR_INVALID_ARGUMENT);
  }
  EXPECT_EQ(props, nullptr);
}

TEST_F(TagSearch, LeavesNoHandleBehindWhenItFails) {
  const ZR3HANDLE garbage = &number;
  const ZR3FilterItemSet set{};
  const ZR3PageQueryTagParam page{.itemSet = {}, .mask = {}, .nStartID = 0, .nCapacity = 1};
  const std::function<int32()> calls[] = {
      [&] { return pt3_query_tags_cond(&set, &mask, &handle); },
      [&] { return pt3_query_tags_cond(nullptr, &mask, &handle); },
      [&] { return tag3_query_tags_cond(1, &set, 0, &handle); },
      [&] { return tag3_query_tags_cond(1, nullptr, 0, &handle); },
      [&] { return tag3_query_specify_page_tags_cond(1, &page, &handle); },
      [&] { return tag3_query_specify_page_tags_cond(1, nullptr, &handle); },
  };
  database->on_call = [] { return Status(ZR3_ERR_INVALID_ARGUMENT, "as the test wants"); };
  for (const auto& call : calls) {
    handle = garbage;
    EXPECT_NE(call(), ZR3_OK);
    EXPECT_EQ(handle, nullptr);
  }
}

// ---- what is asked for ----

TEST_F(TagSearch, AsksForPointTagsByTheConditionsAndBothMasks) {
  item[0] = {ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3_RELATION_LIKE, "*.PV"};
  item[1] = {ZR3_TAG_COL_COMM_PROP_SPAN, ZR3_RELATION_GREAT, "5.5"};
  const ZR3FilterItemSet set{.nSize = 2, .pItem = item};
  ASSERT_EQ(pt3_query_tags_cond(&set, &mask, &handle), ZR3_OK);
  const FindTags& search = database->last_search();
  EXPECT_EQ(search.query.class_mask, kBasic);
  EXPECT_EQ(
      search.query.conditions,
      (std::vector<Condition>{{.column = 0, .relation = ZR3_RELATION_LIKE, .value = "*.PV"},
                              {.column = 23, .relation = ZR3_RELATION_GREAT, .value = "5.5"}}));
  EXPECT_EQ(search.mask, (PropertyMask{.common = 5, .extension = 3}));
  EXPECT_EQ(search.from, 0U);
}

TEST_F(TagSearch, AsksForTagsOfTheClassesByOneMask) {
  const ZR3FilterItemSet set{};
  ASSERT_EQ(tag3_query_tags_cond(6, &set, 9, &handle), ZR3_OK);
  EXPECT_EQ(database->last_search().query.class_mask, 6);
  EXPECT_EQ(database->last_search().mask, (PropertyMask{.common = 9, .extension = 0}));
  for (const int64 classes : {int64{-1}, int64{0x7F}, int64{0x40}}) {
    ASSERT_EQ(tag3_query_tags_cond(classes, &set, 9, &handle), ZR3_OK);
    EXPECT_EQ(database->last_search().query.class_mask, classes);
  }
}

TEST_F(TagSearch, AsksForAPageFromItsStartOnAndPassesTheExtensionMaskOver) {
  const ZR3PageQueryTagParam page{.itemSet = {},
                                  .mask = {.nCommMask = 9, .nExtMask = int64{1} << 60},
                                  .nStartID = 4'000'000'000,
                                  .nCapacity = 7};
  ASSERT_EQ(tag3_query_specify_page_tags_cond(kBasic, &page, &handle), ZR3_OK);
  const FindTags& search = database->last_search();
  EXPECT_EQ(search.mask, (PropertyMask{.common = 9, .extension = 0}));
  EXPECT_EQ(search.from, 4'000'000'000);
  EXPECT_EQ(search.limit, 7);
}

TEST_F(TagSearch, CountsByTheBitOfTheClass) {
  AddTags(3);
  item[0] = {ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3_RELATION_EQUAL, "T2"};
  const ZR3FilterItemSet none{};
  const ZR3FilterItemSet one{.nSize = 1, .pItem = item};
  for (int32 tag_class = ZR3_TAG_CLASS_BASIC; tag_class <= ZR3_TAG_CLASS_ALL; ++tag_class) {
    ASSERT_EQ(tag3_query_tag_num_cond(tag_class, &none, &number), ZR3_OK);
    EXPECT_EQ(database->last_search().query.class_mask, int64{1} << tag_class);
    EXPECT_EQ(number, 3);
  }
  ASSERT_EQ(tag3_query_tag_num_cond(0, &one, &number), ZR3_OK);
  EXPECT_EQ(number, 1);
}

TEST_F(TagSearch, TakesTenThousandConditions) {
  std::vector<ZR3FilterItem> many(10'000, {ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3_RELATION_LIKE, "*"});
  const ZR3FilterItemSet set{.nSize = 10'000, .pItem = many.data()};
  ASSERT_EQ(tag3_query_tags_cond(-1, &set, 0, &handle), ZR3_OK);
  EXPECT_EQ(database->last_search().query.conditions.size(), many.size());
  many.back().szValue[1] = '\xFF';
  EXPECT_EQ(tag3_query_tags_cond(-1, &set, 0, &handle), ZR3_ERR_INVALID_TEXT);
}

// ---- what is answered ----

TEST_F(TagSearch, HandsOutWholeRecordsOfPointTags) {
  AddTags(2);
  const ZR3FilterItemSet set{};
  ASSERT_EQ(pt3_query_tags_cond(&set, &mask, &handle), ZR3_OK);
  ZR3PtTagProp tag;
  std::memset(static_cast<void*>(&tag), 0xFF, sizeof tag);
  ASSERT_EQ(ut3_get_item_step(handle, &tag), ZR3_OK);
  EXPECT_EQ(tag.nTagID, 1U);
  EXPECT_STREQ(tag.szTagName, "T1");
  EXPECT_STREQ(tag.szDeviceName, "");
  EXPECT_EQ(tag.nTagType, ZR3_TAG_TYPE_INT16);
  ASSERT_EQ(ut3_get_item_step(handle, &tag), ZR3_OK);
  EXPECT_EQ(tag.nTagID, 2U);
  std::memset(static_cast<void*>(&tag), 0x5A, sizeof tag);
  const ZR3PtTagProp before = tag;
  EXPECT_EQ(ut3_get_item_step(handle, &tag), ZR3_ERR_END_OF_ITERATION);
  EXPECT_EQ(std::memcmp(&tag, &before, sizeof tag), 0);
}

TEST_F(TagSearch, HandsOutNoMoreThanTheCommonRecord) {
  AddTags(1);
  struct {
    ZR3CommTagProp tag;
    char behind[64];
  } room;
  std::memset(static_cast<void*>(&room), 0x5A, sizeof room);
  ASSERT_EQ(ut3_get_item_step(Search(), &room.tag), ZR3_OK);
  EXPECT_STREQ(room.tag.szTagName, "T1");
  for (const char byte : room.behind) EXPECT_EQ(byte, 0x5A);
}

TEST_F(TagSearch, GoesThroughAllPages) {
  AddTags(10);
  database->page_tags = 3;
  EXPECT_EQ(Drain(Search()), UpTo(10));
  EXPECT_EQ(database->searches(), 4);
}

TEST_F(TagSearch, HasAPageOfNoMoreThanItsCapacity) {
  AddTags(10);
  database->page_tags = 3;
  for (const int32 capacity : {1, 2, 3, 4, 8, 9, std::numeric_limits<int32>::max()}) {
    const ZR3PageQueryTagParam page{
        .itemSet = {}, .mask = {}, .nStartID = 3, .nCapacity = capacity};
    ASSERT_EQ(tag3_query_specify_page_tags_cond(-1, &page, &handle), ZR3_OK);
    const auto last = static_cast<uint32>(std::min<int64>(10, int64{2} + capacity));
    EXPECT_EQ(Drain(handle), UpTo(last, 3)) << capacity;
    ZR3CommTagProp tag{};
    EXPECT_EQ(ut3_get_item_step(handle, &tag), ZR3_ERR_END_OF_ITERATION);
  }
}

TEST_F(TagSearch, GoesOnWhileTagsComeAndGo) {
  AddTags(6);
  database->page_tags = 2;
  const ZR3HANDLE iterator = Search();
  EXPECT_EQ(Drain(iterator, 2), UpTo(2));
  ASSERT_EQ(tag3_delete_tag(3), ZR3_OK);
  ASSERT_EQ(tag3_delete_tag(1), ZR3_OK);
  AddTags(1);
  EXPECT_EQ(Drain(iterator), UpTo(7, 4));
}

TEST_F(TagSearch, GivesUpWhatItFetchedWhenManyOthersAreUsed) {
  AddTags(4);
  const ZR3HANDLE first = Search();
  EXPECT_EQ(Drain(first, 1), UpTo(1));
  std::vector<ZR3HANDLE> others;
  for (std::size_t i = 0; i < HandleTable::kMaxAhead; ++i) others.push_back(Search());
  const int before = database->searches();
  EXPECT_EQ(Drain(first), UpTo(4, 2));
  EXPECT_EQ(database->searches(), before + 1) << "it did not fetch again";
  EXPECT_EQ(Drain(others.back()), UpTo(4));
  EXPECT_EQ(database->searches(), before + 1);
}

TEST_F(TagSearch, RefusesIteratorsPast65536) {
  for (std::size_t i = 0; i < HandleTable::kMaxIterators; ++i) Search();
  const ZR3FilterItemSet set{};
  handle = &number;
  EXPECT_EQ(tag3_query_tags_cond(-1, &set, 0, &handle), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(handle, nullptr);
}

TEST_F(TagSearch, PassesAFailureBetweenPagesOnAndGoesOnAfterIt) {
  AddTags(4);
  database->page_tags = 2;
  const ZR3HANDLE iterator = Search();
  EXPECT_EQ(Drain(iterator, 2), UpTo(2));
  database->on_call = [] { return Status(ZR3_ERR_STORAGE_FAILED, {}); };
  ZR3CommTagProp tag{};
  EXPECT_EQ(ut3_get_item_step(iterator, &tag), ZR3_ERR_STORAGE_FAILED);
  database->on_call = nullptr;
  EXPECT_EQ(Drain(iterator), UpTo(4, 3));
}

TEST_F(TagSearch, EndsForAThreadWhoseHandleAnotherOneFreed) {
  AddTags(50);
  database->page_tags = 2;
  for (int round = 0; round < 50; ++round) {
    const ZR3HANDLE iterator = Search();
    std::thread stepper([iterator] {
      ZR3CommTagProp tag{};
      int32 status = ZR3_OK;
      while (status == ZR3_OK) status = ut3_get_item_step(iterator, &tag);
      EXPECT_TRUE(status == ZR3_ERR_INVALID_HANDLE || status == ZR3_ERR_END_OF_ITERATION) << status;
    });
    EXPECT_EQ(ut3_free_handle(iterator), ZR3_OK);
    stepper.join();
    EXPECT_EQ(ut3_free_handle(iterator), ZR3_ERR_INVALID_HANDLE);
  }
}

TEST_F(TagSearch, EndsWithItsSession) {
  AddTags(3);
  const ZR3HANDLE iterator = Search();
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  SetUp();
  ZR3CommTagProp tag{};
  EXPECT_EQ(ut3_get_item_step(iterator, &tag), ZR3_ERR_INVALID_HANDLE);
}

// ---- all tags at once ----

class AllTags : public TagSearch {
 protected:
  int32 QueryAll() { return tag3_query_all_tags_prop(kBasic, &number, 9, &props, 0); }

  ZR3CommTagProp* props = nullptr;
};

TEST_F(AllTags, AreHandedOutAsOneArray) {
  AddTags(7);
  database->page_tags = 3;
  ASSERT_EQ(QueryAll(), ZR3_OK);
  ASSERT_EQ(number, 7);
  for (uint32 i = 0; i < 7; ++i) {
    EXPECT_EQ(props[i].nTagID, i + 1);
    EXPECT_EQ(props[i].szTagName, "T" + std::to_string(i + 1));
  }
  EXPECT_EQ(tag3_free_all_tags_prop(props), ZR3_OK);
  EXPECT_EQ(database->last_list().class_mask, kBasic);
  EXPECT_EQ(database->last_list().mask, 9);
  EXPECT_EQ(database->last_list().snapshot, 77U) << "later pages are of the first one's instant";
}

TEST_F(AllTags, MayBeNone) {
  ASSERT_EQ(QueryAll(), ZR3_OK);
  EXPECT_EQ(number, 0);
  EXPECT_NE(props, nullptr);
  EXPECT_EQ(tag3_free_all_tags_prop(props), ZR3_OK);
  EXPECT_EQ(tag3_free_all_tags_prop(nullptr), ZR3_OK);
}

TEST_F(AllTags, LeaveTheOutputsAloneWhenTheyCannotBeHandedOut) {
  AddTags(3);
  number = -5;
  for (const std::int64_t more : {kMaxListedTags, std::int64_t{-4}}) {
    database->listed_more = more;
    EXPECT_EQ(QueryAll(), ZR3_ERR_OUT_OF_MEMORY);
  }
  for (const std::int64_t more : {1, -1}) {  // it is not what it says
    database->listed_more = more;
    EXPECT_EQ(QueryAll(), ZR3_ERR_INTERNAL);
  }
  database->listed_more = 0;
  database->on_call = [] { return Status(ZR3_ERR_OUT_OF_MEMORY, {}); };
  EXPECT_EQ(QueryAll(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(number, -5);
  EXPECT_EQ(props, nullptr);
}

TEST_F(AllTags, PassAFailureOfALaterPageOn) {
  AddTags(3);
  database->page_tags = 1;
  int calls = 0;
  database->on_call = [&calls] {
    return ++calls < 3 ? Status() : Status(ZR3_ERR_INVALID_HANDLE, {});
  };
  EXPECT_EQ(QueryAll(), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(props, nullptr);
}

}  // namespace
}  // namespace zervane
