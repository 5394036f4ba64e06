#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

#include "engine/engine.h"
#include "tests/engine/database/calculation_kill_script.h"
#include "tests/engine/storage/sqlite/kill_fixture.h"
#include "tests/engine/storage/support.h"

namespace zervane {
namespace {

namespace fs = std::filesystem;
using Numbers = std::map<std::int64_t, double>;  // by the times of good records

class KilledCalculations : public storage::KillFixture {
 protected:
  KilledCalculations() : KillFixture(ZERVANE_CALCULATION_KILL_WRITER, 60) {}

  void TakeAnswer(std::int64_t step) override {
    ASSERT_EQ(step, next_step_);
    ++next_step_;
  }

  // Opened so that nothing is computed until the test says so.
  void ExpectAllAnswered(const fs::path& folder) override {
    auto opened =
        Engine::Open(storage::MustOpen(folder), SystemClock(), {}, Engine::OwnWork::kByCaller);
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    Engine& engine = **opened;
    const bool has_all = engine.Handle(Caller(), GetTag{.id = calculation_kill::kLastTag}).ok();
    if (has_all) ExpectComputed(engine);
    EXPECT_TRUE(engine.Close().ok());
    ++next_step_;  // that was under way
  }

  void ExpectComputed(Engine& engine) {
    const Numbers first = NumbersOf(engine, 1);
    const Numbers second = NumbersOf(engine, 2);
    if (first.empty() || second.empty()) return;
    const std::int64_t newest_ms = std::max(first.rbegin()->first, second.rbegin()->first);
    const double newest = first.rbegin()->second + second.rbegin()->second;
    Count(NumbersOf(engine, calculation_kill::kSum), newest_ms, newest);
    EXPECT_TRUE(engine.Work().ok());

    const Numbers sums = NumbersOf(engine, calculation_kill::kSum);
    const Numbers behind = NumbersOf(engine, calculation_kill::kBehind);
    ASSERT_FALSE(sums.empty());
    EXPECT_EQ(sums.rbegin()->first, newest_ms) << "by step " << next_step_;
    EXPECT_EQ(sums.rbegin()->second, newest) << "by step " << next_step_;
    EXPECT_EQ(behind.rbegin()->first, newest_ms);
    EXPECT_EQ(behind.rbegin()->second, 2 * newest + first.rbegin()->second);
    for (const auto& [time_ms, sum] : sums) {
      if (!calculation_kill::IsSettled(calculation_kill::StepAt(time_ms))) continue;
      EXPECT_EQ(sum, ValueAt(first, time_ms) + ValueAt(second, time_ms)) << time_ms;
      EXPECT_EQ(behind.at(time_ms), 2 * sum + ValueAt(first, time_ms)) << time_ms;
      ++computed_;
    }
    EXPECT_TRUE(std::ranges::all_of(sums, [&](const auto& sum) {
      return behind.contains(sum.first);
    })) << "what is computed in one pass is stored together";
  }

  // What the kill has left, before anything is computed.
  void Count(const Numbers& sums, std::int64_t newest_ms, double newest) {
    if (sums.empty() || sums.rbegin()->first < newest_ms) {
      ++unfollowed_;
    } else if (sums.rbegin()->second != newest) {
      ++unrevised_;
    }
  }

  static Numbers NumbersOf(Engine& engine, TagId tag) {
    ReadRecords read;
    read.id = tag;
    read.limit = 1'000'000;
    const Result<SampleColumns> records = engine.Handle(Caller(), read);
    EXPECT_TRUE(records.ok()) << records.status().message();
    Numbers numbers;
    for (std::size_t at = 0; records.ok() && at < records->size(); ++at) {
      const Sample sample = records->At(at);
      if (sample.quality == ZR3_QUALITY_GOOD) numbers[sample.time_ms] = sample.value.float64();
    }
    return numbers;
  }

  // The last one at the time or before.
  static double ValueAt(const Numbers& numbers, std::int64_t time_ms) {
    const auto behind = numbers.upper_bound(time_ms);
    return behind == numbers.begin() ? 0 : std::prev(behind)->second;
  }

  std::size_t computed_ = 0;
  std::size_t unfollowed_ = 0;
  std::size_t unrevised_ = 0;
};

TEST_F(KilledCalculations, AreThoseOfTheStoredValuesAndTheNewestIsNeverMissing) {
  RunRoundsUntil(ZERVANE_CALCULATION_KILLS, [this] { return unfollowed_ > 0 && unrevised_ > 0; });
  EXPECT_GT(computed_, 0U);
  EXPECT_GT(unfollowed_, 0U) << "or no kill ever came between a value and what follows from it";
  EXPECT_GT(unrevised_, 0U) << "or none ever left a result of a time whose values are others now";
}

}  // namespace
}  // namespace zervane
