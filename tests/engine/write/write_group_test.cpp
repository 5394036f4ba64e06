#include "engine/write/write_group.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/engine/records.h"

namespace zervane {
namespace {

void AddBatch(WriteGroup& group, std::vector<AcceptedSample> records) {
  const std::size_t begin = group.records.size();
  group.ReserveBatch();
  for (AcceptedSample& record : records) group.records.push_back(std::move(record));
  group.CloseBatch(begin, nullptr);
}

TEST(WriteGroup, KeepsBatchesApart) {
  WriteGroup group;
  EXPECT_TRUE(group.IsEmpty());
  AddBatch(group, {Accepted(1, 10), Accepted(2, 10)});
  AddBatch(group, {Accepted(3, 10)});
  ASSERT_EQ(group.batches.size(), 2U);
  EXPECT_EQ(group.RecordsOf(group.batches[0]).size(), 2U);
  EXPECT_EQ(group.RecordsOf(group.batches[1])[0].tag, 3U);
  EXPECT_FALSE(group.IsEmpty());
}

TEST(WriteGroup, CountsTheBytesOfItsTexts) {
  WriteGroup group;
  AddBatch(group, {Accepted(1, 10)});
  const std::size_t number_bytes = group.bytes;
  EXPECT_GE(number_bytes, sizeof(AcceptedSample));
  AddBatch(group, {{.tag = 1, .sample = TextAt(11, std::string(500, 'x'))}});
  EXPECT_EQ(group.bytes, 2 * number_bytes + 500);
}

TEST(WriteGroup, DropsTheRecordsOfOneTag) {
  WriteGroup group;
  AddBatch(group, {Accepted(1, 10), Accepted(2, 11), Accepted(1, 12)});
  AddBatch(group, {Accepted(1, 13)});
  AddBatch(group, {Accepted(2, 14), Accepted(3, 15)});
  const std::size_t bytes = group.bytes;

  group.Drop(1);
  ASSERT_EQ(group.batches.size(), 3U);
  ASSERT_EQ(group.RecordsOf(group.batches[0]).size(), 1U);
  EXPECT_EQ(group.RecordsOf(group.batches[0])[0].sample.time_ms, 11);
  EXPECT_TRUE(group.RecordsOf(group.batches[1]).empty());
  ASSERT_EQ(group.RecordsOf(group.batches[2]).size(), 2U);
  EXPECT_EQ(group.RecordsOf(group.batches[2])[1].sample.time_ms, 15);
  EXPECT_EQ(group.records.size(), 3U);
  EXPECT_EQ(group.bytes, bytes / 2);

  AddBatch(group, {Accepted(4, 16)});
  EXPECT_EQ(group.RecordsOf(group.batches[3])[0].tag, 4U);
}

TEST(WriteGroup, DropsNothingOfATagThatItDoesNotHave) {
  WriteGroup group;
  group.Drop(1);
  AddBatch(group, {Accepted(2, 11)});
  group.Drop(1);
  EXPECT_EQ(group.records.size(), 1U);
}

TEST(WriteGroup, IsEmptyOnceCleared) {
  WriteGroup group;
  AddBatch(group, {Accepted(1, 10)});
  group.Clear();
  EXPECT_TRUE(group.IsEmpty());
  EXPECT_TRUE(group.records.empty());
  EXPECT_EQ(group.bytes, 0U);
}

}  // namespace
}  // namespace zervane
