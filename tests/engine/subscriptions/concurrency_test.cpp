#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "api/operations/subscriptions.h"
#include "tests/engine/embedded_fixture.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr int kWriters = 3;
constexpr int kPollers = 2;
constexpr int kBatches = 400;
constexpr TagId kTagsPerWriter = 4;

// Writers, pollers of one session and one who registers and takes back, all at once.
class SubscriptionConcurrency : public EmbeddedTest {
 protected:
  SubscriptionConcurrency() {
    for (TagId i = 0; i < kWriters * kTagsPerWriter; ++i) AddTag("t" + std::to_string(i));
  }

  // Ascending times of each of its tags, without a hole.
  void WriteAll(TagId first) {
    for (std::int64_t time_ms = 1; time_ms <= kBatches; ++time_ms) {
      std::vector<TagSample> batch;
      for (TagId tag = first; tag < first + kTagsPerWriter; ++tag) {
        batch.push_back({tag, NumberAt(time_ms, static_cast<double>(tag))});
      }
      const auto answer = time_ms % 3 == 0 ? WriteAnswer::kDurable : WriteAnswer::kQueued;
      EXPECT_EQ(Write(std::move(batch), answer).status, ZR3_OK);
    }
  }

  // How often each change has come.
  void Count(const SampleBatch& batch, std::map<TagId, std::map<std::int64_t, int>>* counts) {
    for (std::size_t at = 0; at < batch.size(); ++at) {
      EXPECT_EQ(batch.samples.At(at).value.float64(), batch.tags[at]);
      ++(*counts)[batch.tags[at]][batch.samples.times()[at]];
    }
  }

  // Within a batch a tag's changes ascend.
  static void ExpectInOrder(const SampleBatch& batch) {
    std::map<TagId, std::int64_t> newest;
    for (std::size_t at = 0; at < batch.size(); ++at) {
      EXPECT_GT(batch.samples.times()[at], newest[batch.tags[at]]);
      newest[batch.tags[at]] = batch.samples.times()[at];
    }
  }

  void RegisterUntil(const std::atomic<bool>& is_over, unsigned seed) {
    std::mt19937 random(seed);
    constexpr TagId kChanging = kTagsPerWriter;  // those of the first writer come and go
    while (!is_over) {
      const TagId tag = 1 + static_cast<TagId>(random() % kChanging);
      EXPECT_TRUE(database_->Do(SubscribeTags{{tag}}).ok());
      EXPECT_TRUE(database_->Do(SubscribeFields{{{tag, 1}}}).ok());
      EXPECT_TRUE(database_->Do(SubscribeAlarms{}).ok());
      EXPECT_TRUE(database_->Do(UnsubscribeTags{{tag}}).ok());
      EXPECT_TRUE(database_->Do(UnsubscribeFields{{{tag, 1}}}).ok());
      EXPECT_TRUE(database_->Do(PollAlarms{}).ok());
    }
  }

  void PollUntil(const std::atomic<bool>& is_over,
                 std::map<TagId, std::map<std::int64_t, int>>* counts) {
    bool was_over = false;
    while (!was_over) {
      was_over = is_over;
      const Result<SampleBatch> batch = database_->Do(PollChanges{});
      ASSERT_TRUE(batch.ok()) << batch.status().message();
      ExpectInOrder(*batch);
      Count(*batch, counts);
    }
  }
};

TEST_F(SubscriptionConcurrency, EveryChangeOfATagThatStaysRegisteredComesOnce) {
  const Seed seed;
  std::vector<TagId> staying;
  for (TagId tag = kTagsPerWriter + 1; tag <= kWriters * kTagsPerWriter; ++tag) {
    staying.push_back(tag);
  }
  ASSERT_TRUE(database_->Do(SubscribeTags{staying}).ok());
  std::atomic<bool> is_over = false;
  std::vector<std::map<TagId, std::map<std::int64_t, int>>> counts(kPollers);
  std::vector<std::thread> others;
  for (auto& count : counts) others.emplace_back([&] { PollUntil(is_over, &count); });
  others.emplace_back([&] { RegisterUntil(is_over, seed.value()); });
  std::vector<std::thread> writers;
  for (TagId i = 0; i < kWriters; ++i) {
    writers.emplace_back([=, this] { WriteAll(1 + i * kTagsPerWriter); });
  }
  for (std::thread& writer : writers) writer.join();
  // A durable write comes behind what was queued.
  EXPECT_EQ(WriteAt(1, kBatches + 1), ZR3_OK);
  is_over = true;
  for (std::thread& other : others) other.join();
  for (const TagId tag : staying) {
    for (std::int64_t time_ms = 1; time_ms <= kBatches; ++time_ms) {
      int times = 0;
      for (auto& count : counts) times += count[tag][time_ms];
      ASSERT_EQ(times, 1) << "tag " << tag << " at " << time_ms;
    }
  }
  for (TagId tag = 1; tag <= kTagsPerWriter; ++tag) {
    for (std::int64_t time_ms = 1; time_ms <= kBatches; ++time_ms) {
      int times = 0;
      for (auto& count : counts) times += count[tag][time_ms];
      ASSERT_LE(times, 1) << "tag " << tag << " at " << time_ms;
    }
  }
}

}  // namespace
}  // namespace zervane
