#include <gtest/gtest.h>
#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "api/operations/alarms.h"
#include "engine/alarms/alarm_action.h"
#include "engine/engine.h"
#include "tests/engine/database/alarm_kill_script.h"
#include "tests/engine/storage/sqlite/kill_fixture.h"
#include "tests/engine/storage/support.h"

namespace zervane {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

// Opened so that nothing is done about alarms until the test says so. The store is the engine's.
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

  template <typename Op>
  typename Op::Reply Must(const Op& operation) {
    auto reply = engine->Handle(Caller(), operation);
    EXPECT_TRUE(reply.ok()) << reply.status().message();
    return reply.ok() ? *std::move(reply) : typename Op::Reply();
  }

  SampleColumns Archive(TagId tag) {
    ReadRecords read;
    read.id = tag;
    read.limit = 1'000'000;
    return Must(read);
  }

  // `start-end value`, by their starts, without an end where there is none.
  Texts Alarms(TagId alarm) {
    FindAlarmsOfTags find;
    find.ids = {alarm};
    Texts texts;
    for (bool is_end = false; !is_end && !testing::Test::HasFailure();) {
      const AlarmPage page = Must(find);
      for (const AlarmRecord& record : page.items) {
        const std::string end = record.is_restored ? std::to_string(record.end_ms) : "";
        texts.push_back(fmt::format("{}-{} {}", record.start_ms, end, record.source_value));
      }
      is_end = !page.next;
      if (page.next) find.from = *page.next;
    }
    return texts;
  }

  // The starts of the records whose actions of that alarm tag are still to be written.
  std::set<std::int64_t> PendingStarts(TagId alarm) {
    const Row keys = RowFormat<PendingAction>::KeysOf(alarm);
    const auto page = Table<PendingAction>(*store).ReadPage(
        {.table = TableId::kProgress, .from = keys, .to = keys}, 1'000'000);
    EXPECT_TRUE(page.ok());
    std::set<std::int64_t> starts;
    for (const PendingAction& action : page->items) starts.insert(action.key.start_ms);
    return starts;
  }

  Store* store = nullptr;
  std::unique_ptr<Engine> engine;
};

// What is to stand in the store because of the values of a source: above the limit and not, and
// every change between good values.
struct Expected {
  Texts alarms;
  std::set<std::int64_t> raised;  // starts of records with an action
};

Expected ExpectedOf(const SampleColumns& values) {
  Expected expected;
  constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
  std::size_t standing = kNone;  // of the alarms
  std::optional<double> before;
  for (std::size_t at = 0; at < values.size(); ++at) {
    const Sample sample = values.At(at);
    if (sample.quality != ZR3_QUALITY_GOOD) continue;
    const double value = sample.value.float64();
    const bool is_raised = value > alarm_kill::kLimit && standing == kNone;
    if (value <= alarm_kill::kLimit && standing != kNone) {
      std::string& text = expected.alarms[standing];
      text.insert(text.find(' '), std::to_string(sample.time_ms));
      standing = kNone;
    }
    if (is_raised) {
      standing = expected.alarms.size();
      expected.raised.insert(sample.time_ms);
      expected.alarms.push_back(fmt::format("{}- {}", sample.time_ms, value));
    }
    if (before && *before != value) {
      const std::int64_t start_ms = sample.time_ms + (is_raised ? 1 : 0);
      expected.alarms.push_back(fmt::format("{}-{} {}", start_ms, start_ms, value));
    }
    before = value;
  }
  return expected;
}

std::set<std::int64_t> TimesOf(const SampleColumns& records) {
  return {records.times().begin(), records.times().end()};
}

class KilledAlarms : public storage::KillFixture {
 protected:
  KilledAlarms() : KillFixture(ZERVANE_ALARM_KILL_WRITER, 60) {}

  void TakeAnswer(std::int64_t step) override {
    ASSERT_EQ(step, next_step_);
    for (const TagSample& record : alarm_kill::StepOf(seed_.value(), step)) {
      answered_[record.tag - 1].insert(record.sample.time_ms);
    }
    ++next_step_;
  }

  void ExpectAllAnswered(const fs::path& folder) override {
    OpenedDatabase database(folder);
    for (TagId source = 1; source <= alarm_kill::kSources && !HasFailure(); ++source) {
      SCOPED_TRACE("source " + std::to_string(source));
      ExpectAlarmsOf(database, source);
    }
    EXPECT_TRUE(database.engine->Close().ok());
    ++next_step_;  // that was under way
  }

  void ExpectAlarmsOf(OpenedDatabase& database, TagId source) {
    const TagId alarm = alarm_kill::AlarmOf(source);
    if (!database.engine->Handle(Caller(), GetTag{.id = alarm}).ok()) {
      return;  // killed before it was added, so nothing was answered
    }
    const SampleColumns values = database.Archive(source);
    const std::set<std::int64_t> stored = TimesOf(values);
    EXPECT_TRUE(std::ranges::includes(stored, answered_[source - 1]));
    const Expected expected = ExpectedOf(values);
    EXPECT_TRUE(database.Alarms(alarm) == expected.alarms) << "by step " << next_step_;
    ExpectEachActionOnce(database, source, expected.raised);
    alarms_ += expected.alarms.size();
  }

  // Of every alarm the value is either written or still to be written, never both.
  void ExpectEachActionOnce(OpenedDatabase& database, TagId source,
                            const std::set<std::int64_t>& raised) {
    const TagId target = alarm_kill::TargetOf(source);
    std::set<std::int64_t> all = TimesOf(database.Archive(target));
    for (const std::int64_t start_ms : database.PendingStarts(alarm_kill::AlarmOf(source))) {
      EXPECT_TRUE(all.insert(start_ms).second) << "written and pending: " << start_ms;
      ++pending_;
    }
    EXPECT_TRUE(all == raised);
    EXPECT_TRUE(database.engine->Work().ok());
    EXPECT_TRUE(TimesOf(database.Archive(target)) == raised);
    EXPECT_TRUE(database.PendingStarts(alarm_kill::AlarmOf(source)).empty());
  }

  std::array<std::set<std::int64_t>, alarm_kill::kSources> answered_;
  std::size_t alarms_ = 0;
  std::size_t pending_ = 0;
};

TEST_F(KilledAlarms, AreThoseOfTheStoredValuesAndEveryActionIsWrittenOnce) {
  RunRoundsUntil(ZERVANE_ALARM_KILLS, [this] { return pending_ > 0; });
  EXPECT_GT(alarms_, 0U);
  EXPECT_GT(pending_, 0U) << "or no kill ever came between an alarm and its action";
}

}  // namespace
}  // namespace zervane
