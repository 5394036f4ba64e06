#include "engine/storage/sqlite/chunk_merge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "engine/storage/sqlite/chunk_table.h"
#include "tests/engine/storage/codec/codec_cases.h"
#include "tests/engine/storage/columns.h"
#include "tests/engine/storage/sqlite/archive_file.h"

namespace zervane::storage {
namespace {

using testing::ElementsAre;
using testing::Pair;

using ByTime = std::map<std::int64_t, Sample>;

constexpr TagId kTag = 1;
constexpr std::size_t kChunkRecords = 10;

class ChunkMerging : public testing::Test {
 protected:
  static SampleColumns Ascending(const ByTime& records) {
    SampleColumns ascending;
    for (const auto& [time_ms, sample] : records) ascending.Add(sample);
    return ascending;
  }

  void Merge(const ByTime& records, const TextDecoder& decoder = nullptr) {
    const SampleColumns ascending = Ascending(records);
    const auto edits = PlanMerge(*file_, kTag, AllOf(ascending), kChunkRecords, decoder);
    ASSERT_TRUE(edits.ok()) << edits.status().message();
    Transaction transaction(*file_, Transaction::Kind::kWrite);
    EXPECT_TRUE(ApplyEdits(*file_, *edits, ids_).ok());
    EXPECT_TRUE(transaction.Commit().ok());
  }

  // Records from a time to a time, every `step` milliseconds, of the value.
  static ByTime Records(std::int64_t from_ms, std::int64_t to_ms, std::int64_t step = 1,
                        double value = 0) {
    ByTime records;
    for (std::int64_t time = from_ms; time <= to_ms; time += step) {
      records[time] = Record(kTag, time, value).sample;
    }
    return records;
  }

  std::vector<ChunkExtent> Extents() {
    std::vector<ChunkExtent> extents;
    const auto visit = [&](const ChunkExtent& extent) {
      extents.push_back(extent);
      return Result<bool>(true);
    };
    const Status status = VisitExtents(*file_, kTag, {}, Direction::kForward, visit);
    EXPECT_TRUE(status.ok()) << status.message();
    return extents;
  }

  std::vector<std::pair<std::int64_t, std::int64_t>> Ranges() {
    std::vector<std::pair<std::int64_t, std::int64_t>> ranges;
    for (const ChunkExtent& chunk : Extents()) ranges.emplace_back(chunk.first_ms, chunk.last_ms);
    return ranges;
  }

  std::vector<Sample> AllRecords() {
    std::vector<Sample> all;
    for (const ChunkExtent& extent : Extents()) {
      const auto records = LoadChunk(*file_, extent, nullptr);
      EXPECT_TRUE(records.ok() && records->ok());
      const std::vector<Sample> samples = SamplesIn(**records);
      all.insert(all.end(), samples.begin(), samples.end());
    }
    return all;
  }

  void Damage(std::int64_t first_ms) {
    const std::string sql =
        "UPDATE chunk SET payload = x'00' WHERE first_time = " + std::to_string(first_ms);
    EXPECT_TRUE(file_->Execute(sql.c_str()).ok());
  }

  ArchiveFile archive_;
  std::unique_ptr<Connection> file_ = archive_.OpenWriter();
  ChunkIds ids_ = *ChunkIds::Behind(*file_);
};

TEST_F(ChunkMerging, FillsChunksAndLeavesTheRestInALastOne) {
  Merge(Records(1, 25));
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 10), Pair(11, 20), Pair(21, 25)));
}

TEST_F(ChunkMerging, JoinsALastChunkThatIsNoLargerThanWhatFollows) {
  Merge(Records(1, 14));
  Merge(Records(15, 19));
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 10), Pair(11, 19)));
}

TEST_F(ChunkMerging, LeavesALargerLastChunkUntilAsMuchHasFollowed) {
  Merge(Records(1, 4));
  Merge(Records(5, 6));
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 4), Pair(5, 6)));
  Merge(Records(7, 8));
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 8)));
}

TEST_F(ChunkMerging, KeepsFewPartialChunksHoweverFewRecordsComeAtATime) {
  for (std::int64_t time = 1; time <= 1000; ++time) Merge(Records(time, time));
  EXPECT_EQ(AllRecords().size(), 1000U);
  EXPECT_LE(Extents().size(), 100U + 4);
}

TEST_F(ChunkMerging, RewritesOnlyTheChunkThatALateRecordFallsInto) {
  Merge(Records(10, 300, 10));
  const auto before = Extents();
  Merge(Records(155, 155));
  const auto after = Extents();
  EXPECT_THAT(Ranges(), ElementsAre(Pair(10, 100), Pair(110, 155), Pair(160, 200), Pair(210, 300)));
  EXPECT_EQ(after.front().id, before.front().id);
  EXPECT_EQ(after.back().id, before.back().id);
}

TEST_F(ChunkMerging, PutsRecordsOfAGapIntoAChunkOfTheirOwn) {
  Merge(Records(1, 10));
  Merge(Records(101, 110));
  Merge(Records(50, 51));
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 10), Pair(50, 51), Pair(101, 110)));
}

TEST_F(ChunkMerging, PutsRecordsBeforeTheFirstChunk) {
  Merge(Records(101, 110));
  Merge(Records(1, 12));
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 6), Pair(7, 12), Pair(101, 110)));
}

TEST_F(ChunkMerging, BringsOneRunIntoManyChunks) {
  Merge(Records(10, 300, 10));
  Merge(Records(5, 400, 100));  // one before, one in each, one after
  EXPECT_EQ(AllRecords().size(), 34U);
  EXPECT_EQ(Ranges().front().first, 5);
  EXPECT_EQ(Ranges().back().second, 305);
}

TEST_F(ChunkMerging, ReplacesRecordsOfEqualTime) {
  Merge(Records(1, 30));
  Merge(Records(10, 21, 1, 7.0));
  const auto records = AllRecords();
  ASSERT_EQ(records.size(), 30U);
  for (const Sample& sample : records) {
    const bool replaced = sample.time_ms >= 10 && sample.time_ms <= 21;
    EXPECT_EQ(sample.value, Value(replaced ? 7.0 : 0.0)) << sample.time_ms;
  }
}

TEST_F(ChunkMerging, StartsANewChunkWhereTheTypeChanges) {
  ByTime mixed = Records(1, 6);
  mixed[4].type = TagType::kInt32;
  mixed[4].value = 4;
  Merge(mixed);
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 3), Pair(4, 4), Pair(5, 6)));
  EXPECT_EQ(AllRecords()[3].value, Value(4));
}

TEST_F(ChunkMerging, LeavesADamagedChunkThatNothingFallsInto) {
  Merge(Records(1, 4));
  Damage(1);
  Merge(Records(5, 9));
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 4), Pair(5, 9)));
}

TEST_F(ChunkMerging, SetsADamagedChunkAsideForRecordsThatFallIntoIt) {
  Merge(Records(1, 30));
  Damage(11);
  Merge(Records(15, 15));
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 10), Pair(15, 15), Pair(21, 30)));
  Query aside(*file_, "SELECT tag, payload FROM damaged");
  ASSERT_TRUE(aside.Next());
  EXPECT_EQ(aside.Integer(0), kTag);
  EXPECT_EQ(aside.Bytes(1), std::string(1, '\0'));
}

// ---- reading the table ----

TEST_F(ChunkMerging, TakesRecordsThoughRowsOverlapAsInADamagedFile) {
  Merge(Records(1, 91, 10));
  const SampleColumns inside = Ascending(Records(50, 59));
  EXPECT_TRUE(InsertChunk(*file_, ids_.Next(), EncodeForTable(kTag, AllOf(inside))).ok());
  ByTime late = Records(45, 45);
  late.merge(Records(60, 60));
  Merge(late);
  Query records(*file_, "SELECT sum(count) FROM chunk");
  ASSERT_TRUE(records.Next());
  EXPECT_EQ(records.Integer(0), 10 + 10 + 2);
}

TEST_F(ChunkMerging, IsSearchedByItsIndexAlone) {
  Query plan(*file_,
             "EXPLAIN QUERY PLAN SELECT id, first_time, last_time, count FROM chunk WHERE tag = 1 "
             "AND first_time <= 9 AND last_time >= 5 ORDER BY first_time");
  ASSERT_TRUE(plan.Next());
  EXPECT_THAT(std::string(plan.Bytes(3)), testing::HasSubstr("COVERING INDEX chunk_extent"));
  EXPECT_FALSE(plan.Next()) << "no sorting step";
}

TEST_F(ChunkMerging, RefusesAChunkThatIsNotWhatItsRowSays) {
  Merge(Records(1, 10));
  EXPECT_TRUE(file_->Execute("UPDATE chunk SET count = 9").ok());
  EXPECT_FALSE(LoadChunk(*file_, Extents().front(), nullptr)->ok());
  EXPECT_TRUE(file_->Execute("UPDATE chunk SET count = 10, first_time = 0").ok());
  EXPECT_FALSE(LoadChunk(*file_, Extents().front(), nullptr)->ok());
}

// ---- damage that no checksum covers ----

// The row of a chunk of ten records, without them.
void InsertRow(Connection& file, TagId tag, std::int64_t first_ms) {
  EXPECT_TRUE(Query(file,
                    "INSERT INTO chunk (tag, first_time, last_time, count, payload) "
                    "VALUES (?, ?, ?, 10, x'00')",
                    tag, first_ms, first_ms + 9)
                  .Run()
                  .ok());
}

TEST_F(ChunkMerging, PassesOverARowWhoseStartIsNoTime) {
  Merge(Records(1, 35));
  EXPECT_TRUE(file_->Execute("UPDATE chunk SET first_time = x'00' WHERE first_time = 31").ok());
  Merge(Records(12, 13, 1, 7));
  Merge(Records(40, 41));
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 10), Pair(11, 20), Pair(21, 30), Pair(40, 41)));
  EXPECT_EQ(AllRecords().size(), 32U);
}

// An index that is read the other way round answers chunks in no order.
TEST_F(ChunkMerging, SaysSoWhenTheIndexIsOutOfOrder) {
  Merge(Records(1, 60));
  EXPECT_TRUE(file_
                  ->Execute("PRAGMA writable_schema = ON;"
                            "UPDATE sqlite_schema SET sql = replace(sql, 'first_time', "
                            "'first_time DESC') WHERE name = 'chunk_extent'")
                  .ok());
  file_ = *Connection::Open(archive_.path());
  for (const std::int64_t from : {0, 5, 12, 35, 58, 61}) {
    const SampleColumns late = Ascending(Records(from, from + 1));
    const auto edits = PlanMerge(*file_, kTag, AllOf(late), kChunkRecords, nullptr);
    EXPECT_TRUE(edits.ok() || edits.code() == ZR3_ERR_STORAGE_DAMAGED) << from;
  }
  const auto visit = [](const ChunkExtent&) { return Result<bool>(true); };
  for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
    EXPECT_EQ(VisitExtents(*file_, kTag, {}, direction, visit).code(), ZR3_ERR_STORAGE_DAMAGED);
  }
}

// Nor does it end where the tag's chunks do: those of another tag, which lie beside them, come
// along.
TEST_F(ChunkMerging, TakesNoChunkOfAnotherTagForOneOfItsOwn) {
  for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
    const ArchiveFile archive;
    auto file = archive.OpenWriter();
    const bool is_forward = direction == Direction::kForward;
    for (std::int64_t at = 2; at <= 7; ++at) InsertRow(*file, kTag, 10 * at);
    InsertRow(*file, is_forward ? kTag + 1 : kTag - 1, is_forward ? 80 : 10);
    EXPECT_TRUE(file->Execute("PRAGMA writable_schema = ON;"
                              "UPDATE sqlite_schema SET sql = replace(sql, '(tag', "
                              "'(tag DESC') WHERE name = 'chunk_extent'")
                    .ok());
    file = *Connection::Open(archive.path());
    int visited = 0;
    const auto visit = [&](const ChunkExtent& chunk) {
      EXPECT_EQ(chunk.tag, kTag);
      ++visited;
      return Result<bool>(true);
    };
    EXPECT_EQ(VisitExtents(*file, kTag, {}, direction, visit).code(), ZR3_ERR_STORAGE_DAMAGED);
    EXPECT_EQ(visited, 6) << "or the index was not read the other way round";
  }
}

TEST_F(ChunkMerging, StopsWhereItsVisitorHasEnoughOrFails) {
  Merge(Records(1, 60));
  int visited = 0;
  const auto two = [&](const ChunkExtent&) { return Result<bool>(++visited < 2); };
  EXPECT_TRUE(VisitExtents(*file_, kTag, {}, Direction::kForward, two).ok());
  EXPECT_EQ(visited, 2);
  const auto fails = [](const ChunkExtent&) -> Result<bool> {
    return Status(ZR3_ERR_STORAGE_FULL, {});
  };
  EXPECT_EQ(VisitExtents(*file_, kTag, {}, Direction::kBackward, fails).code(),
            ZR3_ERR_STORAGE_FULL);
}

// ---- texts of earlier formats ----

// Its bytes in another encoding are in capitals.
std::optional<std::string> FromCapitals(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) text.push_back(static_cast<char>(byte | 0x20));
  return text;
}

// The chunks' texts become those of the format before, which has the same bytes.
void MakeOlder(Connection& file) {
  Query rows(file, "SELECT id, payload FROM chunk");
  std::map<std::int64_t, std::string> older;
  while (rows.Next()) {
    older[rows.Integer(0)] = OfFormat(2, BlockKind::kChunk, std::string(rows.Bytes(1)));
  }
  for (const auto& [id, payload] : older) {
    EXPECT_TRUE(Query(file, "UPDATE chunk SET payload = ? WHERE id = ?", payload, id).Run().ok());
  }
}

TEST_F(ChunkMerging, WritesTextsOfAnEarlierFormatInThePresentOneWhereItTouchesThem) {
  const auto texts = [](std::int64_t from_ms, std::int64_t to_ms) {
    ByTime records;
    for (std::int64_t time = from_ms; time <= to_ms; ++time) {
      records[time] = At(time, 192, TagType::kString, std::string("ABC"));
    }
    return records;
  };
  Merge(texts(1, 20));
  MakeOlder(*file_);
  Merge({{15, At(15, 192, TagType::kString, std::string("NEW"))}}, FromCapitals);
  EXPECT_THAT(Ranges(), ElementsAre(Pair(1, 10), Pair(11, 20)));
  const std::vector<ChunkExtent> extents = Extents();
  const auto untouched = LoadChunk(*file_, extents[0], FromCapitals);
  const auto touched = LoadChunk(*file_, extents[1], FromCapitals);
  ASSERT_TRUE(untouched->ok() && touched->ok());
  EXPECT_EQ((*untouched)->TextAt(0), "abc") << "converted whenever it is read";
  EXPECT_EQ((*touched)->TextAt(0), "abc") << "converted once";
  EXPECT_EQ((*touched)->TextAt(4), "NEW") << "not converted at all";
  EXPECT_EQ((*LoadChunk(*file_, extents[0], nullptr))->TextAt(0), "ABC");
  EXPECT_EQ((*LoadChunk(*file_, extents[1], nullptr))->TextAt(0), "abc");
}

}  // namespace
}  // namespace zervane::storage
