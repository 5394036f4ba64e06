#include "engine/write/group_marks.h"

#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "tests/engine/records.h"
#include "tests/engine/short_memory.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

constexpr TagId kFiltered = 4;
constexpr TagId kWithoutArchive = 5;
constexpr TagId kGone = 6;

// Tags 1, 2 and 3 archive all they get; the current value of tag 1 is of time 100.
class GroupMarksTest : public testing::Test {
 protected:
  GroupMarksTest() {
    for (const TagId tag : {1U, 2U, 3U, kGone}) Put(tag, {});
    Put(kFiltered, {.filtered = true});
    Put(kWithoutArchive, {.archiving = false});
    tags_.Remove(kGone);
    SampleColumns stored;
    stored.Add(NumberAt(100));
    current_values_.Put(turn_, current_values_.Prepare(turn_, 1, stored, 0));
  }

  void Put(TagId tag, const TagTraits& traits) {
    tags_.Reserve(tag);
    tags_.Put(tag, traits);
  }
  RecordBatch Marked(const std::vector<TagSample>& records) {
    RecordBatch batch = UnmarkedOf(records);
    marks_.Mark(turn_, batch);
    return batch;
  }

  Turn turn_ = Turn::Issue();
  TagIndex tags_;
  CurrentValues current_values_;
  GroupMarks marks_{tags_, current_values_};
};

using Marks = std::vector<std::uint8_t>;
using Positions = std::vector<std::uint32_t>;

Positions Listed(std::span<const std::uint32_t> positions) {
  return {positions.begin(), positions.end()};
}

TEST_F(GroupMarksTest, SendRecordsToTheArchiveWhoseTagsHaveOne) {
  EXPECT_EQ(Marked({{2, NumberAt(5)}, {kWithoutArchive, NumberAt(5)}}).marks,
            (Marks{kArchive | kCurrent, kCurrent}));
  EXPECT_EQ(Marked(NumbersAt(kWithoutArchive, {6, 7})).marks, (Marks{0, kCurrent}));
}

TEST_F(GroupMarksTest, SendRecordsOfTagsThatAreNoMoreNowhere) {
  EXPECT_EQ(Marked({{kGone, NumberAt(5)}, {2, NumberAt(5)}}).marks,
            (Marks{0, kArchive | kCurrent}));
  EXPECT_EQ(Listed(marks_.current()), Positions{1});
}

TEST_F(GroupMarksTest, ListTheRecordsThatAStageIsToLookAt) {
  (void)Marked({{kFiltered, NumberAt(5)}, {2, NumberAt(5)}, {kFiltered, NumberAt(4)}});
  EXPECT_EQ(Listed(marks_.filtered()), (Positions{0, 2}));
  (void)Marked({{2, NumberAt(5)}});
  EXPECT_TRUE(marks_.filtered().empty());
}

TEST_F(GroupMarksTest, TellWhichRecordsWereTheNewestWhenTheirTurnCame) {
  (void)Marked({{2, NumberAt(5)}, {2, NumberAt(4)}, {2, NumberAt(5)}, {1, NumberAt(99)}});
  EXPECT_EQ(std::vector(marks_.was_newest().begin(), marks_.was_newest().end()),
            (Marks{1, 0, 1, 0}));
}

TEST_F(GroupMarksTest, TakeUpTheTraitsOfATagAnewWithEveryGroup) {
  EXPECT_EQ(Marked({{2, NumberAt(5)}}).marks, Marks{kArchive | kCurrent});
  Put(2, {.archiving = false});
  EXPECT_EQ(Marked({{2, NumberAt(5)}}).marks, Marks{kCurrent});
}

TEST_F(GroupMarksTest, AreRightAfterARequestForMemoryFailed) {
  const std::vector<TagSample> records = {{2, NumberAt(5)}, {3, NumberAt(5)}, {2000, NumberAt(5)},
                                          {2, NumberAt(6)}, {2, NumberAt(4)}, {2000, NumberAt(6)}};
  Put(2000, {});
  bool has_failed = true;
  for (std::uint64_t nth = 1; has_failed; ++nth) {
    GroupMarks marks(tags_, current_values_);
    RecordBatch batch = UnmarkedOf(records);
    try {
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      marks.Mark(turn_, batch);
    } catch (const std::bad_alloc&) {
    }
    has_failed = ShortMemory::Failed() > 0;
    marks.Mark(turn_, batch);
    EXPECT_EQ(batch.marks, (Marks{kArchive, kArchive | kCurrent, kArchive, kArchive | kCurrent,
                                  kArchive, kArchive | kCurrent}));
    EXPECT_EQ(Listed(marks.current()), (Positions{3, 1, 5}));
  }
}

struct MarkCase {
  const char* name;
  std::vector<TagSample> records;
  std::vector<bool> current;
};

class MarkedRecord : public GroupMarksTest, public testing::WithParamInterface<MarkCase> {};

TEST_P(MarkedRecord, IsTheNewestOfItsTag) {
  for (const char* run : {"first", "second"}) {  // the first leaves nothing behind
    SCOPED_TRACE(run);
    const RecordBatch batch = Marked(GetParam().records);
    std::vector<bool> current;
    for (const std::uint8_t marks : batch.marks) current.push_back((marks & kCurrent) != 0);
    EXPECT_EQ(current, GetParam().current);
    std::vector<bool> listed(batch.size());
    for (const std::uint32_t position : marks_.current()) listed[position] = true;
    EXPECT_EQ(listed, GetParam().current);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Current, MarkedRecord,
    testing::Values(MarkCase{"FirstOfItsTag", NumbersAt(2, {5}), {true}},
                    MarkCase{"NewerThanTheCurrentValue", NumbersAt(1, {101}), {true}},
                    MarkCase{"EqualToTheCurrentValue", NumbersAt(1, {100}), {true}},
                    MarkCase{"OlderThanTheCurrentValue", NumbersAt(1, {99}), {false}},
                    MarkCase{"LastOfAscendingOnes", NumbersAt(2, {1, 2}), {false, true}},
                    MarkCase{"FirstOfDescendingOnes", NumbersAt(2, {2, 1}), {true, false}},
                    MarkCase{"LastOfEqualOnes", NumbersAt(2, {1, 1}), {false, true}},
                    MarkCase{"OnePerTag",
                             {{2, NumberAt(1)},
                              {1, NumberAt(50)},
                              {3, NumberAt(1)},
                              {1, NumberAt(200)},
                              {2, NumberAt(0)}},
                             {true, false, true, true, false}}),
    CaseName());

}  // namespace
}  // namespace zervane
