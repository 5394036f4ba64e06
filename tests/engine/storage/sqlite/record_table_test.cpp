#include "engine/storage/sqlite/record_table.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

#include "tests/engine/storage/codec/codec_cases.h"
#include "tests/engine/storage/sqlite/archive_file.h"

namespace zervane::storage {
namespace {

class Records : public testing::Test {
 protected:
  void Put(RecordTable table, TagId tag, const Sample& sample) {
    EXPECT_TRUE(PutRecord(*file_, table, tag, sample).ok());
  }

  std::map<TagId, Sample> Visit(RecordTable table, TagId first, TagId last) {
    std::map<TagId, Sample> records;
    const auto take = [&](TagId tag, Sample sample) {
      EXPECT_TRUE(records.empty() || tag > records.rbegin()->first) << "in order of tag";
      records[tag] = std::move(sample);
    };
    EXPECT_TRUE(VisitRecords(*file_, table, first, last, nullptr, take).ok());
    return records;
  }

  ArchiveFile archive_;
  std::unique_ptr<Connection> file_ = archive_.OpenWriter();
};

TEST_F(Records, AreThoseOfARangeOfTags) {
  for (const TagId tag : {9U, 3U, 4U, 4'294'967'295U}) {
    Put(RecordTable::kCurrent, tag, Record(tag, tag, 0.5).sample);
  }
  Put(RecordTable::kHeld, 5, Record(5, 5, 0.5).sample);
  EXPECT_EQ(Visit(RecordTable::kCurrent, 4, 9).size(), 2U);
  EXPECT_EQ(Visit(RecordTable::kCurrent, 0, 4'294'967'295).size(), 4U);
  EXPECT_EQ(Visit(RecordTable::kHeld, 1, 9).at(5), Record(5, 5, 0.5).sample);
  EXPECT_TRUE(Visit(RecordTable::kCurrent, 10, 11).empty());
}

TEST_F(Records, AreReplacedDeletedAndOfAnyType) {
  for (const ValuesCase& row : kValues) {
    for (const Sample& sample : SamplesOf(row)) {
      Put(RecordTable::kHeld, 7, sample);
      const auto loaded = LoadRecord(*file_, RecordTable::kHeld, 7, nullptr);
      ASSERT_TRUE(loaded.ok() && loaded->has_value()) << row.name;
      EXPECT_TRUE(IsSameToTheBit(**loaded, sample)) << row.name;
    }
  }
  EXPECT_TRUE(DeleteRecord(*file_, RecordTable::kHeld, 7).ok());
  EXPECT_FALSE(LoadRecord(*file_, RecordTable::kHeld, 7, nullptr)->has_value());
}

TEST_F(Records, AreLostAloneWhenTheyAreDamaged) {
  for (TagId tag = 1; tag <= 3; ++tag) {
    Put(RecordTable::kCurrent, tag, Record(tag, tag, 0.5).sample);
  }
  EXPECT_TRUE(file_->Execute("UPDATE current SET payload = zeroblob(30) WHERE tag = 2").ok());
  EXPECT_EQ(Visit(RecordTable::kCurrent, 1, 3).size(), 2U);
  const auto lost = LoadRecord(*file_, RecordTable::kCurrent, 2, nullptr);
  EXPECT_TRUE(lost.ok() && !lost->has_value());
}

TEST_F(Records, OfAnEarlierFormatAreConverted) {
  const Sample stored = At(5, 192, TagType::kString, std::string("\xFF"));
  const std::string payload = OfFormat(2, BlockKind::kChunk, Chunk({stored}));
  EXPECT_TRUE(Query(*file_, "INSERT INTO current VALUES (1, ?)", payload).Run().ok());
  const TextDecoder decoder = [](std::string_view) { return std::optional<std::string>("text"); };
  const auto loaded = LoadRecord(*file_, RecordTable::kCurrent, 1, decoder);
  ASSERT_TRUE(loaded.ok() && loaded->has_value());
  EXPECT_EQ((*loaded)->value, Value(std::string("text")));
}

}  // namespace
}  // namespace zervane::storage
