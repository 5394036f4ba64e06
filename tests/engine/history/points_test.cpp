#include "engine/history/points.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "tests/engine/history/history_fixture.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Notes the records that it is shown, in the scan's order, and what the runs said of them.
class Notes final : public ScanVisitor {
 public:
  explicit Notes(Direction direction, std::size_t limit = SIZE_MAX)
      : direction_(direction), limit_(limit) {}

  Wants Offer(const RunSummary& run) override {
    EXPECT_LE(run.first_ms, run.last_ms);
    return times_.size() < limit_ ? Wants::kRecords : Wants::kStop;
  }
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override {
    std::vector<std::pair<std::int64_t, double>> shown;
    for (std::size_t at = begin; at < end; ++at) {
      shown.emplace_back(records.times()[at], NumberAt(records, at));
    }
    if (direction_ == Direction::kBackward) std::reverse(shown.begin(), shown.end());
    times_.insert(times_.end(), shown.begin(), shown.end());
    return times_.size() < limit_;
  }

  const std::vector<std::pair<std::int64_t, double>>& times() const { return times_; }

 private:
  const Direction direction_;
  const std::size_t limit_;
  std::vector<std::pair<std::int64_t, double>> times_;
};

class Points : public testing::Test {
 protected:
  using Seen = std::vector<std::pair<std::int64_t, double>>;

  Points() { store_.Put(1, {FloatAt(10, 1), FloatAt(20, 2), FloatAt(30, 3), FloatAt(40, 4)}); }

  static Seen See(const TagPoints& points, Direction direction, TimeRange range = {},
                  std::size_t limit = SIZE_MAX) {
    Notes notes(direction, limit);
    EXPECT_TRUE(points.Visit(range, direction, notes).ok());
    return notes.times();
  }
  TagPoints Read(std::int64_t now_ms = 1000, bool filtered = true) {
    return PointsIn(store_, TagType::kFloat64, now_ms, values_, filtered);
  }

  RunStore store_;
  CurrentValues values_;
};

TEST_F(Points, AreTheArchiveAndBehindItWhatTheFiltersHold) {
  store_.PutHeld(1, FloatAt(50, 5));
  PutCurrent(values_, 1, FloatAt(60, 6));
  const TagPoints points = Read();
  EXPECT_THAT(See(points, Direction::kForward),
              ElementsAre(std::pair(10, 1), std::pair(20, 2), std::pair(30, 3), std::pair(40, 4),
                          std::pair(50, 5), std::pair(60, 6)));
  EXPECT_THAT(See(points, Direction::kBackward),
              ElementsAre(std::pair(60, 6), std::pair(50, 5), std::pair(40, 4), std::pair(30, 3),
                          std::pair(20, 2), std::pair(10, 1)));
}

TEST_F(Points, AreTheArchiveAloneWhereTheTagHasNoFilters) {
  PutCurrent(values_, 1, FloatAt(60, 6));
  EXPECT_EQ(See(Read(1000, false), Direction::kForward).back(), std::pair(std::int64_t{40}, 4.0));
}

TEST_F(Points, HaveEachTimeOnce) {
  store_.PutHeld(1, FloatAt(50, 5));
  PutCurrent(values_, 1, FloatAt(50, 5.5));  // read before what is held, which took its place
  EXPECT_EQ(See(Read(), Direction::kForward).back(), std::pair(std::int64_t{50}, 5.0));
  store_.PutHeld(1, FloatAt(40, 4.5));  // archived since
  PutCurrent(values_, 1, FloatAt(40, 4.5));
  EXPECT_EQ(See(Read(), Direction::kForward).size(), 4U);
  EXPECT_EQ(See(Read(), Direction::kBackward).front(), std::pair(std::int64_t{40}, 4.0));
}

TEST_F(Points, MissNothingThatIsArchivedBetweenTheReads) {
  store_.PutHeld(1, FloatAt(50, 5));
  PutCurrent(values_, 1, FloatAt(60, 6));
  store_.AfterReadHeld([this] {
    store_.Put(1, {FloatAt(40, 4), FloatAt(50, 5), FloatAt(55, 5.5), FloatAt(60, 6)});
  });
  const TagPoints points = Read();
  EXPECT_THAT(See(points, Direction::kForward), ElementsAre(std::pair(40, 4), std::pair(50, 5),
                                                            std::pair(55, 5.5), std::pair(60, 6)));
  EXPECT_THAT(See(points, Direction::kBackward), ElementsAre(std::pair(60, 6), std::pair(55, 5.5),
                                                             std::pair(50, 5), std::pair(40, 4)));
}

TEST_F(Points, LieInTheRange) {
  store_.PutHeld(1, FloatAt(50, 5));
  PutCurrent(values_, 1, FloatAt(60, 6));
  const TagPoints points = Read();
  for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
    EXPECT_EQ(See(points, direction, {.from_ms = 30, .to_ms = 50}).size(), 3U);
    EXPECT_THAT(See(points, direction, {.from_ms = 41, .to_ms = 55}),
                ElementsAre(std::pair(50, 5)));
    EXPECT_THAT(See(points, direction, {.from_ms = 61, .to_ms = 90}), IsEmpty());
    EXPECT_THAT(See(points, direction, {.from_ms = 50, .to_ms = 49}), IsEmpty());
  }
}

TEST_F(Points, AreAllHeldWhereNothingIsArchived) {
  store_.Put(1, {});
  store_.PutHeld(1, FloatAt(50, 5));
  PutCurrent(values_, 1, FloatAt(60, 6));
  const TagPoints points = Read();
  EXPECT_THAT(See(points, Direction::kForward), ElementsAre(std::pair(50, 5), std::pair(60, 6)));
  EXPECT_THAT(See(points, Direction::kBackward), ElementsAre(std::pair(60, 6), std::pair(50, 5)));
}

TEST_F(Points, AreNotShownAnyMoreOnceTheVisitorHasEnough) {
  PutCurrent(values_, 1, FloatAt(60, 6));
  const TagPoints points = Read();
  EXPECT_EQ(See(points, Direction::kForward, {}, 3).size(), 3U);
  EXPECT_EQ(See(points, Direction::kBackward, {}, 1).size(), 1U);
  EXPECT_EQ(See(points, Direction::kForward, {}, 4).size(), 4U);
}

TEST_F(Points, EndNowThatIsAtTheClockOrTheNewestRecord) {
  PutCurrent(values_, 1, FloatAt(60, 6));
  EXPECT_EQ(Read(1000).now_ms(), 1000);
  EXPECT_EQ(Read(5).now_ms(), 60);
  EXPECT_EQ(Read(5, false).now_ms(), 60);
  store_.PutHeld(1, FloatAt(70, 7));
  EXPECT_EQ(Read(5).now_ms(), 70);
}

TEST_F(Points, AnswerTheStatusOfTheStore) {
  store_.Damage(1);
  Notes notes(Direction::kForward);
  EXPECT_EQ(Read().Visit({}, Direction::kForward, notes).code(), ZR3_ERR_STORAGE_DAMAGED);
}

TEST_F(Points, RefuseWhatIsHeldOfAnotherType) {
  store_.PutHeld(1, WordAt(50, "text"));
  EXPECT_EQ(TagPoints::Read(store_, values_, 1, {.filtered = true}, 0).code(),
            ZR3_ERR_STORAGE_DAMAGED);
}

}  // namespace
}  // namespace zervane
