#pragma once

#include <gtest/gtest.h>
#include <spdlog/fmt/fmt.h>

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/alarms/alarm_action.h"
#include "engine/alarms/alarm_book.h"
#include "engine/alarms/alarm_groups.h"
#include "engine/alarms/alarm_rows.h"
#include "engine/alarms/alarm_rule.h"
#include "engine/alarms/alarm_stage.h"
#include "engine/alarms/alarm_test.h"
#include "engine/alarms/source_history.h"
#include "engine/feed/feed_consumer.h"
#include "engine/storage/tables.h"
#include "tests/engine/write/commit_fixture.h"

namespace zervane {

// The alarm stage over a store whose failures the test dictates, on a clock that the test sets. Tag
// 1 is a source of numbers.
class AlarmStageTest : public CommitTest {
 protected:
  static constexpr TagId kSource = 1;
  static constexpr TagId kAlarm = 10;
  using Texts = std::vector<std::string>;

  AlarmStageTest() {
    Start();
    feed_consumer_ = *feed_.Register(1'000'000);
    feed_consumer_->WatchTable(TableId::kAlarmRecord, true);
    EXPECT_TRUE(PutTag(kSource, {.is_read = true}).ok());
  }

  // As after opening: what memory knew is gone.
  void Start() {
    book_ = std::make_unique<AlarmBook>();
    groups_ = std::make_unique<AlarmGroups>(store_);
    stage_ = std::make_unique<AlarmStage>(store_, SourceHistory(store_, tags_, current_values_),
                                          *book_, *groups_, [this] { return now_ms_; });
    stage_->OnWork([this] { ++wakes_; });
    committer_ = std::make_unique<Committer>(store_, tags_, current_values_, feed_);
    EXPECT_TRUE(committer_->Start(turn_).ok());
    committer_->AddStage(*stage_);
  }
  Status Load(std::vector<AlarmRule> rules) { return stage_->Load(turn_, std::move(rules)); }

  static AlarmRule Rule(const Texts& tests, TagId tag = kAlarm, TagId source = kSource) {
    AlarmRule rule;
    rule.tag = tag;
    rule.source = source;
    for (std::size_t at = 0; at < tests.size(); ++at) {
      const auto test = ParseAlarmTest(tests[at]);
      EXPECT_TRUE(test.ok()) << tests[at];
      rule.conditions.tests[at] = *test;
      rule.texts[at] = tests[at];
      rule.has_change = rule.has_change || (*test && (*test)->is_change());
    }
    return rule;
  }

  Status PutTag(TagId tag, const TagTraits& traits) {
    return committer_->Change(
        turn_,
        [&](Turn&, StoreBatch& batch) {
          Table<Tag>::Put(storage::TagNamed(tag, "T" + std::to_string(tag)), batch);
          tags_.Reserve(tag);
          return Status();
        },
        [&](Turn&) { tags_.Put(tag, traits); });
  }
  Status RemoveTag(TagId tag) {
    return committer_->Change(
        turn_,
        [&](Turn&, StoreBatch& batch) {
          Table<Tag>::Remove(tag, batch);
          return Status();
        },
        [&](Turn&) { tags_.Remove(tag); });
  }
  // Saves the alarm tag.
  Status Save(const AlarmRule& rule) {
    return committer_->Change(
        turn_,
        [&](Turn&, StoreBatch& batch) {
          book_->Propose(rule);
          Table<Tag>::Put(storage::TagNamed(rule.tag, "T" + std::to_string(rule.tag)), batch);
          tags_.Reserve(rule.tag);
          return Status();
        },
        [&](Turn&) { tags_.Put(rule.tag, {.is_own = true}); });
  }

  CommitAnswer Commit(const std::vector<TagSample>& records) {
    RecordBatch batch = UnmarkedOf(records);
    return committer_->Commit(turn_, batch);
  }
  void Write(std::int64_t time_ms, double value, std::uint16_t quality = ZR3_QUALITY_GOOD) {
    Sample sample = NumberAt(time_ms, value);
    sample.quality = quality;
    EXPECT_EQ(Commit({{kSource, sample}}).fate, Fate::kStored);
  }
  Status CompleteHolds() {
    return committer_->Change(
        turn_, [&](Turn& turn, StoreBatch& batch) { return stage_->CompleteHolds(turn, batch); },
        [](Turn&) {});
  }

  template <typename T>
  std::vector<T> AllRows() {
    const auto page = Table<T>(*below_).ReadPage({.table = RowFormat<T>::kTable},
                                                 std::numeric_limits<std::size_t>::max() - 1);
    EXPECT_TRUE(page.ok());
    return page.ok() ? page->items : std::vector<T>();
  }
  std::vector<PendingAction> Actions() {
    const Row all = RowFormat<PendingAction>::AllKeys();
    const auto page = Table<PendingAction>(*below_).ReadPage(
        {.table = TableId::kProgress, .from = all, .to = all}, 1'000'000);
    EXPECT_TRUE(page.ok());
    return page->items;
  }

  // `tag: start-end value`, without an end where there is none.
  static std::string TextOf(const AlarmRecord& record) {
    const std::string end = record.is_restored ? std::to_string(record.end_ms) : "";
    return fmt::format("{}: {}-{} {}", record.tag, record.start_ms, end, record.source_value);
  }
  Texts Records() {
    Texts texts;
    for (const AlarmRecord& record : AllRows<AlarmRecord>()) texts.push_back(TextOf(record));
    return texts;
  }
  // The puts and removals of records in the commits since the last call.
  Texts Transitions() {
    Texts texts;
    while (const auto delivery = feed_consumer_->Poll()) {
      EXPECT_FALSE(delivery->is_gap());
      for (const RowChange& change : delivery->group->rows) {
        if (change.table == TableId::kAlarmRecord) texts.push_back(TextOf(change));
      }
    }
    return texts;
  }
  static std::string TextOf(const RowChange& change) {
    if (!change.row) return "removed";
    std::vector<CellView> cells;
    for (const Cell& cell : *change.row) cells.push_back(ViewOf(cell));
    return TextOf(*RowFormat<AlarmRecord>::FromRow(cells));
  }

  std::int64_t now_ms_ = 1'000'000;
  int wakes_ = 0;
  std::unique_ptr<AlarmBook> book_;
  std::unique_ptr<AlarmGroups> groups_;
  std::unique_ptr<AlarmStage> stage_;
  std::unique_ptr<Committer> committer_;
  std::unique_ptr<FeedConsumer> feed_consumer_;
};

}  // namespace zervane
