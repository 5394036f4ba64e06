#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "engine/derived/calculations/history_progress.h"
#include "engine/engine.h"
#include "tests/engine/database/history_kill_script.h"
#include "tests/engine/storage/sqlite/kill_fixture.h"
#include "tests/engine/storage/support.h"

namespace zervane {
namespace {

namespace fs = std::filesystem;
namespace script = history_kill;

// A value that a calculation tag is to have, times the factor that it was saved with.
struct PlainResult {
  double value = 0;
  bool is_good = true;
};
using Results = std::map<std::int64_t, PlainResult>;

Results ResultsAt(const std::vector<std::int64_t>& instants) {
  const std::vector<TagSample> records = script::OperandRecords();
  Results results;
  std::size_t next = 0;
  double previous = 0;
  for (const std::int64_t at_ms : instants) {
    while (next < records.size() && records[next].sample.time_ms <= at_ms) ++next;
    if (next == 0) continue;
    const Sample& operand = records[next - 1].sample;
    const bool is_good = operand.quality == ZR3_QUALITY_GOOD;
    if (is_good) previous = operand.value.float64();
    results[at_ms] = {.value = previous, .is_good = is_good};
  }
  return results;
}

Results ResultsOf(TagId tag) {
  std::vector<std::int64_t> instants;
  if (tag == script::kPolled) {
    for (std::int64_t at_s = script::kStartS; at_s <= script::kEndS; ++at_s) {
      if (at_s % script::kPeriodS == 0) instants.push_back(at_s * 1000);
    }
  } else {
    for (const TagSample& record : script::OperandRecords()) {
      instants.push_back(record.sample.time_ms);
    }
  }
  return ResultsAt(instants);
}

// Opened so that nothing is computed until the test says so. The store is the engine's.
struct OpenedDatabase {
  explicit OpenedDatabase(const fs::path& folder) {
    auto opened_store = storage::MustOpen(folder);
    store = opened_store.get();
    auto opened =
        Engine::Open(std::move(opened_store), SystemClock(), {}, Engine::OwnWork::kByCaller);
    EXPECT_TRUE(opened.ok()) << opened.status().message();
    if (!opened.ok()) std::abort();
    engine = *std::move(opened);
  }

  // By what the tag multiplies; none when it is not there.
  std::optional<std::int64_t> FactorOf(TagId tag) {
    const Result<Tag> read = engine->Handle(Caller(), GetTag{.id = tag});
    if (!read.ok()) return std::nullopt;
    const std::string& text = std::get<CalculationProperties>(read->own).calc_expr;
    return std::stoll(text.substr(text.rfind(' ')));
  }
  SampleColumns Archive(TagId tag) {
    ReadRecords read;
    read.id = tag;
    read.range = {.from_ms = script::kStartS * 1000, .to_ms = script::kEndS * 1000};
    read.limit = 1'000'000;
    Result<SampleColumns> records = engine->Handle(Caller(), read);
    EXPECT_TRUE(records.ok());
    return records.ok() ? *std::move(records) : SampleColumns();
  }
  // Where the tag's past has got to; none when it is computed whole.
  std::optional<std::int64_t> NextOf(TagId tag) {
    const Row keys = RowFormat<HistoryProgress>::KeysOf(tag);
    const auto page = Table<HistoryProgress>(*store).ReadPage(
        {.table = TableId::kProgress, .from = keys, .to = keys}, 10);
    EXPECT_TRUE(page.ok() && page->items.size() <= 1);
    if (!page.ok() || page->items.empty()) return std::nullopt;
    return page->items.front().next_ms;
  }

  Store* store = nullptr;
  std::unique_ptr<Engine> engine;
};

class KilledHistory : public storage::KillFixture {
 protected:
  KilledHistory() : KillFixture(ZERVANE_HISTORY_KILL_WRITER, 20) {}

  void TakeAnswer(std::int64_t step) override {
    ASSERT_EQ(step, next_step_);
    answered_[script::TagOfStep(step)] = script::FactorOf(step);
    ++next_step_;
  }

  void ExpectAllAnswered(const fs::path& folder) override {
    OpenedDatabase database(folder);
    for (const TagId tag : {script::kPolled, script::kNotified}) {
      SCOPED_TRACE("tag " + std::to_string(tag));
      ExpectPastOf(database, tag);
    }
    EXPECT_TRUE(database.engine->Close().ok());
    ++next_step_;  // that was under way
  }

  void ExpectPastOf(OpenedDatabase& database, TagId tag) {
    const std::optional<std::int64_t> factor = database.FactorOf(tag);
    if (!factor) return;  // killed before it was added, so nothing was answered
    EXPECT_GE(*factor, answered_[tag]);
    EXPECT_LE(*factor, script::FactorOf(next_step_));
    const std::optional<std::int64_t> next_ms = database.NextOf(tag);
    ExpectComputed(database.Archive(tag), tag, *factor, next_ms.value_or(kMaxTimeMs));
    if (next_ms) ++under_way_;
    ASSERT_TRUE(database.engine->Work().ok());
    const SampleColumns whole = database.Archive(tag);
    ExpectComputed(whole, tag, *factor, kMaxTimeMs);
    EXPECT_EQ(whole.size(), expected_.at(tag).size());
    EXPECT_EQ(database.NextOf(tag), std::nullopt);
  }

  // Before the time all results are those of the factor; from there on there may be older ones.
  void ExpectComputed(const SampleColumns& records, TagId tag, std::int64_t factor,
                      std::int64_t next_ms) {
    Results missing = expected_.at(tag);
    for (std::size_t at = 0; at < records.size(); ++at) {
      const Sample record = records.At(at);
      const auto wanted = missing.find(record.time_ms);
      ASSERT_TRUE(wanted != missing.end()) << "a record too many, at " << record.time_ms;
      if (record.time_ms < next_ms) {
        ASSERT_EQ(record.value.float64(), wanted->second.value * static_cast<double>(factor));
        ASSERT_EQ(record.quality == ZR3_QUALITY_GOOD, wanted->second.is_good);
      }
      missing.erase(wanted);
    }
    ASSERT_TRUE(missing.empty() || missing.begin()->first >= next_ms)
        << "none at " << missing.begin()->first;
  }

  const std::map<TagId, Results> expected_ = {{script::kPolled, ResultsOf(script::kPolled)},
                                              {script::kNotified, ResultsOf(script::kNotified)}};
  std::map<TagId, std::int64_t> answered_;
  int under_way_ = 0;  // pasts that were not whole when it came
};

TEST_F(KilledHistory, GoesOnWhereItsRowSaysAndIsThatOfTheLastSaving) {
  RunRoundsUntil(ZERVANE_HISTORY_KILLS, [this] { return under_way_ > 0; });
  EXPECT_GT(under_way_, 0) << "or no kill ever came while the past was computed";
}

}  // namespace
}  // namespace zervane
