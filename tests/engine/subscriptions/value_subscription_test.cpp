#include "engine/subscriptions/value_subscription.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "engine/guard.h"
#include "tests/engine/short_memory.h"
#include "tests/engine/subscriptions/write_path_fixture.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Changes = std::vector<std::pair<TagId, Sample>>;

class ValueSubscriptionTest : public WritePathFixture {
 protected:
  void Make(const ValueSubscription::Limits& limits) {
    subscription_ = std::make_unique<ValueSubscription>(tags_, *path_, limits);
  }

  ZR3_STATUS Register(const std::vector<TagId>& tags, Interests interest = kOfIdentifier) {
    return subscription_->Register(WishesOf(tags, interest)).code();
  }
  void Unregister(const std::vector<TagId>& tags, Interests interest = kOfIdentifier) {
    subscription_->Unregister(WishesOf(tags, interest));
  }
  Changes Poll() {
    const Result<SampleBatch> batch = subscription_->Poll();
    EXPECT_TRUE(batch.ok()) << batch.status().message();
    return batch.ok() ? ChangesOf(*batch) : Changes();
  }
  static Changes ChangesOf(const SampleBatch& batch) {
    Changes changes;
    for (std::size_t at = 0; at < batch.size(); ++at) {
      changes.emplace_back(batch.tags[at], batch.samples.At(at));
    }
    return changes;
  }

  std::unique_ptr<ValueSubscription> subscription_ =
      std::make_unique<ValueSubscription>(tags_, *path_);

 private:
  static std::vector<Wish> WishesOf(const std::vector<TagId>& tags, Interests interest) {
    std::vector<Wish> wishes;
    for (const TagId tag : tags) wishes.push_back({.tag = tag, .interest = interest});
    return wishes;
  }
};

// ---- registering ----

TEST_F(ValueSubscriptionTest, WhatIsAcceptedAfterRegisteringIsDeliveredOnceInOrder) {
  Write({{1, NumberAt(1)}, {2, NumberAt(1)}});
  ASSERT_EQ(Register({1, 2}), ZR3_OK);
  EXPECT_THAT(Poll(), IsEmpty()) << "it was accepted before";
  Write({{2, NumberAt(2)}, {3, NumberAt(2)}, {1, NumberAt(3)}});
  Write({{2, NumberAt(4)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(2, NumberAt(2)), std::pair(1, NumberAt(3)),
                                  std::pair(2, NumberAt(4))));
  EXPECT_THAT(Poll(), IsEmpty());
}

TEST_F(ValueSubscriptionTest, WhatWasAcceptedBetweenTwoRegistrationsIsDeliveredForTheFirst) {
  ASSERT_EQ(Register({1}), ZR3_OK);
  Write({{1, NumberAt(1)}, {2, NumberAt(1)}});
  ASSERT_EQ(Register({2}), ZR3_OK);
  Write({{1, NumberAt(2)}, {2, NumberAt(2)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1)), std::pair(1, NumberAt(2)),
                                  std::pair(2, NumberAt(2))));
}

TEST_F(ValueSubscriptionTest, HoweverOftenATagIsRegisteredAChangeIsDeliveredOnce) {
  ASSERT_EQ(Register({1, 1}), ZR3_OK);
  ASSERT_EQ(Register({1}), ZR3_OK);
  for (const Interests field : {kOfAnyField, kOfValue, kOfQuality}) {
    ASSERT_EQ(Register({1, 1}, field), ZR3_OK);
  }
  Write({{1, NumberAt(1)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1))));
}

TEST_F(ValueSubscriptionTest, AnUnknownTagRegistersNoneOfTheCall) {
  EXPECT_EQ(Register({1, 99, 2}), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(Register({0}), ZR3_ERR_TAG_NOT_FOUND);
  Write({{1, NumberAt(1)}, {2, NumberAt(1)}});
  EXPECT_THAT(Poll(), IsEmpty());
}

TEST_F(ValueSubscriptionTest, AFormIsTakenBackWholeAndTheOtherStays) {
  ASSERT_EQ(Register({1, 1}), ZR3_OK);
  ASSERT_EQ(Register({1}, kOfValue), ZR3_OK);
  Unregister({1});
  Unregister({1, 4, 99});  // nothing was
  Write({{1, NumberAt(1, 5)}});
  Write({{1, NumberAt(2, 5)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1, 5)))) << "by the value alone";
  Unregister({1}, kOfValue);
  Write({{1, NumberAt(3, 6)}});
  EXPECT_THAT(Poll(), IsEmpty());
}

TEST_F(ValueSubscriptionTest, WhatWasAcceptedBeforeItIsTakenBackIsDelivered) {
  ASSERT_EQ(Register({1}), ZR3_OK);
  Write({{1, NumberAt(1)}});
  Unregister({1});
  Write({{1, NumberAt(2)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1))));
}

TEST_F(ValueSubscriptionTest, APairIsComparedWithTheValueOfWhenItWasRegistered) {
  Write({{1, NumberAt(1, 5)}, {2, NumberAt(1, 5)}});
  ASSERT_EQ(Register({1, 2, 3}, kOfValue), ZR3_OK);
  Write({{1, NumberAt(2, 5)}, {2, NumberAt(2, 6)}, {3, NumberAt(2, 5)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(2, NumberAt(2, 6)), std::pair(3, NumberAt(2, 5))));
}

TEST_F(ValueSubscriptionTest, APairIsComparedWithTheValueBeforeWhetherThatWasDeliveredOrNot) {
  ASSERT_EQ(Register({1}, kOfQuality), ZR3_OK);
  Sample bad = NumberAt(2, 5);
  bad.quality = 0;
  Write({{1, NumberAt(1, 4)}, {1, bad}});
  Write({{1, NumberAt(3, 6)}, {1, NumberAt(4, 7)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1, 4)), std::pair(1, bad),
                                  std::pair(1, NumberAt(3, 6))));
}

// ---- what is a change ----

TEST_F(ValueSubscriptionTest, LateRecordsComeOnlyWhenTheyBecomeTheCurrentValue) {
  ASSERT_EQ(Register({1}), ZR3_OK);
  Write({{1, NumberAt(10)}});
  Write({{1, NumberAt(5)}, {1, NumberAt(12)}, {1, NumberAt(11)}}, WriteOrder::kAnyOrder);
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(10)), std::pair(1, NumberAt(12))));
}

TEST_F(ValueSubscriptionTest, ACorrectionIsDeliveredWhenItIsOneOfTheCurrentValue) {
  Write({{1, NumberAt(10)}, {1, NumberAt(20)}});
  ASSERT_EQ(Register({1}), ZR3_OK);
  Correct(1, NumberAt(10, 7), kArchive);
  Correct(1, NumberAt(20, 8));
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(20, 8))));
}

TEST_F(ValueSubscriptionTest, ADeletedTagFallsAwayAndWhatWasAcceptedOfItIsDelivered) {
  ASSERT_EQ(Register({1, 2}), ZR3_OK);
  Write({{1, NumberAt(1)}});
  RemoveTag(1);
  Write({{2, NumberAt(2)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1)), std::pair(2, NumberAt(2))));
  EXPECT_EQ(Register({1}), ZR3_ERR_TAG_NOT_FOUND);
  Unregister({1});
}

// ---- too much ----

TEST_F(ValueSubscriptionTest, PastTheBoundTheNewestOfEveryTagStays) {
  Make({.ring_changes = 1000, .waiting_changes = 4});
  ASSERT_EQ(Register({1, 2}), ZR3_OK);
  Write({{1, NumberAt(1)}});
  for (std::int64_t time_ms = 2; time_ms <= 30; ++time_ms) Write({{2, NumberAt(time_ms)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1)), std::pair(2, NumberAt(28)),
                                  std::pair(2, NumberAt(29)), std::pair(2, NumberAt(30))));
}

TEST_F(ValueSubscriptionTest, AfterAGapTheNewestValueOfEveryTagComesOnceInOrderOfTime) {
  Make({.ring_changes = 3, .waiting_changes = 100});
  Write({{4, NumberAt(1)}});
  ASSERT_EQ(Register({1, 2, 3, 4}), ZR3_OK);
  Write({{1, NumberAt(1)}, {2, NumberAt(2)}, {3, NumberAt(3)}});  // fills the ring
  Write({{2, NumberAt(9)}});
  Write({{1, NumberAt(7)}, {2, NumberAt(10)}});
  Write({{1, NumberAt(8)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1)), std::pair(2, NumberAt(2)),
                                  std::pair(3, NumberAt(3)), std::pair(1, NumberAt(8)),
                                  std::pair(2, NumberAt(10))));
  EXPECT_THAT(Poll(), IsEmpty());
  Write({{2, NumberAt(11)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(2, NumberAt(11))));
}

TEST_F(ValueSubscriptionTest, AfterAGapAPairComesOnlyWhenItsFieldHasChanged) {
  Make({.ring_changes = 1, .waiting_changes = 100});
  ASSERT_EQ(Register({1, 2}, kOfValue), ZR3_OK);
  Write({{1, NumberAt(1, 5)}, {2, NumberAt(1, 5)}});
  Write({{1, NumberAt(2, 5)}, {2, NumberAt(2, 6)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1, 5)), std::pair(2, NumberAt(1, 5)),
                                  std::pair(2, NumberAt(2, 6))));
}

TEST_F(ValueSubscriptionTest, ATagThatWasDeletedInAGapFallsAway) {
  Make({.ring_changes = 1, .waiting_changes = 100});
  ASSERT_EQ(Register({1, 2}), ZR3_OK);
  Write({{2, NumberAt(1)}});
  Write({{1, NumberAt(1)}});
  RemoveTag(1);
  EXPECT_THAT(Poll(), ElementsAre(std::pair(2, NumberAt(1))));
  Write({{2, NumberAt(2)}});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(2, NumberAt(2))));
}

TEST_F(ValueSubscriptionTest, AGapBeforeARegistrationConcernsOnlyWhatWasRegistered) {
  Make({.ring_changes = 1, .waiting_changes = 100});
  ASSERT_EQ(Register({1}), ZR3_OK);
  Write({{1, NumberAt(1)}});
  Write({{1, NumberAt(2)}, {2, NumberAt(2)}});
  ASSERT_EQ(Register({2}), ZR3_OK);
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1)), std::pair(1, NumberAt(2))));
}

TEST_F(ValueSubscriptionTest, AfterAGapTheNewestValuesComeEvenOfAStoreThatTakesNothingMore) {
  Make({.ring_changes = 1, .waiting_changes = 100});
  ASSERT_EQ(Register({1}), ZR3_OK);
  Write({{1, NumberAt(1)}});
  Write({{1, NumberAt(2)}});
  faults_->MakeUnknown(false);
  (void)path_->Write({}, {.batch = BatchOf({{1, NumberAt(3)}}),
                          .order = WriteOrder::kInOrder,
                          .answer = WriteAnswer::kDurable});
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1)), std::pair(1, NumberAt(2))));
}

TEST_F(ValueSubscriptionTest, PollingWithoutMemoryLosesNothing) {
  int failed = 0;
  const Sample text = TextAt(1, "a text that is much longer than what fits beside a number");
  tags_.Put(5, {.type = TagType::kString});
  for (int failing = 1; failing < 40; ++failing) {
    Make({.ring_changes = 6, .waiting_changes = 100});
    ASSERT_EQ(Register({1, 2, 5}), ZR3_OK);
    Changes expected;
    for (std::int64_t time_ms = failing * 10; time_ms < failing * 10 + 5; ++time_ms) {
      Sample later = text;
      later.time_ms = time_ms;
      Write({{1, NumberAt(time_ms)}, {5, later}});
      if (time_ms == failing * 10 + 3) continue;  // in the gap
      expected.emplace_back(1, NumberAt(time_ms));
      expected.emplace_back(5, later);
    }
    // One request fails, of which the poll tells, or which only cost it a line of the log.
    Result<SampleBatch> first{SampleBatch()};
    {
      const ShortMemory memory(static_cast<std::uint64_t>(failing), ShortMemory::Lack::kOne);
      first = Guarded([&] { return subscription_->Poll(); });
    }
    if (ShortMemory::Failed() > 0 && !first.ok()) {
      ++failed;
      EXPECT_EQ(first.code(), ZR3_ERR_OUT_OF_MEMORY);
      EXPECT_EQ(Poll(), expected) << failing;
    } else {
      ASSERT_TRUE(first.ok());
      EXPECT_EQ(ChangesOf(*first), expected) << failing;
    }
  }
  EXPECT_GT(failed, 5);
}

// ---- many, and the end ----

TEST_F(ValueSubscriptionTest, ThereAreNoMoreSubscriptionsThanTheFeedHasConsumers) {
  std::vector<std::unique_ptr<ValueSubscription>> others;
  const std::vector<Wish> wishes = {{.tag = 1}};
  for (std::size_t i = 0; i < CommitFeed::kMaxConsumers; ++i) {
    others.push_back(std::make_unique<ValueSubscription>(tags_, *path_));
    ASSERT_TRUE(others.back()->Register(wishes).ok());
  }
  EXPECT_EQ(Register({1}), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_THAT(Poll(), IsEmpty());
  others.pop_back();
  EXPECT_EQ(Register({1}), ZR3_OK);
}

TEST_F(ValueSubscriptionTest, AfterCloseWhatWasAcceptedIsStillThere) {
  ASSERT_EQ(Register({1}), ZR3_OK);
  Write({{1, NumberAt(1)}});
  ASSERT_TRUE(path_->Close().ok());
  EXPECT_THAT(Poll(), ElementsAre(std::pair(1, NumberAt(1))));
  EXPECT_EQ(Register({2}), ZR3_ERR_NOT_CONNECTED);
}

}  // namespace
}  // namespace zervane
