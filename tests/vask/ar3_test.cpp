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

// ---- values at instants ----

class Interpolation : public Archive {
 protected:
  static std::vector<ZR3Record> At(const std::vector<ZR3Time>& instants) {
    std::vector<ZR3Record> records(instants.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
      records[i].nSec = instants[i].nSec;
      records[i].nMsec = instants[i].nMsec;
      records[i].nTagType = kNoType;  // nothing but the time, and the buffer, is looked at
    }
    return records;
  }

  static constexpr int32 kNoType = 99;
};

TEST_F(Interpolation, FillsTheRecordsOfAllInstants) {
  std::vector<ZR3Record> records = At({{4, 500}, {1, 0}, {4, 500}, {-1, 999}});
  std::vector<int32> codes(4, -1);
  ASSERT_EQ(ar3_query_interp_records_by_mode(1, number, 4, records.data(), codes.data()), ZR3_OK);
  EXPECT_EQ(codes, std::vector<int32>(4, ZR3_OK));
  EXPECT_EQ(database->last_mode(), InterpolationMode::kPrevious);
  EXPECT_EQ(database->last_instants(),
            (std::vector<std::int64_t>{4500, 1000, 4500, 4'294'967'295'999}));
  const int32 values[] = {4, 1, 4, 5};
  for (std::size_t i = 0; i < records.size(); ++i) {
    EXPECT_EQ(records[i].value.nInt32, values[i]);
    EXPECT_EQ(records[i].nTagType, ZR3_TAG_TYPE_INT32);
    EXPECT_EQ(records[i].nQuality, ZR3_QUALITY_GOOD);
  }
  EXPECT_EQ(records[0].nSec, 4);
  EXPECT_EQ(records[0].nMsec, 500);
  EXPECT_EQ(records[3].nSec, -1) << "seconds are unsigned";
}

TEST_F(Interpolation, TellsOfEachInstantWhatBecameOfIt) {
  std::vector<ZR3Record> records = At({{0, 500}, {2, 0}, {2, 1000}, {2, -1}});
  std::vector<int32> codes(4, -1);
  EXPECT_EQ(ar3_query_interp_records_by_mode(0, number, 4, records.data(), codes.data()),
            ZR3_ERR_SOME_INSTANTS_FAILED);
  EXPECT_EQ(codes, (std::vector<int32>{ZR3_ERR_NO_RECORD, ZR3_OK, ZR3_ERR_INVALID_TIME,
                                       ZR3_ERR_INVALID_TIME}));
  EXPECT_EQ(database->last_mode(), InterpolationMode::kLinear);
  EXPECT_EQ(records[1].value.nInt32, 2);
  EXPECT_EQ(records[0].nTagType, kNoType) << "the record of an instant that failed is untouched";
  EXPECT_EQ(records[2].nMsec, 1000);
}

TEST_F(Interpolation, FailsAsAWholeOnlyInItsStatusWhenEveryInstantDoes) {
  std::vector<ZR3Record> records = At({{0, 1}, {0, 2}});
  std::vector<int32> codes(2, -1);
  EXPECT_EQ(ar3_query_interp_records_by_mode(0, number, 2, records.data(), codes.data()),
            ZR3_ERR_SOME_INSTANTS_FAILED);
  EXPECT_EQ(codes, std::vector<int32>(2, ZR3_ERR_NO_RECORD));
}

TEST_F(Interpolation, NeedsNoPlaceForCodes) {
  std::vector<ZR3Record> records = At({{0, 500}, {2, 0}});
  EXPECT_EQ(ar3_query_interp_records_by_mode(0, number, 2, records.data(), nullptr),
            ZR3_ERR_SOME_INSTANTS_FAILED);
  EXPECT_EQ(records[1].value.nInt32, 2);
  const std::vector<uint32> ids(2, number);
  EXPECT_EQ(ar3_query_tags_interp_records_by_mode(0, 2, ids.data(), records.data(), nullptr),
            ZR3_ERR_SOME_INSTANTS_FAILED);
}

TEST_F(Interpolation, TakesATagForEachInstant) {
  std::vector<ZR3Record> records = At({{2, 500}, {3, 0}, {4, 0}, {1, 0}});
  std::string block(1000, '#');
  records[1].value.strBlob = {block.data(), 1000};
  const std::vector<uint32> ids = {number, text, 99, text};
  std::vector<int32> codes(4, -1);
  EXPECT_EQ(ar3_query_tags_interp_records_by_mode(1, 4, ids.data(), records.data(), codes.data()),
            ZR3_ERR_SOME_INSTANTS_FAILED);
  EXPECT_EQ(codes,
            (std::vector<int32>{ZR3_OK, ZR3_OK, ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_TYPE_MISMATCH}))
      << "of the last one, a text without a buffer";
  EXPECT_EQ(records[0].value.nInt32, 2);
  EXPECT_STREQ(records[1].value.strBlob.pBuf, "xxx");
  EXPECT_EQ(records[1].value.strBlob.nLenBuf, 4);
  EXPECT_EQ(database->last_mode(), InterpolationMode::kPrevious);
}

TEST_F(Interpolation, TellsByTheBufferAloneWhetherThereIsOne) {
  std::vector<ZR3Record> records = At({{5, 0}, {5, 0}, {5, 0}});
  std::string block(1000, '#');
  records[0].value.strBlob = {block.data(), 1000};
  records[1].value.strBlob = {&block[900], 5};  // without room for a terminator
  records[2].nTagType = ZR3_TAG_TYPE_STRING;
  std::vector<int32> codes(3, -1);
  EXPECT_EQ(ar3_query_interp_records_by_mode(0, text, 3, records.data(), codes.data()),
            ZR3_ERR_SOME_INSTANTS_FAILED);
  EXPECT_EQ(codes, (std::vector<int32>{ZR3_OK, ZR3_ERR_BUFFER_TOO_SMALL, ZR3_ERR_TYPE_MISMATCH}));
  EXPECT_STREQ(block.c_str(), "xxxxx");
  EXPECT_EQ(block.substr(900), std::string(100, '#'));
}

TEST_F(Interpolation, OfNoInstantsSucceeds) {
  const int calls = database->calls();
  EXPECT_EQ(ar3_query_interp_records_by_mode(0, 99, 0, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(ar3_query_tags_interp_records_by_mode(0, 0, nullptr, nullptr, nullptr), ZR3_OK);
  EXPECT_EQ(database->calls(), calls);
}

TEST_F(Interpolation, RefusesCountsBeyondItsBound) {
  ZR3Record record{};
  const uint32 id = number;
  for (const int32 count : {-1, 10'000'001, INT32_MAX}) {  // more than there is: not looked at
    EXPECT_EQ(ar3_query_interp_records_by_mode(0, number, count, &record, nullptr),
              ZR3_ERR_INVALID_COUNT);
    EXPECT_EQ(ar3_query_tags_interp_records_by_mode(0, count, &id, &record, nullptr),
              ZR3_ERR_INVALID_COUNT);
  }
}

TEST_F(Interpolation, RefusesModesThatAreNone) {
  ZR3Record record{};
  const uint32 id = number;
  for (const uint8 mode : {uint8{2}, uint8{255}}) {
    EXPECT_EQ(ar3_query_interp_records_by_mode(mode, 1, 1, &record, nullptr),
              ZR3_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(ar3_query_tags_interp_records_by_mode(mode, 1, &id, &record, nullptr),
              ZR3_ERR_INVALID_ARGUMENT);
  }
}

TEST_F(Interpolation, WritesNothingWhenTheWholeOfItFails) {
  std::vector<ZR3Record> records = At({{2, 0}});
  int32 code = -1;
  EXPECT_EQ(ar3_query_interp_records_by_mode(0, 99, 1, records.data(), &code),
            ZR3_ERR_TAG_NOT_FOUND);
  database->on_call = [] { return Status(ZR3_ERR_STORAGE_DAMAGED, {}); };
  EXPECT_EQ(ar3_query_interp_records_by_mode(0, number, 1, records.data(), &code),
            ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ(ar3_query_tags_interp_records_by_mode(0, 1, &number, records.data(), &code),
            ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ(code, -1);
  EXPECT_EQ(records[0].nTagType, kNoType);
}

// ---- correction ----

TEST_F(Archive, CorrectsTheRecordOfItsTime) {
  ZR3Record record{};
  record.nSec = 3;
  record.nQuality = 7;
  record.nTagType = ZR3_TAG_TYPE_INT32;
  record.value.nInt32 = -5;
  ASSERT_EQ(ar3_modify_record(number, &record), ZR3_OK);
  const auto corrected = database->ReadRecords(number, {3000, 3000}, Direction::kForward, 1);
  ASSERT_EQ(corrected->size(), 1U);
  EXPECT_EQ(corrected->front().quality, 7);
  EXPECT_EQ(corrected->front().value, Value(-5));
  record.nMsec = 1;
  EXPECT_EQ(ar3_modify_record(number, &record), ZR3_ERR_NO_RECORD);
  EXPECT_EQ(ar3_modify_record(99, &record), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(ar3_modify_record(text, &record), ZR3_ERR_TYPE_MISMATCH);
  record.nSec = 0;
  record.nMsec = 0;
  EXPECT_EQ(ar3_modify_record(number, &record), ZR3_ERR_NO_RECORD) << "no clock";
}

TEST_F(Archive, CorrectsTextsWholeOrNotAtAll) {
  std::string bytes(ZR3_LEN_VALUE + 1, 'y');
  ZR3Record record{};
  record.nSec = 3;
  record.nTagType = ZR3_TAG_TYPE_STRING;
  record.value.strBlob = {bytes.data(), 1001};
  EXPECT_EQ(ar3_modify_record(text, &record), ZR3_ERR_INVALID_TEXT) << "no terminator";
  bytes.back() = '\0';
  EXPECT_EQ(ar3_modify_record(text, &record), ZR3_ERR_VALUE_TOO_LONG);
  bytes[999] = '\0';
  EXPECT_EQ(ar3_modify_record(text, &record), ZR3_OK);
  const auto corrected = database->ReadRecords(text, {3000, 3000}, Direction::kForward, 1);
  EXPECT_EQ(corrected->front().value, Value(std::string(999, 'y')));
}

TEST_F(Archive, RefusesACorrectionThatIsNoRecord) {
  ZR3Record record{};
  record.nTagType = 9;
  EXPECT_EQ(ar3_modify_record(1, &record), ZR3_ERR_TYPE_MISMATCH);
  record.nTagType = ZR3_TAG_TYPE_STRING;
  EXPECT_EQ(ar3_modify_record(1, &record), ZR3_ERR_NULL_ARGUMENT);
  record.nTagType = ZR3_TAG_TYPE_INT8;
  record.nMsec = 1000;
  EXPECT_EQ(ar3_modify_record(1, &record), ZR3_ERR_INVALID_TIME);
}

}  // namespace
}  // namespace zervane
