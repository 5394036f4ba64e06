#include "engine/write/write_group.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "engine/storage/record_batch.h"
#include "tests/engine/records.h"
#include "tests/engine/short_memory.h"
#include "tests/engine/write/tasks.h"

namespace zervane {
namespace {

constexpr std::size_t kMore = WriteGroup::kMoreBytes;

void AddBatch(WriteGroup& group, const std::vector<TagSample>& records, Ticket* ticket = nullptr) {
  const std::size_t begin = group.records.size();
  group.ReserveBatch();
  AddRange(group.records, UnmarkedOf(records), 0, records.size());
  group.CloseBatch(begin, 1, ticket);
}

TEST(WriteGroup, KeepsBatchesApart) {
  WriteGroup group;
  EXPECT_TRUE(group.IsEmpty());
  AddBatch(group, {{1, NumberAt(10)}, {2, NumberAt(10)}});
  AddBatch(group, {{3, NumberAt(10)}});
  ASSERT_EQ(group.batches.size(), 2U);
  EXPECT_EQ(group.batches[0].end, 2U);
  EXPECT_EQ(group.batches[1].begin, 2U);
  EXPECT_EQ(group.batches[1].end, 3U);
  EXPECT_EQ(group.records.tags, (std::vector<TagId>{1, 2, 3}));
  EXPECT_FALSE(group.IsEmpty());
}

TEST(WriteGroup, KeepsTheRowsOfEachBatchApart) {
  WriteGroup group;
  const auto add = [&](std::vector<RowChange> rows) {
    const std::size_t begin = group.records.size();
    group.ReserveBatch(rows.size());
    AddRange(group.records, UnmarkedOf({{1, NumberAt(10)}}), 0, 1);
    group.CloseBatch(begin, 0, nullptr, rows);
  };
  add({TaskAt(1), TaskRemoval(2)});
  add({});
  add({TaskAt(3)});
  EXPECT_EQ(TimesOf(group.rows), (std::vector<std::int64_t>{1, 2, 3}));
  EXPECT_EQ(TimesOf(group.RowsOf(group.batches[0])), (std::vector<std::int64_t>{1, 2}));
  EXPECT_FALSE(group.rows[1].row.has_value());
  EXPECT_TRUE(group.RowsOf(group.batches[1]).empty());
  EXPECT_EQ(TimesOf(group.RowsOf(group.batches[2])), (std::vector<std::int64_t>{3}));
  group.Clear();
  EXPECT_TRUE(group.rows.empty());
}

TEST(WriteGroup, CountsTheBytesOfItsTexts) {
  WriteGroup group;
  AddBatch(group, {{1, NumberAt(10)}});
  EXPECT_EQ(group.Bytes(), WriteGroup::kRecordBytes);
  AddBatch(group, {{1, TextAt(11, std::string(500, 'x'))}});
  EXPECT_EQ(group.Bytes(), 2 * WriteGroup::kRecordBytes + 500);
}

TEST(WriteGroup, GrowsAsLongAsNobodyWaitsForIt) {
  WriteGroup group;
  AddBatch(group, NumbersAt(1, std::vector<std::int64_t>(10'000, 1)));
  EXPECT_TRUE(group.HasRoomFor(std::size_t{1} << 40));
}

TEST(WriteGroup, HasLittleRoomBehindAFirstWaitingBatchThatIsSmall) {
  WriteGroup group;
  Ticket ticket;
  Ticket next;
  AddBatch(group, NumbersAt(1, std::vector<std::int64_t>(10'000, 1)));
  AddBatch(group, {{1, NumberAt(2)}}, &ticket);
  EXPECT_TRUE(group.HasRoomFor(kMore));
  EXPECT_FALSE(group.HasRoomFor(kMore + 1));
  AddBatch(group, {{1, NumberAt(3)}}, &next);  // another one who waits moves nothing
  EXPECT_TRUE(group.HasRoomFor(kMore - WriteGroup::kRecordBytes));
  EXPECT_FALSE(group.HasRoomFor(kMore - WriteGroup::kRecordBytes + 1));
}

TEST(WriteGroup, GrowsBehindAFirstWaitingBatchThatIsGreat) {
  WriteGroup group;
  Ticket ticket;
  Ticket next;
  const std::size_t count = kMore / WriteGroup::kRecordBytes + 1;
  AddBatch(group, NumbersAt(1, std::vector<std::int64_t>(count, 1)), &ticket);
  AddBatch(group, {{1, NumberAt(2)}}, &next);
  EXPECT_TRUE(group.HasRoomFor(std::size_t{1} << 40));
}

TEST(WriteGroup, HasLittleRoomBehindAChange) {
  WriteGroup group;
  Ticket ticket;
  const std::function<Status(Turn&)> change = [](Turn&) { return Status(); };
  group.AddChange(change, ticket);
  EXPECT_TRUE(group.HasRoomFor(kMore));
  EXPECT_FALSE(group.HasRoomFor(kMore + 1));
}

TEST(WriteGroup, IsEmptyAndFreeToGrowOnceCleared) {
  WriteGroup group;
  Ticket ticket;
  AddBatch(group, {{1, TextAt(10, "x")}}, &ticket);
  group.Clear();
  EXPECT_TRUE(group.IsEmpty());
  EXPECT_TRUE(group.records.empty());
  EXPECT_EQ(group.Bytes(), 0U);
  AddBatch(group, {{1, NumberAt(10)}});
  EXPECT_TRUE(group.HasRoomFor(std::size_t{1} << 40));
}

// Whether records can have texts of so many bytes without a request for memory.
bool HasMemoryForTexts(RecordBatch& records, std::size_t bytes) {
  const ShortMemory memory(1);
  try {
    records.samples.Reserve(0, bytes);
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

TEST(WriteGroup, KeepsTheMemoryOfTextsForTheNextUseUnlessTheyWereMany) {
  const std::string text(1'024, 'x');
  std::vector<TagSample> records(kMostKeptTextBytes / text.size(), {1, TextAt(10, text)});
  WriteGroup group;
  AddBatch(group, records);
  group.Clear();
  EXPECT_TRUE(HasMemoryForTexts(group.records, kMostKeptTextBytes));
  records.push_back({1, TextAt(10, "x")});
  AddBatch(group, records);
  group.Clear();
  EXPECT_TRUE(group.IsEmpty());
  EXPECT_FALSE(HasMemoryForTexts(group.records, kMostKeptTextBytes));
}

}  // namespace
}  // namespace zervane
