#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

constexpr ZR3TimeRegion kAll = {{0, 0}, {-1, 999}, 1, 1};

class Archive : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    number = database->Add("number", TagType::kInt32);
    text = database->Add("text", TagType::kString);
    for (int32 second = 1; second <= 5; ++second) {
      Write(number, second * 1000, std::int32_t{second});
      Write(text, second * 1000, std::string(static_cast<std::size_t>(second), 'x'));
    }
  }

  void Write(TagId tag, std::int64_t time_ms, const Value& value) {
    const TagType type = tag == number ? TagType::kInt32 : TagType::kString;
    std::vector<int32> codes(1);
    ASSERT_TRUE(database
                    ->Write({{.tag = tag,
                              .sample = {.time_ms = time_ms,
                                         .quality = ZR3_QUALITY_GOOD,
                                         .type = type,
                                         .value = value}}},
                            WriteOrder::kInOrder, WriteAnswer::kDurable, codes)
                    .ok());
  }

  // The seconds of what is read of `number` with room for `capacity`.
  std::vector<int32> Read(const ZR3TimeRegion& region, int32 capacity) {
    std::vector<ZR3Record> records(static_cast<std::size_t>(capacity));
    int32 count = capacity;
    EXPECT_EQ(ar3_query_raw_records(number, &region, &count, records.data()), ZR3_OK);
    return Seconds(records, count);
  }

  std::vector<int32> ReadFrom(ZR3Time start, bool8 backward, int32 capacity) {
    std::vector<ZR3Record> records(static_cast<std::size_t>(capacity));
    int32 count = capacity;
    EXPECT_EQ(ar3_query_specify_num_raw_recs(number, &start, backward, &count, records.data()),
              ZR3_OK);
    return Seconds(records, count);
  }

  static std::vector<int32> Seconds(const std::vector<ZR3Record>& records, int32 count) {
    std::vector<int32> seconds;
    for (int32 i = 0; i < count; ++i) {
      const ZR3Record& record = records[static_cast<std::size_t>(i)];
      EXPECT_EQ(record.value.nInt32, record.nSec);
      EXPECT_EQ(record.nTagType, ZR3_TAG_TYPE_INT32);
      seconds.push_back(record.nSec);
    }
    return seconds;
  }

  TagId number = 0;
  TagId text = 0;
};

TEST_F(Archive, CountsTheRecordsOfARegion) {
  int32 count = -7;
  EXPECT_EQ(ar3_query_raw_records_number(number, &kAll, &count), ZR3_OK);
  EXPECT_EQ(count, 5);
  const ZR3TimeRegion open{{1, 0}, {5, 0}, 0, 0};
  EXPECT_EQ(ar3_query_raw_records_number(number, &open, &count), ZR3_OK);
  EXPECT_EQ(count, 3);
}

TEST_F(Archive, CountsNoFurtherThanTheCallersIntegerGoes) {
  database->CountAs(int64{INT32_MAX} + 1);
  int32 count = 0;
  EXPECT_EQ(ar3_query_raw_records_number(number, &kAll, &count), ZR3_OK);
  EXPECT_EQ(count, INT32_MAX);
}

TEST_F(Archive, ReadsOldestFirst) {
  EXPECT_EQ(Read(kAll, 10), (std::vector<int32>{1, 2, 3, 4, 5}));
}

TEST_F(Archive, HonoursTheEndsOfARegion) {
  EXPECT_EQ(Read({{2, 0}, {4, 0}, 1, 1}, 10), (std::vector<int32>{2, 3, 4}));
  EXPECT_EQ(Read({{2, 0}, {4, 0}, 0, 1}, 10), (std::vector<int32>{3, 4}));
  EXPECT_EQ(Read({{2, 0}, {4, 0}, 1, 0}, 10), (std::vector<int32>{2, 3}));
  EXPECT_EQ(Read({{1, 999}, {4, 1}, 0, 0}, 10), (std::vector<int32>{2, 3, 4}));
  EXPECT_EQ(Read({{2, 0}, {2, 0}, 1, 1}, 10), (std::vector<int32>{2}));
  EXPECT_EQ(Read({{2, 0}, {2, 0}, 0, 0}, 10), std::vector<int32>());
}

TEST_F(Archive, FillsNoMoreThanTheCapacity) {
  EXPECT_EQ(Read(kAll, 2), (std::vector<int32>{1, 2}));
  EXPECT_EQ(Read(kAll, 5), (std::vector<int32>{1, 2, 3, 4, 5}));
  int32 none = 0;
  EXPECT_EQ(ar3_query_raw_records(number, &kAll, &none, nullptr), ZR3_OK);
  EXPECT_EQ(none, 0);
}

TEST_F(Archive, NeedsNoMemoryForACapacityThatIsNotUsed) {
  std::vector<ZR3Record> records(5);
  int32 count = INT32_MAX;  // more than the caller has, yet never used
  ASSERT_EQ(ar3_query_raw_records(number, &kAll, &count, records.data()), ZR3_OK);
  EXPECT_EQ(count, 5);
}

TEST_F(Archive, ReadsFromATimeInEitherDirection) {
  EXPECT_EQ(ReadFrom({3, 0}, 0, 10), (std::vector<int32>{3, 4, 5}));
  EXPECT_EQ(ReadFrom({3, 0}, 1, 10), (std::vector<int32>{3, 2, 1}));
  EXPECT_EQ(ReadFrom({3, 0}, 2, 2), (std::vector<int32>{3, 2})) << "every flag but 0 is true";
  EXPECT_EQ(ReadFrom({3, 0}, -128, 1), std::vector<int32>{3});
  EXPECT_EQ(ReadFrom({3, 1}, 0, 2), (std::vector<int32>{4, 5}));
  EXPECT_EQ(ReadFrom({2, 999}, 1, 10), (std::vector<int32>{2, 1}));
  EXPECT_EQ(ReadFrom({-1, 999}, 0, 10), std::vector<int32>());
  EXPECT_EQ(ReadFrom({-1, 999}, 1, 1), std::vector<int32>{5});
  int32 none = 0;
  const ZR3Time start{3, 0};
  EXPECT_EQ(ar3_query_specify_num_raw_recs(number, &start, 0, &none, nullptr), ZR3_OK);
}

TEST_F(Archive, PutsTextsIntoTheCallersBuffers) {
  constexpr std::size_t kSlot = 1000;
  std::string block(3 * kSlot, '#');
  std::vector<ZR3Record> records(3);  // their type is not set: the buffer alone counts
  for (std::size_t i = 0; i < records.size(); ++i) {
    records[i].value.strBlob = {&block[i * kSlot], kSlot};
  }
  int32 count = 3;
  ASSERT_EQ(ar3_query_raw_records(text, &kAll, &count, records.data()), ZR3_OK);
  ASSERT_EQ(count, 3);
  EXPECT_STREQ(records[0].value.strBlob.pBuf, "x");
  EXPECT_STREQ(records[2].value.strBlob.pBuf, "xxx");
  EXPECT_EQ(records[2].value.strBlob.nLenBuf, 4);
  EXPECT_EQ(records[2].nTagType, ZR3_TAG_TYPE_STRING);
}

TEST_F(Archive, RefusesTextsWithoutOrBeyondABuffer) {
  std::vector<ZR3Record> records(5);
  int32 count = 5;
  EXPECT_EQ(ar3_query_raw_records(text, &kAll, &count, records.data()), ZR3_ERR_TYPE_MISMATCH);
  std::string block(5, '#');
  for (std::size_t i = 0; i < records.size(); ++i) records[i].value.strBlob = {&block[i], 1};
  count = 5;
  EXPECT_EQ(ar3_query_raw_records(text, &kAll, &count, records.data()), ZR3_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(block, "#####");
}

TEST_F(Archive, RefusesTagsThatAreNone) {
  ZR3Record record{};
  int32 count = 1;
  const ZR3Time start{1, 0};
  for (const uint32 id : {0U, 99U}) {
    EXPECT_EQ(ar3_query_raw_records_number(id, &kAll, &count), ZR3_ERR_TAG_NOT_FOUND);
    EXPECT_EQ(ar3_query_raw_records(id, &kAll, &count, &record), ZR3_ERR_TAG_NOT_FOUND);
    EXPECT_EQ(ar3_query_specify_num_raw_recs(id, &start, 0, &count, &record),
              ZR3_ERR_TAG_NOT_FOUND);
  }
}

TEST_F(Archive, RefusesTimesAndRegionsThatAreNone) {
  ZR3Record record{};
  int32 count = 1;
  struct {
    ZR3TimeRegion region;
    int32 status;
  } const cases[] = {{{{1, 1000}, {2, 0}, 1, 1}, ZR3_ERR_INVALID_TIME},
                     {{{1, 0}, {2, -1}, 1, 1}, ZR3_ERR_INVALID_TIME},
                     {{{2, 1}, {2, 0}, 1, 1}, ZR3_ERR_INVALID_REGION}};
  for (const auto& [region, status] : cases) {
    EXPECT_EQ(ar3_query_raw_records_number(number, &region, &count), status);
    EXPECT_EQ(ar3_query_raw_records(number, &region, &count, &record), status);
  }
  const ZR3Time start{1, 1000};
  EXPECT_EQ(ar3_query_specify_num_raw_recs(number, &start, 0, &count, &record),
            ZR3_ERR_INVALID_TIME);
}

TEST_F(Archive, RefusesNegativeCapacities) {
  ZR3Record record{};
  const ZR3Time start{1, 0};
  for (const int32 capacity : {-1, INT32_MIN}) {
    int32 count = capacity;
    EXPECT_EQ(ar3_query_raw_records(number, &kAll, &count, &record), ZR3_ERR_INVALID_COUNT);
    EXPECT_EQ(ar3_query_specify_num_raw_recs(number, &start, 0, &count, &record),
              ZR3_ERR_INVALID_COUNT);
  }
}

TEST_F(Archive, PassesTheDatabasesFailureOn) {
  database->on_call = [] { return Status(ZR3_ERR_STORAGE_DAMAGED, {}); };
  ZR3Record record{};
  int32 count = 1;
  EXPECT_EQ(ar3_query_raw_records_number(number, &kAll, &count), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ(ar3_query_raw_records(number, &kAll, &count, &record), ZR3_ERR_STORAGE_DAMAGED);
}

}  // namespace
}  // namespace zervane
