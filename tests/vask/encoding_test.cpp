// The exported functions in a process whose encoding is GBK.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "zervane.h"

namespace zervane {
namespace {

class GbkProcess : public testing::Environment {
 public:
  void SetUp() override { setenv("ZERVANE_ENCODING", "GBK", 1); }
};

const auto* const gbk_process = testing::AddGlobalTestEnvironment(new GbkProcess);

constexpr const char* kHan = "\xB2\xE2\xB5\xE3";  // two characters
constexpr ZR3Mask kNothing = {.nCommMask = 0, .nExtMask = 0};
constexpr ZR3Mask kTypeAndUnits = {.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE |
                                                int64{1} << ZR3_TAG_COL_COMM_PROP_ENG_UNITS,
                                   .nExtMask = 0};

class GbkClient : public testing::Test {
 protected:
  void SetUp() override {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, "memory:");
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
  }

  void TearDown() override { EXPECT_EQ(nt3_disconnect(), ZR3_OK); }

  static int32 Add(const char* name, uint32* id, const char* units = "") {
    ZR3PtTagProp tag{};
    std::strcpy(tag.szTagName, name);
    std::strcpy(tag.szEngUnits, units);
    tag.nTagType = ZR3_TAG_TYPE_STRING;
    return pt3_add_tag(&tag, &kTypeAndUnits, nullptr, id);
  }

  uint32 id = 0;
  uint32 found = 0;
};

TEST_F(GbkClient, NamesTheSourceAndTargetOfAnAlarmTagInItsOwnEncoding) {
  ZR3PtTagProp source{};
  std::strcpy(source.szTagName, kHan);
  ASSERT_EQ(pt3_add_tag(&source, &kNothing, nullptr, &id), ZR3_OK);
  ZR3AlarmTagProp alarm{};
  std::strcpy(alarm.szTagName, "ALARM");
  std::strcpy(alarm.szSourceTagName, kHan);
  std::strcpy(alarm.szTest1, "HIGH > 5");
  const std::string action = std::string("SET '") + kHan + "' 5";
  std::strcpy(alarm.szAction1, action.c_str());
  const ZR3Mask own{.nCommMask = 0, .nExtMask = -1};
  ASSERT_EQ(am3_add_tag(&alarm, &own, nullptr, &found), ZR3_OK);
  ZR3AlarmTagProp stored{};
  ASSERT_EQ(am3_query_tag_prop(found, &stored), ZR3_OK);
  EXPECT_STREQ(stored.szSourceTagName, kHan);
  EXPECT_EQ(stored.szAction1, action);
}

TEST_F(GbkClient, FindsATagByTheNameItWasGiven) {
  ASSERT_EQ(Add(kHan, &id, kHan), ZR3_OK);
  for (int i = 0; i < 2; ++i) {  // the second time it is remembered
    ASSERT_EQ(tag3_query_id_by_name(kHan, &found), ZR3_OK);
    EXPECT_EQ(found, id);
  }
  ZR3PtTagProp tag{};
  ASSERT_EQ(pt3_query_tag_prop(id, &tag), ZR3_OK);
  EXPECT_STREQ(tag.szTagName, kHan);
  EXPECT_STREQ(tag.szEngUnits, kHan);
}

// The second bytes of these two characters are 'A' and 'a'.
TEST_F(GbkClient, TellsCharactersApartWhoseBytesLookLikeLetters) {
  uint32 other = 0;
  ASSERT_EQ(Add("\x81\x41", &id), ZR3_OK);
  EXPECT_EQ(Add("\x81\x61", &other), ZR3_OK);
  EXPECT_EQ(tag3_query_id_by_name("\x81\x61", &found), ZR3_OK);
  EXPECT_EQ(found, other);
  EXPECT_EQ(Add("Letters", &found), ZR3_OK);
  EXPECT_EQ(Add("lETTERS", &found), ZR3_ERR_TAG_EXISTS);
}

TEST_F(GbkClient, IsToldOfTextsThatAreNone) {
  EXPECT_EQ(Add("\xB2", &id), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(Add("name", &id, "\xB2"), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(tag3_query_id_by_name("name", &found), ZR3_ERR_NAME_NOT_FOUND) << "it was added";
  EXPECT_EQ(tag3_query_id_by_name("\xB2", &found), ZR3_ERR_INVALID_TEXT);

  char names[3][ZR3_LEN_TAG_NAME] = {"\xB2", "no such tag", ""};
  std::memset(names[2], 'x', sizeof names[2]);
  uint32 ids[3] = {7, 8, 9};
  int32 codes[3] = {};
  EXPECT_EQ(tag3_query_ids_by_names(3, names[0], ids, codes), ZR3_ERR_SOME_NAMES_FAILED);
  EXPECT_EQ(codes[0], ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(codes[1], ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(codes[2], ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(ids[0], 7U);
}

TEST_F(GbkClient, GetsItsStringsBack) {
  ASSERT_EQ(Add("strings", &id), ZR3_OK);
  std::string text = kHan;
  ZR3Record record{};
  record.nSec = 1;
  record.nTagType = ZR3_TAG_TYPE_STRING;
  record.value.strBlob = {text.data(), static_cast<uint16>(text.size() + 1)};
  ASSERT_EQ(sn3_save_snapshot(id, &record), ZR3_OK);
  std::string invalid = "\xB2";
  record.nSec = 2;
  record.value.strBlob = {invalid.data(), 2};
  EXPECT_EQ(sn3_save_snapshot(id, &record), ZR3_ERR_INVALID_TEXT);

  char buffer[16];
  record.value.strBlob = {buffer, 5};
  ASSERT_EQ(sn3_query_snapshot(id, &record), ZR3_OK);
  EXPECT_EQ(record.nSec, 1);
  EXPECT_STREQ(buffer, kHan);
  EXPECT_EQ(record.value.strBlob.nLenBuf, 5);
  record.value.strBlob = {buffer, 4};
  EXPECT_EQ(sn3_query_snapshot(id, &record), ZR3_ERR_BUFFER_TOO_SMALL) << "4 bytes and their end";
  record.value.strBlob = {buffer, 16};
  int32 count = 1;
  const ZR3TimeRegion all{{0, 0}, {-1, 999}, 1, 1};
  ASSERT_EQ(ar3_query_raw_records(id, &all, &count, &record), ZR3_OK);
  EXPECT_EQ(count, 1);
  EXPECT_STREQ(buffer, kHan);
}

TEST_F(GbkClient, NamesItsFoldersByTheBytesItGives) {
  ZR3PtTagProp tag{};
  EXPECT_EQ(pt3_add_tag(&tag, &kNothing, nullptr, &id), ZR3_ERR_INVALID_TAG_NAME);
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  const std::string folder = testing::TempDir() + "gbk-\xB2\xE2-\xB2";  // the last is no character
  ZR3Connection connection{};
  std::strcpy(connection.szAddress, ("embedded:" + folder).c_str());
  ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
  EXPECT_EQ(nt3_disconnect(), ZR3_OK);
  EXPECT_EQ(std::system(("rm -r '" + folder + "'").c_str()), 0) << "no such folder";
  SetUp();
}

}  // namespace
}  // namespace zervane
