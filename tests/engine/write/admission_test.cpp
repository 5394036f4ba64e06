#include "engine/write/admission.h"

#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "tests/engine/records.h"

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

  std::vector<std::int32_t> Admit(std::vector<TagSample> batch,
                                  WriteOrder order = WriteOrder::kInOrder) {
    std::vector<std::int32_t> codes(batch.size(), -1);
    admission_.Admit(batch, order, codes, accepted_);
    return codes;
  }
  std::int32_t AdmitAt(std::int64_t time_ms) { return Admit({{kTag, NumberAt(time_ms)}})[0]; }

  std::int64_t now_ms_ = 5000;
  TagIndex tags_;
  CurrentValues current_values_;
  Admission admission_{tags_, current_values_, [this] { return now_ms_; }};
  std::vector<AcceptedSample> accepted_;
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
  EXPECT_EQ(accepted_[1].tag, kOtherTag);
}

TEST_F(AdmissionTest, JudgesAgainstWhatIsStillQueued) {
  EXPECT_EQ(AdmitAt(10), ZR3_OK);
  EXPECT_EQ(AdmitAt(9), ZR3_ERR_OUT_OF_ORDER);
  EXPECT_EQ(accepted_.size(), 1U);
}

TEST_F(AdmissionTest, JudgesAgainstStoredCurrentValues) {
  admission_.Know(kTag, 10);
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
  EXPECT_EQ(accepted_[0].sample.time_ms, 5000);
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
  Codes codes(2);
  std::vector<TagSample> batch = {{kTag, NumberAt(10)}, {kTag, NumberAt(0)}};
  EXPECT_THROW(admission.Admit(batch, WriteOrder::kInOrder, codes, accepted_), std::bad_alloc);
  EXPECT_TRUE(accepted_.empty());
  EXPECT_FALSE(admission.HoldsRecords(kTag));
}

TEST_F(AdmissionTest, KnowsWhichTagsHoldRecords) {
  EXPECT_FALSE(admission_.HoldsRecords(kTag));
  EXPECT_FALSE(admission_.HoldsRecords(4'000'000'000));
  AdmitAt(10);
  EXPECT_TRUE(admission_.HoldsRecords(kTag));
  EXPECT_FALSE(admission_.HoldsRecords(kOtherTag));
}

TEST_F(AdmissionTest, FallsBackToWhatIsStoredAndQueued) {
  current_values_.Reserve(kTag);
  current_values_.Put(kTag, NumberAt(10));
  admission_.Know(kTag, 10);
  Admit({{kTag, NumberAt(30)}, {kOtherTag, NumberAt(30)}});
  const std::vector<AcceptedSample> refused = std::move(accepted_);
  const std::vector<AcceptedSample> queued = {Accepted(kTag, 20)};

  admission_.FallBack(refused, queued);
  EXPECT_EQ(AdmitAt(19), ZR3_ERR_OUT_OF_ORDER);
  EXPECT_EQ(AdmitAt(20), ZR3_OK);
  EXPECT_FALSE(admission_.HoldsRecords(kOtherTag));
}

}  // namespace
}  // namespace zervane
