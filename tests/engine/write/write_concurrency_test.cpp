#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "engine/storage/table.h"
#include "engine/write/write_path.h"
#include "tests/engine/records.h"
#include "tests/engine/storage/store_driver.h"

// The write path and its feed under many threads.
namespace zervane {
namespace {

constexpr TagId kTags = 8;

class BusyWritePath : public testing::Test {
 protected:
  BusyWritePath() {
    storage::StoreDriver driver(*store_);
    for (TagId tag = 1; tag <= kTags; ++tag) {
      driver.PutTag(storage::TagNamed(tag, "T" + std::to_string(tag)));
      tags_.Reserve(tag);
      tags_.Put(tag, {});
    }
    // Small, so that callers wait for room.
    EXPECT_TRUE(path_.Start(Turn::Issue(), {.max_records = 500, .max_bytes = 1U << 20}).ok());
  }

  // A batch of a tag whose writer is the only one; values count on with the times.
  void Write(TagId tag, std::int64_t first_ms, std::int64_t count, WriteAnswer answer) {
    SampleBatch batch;
    for (std::int64_t time_ms = first_ms; time_ms < first_ms + count; ++time_ms) {
      batch.Add(tag, NumberAt(time_ms, static_cast<double>(time_ms)));
    }
    const Caller caller = {.user = "admin", .session = tag, .from = "here"};
    const auto reply = path_.Write(caller, {.batch = batch, .answer = answer});
    ASSERT_TRUE(reply.ok() && reply->status == ZR3_OK);
  }

  // Every tag has a writer of its own, who sends batches of all sizes, waited for or not.
  void RunWriters(std::int64_t batches) {
    std::vector<std::thread> writers;
    for (TagId tag = 1; tag <= kTags; ++tag) {
      writers.emplace_back([=, this] {
        std::int64_t next_ms = 1;
        for (std::int64_t batch = 0; batch < batches; ++batch) {
          const std::int64_t count = 1 + (batch * 7 + tag) % 40;
          Write(tag, next_ms, count, batch % 3 == 0 ? WriteAnswer::kDurable : WriteAnswer::kQueued);
          next_ms += count;
        }
        written_[tag] = next_ms - 1;
      });
    }
    for (std::thread& writer : writers) writer.join();
  }

  std::shared_ptr<Store> store_ = OpenMemoryStore();
  TagIndex tags_;
  WritePath path_{*store_, tags_, [] { return 1; }};
  std::int64_t written_[kTags + 1] = {};  // the newest time of each tag
};

TEST_F(BusyWritePath, StoresAllThatManyCallersWriteBesideChangesAndReaders) {
  std::atomic<bool> has_ended = false;
  std::vector<std::thread> others;
  others.emplace_back([&] {
    for (TagId tag = kTags + 1; !has_ended; ++tag) {
      EXPECT_TRUE(path_
                      .Change(
                          [&](Turn&, StoreBatch& batch) {
                            Table<Tag>::Put(storage::TagNamed(tag, std::to_string(tag)), batch);
                            tags_.Reserve(tag);
                            return Status();
                          },
                          [&](Turn&) { tags_.Put(tag, {}); })
                      .ok());
    }
  });
  others.emplace_back([&] {
    std::int64_t newest[kTags + 1] = {};
    while (!has_ended) {
      for (TagId tag = 1; tag <= kTags; ++tag) {
        const auto current = path_.current_values().Find(tag);
        if (!current) continue;
        ASSERT_EQ(static_cast<double>(current->time_ms), current->value.float64());
        ASSERT_GE(current->time_ms, newest[tag]);
        newest[tag] = current->time_ms;
      }
    }
  });
  RunWriters(400);
  has_ended = true;
  for (std::thread& other : others) other.join();
  EXPECT_TRUE(path_.Close().ok());
  for (TagId tag = 1; tag <= kTags; ++tag) {
    EXPECT_EQ(storage::CountRange(*store_, tag, {}), written_[tag]);
    EXPECT_EQ(path_.current_values().TimeOf(tag), written_[tag]);
  }
}

// Follows the feed and checks what it promises: every record once and in order, or a gap.
class Follower {
 public:
  Follower(CommitFeed& feed, std::size_t max_changes, bool watches_all)
      : consumer_(*feed.Register(max_changes)), watches_all_(watches_all) {
    consumer_->WatchAllTags(watches_all);
    consumer_->WatchTag(1, true);
    thread_ = std::thread([this] { Run(); });
  }
  void Join() { thread_.join(); }

  std::int64_t last_commit = 0;
  std::int64_t gaps = 0;
  std::map<TagId, std::int64_t> newest;  // the last time heard of each tag

 private:
  void Run() {
    while (const auto delivery = consumer_->Await()) {
      if (delivery->is_gap()) {
        ++gaps;
        EXPECT_GT(delivery->gap_from, last_commit);
        last_commit = delivery->gap_from;
        is_behind_gap_ = true;
        newest.clear();
        continue;
      }
      const CommittedGroup& group = *delivery->group;
      EXPECT_TRUE(group.commit > last_commit);
      if (watches_all_ && !is_behind_gap_ && last_commit != 0) {
        EXPECT_EQ(group.commit, last_commit + 1);
      }
      last_commit = group.commit;
      is_behind_gap_ = false;
      for (std::size_t at = 0; at < group.tags.size(); ++at) {
        const std::int64_t time_ms = group.samples.times()[at];
        const auto [place, is_first] = newest.try_emplace(group.tags[at], time_ms);
        if (!is_first) {
          EXPECT_GT(time_ms, place->second);
          if (gaps == 0 && (watches_all_ || group.tags[at] == 1)) {
            EXPECT_EQ(time_ms, place->second + 1);
          }
        }
        place->second = time_ms;
      }
    }
  }

  const std::unique_ptr<FeedConsumer> consumer_;
  const bool watches_all_;
  bool is_behind_gap_ = false;
  std::thread thread_;
};

TEST_F(BusyWritePath, TellsItsFollowersEveryRecordInOrderOrOfAGap) {
  Follower all(path_.feed(), 1'000'000, true);
  Follower one(path_.feed(), 1'000'000, false);
  Follower narrow(path_.feed(), 20, true);
  RunWriters(400);
  EXPECT_TRUE(path_.Close().ok());
  for (Follower* follower : {&all, &one, &narrow}) follower->Join();
  EXPECT_EQ(all.gaps, 0);
  EXPECT_EQ(one.gaps, 0);
  for (TagId tag = 1; tag <= kTags; ++tag) EXPECT_EQ(all.newest[tag], written_[tag]);
  EXPECT_EQ(one.newest[1], written_[1]);
}

TEST_F(BusyWritePath, LetsConsumersComeAndGo) {
  std::atomic<bool> has_ended = false;
  std::vector<std::thread> consumers;
  for (int i = 0; i < 3; ++i) {
    consumers.emplace_back([&] {
      while (!has_ended) {
        auto consumer = path_.feed().Register(50);
        ASSERT_TRUE(consumer.ok());
        (*consumer)->WatchAllTags(true);
        for (int polls = 0; polls < 20; ++polls) (void)(*consumer)->Poll();
      }
    });
  }
  RunWriters(200);
  has_ended = true;
  for (std::thread& consumer : consumers) consumer.join();
  EXPECT_TRUE(path_.Close().ok());
  for (TagId tag = 1; tag <= kTags; ++tag) {
    EXPECT_EQ(storage::CountRange(*store_, tag, {}), written_[tag]);
  }
}

}  // namespace
}  // namespace zervane
