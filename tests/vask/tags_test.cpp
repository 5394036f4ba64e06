// pt3, tag3 and cc3: tags, their names and the catalogue's version.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

constexpr ZR3Mask kNothing = {.nCommMask = 0, .nExtMask = 0};

ZR3PtTagProp Named(const char* name) {
  ZR3PtTagProp tag{};
  std::strcpy(tag.szTagName, name);
  return tag;
}

using PointTags = ConnectedTest;

TEST_F(PointTags, AreAddedFromWhatTheMasksSelect) {
  ZR3PtTagProp tag;
  std::memset(static_cast<void*>(&tag), 0xFF, sizeof tag);  // what is not selected is garbage
  std::strcpy(tag.szTagName, "A");
  tag.nTagType = ZR3_TAG_TYPE_INT16;
  tag.nScanGroupID = 7;
  const ZR3Mask mask{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE,
                     .nExtMask = int64{1} << 7};
  uint32 id = 0;
  ASSERT_EQ(pt3_add_tag(&tag, &mask, "some node", &id), ZR3_OK);
  EXPECT_EQ(id, 1U);

  Tag expected;
  expected.name = "A";
  expected.type = ZR3_TAG_TYPE_INT16;
  expected.point().scan_group_id = 7;
  EXPECT_EQ(database->last_properties(), expected);
  EXPECT_EQ(database->last_mask().common, mask.nCommMask | 1) << "the name always counts";
  EXPECT_EQ(database->last_mask().extension, mask.nExtMask);
}

TEST_F(PointTags, CanHaveTheirIdentifierPutIntoTheirOwnRecord) {
  ZR3PtTagProp tag = Named("A");
  ASSERT_EQ(pt3_add_tag(&tag, &kNothing, nullptr, &tag.nTagID), ZR3_OK);
  EXPECT_EQ(tag.nTagID, 1U);
}

TEST_F(PointTags, AreNotAddedTwice) {
  const ZR3PtTagProp tag = Named("A");
  uint32 id = 0;
  ASSERT_EQ(pt3_add_tag(&tag, &kNothing, nullptr, &id), ZR3_OK);
  EXPECT_EQ(pt3_add_tag(&tag, &kNothing, nullptr, &id), ZR3_ERR_TAG_EXISTS);
  EXPECT_EQ(id, 1U);
}

TEST_F(PointTags, AreNotAddedWithATextThatDoesNotEnd) {
  ZR3PtTagProp tag = Named("A");
  std::memset(tag.szDeviceName, 'x', sizeof tag.szDeviceName);
  const ZR3Mask mask{.nCommMask = -1, .nExtMask = -1};
  uint32 id = 0;
  EXPECT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(pt3_modify_tag_prop(1, &tag, &mask), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(database->calls(), 0);
}

TEST_F(PointTags, AreChangedAsTheMasksSay) {
  const TagId id = database->Add("A", TagType::kInt8);
  ZR3PtTagProp tag;
  std::memset(static_cast<void*>(&tag), 0xFF, sizeof tag);
  tag.fSpan = 50;
  const ZR3Mask mask{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_SPAN, .nExtMask = 0};
  ASSERT_EQ(pt3_modify_tag_prop(id, &tag, &mask), ZR3_OK);
  Tag expected;
  expected.span = 50;
  EXPECT_EQ(database->last_properties(), expected);
  EXPECT_EQ(database->last_mask().common, mask.nCommMask) << "the name does not count here";
}

TEST_F(PointTags, AreUnknownByOtherIdentifiers) {
  ZR3PtTagProp tag = Named("A");
  ZR3_TAG_TYPE type = 77;
  for (const uint32 id : {0U, 1U, UINT32_MAX}) {
    EXPECT_EQ(pt3_modify_tag_prop(id, &tag, &kNothing), ZR3_ERR_TAG_NOT_FOUND);
    EXPECT_EQ(pt3_query_tag_prop(id, &tag), ZR3_ERR_TAG_NOT_FOUND);
    EXPECT_EQ(pt3_query_tag_type(id, &type), ZR3_ERR_TAG_NOT_FOUND);
    EXPECT_EQ(tag3_delete_tag(id), ZR3_ERR_TAG_NOT_FOUND);
  }
  EXPECT_STREQ(tag.szTagName, "A");
  EXPECT_EQ(type, 77);
}

TEST_F(PointTags, ComeBackWhole) {
  const TagId id = database->Add("A", TagType::kString);
  ZR3PtTagProp tag;
  std::memset(static_cast<void*>(&tag), 0xFF, sizeof tag);
  ASSERT_EQ(pt3_query_tag_prop(id, &tag), ZR3_OK);
  EXPECT_STREQ(tag.szTagName, "A");
  EXPECT_EQ(tag.nTagID, id);
  EXPECT_EQ(tag.nTagType, ZR3_TAG_TYPE_STRING);
  EXPECT_STREQ(tag.szExtString2, "");
  EXPECT_EQ(tag.nDataOrder, ZR3_DATA_ORDER_NO);
}

TEST_F(PointTags, AreOfTheBasicClass) {
  Tag alarm;
  alarm.name = "A";
  alarm.tag_class = ZR3_TAG_CLASS_ALARM;
  const TagId id = *database->AddTag(alarm, PropertyMask());
  ZR3PtTagProp tag{};
  EXPECT_EQ(pt3_query_tag_prop(id, &tag), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(pt3_modify_tag_prop(id, &tag, &kNothing), ZR3_ERR_INVALID_TAG_CLASS);
  ZR3_TAG_TYPE type = 77;
  EXPECT_EQ(pt3_query_tag_type(id, &type), ZR3_OK) << "the type is told of every class";
  EXPECT_EQ(tag3_delete_tag(id), ZR3_OK) << "every class is deleted";
}

TEST_F(PointTags, TellTheirTypes) {
  for (int32 type = ZR3_TAG_TYPE_MIN; type <= ZR3_TAG_TYPE_MAX; ++type) {
    const TagId id = database->Add("type " + std::to_string(type), static_cast<TagType>(type));
    ZR3_TAG_TYPE told = 77;
    EXPECT_EQ(pt3_query_tag_type(id, &told), ZR3_OK);
    EXPECT_EQ(told, type);
  }
}

class Names : public ConnectedTest {
 protected:
  // A block of slots; what is behind a terminator is garbage.
  static std::vector<char> Slots(const std::vector<std::string>& names) {
    std::vector<char> slots(names.size() * ZR3_LEN_TAG_NAME, '#');
    for (std::size_t i = 0; i < names.size(); ++i) {
      std::memcpy(&slots[i * ZR3_LEN_TAG_NAME], names[i].c_str(),
                  std::min<std::size_t>(names[i].size() + 1, ZR3_LEN_TAG_NAME));
    }
    return slots;
  }
};

TEST_F(Names, LeadToTheirTags) {
  database->Add("A", TagType::kInt8);
  const TagId b = database->Add("B", TagType::kInt8);
  uint32 id = 0;
  EXPECT_EQ(tag3_query_id_by_name("B", &id), ZR3_OK);
  EXPECT_EQ(id, b);
}

TEST_F(Names, LeaveTheIdentifierAloneWhenTheyAreUnknown) {
  uint32 id = 9;
  EXPECT_EQ(tag3_query_id_by_name("A", &id), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(tag3_query_id_by_name("", &id), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(id, 9U);
}

TEST_F(Names, MayHave255Bytes) {
  const std::string longest(255, 'n');
  const TagId tag = database->Add(longest, TagType::kInt8);
  uint32 id = 0;
  EXPECT_EQ(tag3_query_id_by_name(longest.c_str(), &id), ZR3_OK);
  EXPECT_EQ(id, tag);
  EXPECT_EQ(tag3_query_id_by_name((longest + "n").c_str(), &id), ZR3_ERR_INVALID_TEXT);
}

TEST_F(Names, AreLookedUpTogether) {
  database->Add("A", TagType::kInt8);
  database->Add("B", TagType::kInt8);
  const std::vector<char> slots = Slots({"B", "A", std::string(255, 'x') + '\0', "B"});
  database->Add(std::string(255, 'x'), TagType::kInt8);
  std::vector<uint32> ids(4);
  std::vector<int32> codes(4, -7);
  EXPECT_EQ(tag3_query_ids_by_names(4, slots.data(), ids.data(), codes.data()), ZR3_OK);
  EXPECT_EQ(ids, (std::vector<uint32>{2, 1, 3, 2}));
  EXPECT_EQ(codes, (std::vector<int32>{0, 0, 0, 0}));
}

TEST_F(Names, FailOneByOneInABatch) {
  database->Add("A", TagType::kInt8);
  const std::vector<char> slots = Slots({"unknown", "A", std::string(256, 'x'), ""});
  std::vector<uint32> ids{11, 12, 13, 14};
  std::vector<int32> codes(4, -7);
  EXPECT_EQ(tag3_query_ids_by_names(4, slots.data(), ids.data(), codes.data()),
            ZR3_ERR_SOME_NAMES_FAILED);
  EXPECT_EQ(ids, (std::vector<uint32>{11, 1, 13, 14})) << "a failed one stays as it was";
  EXPECT_EQ(codes, (std::vector<int32>{ZR3_ERR_NAME_NOT_FOUND, ZR3_OK, ZR3_ERR_INVALID_TEXT,
                                       ZR3_ERR_NAME_NOT_FOUND}));
  EXPECT_EQ(tag3_query_ids_by_names(4, slots.data(), ids.data(), nullptr),
            ZR3_ERR_SOME_NAMES_FAILED);
}

TEST_F(Names, MayBeNone) {
  EXPECT_EQ(tag3_query_ids_by_names(0, nullptr, nullptr, nullptr), ZR3_OK);
}

TEST_F(Names, FollowTheCatalogue) {
  database->Add("A", TagType::kInt8);
  uint32 id = 0;
  ASSERT_EQ(tag3_query_id_by_name("A", &id), ZR3_OK);
  ASSERT_EQ(tag3_delete_tag(id), ZR3_OK);
  EXPECT_EQ(tag3_query_id_by_name("A", &id), ZR3_ERR_NAME_NOT_FOUND);
}

using Commands = ConnectedTest;

TEST_F(Commands, ReadTheCataloguesVersion) {
  database->Add("A", TagType::kInt8);
  database->Add("B", TagType::kInt8);
  char* reply = nullptr;
  ASSERT_EQ(cc3_cmd("cmdtype=read_version;", &reply), ZR3_OK);
  EXPECT_STREQ(reply, "tag_version=2;");
  EXPECT_EQ(std::string(reply).find('2'), 12U) << "callers skip 12 characters";
  EXPECT_EQ(cc3_cmd_free(reply), ZR3_OK);
}

TEST_F(Commands, AreUnknownOtherwise) {
  char* reply = nullptr;
  for (const char* command : {"", "cmdtype=read_version", "cmdtype=read_version; ",
                              "CMDTYPE=READ_VERSION;", "cmdtype=shutdown;", "\xFF"}) {
    EXPECT_EQ(cc3_cmd(command, &reply), ZR3_ERR_UNKNOWN_COMMAND) << command;
  }
}

TEST_F(Commands, PassTheDatabasesFailureOn) {
  database->on_call = [] { return Status(ZR3_ERR_STORAGE_FAILED, {}); };
  char* reply = nullptr;
  EXPECT_EQ(cc3_cmd("cmdtype=read_version;", &reply), ZR3_ERR_STORAGE_FAILED);
}

}  // namespace
}  // namespace zervane
