// Searches through the exported functions of a volatile database.

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/case_name.h"
#include "zervane.h"

namespace zervane {
namespace {

class EmbeddedSearch : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, "memory:");
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
    for (int i = 1; i <= kTags; ++i) {
      ZR3PtTagProp tag{};
      std::strcpy(tag.szTagName, ("T" + std::to_string(i) + (i % 2 == 0 ? ".PV" : ".SP")).c_str());
      std::strcpy(tag.szDescriptor, i % 3 == 0 ? "\xE6\xB5\x8B\xE7\x82\xB9" : "reactor");
      std::strcpy(tag.szDeviceName, "PLC 4");
      tag.fSpan = static_cast<float>(i);
      const ZR3Mask mask{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_DESCRIPTOR |
                                      int64{1} << ZR3_TAG_COL_COMM_PROP_SPAN,
                         .nExtMask = int64{1} << 4};
      uint32 id = 0;
      ASSERT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
      ASSERT_EQ(id, static_cast<uint32>(i));
    }
  }

  static void TearDownTestSuite() { EXPECT_EQ(nt3_disconnect(), ZR3_OK); }

  static constexpr int kTags = 2'500;  // more than two pages
};

TEST_F(EmbeddedSearch, GoesThroughAllPagesOfWhatItFinds) {
  ZR3FilterItem items[] = {{ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3_RELATION_LIKE, "t*.pv"},
                           {ZR3_TAG_COL_COMM_PROP_SPAN, ZR3_RELATION_GREAT, "100"}};
  const ZR3FilterItemSet set{.nSize = 2, .pItem = items};
  int32 number = 0;
  ASSERT_EQ(tag3_query_tag_num_cond(ZR3_TAG_CLASS_BASIC, &set, &number), ZR3_OK);
  EXPECT_EQ(number, 1'200);
  const ZR3Mask all{.nCommMask = -1, .nExtMask = -1};
  ZR3HANDLE iterator = nullptr;
  ASSERT_EQ(pt3_query_tags_cond(&set, &all, &iterator), ZR3_OK);
  for (uint32 id = 102; id <= kTags; id += 2) {
    ZR3PtTagProp tag{};
    ASSERT_EQ(ut3_get_item_step(iterator, &tag), ZR3_OK);
    ASSERT_EQ(tag.nTagID, id);
    ASSERT_STREQ(tag.szDeviceName, "PLC 4");
  }
  ZR3PtTagProp tag{};
  EXPECT_EQ(ut3_get_item_step(iterator, &tag), ZR3_ERR_END_OF_ITERATION);
  EXPECT_EQ(ut3_free_handle(iterator), ZR3_OK);
}

TEST_F(EmbeddedSearch, FillsWhatTheMaskSelectsAndAlwaysIdentifierAndName) {
  ZR3FilterItem item{ZR3_TAG_COL_COMM_PROP_DESCRIPTOR, ZR3_RELATION_EQUAL,
                     "\xE6\xB5\x8B\xE7\x82\xB9"};
  const ZR3PageQueryTagParam page{
      .itemSet = {.nSize = 1, .pItem = &item}, .mask = {}, .nStartID = 5, .nCapacity = 2};
  ZR3HANDLE iterator = nullptr;
  ASSERT_EQ(tag3_query_specify_page_tags_cond(-1, &page, &iterator), ZR3_OK);
  ZR3CommTagProp tag;
  std::memset(static_cast<void*>(&tag), 0xA5, sizeof tag);
  ASSERT_EQ(ut3_get_item_step(iterator, &tag), ZR3_OK);
  EXPECT_EQ(tag.nTagID, 6U);
  EXPECT_STREQ(tag.szTagName, "T6.PV");
  EXPECT_STREQ(tag.szDescriptor, "");
  EXPECT_EQ(tag.fSpan, 0);
  EXPECT_EQ(tag.bArchiving, 0);
  ASSERT_EQ(ut3_get_item_step(iterator, &tag), ZR3_OK);
  EXPECT_EQ(tag.nTagID, 9U);
  EXPECT_EQ(ut3_get_item_step(iterator, &tag), ZR3_ERR_END_OF_ITERATION);
  EXPECT_EQ(ut3_free_handle(iterator), ZR3_OK);
}

TEST_F(EmbeddedSearch, HandsOutAllTags) {
  int32 number = 0;
  ZR3CommTagProp* tags = nullptr;
  ASSERT_EQ(tag3_query_all_tags_prop(-1, &number, -1, &tags, 0), ZR3_OK);
  ASSERT_EQ(number, kTags);
  for (int i = 0; i < kTags; ++i) {
    ASSERT_EQ(tags[i].nTagID, static_cast<uint32>(i + 1));
    ASSERT_EQ(tags[i].fSpan, static_cast<float>(i + 1));
  }
  EXPECT_EQ(tag3_free_all_tags_prop(tags), ZR3_OK);
  ASSERT_EQ(tag3_query_all_tags_prop(int64{1} << ZR3_TAG_CLASS_CALC, &number, -1, &tags, 0),
            ZR3_OK);
  EXPECT_EQ(number, 0);
  EXPECT_EQ(tag3_free_all_tags_prop(tags), ZR3_OK);
}

// ---- bad input ----

struct BadCase {
  const char* name;
  int32 column;
  int32 relation;
  const char* value;
  ZR3_STATUS status;
};

class BadCondition : public EmbeddedSearch, public testing::WithParamInterface<BadCase> {};

TEST_P(BadCondition, IsRefusedByAllThatTakeIt) {
  ZR3FilterItem item{GetParam().column, GetParam().relation, ""};
  std::strcpy(item.szValue, GetParam().value);
  const ZR3FilterItemSet set{.nSize = 1, .pItem = &item};
  const ZR3Mask mask{};
  const ZR3PageQueryTagParam page{.itemSet = set, .mask = {}, .nStartID = 0, .nCapacity = 1};
  ZR3HANDLE iterator = &item;
  int32 number = -5;
  EXPECT_EQ(pt3_query_tags_cond(&set, &mask, &iterator), GetParam().status);
  EXPECT_EQ(iterator, nullptr);
  iterator = &item;
  EXPECT_EQ(tag3_query_tags_cond(-1, &set, 0, &iterator), GetParam().status);
  EXPECT_EQ(iterator, nullptr);
  iterator = &item;
  EXPECT_EQ(tag3_query_specify_page_tags_cond(-1, &page, &iterator), GetParam().status);
  EXPECT_EQ(iterator, nullptr);
  EXPECT_EQ(tag3_query_tag_num_cond(ZR3_TAG_CLASS_ALL, &set, &number), GetParam().status);
  EXPECT_EQ(number, -5);
}

INSTANTIATE_TEST_SUITE_P(
    Conditions, BadCondition,
    testing::Values(BadCase{"NoColumn", 255, ZR3_RELATION_EQUAL, "1", ZR3_ERR_INVALID_ARGUMENT},
                    BadCase{"NoRelation", 0, 7, "1", ZR3_ERR_INVALID_ARGUMENT},
                    BadCase{"LoneEscape", 0, ZR3_RELATION_LIKE, "a\\", ZR3_ERR_INVALID_ARGUMENT},
                    BadCase{"LikeOfNumbers", ZR3_TAG_COL_COMM_PROP_SPAN, ZR3_RELATION_LIKE, "1*",
                            ZR3_ERR_INVALID_ARGUMENT},
                    BadCase{"NoNumber", ZR3_TAG_COL_COMM_PROP_SPAN, ZR3_RELATION_LESS, "five",
                            ZR3_ERR_INVALID_ARGUMENT},
                    BadCase{"EmptyNumber", ZR3_TAG_COL_COMM_PROP_TAGID, ZR3_RELATION_EQUAL, "",
                            ZR3_ERR_INVALID_ARGUMENT},
                    BadCase{"NumberAndSpace", ZR3_TAG_COL_COMM_PROP_TAGID, ZR3_RELATION_EQUAL, " 5",
                            ZR3_ERR_INVALID_ARGUMENT},
                    BadCase{"InvalidUtf8", 0, ZR3_RELATION_EQUAL, "a\xFF", ZR3_ERR_INVALID_TEXT}),
    CaseName());

TEST_F(EmbeddedSearch, RefusesMasksWithStrayBits) {
  const ZR3FilterItemSet set{};
  ZR3HANDLE iterator = nullptr;
  int32 number = -5;
  ZR3CommTagProp* tags = nullptr;
  for (const int64 mask : {int64{1} << 36, int64{1} << 62, std::int64_t{-2}}) {
    const ZR3Mask common{.nCommMask = mask, .nExtMask = 0};
    const ZR3Mask extension{.nCommMask = 0, .nExtMask = mask};
    EXPECT_EQ(pt3_query_tags_cond(&set, &common, &iterator), ZR3_ERR_INVALID_MASK);
    EXPECT_EQ(pt3_query_tags_cond(&set, &extension, &iterator), ZR3_ERR_INVALID_MASK);
    EXPECT_EQ(tag3_query_tags_cond(-1, &set, mask, &iterator), ZR3_ERR_INVALID_MASK);
    EXPECT_EQ(tag3_query_all_tags_prop(-1, &number, mask, &tags, 0), ZR3_ERR_INVALID_MASK);
    const ZR3PageQueryTagParam page{
        .itemSet = set, .mask = extension, .nStartID = 0, .nCapacity = 1};
    EXPECT_EQ(tag3_query_specify_page_tags_cond(-1, &page, &iterator), ZR3_OK)
        << "a page's extension mask is not looked at";
    EXPECT_EQ(ut3_free_handle(iterator), ZR3_OK);
  }
  EXPECT_EQ(number, -5);
  EXPECT_EQ(tags, nullptr);
}

TEST_F(EmbeddedSearch, BeginsAPageAtAKeyThatNoTagHas) {
  for (const uint32 start : {uint32{kTags + 1}, UINT32_MAX}) {
    const ZR3PageQueryTagParam page{.itemSet = {}, .mask = {}, .nStartID = start, .nCapacity = 1};
    ZR3HANDLE iterator = nullptr;
    ASSERT_EQ(tag3_query_specify_page_tags_cond(-1, &page, &iterator), ZR3_OK);
    ZR3CommTagProp tag{};
    EXPECT_EQ(ut3_get_item_step(iterator, &tag), ZR3_ERR_END_OF_ITERATION);
    EXPECT_EQ(ut3_free_handle(iterator), ZR3_OK);
  }
}

}  // namespace
}  // namespace zervane
