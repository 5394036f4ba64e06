#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "engine/derived/statistics_tags/progress_rows.h"
#include "engine/engine.h"
#include "tests/engine/database/statistics_kill_script.h"
#include "tests/engine/storage/sqlite/kill_fixture.h"
#include "tests/engine/storage/support.h"

namespace zervane {
namespace {

namespace fs = std::filesystem;

class KilledStatistics : public storage::KillFixture {
 protected:
  KilledStatistics() : KillFixture(ZERVANE_STATISTICS_KILL_WRITER, 60) {}

  void TakeAnswer(std::int64_t step) override {
    ASSERT_EQ(step, next_step_);
    ++next_step_;
  }

  // Opened so that nothing is computed until the test says so. The store is the engine's.
  void ExpectAllAnswered(const fs::path& folder) override {
    auto store = storage::MustOpen(folder);
    const RowRange late = {.table = TableId::kProgress,
                           .from = RowFormat<LateStretch>::AllKeys(),
                           .to = RowFormat<LateStretch>::AllKeys()};
    const auto page = Table<LateStretch>(*store).ReadPage(late, 1'000'000);
    ASSERT_TRUE(page.ok()) << page.status().message();
    pending_ += page->items.size();
    Store& kept = *store;
    auto opened = Engine::Open(std::move(store), SystemClock(), {}, Engine::OwnWork::kByCaller);
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    Engine& engine = **opened;
    EXPECT_TRUE(engine.Work().ok());
    for (TagId source = 1; source <= statistics_kill::kSources; ++source) {
      const TagId sum = statistics_kill::SumOf(source);
      if (engine.Handle(Caller(), GetTag{.id = sum}).ok()) ExpectComputed(engine, source);
    }
    const auto left = Table<LateStretch>(kept).ReadPage(late, 1'000'000);
    EXPECT_TRUE(left.ok() && left->items.empty());
    EXPECT_TRUE(engine.Close().ok());
    ++next_step_;  // that was under way
  }

  // Every window up to now has its record, and that is of what is stored.
  void ExpectComputed(Engine& engine, TagId source) {
    using statistics_kill::kStartMs;
    using statistics_kill::kWindowMs;
    std::map<std::int64_t, double> sums;  // by windows with a good record
    for (const Sample& sample : RecordsOf(engine, source)) {
      if (sample.quality != ZR3_QUALITY_GOOD) continue;
      sums[(sample.time_ms - kStartMs) / kWindowMs] += sample.value.float64();
    }
    const std::vector<Sample> records = RecordsOf(engine, statistics_kill::SumOf(source));
    const std::int64_t now_ms = SystemClock()();
    ASSERT_GE(static_cast<std::int64_t>(records.size()), (now_ms - kStartMs) / kWindowMs - 1);
    for (std::size_t at = 0; at < records.size(); ++at) {
      const auto window = static_cast<std::int64_t>(at);
      ASSERT_EQ(records[at].time_ms, kStartMs + (window + 1) * kWindowMs);
      const bool has_sum = sums.contains(window);
      EXPECT_EQ(records[at].quality, has_sum ? ZR3_QUALITY_GOOD : ZR3_QUALITY_BAD) << at;
      if (!has_sum) continue;
      EXPECT_EQ(records[at].value.float64(), sums[window]) << at << " by step " << next_step_;
      ++summed_;
    }
  }

  static std::vector<Sample> RecordsOf(Engine& engine, TagId tag) {
    ReadRecords read;
    read.id = tag;
    read.limit = 1'000'000;
    const Result<SampleColumns> records = engine.Handle(Caller(), read);
    EXPECT_TRUE(records.ok()) << records.status().message();
    std::vector<Sample> samples;
    for (std::size_t at = 0; records.ok() && at < records->size(); ++at) {
      samples.push_back(records->At(at));
    }
    return samples;
  }

  std::size_t summed_ = 0;
  std::size_t pending_ = 0;
};

TEST_F(KilledStatistics, AreThoseOfTheStoredValuesWithoutAGap) {
  RunRoundsUntil(ZERVANE_STATISTICS_KILLS, [this] { return pending_ > 0; });
  EXPECT_GT(summed_, 0U);
  EXPECT_GT(pending_, 0U) << "or no kill ever came between a late record and what follows from it";
}

}  // namespace
}  // namespace zervane
