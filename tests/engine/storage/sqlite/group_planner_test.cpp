#include "engine/storage/sqlite/group_planner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/storage/sqlite/chunk_table.h"
#include "engine/storage/sqlite/summary_table.h"
#include "tests/engine/storage/columns.h"
#include "tests/engine/storage/sqlite/archive_file.h"
#include "tests/engine/storage/store_driver.h"
#include "tests/support/seed.h"

namespace zervane::storage {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr TagId kTag = 1;
constexpr std::size_t kChunkRecords = 10;
constexpr std::size_t kGroupChunks = 3;

// The time of a group's first record and of its last, and its chunks.
using Group = std::tuple<std::int64_t, std::int64_t, std::int64_t>;

class Grouping : public testing::Test {
 protected:
  static SampleColumns Records(std::int64_t from_ms, std::int64_t to_ms,
                               TagType type = TagType::kFloat64) {
    SampleColumns samples;
    for (std::int64_t time = from_ms; time <= to_ms; ++time) {
      samples.AddNumber(time, 192, type, BitsOf(type == TagType::kFloat64 ? Value(1.0) : Value(1)));
    }
    return samples;
  }

  Status TryMerge(const SampleColumns& records) {
    auto edits = PlanMerge(*file_, kTag, AllOf(records), kChunkRecords, nullptr);
    if (!edits.ok()) return edits.status();
    if (Status status = planner_.Plan(kTag, &*edits); !status.ok()) return status;
    Transaction transaction(*file_, Transaction::Kind::kWrite);
    if (Status status = ApplyEdits(*file_, *edits, ids_); !status.ok()) return status;
    return transaction.Commit();
  }
  void Merge(const SampleColumns& records) {
    const Status status = TryMerge(records);
    EXPECT_TRUE(status.ok()) << status.message();
  }
  void Merge(std::int64_t from_ms, std::int64_t to_ms) { Merge(Records(from_ms, to_ms)); }

  // Merges so many records, each beside those before it, a chunk at a time.
  void Grow(std::int64_t to_ms) {
    for (; grown_to_ < to_ms; grown_to_ += kChunkRecords) {
      Merge(grown_to_ + 1, grown_to_ + kChunkRecords);
    }
  }

  void Execute(const std::string& sql) { EXPECT_TRUE(file_->Execute(sql.c_str()).ok()); }

  std::vector<Summary> Stored(const std::string& where) {
    const std::string sql = "SELECT payload FROM summary WHERE " + where + " ORDER BY first_time";
    std::vector<Summary> stored;
    const auto fresh = archive_.OpenReader();
    Query rows(*fresh, sql);
    while (rows.Next()) stored.push_back(*DecodeSummary(rows.Bytes(0)));
    EXPECT_TRUE(rows.status().ok());
    return stored;
  }

  std::vector<Group> Groups() {
    std::vector<Group> groups;
    for (const Summary& group : Stored("level = 1")) {
      groups.emplace_back(group.run.first_ms, group.run.last_ms, group.member);
    }
    return groups;
  }

  ArchiveFile archive_;
  std::unique_ptr<Connection> file_ = archive_.OpenWriter();
  ChunkIds ids_ = *ChunkIds::Behind(*file_);
  GroupPlanner planner_{*file_, kGroupChunks};
  std::int64_t grown_to_ = 0;
};

TEST_F(Grouping, AnArchiveThatGrowsIsGroupedBehindItsLastChunk) {
  Grow(30);
  EXPECT_THAT(Groups(), IsEmpty()) << "the last chunk may change";
  Grow(40);
  EXPECT_THAT(Groups(), ElementsAre(Group(1, 30, 3)));
  Grow(70);
  EXPECT_THAT(Groups(), ElementsAre(Group(1, 30, 3), Group(31, 60, 3)));
}

TEST_F(Grouping, ManyChunksAtOnceBecomeManyGroups) {
  Merge(1, 145);
  EXPECT_THAT(Groups(),
              ElementsAre(Group(1, 30, 3), Group(31, 60, 3), Group(61, 90, 3), Group(91, 120, 3)));
}

TEST_F(Grouping, WhatIsLeftOfAGroupBesideALateRecordIsGroupedAnew) {
  Grow(70);
  SampleColumns bad;
  bad.AddNumber(15, 0, TagType::kFloat64, 0);
  Merge(bad);
  EXPECT_THAT(Groups(), ElementsAre(Group(1, 30, 3), Group(31, 60, 3)));
  EXPECT_EQ(Stored("level = 1").front().run.good, 29);
}

TEST_F(Grouping, ASplitChunkMakesALargerGroup) {
  for (const std::int64_t from : {0, 100, 200, 300, 400, 500, 600}) {
    SampleColumns spread;
    for (std::int64_t i = 1; i <= 10; ++i) spread.AddNumber(from + 10 * i, 192, TagType::kInt32, 1);
    Merge(spread);
  }
  EXPECT_THAT(Groups(), ElementsAre(Group(10, 300, 3), Group(310, 600, 3)));
  Merge(Records(55, 55, TagType::kInt32));
  EXPECT_THAT(Groups(), ElementsAre(Group(10, 300, 4), Group(310, 600, 3)));
  Merge(Records(155, 155, TagType::kInt32));
  Merge(Records(255, 255, TagType::kInt32));
  EXPECT_THAT(Groups(), ElementsAre(Group(10, 155, 3), Group(160, 300, 3), Group(310, 600, 3)));
}

TEST_F(Grouping, RecordsInManyGroupsAtOnceChangeThemAll) {
  Merge(1, 150);
  Merge([&] {
    SampleColumns records = Records(5, 5);
    for (const std::int64_t time : {36, 37, 115}) records.AddNumber(time, 0, TagType::kFloat64, 0);
    return records;
  }());
  const std::vector<Summary> groups = Stored("level = 1");
  EXPECT_THAT(Groups(),
              ElementsAre(Group(1, 30, 3), Group(31, 60, 3), Group(61, 90, 3), Group(91, 120, 3)));
  EXPECT_EQ(groups[1].run.good, 28);
  EXPECT_EQ(groups[2].run.good, 30);
  EXPECT_EQ(groups[3].run.good, 29);
}

TEST_F(Grouping, ChunksOfAnotherCourseAreInNoGroupWithThem) {
  Merge(Records(1, 40));
  Merge(Records(41, 100, TagType::kDigital));
  EXPECT_THAT(Groups(), ElementsAre(Group(1, 30, 3), Group(41, 70, 3)));
}

// Those of an earlier layout.
TEST_F(Grouping, ChunksWithoutASummaryAreInNoGroup) {
  Merge(1, 200);
  Execute("DELETE FROM summary");
  planner_.Forget();
  Merge(201, 300);
  EXPECT_THAT(Groups(), ElementsAre(Group(201, 230, 3), Group(231, 260, 3), Group(261, 290, 3)));
  Merge(55, 55);
  EXPECT_EQ(Stored("level = 0 AND first_time < 200").size(), 1U) << "that was written again";
}

// Many tags have a few records and no more.
TEST_F(Grouping, ALastChunkThatIsFarFromFullHasNoSummary) {
  Merge(Records(1, 1));
  EXPECT_THAT(Stored("level = 0"), IsEmpty());
  Merge(Records(2, 3));
  EXPECT_EQ(Stored("level = 0").size(), 1U);
}

TEST_F(Grouping, AGroupThatIsNotWholeGoesAllTheSame) {
  Grow(70);
  Execute("UPDATE summary SET payload = x'00' WHERE level = 1");
  planner_.Forget();
  Merge(15, 15);
  const std::vector<Summary> groups = Stored("level = 1 AND first_time < 31");
  ASSERT_EQ(groups.size(), 1U);
  EXPECT_EQ(groups.front().run.last_ms, 30);
}

// It compares greater than all times, and reads as one.
TEST_F(Grouping, AGroupWhoseStartIsNoTimeIsDamage) {
  Grow(100);
  Execute("UPDATE summary SET first_time = x'00' WHERE level = 1 AND first_time = 61");
  EXPECT_EQ((*GroupStartingAfter(*file_, kTag, 30))->first_ms, 31);
  EXPECT_EQ(GroupStartingAfter(*file_, kTag, 31).code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ((*GroupStartingBy(*file_, kTag, kMaxTimeMs))->first_ms, 31);
}

// A merge finds the chunks that its records fall into by an index, which may be damaged.
TEST_F(Grouping, ChunksThatOverlapAreInNoGroupTogether) {
  Grow(100);
  const SampleColumns records = Records(5, 15);
  ChunkEdits edits;
  edits.added.push_back(EncodeForTable(kTag, AllOf(records)));
  edits.added.back().statistics = StatisticsOf(records, 0, records.size());
  EXPECT_TRUE(planner_.Plan(kTag, &edits).ok());
  EXPECT_THAT(edits.dropped_groups, ElementsAre(1));
  EXPECT_THAT(edits.groups, IsEmpty());
}

// After a generation that failed the planner starts anew, and knows as much.
TEST_F(Grouping, TheSameGroupsComeWhetherTheirChunksWereCountedOrAreCountedNow) {
  for (std::int64_t from = 1; from < 300; from += 10) {
    planner_.Forget();
    Merge(from, from + 9);
  }
  EXPECT_EQ(Groups().size(), 9U);
}

// ---- at random ----

// Groups are of chunks that follow each other, and no more could be made.
class RandomGrouping : public Grouping {
 protected:
  std::map<std::int64_t, Summary> ByStart(const std::string& where) {
    std::map<std::int64_t, Summary> by_start;
    for (const Summary& summary : Stored(where)) by_start[summary.run.first_ms] = summary;
    return by_start;
  }

  std::vector<std::int64_t> ChunkStarts() {
    std::vector<std::int64_t> starts;
    const auto visit = [&](const ChunkExtent& chunk) {
      starts.push_back(chunk.first_ms);
      return Result<bool>(true);
    };
    EXPECT_TRUE(VisitExtents(*file_, kTag, {}, Direction::kForward, visit).ok());
    return starts;
  }

  void ExpectSoundGroups() {
    const auto chunks = ByStart("level = 0");
    const auto groups = ByStart("level = 1");
    const std::vector<std::int64_t> starts = ChunkStarts();
    std::int64_t ungrouped = 0;
    for (std::size_t at = 0; at < starts.size();) {
      const auto group = groups.find(starts[at]);
      if (group == groups.end()) {
        ungrouped = chunks.contains(starts[at]) ? ungrouped + 1 : 0;
        ++at;
        // The archive's last chunk is in none.
        EXPECT_LT(ungrouped, std::int64_t{kGroupChunks} + (at == starts.size() ? 1 : 0));
        continue;
      }
      ungrouped = 0;
      RunStatistics run = chunks.at(starts[at]).run;
      std::int64_t members = 1;
      while (++at < starts.size() && starts[at] <= group->second.run.last_ms) {
        Append(run, chunks.at(starts[at]).run);
        ++members;
      }
      ExpectSame(group->second.run, run);
      EXPECT_EQ(group->second.member, members);
      EXPECT_GE(members, std::int64_t{kGroupChunks});
      EXPECT_LT(members, 2 * std::int64_t{kGroupChunks});
    }
  }
};

TEST_F(RandomGrouping, LeavesNoGroupUnmade) {
  const Seed seed;
  std::mt19937 random(seed.value());
  const auto draw = [&](std::int64_t least, std::int64_t most) {
    return std::uniform_int_distribution(least, most)(random);
  };
  std::int64_t now_ms = 0;
  for (int step = 0; step < 120 && !HasFailure(); ++step) {
    SCOPED_TRACE(step);
    std::map<std::int64_t, bool> times;
    for (std::int64_t i = draw(1, 40); i > 0; --i) times[now_ms += draw(1, 5)] = true;
    for (std::int64_t i = draw(0, 2) == 0 ? draw(1, 6) : 0; i > 0; --i)
      times[draw(1, now_ms)] = true;
    SampleColumns records;
    for (const auto& [time, is_there] : times) {
      records.AddNumber(time, 192, TagType::kInt32, static_cast<std::uint64_t>(draw(0, 9)));
    }
    if (draw(0, 5) == 0) planner_.Forget();
    Merge(records);
    ExpectSoundGroups();
  }
}

}  // namespace
}  // namespace zervane::storage
