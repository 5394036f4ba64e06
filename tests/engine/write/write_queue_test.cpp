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

#include "engine/storage/record_batch.h"
#include "tests/engine/records.h"
#include "tests/engine/short_memory.h"
#include "tests/engine/storage/faulty_store.h"
#include "tests/engine/storage/store_driver.h"
#include "tests/engine/write/tasks.h"

namespace zervane {
namespace {

using storage::Faults;
using storage::FaultyStore;
using storage::kPatience;
using storage::StoreDriver;
using storage::TagNamed;

constexpr WriteAnswer kDurable = WriteAnswer::kDurable;
constexpr WriteAnswer kQueued = WriteAnswer::kQueued;

using Times = std::vector<std::int64_t>;
using Sizes = std::vector<std::size_t>;

// Waits for a condition of another thread; false when it does not come.
bool Eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::yield();
  }
  return true;
}

// Commits to a store whose failures and delays the test dictates.
class StoreOwner : public WriteQueue::Owner {
 public:
  StoreOwner() {
    StoreDriver driver(store_);
    for (const TagId tag : {1, 7, 9}) driver.PutTag(TagNamed(tag, "T" + std::to_string(tag)));
    first_commit = driver.last_commit();
  }

  CommitAnswer Commit(Turn& turn, RecordBatch& records, std::span<const RowChange> rows) override {
    turn.AssertHeld();
    StoreBatch batch;
    batch.commit = first_commit + static_cast<std::int64_t>(threads.size()) + 1;
    batch.records = records;
    batch.rows.assign(rows.begin(), rows.end());
    batch.records.marks.assign(records.size(), kArchive | kCurrent);
    if (records.size() == size_of_unknown) faults->MakeUnknown(false);
    CommitAnswer answer = store_.Commit(batch);
    if (answer.fate == CommitAnswer::Fate::kStored) {
      times.insert(times.end(), records.samples.times().begin(), records.samples.times().end());
      threads.push_back(std::this_thread::get_id());
      sizes.push_back(records.size());
      for (const std::int64_t time_ms : TimesOf(rows)) task_times.push_back(time_ms);
    }
    return answer;
  }
  void FallBackToStored(const RecordBatch& settled) noexcept override {
    settled_sizes.push_back(settled.size());
  }
  void CountQueued(const RecordBatch& queued) noexcept override {
    queued_sizes.push_back(queued.size());
  }

  std::shared_ptr<Faults> faults = std::make_shared<Faults>();
  std::int64_t first_commit = 0;
  std::size_t size_of_unknown = 0;  // of the group whose fate is to be unknown
  // Read after the queue has answered or closed.
  std::vector<std::int64_t> times;
  std::vector<std::thread::id> threads;  // that committed
  std::vector<std::size_t> sizes;        // of the groups that were stored
  Times task_times;                      // of the rows that were stored with them
  std::vector<std::size_t> settled_sizes;
  std::vector<std::size_t> queued_sizes;

 private:
  FaultyStore store_{OpenMemoryStore(), faults};
};

class WriteQueueTest : public testing::Test {
 protected:
  static constexpr SessionId kSession = 3;

  explicit WriteQueueTest(const WriteQueue::Limits& limits = {})
      : queue_(owner_, Turn::Issue(), limits) {}
  ~WriteQueueTest() override { owner_.faults->Release(); }

  Status Write(WriteAnswer answer, const std::vector<TagSample>& records,
               SessionId session = kSession) {
    return Send(answer, records, session).status;
  }
  Status WriteWithTasks(const std::vector<TagSample>& records, std::vector<RowChange> tasks) {
    return Send(kDurable, records, 0, tasks).status;
  }
  WriteQueue::Outcome Send(WriteAnswer answer, const std::vector<TagSample>& records,
                           SessionId session, std::span<RowChange> rows = {}) {
    const RecordBatch batch = UnmarkedOf(records);
    const std::size_t bytes =
        batch.size() * WriteGroup::kRecordBytes + batch.samples.texts().size();
    return queue_.Write({.answer = answer, .session = session, .bytes = bytes, .rows = rows},
                        [&](RecordBatch& waiting) {
                          most_before_a_batch_ = std::max(most_before_a_batch_, waiting.size());
                          AddRange(waiting, batch, 0, batch.size());
                          waiting_records_ += batch.size();
                        });
  }
  Status WriteAt(WriteAnswer answer, std::int64_t time_ms) {
    return Write(answer, {{1, NumberAt(time_ms)}});
  }
  // Until a commit is held up; nothing waits beside it.
  bool AwaitHeld() {
    const bool is_held = owner_.faults->AwaitHeld();
    waiting_records_ = 0;
    return is_held;
  }
  // Has the queue's thread busy with a commit, so that what follows waits behind it.
  void HoldWithOneRecord(std::int64_t time_ms = 1) {
    owner_.faults->Hold();
    EXPECT_TRUE(WriteAt(kQueued, time_ms).ok());
    EXPECT_TRUE(AwaitHeld());
  }
  // Until so many records wait beside those that are being committed.
  bool AwaitRecords(std::size_t count) {
    return Eventually([&] { return waiting_records_ == count; });
  }

  StoreOwner owner_;
  std::atomic<std::size_t> waiting_records_ = 0;  // admitted since the last AwaitHeld
  std::size_t most_before_a_batch_ = 0;  // that waited in a group when one was admitted to it
  WriteQueue queue_;
};

TEST_F(WriteQueueTest, StoresABatchBeforeADurableAnswer) {
  EXPECT_TRUE(Write(kDurable, {{1, NumberAt(10)}, {2, NumberAt(11)}}).ok());
  EXPECT_EQ(owner_.times, (Times{10, 11}));
}

TEST_F(WriteQueueTest, AnswersAQueuedBatchBeforeItIsStored) {
  HoldWithOneRecord();
  EXPECT_TRUE(WriteAt(kQueued, 2).ok());
  EXPECT_EQ(waiting_records_, 1U);
  EXPECT_TRUE(owner_.sizes.empty());
}

TEST_F(WriteQueueTest, CommitsWaitingBatchesTogetherAndInOrder) {
  HoldWithOneRecord(1);
  EXPECT_TRUE(Write(kQueued, {{1, NumberAt(2)}, {1, NumberAt(3)}}).ok());
  std::thread durable([&] { EXPECT_TRUE(WriteAt(kDurable, 4).ok()); });
  EXPECT_TRUE(AwaitRecords(3));
  EXPECT_TRUE(WriteAt(kQueued, 5).ok());
  owner_.faults->Release();
  durable.join();
  queue_.Close();
  EXPECT_EQ(owner_.times, (Times{1, 2, 3, 4, 5}));
  EXPECT_EQ(owner_.sizes, (Sizes{1, 4}));
}

TEST_F(WriteQueueTest, HasACallerWhoWaitsCommitWhenNobodyElseDoes) {
  EXPECT_TRUE(WriteAt(kDurable, 1).ok());
  EXPECT_EQ(owner_.threads, std::vector{std::this_thread::get_id()});
}

TEST_F(WriteQueueTest, HasNoCallerCommitWhoDoesNotWait) {
  EXPECT_TRUE(WriteAt(kQueued, 1).ok());
  queue_.Close();
  ASSERT_EQ(owner_.threads.size(), 1U);
  EXPECT_NE(owner_.threads.front(), std::this_thread::get_id());
}

TEST_F(WriteQueueTest, LeavesToItsThreadWhatCameWhileACallerCommitted) {
  owner_.faults->Hold();
  std::thread committing([&] { EXPECT_TRUE(WriteAt(kDurable, 1).ok()); });
  const std::thread::id committing_id = committing.get_id();
  EXPECT_TRUE(AwaitHeld());
  std::thread waiting([&] { EXPECT_TRUE(WriteAt(kDurable, 2).ok()); });
  const std::thread::id waiting_id = waiting.get_id();
  EXPECT_TRUE(AwaitRecords(1));
  EXPECT_TRUE(WriteAt(kQueued, 3).ok());
  owner_.faults->Release();
  committing.join();
  waiting.join();
  queue_.Close();
  EXPECT_EQ(owner_.times, (Times{1, 2, 3}));
  ASSERT_EQ(owner_.threads.size(), 2U);
  EXPECT_EQ(owner_.threads[0], committing_id);
  EXPECT_NE(owner_.threads[1], committing_id);
  EXPECT_NE(owner_.threads[1], waiting_id);
}

TEST_F(WriteQueueTest, ClosesOnlyOnceACallerWhoCommitsIsDone) {
  owner_.faults->Hold();
  std::thread committing([&] { EXPECT_TRUE(WriteAt(kDurable, 1).ok()); });
  EXPECT_TRUE(AwaitHeld());
  std::atomic<bool> is_closed = false;
  std::thread closing([&] {
    queue_.Close();
    is_closed = true;
  });
  EXPECT_TRUE(Eventually([&] { return Write(kQueued, {}).code() == ZR3_ERR_NOT_CONNECTED; }));
  EXPECT_FALSE(is_closed);
  owner_.faults->Release();
  closing.join();
  EXPECT_EQ(owner_.times, Times{1});
  committing.join();
}

TEST_F(WriteQueueTest, StoresNothingForABatchOfWhichNothingWasAdmitted) {
  EXPECT_TRUE(Write(kDurable, {}).ok());
  queue_.Close();
  EXPECT_TRUE(owner_.sizes.empty());
}

TEST_F(WriteQueueTest, PassesOnWhatAdmissionThrows) {
  EXPECT_THROW((void)queue_.Write({}, [](auto&) { throw std::bad_alloc(); }), std::bad_alloc);
  EXPECT_TRUE(WriteAt(kDurable, 10).ok());
  EXPECT_EQ(owner_.times, Times{10});
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
      *code = Write(answer, {{1, NumberAt(time_ms)}}).code();
    });
    EXPECT_TRUE(Eventually([&] { return has_begun.load(); }));
    for (int chances = 20'000; chances > 0; --chances) std::this_thread::yield();
    EXPECT_EQ(waiting_records_, waiting);
    return caller;
  }
};

TEST_F(BoundedQueueTest, MakesCallersWaitWhileItHoldsAsManyRecordsAsItMay) {
  HoldWithOneRecord(1);
  EXPECT_TRUE(Write(kQueued, {{1, NumberAt(2)}, {1, NumberAt(3)}}).ok());
  EXPECT_TRUE(Write(kQueued, {{1, NumberAt(4)}, {1, NumberAt(5)}}).ok());
  EXPECT_EQ(waiting_records_, 4U);
  ZR3_STATUS code = ZR3_ERR_INTERNAL;
  std::thread blocked = WriteWhileItIsFull(kQueued, 6, &code);
  owner_.faults->Release();
  blocked.join();
  queue_.Close();
  EXPECT_EQ(code, ZR3_OK);
  EXPECT_LT(most_before_a_batch_, kMaxRecords);
  EXPECT_EQ(owner_.times, (Times{1, 2, 3, 4, 5, 6}));
}

TEST_F(BoundedQueueTest, MakesCallersWaitWhileItHoldsAsManyBytesAsItMay) {
  HoldWithOneRecord(1);
  const std::string text(2500, 'x');
  EXPECT_TRUE(Write(kQueued, {{1, TextAt(2, text)}, {1, TextAt(2, text)}}).ok());
  ZR3_STATUS code = ZR3_ERR_INTERNAL;
  std::thread blocked = WriteWhileItIsFull(kDurable, 3, &code);
  owner_.faults->Release();
  blocked.join();
  EXPECT_EQ(code, ZR3_OK);
  EXPECT_EQ(most_before_a_batch_, 0U);
  EXPECT_EQ(owner_.times, (Times{1, 2, 2, 3}));
}

TEST_F(BoundedQueueTest, TakesABatchGreaterThanItsBounds) {
  EXPECT_TRUE(Write(kDurable, NumbersAt(1, Times(100, 7))).ok());
  EXPECT_EQ(owner_.times.size(), 100U);
}

TEST_F(BoundedQueueTest, RefusesThoseWhoWaitForRoomWhenItCloses) {
  HoldWithOneRecord(1);
  EXPECT_TRUE(Write(kQueued, NumbersAt(1, Times(3, 2))).ok());
  ZR3_STATUS code = ZR3_OK;
  std::thread blocked = WriteWhileItIsFull(kQueued, 3, &code);
  std::thread closing([&] { queue_.Close(); });
  blocked.join();
  EXPECT_EQ(code, ZR3_ERR_NOT_CONNECTED);
  owner_.faults->Release();
  closing.join();
  EXPECT_EQ(owner_.times, (Times{1, 2, 2, 2}));
}

// ---- groups ----

TEST_F(WriteQueueTest, LetsASmallBatchThatIsWaitedForNotWaitForWhatComesBehindIt) {
  const std::size_t many = 4 * WriteGroup::kMoreBytes / WriteGroup::kRecordBytes;
  HoldWithOneRecord(1);
  std::thread waiting([&] { EXPECT_TRUE(WriteAt(kDurable, 2).ok()); });
  EXPECT_TRUE(AwaitRecords(1));
  EXPECT_TRUE(WriteAt(kQueued, 3).ok());
  EXPECT_TRUE(Write(kQueued, NumbersAt(1, Times(many, 4))).ok());
  EXPECT_TRUE(WriteAt(kQueued, 5).ok());
  owner_.faults->Release();
  waiting.join();
  queue_.Close();
  // The one after it is small enough to come along; those behind make a group of their own.
  EXPECT_EQ(owner_.sizes, (Sizes{1, 2, many + 1}));
  EXPECT_EQ(owner_.times.back(), 5);
}

TEST_F(WriteQueueTest, CommitsWhatComesBehindAGreatBatchThatIsWaitedForWithIt) {
  const std::size_t many = 4 * WriteGroup::kMoreBytes / WriteGroup::kRecordBytes;
  HoldWithOneRecord(1);
  std::thread waiting([&] { EXPECT_TRUE(Write(kDurable, NumbersAt(1, Times(many, 2))).ok()); });
  EXPECT_TRUE(AwaitRecords(many));
  EXPECT_TRUE(Write(kQueued, NumbersAt(1, Times(many, 3))).ok());
  owner_.faults->Release();
  waiting.join();
  queue_.Close();
  EXPECT_EQ(owner_.sizes, (Sizes{1, 2 * many}));
}

TEST_F(WriteQueueTest, KeepsTheOrderOfBatchesAndChangesThroughManyGroups) {
  const std::size_t many = 2 * WriteGroup::kMoreBytes / WriteGroup::kRecordBytes;
  HoldWithOneRecord(1);
  std::size_t seen = 0;
  std::vector<std::thread> callers;
  for (std::int64_t round = 0; round < 3; ++round) {
    const std::size_t before = waiting_records_;
    callers.emplace_back([&, round] { EXPECT_TRUE(WriteAt(kDurable, 10 * round + 2).ok()); });
    EXPECT_TRUE(AwaitRecords(before + 1));
    EXPECT_TRUE(Write(kQueued, NumbersAt(1, Times(many, 10 * round + 3))).ok());
  }
  std::thread changing([&] {
    EXPECT_TRUE(queue_
                    .Run([&](Turn&) {
                      seen = owner_.times.size();
                      return Status();
                    })
                    .ok());
  });
  owner_.faults->Release();
  for (std::thread& caller : callers) caller.join();
  changing.join();
  queue_.Close();
  EXPECT_EQ(seen, 1 + 3 * (many + 1));
  EXPECT_TRUE(std::is_sorted(owner_.times.begin(), owner_.times.end()));
  EXPECT_EQ(owner_.times.size(), 1 + 3 * (many + 1));
}

// ---- failures ----

TEST_F(WriteQueueTest, AnswersTheStoresStatusToTheWaitingCaller) {
  owner_.faults->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(WriteAt(kDurable, 10).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(owner_.settled_sizes, Sizes{1});
  EXPECT_TRUE(queue_.TellLost(kSession).ok());
  EXPECT_TRUE(WriteAt(kDurable, 11).ok());
  EXPECT_EQ(owner_.times, Times{11});
}

TEST_F(WriteQueueTest, TriesTheBatchesOfARefusedGroupOneByOne) {
  owner_.faults->FailCommitsOf(9, ZR3_ERR_STORAGE_FULL);
  HoldWithOneRecord(1);
  Status good;
  Status bad;
  std::thread good_caller([&] { good = WriteAt(kDurable, 2); });
  EXPECT_TRUE(AwaitRecords(1));
  std::thread bad_caller([&] { bad = Write(kDurable, {{1, NumberAt(3)}, {9, NumberAt(3)}}); });
  EXPECT_TRUE(AwaitRecords(3));
  EXPECT_TRUE(WriteAt(kQueued, 4).ok());
  owner_.faults->Release();
  good_caller.join();
  bad_caller.join();
  queue_.Close();
  EXPECT_TRUE(good.ok());
  EXPECT_EQ(bad.code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(owner_.times, (Times{1, 2, 4}));
  EXPECT_TRUE(queue_.TellLost(kSession).ok());
}

// ---- rows ----

TEST_F(WriteQueueTest, CommitsRowsWithTheRecordsOfTheirBatch) {
  EXPECT_TRUE(WriteWithTasks({{1, NumberAt(10)}}, {TaskAt(1), TaskAt(2)}).ok());
  EXPECT_TRUE(WriteAt(kDurable, 11).ok());
  EXPECT_EQ(owner_.task_times, (Times{1, 2})) << "and not with what comes behind it";
  EXPECT_EQ(owner_.times, (Times{10, 11}));
}

TEST_F(WriteQueueTest, StoresNoRowsOfABatchOfWhichNothingWasAdmitted) {
  EXPECT_TRUE(WriteWithTasks({}, {TaskAt(1)}).ok());
  EXPECT_TRUE(WriteAt(kDurable, 11).ok());
  EXPECT_EQ(owner_.task_times, Times{});
}

TEST_F(WriteQueueTest, TriesEachBatchOfARefusedGroupWithItsOwnRows) {
  owner_.faults->FailCommitsOf(9, ZR3_ERR_STORAGE_FULL);
  HoldWithOneRecord(1);
  Status good;
  Status bad;
  Status last;
  std::thread good_caller([&] { good = WriteWithTasks({{1, NumberAt(2)}}, {TaskAt(1)}); });
  EXPECT_TRUE(AwaitRecords(1));
  std::thread bad_caller([&] { bad = WriteWithTasks({{9, NumberAt(3)}}, {TaskAt(2), TaskAt(3)}); });
  EXPECT_TRUE(AwaitRecords(2));
  std::thread last_caller([&] { last = WriteWithTasks({{7, NumberAt(4)}}, {TaskAt(4)}); });
  EXPECT_TRUE(AwaitRecords(3));
  owner_.faults->Release();
  for (std::thread* caller : {&good_caller, &bad_caller, &last_caller}) caller->join();
  EXPECT_TRUE(good.ok() && last.ok());
  EXPECT_EQ(bad.code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(owner_.times, (Times{1, 2, 4}));
  EXPECT_EQ(owner_.task_times, (Times{1, 4}));
}

// ---- lost batches ----

TEST_F(WriteQueueTest, KeepsTheFirstFailureThatNobodyWaitedForUntilItIsTaken) {
  HoldWithOneRecord(1);
  owner_.faults->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL, Faults::kForever);
  EXPECT_TRUE(WriteAt(kQueued, 2).ok());
  owner_.faults->Release();
  EXPECT_EQ(WriteAt(kDurable, 3).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(queue_.TellLost(kSession).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_TRUE(queue_.TellLost(kSession).ok());
}

TEST_F(WriteQueueTest, TellsItsOwnerOfARefusalWithWhatStillWaits) {
  owner_.faults->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  HoldWithOneRecord(1);
  EXPECT_TRUE(Write(kQueued, {{1, NumberAt(2)}, {1, NumberAt(3)}}).ok());
  owner_.faults->Release();
  queue_.Close();
  EXPECT_EQ(owner_.settled_sizes, Sizes{1});
  EXPECT_EQ(owner_.queued_sizes, Sizes{2});
}

TEST_F(WriteQueueTest, TellsALostBatchToTheSessionThatSentItAndToNoOther) {
  HoldWithOneRecord(1);
  owner_.faults->FailCommitsOf(9, ZR3_ERR_STORAGE_FULL);
  EXPECT_TRUE(Write(kQueued, {{9, NumberAt(2)}}, 5).ok());
  EXPECT_TRUE(Write(kQueued, {{9, NumberAt(3)}}, 7).ok());
  EXPECT_TRUE(Write(kQueued, {{1, NumberAt(4)}}, 6).ok());
  owner_.faults->Release();
  EXPECT_TRUE(Send(kDurable, {{1, NumberAt(5)}}, 6).lost.ok());
  EXPECT_TRUE(Send(kQueued, {{1, NumberAt(6)}}, 5).lost.ok()) << "only who waits is told";
  const WriteQueue::Outcome told = Send(kDurable, {{1, NumberAt(7)}}, 5);
  EXPECT_TRUE(told.status.ok());
  EXPECT_EQ(told.lost.code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_TRUE(Send(kDurable, {{1, NumberAt(8)}}, 5).lost.ok());
  EXPECT_EQ(Send(kDurable, {}, 7).lost.code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_TRUE(queue_.TellAnyLost().ok());
}

TEST_F(WriteQueueTest, TriesNoBatchAloneWhenTheFateOfTheGroupIsUnknown) {
  HoldWithOneRecord(1);
  owner_.size_of_unknown = 2;
  const int calls_before = owner_.faults->calls(Faults::Call::kCommit);
  Status first;
  std::thread caller([&] { first = WriteAt(kDurable, 2); });
  EXPECT_TRUE(AwaitRecords(1));
  EXPECT_TRUE(WriteAt(kQueued, 3).ok());
  owner_.faults->Release();
  caller.join();
  queue_.Close();
  EXPECT_EQ(first.code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(queue_.TellLost(kSession).code(), ZR3_ERR_STORAGE_FAILED);
  // That of the one record, which was held up before it was counted, and that of the group.
  EXPECT_EQ(owner_.faults->calls(Faults::Call::kCommit), calls_before + 2);
  EXPECT_EQ(owner_.times, Times{1});
}

TEST_F(WriteQueueTest, SurvivesAnExceptionOfItsOwner) {
  owner_.faults->ThrowOnCommit();
  EXPECT_EQ(WriteAt(kDurable, 10).code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_TRUE(WriteAt(kDurable, 11).ok());
}

// ---- changes ----

TEST_F(WriteQueueTest, CarriesOutAChangeAfterWhatWasQueuedBefore) {
  EXPECT_TRUE(WriteAt(kQueued, 1).ok());
  EXPECT_TRUE(WriteAt(kQueued, 2).ok());
  Times seen;
  EXPECT_TRUE(queue_
                  .Run([&](Turn&) {
                    seen = owner_.times;
                    return Status();
                  })
                  .ok());
  EXPECT_EQ(seen, (Times{1, 2}));
}

TEST_F(WriteQueueTest, AnswersTheStatusOfAChange) {
  EXPECT_EQ(queue_.Run([](Turn&) { return Status(ZR3_ERR_TAG_EXISTS, "a"); }).code(),
            ZR3_ERR_TAG_EXISTS);
  EXPECT_EQ(queue_.Run([](Turn&) -> Status { throw std::runtime_error("b"); }).code(),
            ZR3_ERR_INTERNAL);
  EXPECT_TRUE(queue_.Run([](Turn&) { return Status(); }).ok());
}

TEST_F(WriteQueueTest, AdmitsNothingFromAPauseUntilTheChangeIsOver) {
  std::atomic<bool> is_answered = false;
  std::thread writing;
  EXPECT_TRUE(queue_
                  .Run([&](Turn& turn) {
                    queue_.PauseAdmission(turn);
                    std::atomic<bool> has_begun = false;
                    writing = std::thread([&] {
                      has_begun = true;
                      EXPECT_TRUE(WriteAt(kQueued, 1).ok());
                      is_answered = true;
                    });
                    EXPECT_TRUE(Eventually([&] { return has_begun.load(); }));
                    for (int chances = 20'000; chances > 0; --chances) std::this_thread::yield();
                    EXPECT_FALSE(is_answered);
                    EXPECT_EQ(waiting_records_, 0U);
                    return Status();
                  })
                  .ok());
  writing.join();
  queue_.Close();
  EXPECT_EQ(owner_.times, Times{1});
}

// ---- want of memory ----

// A change that is too large for std::function to keep in place.
struct LargeChange {
  std::array<std::int64_t, 64> bytes{};
  Status operator()(Turn&) const {
    return std::string(100, 'x').empty() ? DatabaseClosed() : Status();
  }
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
  const WriteQueue::ChangeFunction change = LargeChange();
  for (const auto lack : {ShortMemory::Lack::kOne, ShortMemory::Lack::kRest}) {
    for (std::uint64_t nth = 1;; ++nth) {
      ZR3_STATUS code;
      {
        const ShortMemory memory(nth, lack);
        code = CodeOf([&] { return queue_.Run(change); });
      }
      EXPECT_TRUE(queue_.Run(change).ok());
      EXPECT_TRUE(WriteAt(kDurable, 10).ok());
      if (ShortMemory::Failed() == 0) break;
      EXPECT_EQ(code, ZR3_ERR_OUT_OF_MEMORY) << "request " << nth;
    }
  }
}

TEST_F(WriteQueueTest, AnswersAChangeThatThrowsWhileThereIsNoMemory) {
  for (const bool is_want_of_memory : {true, false}) {
    std::optional<ShortMemory> memory;
    const Status status = queue_.Run([&](Turn&) -> Status {
      const std::runtime_error fault("a cause");
      memory.emplace(1);
      if (is_want_of_memory) throw std::bad_alloc();
      throw fault;
    });
    memory.reset();
    EXPECT_EQ(status.code(), is_want_of_memory ? ZR3_ERR_OUT_OF_MEMORY : ZR3_ERR_INTERNAL);
    EXPECT_TRUE(queue_.Run([](Turn&) { return Status(); }).ok());
  }
}

// ---- the end ----

TEST_F(WriteQueueTest, StoresWhatIsQueuedWhenItCloses) {
  HoldWithOneRecord(1);
  for (std::int64_t time_ms = 2; time_ms <= 50; ++time_ms) {
    EXPECT_TRUE(WriteAt(kQueued, time_ms).ok());
  }
  std::thread closing([&] { queue_.Close(); });
  owner_.faults->Release();
  closing.join();
  ASSERT_EQ(owner_.times.size(), 50U);
  for (std::size_t i = 0; i < 50; ++i) EXPECT_EQ(owner_.times[i], static_cast<int>(i) + 1);
}

TEST_F(WriteQueueTest, RefusesEverythingOnceItIsClosed) {
  queue_.Close();
  queue_.Close();
  bool was_asked = false;
  EXPECT_EQ(queue_.Write({.answer = kQueued}, [&](auto&) { was_asked = true; }).status.code(),
            ZR3_ERR_NOT_CONNECTED);
  EXPECT_FALSE(was_asked);
  EXPECT_EQ(queue_.Run([](Turn&) { return Status(); }).code(), ZR3_ERR_NOT_CONNECTED);
}

}  // namespace
}  // namespace zervane
