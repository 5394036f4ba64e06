#include "engine/write/write_queue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/engine/fake_store.h"
#include "tests/engine/records.h"
#include "tests/engine/short_memory.h"

namespace zervane {
namespace {

constexpr WriteAnswer kDurable = WriteAnswer::kDurable;
constexpr WriteAnswer kQueued = WriteAnswer::kQueued;

// Waits for a condition of another thread; false when it does not come.
bool Eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::yield();
  }
  return true;
}

// Commits to a disk whose failures and delays the test dictates.
class Committer : public WriteQueue::Owner {
 public:
  Status Commit(std::vector<AcceptedSample>& records) override {
    Status status = disk.Append(records);
    if (status.ok()) {
      for (const AcceptedSample& record : records) times.push_back(record.sample.time_ms);
      threads.push_back(std::this_thread::get_id());
    }
    return status;
  }
  void Refused(std::span<const AcceptedSample> settled,
               std::span<const AcceptedSample> queued) noexcept override {
    settled_sizes.push_back(settled.size());
    queued_sizes.push_back(queued.size());
  }

  FakeDisk disk;
  // Read after the queue has answered or closed.
  std::vector<std::int64_t> times;
  std::vector<std::thread::id> threads;  // that committed
  std::vector<std::size_t> settled_sizes;
  std::vector<std::size_t> queued_sizes;
};

class WriteQueueTest : public testing::Test {
 protected:
  explicit WriteQueueTest(const WriteQueue::Limits& limits = {}) : queue_(committer_, limits) {}
  ~WriteQueueTest() override { committer_.disk.Release(); }

  Status Write(WriteAnswer answer, std::vector<AcceptedSample> batch) {
    return queue_.Write(answer, [&](std::vector<AcceptedSample>& records) {
      most_before_a_batch_ = std::max(most_before_a_batch_, records.size());
      for (AcceptedSample& record : batch) records.push_back(std::move(record));
      waiting_records_ = records.size();
    });
  }
  // Until a commit is held up; nothing waits beside it.
  bool AwaitHeld() {
    const bool is_held = committer_.disk.AwaitHeld();
    waiting_records_ = 0;
    return is_held;
  }
  // Has the queue's thread busy with a commit, so that what follows waits in one group.
  void HoldWithOneRecord(std::int64_t time_ms = 1) {
    committer_.disk.Hold();
    EXPECT_TRUE(Write(kQueued, {Accepted(1, time_ms)}).ok());
    EXPECT_TRUE(AwaitHeld());
  }
  // Until so many records wait beside those that are being committed.
  bool AwaitRecords(std::size_t count) {
    return Eventually([&] { return waiting_records_ == count; });
  }

  Committer committer_;
  std::atomic<std::size_t> waiting_records_ = 0;  // after the last batch that was admitted
  std::size_t most_before_a_batch_ = 0;           // that waited when one was admitted
  WriteQueue queue_;
};

using Times = std::vector<std::int64_t>;
using Sizes = std::vector<std::size_t>;

TEST_F(WriteQueueTest, StoresABatchBeforeADurableAnswer) {
  EXPECT_TRUE(Write(kDurable, {Accepted(1, 10), Accepted(2, 11)}).ok());
  EXPECT_EQ(committer_.times, (Times{10, 11}));
}

TEST_F(WriteQueueTest, AnswersAQueuedBatchBeforeItIsStored) {
  HoldWithOneRecord();
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 2)}).ok());
  EXPECT_EQ(waiting_records_, 1U);
  EXPECT_TRUE(committer_.disk.append_sizes().empty());
}

TEST_F(WriteQueueTest, CommitsWaitingBatchesTogetherAndInOrder) {
  HoldWithOneRecord(1);
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 2), Accepted(1, 3)}).ok());
  std::thread durable([&] { EXPECT_TRUE(Write(kDurable, {Accepted(1, 4)}).ok()); });
  EXPECT_TRUE(AwaitRecords(3));
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 5)}).ok());
  committer_.disk.Release();
  durable.join();
  queue_.Close();
  EXPECT_EQ(committer_.times, (Times{1, 2, 3, 4, 5}));
  EXPECT_EQ(committer_.disk.append_sizes(), (Sizes{1, 4}));
}

TEST_F(WriteQueueTest, HasACallerWhoWaitsCommitWhenNobodyElseDoes) {
  EXPECT_TRUE(Write(kDurable, {Accepted(1, 1)}).ok());
  EXPECT_EQ(committer_.threads, std::vector{std::this_thread::get_id()});
}

TEST_F(WriteQueueTest, HasNoCallerCommitWhoDoesNotWait) {
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 1)}).ok());
  queue_.Close();
  ASSERT_EQ(committer_.threads.size(), 1U);
  EXPECT_NE(committer_.threads.front(), std::this_thread::get_id());
}

TEST_F(WriteQueueTest, LeavesToItsThreadWhatCameWhileACallerCommitted) {
  committer_.disk.Hold();
  std::thread committing([&] { EXPECT_TRUE(Write(kDurable, {Accepted(1, 1)}).ok()); });
  const std::thread::id committing_id = committing.get_id();
  EXPECT_TRUE(AwaitHeld());
  std::thread waiting([&] { EXPECT_TRUE(Write(kDurable, {Accepted(1, 2)}).ok()); });
  const std::thread::id waiting_id = waiting.get_id();
  EXPECT_TRUE(AwaitRecords(1));
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 3)}).ok());
  committer_.disk.Release();
  committing.join();
  waiting.join();
  queue_.Close();
  EXPECT_EQ(committer_.times, (Times{1, 2, 3}));
  ASSERT_EQ(committer_.threads.size(), 2U);
  EXPECT_EQ(committer_.threads[0], committing_id);
  EXPECT_NE(committer_.threads[1], committing_id);
  EXPECT_NE(committer_.threads[1], waiting_id);
}

TEST_F(WriteQueueTest, ClosesOnlyOnceACallerWhoCommitsIsDone) {
  committer_.disk.Hold();
  std::thread committing([&] { EXPECT_TRUE(Write(kDurable, {Accepted(1, 1)}).ok()); });
  EXPECT_TRUE(AwaitHeld());
  std::atomic<bool> is_closed = false;
  std::thread closing([&] {
    queue_.Close();
    is_closed = true;
  });
  EXPECT_TRUE(Eventually([&] { return Write(kQueued, {}).code() == ZR3_ERR_NOT_CONNECTED; }));
  EXPECT_FALSE(is_closed);
  committer_.disk.Release();
  closing.join();
  EXPECT_EQ(committer_.times, Times{1});
  committing.join();
}

TEST_F(WriteQueueTest, StoresNothingForABatchOfWhichNothingWasAdmitted) {
  EXPECT_TRUE(Write(kDurable, {}).ok());
  queue_.Close();
  EXPECT_TRUE(committer_.disk.append_sizes().empty());
}

TEST_F(WriteQueueTest, PassesOnWhatAdmissionThrows) {
  EXPECT_THROW((void)queue_.Write(kDurable, [](auto&) { throw std::bad_alloc(); }), std::bad_alloc);
  EXPECT_TRUE(Write(kDurable, {Accepted(1, 10)}).ok());
  EXPECT_EQ(committer_.times, Times{10});
}

// ---- bounds ----

class BoundedQueueTest : public WriteQueueTest {
 protected:
  static constexpr std::size_t kMaxRecords = 3;
  BoundedQueueTest() : WriteQueueTest({.max_records = kMaxRecords, .max_bytes = 5000}) {}

  // A caller who writes while the queue is full, and who has had every chance to get in.
  std::thread WriteWhileItIsFull(WriteAnswer answer, std::int64_t time_ms, ZR3_STATUS* code) {
    const std::size_t waiting = waiting_records_;
    std::atomic<bool> has_begun = false;
    std::thread caller([=, this, &has_begun] {
      has_begun = true;
      *code = Write(answer, {Accepted(1, time_ms)}).code();
    });
    EXPECT_TRUE(Eventually([&] { return has_begun.load(); }));
    for (int chances = 20'000; chances > 0; --chances) std::this_thread::yield();
    EXPECT_EQ(waiting_records_, waiting);
    return caller;
  }
};

TEST_F(BoundedQueueTest, MakesCallersWaitWhileItHoldsAsManyRecordsAsItMay) {
  HoldWithOneRecord(1);
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 2), Accepted(1, 3)}).ok());
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 4), Accepted(1, 5)}).ok());
  EXPECT_EQ(waiting_records_, 4U);
  ZR3_STATUS code = ZR3_ERR_INTERNAL;
  std::thread blocked = WriteWhileItIsFull(kQueued, 6, &code);
  committer_.disk.Release();
  blocked.join();
  queue_.Close();
  EXPECT_EQ(code, ZR3_OK);
  EXPECT_LT(most_before_a_batch_, kMaxRecords);
  EXPECT_EQ(committer_.times, (Times{1, 2, 3, 4, 5, 6}));
}

TEST_F(BoundedQueueTest, MakesCallersWaitWhileItHoldsAsManyBytesAsItMay) {
  HoldWithOneRecord(1);
  const std::string text(5000, 'x');
  EXPECT_TRUE(Write(kQueued, {{.tag = 1, .sample = TextAt(2, text)}}).ok());
  ZR3_STATUS code = ZR3_ERR_INTERNAL;
  std::thread blocked = WriteWhileItIsFull(kDurable, 3, &code);
  committer_.disk.Release();
  blocked.join();
  EXPECT_EQ(code, ZR3_OK);
  EXPECT_EQ(most_before_a_batch_, 0U);
  EXPECT_EQ(committer_.times, (Times{1, 2, 3}));
}

TEST_F(BoundedQueueTest, TakesABatchGreaterThanItsBounds) {
  EXPECT_TRUE(Write(kDurable, std::vector<AcceptedSample>(100, Accepted(1, 7))).ok());
  EXPECT_EQ(committer_.times.size(), 100U);
}

TEST_F(BoundedQueueTest, RefusesThoseWhoWaitForRoomWhenItCloses) {
  HoldWithOneRecord(1);
  EXPECT_TRUE(Write(kQueued, std::vector<AcceptedSample>(3, Accepted(1, 2))).ok());
  ZR3_STATUS code = ZR3_OK;
  std::thread blocked = WriteWhileItIsFull(kQueued, 3, &code);
  std::thread closing([&] { queue_.Close(); });
  blocked.join();
  EXPECT_EQ(code, ZR3_ERR_NOT_CONNECTED);
  committer_.disk.Release();
  closing.join();
  EXPECT_EQ(committer_.times, (Times{1, 2, 2, 2}));
}

// ---- failures ----

TEST_F(WriteQueueTest, AnswersTheStoresStatusToTheWaitingCaller) {
  committer_.disk.FailAppends(1);
  EXPECT_EQ(Write(kDurable, {Accepted(1, 10)}).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(committer_.settled_sizes, Sizes{1});
  EXPECT_TRUE(queue_.TakeFailure().ok());
  EXPECT_TRUE(Write(kDurable, {Accepted(1, 11)}).ok());
  EXPECT_EQ(committer_.times, Times{11});
}

TEST_F(WriteQueueTest, TriesTheBatchesOfARefusedGroupOneByOne) {
  committer_.disk.FailAppendsOf(9);
  HoldWithOneRecord(1);
  Status good;
  Status bad;
  std::thread good_caller([&] { good = Write(kDurable, {Accepted(1, 2)}); });
  EXPECT_TRUE(AwaitRecords(1));
  std::thread bad_caller([&] { bad = Write(kDurable, {Accepted(1, 3), Accepted(9, 3)}); });
  EXPECT_TRUE(AwaitRecords(3));
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 4)}).ok());
  committer_.disk.Release();
  good_caller.join();
  bad_caller.join();
  queue_.Close();
  EXPECT_TRUE(good.ok());
  EXPECT_EQ(bad.code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(committer_.times, (Times{1, 2, 4}));
  EXPECT_TRUE(queue_.TakeFailure().ok());
}

TEST_F(WriteQueueTest, KeepsTheFirstFailureThatNobodyWaitedForUntilItIsTaken) {
  HoldWithOneRecord(1);
  committer_.disk.FailAppends(FakeDisk::kForever);
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 2)}).ok());
  committer_.disk.Release();
  EXPECT_EQ(Write(kDurable, {Accepted(1, 3)}).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(queue_.TakeFailure().code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_TRUE(queue_.TakeFailure().ok());
}

TEST_F(WriteQueueTest, TellsItsOwnerOfARefusalWithWhatStillWaits) {
  committer_.disk.FailAppends(1);
  HoldWithOneRecord(1);
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 2), Accepted(1, 3)}).ok());
  committer_.disk.Release();
  queue_.Close();
  EXPECT_EQ(committer_.settled_sizes, Sizes{1});
  EXPECT_EQ(committer_.queued_sizes, Sizes{2});
}

TEST_F(WriteQueueTest, SurvivesAnExceptionOfItsOwner) {
  committer_.disk.ThrowOnAppend();
  EXPECT_EQ(Write(kDurable, {Accepted(1, 10)}).code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_TRUE(Write(kDurable, {Accepted(1, 11)}).ok());
}

// ---- changes ----

TEST_F(WriteQueueTest, CarriesOutAChangeAfterWhatWasQueuedBefore) {
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 1)}).ok());
  EXPECT_TRUE(Write(kQueued, {Accepted(1, 2)}).ok());
  Times seen;
  EXPECT_TRUE(queue_
                  .Run([&] {
                    seen = committer_.times;
                    return Status();
                  })
                  .ok());
  EXPECT_EQ(seen, (Times{1, 2}));
}

TEST_F(WriteQueueTest, AnswersTheStatusOfAChange) {
  EXPECT_EQ(queue_.Run([] { return Status(ZR3_ERR_TAG_EXISTS, "a"); }).code(), ZR3_ERR_TAG_EXISTS);
  EXPECT_EQ(queue_.Run([]() -> Status { throw std::runtime_error("b"); }).code(), ZR3_ERR_INTERNAL);
  EXPECT_TRUE(queue_.Run([] { return Status(); }).ok());
}

TEST_F(WriteQueueTest, ForgetsTheQueuedRecordsOfATag) {
  HoldWithOneRecord(1);
  Status durable;
  std::thread caller([&] { durable = Write(kDurable, {Accepted(7, 2)}); });
  EXPECT_TRUE(AwaitRecords(1));
  EXPECT_TRUE(Write(kQueued, {Accepted(7, 3), Accepted(1, 4)}).ok());
  {
    const MutexLock no_admission(queue_.mutex());
    queue_.Drop(7);
  }
  committer_.disk.Release();
  caller.join();
  queue_.Close();
  EXPECT_TRUE(durable.ok());
  EXPECT_EQ(committer_.times, (Times{1, 4}));
}

// ---- want of memory ----

// A change that is too large for std::function to keep in place.
struct LargeChange {
  std::array<std::int64_t, 64> bytes{};
  Status operator()() const { return std::string(100, 'x').empty() ? DatabaseClosed() : Status(); }
};

// Statuses of a call, or what it threw for want of memory.
template <typename Call>
ZR3_STATUS CodeOf(Call&& call) {
  try {
    return call().code();
  } catch (const std::bad_alloc&) {
    return ZR3_ERR_OUT_OF_MEMORY;
  }
}

TEST_F(WriteQueueTest, GoesOnAfterAChangeWhoseAnyRequestForMemoryFailed) {
  const std::function<Status()> change = LargeChange();
  for (const auto lack : {ShortMemory::Lack::kOne, ShortMemory::Lack::kRest}) {
    for (std::uint64_t nth = 1;; ++nth) {
      ZR3_STATUS code;
      {
        const ShortMemory memory(nth, lack);
        code = CodeOf([&] { return queue_.Run(change); });
      }
      EXPECT_TRUE(queue_.Run(change).ok());
      EXPECT_TRUE(Write(kDurable, {Accepted(1, 10)}).ok());
      if (ShortMemory::Failed() == 0) break;
      EXPECT_EQ(code, ZR3_ERR_OUT_OF_MEMORY) << "request " << nth;
    }
  }
}

TEST_F(WriteQueueTest, AnswersAChangeThatThrowsWhileThereIsNoMemory) {
  for (const bool is_want_of_memory : {true, false}) {
    std::optional<ShortMemory> memory;
    const Status status = queue_.Run([&]() -> Status {
      const std::runtime_error fault("a cause");
      memory.emplace(1);
      if (is_want_of_memory) throw std::bad_alloc();
      throw fault;
    });
    memory.reset();
    EXPECT_EQ(status.code(), is_want_of_memory ? ZR3_ERR_OUT_OF_MEMORY : ZR3_ERR_INTERNAL);
    EXPECT_TRUE(queue_.Run([] { return Status(); }).ok());
  }
}

// ---- the end ----

TEST_F(WriteQueueTest, StoresWhatIsQueuedWhenItCloses) {
  HoldWithOneRecord(1);
  for (std::int64_t time_ms = 2; time_ms <= 50; ++time_ms) {
    EXPECT_TRUE(Write(kQueued, {Accepted(1, time_ms)}).ok());
  }
  std::thread closing([&] { queue_.Close(); });
  committer_.disk.Release();
  closing.join();
  ASSERT_EQ(committer_.times.size(), 50U);
  for (std::size_t i = 0; i < 50; ++i) EXPECT_EQ(committer_.times[i], static_cast<int>(i) + 1);
}

TEST_F(WriteQueueTest, RefusesEverythingOnceItIsClosed) {
  queue_.Close();
  queue_.Close();
  bool was_asked = false;
  EXPECT_EQ(queue_.Write(kQueued, [&](auto&) { was_asked = true; }).code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_FALSE(was_asked);
  EXPECT_EQ(queue_.Run([] { return Status(); }).code(), ZR3_ERR_NOT_CONNECTED);
}

}  // namespace
}  // namespace zervane
