#include "vask/records.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

Result<Sample> ReadRecord(const ZR3Record& record) {
  SampleColumns samples;
  Status status = AddRecord(record, TextsOfThisThread(), &samples);
  EXPECT_EQ(samples.size(), status.ok() ? 1U : 0U);
  if (!status.ok()) return status;
  return samples.At(0);
}

// Both ways of looking at a sample fill the same record.
Status FillRecord(const Sample& sample, ZR3Record* record) {
  SampleColumns samples;
  samples.Add(sample);
  ZR3Record other = *record;
  std::vector<char> buffer(record->value.strBlob.nLenBuf + std::size_t{1});
  if (other.value.strBlob.pBuf != nullptr) other.value.strBlob.pBuf = buffer.data();
  const Status of_columns = zervane::FillRecord(ViewOf(samples, 0), TextsOfThisThread(), &other);
  Status status = zervane::FillRecord(ViewOf(sample), TextsOfThisThread(), record);
  EXPECT_EQ(of_columns.code(), status.code());
  EXPECT_EQ(other.value.strBlob.nLenBuf, record->value.strBlob.nLenBuf);
  return status;
}

// ---- times and regions ----

struct TimeCase {
  const char* name;
  int32 seconds;
  int16 milliseconds;
  std::int64_t time_ms;  // -1: ZR3_ERR_INVALID_TIME
};

class Time : public testing::TestWithParam<TimeCase> {};

TEST_P(Time, IsUnsignedSecondsAndAThousandMilliseconds) {
  const Result<std::int64_t> time = ReadTime(GetParam().seconds, GetParam().milliseconds);
  if (GetParam().time_ms < 0) {
    EXPECT_EQ(time.code(), ZR3_ERR_INVALID_TIME);
  } else {
    ASSERT_TRUE(time.ok());
    EXPECT_EQ(*time, GetParam().time_ms);
  }
}

INSTANTIATE_TEST_SUITE_P(Bounds, Time,
                         testing::Values(TimeCase{"Zero", 0, 0, 0},
                                         TimeCase{"LastMillisecond", 1, 999, 1999},
                                         TimeCase{"OneMore", 1, 1000, -1},
                                         TimeCase{"Negative", 1, -1, -1},
                                         TimeCase{"LeastMilliseconds", 1, INT16_MIN, -1},
                                         TimeCase{"LargestSigned", INT32_MAX, 0, 2147483647000},
                                         TimeCase{"PastTheSignBit", INT32_MIN, 0, 2147483648000},
                                         TimeCase{"Last", -1, 999, kMaxTimeMs}),
                         CaseName());

struct RegionCase {
  const char* name;
  ZR3TimeRegion region;
  std::int64_t from_ms;
  std::int64_t to_ms;
};

class Region : public testing::TestWithParam<RegionCase> {};

TEST_P(Region, HoldsItsEndsAsTheirFlagsSay) {
  const Result<TimeRange> range = ReadRegion(GetParam().region);
  ASSERT_TRUE(range.ok());
  EXPECT_EQ(range->from_ms, GetParam().from_ms);
  EXPECT_EQ(range->to_ms, GetParam().to_ms);
}

INSTANTIATE_TEST_SUITE_P(
    Flags, Region,
    testing::Values(
        RegionCase{"Closed", {{1, 500}, {2, 0}, 1, 1}, 1500, 2000},
        RegionCase{"LeftOpen", {{1, 500}, {2, 0}, 0, 1}, 1501, 2000},
        RegionCase{"RightOpen", {{1, 500}, {2, 0}, 1, 0}, 1500, 1999},
        RegionCase{"Open", {{1, 500}, {2, 0}, 0, 0}, 1501, 1999},
        RegionCase{"AnyFlagButZeroIsTrue", {{1, 500}, {2, 0}, -1, 2}, 1500, 2000},
        RegionCase{"OneInstant", {{2, 0}, {2, 0}, 1, 1}, 2000, 2000},
        RegionCase{"NoInstant", {{2, 0}, {2, 0}, 0, 1}, 2001, 2000},
        RegionCase{"OpenAtTheStartOfTime", {{0, 0}, {0, 0}, 1, 0}, 0, -1},
        RegionCase{"OpenAtTheEndOfTime", {{-1, 999}, {-1, 999}, 0, 1}, kMaxTimeMs + 1, kMaxTimeMs},
        RegionCase{"AllOfTime", {{0, 0}, {-1, 999}, 1, 1}, 0, kMaxTimeMs}),
    CaseName());

TEST(Region, RefusesInvalidTimes) {
  EXPECT_EQ(ReadRegion({{1, 1000}, {2, 0}, 1, 1}).code(), ZR3_ERR_INVALID_TIME);
  EXPECT_EQ(ReadRegion({{1, 0}, {2, -1}, 1, 1}).code(), ZR3_ERR_INVALID_TIME);
}

TEST(Region, RefusesAStartAfterItsEnd) {
  EXPECT_EQ(ReadRegion({{2, 1}, {2, 0}, 1, 1}).code(), ZR3_ERR_INVALID_REGION);
  EXPECT_EQ(ReadRegion({{-1, 0}, {1, 0}, 1, 1}).code(), ZR3_ERR_INVALID_REGION) << "seconds signed";
}

// ---- numbers ----

ZR3Record Record(ZR3_TAG_TYPE type) {
  ZR3Record record{};
  record.nSec = 10;
  record.nMsec = 20;
  record.nQuality = 65535;
  record.nTagType = type;
  record.value = {.nInt8 = -128,
                  .nInt16 = -32768,
                  .nInt32 = INT32_MIN,
                  .fFloat32 = -1.5F,
                  .fFloat64 = 1e300,
                  .nDigital = 127,
                  .strBlob = {}};
  return record;
}

struct NumberCase {
  const char* name;
  ZR3_TAG_TYPE type;
  Value value;
};

class Number : public testing::TestWithParam<NumberCase> {};

TEST_P(Number, IsReadFromTheSlotOfItsType) {
  const Result<Sample> sample = ReadRecord(Record(GetParam().type));
  ASSERT_TRUE(sample.ok());
  EXPECT_EQ(sample->time_ms, 10020);
  EXPECT_EQ(sample->quality, 65535);
  EXPECT_EQ(sample->type, static_cast<TagType>(GetParam().type));
  EXPECT_EQ(sample->value, GetParam().value);
}

TEST_P(Number, ComesBackAsItWas) {
  const Sample sample = *ReadRecord(Record(GetParam().type));
  ZR3Record record{};
  ASSERT_TRUE(FillRecord(sample, &record).ok());
  EXPECT_EQ(record.nSec, 10);
  EXPECT_EQ(record.nMsec, 20);
  EXPECT_EQ(record.nQuality, 65535);
  EXPECT_EQ(record.nTagType, GetParam().type);
  EXPECT_EQ(*ReadRecord(record), sample);
}

INSTANTIATE_TEST_SUITE_P(
    Types, Number,
    testing::Values(NumberCase{"Int8", ZR3_TAG_TYPE_INT8, std::int32_t{-128}},
                    NumberCase{"Int16", ZR3_TAG_TYPE_INT16, std::int32_t{-32768}},
                    NumberCase{"Int32", ZR3_TAG_TYPE_INT32, std::int32_t{INT32_MIN}},
                    NumberCase{"Float32", ZR3_TAG_TYPE_FLOAT32, -1.5F},
                    NumberCase{"Float64", ZR3_TAG_TYPE_FLOAT64, 1e300},
                    NumberCase{"Digital", ZR3_TAG_TYPE_DIGITAL, std::int32_t{127}}),
    CaseName());

TEST(Record, KeepsTimesPastTheSignBit) {
  const Sample sample{.time_ms = kMaxTimeMs, .quality = 0, .type = TagType::kFloat64, .value = 0.0};
  ZR3Record record{};
  ASSERT_TRUE(FillRecord(sample, &record).ok());
  EXPECT_EQ(record.nSec, -1);
  EXPECT_EQ(record.nMsec, 999);
}

TEST(Record, CarriesWhatIsNotANumber) {
  ZR3Record record = Record(ZR3_TAG_TYPE_FLOAT64);
  record.value.fFloat64 = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(ReadRecord(record)->value.float64()));
}

TEST(Record, TouchesNoSlotButThatOfItsType) {
  ZR3Record record{};
  ZR3Record expected{};
  std::memset(static_cast<void*>(&record), 0x5A, sizeof record);
  std::memset(static_cast<void*>(&expected), 0x5A, sizeof expected);
  expected.nSec = 1;
  expected.nMsec = 2;
  expected.nQuality = 3;
  expected.nTagType = ZR3_TAG_TYPE_INT16;
  expected.value.nInt16 = 4;
  ASSERT_TRUE(
      FillRecord({.time_ms = 1002, .quality = 3, .type = TagType::kInt16, .value = std::int32_t{4}},
                 &record)
          .ok());
  EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0);
}

TEST(Record, RefusesTypesThatAreNone) {
  for (const ZR3_TAG_TYPE type : {-1, 8, 255, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(ReadRecord(Record(type)).code(), ZR3_ERR_TYPE_MISMATCH) << type;
  }
}

TEST(Record, RefusesInvalidTimes) {
  ZR3Record record = Record(ZR3_TAG_TYPE_INT8);
  record.nMsec = 1000;
  EXPECT_EQ(ReadRecord(record).code(), ZR3_ERR_INVALID_TIME);
}

// ---- texts and blobs, written ----

struct BytesCase {
  const char* name;
  ZR3_TAG_TYPE type;
  std::string buffer;  // exactly what the caller owns
  ZR3_STATUS status;
  std::string value;
};

class WrittenBytes : public testing::TestWithParam<BytesCase> {};

TEST_P(WrittenBytes, EndWhereTheRecordSays) {
  const auto& [name, type, buffer, status, value] = GetParam();
  std::vector<char> owned(buffer.begin(), buffer.end());  // its end is watched by the sanitizer
  ZR3Record record = Record(type);
  record.value.strBlob = {owned.data(), static_cast<uint16>(owned.size())};
  const Result<Sample> sample = ReadRecord(record);
  ASSERT_EQ(sample.code(), status);
  if (sample.ok()) {
    EXPECT_EQ(sample->value.text().str(), value);
  }
}

std::string Terminated(std::size_t size) { return std::string(size, 'x') + '\0'; }

INSTANTIATE_TEST_SUITE_P(
    Strings, WrittenBytes,
    testing::Values(
        BytesCase{"Text", ZR3_TAG_TYPE_STRING, std::string("abc\0", 4), ZR3_OK, "abc"},
        BytesCase{"Empty", ZR3_TAG_TYPE_STRING, std::string(1, '\0'), ZR3_OK, ""},
        BytesCase{"GarbageBehind", ZR3_TAG_TYPE_STRING, std::string("ab\0c", 4), ZR3_OK, "ab"},
        BytesCase{"Longest", ZR3_TAG_TYPE_STRING, Terminated(999), ZR3_OK, std::string(999, 'x')},
        BytesCase{"OneTooLong", ZR3_TAG_TYPE_STRING, Terminated(1000), ZR3_ERR_VALUE_TOO_LONG, ""},
        BytesCase{"FarTooLong", ZR3_TAG_TYPE_STRING, Terminated(65000), ZR3_ERR_VALUE_TOO_LONG, ""},
        BytesCase{"Unterminated", ZR3_TAG_TYPE_STRING, "abc", ZR3_ERR_INVALID_TEXT, ""},
        BytesCase{"UnterminatedAndLong", ZR3_TAG_TYPE_STRING, std::string(65535, 'x'),
                  ZR3_ERR_INVALID_TEXT, ""}),
    CaseName());

INSTANTIATE_TEST_SUITE_P(
    Blobs, WrittenBytes,
    testing::Values(BytesCase{"Bytes", ZR3_TAG_TYPE_BLOB, std::string("a\0c", 3), ZR3_OK,
                              std::string("a\0c", 3)},
                    BytesCase{"Longest", ZR3_TAG_TYPE_BLOB, std::string(1000, '\xFF'), ZR3_OK,
                              std::string(1000, '\xFF')},
                    BytesCase{"OneTooLong", ZR3_TAG_TYPE_BLOB, std::string(1001, 'x'),
                              ZR3_ERR_VALUE_TOO_LONG, ""}),
    CaseName());

TEST(WrittenBytes, NeedABufferUnlessTheyAreNone) {
  ZR3Record record = Record(ZR3_TAG_TYPE_STRING);
  record.value.strBlob = {nullptr, 4};
  EXPECT_EQ(ReadRecord(record).code(), ZR3_ERR_NULL_ARGUMENT);
  record.value.strBlob = {nullptr, 0};
  EXPECT_EQ(ReadRecord(record).code(), ZR3_ERR_NULL_ARGUMENT);
  record.nTagType = ZR3_TAG_TYPE_BLOB;
  EXPECT_EQ(ReadRecord(record)->value.text().str(), "");
  record.value.strBlob = {nullptr, 4};
  EXPECT_EQ(ReadRecord(record).code(), ZR3_ERR_NULL_ARGUMENT);
}

TEST(WrittenBytes, NeedATerminatorEvenInABufferOfNoLength) {
  char byte = '\0';
  ZR3Record record = Record(ZR3_TAG_TYPE_STRING);
  record.value.strBlob = {&byte, 0};
  EXPECT_EQ(ReadRecord(record).code(), ZR3_ERR_INVALID_TEXT);
}

// ---- texts and blobs, read ----

struct CapacityCase {
  const char* name;
  TagType type;
  std::string value;
  std::size_t capacity;
  ZR3_STATUS status;
  uint16 length;  // as the caller finds it
};

class ReadBytes : public testing::TestWithParam<CapacityCase> {};

TEST_P(ReadBytes, StayWithinTheCallersBuffer) {
  const auto& [name, type, value, capacity, status, length] = GetParam();
  std::vector<char> buffer(capacity, '#');  // its end is watched by the sanitizer
  char none = '#';
  ZR3Record record{};
  record.nSec = 77;
  record.value.strBlob = {buffer.empty() ? &none : buffer.data(), static_cast<uint16>(capacity)};
  const Sample sample{.time_ms = 1000, .quality = 0, .type = type, .value = value};
  ASSERT_EQ(FillRecord(sample, &record).code(), status);
  EXPECT_EQ(record.value.strBlob.nLenBuf, length);
  if (status == ZR3_OK) {
    EXPECT_EQ(std::string(record.value.strBlob.pBuf, value.size()), value);
    if (type == TagType::kString) {
      EXPECT_EQ(record.value.strBlob.pBuf[value.size()], '\0');
    }
    EXPECT_EQ(std::string(buffer.begin() + length, buffer.end()),
              std::string(capacity - length, '#'));
  } else {
    EXPECT_EQ(record.nSec, 77) << "touched";
    EXPECT_EQ(std::string(buffer.begin(), buffer.end()), std::string(capacity, '#'));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Capacities, ReadBytes,
    testing::Values(
        CapacityCase{"TextWithRoom", TagType::kString, "abc", 1000, ZR3_OK, 4},
        CapacityCase{"TextThatJustFits", TagType::kString, "abc", 4, ZR3_OK, 4},
        CapacityCase{"TextWithoutTerminator", TagType::kString, "abc", 3, ZR3_ERR_BUFFER_TOO_SMALL,
                     3},
        CapacityCase{"TextWithoutRoom", TagType::kString, "abc", 0, ZR3_ERR_BUFFER_TOO_SMALL, 0},
        CapacityCase{"EmptyText", TagType::kString, "", 1, ZR3_OK, 1},
        CapacityCase{"EmptyTextWithoutRoom", TagType::kString, "", 0, ZR3_ERR_BUFFER_TOO_SMALL, 0},
        CapacityCase{"LongestText", TagType::kString, std::string(999, 'x'), 1000, ZR3_OK, 1000},
        CapacityCase{"BlobWithRoom", TagType::kBlob, std::string("a\0c", 3), 9, ZR3_OK, 3},
        CapacityCase{"BlobThatJustFits", TagType::kBlob, "abc", 3, ZR3_OK, 3},
        CapacityCase{"BlobTooLong", TagType::kBlob, "abc", 2, ZR3_ERR_BUFFER_TOO_SMALL, 2},
        CapacityCase{"EmptyBlobWithoutRoom", TagType::kBlob, "", 0, ZR3_OK, 0},
        CapacityCase{"LongestBlob", TagType::kBlob, std::string(1000, 'x'), 1000, ZR3_OK, 1000}),
    CaseName());

TEST(ReadBytes, AreRefusedWithoutABuffer) {
  for (const TagType type : {TagType::kString, TagType::kBlob}) {
    ZR3Record record{};
    record.value.strBlob = {nullptr, 1000};
    const Sample sample{.time_ms = 1, .quality = 0, .type = type, .value = std::string()};
    EXPECT_EQ(FillRecord(sample, &record).code(), ZR3_ERR_TYPE_MISMATCH);
  }
}

TEST(NeedsBuffer, IsTrueOfTextAndBlobAlone) {
  for (ZR3_TAG_TYPE type = -1; type <= 9; ++type) {
    EXPECT_EQ(NeedsBuffer(type), type == ZR3_TAG_TYPE_STRING || type == ZR3_TAG_TYPE_BLOB) << type;
  }
}

}  // namespace
}  // namespace zervane
