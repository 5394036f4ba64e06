#include <gtest/gtest.h>
#include <spdlog/fmt/fmt.h>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "api/operations/subscriptions.h"
#include "tests/engine/alarms/alarm_database.h"
#include "tests/engine/records.h"
#include "tests/engine/test_disk.h"

namespace zervane {
namespace {

constexpr TagId kSources = 2;
constexpr std::int64_t kAlarmsOfASource = 100;
constexpr std::int64_t kPeriodMs = 4;  // two values below the limit, two above it

constexpr std::int64_t StartOf(std::int64_t alarm) { return kPeriodMs * alarm + 2; }
constexpr std::int64_t EndOf(std::int64_t alarm) { return kPeriodMs * (alarm + 1); }

// Writers of watched tags, one who saves and deletes alarm tags with time dead bands while the
// clock goes on, one who acknowledges and comments, a poller and a reader, and the database's own
// thread, which completes holds and carries out actions; all at once.
class AlarmConcurrency : public testing::Test {
 protected:
  AlarmConcurrency() {
    Open(Engine::OwnWork::kByThreads);
    for (TagId i = 0; i < kSources; ++i) {
      sources_.push_back(Add(PointOf(fmt::format("source {}", i))));
      targets_.push_back(Add(PointOf(fmt::format("target {}", i))));
      Tag tag = AlarmTagOf(fmt::format("alarm {}", i), fmt::format("source {}", i), {"HIGH > 50"});
      std::get<AlarmProperties>(tag.own).action1 = fmt::format("SET 'target {}' 1", i);
      alarms_.push_back(Add(tag));
    }
  }

  void Open(Engine::OwnWork work) {
    engine_.reset();
    auto opened = Engine::Open(
        disk_->Open(disk_), [this] { return now_ms_.load(); }, {}, work);
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    engine_ = *std::move(opened);
  }

  static Tag PointOf(std::string name) {
    Tag tag;
    tag.name = std::move(name);
    return tag;
  }

  template <typename Op>
  Result<typename Op::Reply> Do(const Op& operation) {
    return engine_->Handle(Caller(), operation);
  }
  TagId Add(const Tag& tag) {
    const Result<TagId> id = Do(AddTag{.tag = tag, .mask = {}});
    EXPECT_TRUE(id.ok()) << id.status().message();
    return id.ok() ? *id : 0;
  }

  void WriteAll(TagId source) {
    constexpr std::int64_t kLastMs = EndOf(kAlarmsOfASource - 1);
    for (std::int64_t time_ms = 1; time_ms <= kLastMs; ++time_ms) {
      WriteSamples write;
      write.batch.Add(source, NumberAt(time_ms, time_ms % kPeriodMs < 2 ? 10 : 90));
      write.answer =
          time_ms % 3 == 0 || time_ms == kLastMs ? WriteAnswer::kDurable : WriteAnswer::kQueued;
      const auto reply = Do(write);
      ASSERT_TRUE(reply.ok()) << reply.status().message();
      ASSERT_EQ(reply->status, ZR3_OK);
    }
  }

  void ChangeTagsUntil(const std::atomic<bool>& is_over) {
    for (int round = 0; !is_over; ++round) {
      Tag tag = AlarmTagOf("changing", fmt::format("SOURCE {}", round % 2), {"HIHI > 60"});
      std::get<AlarmProperties>(tag.own).time_dead_band = 1;
      const TagId id = Add(tag);
      now_ms_ += 600;
      std::get<AlarmProperties>(tag.own).test1 = "LOLO < 60";
      EXPECT_TRUE(Do(ModifyTag{.id = id, .tag_class = tag.tag_class, .tag = tag, .mask = {}}).ok());
      now_ms_ += 600;
      EXPECT_TRUE(Do(DeleteTag{id}).ok());
    }
  }

  void NoteUntil(const std::atomic<bool>& is_over) {
    while (!is_over) {
      const auto latest = Do(ReadLatestAlarms{.ids = alarms_});
      ASSERT_TRUE(latest.ok()) << latest.status().message();
      for (std::size_t at = 0; at < alarms_.size(); ++at) {
        if (latest->codes[at] != ZR3_OK) continue;
        const AlarmKey key = latest->records[at].key();
        const auto acknowledged = Do(AcknowledgeAlarms{{key}});
        ASSERT_TRUE(acknowledged.ok()) << acknowledged.status().message();
        if (acknowledged->front() != ZR3_OK) continue;
        ++acknowledged_;
        ASSERT_TRUE(Do(CommentAlarms{{key}, {"seen"}}).ok());
      }
    }
  }

  // A poll hands out some thousand transitions at the most: the rest comes with the next.
  void PollUntil(const std::atomic<bool>& is_over) {
    bool is_done = false;
    while (!is_done) {
      const bool was_over = is_over;
      const auto polled = Do(PollAlarms{});
      ASSERT_TRUE(polled.ok()) << polled.status().message();
      for (const AlarmRecord& record : *polled) told_[record.key()].push_back(record);
      is_done = was_over && polled->empty();
    }
  }

  void ReadUntil(const std::atomic<bool>& is_over) {
    while (!is_over) {
      const auto page = Do(FindAlarmsOfGroup{});
      ASSERT_TRUE(page.ok()) << page.status().message();
      for (std::size_t at = 1; at < page->items.size(); ++at) {
        ASSERT_LT(page->items[at - 1].key(), page->items[at].key());
      }
    }
  }

  // What one alarm was told to be, one transition after the other, up to what is stored.
  void ExpectOneLife(const AlarmRecord& stored) const {
    const std::vector<AlarmRecord>& told = told_.at(stored.key());
    EXPECT_FALSE(told.front().is_restored || told.front().is_acknowledged);
    EXPECT_EQ(told.back(), stored);
    for (std::size_t at = 1; at < told.size(); ++at) {
      EXPECT_GE(told[at].is_restored, told[at - 1].is_restored);
      EXPECT_GE(told[at].is_acknowledged, told[at - 1].is_acknowledged);
      EXPECT_GE(told[at].comment.size(), told[at - 1].comment.size());
    }
  }

  const std::shared_ptr<TestDisk> disk_ = std::make_shared<TestDisk>();
  std::atomic<std::int64_t> now_ms_ = 1'000'000;
  std::unique_ptr<Engine> engine_;
  std::vector<TagId> sources_;
  std::vector<TagId> targets_;
  std::vector<TagId> alarms_;
  std::atomic<int> acknowledged_ = 0;
  std::map<AlarmKey, std::vector<AlarmRecord>> told_;  // by the poller
};

TEST_F(AlarmConcurrency, EveryAlarmHasOneLifeThatAllAreToldOfAndItsActionOnce) {
  ASSERT_TRUE(Do(SubscribeAlarms{}).ok());
  std::atomic<bool> is_over = false;
  std::vector<std::thread> others;
  others.emplace_back([&] { ChangeTagsUntil(is_over); });
  others.emplace_back([&] { NoteUntil(is_over); });
  others.emplace_back([&] { PollUntil(is_over); });
  others.emplace_back([&] { ReadUntil(is_over); });
  std::vector<std::thread> writers;
  for (const TagId source : sources_) writers.emplace_back([=, this] { WriteAll(source); });
  for (std::thread& writer : writers) writer.join();
  is_over = true;
  for (std::thread& other : others) other.join();
  PollUntil(is_over);  // what the others did last

  Open(Engine::OwnWork::kByCaller);
  ASSERT_TRUE(engine_->Work().ok());  // actions that were still pending
  int acknowledged = 0;
  for (TagId i = 0; i < kSources; ++i) {
    FindAlarmsOfTags find;
    find.ids = {alarms_[i]};
    const auto records = Do(find);
    ASSERT_TRUE(records.ok()) << records.status().message();
    ASSERT_EQ(std::ssize(records->items), kAlarmsOfASource);
    for (std::int64_t alarm = 0; alarm < kAlarmsOfASource; ++alarm) {
      const AlarmRecord& record = records->items[static_cast<std::size_t>(alarm)];
      SCOPED_TRACE(fmt::format("alarm {} of tag {}", alarm, alarms_[i]));
      EXPECT_EQ(record.start_ms, StartOf(alarm));
      EXPECT_EQ(record.end_ms, EndOf(alarm));
      ExpectOneLife(record);
      acknowledged += record.is_acknowledged ? 1 : 0;
    }
    EXPECT_EQ(*Do(CountRecords{.id = targets_[i], .range = {}}), kAlarmsOfASource);
  }
  EXPECT_EQ(acknowledged, acknowledged_);
}

}  // namespace
}  // namespace zervane
