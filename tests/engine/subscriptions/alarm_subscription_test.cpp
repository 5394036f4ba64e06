#include "engine/subscriptions/alarm_subscription.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "engine/alarms/alarm_rows.h"
#include "engine/guard.h"
#include "tests/engine/short_memory.h"
#include "tests/engine/subscriptions/write_path_fixture.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

AlarmRecord Raised(TagId tag, std::int64_t start_ms) {
  AlarmRecord record;
  record.tag = tag;
  record.start_ms = start_ms;
  record.priority = 2;
  record.source_value = "96";
  record.test = "HIGH > 95";
  return record;
}

AlarmRecord Returned(AlarmRecord record, std::int64_t end_ms) {
  record.end_ms = end_ms;
  record.is_restored = true;
  return record;
}

AlarmRecord Acknowledged(AlarmRecord record) {
  record.is_acknowledged = true;
  record.acknowledged_ms = 9000;
  record.acknowledged_by = "operator";
  return record;
}

class AlarmSubscriptionTest : public WritePathFixture {
 protected:
  // One commit, which puts these records one after the other.
  void Put(const std::vector<AlarmRecord>& records) {
    const Status status = path_->Change(
        [&](Turn&, StoreBatch& batch) {
          for (const AlarmRecord& record : records) Table<AlarmRecord>::Put(record, batch);
          return Status();
        },
        [](Turn&) {});
    EXPECT_TRUE(status.ok()) << status.message();
  }
  void PutEach(std::int64_t from_ms, std::int64_t to_ms) {
    for (std::int64_t start_ms = from_ms; start_ms <= to_ms; ++start_ms) Put({Raised(1, start_ms)});
  }
  static std::vector<std::int64_t> StartsOf(const std::vector<AlarmRecord>& records) {
    std::vector<std::int64_t> starts;
    for (const AlarmRecord& record : records) starts.push_back(record.start_ms);
    return starts;
  }

  AlarmSubscription subscription_{*path_, 4};
};

TEST_F(AlarmSubscriptionTest, EveryTransitionIsTheWholeRecordAsItThenStood) {
  Put({Raised(1, 5)});
  EXPECT_THAT(subscription_.Poll(10), IsEmpty());
  ASSERT_TRUE(subscription_.Register().ok());
  ASSERT_TRUE(subscription_.Register().ok());
  EXPECT_THAT(subscription_.Poll(10), IsEmpty()) << "it was raised before";
  const AlarmRecord raised = Raised(1, 10);
  const AlarmRecord returned = Returned(raised, 20);
  Put({raised, returned});
  Put({Acknowledged(returned)});
  EXPECT_THAT(subscription_.Poll(10), ElementsAre(raised, returned, Acknowledged(returned)));
  EXPECT_THAT(subscription_.Poll(10), IsEmpty());
}

TEST_F(AlarmSubscriptionTest, AnEndThatIsPutBeforeTheTagsRecordsGoIsTold) {
  ASSERT_TRUE(subscription_.Register().ok());
  const AlarmRecord ended = Returned(Raised(1, 10), 20);
  const Status status = path_->Change(
      [&](Turn&, StoreBatch& batch) {
        Table<AlarmRecord>::Put(ended, batch);
        Table<AlarmRecord>::Remove(ended.key(), batch);
        return Status();
      },
      [](Turn&) {});
  ASSERT_TRUE(status.ok()) << status.message();
  EXPECT_THAT(subscription_.Poll(10), ElementsAre(ended));
}

TEST_F(AlarmSubscriptionTest, APollHasNoMoreThanItAsksForAndTheNextOneTheRest) {
  ASSERT_TRUE(subscription_.Register().ok());
  PutEach(1, 3);
  EXPECT_THAT(StartsOf(subscription_.Poll(2)), ElementsAre(1, 2));
  EXPECT_THAT(StartsOf(subscription_.Poll(2)), ElementsAre(3));
}

TEST_F(AlarmSubscriptionTest, PastTheBoundTheOldestGoes) {
  ASSERT_TRUE(subscription_.Register().ok());
  PutEach(1, 9);
  EXPECT_THAT(StartsOf(subscription_.Poll(1)), ElementsAre(6));
  PutEach(10, 11);
  EXPECT_THAT(StartsOf(subscription_.Poll(10)), ElementsAre(8, 9, 10, 11));
  Put({Raised(1, 20), Raised(1, 21), Raised(1, 22), Raised(1, 23), Raised(1, 24), Raised(1, 25)});
  EXPECT_THAT(StartsOf(subscription_.Poll(10)), ElementsAre(22, 23, 24, 25));
}

TEST_F(AlarmSubscriptionTest, TheRecordsOfACommitDoNotFillTheRing) {
  ASSERT_TRUE(subscription_.Register().ok());
  for (std::int64_t start_ms = 1; start_ms <= 4; ++start_ms) {
    const Status status = path_->Change(
        [&](Turn&, StoreBatch& batch) {
          Table<AlarmRecord>::Put(Raised(1, start_ms), batch);
          for (TagId tag = 1; tag <= kTags; ++tag) {
            storage::AddTo(batch.records, {.tag = tag, .sample = NumberAt(start_ms)});
          }
          return Status();
        },
        [](Turn&) {});
    ASSERT_TRUE(status.ok()) << status.message();
  }
  EXPECT_THAT(StartsOf(subscription_.Poll(10)), ElementsAre(1, 2, 3, 4));
}

TEST_F(AlarmSubscriptionTest, PollingWithoutMemoryLosesNothing) {
  ASSERT_TRUE(subscription_.Register().ok());
  int failed = 0;
  for (int failing = 1; failing < 60; ++failing) {
    PutEach(1, 4);
    Result<std::vector<AlarmRecord>> polled{std::vector<AlarmRecord>()};
    {
      const ShortMemory memory(static_cast<std::uint64_t>(failing), ShortMemory::Lack::kOne);
      polled =
          Guarded([&]() -> Result<std::vector<AlarmRecord>> { return subscription_.Poll(10); });
    }
    if (!polled.ok()) {
      ++failed;
      polled = subscription_.Poll(10);
    }
    EXPECT_THAT(StartsOf(*polled), ElementsAre(1, 2, 3, 4)) << failing;
  }
  EXPECT_GT(failed, 5);
}

}  // namespace
}  // namespace zervane
