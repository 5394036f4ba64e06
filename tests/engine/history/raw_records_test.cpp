#include "engine/history/raw_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "tests/engine/records.h"
#include "tests/engine/storage/faulty_store.h"
#include "tests/engine/storage/store_driver.h"

namespace zervane {
namespace {

using storage::Faults;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t kAll = std::numeric_limits<std::uint64_t>::max();

// Tag 1 has the numbers 10, 20, 30, 40, tag 2 two texts.
class RawRecords : public testing::Test {
 protected:
  RawRecords() {
    storage::StoreDriver driver(store_);
    driver.PutTag(storage::TagNamed(1, "ONE"));
    driver.PutTag(storage::TagNamed(2, "TWO"));
    driver.Append({{1, NumberAt(20, 2)}, {1, NumberAt(40, 4)}, {2, TextAt(10, "first")}});
    driver.Append({{1, NumberAt(10, 1)}, {1, NumberAt(30, 3)}, {2, TextAt(20, "second")}});
  }

  std::vector<Sample> Read(TagId tag, TimeRange range, Direction direction, std::uint64_t limit) {
    const Result<SampleColumns> read = ReadRaw(store_, tag, range, direction, limit);
    EXPECT_TRUE(read.ok());
    std::vector<Sample> samples;
    for (std::size_t at = 0; at < read->size(); ++at) samples.push_back(read->At(at));
    return samples;
  }

  std::shared_ptr<Faults> faults_ = std::make_shared<Faults>();
  storage::FaultyStore store_{OpenMemoryStore(), faults_};
};

TEST_F(RawRecords, AreReadInBothDirectionsUpToALimit) {
  const TimeRange range = {.from_ms = 20, .to_ms = 40};
  EXPECT_THAT(Read(1, range, Direction::kForward, 2),
              ElementsAre(NumberAt(20, 2), NumberAt(30, 3)));
  EXPECT_THAT(Read(1, range, Direction::kBackward, 2),
              ElementsAre(NumberAt(40, 4), NumberAt(30, 3)));
  EXPECT_EQ(Read(1, {}, Direction::kForward, kAll).size(), 4U);
  EXPECT_THAT(Read(1, {}, Direction::kBackward, kAll),
              ElementsAre(NumberAt(40, 4), NumberAt(30, 3), NumberAt(20, 2), NumberAt(10, 1)));
}

TEST_F(RawRecords, AreReadWithTheirTexts) {
  EXPECT_THAT(Read(2, {}, Direction::kForward, kAll),
              ElementsAre(TextAt(10, "first"), TextAt(20, "second")));
  EXPECT_THAT(Read(2, {}, Direction::kBackward, 1), ElementsAre(TextAt(20, "second")));
  EXPECT_THAT(Read(2, {}, Direction::kBackward, kAll),
              ElementsAre(TextAt(20, "second"), TextAt(10, "first")));
}

TEST_F(RawRecords, AreCounted) {
  EXPECT_EQ(*CountRaw(store_, 1, {}), 4);
  EXPECT_EQ(*CountRaw(store_, 1, {.from_ms = 20, .to_ms = 39}), 2);
  EXPECT_EQ(*CountRaw(store_, 3, {}), 0);
}

TEST_F(RawRecords, AreNoneInAnEmptyRangeOrForNoRoom) {
  const TimeRange empty = {.from_ms = 11, .to_ms = 10};
  const int before = faults_->calls(Faults::Call::kScan);
  EXPECT_EQ(*CountRaw(store_, 1, empty), 0);
  EXPECT_THAT(Read(1, empty, Direction::kForward, 9), IsEmpty());
  EXPECT_THAT(Read(1, {}, Direction::kForward, 0), IsEmpty());
  EXPECT_EQ(faults_->calls(Faults::Call::kScan), before);
}

TEST_F(RawRecords, AnswerTheStatusOfTheStore) {
  faults_->Fail(Faults::Call::kScan, ZR3_ERR_STORAGE_DAMAGED, 2);
  EXPECT_EQ(CountRaw(store_, 1, {}).code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ(ReadRaw(store_, 1, {}, Direction::kForward, 1).code(), ZR3_ERR_STORAGE_DAMAGED);
}

SampleColumns TensUpTo(int count) {
  SampleColumns columns;
  for (int i = 1; i <= count; ++i) columns.Add(NumberAt(10 * i, i));
  return columns;
}

TEST(RecordReader, TakesNoMoreOfARunThanThereIsRoomFor) {
  const SampleColumns run = TensUpTo(10);
  RecordReader forward(Direction::kForward, 3);
  EXPECT_EQ(forward.Offer({}), ScanVisitor::Wants::kRecords);
  EXPECT_TRUE(forward.Show(run, 8, 10));
  EXPECT_FALSE(forward.Show(run, 2, 6));
  EXPECT_EQ(forward.Offer({}), ScanVisitor::Wants::kStop);
  EXPECT_THAT(forward.records().times(), ElementsAre(90, 100, 30));

  RecordReader backward(Direction::kBackward, 3);
  EXPECT_TRUE(backward.Show(run, 8, 10));
  EXPECT_FALSE(backward.Show(run, 2, 6));
  EXPECT_THAT(backward.records().times(), ElementsAre(100, 90, 60));
}

}  // namespace
}  // namespace zervane
