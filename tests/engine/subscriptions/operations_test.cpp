#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "api/operations/security.h"
#include "api/operations/subscriptions.h"
#include "engine/subscriptions/subscriptions.h"
#include "tests/engine/embedded_fixture.h"

namespace zervane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Changes = std::vector<std::pair<TagId, Sample>>;

// Following what changes, as sessions ask for it.
class SubscriptionOperations : public EmbeddedTest {
 protected:
  Caller CallerOf(SessionId session) { return {.user = "admin", .session = session}; }
  DatabaseClient ClientOf(SessionId session) {
    return DatabaseClient(database_.database(), CallerOf(session));
  }
  static Changes Poll(DatabaseClient&& client) { return Poll(client); }
  static Changes Poll(DatabaseClient& client) {
    const Result<SampleBatch> batch = client.Do(PollChanges{});
    EXPECT_TRUE(batch.ok()) << batch.status().message();
    Changes changes;
    for (std::size_t at = 0; batch.ok() && at < batch->size(); ++at) {
      changes.emplace_back(batch->tags[at], batch->samples.At(at));
    }
    return changes;
  }

  const TagId a_ = AddTag("a");
  const TagId b_ = AddTag("b");
};

TEST_F(SubscriptionOperations, EverySessionHasItsOwn) {
  DatabaseClient one = ClientOf(1);
  DatabaseClient two = ClientOf(2);
  ASSERT_TRUE(one.Do(SubscribeTags{{a_}}).ok());
  ASSERT_TRUE(two.Do(SubscribeTags{{a_, b_}}).ok());
  WriteAt(a_, 10);
  WriteAt(b_, 10);
  EXPECT_THAT(Poll(ClientOf(1)), ElementsAre(std::pair(a_, NumberAt(10))));
  EXPECT_THAT(Poll(ClientOf(2)),
              ElementsAre(std::pair(a_, NumberAt(10)), std::pair(b_, NumberAt(10))));
  EXPECT_THAT(Poll(ClientOf(3)), IsEmpty());
}

// A call that began before a session went over to another user may end behind it.
TEST_F(SubscriptionOperations, NobodyHasWhatTheUserBeforeInTheSessionRegistered) {
  DatabaseClient admin = ClientOf(1);
  const Result<UserId> ann =
      admin.Do(AddUser{.name = "ann", .password = Secret("pw"), .description = {}});
  ASSERT_TRUE(ann.ok()) << ann.status().message();
  ASSERT_TRUE(admin.Do(AddMember{.user = "ann", .group = "viewers"}).ok());
  ASSERT_TRUE(admin.Do(SubscribeTags{{a_}}).ok());
  Caller later = CallerOf(1);
  later.user = "ann";
  later.user_id = *ann;
  WriteAt(a_, 10);
  EXPECT_THAT(Poll(DatabaseClient(database_.database(), later)), IsEmpty());
  EXPECT_THAT(Poll(admin), ElementsAre(std::pair(a_, NumberAt(10))));
  ASSERT_TRUE(admin.Do(Login{.name = "ann", .password = Secret("pw")}).ok());
  WriteAt(a_, 20);
  EXPECT_THAT(Poll(admin), IsEmpty());
}

TEST_F(SubscriptionOperations, APairIsOfAnyChangeOfTheValueOrOfTheQuality) {
  DatabaseClient client = ClientOf(1);
  const TagId c = AddTag("c");
  ASSERT_TRUE(client.Do(SubscribeFields{{{a_, 0}, {b_, 1}, {c, 2}}}).ok());
  Sample bad = NumberAt(20, 1);
  bad.quality = 0;
  for (const Sample& sample : {NumberAt(10, 1), bad, NumberAt(30, 2)}) {
    Write({{a_, sample}, {b_, sample}, {c, sample}});
  }
  Write({{a_, NumberAt(40, 3)}, {b_, NumberAt(40, 2)}, {c, NumberAt(40, 3)}});
  EXPECT_THAT(Poll(client),
              ElementsAre(std::pair(a_, NumberAt(10)), std::pair(b_, NumberAt(10)),
                          std::pair(c, NumberAt(10)), std::pair(a_, bad), std::pair(c, bad),
                          std::pair(a_, NumberAt(30, 2)), std::pair(b_, NumberAt(30, 2)),
                          std::pair(c, NumberAt(30, 2)), std::pair(a_, NumberAt(40, 3))));
}

TEST_F(SubscriptionOperations, AFieldThatIsNoneRegistersNoneOfTheCall) {
  DatabaseClient client = ClientOf(1);
  EXPECT_EQ(client.Do(SubscribeFields{{{a_, 0}, {b_, 3}}}).code(), ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(client.Do(SubscribeFields{{{a_, 0}, {99, 0}}}).code(), ZR3_ERR_TAG_NOT_FOUND);
  WriteAt(a_, 10);
  EXPECT_THAT(Poll(client), IsEmpty());
}

TEST_F(SubscriptionOperations, TakingBackSucceedsWhereNothingWasRegistered) {
  DatabaseClient client = ClientOf(1);
  EXPECT_TRUE(client.Do(UnsubscribeTags{{a_, 0, 99}}).ok());
  EXPECT_TRUE(client.Do(UnsubscribeFields{{{a_, 1}, {99, 77}}}).ok());
  ASSERT_TRUE(client.Do(SubscribeFields{{{a_, 1}}}).ok());
  EXPECT_TRUE(client.Do(UnsubscribeFields{{{a_, 0}, {a_, 2}, {a_, 257}}}).ok());
  EXPECT_TRUE(client.Do(UnsubscribeTags{{a_}}).ok());
  WriteAt(a_, 10);
  EXPECT_THAT(Poll(client), ElementsAre(std::pair(a_, NumberAt(10))));
}

TEST_F(SubscriptionOperations, NothingAtAllIsRegisteredAndTakenBackWithSuccess) {
  DatabaseClient client = ClientOf(1);
  EXPECT_TRUE(client.Do(SubscribeTags{}).ok());
  EXPECT_TRUE(client.Do(SubscribeFields{}).ok());
  EXPECT_TRUE(client.Do(UnsubscribeTags{}).ok());
  EXPECT_TRUE(client.Do(UnsubscribeFields{}).ok());
  EXPECT_THAT(Poll(client), IsEmpty());
}

TEST_F(SubscriptionOperations, MoreTagsThanACallMayNameAreRefused) {
  DatabaseClient client = ClientOf(1);
  const std::vector<TagId> ids(Subscriptions::kMaxWishes + 1, a_);
  EXPECT_EQ(client.Do(SubscribeTags{ids}).code(), ZR3_ERR_INVALID_COUNT);
  WriteAt(a_, 10);
  EXPECT_THAT(Poll(client), IsEmpty());
}

TEST_F(SubscriptionOperations, MoreSessionsThanThereMayBeAreRefused) {
  bool is_refused = false;
  for (SessionId session = 1; session <= Subscriptions::kMaxFollowers + 2; ++session) {
    const ZR3_STATUS code = ClientOf(session).Do(SubscribeTags{{a_}}).code();
    EXPECT_EQ(code, is_refused || code != ZR3_OK ? ZR3_ERR_OUT_OF_MEMORY : ZR3_OK);
    is_refused = code != ZR3_OK;
  }
  EXPECT_TRUE(is_refused);
  WriteAt(a_, 10);
  EXPECT_THAT(Poll(ClientOf(1)), ElementsAre(std::pair(a_, NumberAt(10))));
}

TEST_F(SubscriptionOperations, RegisteringForAlarmsIsDoneAsOftenAsOneLikes) {
  DatabaseClient client = ClientOf(1);
  EXPECT_THAT(*client.Do(PollAlarms{}), IsEmpty());
  EXPECT_TRUE(client.Do(SubscribeAlarms{}).ok());
  EXPECT_TRUE(client.Do(SubscribeAlarms{}).ok());
  EXPECT_THAT(*client.Do(PollAlarms{}), IsEmpty());
}

// A full ring and what has waited, with the bounds of a session: the newest of every tag is there.
TEST_F(SubscriptionOperations, ASessionThatNeverPolledGetsTheNewestOfEveryTag) {
  DatabaseClient client = ClientOf(1);
  ASSERT_TRUE(client.Do(SubscribeTags{{a_, b_}}).ok());
  WriteAt(b_, 1);
  constexpr std::int64_t kRecords = 1'200'000;
  std::int64_t time_ms = 0;
  while (time_ms < kRecords) {
    std::vector<TagSample> batch;
    for (int i = 0; i < 50'000; ++i) batch.push_back({a_, NumberAt(++time_ms)});
    ASSERT_EQ(Write(std::move(batch)).status, ZR3_OK);
  }
  const Changes changes = Poll(client);
  ASSERT_EQ(changes.size(), 65'536U);
  EXPECT_EQ(changes.front(), std::pair(b_, NumberAt(1)));
  EXPECT_EQ(changes.back(), std::pair(a_, NumberAt(kRecords)));
  EXPECT_THAT(Poll(client), IsEmpty());
}

TEST_F(SubscriptionOperations, AClosedDatabaseAnswersThatItIs) {
  DatabaseClient client = ClientOf(1);
  ASSERT_TRUE(client.Do(SubscribeTags{{a_}}).ok());
  ASSERT_TRUE(database_->Close().ok());
  EXPECT_EQ(client.Do(PollChanges{}).code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(client.Do(SubscribeTags{{a_}}).code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(client.Do(PollAlarms{}).code(), ZR3_ERR_NOT_CONNECTED);
}

}  // namespace
}  // namespace zervane
