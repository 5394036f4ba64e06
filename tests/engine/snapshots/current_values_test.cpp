#include "engine/snapshots/current_values.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/engine/records.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

TEST(CurrentValues, AreFoundByTag) {
  CurrentValues values;
  // 1 and 65 fall into the same part.
  values.Put(1, NumberAt(10, 1.5));
  values.Put(65, NumberAt(20, 2.5));
  EXPECT_EQ(values.Find(1), NumberAt(10, 1.5));
  EXPECT_EQ(values.Find(65), NumberAt(20, 2.5));
  EXPECT_EQ(values.TimeOf(65), 20);
  EXPECT_EQ(values.Find(129), std::nullopt);
  EXPECT_EQ(values.TimeOf(129), kNoTime);
}

TEST(CurrentValues, AreReplacedAndRemoved) {
  CurrentValues values;
  values.Put(1, NumberAt(10, 1.5));
  values.Put(1, TextAt(11, "on"));
  EXPECT_EQ(values.Find(1), TextAt(11, "on"));
  values.Remove(1);
  EXPECT_EQ(values.Find(1), std::nullopt);
}

struct MarkCase {
  const char* name;
  std::vector<AcceptedSample> records;
  std::vector<bool> current;
};

class MarkedRecord : public testing::TestWithParam<MarkCase> {};

TEST_P(MarkedRecord, IsTheNewestOfItsTag) {
  TagIndex tags;
  for (const TagId tag : {1, 2, 3}) tags.Put(tag, {});
  CurrentValues values;
  values.Put(1, NumberAt(100));
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
