#include "engine/write/acceptance.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/engine/records.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

constexpr WriteOrder kInOrder = WriteOrder::kInOrder;
constexpr WriteOrder kAnyOrder = WriteOrder::kAnyOrder;

struct AcceptanceCase {
  const char* name;
  std::optional<TagType> tag_type;
  Sample sample;
  std::int64_t newest_ms;
  WriteOrder order;
  ZR3_STATUS status;
};

class Record : public testing::TestWithParam<AcceptanceCase> {};

TEST_P(Record, IsJudged) {
  const AcceptanceCase& row = GetParam();
  const auto tag = row.tag_type ? std::optional(TagTraits{*row.tag_type, true}) : std::nullopt;
  SampleColumns samples;
  samples.Add(NumberAt(1));  // another one before it
  samples.Add(row.sample);
  const Judged judged = {.samples = samples, .at = 1, .time_ms = row.sample.time_ms};
  EXPECT_EQ(JudgeRecord(judged, tag, row.newest_ms, {row.order}), row.status);
}

Sample Of(TagType type, Value value, std::int64_t time_ms = 100) {
  return {.time_ms = time_ms, .type = type, .value = std::move(value)};
}

constexpr TagType kInt8 = TagType::kInt8;
constexpr TagType kDouble = TagType::kFloat64;
constexpr TagType kText = TagType::kString;

INSTANTIATE_TEST_SUITE_P(
    Order, Record,
    testing::Values(
        AcceptanceCase{"FirstOfItsTag", kDouble, Of(kDouble, 1.0), kNoTime, kInOrder, ZR3_OK},
        AcceptanceCase{"Newer", kDouble, Of(kDouble, 1.0), 99, kInOrder, ZR3_OK},
        AcceptanceCase{"OfEqualTime", kDouble, Of(kDouble, 1.0), 100, kInOrder, ZR3_OK},
        AcceptanceCase{"Older", kDouble, Of(kDouble, 1.0), 101, kInOrder, ZR3_ERR_OUT_OF_ORDER},
        AcceptanceCase{"OlderWhereOrderIsFree", kDouble, Of(kDouble, 1.0), 101, kAnyOrder, ZR3_OK}),
    CaseName());

INSTANTIATE_TEST_SUITE_P(
    Time, Record,
    testing::Values(
        AcceptanceCase{"Epoch", kDouble, Of(kDouble, 1.0, 0), kNoTime, kInOrder, ZR3_OK},
        AcceptanceCase{"Last", kDouble, Of(kDouble, 1.0, kMaxTimeMs), kNoTime, kInOrder, ZR3_OK},
        AcceptanceCase{"PastTheLast", kDouble, Of(kDouble, 1.0, kMaxTimeMs + 1), kNoTime, kInOrder,
                       ZR3_ERR_INVALID_TIME},
        AcceptanceCase{"BeforeTheEpoch", kDouble, Of(kDouble, 1.0, -1), kNoTime, kAnyOrder,
                       ZR3_ERR_INVALID_TIME}),
    CaseName());

INSTANTIATE_TEST_SUITE_P(
    Value, Record,
    testing::Values(
        AcceptanceCase{"OfNoTag", std::nullopt, Of(kDouble, 1.0), kNoTime, kInOrder,
                       ZR3_ERR_TAG_NOT_FOUND},
        AcceptanceCase{"OfAnotherType", kInt8, Of(kDouble, 1.0), kNoTime, kInOrder,
                       ZR3_ERR_TYPE_MISMATCH},
        AcceptanceCase{"OfNoType", kDouble, Of(static_cast<TagType>(99), 1.0), kNoTime, kInOrder,
                       ZR3_ERR_TYPE_MISMATCH},
        AcceptanceCase{"LargestInt8", kInt8, Of(kInt8, 127), kNoTime, kInOrder, ZR3_OK},
        AcceptanceCase{"IntegerOutsideItsType", kInt8, Of(kInt8, 128), kNoTime, kInOrder,
                       ZR3_ERR_TYPE_MISMATCH},
        AcceptanceCase{"LongestText", kText, Of(kText, std::string(kMaxStringBytes, 'x')), kNoTime,
                       kInOrder, ZR3_OK},
        AcceptanceCase{"TextTooLong", kText, Of(kText, std::string(kMaxStringBytes + 1, 'x')),
                       kNoTime, kInOrder, ZR3_ERR_VALUE_TOO_LONG},
        AcceptanceCase{"TextWithNul", kText, Of(kText, std::string("a\0b", 3)), kNoTime, kInOrder,
                       ZR3_ERR_INVALID_TEXT},
        AcceptanceCase{"LongestBlob", TagType::kBlob, Of(TagType::kBlob, std::string(1000, '\0')),
                       kNoTime, kInOrder, ZR3_OK},
        AcceptanceCase{"BlobTooLong", TagType::kBlob, Of(TagType::kBlob, std::string(1001, 'x')),
                       kNoTime, kInOrder, ZR3_ERR_VALUE_TOO_LONG}),
    CaseName());

struct OwnCase {
  const char* name;
  WriteRules rules;
  TagType type;
  ZR3_STATUS status;
};

class RecordOfATagOfTheDatabasesOwn : public testing::TestWithParam<OwnCase> {};

TEST_P(RecordOfATagOfTheDatabasesOwn, IsTheDatabasesToWrite) {
  SampleColumns samples;
  samples.Add(NumberAt(100));
  const TagTraits tag = {.type = GetParam().type, .is_own = true};
  EXPECT_EQ(JudgeRecord({samples, 0, 100}, tag, kNoTime, GetParam().rules), GetParam().status);
  EXPECT_EQ(JudgeRecord({samples, 0, 100}, std::nullopt, kNoTime, GetParam().rules),
            ZR3_ERR_TAG_NOT_FOUND);
}

constexpr WriteRules kOfTheSystem{.order = kAnyOrder, .is_system = true};

INSTANTIATE_TEST_SUITE_P(
    Of, RecordOfATagOfTheDatabasesOwn,
    testing::Values(OwnCase{"AClient", {kInOrder}, kDouble, ZR3_ERR_INVALID_TAG_CLASS},
                    OwnCase{"AClientInAnyOrder", {kAnyOrder}, kDouble, ZR3_ERR_INVALID_TAG_CLASS},
                    OwnCase{"AClientWithAnotherType", {kInOrder}, kInt8, ZR3_ERR_INVALID_TAG_CLASS},
                    OwnCase{"TheSystem", kOfTheSystem, kDouble, ZR3_OK},
                    OwnCase{"TheSystemWithAnotherType", kOfTheSystem, kInt8,
                            ZR3_ERR_TYPE_MISMATCH}),
    CaseName());

TEST(StoredRecord, MayBeOfATagOfTheDatabasesOwn) {
  SampleColumns samples;
  samples.Add(NumberAt(100));
  EXPECT_EQ(JudgeStored(samples, 0, TagTraits{.is_own = true}), ZR3_OK);
  EXPECT_EQ(JudgeSample(NumberAt(100), TagTraits{.is_own = true}), ZR3_OK);
}

TEST(StoredRecord, IsJudgedWithoutRegardToOrder) {
  SampleColumns samples;
  samples.Add(NumberAt(100));
  samples.Add(NumberAt(-1));
  EXPECT_EQ(JudgeStored(samples, 0, TagTraits{}), ZR3_OK);
  EXPECT_EQ(JudgeStored(samples, 0, std::nullopt), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(JudgeStored(samples, 1, TagTraits{}), ZR3_ERR_INVALID_TIME);
}

TEST(CurrentTime, OnlyMovesForward) {
  EXPECT_TRUE(MovesForward(0, kNoTime));
  EXPECT_TRUE(MovesForward(6, 5));
  EXPECT_TRUE(MovesForward(5, 5));
  EXPECT_FALSE(MovesForward(4, 5));
}

}  // namespace
}  // namespace zervane
