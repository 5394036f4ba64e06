#include "engine/storage/codec/journal_entry.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/storage/codec/block.h"
#include "tests/engine/storage/codec/codec_cases.h"
#include "tests/engine/storage/codec/codec_format_1_cases.h"

namespace zervane::storage {
namespace {

std::string Entry(const std::vector<TagId>& emptied, const RecordBatch& records) {
  ByteWriter out;
  EncodeEntry(emptied, records, &out);
  return std::string(out.bytes());
}

RecordBatch Numbers(std::size_t count) {
  RecordBatch batch;
  for (std::size_t i = 0; i < count; ++i) {
    AddTo(batch, Record(static_cast<TagId>(1 + i % 7), static_cast<std::int64_t>(i), 0.5));
  }
  return batch;
}

void ExpectBack(const std::vector<TagId>& emptied, const RecordBatch& records) {
  const auto entry = DecodeEntry(Entry(emptied, records), nullptr);
  ASSERT_TRUE(entry.ok()) << entry.damage().what;
  EXPECT_EQ(entry->emptied, emptied);
  EXPECT_EQ(entry->records.tags, records.tags);
  EXPECT_EQ(entry->records.marks, records.marks);
  EXPECT_EQ(entry->records.samples, records.samples);
}

TEST(JournalEntry, BringsBackRecordsAndEmptiedTags) {
  ExpectBack({}, Numbers(10));
  ExpectBack({3, 1, 4'294'967'295}, Numbers(10));
  ExpectBack({3}, {});
  ExpectBack({}, {});
}

TEST(JournalEntry, HasAnyNumberOfRecords) {
  for (const std::size_t count : {kMaxBlockRecords, kMaxBlockRecords + 1, 3 * kMaxBlockRecords}) {
    ExpectBack({7}, Numbers(count));
  }
}

TEST(JournalEntry, HasTextsInAnyOfItsBlocks) {
  RecordBatch batch = Numbers(kMaxBlockRecords - 1);
  for (int i = 0; i < 3; ++i) {
    MarkedSample record = Record(9, i, 0);
    record.sample.type = TagType::kString;
    record.sample.value = "text " + std::to_string(i);
    AddTo(batch, record);
  }
  ExpectBack({}, batch);
}

TEST(JournalEntry, OfAnEarlierReleaseIsOneBatch) {
  const auto entry = DecodeEntry(Bytes(kOldBatch), nullptr);
  ASSERT_TRUE(entry.ok()) << entry.damage().what;
  EXPECT_EQ(entry->records.size(), Alternating().size());
  EXPECT_TRUE(entry->emptied.empty());
}

// What is in files today is read for ever.
TEST(JournalEntry, IsWrittenAndReadAsEver) {
  const RecordBatch batch = BatchOf({Record(7, 1000, 1.0)});
  EXPECT_EQ(Hex(Entry({5, 300}, batch)),
            "5a450100000000000200000003000000832c75a305ac02"
            "5a42020000000000010000000c000000beca36291c0ed00f000000000000f03f");
}

TEST(JournalEntry, IsDamagedWhereverItIsCutOrGrownOrChanged) {
  std::string bytes = Entry({5}, BatchOf({Record(7, 1000, 1.0), Record(8, 2000, 2.0)}));
  const auto is_damaged = [](const std::string& other) {
    return !DecodeEntry(other, nullptr).ok();
  };
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    // Between its blocks a shorter entry ends; SQLite keeps the length of what it stores.
    const bool is_whole = size == kBlockHeaderBytes + 1;
    EXPECT_EQ(is_damaged(bytes.substr(0, size)), !is_whole) << size;
  }
  EXPECT_TRUE(is_damaged(bytes + '\0'));
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    const auto mask = static_cast<char>(1 << (bit % 8));
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ mask);
    EXPECT_TRUE(is_damaged(bytes)) << "bit " << bit;
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ mask);
  }
}

TEST(JournalEntry, IsDamagedWhenEmptiedTagsFollowRecords) {
  const std::string records = Entry({}, BatchOf({Record(7, 1000, 1.0)}));
  EXPECT_TRUE(DecodeEntry(records + records, nullptr).ok());
  EXPECT_FALSE(DecodeEntry(records + Entry({5}, {}), nullptr).ok());
}

}  // namespace
}  // namespace zervane::storage
