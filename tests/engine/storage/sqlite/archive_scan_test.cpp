#include "engine/storage/sqlite/archive_scan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/storage/sqlite/chunk_merge.h"
#include "engine/storage/sqlite/group_planner.h"
#include "tests/engine/storage/columns.h"
#include "tests/engine/storage/sqlite/archive_file.h"
#include "tests/support/seed.h"

namespace zervane::storage {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Times = std::vector<std::int64_t>;

constexpr TagId kTag = 1;
constexpr std::size_t kChunkRecords = 10;

// Keeps what is shown. Wants the records of as many runs as it is told, then nothing more.
class Keeper : public ScanVisitor {
 public:
  explicit Keeper(std::size_t max_runs = SIZE_MAX, bool wants_records = true)
      : max_runs_(max_runs), wants_records_(wants_records) {}

  Wants Offer(const RunSummary& run) override {
    EXPECT_FALSE(has_stopped_) << "nothing is shown to who has enough";
    EXPECT_GE(run.count, 1);
    EXPECT_LE(run.first_ms, run.last_ms);
    if (offered_.size() == max_runs_) {
      has_stopped_ = true;
      return Wants::kStop;
    }
    offered_.emplace_back(run.first_ms, run.last_ms);
    counted_ += run.count;
    last_ = run;
    return wants_records_ ? Wants::kRecords : Wants::kNext;
  }

  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override {
    EXPECT_EQ(static_cast<std::int64_t>(end - begin), last_.count);
    EXPECT_EQ(records.times()[begin], last_.first_ms);
    EXPECT_EQ(records.times()[end - 1], last_.last_ms);
    runs_.push_back(SamplesIn(records, begin, end));
    return true;
  }

  // Ascending.
  std::vector<Sample> Records(Direction direction) const {
    std::vector<std::vector<Sample>> runs = runs_;
    if (direction == Direction::kBackward) std::ranges::reverse(runs);
    std::vector<Sample> records;
    for (const auto& run : runs) records.insert(records.end(), run.begin(), run.end());
    return records;
  }

  const std::vector<std::pair<std::int64_t, std::int64_t>>& offered() const { return offered_; }
  std::int64_t counted() const { return counted_; }
  bool has_stopped() const { return has_stopped_; }

 private:
  const std::size_t max_runs_;
  const bool wants_records_;
  bool has_stopped_ = false;
  RunSummary last_;
  std::int64_t counted_ = 0;
  std::vector<std::pair<std::int64_t, std::int64_t>> offered_;
  std::vector<std::vector<Sample>> runs_;
};

class Scanning : public testing::Test {
 protected:
  Scanning() {
    pending_.ReserveTag(kTag);
    pending_.AddTag(kTag);
  }

  static SampleColumns Numbers(std::int64_t from_ms, std::int64_t to_ms, std::int64_t step,
                               double value) {
    SampleColumns samples;
    for (std::int64_t time = from_ms; time <= to_ms; time += step) {
      samples.Add(Record(kTag, time, value).sample);
    }
    return samples;
  }

  void AddChunks(const SampleColumns& samples) {
    auto edits = PlanMerge(*file_, kTag, AllOf(samples), kChunkRecords, nullptr);
    ASSERT_TRUE(edits.ok());
    if (groups_) {
      EXPECT_TRUE(groups_->Plan(kTag, &*edits).ok());
    }
    Transaction transaction(*file_, Transaction::Kind::kWrite);
    EXPECT_TRUE(ApplyEdits(*file_, *edits, ids_).ok());
    EXPECT_TRUE(transaction.Commit().ok());
  }
  void AddChunks(std::int64_t from_ms, std::int64_t to_ms, std::int64_t step) {
    AddChunks(Numbers(from_ms, to_ms, step, 0));
  }

  void AddPending(const SampleColumns& samples) {
    RecordBatch batch;
    for (const Sample& sample : SamplesIn(samples)) AddTo(batch, {.tag = kTag, .sample = sample});
    pending_.Reserve();
    pending_.Adopt(batch);
  }
  void AddPending(const Times& times) {
    SampleColumns samples;
    for (const std::int64_t time : times) samples.Add(Record(kTag, time, 1).sample);
    AddPending(samples);
  }

  Status Scan(TimeRange range, Direction direction, ScanVisitor& visitor) {
    const std::uint64_t opening = opening_ == 0 ? NumberOfOpening() : opening_;
    return ScanArchive({*reader_, pending_, decoder_, opening, piece_chunks_}, kTag, range,
                       direction, visitor);
  }

  std::vector<std::pair<std::int64_t, std::int64_t>> Runs(TimeRange range, Direction direction) {
    Keeper keeper;
    EXPECT_TRUE(Scan(range, direction, keeper).ok());
    return keeper.offered();
  }

  void Damage(std::int64_t first_ms) {
    const std::string sql =
        "UPDATE chunk SET payload = x'00' WHERE first_time = " + std::to_string(first_ms);
    EXPECT_TRUE(file_->Execute(sql.c_str()).ok());
  }

  ArchiveFile archive_;
  std::unique_ptr<Connection> file_ = archive_.OpenWriter();
  std::unique_ptr<Connection> reader_ = archive_.OpenReader();
  ChunkIds ids_ = *ChunkIds::Behind(*file_);
  std::optional<GroupPlanner> groups_;  // none: chunks are in no groups
  Pending pending_;
  const TextDecoder decoder_;
  std::size_t piece_chunks_ = kPieceChunks;
  std::uint64_t opening_ = 0;  // 0: each scan is one of a store of its own, which reads the file
};

TEST_F(Scanning, ShowsEachChunkAsARunInTheDirectionsOrder) {
  AddChunks(10, 300, 10);
  EXPECT_THAT(Runs({}, Direction::kForward),
              ElementsAre(Pair(10, 100), Pair(110, 200), Pair(210, 300)));
  EXPECT_THAT(Runs({}, Direction::kBackward),
              ElementsAre(Pair(210, 300), Pair(110, 200), Pair(10, 100)));
}

TEST_F(Scanning, CutsSummariesAtTheRangesEnds) {
  AddChunks(10, 300, 10);
  EXPECT_THAT(Runs({95, 215}, Direction::kForward),
              ElementsAre(Pair(100, 100), Pair(110, 200), Pair(210, 210)));
  EXPECT_THAT(Runs({101, 109}, Direction::kForward), IsEmpty());
  EXPECT_THAT(Runs({131, 139}, Direction::kBackward), IsEmpty());
  EXPECT_THAT(Runs({200, 100}, Direction::kForward), IsEmpty());
  Keeper counting(SIZE_MAX, false);
  EXPECT_TRUE(Scan({95, 215}, Direction::kForward, counting).ok());
  EXPECT_EQ(counting.counted(), 12);
}

TEST_F(Scanning, ShowsPendingRecordsBeforeBetweenInAndBehindChunks) {
  AddChunks(10, 100, 10);
  AddChunks(210, 300, 10);
  AddPending({5, 105, 106, 215, 305});
  EXPECT_THAT(Runs({}, Direction::kForward), ElementsAre(Pair(5, 5), Pair(10, 100), Pair(105, 106),
                                                         Pair(210, 300), Pair(305, 305)));
  EXPECT_THAT(
      Runs({}, Direction::kBackward),
      ElementsAre(Pair(305, 305), Pair(210, 300), Pair(105, 106), Pair(10, 100), Pair(5, 5)));
  Keeper counting(SIZE_MAX, false);
  EXPECT_TRUE(Scan({}, Direction::kForward, counting).ok());
  EXPECT_EQ(counting.counted(), 25);
}

TEST_F(Scanning, CountsARecordOnceThatIsPendingAndInAChunk) {
  AddChunks(10, 100, 10);
  AddPending({20, 30});
  Keeper keeper;
  EXPECT_TRUE(Scan({}, Direction::kForward, keeper).ok());
  EXPECT_EQ(keeper.counted(), 10);
  const std::vector<Sample> records = keeper.Records(Direction::kForward);
  EXPECT_EQ(records[0].value, Value(0.0));
  EXPECT_EQ(records[1].value, Value(1.0)) << "the pending one";
}

// A chunk that is damaged fails whoever decodes it, and nobody else.
TEST_F(Scanning, DecodesNoChunkForItsSummary) {
  AddChunks(10, 300, 10);
  Damage(110);
  Keeper counting(SIZE_MAX, false);
  EXPECT_TRUE(Scan({95, 215}, Direction::kForward, counting).ok());
  EXPECT_EQ(counting.counted(), 12);
  Keeper reading;
  EXPECT_EQ(Scan({95, 215}, Direction::kForward, reading).code(), ZR3_ERR_STORAGE_DAMAGED);
}

TEST_F(Scanning, DecodesAChunkForItsSummaryWherePendingRecordsFallIntoIt) {
  AddChunks(10, 300, 10);
  Damage(110);
  AddPending({105});
  Keeper before;
  EXPECT_TRUE(Scan({0, 109}, Direction::kForward, before).ok());
  AddPending({115});
  Keeper inside(SIZE_MAX, false);
  EXPECT_EQ(Scan({}, Direction::kForward, inside).code(), ZR3_ERR_STORAGE_DAMAGED);
}

TEST_F(Scanning, ReadsNoFurtherThanItsVisitorWants) {
  AddChunks(10, 300, 10);
  Damage(210);
  Keeper two(2);
  EXPECT_TRUE(Scan({}, Direction::kForward, two).ok());
  EXPECT_TRUE(two.has_stopped());
  Damage(10);
  Keeper none(0);
  EXPECT_TRUE(Scan({}, Direction::kBackward, none).ok());
  EXPECT_TRUE(none.has_stopped());
}

TEST_F(Scanning, IsReadOnlyWhereARangeOverlaps) {
  AddChunks(10, 300, 10);
  Damage(10);
  Damage(210);
  for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
    Keeper keeper;
    EXPECT_TRUE(Scan({101, 209}, direction, keeper).ok());
    EXPECT_EQ(keeper.counted(), 10);
    Keeper beyond;
    EXPECT_EQ(Scan({100, 209}, direction, beyond).code(), ZR3_ERR_STORAGE_DAMAGED);
  }
}

// More than one piece of pending records.
TEST_F(Scanning, ShowsManyPendingRecordsOnce) {
  constexpr std::int64_t kLastMs = 20'000;
  AddChunks(500, kLastMs, 500);
  AddPending(Numbers(1, kLastMs, 1, 1));
  for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
    Keeper keeper;
    EXPECT_TRUE(Scan({}, direction, keeper).ok());
    const std::vector<Sample> records = keeper.Records(direction);
    EXPECT_EQ(std::ssize(records), kLastMs);
    EXPECT_TRUE(std::ranges::is_sorted(records, {}, &Sample::time_ms));
  }
}

// ---- pieces of few chunks ----

// Does something whenever a run is offered.
class Meddler : public Keeper {
 public:
  explicit Meddler(std::function<void()> meddle) : meddle_(std::move(meddle)) {}
  Wants Offer(const RunSummary& run) override {
    meddle_();
    return Keeper::Offer(run);
  }

 private:
  const std::function<void()> meddle_;
};

TEST_F(Scanning, HoldsAStateOfTheFileForSoManyChunksOnly) {
  AddChunks(10, 600, 10);
  piece_chunks_ = 2;
  for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
    int offered = 0;
    Meddler meddler([&] {
      // Neither has been offered: one is of the state that is held, one is not.
      const char* hide = "UPDATE chunk SET tag = 2 WHERE first_time = 110 OR first_time = 410";
      if (offered++ != 0) return;
      EXPECT_TRUE(file_->Execute(hide).ok());
    });
    EXPECT_TRUE(Scan({}, direction, meddler).ok());
    EXPECT_EQ(meddler.counted(), 50);
    EXPECT_TRUE(file_->Execute("UPDATE chunk SET tag = 1").ok());
  }
}

// As the writer beside a scan does it, with chunks that are joined and others that are split.
TEST_F(Scanning, ShowsWhatMovesFromPendingToChunksBetweenItsPiecesOnce) {
  const SampleColumns late = Numbers(5, 605, 15, 1);
  for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
    for (int moves_at = 0; moves_at < 8; ++moves_at) {
      SCOPED_TRACE(moves_at);
      EXPECT_TRUE(file_->Execute("DELETE FROM chunk; DELETE FROM summary").ok());
      AddChunks(10, 600, 10);
      AddPending(late);
      piece_chunks_ = 1 + static_cast<std::size_t>(moves_at % 3);
      int offered = 0;
      Meddler meddler([&] {
        if (offered++ != moves_at) return;
        pending_.Freeze();
        AddChunks(late);
        pending_.DropFrozen();
      });
      EXPECT_TRUE(Scan({}, direction, meddler).ok());
      EXPECT_GT(offered, moves_at);
      const std::vector<Sample> records = meddler.Records(direction);
      EXPECT_EQ(records.size(), 60U + 41U - 20U) << "every second late record is in place of one";
      for (std::size_t at = 1; at < records.size(); ++at) {
        EXPECT_LT(records[at - 1].time_ms, records[at].time_ms);
      }
      pending_.Freeze();
      pending_.DropFrozen();
    }
  }
}

// Random archives and ranges, against a map.
TEST_F(Scanning, TellsTheSameAsAMap) {
  const Seed seed;
  std::mt19937 random(seed.value());
  const auto draw = [&](std::int64_t least, std::int64_t most) {
    return std::uniform_int_distribution(least, most)(random);
  };
  std::map<std::int64_t, Sample> expected;
  groups_.emplace(*file_, 3);
  for (int step = 0; step < 60; ++step) {
    std::map<std::int64_t, Sample> records;
    for (std::int64_t i = draw(1, 400); i > 0; --i) {
      const Sample sample = Record(kTag, draw(0, 9'000), step).sample;
      records[sample.time_ms] = sample;
    }
    SampleColumns samples;
    for (const auto& [time_ms, sample] : records) samples.Add(sample);
    // What is pending is newer than all chunks, so chunks come first.
    step < 20 ? AddChunks(samples) : AddPending(samples);
    for (const auto& [time_ms, sample] : records) expected[time_ms] = sample;
    if (step == 40) pending_.Freeze();
    piece_chunks_ = static_cast<std::size_t>(draw(1, 20));
    const TimeRange range{draw(-10, 9'010), draw(-10, 9'010)};
    const Direction direction = draw(0, 1) == 0 ? Direction::kForward : Direction::kBackward;
    std::vector<Sample> wanted;
    for (const auto& [time_ms, sample] : expected) {
      if (range.Holds(time_ms)) wanted.push_back(sample);
    }
    Keeper keeper;
    EXPECT_TRUE(Scan(range, direction, keeper).ok());
    EXPECT_EQ(keeper.Records(direction), wanted);
    Keeper counting(SIZE_MAX, false);
    EXPECT_TRUE(Scan(range, direction, counting).ok());
    EXPECT_EQ(counting.counted(), std::ssize(wanted));
  }
}

TEST_F(Scanning, FailsWhereTheIndexIsNotToBeBelieved) {
  AddChunks(10, 300, 10);
  EXPECT_TRUE(file_->Execute("UPDATE chunk SET count = 70000 WHERE first_time = 110").ok());
  Keeper keeper(SIZE_MAX, false);
  EXPECT_EQ(Scan({}, Direction::kForward, keeper).code(), ZR3_ERR_STORAGE_DAMAGED);
}

}  // namespace
}  // namespace zervane::storage
