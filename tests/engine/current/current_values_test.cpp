#include "engine/current/current_values.h"

#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "tests/engine/records.h"
#include "tests/engine/short_memory.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

void Put(CurrentValues& values, TagId tag, const Sample& sample) {
  values.Reserve(tag);
  values.Put(tag, sample);
}

TEST(CurrentValues, AreFoundByTag) {
  CurrentValues values;
  // 1 and 65 fall into the same part.
  Put(values, 1, NumberAt(10, 1.5));
  Put(values, 65, NumberAt(20, 2.5));
  EXPECT_EQ(values.Find(1), NumberAt(10, 1.5));
  EXPECT_EQ(values.Find(65), NumberAt(20, 2.5));
  EXPECT_EQ(values.TimeOf(65), 20);
  EXPECT_EQ(values.Find(129), std::nullopt);
  EXPECT_EQ(values.TimeOf(129), kNoTime);
}

TEST(CurrentValues, AreReplacedAndRemoved) {
  CurrentValues values;
  Put(values, 1, NumberAt(10, 1.5));
  Put(values, 1, TextAt(11, "on"));
  EXPECT_EQ(values.Find(1), TextAt(11, "on"));
  values.Remove(1);
  EXPECT_EQ(values.Find(1), std::nullopt);
}

// One tag in each piece of memory that current values are kept in.
TEST(MarkGroup, LeavesNothingBehindWhicheverRequestForMemoryFails) {
  TagIndex tags;
  std::vector<AcceptedSample> records;
  for (TagId tag = 1; tag <= 3; ++tag) {
    tags.Reserve(tag);
    tags.Put(tag, {});
    records.push_back(Accepted(tag, 10));
    records.push_back(Accepted(tag, 11));
  }
  CurrentValues values;
  GroupMarks marks;
  bool has_failed = true;
  for (std::uint64_t nth = 1; has_failed; ++nth) {
    try {
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      MarkGroup(tags, values, records, &marks);
    } catch (const std::bad_alloc&) {
    }
    has_failed = ShortMemory::Failed() > 0;
    for (TagId tag = 1; tag <= 3; ++tag) EXPECT_EQ(tags.FindSlot(tag)->newest_in_group, 0U);
  }
  EXPECT_EQ(marks.current, (std::vector<std::uint32_t>{1, 3, 5}));
}

TEST(MarkGroup, MakesThePlacesOfTheValuesThatBecomeCurrent) {
  TagIndex tags;
  tags.Reserve(1);
  tags.Put(1, {});
  std::vector<AcceptedSample> records = {Accepted(1, 10)};
  CurrentValues values;
  GroupMarks marks;
  MarkGroup(tags, values, records, &marks);
  EXPECT_EQ(values.Find(1), std::nullopt);
  {
    const ShortMemory memory(1);
    values.Put(1, records[0].sample);
  }
  EXPECT_EQ(values.TimeOf(1), 10);
}

struct MarkCase {
  const char* name;
  std::vector<AcceptedSample> records;
  std::vector<bool> current;
};

class MarkedRecord : public testing::TestWithParam<MarkCase> {};

TEST_P(MarkedRecord, IsTheNewestOfItsTag) {
  TagIndex tags;
  for (const TagId tag : {1, 2, 3}) {
    tags.Reserve(tag);
    tags.Put(tag, {});
  }
  CurrentValues values;
  Put(values, 1, NumberAt(100));
  std::vector<AcceptedSample> records = GetParam().records;
  for (const char* run : {"first", "second"}) {  // the first leaves nothing behind
    SCOPED_TRACE(run);
    GroupMarks marks;
    MarkGroup(tags, values, records, &marks);
    std::vector<bool> current;
    for (const AcceptedSample& record : records) current.push_back(record.current);
    EXPECT_EQ(current, GetParam().current);
    std::vector<bool> listed(records.size());
    for (const std::uint32_t position : marks.current) listed[position] = true;
    EXPECT_EQ(listed, GetParam().current);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Current, MarkedRecord,
    testing::Values(
        MarkCase{"FirstOfItsTag", {Accepted(2, 5)}, {true}},
        MarkCase{"NewerThanTheCurrentValue", {Accepted(1, 101)}, {true}},
        MarkCase{"EqualToTheCurrentValue", {Accepted(1, 100)}, {true}},
        MarkCase{"OlderThanTheCurrentValue", {Accepted(1, 99)}, {false}},
        MarkCase{"LastOfAscendingOnes", {Accepted(2, 1), Accepted(2, 2)}, {false, true}},
        MarkCase{"FirstOfDescendingOnes", {Accepted(2, 2), Accepted(2, 1)}, {true, false}},
        MarkCase{"LastOfEqualOnes", {Accepted(2, 1), Accepted(2, 1)}, {false, true}},
        MarkCase{
            "OnePerTag",
            {Accepted(2, 1), Accepted(1, 50), Accepted(3, 1), Accepted(1, 200), Accepted(2, 0)},
            {true, false, true, true, false}}),
    CaseName());

}  // namespace
}  // namespace zervane
