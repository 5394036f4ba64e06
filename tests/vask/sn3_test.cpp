#include <gtest/gtest.h>
#include <malloc.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/case_name.h"
#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

ZR3Record Int32Record(int32 seconds, int32 value) {
  ZR3Record record{};
  record.nSec = seconds;
  record.nQuality = ZR3_QUALITY_GOOD;
  record.nTagType = ZR3_TAG_TYPE_INT32;
  record.value.nInt32 = value;
  return record;
}

ZR3Record WithBuffer(ZR3_TAG_TYPE type, std::string& buffer) {
  ZR3Record record{};
  record.nTagType = type;
  record.value.strBlob = {buffer.data(), static_cast<uint16>(buffer.size())};
  return record;
}

class Snapshots : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    number = database->Add("number", TagType::kInt32);
    other = database->Add("other", TagType::kInt32);
    text = database->Add("text", TagType::kString);
  }

  void SaveText(const std::string& value) {
    std::string buffer = value + '\0';
    const ZR3Record record = WithBuffer(ZR3_TAG_TYPE_STRING, buffer);
    ASSERT_EQ(sn3_save_snapshot(text, &record), ZR3_OK);
  }

  TagId number = 0;
  TagId other = 0;
  TagId text = 0;
};

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// What the process has from the allocator; sanitizers have one of their own.
std::size_t BytesInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST_F(Snapshots, CostTheThreadNoLastingMemoryForABatchOfManyLongTexts) {
  constexpr int32 kCount = 10'000;
  std::string buffer(1'000, 'x');
  const std::vector<ZR3Record> records(kCount, WithBuffer(ZR3_TAG_TYPE_BLOB, buffer));
  const std::vector<uint32> ids(kCount, text);
  database->on_call = [] { return Status(ZR3_ERR_STORAGE_FULL, {}); };  // it keeps nothing
  const std::size_t before = BytesInUse();
  EXPECT_EQ(sn3_save_snapshots(kCount, ids.data(), records.data(), nullptr), ZR3_ERR_STORAGE_FULL);
  EXPECT_LT(BytesInUse(), before + (std::size_t{2} << 20)) << "of 10 MB";
}
#endif

TEST_F(Snapshots, ComeBackAsTheyWereWritten) {
  const ZR3Record written = Int32Record(-2, 42);
  ASSERT_EQ(sn3_save_snapshot(number, &written), ZR3_OK);
  ZR3Record read{};
  ASSERT_EQ(sn3_query_snapshot(number, &read), ZR3_OK);
  EXPECT_EQ(read.nSec, -2);
  EXPECT_EQ(read.nMsec, 0);
  EXPECT_EQ(read.nQuality, ZR3_QUALITY_GOOD);
  EXPECT_EQ(read.nTagType, ZR3_TAG_TYPE_INT32);
  EXPECT_EQ(read.value.nInt32, 42);
}

TEST_F(Snapshots, OfTextComeBackInTheCallersBuffer) {
  SaveText("abc");
  std::string buffer(1000, '#');
  ZR3Record read = WithBuffer(ZR3_TAG_TYPE_STRING, buffer);
  ASSERT_EQ(sn3_query_snapshot(text, &read), ZR3_OK);
  EXPECT_STREQ(read.value.strBlob.pBuf, "abc");
  EXPECT_EQ(read.value.strBlob.nLenBuf, 4);
  EXPECT_GT(read.nSec, 0) << "time 0 takes the database's clock";
}

TEST_F(Snapshots, OfTextDoNotComeWithoutABuffer) {
  SaveText("abc");
  ZR3Record read{};
  read.nTagType = ZR3_TAG_TYPE_STRING;
  EXPECT_EQ(sn3_query_snapshot(text, &read), ZR3_ERR_TYPE_MISMATCH);
}

// A record prepared for a number has no buffer, whatever stands where one would be.
TEST_F(Snapshots, OfTextLeaveARecordForANumberAlone) {
  SaveText("abc");
  ZR3Record read = Int32Record(7, 8);
  read.value.strBlob = {reinterpret_cast<char*>(std::intptr_t{0x5A5A5A5A}), 1000};
  EXPECT_EQ(sn3_query_snapshot(text, &read), ZR3_ERR_TYPE_MISMATCH);
  EXPECT_EQ(read.nSec, 7);
}

TEST_F(Snapshots, TooLongForTheBufferAreRefused) {
  SaveText("abc");
  std::string buffer(3, '#');
  ZR3Record read = WithBuffer(ZR3_TAG_TYPE_STRING, buffer);
  EXPECT_EQ(sn3_query_snapshot(text, &read), ZR3_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(buffer, "###");
}

TEST_F(Snapshots, DoNotExistBeforeTheFirstValue) {
  ZR3Record read{};
  EXPECT_EQ(sn3_query_snapshot(number, &read), ZR3_ERR_NO_RECORD);
}

TEST_F(Snapshots, AreUnknownByOtherIdentifiers) {
  ZR3Record record = Int32Record(1, 1);
  for (const uint32 id : {0U, 99U, UINT32_MAX}) {
    EXPECT_EQ(sn3_query_snapshot(id, &record), ZR3_ERR_TAG_NOT_FOUND);
    EXPECT_EQ(sn3_save_snapshot(id, &record), ZR3_ERR_TAG_NOT_FOUND);
  }
}

TEST_F(Snapshots, ComeTogetherWithACodeEach) {
  const ZR3Record written = Int32Record(5, 42);
  ASSERT_EQ(sn3_save_snapshot(number, &written), ZR3_OK);
  const uint32 ids[] = {number, 0, other, number, text};
  std::vector<ZR3Record> records(5, Int32Record(77, 77));
  std::vector<int32> codes(5, -7);
  EXPECT_EQ(sn3_query_snapshots(5, ids, records.data(), codes.data()), ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(codes, (std::vector<int32>{ZR3_OK, ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_NO_RECORD, ZR3_OK,
                                       ZR3_ERR_NO_RECORD}));
  EXPECT_EQ(records[0].value.nInt32, 42);
  EXPECT_EQ(records[3].value.nInt32, 42);
  for (const int failed : {1, 2, 4}) EXPECT_EQ(records[failed].nSec, 77) << "touched " << failed;
  EXPECT_EQ(sn3_query_snapshots(5, ids, records.data(), nullptr), ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(sn3_query_snapshots(1, ids, records.data(), nullptr), ZR3_OK);
}

TEST_F(Snapshots, MayBeNone) {
  EXPECT_EQ(sn3_query_snapshots(0, nullptr, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(sn3_save_snapshots(0, nullptr, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(sn3_save_snapshots_nowait(0, nullptr, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(sn3_save_disorder_snapshots(0, number, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(sn3_save_tags_disorder_snapshots(0, nullptr, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(database->calls(), 0);
}

// ---- writing, in every form ----

struct FormCase {
  const char* name;
  int32 (*save)(int32, const uint32*, const ZR3Record*, int32*);
  WriteOrder order;
  WriteAnswer answer;
};

int32 SaveOfOneTag(int32 count, const uint32* ids, const ZR3Record* records, int32* codes) {
  return sn3_save_disorder_snapshots(count, ids[0], records, codes);
}

int32 SaveOne(int32 count, const uint32* ids, const ZR3Record* records, int32* codes) {
  int32 result = ZR3_OK;
  for (int32 i = 0; i < count; ++i) {
    const int32 code = sn3_save_snapshot(ids[i], &records[i]);
    if (codes != nullptr) codes[i] = code;
    if (code != ZR3_OK) result = ZR3_ERR_SOME_RECORDS_FAILED;
  }
  return result;
}

class Form : public Snapshots, public testing::WithParamInterface<FormCase> {};

TEST_P(Form, AsksForItsOrderAndAnswer) {
  const ZR3Record record = Int32Record(1, 1);
  ASSERT_EQ(GetParam().save(1, &number, &record, nullptr), ZR3_OK);
  EXPECT_EQ(database->last_order(), GetParam().order);
  EXPECT_EQ(database->last_answer(), GetParam().answer);
  EXPECT_EQ(database->last_batch(),
            (std::vector<TagSample>{{.tag = number,
                                     .sample = {.time_ms = 1000,
                                                .quality = ZR3_QUALITY_GOOD,
                                                .type = TagType::kInt32,
                                                .value = std::int32_t{1}}}}));
}

TEST_P(Form, CarriesOutWhatIsRightBesideWhatIsWrong) {
  std::string unterminated = "abc";
  std::string too_long(1001, 'x');
  too_long.back() = '\0';
  std::vector<ZR3Record> records(7, Int32Record(1, 1));
  records[1].nMsec = 1000;
  records[2].nTagType = 99;
  records[3] = WithBuffer(ZR3_TAG_TYPE_STRING, unterminated);
  records[4] = WithBuffer(ZR3_TAG_TYPE_STRING, too_long);
  records[5].nTagType = ZR3_TAG_TYPE_INT8;
  records[6] = Int32Record(2, 2);
  const std::vector<uint32> ids(7, number);
  std::vector<int32> codes(7, -7);
  EXPECT_EQ(GetParam().save(7, ids.data(), records.data(), codes.data()),
            ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(codes, (std::vector<int32>{ZR3_OK, ZR3_ERR_INVALID_TIME, ZR3_ERR_TYPE_MISMATCH,
                                       ZR3_ERR_INVALID_TEXT, ZR3_ERR_VALUE_TOO_LONG,
                                       ZR3_ERR_TYPE_MISMATCH, ZR3_OK}));
  ZR3Record read{};
  ASSERT_EQ(sn3_query_snapshot(number, &read), ZR3_OK);
  EXPECT_EQ(read.value.nInt32, 2);
  EXPECT_EQ(*database->CountRecords(number, {}), 2);
}

TEST_P(Form, NeedsNoCodes) {
  std::vector<ZR3Record> records(3, Int32Record(1, 1));
  records[0].nMsec = -1;
  records[1].nTagType = ZR3_TAG_TYPE_BLOB;
  records[1].value.strBlob = {};
  const std::vector<uint32> ids(3, number);
  EXPECT_EQ(GetParam().save(3, ids.data(), records.data(), nullptr), ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(*database->CountRecords(number, {}), 1);
}

TEST_P(Form, AsksTheDatabaseNothingWhenNoRecordIsRight) {
  std::vector<ZR3Record> records(2, Int32Record(1, 1));
  for (ZR3Record& record : records) record.nMsec = 1000;
  const std::vector<uint32> ids(2, number);
  EXPECT_EQ(GetParam().save(2, ids.data(), records.data(), nullptr), ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(database->calls(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Save, Form,
    testing::Values(
        FormCase{"Single", SaveOne, WriteOrder::kInOrder, WriteAnswer::kDurable},
        FormCase{"Batch", sn3_save_snapshots, WriteOrder::kInOrder, WriteAnswer::kDurable},
        FormCase{"NoWait", sn3_save_snapshots_nowait, WriteOrder::kInOrder, WriteAnswer::kQueued},
        FormCase{"DisorderOfOneTag", SaveOfOneTag, WriteOrder::kAnyOrder, WriteAnswer::kDurable},
        FormCase{"DisorderOfManyTags", sn3_save_tags_disorder_snapshots, WriteOrder::kAnyOrder,
                 WriteAnswer::kDurable}),
    CaseName());

TEST_F(Snapshots, GoToTheTagBesideThem) {
  const std::vector<ZR3Record> records = {Int32Record(1, 10), Int32Record(1, 20),
                                          Int32Record(2, 11)};
  const uint32 ids[] = {number, other, number};
  ASSERT_EQ(sn3_save_snapshots(3, ids, records.data(), nullptr), ZR3_OK);
  ZR3Record read{};
  ASSERT_EQ(sn3_query_snapshot(number, &read), ZR3_OK);
  EXPECT_EQ(read.value.nInt32, 11);
  ASSERT_EQ(sn3_query_snapshot(other, &read), ZR3_OK);
  EXPECT_EQ(read.value.nInt32, 20);
}

TEST_F(Snapshots, OlderThanTheCurrentValueAreRefusedInOrder) {
  const std::vector<ZR3Record> records = {Int32Record(5, 5), Int32Record(4, 4)};
  const uint32 ids[] = {number, number};
  std::vector<int32> codes(2, -7);
  EXPECT_EQ(sn3_save_snapshots(2, ids, records.data(), codes.data()), ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(codes, (std::vector<int32>{ZR3_OK, ZR3_ERR_OUT_OF_ORDER}));
  EXPECT_EQ(sn3_save_snapshot(number, &records[1]), ZR3_ERR_OUT_OF_ORDER);
  EXPECT_EQ(sn3_save_disorder_snapshots(2, number, records.data(), codes.data()), ZR3_OK);
  EXPECT_EQ(codes, (std::vector<int32>{ZR3_OK, ZR3_OK}));
}

TEST_F(Snapshots, TellWhenTheStoreFails) {
  database->FailWrites(ZR3_ERR_STORAGE_FULL);
  std::vector<ZR3Record> records(3, Int32Record(1, 1));
  records[0].nMsec = 1000;
  const uint32 ids[] = {number, 0, number};
  std::vector<int32> codes(3, -7);
  EXPECT_EQ(sn3_save_snapshots(3, ids, records.data(), codes.data()), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(codes, (std::vector<int32>{ZR3_ERR_INVALID_TIME, ZR3_ERR_TAG_NOT_FOUND,
                                       ZR3_ERR_STORAGE_FULL}));
  EXPECT_EQ(sn3_save_snapshot(number, &records[1]), ZR3_ERR_STORAGE_FULL);
}

}  // namespace
}  // namespace zervane
