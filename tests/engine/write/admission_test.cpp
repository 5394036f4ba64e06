#include "engine/write/admission.h"

#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "tests/engine/records.h"
#include "tests/engine/short_memory.h"

namespace zervane {
namespace {

constexpr TagId kTag = 1;
constexpr TagId kOtherTag = 2;

class AdmissionTest : public testing::Test {
 protected:
  AdmissionTest() {
    for (TagId tag : {kTag, kOtherTag}) {
      tags_.Reserve(tag);
      tags_.Put(tag, {TagType::kFloat64, true});
    }
  }

  // A code for each record, also when all are accepted.
  std::vector<std::int32_t> Admit(const std::vector<TagSample>& batch,
                                  WriteOrder order = WriteOrder::kInOrder) {
    std::vector<std::int32_t> codes;
    admission_.Admit(BatchOf(batch), {order}, accepted_, codes);
    if (codes.empty()) codes.resize(batch.size(), ZR3_OK);
    return codes;
  }
  std::int32_t AdmitAt(std::int64_t time_ms) { return Admit({{kTag, NumberAt(time_ms)}})[0]; }

  std::int64_t now_ms_ = 5000;
  TagIndex tags_;
  CurrentValues current_values_;
  Admission admission_{tags_, current_values_, [this] { return now_ms_; }};
  RecordBatch accepted_;
};

using Codes = std::vector<std::int32_t>;

TEST_F(AdmissionTest, JudgesABatchInItsOrder) {
  EXPECT_EQ(Admit({{kTag, NumberAt(10)},
                   {kTag, NumberAt(9)},
                   {kOtherTag, NumberAt(9)},
                   {kTag, NumberAt(10)},
                   {99, NumberAt(10)}}),
            (Codes{ZR3_OK, ZR3_ERR_OUT_OF_ORDER, ZR3_OK, ZR3_OK, ZR3_ERR_TAG_NOT_FOUND}));
  ASSERT_EQ(accepted_.size(), 3U);
  EXPECT_EQ(accepted_.tags, (std::vector<TagId>{kTag, kOtherTag, kTag}));
  EXPECT_EQ(accepted_.samples.At(1), NumberAt(9));
}

TEST_F(AdmissionTest, JudgesAgainstWhatIsStillQueued) {
  EXPECT_EQ(AdmitAt(10), ZR3_OK);
  EXPECT_EQ(AdmitAt(9), ZR3_ERR_OUT_OF_ORDER);
  EXPECT_EQ(accepted_.size(), 1U);
}

TEST_F(AdmissionTest, JudgesAgainstStoredCurrentValues) {
  admission_.NoteStored(kTag, 10);
  EXPECT_EQ(AdmitAt(9), ZR3_ERR_OUT_OF_ORDER);
  EXPECT_EQ(AdmitAt(10), ZR3_OK);
}

TEST_F(AdmissionTest, LetsARefusedRecordChangeNothing) {
  Sample text = TextAt(20, "x");
  EXPECT_EQ(Admit({{kTag, text}}), Codes{ZR3_ERR_TYPE_MISMATCH});
  EXPECT_FALSE(admission_.HoldsRecords(kTag));
  EXPECT_EQ(AdmitAt(1), ZR3_OK);
}

TEST_F(AdmissionTest, KeepsTheNewestTimeWhenOrderIsFree) {
  EXPECT_EQ(Admit({{kTag, NumberAt(10)}, {kTag, NumberAt(5)}}, WriteOrder::kAnyOrder),
            (Codes{ZR3_OK, ZR3_OK}));
  EXPECT_EQ(AdmitAt(9), ZR3_ERR_OUT_OF_ORDER);
}

TEST_F(AdmissionTest, GivesRecordsOfTimeZeroTheClock) {
  EXPECT_EQ(AdmitAt(0), ZR3_OK);
  EXPECT_EQ(accepted_.samples.times()[0], 5000);
  EXPECT_EQ(AdmitAt(4999), ZR3_ERR_OUT_OF_ORDER);
}

TEST_F(AdmissionTest, RefusesTheClocksTimeWhenTheTagIsAheadOfIt) {
  EXPECT_EQ(AdmitAt(6000), ZR3_OK);
  EXPECT_EQ(AdmitAt(0), ZR3_ERR_OUT_OF_ORDER);
}

TEST_F(AdmissionTest, RefusesAClockOutsideTheRangeOfTimes) {
  now_ms_ = kMaxTimeMs + 1;
  EXPECT_EQ(AdmitAt(0), ZR3_ERR_INVALID_TIME);
  now_ms_ = -1;
  EXPECT_EQ(AdmitAt(0), ZR3_ERR_INVALID_TIME);
}

TEST_F(AdmissionTest, ChangesNothingWhenItRunsOutOfMemory) {
  Admission admission(tags_, current_values_, []() -> std::int64_t { throw std::bad_alloc(); });
  Codes codes;
  const SampleBatch batch = BatchOf({{kTag, NumberAt(10)}, {kTag, NumberAt(0)}});
  EXPECT_THROW(admission.Admit(batch, {WriteOrder::kInOrder}, accepted_, codes), std::bad_alloc);
  EXPECT_TRUE(accepted_.empty());
  EXPECT_TRUE(accepted_.samples.empty());
  EXPECT_FALSE(admission.HoldsRecords(kTag));
}

TEST_F(AdmissionTest, ChangesNothingWhicheverRequestForMemoryFails) {
  const SampleBatch batch = BatchOf({{kTag, NumberAt(10)}, {kTag, NumberAt(5)}, {99, NumberAt(5)}});
  bool has_failed = true;
  for (std::uint64_t nth = 1; has_failed; ++nth) {
    Admission admission(tags_, current_values_, [] { return 1; });
    RecordBatch accepted;
    Codes codes;
    try {
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      admission.Admit(batch, {WriteOrder::kInOrder}, accepted, codes);
    } catch (const std::bad_alloc&) {
      EXPECT_TRUE(accepted.tags.empty() && accepted.samples.empty() && codes.empty());
      EXPECT_FALSE(admission.HoldsRecords(kTag));
    }
    has_failed = ShortMemory::Failed() > 0;
    EXPECT_EQ(admission.HoldsRecords(kTag), !has_failed) << "request " << nth;
  }
}

// ---- all records or none ----

constexpr WriteRules kWhole{.order = WriteOrder::kAnyOrder, .is_system = true, .is_whole = true};

TEST_F(AdmissionTest, AcceptsAWholeBatchInAnyOrder) {
  Codes codes;
  const SampleBatch batch =
      BatchOf({{kTag, NumberAt(10)}, {kTag, NumberAt(5)}, {kOtherTag, NumberAt(0)}});
  admission_.Admit(batch, kWhole, accepted_, codes);
  EXPECT_TRUE(codes.empty());
  EXPECT_EQ(accepted_.tags, (std::vector<TagId>{kTag, kTag, kOtherTag}));
  EXPECT_EQ(accepted_.samples.At(2), NumberAt(5000));
  EXPECT_EQ(AdmitAt(9), ZR3_ERR_OUT_OF_ORDER) << "its newest record counts from then on";
  EXPECT_EQ(Admit({{kOtherTag, NumberAt(4999)}}), Codes{ZR3_ERR_OUT_OF_ORDER});
}

TEST_F(AdmissionTest, AcceptsNothingOfAWholeBatchThatHasOneBadRecord) {
  EXPECT_EQ(AdmitAt(7), ZR3_OK);
  Codes codes;
  const SampleBatch batch =
      BatchOf({{kTag, NumberAt(10)}, {99, NumberAt(5)}, {kOtherTag, NumberAt(-1)}});
  admission_.Admit(batch, kWhole, accepted_, codes);
  EXPECT_EQ(codes, (Codes{ZR3_OK, ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_INVALID_TIME}));
  EXPECT_EQ(accepted_.tags, std::vector<TagId>{kTag});
  EXPECT_EQ(accepted_.samples.size(), 1U);
  EXPECT_EQ(AdmitAt(8), ZR3_OK) << "the refused record at 10 counts for nothing";
  EXPECT_FALSE(admission_.HoldsRecords(kOtherTag));
}

TEST_F(AdmissionTest, RefusesRecordsOfTheDatabasesOwnTagsFromOutside) {
  tags_.Put(kOtherTag, {.is_own = true});
  for (const WriteOrder order : {WriteOrder::kInOrder, WriteOrder::kAnyOrder}) {
    EXPECT_EQ(Admit({{kTag, NumberAt(10)}, {kOtherTag, NumberAt(10)}}, order),
              (Codes{ZR3_OK, ZR3_ERR_INVALID_TAG_CLASS}));
  }
  EXPECT_FALSE(admission_.HoldsRecords(kOtherTag));
  Codes codes;
  admission_.Admit(BatchOf({{kOtherTag, NumberAt(10)}}), kWhole, accepted_, codes);
  EXPECT_TRUE(codes.empty());
  EXPECT_TRUE(admission_.HoldsRecords(kOtherTag));
}

TEST_F(AdmissionTest, TellsCodesOnlyWhenSomeRecordIsRefused) {
  Codes codes;
  admission_.Admit(BatchOf(NumbersAt(kTag, {1, 2})), {WriteOrder::kInOrder}, accepted_, codes);
  EXPECT_TRUE(codes.empty());
  admission_.Admit(BatchOf(NumbersAt(kTag, {3, 2})), {WriteOrder::kInOrder}, accepted_, codes);
  EXPECT_EQ(codes, (Codes{ZR3_OK, ZR3_ERR_OUT_OF_ORDER}));
}

TEST_F(AdmissionTest, KeepsTextsWithTheirRecordsBetweenRefusedOnes) {
  tags_.Reserve(3);
  tags_.Put(3, {TagType::kString, true});
  Admit({{3, TextAt(1, "first")},
         {kTag, TextAt(1, "of another type")},
         {kTag, NumberAt(1)},
         {3, TextAt(0, "by the clock")},
         {3, TextAt(2, "too old")},
         {3, TextAt(9000, "")}});
  ASSERT_EQ(accepted_.size(), 4U);
  EXPECT_EQ(accepted_.tags, (std::vector<TagId>{3, kTag, 3, 3}));
  EXPECT_EQ(accepted_.samples.At(0), TextAt(1, "first"));
  EXPECT_EQ(accepted_.samples.At(2), TextAt(5000, "by the clock"));
  EXPECT_EQ(accepted_.samples.At(3), TextAt(9000, ""));
}

TEST_F(AdmissionTest, SpendsNoMemoryOnTagsThatAreNotThere) {
  std::vector<TagSample> batch;
  for (TagId tag = 4'000'000'000; tag < 4'000'001'000; ++tag) batch.push_back({tag, NumberAt(1)});
  EXPECT_EQ(Admit(batch), Codes(1000, ZR3_ERR_TAG_NOT_FOUND));
  EXPECT_TRUE(accepted_.empty());
}

TEST_F(AdmissionTest, KnowsWhichTagsHoldRecords) {
  EXPECT_FALSE(admission_.HoldsRecords(kTag));
  EXPECT_FALSE(admission_.HoldsRecords(4'000'000'000));
  AdmitAt(10);
  EXPECT_TRUE(admission_.HoldsRecords(kTag));
  EXPECT_FALSE(admission_.HoldsRecords(kOtherTag));
}

TEST_F(AdmissionTest, FallsBackToWhatIsStoredAndQueued) {
  SampleColumns stored;
  stored.Add(NumberAt(10));
  Turn turn = Turn::Issue();
  current_values_.Put(turn, current_values_.Prepare(turn, kTag, stored, 0));
  admission_.NoteStored(kTag, 10);
  Admit({{kTag, NumberAt(30)}, {kOtherTag, NumberAt(30)}});
  admission_.FallBackToStored(accepted_);
  admission_.CountQueued(UnmarkedOf({{kTag, NumberAt(20)}}));
  EXPECT_EQ(AdmitAt(19), ZR3_ERR_OUT_OF_ORDER);
  EXPECT_EQ(AdmitAt(20), ZR3_OK);
  EXPECT_FALSE(admission_.HoldsRecords(kOtherTag));
}

}  // namespace
}  // namespace zervane
