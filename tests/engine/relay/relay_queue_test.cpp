#include "engine/relay/relay_queue.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zervane {
namespace {

RelayEntry ValueOf(TagId tag, std::int64_t time_ms) {
  RelayEntry entry;
  entry.tag = tag;
  entry.sample.time_ms = time_ms;
  return entry;
}
RelayEntry AlarmOf(const std::string& json, RelayKind kind = RelayKind::kRaised) {
  RelayEntry entry;
  entry.kind = kind;
  entry.json = json;
  return entry;
}

// What comes out, as texts: the alarm, or tag and time.
std::vector<std::string> Texts(const std::vector<RelayEntry>& entries) {
  std::vector<std::string> texts;
  for (const RelayEntry& entry : entries) {
    texts.push_back(entry.is_value()
                        ? std::to_string(entry.tag) + "@" + std::to_string(entry.sample.time_ms)
                        : entry.json);
  }
  return texts;
}
std::vector<std::string> PopAll(RelayQueue& queue) { return Texts(queue.Pop(1'000)); }

using Entries = std::vector<std::string>;

TEST(RelayQueueTest, HandsOutInTheOrderInWhichItCame) {
  RelayQueue queue;
  queue.Push(ValueOf(1, 10));
  queue.Push(AlarmOf("a"));
  queue.Push(ValueOf(2, 5));
  queue.Push(ValueOf(1, 11));
  EXPECT_EQ(Texts(queue.Pop(2)), (Entries{"1@10", "a"}));
  EXPECT_EQ(PopAll(queue), (Entries{"2@5", "1@11"}));
  EXPECT_FALSE(queue.HasEntries());
}

TEST(RelayQueueTest, DropsTheOldestValueOfATagThatHasANewerOneFirst) {
  RelayQueue queue(4);
  queue.Push(ValueOf(1, 1));
  queue.Push(AlarmOf("a"));
  queue.Push(ValueOf(2, 1));
  queue.Push(ValueOf(2, 2));
  queue.Push(ValueOf(1, 2));
  EXPECT_EQ(queue.CountGone(), 1U);
  EXPECT_FALSE(queue.WasAskedForAll());
  EXPECT_EQ(PopAll(queue), (Entries{"a", "2@1", "2@2", "1@2"}));
}

TEST(RelayQueueTest, DropsTheOldestValueNextAndAsksForAllThatAreCurrent) {
  RelayQueue queue(3);
  queue.Push(AlarmOf("a"));
  queue.Push(ValueOf(1, 1));
  queue.Push(ValueOf(2, 1));
  queue.Push(ValueOf(3, 1));
  EXPECT_EQ(queue.CountGone(), 1U);
  EXPECT_TRUE(queue.WasAskedForAll());
  EXPECT_FALSE(queue.WasAskedForAll());
  EXPECT_EQ(PopAll(queue), (Entries{"a", "2@1", "3@1"}));
}

TEST(RelayQueueTest, DropsAlarmsLast) {
  RelayQueue queue(2);
  queue.Push(ValueOf(1, 1));
  for (const char* alarm : {"a", "b", "c"}) queue.Push(AlarmOf(alarm));
  EXPECT_EQ(queue.CountGone(), 2U);
  EXPECT_EQ(queue.CountGone(), 0U);
  EXPECT_EQ(PopAll(queue), (Entries{"b", "c"}));
}

TEST(RelayQueueTest, HoldsAsManyAsItSays) {
  RelayQueue queue;
  for (TagId tag = 1; tag <= RelayQueue::kMaxEntries + 1; ++tag) queue.Push(ValueOf(tag, 1));
  EXPECT_EQ(queue.size(), RelayQueue::kMaxEntries);
  EXPECT_EQ(RelayQueue::kMaxEntries, 65'536U);
}

TEST(RelayQueueTest, LeavesOutWhatIsOlderThanWhatWasSent) {
  RelayQueue queue;
  for (const std::int64_t time_ms : {1, 2, 3, 4}) queue.Push(ValueOf(1, time_ms));
  queue.Push(ValueOf(2, 1));
  const RelayQueue::SentValue sent[] = {{1, 3}};
  queue.NoteSent(sent);
  EXPECT_EQ(PopAll(queue), (Entries{"1@3", "1@4", "2@1"}));
  EXPECT_EQ(queue.CountGone(), 0U);
}

TEST(RelayQueueTest, PutsBackWhatCouldNotBeSentWhereItWas) {
  RelayQueue queue;
  queue.Push(ValueOf(1, 1));
  queue.Push(AlarmOf("a"));
  queue.Push(ValueOf(1, 2));
  std::vector<RelayEntry> departed = queue.Pop(2);
  queue.Push(ValueOf(1, 3));
  queue.PutBack(std::move(departed));
  EXPECT_EQ(PopAll(queue), (Entries{"1@1", "a", "1@2", "1@3"}));
}

TEST(RelayQueueTest, DropsWhatIsPutBackAsIfItHadNeverLeft) {
  RelayQueue queue(2);
  queue.Push(ValueOf(1, 1));
  queue.Push(AlarmOf("a"));
  std::vector<RelayEntry> departed = queue.Pop(2);
  queue.Push(ValueOf(1, 2));
  queue.PutBack(std::move(departed));
  EXPECT_EQ(PopAll(queue), (Entries{"a", "1@2"}));
}

TEST(RelayQueueTest, TakesWhatIsWantedAlone) {
  RelayQueue queue;
  queue.Push(ValueOf(1, 1));
  queue.Push(AlarmOf("a", RelayKind::kRaised));
  queue.Push(AlarmOf("b", RelayKind::kEnded));
  queue.Push(AlarmOf("c", RelayKind::kNote));
  std::vector<RelayEntry> departed = queue.Pop(1);
  queue.SetWanted({false, false, true, false});
  queue.PutBack(std::move(departed));
  queue.Push(ValueOf(1, 2));
  queue.AskForAll();
  EXPECT_FALSE(queue.WasAskedForAll());
  EXPECT_EQ(PopAll(queue), (Entries{"b"}));
  EXPECT_EQ(queue.CountGone(), 0U);
}

TEST(RelayQueueTest, SaysThatThereIsNews) {
  RelayQueue queue;
  EXPECT_FALSE(queue.news().is_set());
  queue.Push(ValueOf(1, 1));
  EXPECT_TRUE(queue.news().is_set());
  queue.news().Clear();
  queue.AskForAll();
  EXPECT_TRUE(queue.news().is_set());
}

}  // namespace
}  // namespace zervane
