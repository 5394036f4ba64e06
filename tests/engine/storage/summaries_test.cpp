#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "engine/storage/run_statistics.h"
#include "engine/storage/store.h"
#include "tests/engine/storage/any_store.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

// What a scan says of many records together is what they say, whatever it is offered for.
namespace zervane::storage {
namespace {

template <std::size_t kChunkRecords, std::size_t kPendingRecords>
std::unique_ptr<Store> OpenWithChunksOf(const std::filesystem::path& folder) {
  return MustOpen(folder, {.pending_bytes = kPendingRecords * kPendingRecordBytes,
                           .chunk_records = kChunkRecords,
                           .group_chunks = 4});
}

const StoreKind kSizes[] = {
    {"ChunksOf1", true, OpenWithChunksOf<1, 50>},
    {"ChunksOf7", true, OpenWithChunksOf<7, 50>},
    {"ChunksOf1000", true, OpenWithChunksOf<1'000, 3'000>},
};

// Sums up a range by the statistics that it is offered, and looks at the records of other runs.
class Summing : public ScanVisitor {
 public:
  explicit Summing(Direction direction, bool opens_groups = false)
      : direction_(direction), opens_groups_(opens_groups) {}

  Wants Offer(const RunSummary& run) override {
    const bool is_inside =
        wanted_ && wanted_->first <= run.first_ms && run.last_ms <= wanted_->second;
    if (wanted_) {
      EXPECT_TRUE(is_inside) << "a run that was wanted was not shown";
    }
    const bool is_used =
        run.statistics != nullptr && !(opens_groups_ && IsGreat(*run.statistics) && !is_inside);
    wanted_.reset();
    if (!is_used) {
      wanted_ = {run.first_ms, run.last_ms};
      return Wants::kRecords;
    }
    EXPECT_EQ(run.statistics->first_ms, run.first_ms);
    EXPECT_EQ(run.statistics->last_ms, run.last_ms);
    EXPECT_EQ(run.statistics->count, run.count);
    runs_.push_back(*run.statistics);
    ++with_statistics_;
    return Wants::kNext;
  }

  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override {
    wanted_.reset();
    runs_.push_back(StatisticsOf(records, begin, end));
    return true;
  }

  // All together; none when there are none.
  std::optional<RunStatistics> Total() {
    if (direction_ == Direction::kBackward) std::ranges::reverse(runs_);
    std::optional<RunStatistics> total;
    for (const RunStatistics& run : runs_) {
      if (total) {
        Append(*total, run);
      } else {
        total = run;
      }
    }
    return total;
  }
  int with_statistics() const { return with_statistics_; }

 private:
  // Beyond what a chunk of these tests has.
  static bool IsGreat(const RunStatistics& run) { return run.count > 2; }

  const Direction direction_;
  const bool opens_groups_;
  std::optional<std::pair<std::int64_t, std::int64_t>> wanted_;
  std::vector<RunStatistics> runs_;
  int with_statistics_ = 0;
};

using ByTime = std::map<std::int64_t, Sample>;

class Summaries : public AnyStore {
 protected:
  // Puts the records into the store and into the map.
  void Put(const std::vector<MarkedSample>& records) {
    Append(records);
    for (const MarkedSample& record : records) expected_[record.sample.time_ms] = record.sample;
  }

  std::optional<RunStatistics> Expected(TimeRange range) const {
    SampleColumns columns;
    for (const auto& [time_ms, sample] : expected_) {
      if (range.Holds(time_ms)) columns.Add(sample);
    }
    if (columns.empty()) return std::nullopt;
    return StatisticsOf(columns, 0, columns.size());
  }

  // By all ways to go through the range. How many runs came with statistics.
  int ExpectTold(TimeRange range) {
    const std::optional<RunStatistics> expected = Expected(range);
    int with_statistics = 0;
    for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
      for (const bool opens_groups : {false, true}) {
        Summing summing(direction, opens_groups);
        const Status status = store_->Scan(1, range, direction, summing);
        EXPECT_TRUE(status.ok()) << status.message();
        const std::optional<RunStatistics> told = summing.Total();
        EXPECT_EQ(told.has_value(), expected.has_value());
        if (told && expected) ExpectSame(*told, *expected);
        with_statistics += summing.with_statistics();
      }
    }
    return with_statistics;
  }

  MarkedSample RandomRecord(std::int64_t time_ms) {
    MarkedSample record =
        Record(1, time_ms, std::uniform_real_distribution<double>(-50, 100)(random_));
    if (Draw(0, 9) == 0) record.sample.quality = 0;
    return record;
  }
  std::int64_t Draw(std::int64_t least, std::int64_t most) {
    return std::uniform_int_distribution(least, most)(random_);
  }

  const Seed seed_;
  std::mt19937 random_{seed_.value()};
  ByTime expected_;
};

INSTANTIATE_TEST_SUITE_P(Store, Summaries,
                         testing::ValuesIn(AllStores().begin(), AllStores().end()), CaseName());
INSTANTIATE_TEST_SUITE_P(Of, Summaries, testing::ValuesIn(kSizes), CaseName());

// In order, late, in place of others, and after the tag was emptied.
TEST_P(Summaries, TellWhatTheRecordsDo) {
  std::int64_t now_ms = 0;
  for (int step = 0; step < 60 && !HasFailure(); ++step) {
    SCOPED_TRACE(step);
    std::vector<MarkedSample> batch;
    for (std::int64_t i = Draw(1, 120); i > 0; --i) {
      now_ms += Draw(1, 20);
      batch.push_back(RandomRecord(now_ms));
    }
    const std::int64_t late = Draw(0, 3) == 0 ? Draw(1, 5) : 0;
    for (std::int64_t i = 0; i < late; ++i) batch.push_back(RandomRecord(Draw(1, now_ms)));
    Put(batch);
    if (step == 40) {
      StoreBatch emptied;
      emptied.emptied = {1};
      driver_->MustCommit(std::move(emptied));
      expected_.clear();
      now_ms = Draw(0, 2'000);
    }
    if (Draw(0, 9) == 0) Reopen();
    ExpectTold({});
    ExpectTold({Draw(-5, now_ms), Draw(0, now_ms + 5)});
  }
}

TEST_P(Summaries, OfTextsAreTold) {
  std::vector<MarkedSample> batch;
  for (std::int64_t i = 1; i <= 200; ++i) {
    MarkedSample record = Record(1, 10 * i, 0);
    record.sample.type = TagType::kString;
    record.sample.value = "text " + std::to_string(i);
    if (i % 7 == 0) record.sample.quality = 64;
    batch.push_back(record);
  }
  Put(batch);
  Reopen();
  ExpectTold({});
  ExpectTold({155, 1'433});
}

// A summary serves wherever it can: what was brought into chunks is told without looking at any.
TEST_P(Summaries, AreThereForWhatIsInChunks) {
  std::vector<MarkedSample> batch;
  for (std::int64_t i = 1; i <= 400; ++i) batch.push_back(RandomRecord(10 * i));
  Put(batch);
  Reopen();
  const int with_statistics = ExpectTold({});
  EXPECT_TRUE(!GetParam().keeps || with_statistics > 0);
}

// Looking them up would cost a reader of records for nothing.
TEST_P(Summaries, AreNotLookedUpForWhoHasNoUseForThem) {
  class Reader final : public ScanVisitor {
   public:
    bool UsesStatistics() const override { return false; }
    Wants Offer(const RunSummary& run) override {
      EXPECT_EQ(run.statistics, nullptr);
      is_offered_ = true;
      return Wants::kRecords;
    }
    bool Show(const SampleColumns&, std::size_t begin, std::size_t end) override {
      EXPECT_TRUE(std::exchange(is_offered_, false)) << "a group was offered";
      count += end - begin;
      return true;
    }
    std::size_t count = 0;

   private:
    bool is_offered_ = false;
  };
  std::vector<MarkedSample> batch;
  for (std::int64_t i = 1; i <= 400; ++i) batch.push_back(RandomRecord(10 * i));
  Put(batch);
  Reopen();
  for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
    Reader reader;
    EXPECT_TRUE(store_->Scan(1, {}, direction, reader).ok());
    EXPECT_EQ(reader.count, 400U);
  }
}

}  // namespace
}  // namespace zervane::storage
