#include "engine/derived/statistics_tags/statistics_book.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "tests/support/time_zone.h"

namespace zervane {
namespace {

constexpr TagId kTag = 7;
constexpr TagId kSource = 3;
constexpr std::int64_t kDayMs = 86'400'000;

// A book on a clock that the test sets, closed and opened with what its rows say.
class StatisticsBookTest : public testing::Test {
 protected:
  static StatisticsRule Sums() {
    StatisticsRule rule;
    rule.tag = kTag;
    rule.source = kSource;
    rule.properties.sample_start_date = 1;
    rule.properties.sample_interval = 10;
    return rule;
  }

  void Add(const StatisticsRule& rule) {
    StoreBatch batch;
    book_->Propose({.rule = rule});
    book_->PrepareRule(
        kTag, [](TagId) { return true; }, batch);
    book_->Keep();
  }

  void Reopen(const StatisticsRule& rule, const StatisticsProgress& progress) {
    book_ = std::make_unique<StatisticsBook>([this] { return now_ms_; });
    book_->Load(rule, true, progress);
  }

  void RemoveSource() {
    StoreBatch batch;
    book_->PrepareRemoval(kSource, batch);
    book_->Keep();
  }

  // Claims so many windows, which are then computed; what is stored with them.
  StatisticsProgress Finish(std::int64_t windows) {
    const StatisticsProgress progress = book_->Claim(windows).front().progress;
    book_->PrepareFinish();
    book_->Keep();
    return progress;
  }

  // How many windows are still to be computed.
  std::size_t CountLeft() {
    std::size_t count = 0;
    for (;;) {
      const auto jobs = book_->Claim(1'000);
      if (jobs.empty()) break;
      count += jobs.front().windows.size();
      book_->PrepareFinish();
      book_->Keep();
    }
    book_->Abandon();
    return count;
  }

  // Has a record come at each of the times; the rows that its batch has.
  std::size_t Pass(const std::vector<std::int64_t>& times) {
    StoreBatch batch;
    for (const std::int64_t time_ms : times) book_->PassRecord(kSource, time_ms);
    book_->EndRecords(batch);
    book_->Keep();
    return batch.rows.size();
  }

  std::int64_t now_ms_ = 1'000;
  std::unique_ptr<StatisticsBook> book_ =
      std::make_unique<StatisticsBook>([this] { return now_ms_; });
};

// What is behind, since others came first, did not close while the database was shut.
TEST_F(StatisticsBookTest, PassesNothingOverThatClosedWhileTheDatabaseWasOpen) {
  Add(Sums());
  now_ms_ = 300'001'000;  // 30,000 windows have closed
  const StatisticsProgress progress = Finish(8);
  now_ms_ = 300'011'000;
  Reopen(Sums(), progress);
  EXPECT_EQ(CountLeft(), 30'001u - 8);
}

TEST_F(StatisticsBookTest, PassesOverWhatClosedWhileTheDatabaseWasShutOnceForAll) {
  Add(Sums());
  now_ms_ = 200'001'000;
  StatisticsProgress progress = Finish(8);
  now_ms_ = 500'001'000;  // 30,000 windows have closed meanwhile
  Reopen(Sums(), progress);
  progress = Finish(8);
  Reopen(Sums(), progress);
  EXPECT_EQ(CountLeft(), 20'000u + 10'000 - 16);
}

TEST_F(StatisticsBookTest, LeavesWhatWasClaimedToBeDoneWhenTheSourceGoes) {
  Add(Sums());
  now_ms_ = 21'000;
  ASSERT_EQ(book_->Claim(100).size(), 1u);
  RemoveSource();
  EXPECT_FALSE(book_->IsClaimGood());
  book_->Abandon();
  EXPECT_EQ(book_->Claim(100).size(), 0u);  // there is nothing to compute without it
}

TEST_F(StatisticsBookTest, NotesTheWindowsThatLateRecordsTouchHoweverManyLieBetweenThem) {
  const ScopedTimeZone zone("UTC");
  StatisticsRule mornings = Sums();
  mornings.properties.sample_mode = ZR3_STATS_SAMPLE_MODE_EVERY_DAY;
  mornings.properties.sample_begin_offset = 6 * 3600;
  mornings.properties.sample_end_offset = 7 * 3600;
  Add(mornings);
  now_ms_ = 10 * kDayMs;
  ASSERT_EQ(CountLeft(), 10u);
  std::vector<std::int64_t> noons;
  for (std::int64_t day = 0; day < 10; ++day) {
    for (std::int64_t at = 0; at < 100; ++at) noons.push_back(day * kDayMs + kDayMs / 2 + at);
  }
  EXPECT_EQ(Pass(noons), 0u);
  noons.push_back(3 * kDayMs + kDayMs / 4);           // at six
  noons.push_back(8 * kDayMs + kDayMs / 24 * 7 - 1);  // just before seven
  noons.push_back(9 * kDayMs + kDayMs / 24 * 7);
  EXPECT_EQ(Pass(noons), 2u);
}

}  // namespace
}  // namespace zervane
