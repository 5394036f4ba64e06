#include "engine/subscriptions/waiting_changes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <random>
#include <utility>
#include <vector>

#include "tests/engine/records.h"
#include "tests/engine/short_memory.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Pairs = std::vector<std::pair<TagId, std::int64_t>>;

// Tags and times of what waits.
Pairs Pop(WaitingChanges& waiting) {
  const SampleBatch batch = waiting.PopAll();
  Pairs pairs;
  for (std::size_t at = 0; at < batch.size(); ++at) {
    pairs.emplace_back(batch.tags[at], batch.samples.times()[at]);
  }
  return pairs;
}

TEST(WaitingChanges, ComeOnceInTheirOrder) {
  WaitingChanges waiting(10);
  waiting.Add(2, NumberAt(5));
  waiting.Add(1, NumberAt(3));
  waiting.Add(2, TextAt(4, "text"));
  EXPECT_THAT(Pop(waiting), ElementsAre(std::pair(2, 5), std::pair(1, 3), std::pair(2, 4)));
  EXPECT_THAT(Pop(waiting), IsEmpty());
  EXPECT_EQ(waiting.CountGone(), 0U);
}

TEST(WaitingChanges, PastTheBoundTheOldestOfATagThatHasANewerOneGoes) {
  WaitingChanges waiting(3);
  waiting.Add(1, NumberAt(1));
  for (std::int64_t time_ms = 2; time_ms <= 6; ++time_ms) waiting.Add(2, NumberAt(time_ms));
  EXPECT_THAT(Pop(waiting), ElementsAre(std::pair(1, 1), std::pair(2, 5), std::pair(2, 6)));
  EXPECT_EQ(waiting.CountGone(), 3U);
  EXPECT_EQ(waiting.CountGone(), 0U);
}

TEST(WaitingChanges, TheNewestOfEveryTagStaysWhateverTheBound) {
  WaitingChanges waiting(3);
  for (int round = 0; round < 5; ++round) {
    for (TagId tag = 1; tag <= 20; ++tag) waiting.Add(tag, NumberAt(round));
  }
  const Pairs pairs = Pop(waiting);
  ASSERT_EQ(pairs.size(), 20U);
  for (TagId tag = 1; tag <= 20; ++tag) EXPECT_EQ(pairs[tag - 1], std::pair(tag, std::int64_t{4}));
  EXPECT_EQ(waiting.CountGone(), 80U);
}

// As it is said: with every change one goes, when there are too many.
class PlainModel {
 public:
  explicit PlainModel(std::size_t max_changes) : max_changes_(max_changes) {}

  void Add(TagId tag, std::int64_t time_ms) {
    waiting_.emplace_back(tag, time_ms);
    while (waiting_.size() > max_changes_) {
      auto oldest = waiting_.begin();
      while (oldest != waiting_.end() && !HasNewer(oldest)) ++oldest;
      if (oldest == waiting_.end()) return;
      waiting_.erase(oldest);
    }
  }
  Pairs PopAll() { return std::exchange(waiting_, {}); }

 private:
  bool HasNewer(Pairs::const_iterator change) const {
    return std::any_of(change + 1, waiting_.cend(),
                       [=](const auto& other) { return other.first == change->first; });
  }

  const std::size_t max_changes_;
  Pairs waiting_;
};

TEST(WaitingChanges, AreThoseOfOneThatDecidesWithEveryChange) {
  const Seed seed;
  std::mt19937 random(seed.value());
  for (int round = 0; round < 300; ++round) {
    const std::size_t bound = 1 + random() % 8;
    const auto tags = static_cast<TagId>(1 + random() % 12);
    WaitingChanges waiting(bound);
    PlainModel model(bound);
    for (std::int64_t time_ms = 0; time_ms < 100; ++time_ms) {
      const auto tag = static_cast<TagId>(1 + random() % tags);
      waiting.Add(tag, NumberAt(time_ms));
      model.Add(tag, time_ms);
      if (random() % 40 == 0) {
        ASSERT_EQ(Pop(waiting), model.PopAll());
      }
    }
    ASSERT_EQ(Pop(waiting), model.PopAll());
  }
}

TEST(WaitingChanges, AreAllThereWhenThereIsNoMemoryForOneMore) {
  for (int failing = 1; failing < 60; ++failing) {
    WaitingChanges waiting(1000);
    Pairs added;
    added.reserve(200);
    {
      const ShortMemory memory(static_cast<std::uint64_t>(failing));
      for (std::int64_t time_ms = 0; time_ms < 200; ++time_ms) {
        try {
          waiting.Add(1, TextAt(time_ms, "some text that is longer than a short one"));
          added.emplace_back(1, time_ms);
        } catch (const std::bad_alloc&) {
          break;
        }
      }
    }
    ASSERT_EQ(Pop(waiting), added);
  }
}

}  // namespace
}  // namespace zervane
