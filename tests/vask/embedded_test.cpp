// A value's way through the exported functions and the embedded database, and back.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/case_name.h"
#include "vask/records.h"
#include "zervane.h"

namespace zervane {
namespace {

struct TypeCase {
  const char* name;
  ZR3_TAG_TYPE type;
};

class EmbeddedDatabase : public testing::TestWithParam<TypeCase> {
 protected:
  static constexpr int32 kRecords = 5;
  static constexpr std::size_t kSlot = ZR3_LEN_VALUE;

  void SetUp() override {
    char pattern[] = "/tmp/zervane-embedded-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder = pattern;
    Connect();
    ZR3PtTagProp tag{};
    std::strcpy(tag.szTagName, "tag");
    tag.nTagType = GetParam().type;
    const ZR3Mask mask{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, .nExtMask = 0};
    ASSERT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
  }

  void TearDown() override {
    (void)nt3_disconnect();
    std::filesystem::remove_all(folder);
  }

  void Connect() {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, ("embedded:" + folder.string()).c_str());
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
  }

  // The i-th record to write; its slot of `block` is its buffer.
  ZR3Record Record(int32 i, std::string& block) {
    const std::string text(static_cast<std::size_t>(i) * 200 - 1, static_cast<char>('a' + i));
    char* slot = &block[static_cast<std::size_t>(i - 1) * kSlot];
    std::memcpy(slot, text.c_str(), text.size() + 1);
    ZR3Record record{};
    record.nSec = i;
    record.nMsec = static_cast<int16>(i);
    record.nQuality = static_cast<uint16>(i);
    record.nTagType = GetParam().type;
    record.value = {.nInt8 = static_cast<int8>(-i),
                    .nInt16 = static_cast<int16>(-i * 1000),
                    .nInt32 = -i * 1'000'000,
                    .fFloat32 = static_cast<float32>(i) / 4,
                    .fFloat64 = i * 1e100,
                    .nDigital = static_cast<int8>(i),
                    .strBlob = {slot, static_cast<uint16>(text.size() + 1)}};
    return record;
  }

  std::vector<ZR3Record> Records(std::string& block) {
    std::vector<ZR3Record> records;
    for (int32 i = 1; i <= kRecords; ++i) records.push_back(Record(i, block));
    return records;
  }

  static std::vector<ZR3Record> Empty(std::string& block) {
    std::vector<ZR3Record> records(kRecords);
    for (std::size_t i = 0; i < records.size(); ++i) {
      records[i].nTagType = GetParam().type;
      records[i].value.strBlob = {&block[i * kSlot], kSlot};
    }
    return records;
  }

  static void ExpectSame(const ZR3Record& read, const ZR3Record& written) {
    SampleColumns got;
    SampleColumns expected;
    ASSERT_TRUE(AddRecord(read, TextsOfThisThread(), &got).ok());
    ASSERT_TRUE(AddRecord(written, TextsOfThisThread(), &expected).ok());
    EXPECT_EQ(got, expected) << "at " << written.nSec << " s";
  }

  std::filesystem::path folder;
  uint32 id = 0;
  std::string written_block = std::string(kRecords * kSlot, '#');
  std::string read_block = std::string(kRecords * kSlot, '#');
};

TEST_P(EmbeddedDatabase, GivesEveryTypeBackAsItWasWritten) {
  const std::vector<ZR3Record> written = Records(written_block);
  ASSERT_EQ(sn3_save_disorder_snapshots(kRecords, id, written.data(), nullptr), ZR3_OK);
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  Connect();

  std::vector<ZR3Record> read = Empty(read_block);
  ASSERT_EQ(sn3_query_snapshot(id, &read[0]), ZR3_OK);
  ExpectSame(read[0], written.back());

  read = Empty(read_block);
  const ZR3TimeRegion all{{0, 0}, {-1, 999}, 1, 1};
  int32 count = INT32_MAX;  // a capacity alone takes no memory
  ASSERT_EQ(ar3_query_raw_records(id, &all, &count, read.data()), ZR3_OK);
  ASSERT_EQ(count, kRecords);
  for (std::size_t i = 0; i < read.size(); ++i) ExpectSame(read[i], written[i]);

  read = Empty(read_block);
  const ZR3Time start{4, 4};
  count = 2;
  ASSERT_EQ(ar3_query_specify_num_raw_recs(id, &start, 1, &count, read.data()), ZR3_OK);
  ASSERT_EQ(count, 2);
  ExpectSame(read[0], written[3]);
  ExpectSame(read[1], written[2]);
}

TEST_P(EmbeddedDatabase, RefusesValuesOfEveryOtherType) {
  for (ZR3_TAG_TYPE type = ZR3_TAG_TYPE_MIN; type <= ZR3_TAG_TYPE_MAX; ++type) {
    ZR3Record record = Record(1, written_block);
    record.nTagType = type;
    EXPECT_EQ(sn3_save_snapshot(id, &record),
              type == GetParam().type ? ZR3_OK : ZR3_ERR_TYPE_MISMATCH)
        << type;
  }
}

TEST_P(EmbeddedDatabase, ForgetsADeletedTag) {
  const std::vector<ZR3Record> written = Records(written_block);
  ASSERT_EQ(sn3_save_disorder_snapshots(kRecords, id, written.data(), nullptr), ZR3_OK);
  ASSERT_EQ(tag3_delete_tag(id), ZR3_OK);
  std::vector<ZR3Record> read = Empty(read_block);
  const ZR3TimeRegion all{{0, 0}, {-1, 999}, 1, 1};
  int32 count = kRecords;
  ZR3_TAG_TYPE type = 0;
  EXPECT_EQ(sn3_query_snapshot(id, &read[0]), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(sn3_save_snapshot(id, &written[0]), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(ar3_query_raw_records(id, &all, &count, read.data()), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(ar3_query_raw_records_number(id, &all, &count), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(pt3_query_tag_type(id, &type), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(tag3_query_id_by_name("tag", &id), ZR3_ERR_NAME_NOT_FOUND);
}

INSTANTIATE_TEST_SUITE_P(Types, EmbeddedDatabase,
                         testing::Values(TypeCase{"Int8", ZR3_TAG_TYPE_INT8},
                                         TypeCase{"Int16", ZR3_TAG_TYPE_INT16},
                                         TypeCase{"Int32", ZR3_TAG_TYPE_INT32},
                                         TypeCase{"Float32", ZR3_TAG_TYPE_FLOAT32},
                                         TypeCase{"Float64", ZR3_TAG_TYPE_FLOAT64},
                                         TypeCase{"Digital", ZR3_TAG_TYPE_DIGITAL},
                                         TypeCase{"String", ZR3_TAG_TYPE_STRING},
                                         TypeCase{"Blob", ZR3_TAG_TYPE_BLOB}),
                         CaseName());

}  // namespace
}  // namespace zervane
