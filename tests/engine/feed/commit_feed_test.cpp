#include "engine/feed/commit_feed.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/records.h"
#include "tests/engine/short_memory.h"

namespace zervane {
namespace {

std::shared_ptr<CommittedGroup> GroupOf(std::int64_t commit, std::vector<TagId> tags) {
  auto group = std::make_shared<CommittedGroup>();
  group->commit = commit;
  for (const TagId tag : tags) {
    group->tags.push_back(tag);
    group->samples.Add(NumberAt(commit));
    group->was_newest.push_back(1);
  }
  return group;
}

class CommitFeedTest : public testing::Test {
 protected:
  std::unique_ptr<FeedConsumer> Register(std::size_t max_changes = 100) {
    return *feed_.Register(max_changes);
  }
  void Publish(std::int64_t commit, std::vector<TagId> tags) {
    feed_.Publish(commit, GroupOf(commit, std::move(tags)));
  }
  // The commit of the next group, minus that from which there is a gap, or 0 when nothing waits.
  static std::int64_t Next(FeedConsumer& consumer) {
    const auto delivery = consumer.Poll();
    if (!delivery) return 0;
    return delivery->is_gap() ? -delivery->gap_from : delivery->group->commit;
  }

  CommitFeed feed_;
};

TEST_F(CommitFeedTest, HandsGroupsToThoseWhoWatchATagOfThem) {
  const auto one = Register();
  const auto all = Register();
  const auto none = Register();
  one->WatchTag(7, true);
  all->WatchAllTags(true);
  Publish(1, {5, 6});
  Publish(2, {5, 7});
  EXPECT_EQ(Next(*one), 2);
  EXPECT_EQ(Next(*one), 0);
  EXPECT_EQ(Next(*all), 1);
  EXPECT_EQ(Next(*all), 2);
  EXPECT_EQ(Next(*none), 0);
  one->WatchTag(7, false);
  one->WatchTag(8, false);
  all->WatchAllTags(false);
  Publish(3, {7, 8});
  EXPECT_EQ(Next(*one), 0);
  EXPECT_EQ(Next(*all), 0);
}

TEST_F(CommitFeedTest, HandsRowsToThoseWhoWatchTheirTable) {
  const auto consumer = Register();
  consumer->WatchTable(TableId::kTag, true);
  const auto group = std::make_shared<CommittedGroup>();
  group->commit = 1;
  group->rows.push_back({.table = TableId::kTag, .key = {std::int64_t{1}}, .row = {}});
  feed_.Publish(1, group);
  const auto other = std::make_shared<CommittedGroup>(*group);
  other->commit = 2;
  other->rows[0].table = TableId::kSettings;
  feed_.Publish(2, other);
  EXPECT_EQ(Next(*consumer), 1);
  EXPECT_EQ(Next(*consumer), 0);
}

// Few rows would otherwise keep all the records of their commits in memory, and fill the ring.
TEST_F(CommitFeedTest, HandsOneWhoWatchesTablesAloneTheirRowsAlone) {
  const auto rows_only = Register(2);
  rows_only->WatchTable(TableId::kTag, true);
  const auto with_tags = Register();
  with_tags->WatchTable(TableId::kTag, true);
  with_tags->WatchTag(9, true);
  const auto group = GroupOf(1, {5, 6, 7});
  group->emptied = {8};
  group->rows.push_back({.table = TableId::kSettings, .key = {std::int64_t{1}}, .row = {}});
  group->rows.push_back({.table = TableId::kTag, .key = {std::int64_t{2}}, .row = {}});
  feed_.Publish(1, group);
  const auto delivery = rows_only->Poll();
  ASSERT_TRUE(delivery && delivery->group);
  EXPECT_EQ(delivery->group->commit, 1);
  EXPECT_EQ(delivery->group->size(), 1U);
  ASSERT_EQ(delivery->group->rows.size(), 1U);
  EXPECT_EQ(delivery->group->rows[0].key, (Row{Cell(std::int64_t{2})}));
  EXPECT_EQ(with_tags->Poll()->group, group);
}

TEST_F(CommitFeedTest, LosesTheOldestWhereTheConsumerWishesItAndCountsThem) {
  const auto consumer = *feed_.Register(3, FeedConsumer::WhenFull::kOldestGo);
  consumer->WatchAllTags(true);
  Publish(1, {1, 2});
  Publish(2, {1, 2});  // without the first there would be fewer than may wait
  EXPECT_EQ(consumer->CountGone(), 0U);
  Publish(3, {1});
  EXPECT_EQ(consumer->CountGone(), 2U);
  Publish(4, {1, 2, 3});
  EXPECT_EQ(consumer->CountGone(), 3U);
  EXPECT_EQ(consumer->CountGone(), 0U);
  EXPECT_EQ(Next(*consumer), 4);
  EXPECT_EQ(Next(*consumer), 0);
}

TEST_F(CommitFeedTest, TellsOfEmptiedTagsToThoseWhoWatchThem) {
  const auto consumer = Register();
  consumer->WatchTag(7, true);
  const auto group = std::make_shared<CommittedGroup>();
  group->commit = 1;
  group->emptied = {7};
  feed_.Publish(1, group);
  EXPECT_EQ(Next(*consumer), 1);
}

TEST_F(CommitFeedTest, SharesOneGroupAmongAll) {
  const auto first = Register();
  const auto second = Register();
  first->WatchAllTags(true);
  second->WatchAllTags(true);
  const auto group = GroupOf(1, {1});
  feed_.Publish(1, group);
  EXPECT_EQ(first->Poll()->group, group);
  EXPECT_EQ(second->Poll()->group, group);
}

TEST_F(CommitFeedTest, TellsAGapBehindWhatWaitedWhenTheRingIsFull) {
  const auto consumer = Register(3);
  consumer->WatchAllTags(true);
  Publish(1, {1, 2});
  Publish(2, {1, 2});  // fills it, and is still taken
  Publish(3, {1});
  EXPECT_EQ(Next(*consumer), 1);
  Publish(4, {1});  // there is room again, but order is kept: this is in the gap
  EXPECT_EQ(Next(*consumer), 2);
  EXPECT_EQ(Next(*consumer), -3);
  EXPECT_EQ(Next(*consumer), 0);
  Publish(5, {1});
  EXPECT_EQ(Next(*consumer), 5);
}

// So that no group is made for those who would not take it.
TEST_F(CommitFeedTest, TellsAGapWhenTheTextsThatWaitTakeMuchMemory) {
  const auto consumer = Register(1'000);
  consumer->WatchAllTags(true);
  const auto publish_long_texts = [&](std::int64_t commit, std::size_t bytes) {
    auto group = GroupOf(commit, {7});
    group->samples.SetTexts(std::string(bytes, 'x'));
    feed_.Publish(commit, group);
  };
  publish_long_texts(1, std::size_t{255} << 20);
  publish_long_texts(2, std::size_t{1} << 20);
  publish_long_texts(3, 1);
  EXPECT_EQ(Next(*consumer), 1);
  EXPECT_EQ(Next(*consumer), 2);
  EXPECT_EQ(Next(*consumer), -3);
  publish_long_texts(4, 1);
  EXPECT_EQ(Next(*consumer), 4);
}

TEST_F(CommitFeedTest, IsNotHeardByThoseWhoHaveYetToHearOfAGap) {
  EXPECT_FALSE(feed_.IsHeard());
  const auto consumer = Register(1);
  consumer->WatchAllTags(true);
  EXPECT_TRUE(feed_.IsHeard());
  Publish(1, {1});
  EXPECT_TRUE(feed_.IsHeard()) << "it is full, and does not know yet that something was missed";
  Publish(2, {1});
  EXPECT_FALSE(feed_.IsHeard());
  EXPECT_EQ(Next(*consumer), 1);
  EXPECT_FALSE(feed_.IsHeard());
  feed_.Publish(3, nullptr);
  EXPECT_EQ(Next(*consumer), -2);
  EXPECT_TRUE(feed_.IsHeard());
  const auto other = Register();
  consumer->Close();
  EXPECT_TRUE(feed_.IsHeard());
  other->Close();
  EXPECT_FALSE(feed_.IsHeard());
}

TEST_F(CommitFeedTest, TellsAGapWhenAGroupCouldNotBeMade) {
  const auto consumer = Register();
  consumer->WatchTag(1, true);
  feed_.Publish(4, nullptr);
  Publish(5, {1});
  EXPECT_EQ(Next(*consumer), -4);
  Publish(6, {1});
  EXPECT_EQ(Next(*consumer), 6);
}

TEST_F(CommitFeedTest, TellsAGapWhenThereIsNoMemoryForAGroup) {
  const auto consumer = Register();
  consumer->WatchTag(1, true);
  std::int64_t commit = 0;
  {
    std::vector<std::shared_ptr<CommittedGroup>> groups;
    for (int i = 0; i < 1000; ++i) groups.push_back(GroupOf(i + 1, {1}));
    const ShortMemory memory(1);
    for (const auto& group : groups) feed_.Publish(group->commit, group);
  }
  EXPECT_GT(ShortMemory::Failed(), 0U);
  std::int64_t next = Next(*consumer);
  for (; next > 0; next = Next(*consumer)) EXPECT_EQ(next, ++commit);
  EXPECT_EQ(next, -(commit + 1));
}

TEST_F(CommitFeedTest, HasNoConsumersOnceTheyAreGone) {
  EXPECT_FALSE(feed_.HasConsumers());
  auto consumer = Register();
  EXPECT_TRUE(feed_.HasConsumers());
  consumer.reset();
  EXPECT_FALSE(feed_.HasConsumers());
  Publish(1, {1});
}

TEST_F(CommitFeedTest, HasNoMoreConsumersThanItMay) {
  std::vector<std::unique_ptr<FeedConsumer>> consumers;
  for (std::size_t i = 0; i < CommitFeed::kMaxConsumers; ++i) consumers.push_back(Register());
  EXPECT_EQ(feed_.Register(1).code(), ZR3_ERR_OUT_OF_MEMORY);
  consumers.pop_back();
  EXPECT_TRUE(feed_.Register(1).ok());
}

TEST_F(CommitFeedTest, WakesWhoWaitsWhenSomethingComesAndWhenItCloses) {
  const auto consumer = Register();
  consumer->WatchTag(1, true);
  std::vector<std::int64_t> seen;
  std::thread waiting([&] {
    while (const auto delivery = consumer->Await()) seen.push_back(delivery->group->commit);
  });
  Publish(1, {1});
  Publish(2, {1});
  feed_.Close();
  waiting.join();
  EXPECT_EQ(seen, (std::vector<std::int64_t>{1, 2}));
  Publish(3, {1});
  EXPECT_FALSE(consumer->Poll());
  EXPECT_EQ(feed_.Register(1).code(), ZR3_ERR_NOT_CONNECTED);
}

}  // namespace
}  // namespace zervane
