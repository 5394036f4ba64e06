// Correcting a record, wherever the database has it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/engine/embedded_fixture.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr WriteAnswer kQueued = WriteAnswer::kQueued;

Sample WithQuality(Sample sample, std::uint16_t quality) {
  sample.quality = quality;
  return sample;
}

class EmbeddedCorrection : public EmbeddedTest {
 protected:
  ZR3_STATUS Correct(TagId id, const Sample& sample) {
    return database_->CorrectRecord(id, sample).code();
  }
  std::vector<Sample> Stored(TagId id) const {
    std::vector<Sample> samples;
    for (const auto& [time_ms, sample] : disk_->archive(id)) samples.push_back(sample);
    return samples;
  }
  void WriteEach(TagId id, const std::vector<Sample>& samples) {
    for (const Sample& sample : samples) EXPECT_EQ(Write({{id, sample}}).status, ZR3_OK);
  }
  TagId AddFiltered(float exc_dev, float comp_dev) {
    Tag tag;
    tag.name = "filtered";
    tag.exc_dev = exc_dev;
    tag.comp_type = ZR3_COMP_TYPE_SDT;
    tag.comp_dev = comp_dev;
    return *database_->AddTag(tag, {});
  }
  // 0 at 1 s is archived, 9 at 2 s held by compression, 9.5 at 3 s held back.
  TagId AddHolding() {
    const TagId id = AddFiltered(1, 1);
    WriteEach(id, {NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(3000, 9.5)});
    EXPECT_THAT(Stored(id), ElementsAre(NumberAt(1000, 0)));
    EXPECT_EQ(disk_->held(id), NumberAt(2000, 9));
    EXPECT_EQ(disk_->current(id), NumberAt(3000, 9.5));
    return id;
  }
};

// ---- what it changes ----

TEST_F(EmbeddedCorrection, ReplacesQualityAndValueOfAnArchivedRecord) {
  const TagId id = AddTag("a");
  WriteEach(id, {NumberAt(10, 1), NumberAt(20, 2), NumberAt(30, 3)});
  const Sample corrected = WithQuality(NumberAt(20, -7.5), 0xFF3F);
  EXPECT_EQ(Correct(id, corrected), ZR3_OK);
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(10, 1), corrected, NumberAt(30, 3)));
  EXPECT_EQ(*database_->CountRecords(id, {}), 3);
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(30, 3));
  EXPECT_EQ(disk_->current(id), NumberAt(30, 3));
}

TEST_F(EmbeddedCorrection, ReplacesTheCurrentValueTogetherWithItsArchivedRecord) {
  const TagId id = AddTag("a");
  WriteEach(id, {NumberAt(10, 1), NumberAt(20, 2)});
  const std::size_t commits = disk_->commit_sizes().size();
  EXPECT_EQ(Correct(id, NumberAt(20, 5)), ZR3_OK);
  EXPECT_EQ(disk_->commit_sizes().size(), commits + 1);
  EXPECT_EQ(disk_->commit_sizes().back(), 1U);
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(10, 1), NumberAt(20, 5)));
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(20, 5));
  EXPECT_EQ(disk_->current(id), NumberAt(20, 5));
}

TEST_F(EmbeddedCorrection, LeavesARecordOutOfTheArchiveOfATagThatHasNone) {
  const TagId id = AddTag("a", TagType::kFloat64, false);
  WriteEach(id, {NumberAt(10, 1), NumberAt(20, 2)});
  EXPECT_EQ(Correct(id, NumberAt(10, 5)), ZR3_ERR_NO_RECORD) << "it is the current value no more";
  EXPECT_EQ(Correct(id, NumberAt(20, 5)), ZR3_OK);
  EXPECT_THAT(Stored(id), IsEmpty());
  EXPECT_EQ(disk_->current(id), NumberAt(20, 5));
}

TEST_F(EmbeddedCorrection, MovesNoTimeSoThatOrderIsJudgedAsBefore) {
  const TagId id = AddTag("a");
  WriteEach(id, {NumberAt(10, 1), NumberAt(20, 2)});
  EXPECT_EQ(Correct(id, NumberAt(10, 5)), ZR3_OK);
  EXPECT_EQ(WriteAt(id, 19), ZR3_ERR_OUT_OF_ORDER);
  EXPECT_EQ(WriteAt(id, 20), ZR3_OK);
}

TEST_F(EmbeddedCorrection, TakesTimeZeroForTheFirstInstantNotForTheClock) {
  const TagId id = AddTag("a");
  EXPECT_EQ(Correct(id, NumberAt(0, 5)), ZR3_ERR_NO_RECORD);
  WriteEach(id, {NumberAt(0, 1)});  // here it is the clock
  EXPECT_EQ(Correct(id, NumberAt(0, 5)), ZR3_ERR_NO_RECORD);
  EXPECT_EQ(Correct(id, NumberAt(now_ms_, 5)), ZR3_OK);
  const TagId old = AddTag("b");
  database_.reset();
  disk_->Put(storage::MarkedSample{old, NumberAt(0, 1), kArchive});
  Open();
  EXPECT_EQ(Correct(old, NumberAt(0, 5)), ZR3_OK);
  EXPECT_THAT(Stored(old), ElementsAre(NumberAt(0, 5)));
}

TEST_F(EmbeddedCorrection, ToTheSameQualityAndValueIsDone) {
  const TagId id = AddTag("a");
  WriteEach(id, {NumberAt(10, 1)});
  EXPECT_EQ(Correct(id, NumberAt(10, 1)), ZR3_OK);
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(10, 1)));
}

struct TypedCorrection {
  const char* name;
  TagType type;
  Value before;
  Value after;
};

class CorrectionOfEachType : public EmbeddedCorrection,
                             public testing::WithParamInterface<TypedCorrection> {};

TEST_P(CorrectionOfEachType, ReplacesTheValue) {
  const auto& [name, type, before, after] = GetParam();
  const TagId id = AddTag("a", type);
  const auto at = [&](std::int64_t time_ms, const Value& value) {
    return Sample{.time_ms = time_ms, .type = type, .value = value};
  };
  WriteEach(id, {at(10, before), at(20, before)});
  EXPECT_EQ(Correct(id, at(10, after)), ZR3_OK);
  EXPECT_THAT(Stored(id), ElementsAre(at(10, after), at(20, before)));
  EXPECT_EQ(Correct(id, at(20, after)), ZR3_OK);
  EXPECT_THAT(Stored(id), ElementsAre(at(10, after), at(20, after)));
  EXPECT_EQ(*database_->ReadCurrent(id), at(20, after));
  Reopen();
  EXPECT_EQ(*database_->ReadCurrent(id), at(20, after));
}

INSTANTIATE_TEST_SUITE_P(
    Types, CorrectionOfEachType,
    testing::Values(TypedCorrection{"Int8", TagType::kInt8, 1, -128},
                    TypedCorrection{"Int16", TagType::kInt16, 1, -32'768},
                    TypedCorrection{"Int32", TagType::kInt32, 1, INT32_MIN},
                    TypedCorrection{"Float32", TagType::kFloat32, 1.0F, -0.25F},
                    TypedCorrection{"Float64", TagType::kFloat64, 1.0, 1e300},
                    TypedCorrection{"Digital", TagType::kDigital, 1, 0},
                    TypedCorrection{"String", TagType::kString, std::string("before"),
                                    std::string(kMaxStringBytes, 'x')},
                    TypedCorrection{"Blob", TagType::kBlob, std::string("before"),
                                    std::string("a\0b", 3)}),
    CaseName());

// ---- what it refuses ----

TEST_F(EmbeddedCorrection, RefusesWhatIsNoRecordOfTheTagAndChangesNothing) {
  const TagId id = AddTag("a");
  const TagId text = AddTag("text", TagType::kString);
  const TagId small = AddTag("small", TagType::kInt8);
  const Sample hello = TextAt(10, "hello");
  const Sample seven = {.time_ms = 10, .type = TagType::kInt8, .value = 7};
  WriteEach(id, {NumberAt(10, 1)});
  WriteEach(text, {hello});
  WriteEach(small, {seven});
  const std::size_t commits = disk_->commit_sizes().size();
  const auto small_of = [](std::int32_t value) {
    return Sample{.time_ms = 10, .type = TagType::kInt8, .value = value};
  };
  struct {
    TagId tag;
    Sample sample;
    ZR3_STATUS code;
  } const cases[] = {
      {0, NumberAt(10), ZR3_ERR_TAG_NOT_FOUND},
      {99, NumberAt(10), ZR3_ERR_TAG_NOT_FOUND},
      {id, NumberAt(9), ZR3_ERR_NO_RECORD},
      {id, NumberAt(11), ZR3_ERR_NO_RECORD},
      {id, NumberAt(-1), ZR3_ERR_INVALID_TIME},
      {id, NumberAt(kMaxTimeMs + 1), ZR3_ERR_INVALID_TIME},
      {id, TextAt(10, "x"), ZR3_ERR_TYPE_MISMATCH},
      {id, {.time_ms = 10, .type = TagType::kFloat64, .value = 1}, ZR3_ERR_TYPE_MISMATCH},
      {id, {.time_ms = 10, .type = TagType::kFloat32, .value = 1.0F}, ZR3_ERR_TYPE_MISMATCH},
      {small, small_of(128), ZR3_ERR_TYPE_MISMATCH},
      {text, TextAt(10, std::string(kMaxStringBytes + 1, 'x')), ZR3_ERR_VALUE_TOO_LONG},
      {text, TextAt(10, std::string("a\0b", 3)), ZR3_ERR_INVALID_TEXT},
      {text, NumberAt(10), ZR3_ERR_TYPE_MISMATCH},
  };
  for (const auto& [tag, sample, code] : cases) EXPECT_EQ(Correct(tag, sample), code) << tag;
  EXPECT_EQ(disk_->commit_sizes().size(), commits);
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(10, 1)));
  EXPECT_EQ(*database_->ReadCurrent(text), hello);
  EXPECT_EQ(*database_->ReadCurrent(small), seven);
}

TEST_F(EmbeddedCorrection, IsAllOrNothingWhenTheStoreFails) {
  const TagId id = AddHolding();
  for (const auto call : {storage::Faults::Call::kCommit, storage::Faults::Call::kScan,
                          storage::Faults::Call::kReadHeld}) {
    disk_->Fail(call, ZR3_ERR_STORAGE_FAILED);
    EXPECT_EQ(Correct(id, NumberAt(3000, 70)), ZR3_ERR_STORAGE_FAILED);
  }
  disk_->ThrowOnCommit();
  EXPECT_EQ(Correct(id, NumberAt(3000, 70)), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(3000, 9.5));
  EXPECT_EQ(disk_->current(id), NumberAt(3000, 9.5));
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9));
  WriteEach(id, {NumberAt(4000, 9.75)});
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9)) << "the filters go on as if nobody had asked";
  EXPECT_EQ(Correct(id, NumberAt(4000, 70)), ZR3_OK);
}

// ---- its turn ----

TEST_F(EmbeddedCorrection, ComesAfterWhatWasQueuedBefore) {
  const TagId id = AddTag("a");
  disk_->Hold();
  EXPECT_EQ(WriteAt(id, 10, kQueued), ZR3_OK);
  ASSERT_TRUE(disk_->AwaitHeld());
  EXPECT_EQ(WriteAt(id, 20, kQueued), ZR3_OK);
  std::thread correcting([&] { EXPECT_EQ(Correct(id, NumberAt(20, 5)), ZR3_OK); });
  disk_->Release();
  correcting.join();
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(10), NumberAt(20, 5)));
}

TEST_F(EmbeddedCorrection, IsRefusedOnceTheDatabaseIsClosed) {
  const TagId id = AddTag("a");
  WriteEach(id, {NumberAt(10)});
  EXPECT_TRUE(database_->Close().ok());
  EXPECT_EQ(Correct(id, NumberAt(10, 5)), ZR3_ERR_NOT_CONNECTED);
}

// ---- what filters hold ----

TEST_F(EmbeddedCorrection, OfTheCurrentValueThatIsHeldBackArchivesAllThatIsHeld) {
  for (const bool is_opened_again : {false, true}) {
    const TagId id = AddHolding();
    if (is_opened_again) Reopen();
    EXPECT_EQ(Correct(id, NumberAt(3000, 70)), ZR3_OK);
    EXPECT_THAT(Stored(id), ElementsAre(NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(3000, 70)));
    EXPECT_EQ(disk_->held(id), std::nullopt);
    EXPECT_EQ(disk_->current(id), NumberAt(3000, 70));
    WriteEach(id, {NumberAt(4000, 70.5)});
    EXPECT_EQ(Stored(id).size(), 3U) << "within the band of what it was corrected to";
    EXPECT_TRUE(database_->DeleteTag(id).ok());
  }
}

TEST_F(EmbeddedCorrection, OfWhatCompressionHoldsArchivesAllThatIsHeld) {
  for (const bool is_opened_again : {false, true}) {
    const TagId id = AddHolding();
    if (is_opened_again) Reopen();
    EXPECT_EQ(Correct(id, NumberAt(2000, 70)), ZR3_OK);
    EXPECT_THAT(Stored(id),
                ElementsAre(NumberAt(1000, 0), NumberAt(2000, 70), NumberAt(3000, 9.5)));
    EXPECT_EQ(disk_->held(id), std::nullopt);
    EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(3000, 9.5));
    EXPECT_TRUE(database_->DeleteTag(id).ok());
  }
}

TEST_F(EmbeddedCorrection, OfTheNewestArchivedRecordHasTheFiltersStartAnew) {
  const TagId id = AddHolding();
  EXPECT_EQ(Correct(id, NumberAt(1000, 70)), ZR3_OK);
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(1000, 70), NumberAt(2000, 9), NumberAt(3000, 9.5)));
  EXPECT_EQ(disk_->held(id), std::nullopt);
  WriteEach(id, {NumberAt(4000, 10)});
  EXPECT_EQ(Stored(id).size(), 3U) << "within the band of the current value";
}

TEST_F(EmbeddedCorrection, OfTheNewestArchivedRecordAfterOpeningLeavesWhatIsHeld) {
  const TagId id = AddHolding();
  Reopen();
  EXPECT_EQ(Correct(id, NumberAt(1000, 70)), ZR3_OK);
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(1000, 70)));
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9));
  WriteEach(id, {NumberAt(4000, 70)});
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(1000, 70), NumberAt(2000, 9), NumberAt(3000, 9.5)));
}

TEST_F(EmbeddedCorrection, OfAnOlderRecordChangesNothingOfTheFilters) {
  const TagId id = AddHolding();
  EXPECT_EQ(Write({{id, NumberAt(500, 3)}}, WriteAnswer::kDurable, WriteOrder::kAnyOrder).status,
            ZR3_OK);
  ASSERT_EQ(disk_->held(id), NumberAt(2000, 9));
  EXPECT_EQ(Correct(id, NumberAt(500, 70)), ZR3_OK);
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(500, 70), NumberAt(1000, 0)));
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9));
  WriteEach(id, {NumberAt(4000, 9.75)});
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9));
  WriteEach(id, {NumberAt(5000, 70)});
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(500, 70), NumberAt(1000, 0), NumberAt(2000, 9),
                                      NumberAt(4000, 9.75)));
}

// What filters have dropped is nowhere.
TEST_F(EmbeddedCorrection, FindsNoRecordThatFiltersHaveDropped) {
  const TagId id = AddFiltered(1, 0);
  WriteEach(id, {NumberAt(1000, 5), NumberAt(2000, 5.5), NumberAt(3000, 5.25)});
  EXPECT_EQ(Correct(id, NumberAt(2000, 7)), ZR3_ERR_NO_RECORD);
  EXPECT_THAT(Stored(id), ElementsAre(NumberAt(1000, 5)));
}

TEST_F(EmbeddedCorrection, OfABadQualityPassesWithTheNextRecordOfGoodOne) {
  const TagId id = AddHolding();
  const Sample bad = WithQuality(NumberAt(3000, 9.5), ZR3_QUALITY_BAD);
  EXPECT_EQ(Correct(id, bad), ZR3_OK);
  WriteEach(id, {NumberAt(4000, 9.5)});
  EXPECT_THAT(Stored(id),
              ElementsAre(NumberAt(1000, 0), NumberAt(2000, 9), bad, NumberAt(4000, 9.5)));
}

}  // namespace
}  // namespace zervane
