#include "vask/session.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "tests/vask/fake_database.h"

namespace zervane {
namespace {

const Target kServer{.kind = Target::Kind::kServer, .folder = {}, .host = "one", .port = 1};
const Target kOther{.kind = Target::Kind::kServer, .folder = {}, .host = "two", .port = 1};
const Target kFolder{.kind = Target::Kind::kFolder, .folder = "/plant"};

// Opens a fake database; notes what it was asked for.
struct Opener {
  std::vector<Target> asked;
  std::vector<ZR3_STATUS> failures;  // in order; past them it succeeds
  std::function<Status()> on_close;

  Result<std::unique_ptr<Database>> operator()(const Target& target) {
    asked.push_back(target);
    if (asked.size() <= failures.size()) return Status(failures[asked.size() - 1], {});
    auto database = std::make_unique<FakeDatabase>();
    database->on_close = on_close;
    return Result<std::unique_ptr<Database>>(std::move(database));
  }
};

ZR3_STATUS Connect(Session& session, const Servers& servers, Opener& opener) {
  return session.Connect(servers, std::ref(opener)).code();
}

ZR3_STATUS Use(Session& session) {
  return session.Hold([](Session&) { return Status(); }).code();
}

TEST(Session, IsClosedAtFirst) {
  Session session;
  EXPECT_EQ(Use(session), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(session.Disconnect().code(), ZR3_ERR_NOT_CONNECTED);
}

TEST(Session, LastsFromConnectToDisconnect) {
  Session session;
  Opener opener;
  EXPECT_EQ(Connect(session, {.primary = kFolder, .standby = {}}, opener), ZR3_OK);
  EXPECT_EQ(Use(session), ZR3_OK);
  EXPECT_EQ(session.Disconnect().code(), ZR3_OK);
  EXPECT_EQ(Use(session), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(Connect(session, {.primary = kServer, .standby = {}}, opener), ZR3_OK);
  EXPECT_EQ(Use(session), ZR3_OK);
}

TEST(Session, ConnectsToTheSameServersAgainWithoutChange) {
  Session session;
  Opener opener;
  const Servers servers{.primary = kServer, .standby = kOther};
  ASSERT_EQ(Connect(session, servers, opener), ZR3_OK);
  EXPECT_EQ(Connect(session, servers, opener), ZR3_OK);
  EXPECT_EQ(opener.asked.size(), 1U);
}

TEST(Session, ConnectsToNoOthersBeforeItIsClosed) {
  Session session;
  Opener opener;
  ASSERT_EQ(Connect(session, {.primary = kServer, .standby = {}}, opener), ZR3_OK);
  EXPECT_EQ(Connect(session, {.primary = kOther, .standby = {}}, opener),
            ZR3_ERR_ALREADY_CONNECTED);
  EXPECT_EQ(Connect(session, {.primary = kServer, .standby = kOther}, opener),
            ZR3_ERR_ALREADY_CONNECTED);
  EXPECT_EQ(opener.asked.size(), 1U);
  EXPECT_EQ(Use(session), ZR3_OK);
}

TEST(Session, TriesTheStandbyWhenThePrimaryCannotBeReached) {
  Session session;
  Opener opener;
  opener.failures = {ZR3_ERR_CONNECT_FAILED};
  EXPECT_EQ(Connect(session, {.primary = kServer, .standby = kFolder}, opener), ZR3_OK);
  EXPECT_EQ(opener.asked, (std::vector<Target>{kServer, kFolder}));
}

TEST(Session, FailsWhenNeitherCanBeReached) {
  Session session;
  Opener opener;
  opener.failures = {ZR3_ERR_CONNECT_FAILED, ZR3_ERR_CONNECT_FAILED};
  EXPECT_EQ(Connect(session, {.primary = kServer, .standby = kOther}, opener),
            ZR3_ERR_CONNECT_FAILED);
  EXPECT_EQ(Use(session), ZR3_ERR_NOT_CONNECTED);
}

TEST(Session, DoesNotPassOverAPrimaryThatIsThereButFails) {
  Session session;
  Opener opener;
  opener.failures = {ZR3_ERR_DATABASE_IN_USE};
  EXPECT_EQ(Connect(session, {.primary = kServer, .standby = kOther}, opener),
            ZR3_ERR_DATABASE_IN_USE);
  EXPECT_EQ(opener.asked, std::vector<Target>{kServer});
}

TEST(Session, IsOverEvenWhenTheDatabaseClosesWithAFailure) {
  Session session;
  Opener opener;
  opener.on_close = [] { return Status(ZR3_ERR_STORAGE_FULL, {}); };
  ASSERT_EQ(Connect(session, {.primary = kFolder, .standby = {}}, opener), ZR3_OK);
  EXPECT_EQ(session.Disconnect().code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(session.Disconnect().code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(Use(session), ZR3_ERR_NOT_CONNECTED);
}

TEST(Session, ClosesTheDatabaseOnlyAfterTheCallsInProgress) {
  Session session;
  Opener opener;
  std::atomic<bool> closed{false};
  opener.on_close = [&] {
    closed = true;
    return Status();
  };
  ASSERT_EQ(Connect(session, {.primary = kFolder, .standby = {}}, opener), ZR3_OK);

  std::atomic<bool> disconnecting{false};
  std::thread disconnector;
  const Status status = session.Hold([&](Session&) {
    disconnector = std::thread([&] {
      disconnecting = true;
      EXPECT_EQ(session.Disconnect().code(), ZR3_OK);
    });
    while (!disconnecting) std::this_thread::yield();
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    EXPECT_FALSE(closed) << "closed under a call";
    return Status();
  });
  EXPECT_EQ(status.code(), ZR3_OK);
  disconnector.join();
  EXPECT_TRUE(closed);
}

TEST(Session, IsDisconnectedHoweverBusyItsCallersAre) {
  Session session;
  Opener opener;
  ASSERT_EQ(Connect(session, {.primary = kFolder, .standby = {}}, opener), ZR3_OK);
  std::vector<std::thread> callers;
  for (int t = 0; t < 40; ++t) {  // more than there are stripes of the lock
    callers.emplace_back([&] {
      while (Use(session) == ZR3_OK) {
      }
    });
  }
  EXPECT_EQ(session.Disconnect().code(), ZR3_OK);
  for (std::thread& caller : callers) caller.join();
}

class OneItem : public ItemIterator {
 public:
  Status Next(void*) override { return {}; }
  void Forget() noexcept override {}
};

TEST(Session, FreesItsHandlesWhenItIsOver) {
  Session session;
  Opener opener;
  const Servers servers{.primary = kFolder, .standby = {}};
  ASSERT_EQ(Connect(session, servers, opener), ZR3_OK);
  ZR3HANDLE handle = nullptr;
  const Status added = session.Hold([&](Session& held) {
    const Result<ZR3HANDLE> iterator = held.handles().Add(std::make_unique<OneItem>());
    if (iterator.ok()) handle = *iterator;
    return iterator.status();
  });
  ASSERT_EQ(added.code(), ZR3_OK);
  ASSERT_EQ(session.Disconnect().code(), ZR3_OK);
  ASSERT_EQ(Connect(session, servers, opener), ZR3_OK);
  const Status stale =
      session.Hold([&](Session& held) { return held.handles().Step(handle, nullptr); });
  EXPECT_EQ(stale.code(), ZR3_ERR_INVALID_HANDLE);
}

TEST(Session, ForgetsNamesOfTheDatabaseBefore) {
  Session session;
  const Servers servers{.primary = kFolder, .standby = {}};
  const auto id_in_database_with_tags = [&](std::vector<std::string> names) {
    const Status connected =
        session.Connect(servers, [&](const Target&) -> Result<std::unique_ptr<Database>> {
          auto database = std::make_unique<FakeDatabase>();
          for (const std::string& name : names) database->Add(name, TagType::kInt8);
          return Result<std::unique_ptr<Database>>(std::move(database));
        });
    EXPECT_EQ(connected.code(), ZR3_OK);
    TagId id = 0;
    const Status found = session.Hold([&](Session& held) {
      id = *held.FindTagId("A");
      return Status();
    });
    EXPECT_EQ(found.code(), ZR3_OK);
    EXPECT_EQ(session.Disconnect().code(), ZR3_OK);
    return id;
  };
  EXPECT_EQ(id_in_database_with_tags({"A", "B"}), 1U);
  EXPECT_EQ(id_in_database_with_tags({"B", "A"}), 2U);
}

// ---- logging in ----

// A session with a fake database, whose calls end when it is closed.
class LoginTest : public testing::Test {
 protected:
  void Open(bool waits) {
    ASSERT_TRUE(session_
                    .Connect({.primary = kFolder, .standby = {}},
                             [&](const Target&) -> Result<std::unique_ptr<Database>> {
                               auto fake = std::make_unique<FakeDatabase>();
                               database_ = fake.get();
                               if (waits) MakeWait(*fake);
                               return Result<std::unique_ptr<Database>>(std::move(fake));
                             })
                    .ok());
  }
  void MakeWait(FakeDatabase& fake) {
    fake.on_call = [this] {
      is_called_ = true;
      while (!is_closed_) std::this_thread::yield();
      return Status();
    };
    fake.on_close = [this] {
      is_closed_ = true;
      return Status();
    };
  }
  void AwaitCall() {
    while (!is_called_) std::this_thread::yield();
  }

  // Who asks.
  Caller Asker() {
    EXPECT_TRUE(session_.Hold([](Session& held) { return held.Do(ReadClock{}).status(); }).ok());
    return database_->last_caller();
  }

  Session session_;
  FakeDatabase* database_ = nullptr;
  std::atomic<bool> is_called_{false};
  std::atomic<bool> is_closed_{false};
};

const Login kAnna{.name = "Anna", .password = Secret("p")};

TEST_F(LoginTest, ChangesWhoAsksUntilTheSessionEnds) {
  EXPECT_EQ(session_.LogIn(kAnna).code(), ZR3_ERR_NOT_CONNECTED);
  Open(false);
  EXPECT_EQ(Asker().user, "admin");
  EXPECT_EQ(session_.LogIn(kAnna).code(), ZR3_OK);
  EXPECT_EQ(Asker().user, "Anna");
  EXPECT_EQ(Asker().user_id, 7U);
  ASSERT_TRUE(session_.Disconnect().ok());
  Open(false);
  EXPECT_EQ(Asker().user, "admin");
  EXPECT_EQ(Asker().user_id, kAdminId);
}

TEST_F(LoginTest, LeavesTheSessionAsItWasWhenItFails) {
  Open(false);
  EXPECT_TRUE(session_
                  .Hold([](Session& held) -> Status {
                    (void)held.FindTagId("none");
                    return held.polled_changes()
                                       .HandOver([] { return Result<SampleBatch>(SampleBatch()); },
                                                 [](const SampleBatch&) {
                                                   return Status(ZR3_ERR_OUT_OF_MEMORY, {});
                                                 })
                                       .code() == 0
                               ? Status(ZR3_ERR_INTERNAL, {})
                               : Status();
                  })
                  .ok());
  database_->on_call = [] { return Status(ZR3_ERR_LOGIN_FAILED, {}); };
  EXPECT_EQ(session_.LogIn(kAnna).code(), ZR3_ERR_LOGIN_FAILED);
  database_->on_call = nullptr;
  EXPECT_EQ(Asker().user, "admin");
  int polls = 0;
  const auto poll = [&] {
    return session_.Hold([&](Session& held) {
      return held.polled_changes().HandOver(
          [&] {
            ++polls;
            return Result<SampleBatch>(SampleBatch());
          },
          [](const SampleBatch&) { return Status(ZR3_ERR_OUT_OF_MEMORY, {}); });
    });
  };
  EXPECT_EQ(poll().code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(polls, 0) << "what was polled before still waits";
  ASSERT_TRUE(session_.LogIn(kAnna).ok());
  EXPECT_EQ(poll().code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(polls, 1) << "it was for the user before";
}

TEST_F(LoginTest, ForgetsWhatTheUserBeforeHasLookedUp) {
  Open(false);
  ASSERT_EQ(database_->Add("tag", TagType::kFloat64), 1U);
  const auto find = [&] {
    return session_.Hold([](Session& held) { return held.FindTagId("tag").status(); });
  };
  ASSERT_TRUE(find().ok());
  const int calls = database_->calls();
  ASSERT_TRUE(find().ok());
  EXPECT_EQ(database_->calls(), calls) << "from memory";
  ASSERT_TRUE(session_.LogIn(kAnna).ok());
  ASSERT_TRUE(find().ok());
  EXPECT_EQ(database_->calls(), calls + 2) << "the login, and the search";
}

// Else disconnecting would wait for as long as the login does.
TEST_F(LoginTest, IsEndedByDisconnecting) {
  Open(true);
  std::thread login([&] { EXPECT_EQ(session_.LogIn(kAnna).code(), ZR3_ERR_NOT_CONNECTED); });
  AwaitCall();
  EXPECT_TRUE(session_.Disconnect().ok());
  login.join();
}

TEST_F(LoginTest, HoldsUpNoOtherCalls) {
  Open(true);
  std::thread login([&] { (void)session_.LogIn(kAnna); });
  AwaitCall();
  EXPECT_EQ(Use(session_), ZR3_OK);
  EXPECT_TRUE(session_.Disconnect().ok());
  login.join();
}

// It was told to the database before.
TEST_F(LoginTest, ChangesNothingInASessionThatBeganMeanwhile) {
  Open(true);
  std::atomic<bool> may_return{false};
  database_->on_call = [&] {
    is_called_ = true;
    while (!may_return) std::this_thread::yield();
    return Status();
  };
  std::thread login([&] { EXPECT_EQ(session_.LogIn(kAnna).code(), ZR3_ERR_NOT_CONNECTED); });
  AwaitCall();
  ASSERT_TRUE(session_.Disconnect().ok());
  Open(false);
  may_return = true;
  login.join();
  EXPECT_EQ(Asker().user, "admin");
}

TEST_F(LoginTest, IsLikeAllThatIsDoneAsideEndedByDisconnecting) {
  const ChangePassword change{.user = "Anna", .old_password = {}, .new_password = {}};
  EXPECT_EQ(session_.DoAside(change).code(), ZR3_ERR_NOT_CONNECTED);
  Open(true);
  std::thread waiting([&] { (void)session_.DoAside(change); });
  AwaitCall();
  EXPECT_TRUE(session_.Disconnect().ok());
  waiting.join();
}

TEST(ProcessSession, IsOne) { EXPECT_EQ(&ProcessSession(), &ProcessSession()); }

}  // namespace
}  // namespace zervane
