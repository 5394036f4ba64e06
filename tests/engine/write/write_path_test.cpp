#include "engine/write/write_path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "engine/storage/table.h"
#include "tests/engine/records.h"
#include "tests/engine/short_memory.h"
#include "tests/engine/storage/faulty_store.h"
#include "tests/engine/storage/store_driver.h"
#include "tests/engine/write/tasks.h"

namespace zervane {
namespace {

using storage::Faults;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr TagId kTag = 1;
constexpr TagId kOther = 2;
constexpr WriteAnswer kQueued = WriteAnswer::kQueued;
constexpr WriteAnswer kDurable = WriteAnswer::kDurable;

Caller CallerOf(SessionId session) { return {.user = "admin", .session = session, .from = "here"}; }

class WritePathTest : public testing::Test {
 protected:
  WritePathTest() {
    storage::StoreDriver driver(*below_);
    for (const TagId tag : {kTag, kOther}) {
      driver.PutTag(storage::TagNamed(tag, "T" + std::to_string(tag)));
      tags_.Reserve(tag);
      tags_.Put(tag, {});
    }
  }
  ~WritePathTest() override { faults_->Release(); }

  void Open() {
    path_ = std::make_unique<WritePath>(store_, tags_, [this] { return now_ms_.load(); });
    const Status status = path_->Start(Turn::Issue());
    ASSERT_TRUE(status.ok()) << status.message();
  }

  WriteSamples::Reply Write(const std::vector<TagSample>& records, WriteAnswer answer = kDurable,
                            SessionId session = 1, WriteOrder order = WriteOrder::kInOrder) {
    const Result<WriteSamples::Reply> reply = path_->Write(
        CallerOf(session), {.batch = BatchOf(records), .order = order, .answer = answer});
    EXPECT_TRUE(reply.ok()) << reply.status().message();
    return reply.ok() ? *reply : WriteSamples::Reply{};
  }
  std::int32_t WriteAt(TagId tag, std::int64_t time_ms, WriteAnswer answer = kDurable) {
    return Write({{tag, NumberAt(time_ms)}}, answer).status;
  }
  Status Retype(TagId tag, TagType type) {
    return path_->Change(
        [=, this](Turn& turn, StoreBatch& batch) -> Status {
          const Result<bool> holds = path_->HoldsRecords(turn, tag);
          if (!holds.ok()) return holds.status();
          if (*holds) return {ZR3_ERR_TAG_HAS_RECORDS, {}};
          Table<Tag>::Put(storage::TagNamed(tag, "RETYPED"), batch);
          return {};
        },
        [=, this](Turn&) { tags_.Put(tag, {.type = type}); });
  }
  Status RemoveTag(TagId tag) {
    return path_->Change(
        [=](Turn&, StoreBatch& batch) {
          Table<Tag>::Remove(std::int64_t{tag}, batch);
          return Status();
        },
        [=, this](Turn&) { tags_.Remove(tag); });
  }
  std::optional<Sample> Current(TagId tag) { return path_->current_values().Find(tag); }
  std::vector<Sample> Archive(TagId tag) { return storage::ReadAll(*below_, tag); }

  std::shared_ptr<Faults> faults_ = std::make_shared<Faults>();
  std::shared_ptr<Store> below_ = OpenMemoryStore();
  storage::FaultyStore store_{below_, faults_};
  std::atomic<std::int64_t> now_ms_ = 5000;
  TagIndex tags_;
  std::unique_ptr<WritePath> path_;
};

class OpenWritePathTest : public WritePathTest {
 protected:
  OpenWritePathTest() { Open(); }
};

using Codes = std::vector<std::int32_t>;

// ---- writing ----

TEST_F(OpenWritePathTest, MakesADurableBatchReadable) {
  const WriteSamples::Reply reply = Write({{kTag, NumberAt(10)}, {kOther, NumberAt(0)}});
  EXPECT_EQ(reply.status, ZR3_OK);
  EXPECT_THAT(reply.codes, IsEmpty());
  EXPECT_EQ(Current(kTag), NumberAt(10));
  EXPECT_EQ(Current(kOther), NumberAt(5000));
  EXPECT_THAT(Archive(kTag), ElementsAre(NumberAt(10)));
}

TEST_F(OpenWritePathTest, RefusesSingleRecordsAndCarriesOutTheOthers) {
  const WriteSamples::Reply reply =
      Write({{kTag, NumberAt(10)}, {kTag, NumberAt(9)}, {99, NumberAt(1)}, {kTag, NumberAt(11)}});
  EXPECT_EQ(reply.status, ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(reply.codes, (Codes{ZR3_OK, ZR3_ERR_OUT_OF_ORDER, ZR3_ERR_TAG_NOT_FOUND, ZR3_OK}));
  EXPECT_THAT(Archive(kTag), ElementsAre(NumberAt(10), NumberAt(11)));
}

TEST_F(OpenWritePathTest, AnswersTheStatusOfTheStoreForAllThatWasNotRefused) {
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL, 2);
  const WriteSamples::Reply some = Write({{kTag, NumberAt(10)}, {kTag, NumberAt(9)}});
  EXPECT_EQ(some.status, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(some.codes, (Codes{ZR3_ERR_STORAGE_FULL, ZR3_ERR_OUT_OF_ORDER}));
  const WriteSamples::Reply all = Write({{kTag, NumberAt(10)}});
  EXPECT_EQ(all.codes, Codes{ZR3_ERR_STORAGE_FULL});
  EXPECT_EQ(Current(kTag), std::nullopt);
  EXPECT_EQ(WriteAt(kTag, 5), ZR3_OK) << "order is judged by what is stored";
}

TEST_F(OpenWritePathTest, RefusesABatchWithoutATagForEachSample) {
  WriteSamples write = {.batch = BatchOf({{kTag, NumberAt(10)}})};
  write.batch.tags.push_back(kTag);
  EXPECT_EQ(path_->Write(CallerOf(1), write).code(), ZR3_ERR_INVALID_COUNT);
  EXPECT_EQ(Current(kTag), std::nullopt);
}

TEST_F(OpenWritePathTest, ChangesNothingWhenATextLiesOutsideOfItsBatch) {
  tags_.Put(kTag, {.type = TagType::kString});
  WriteSamples write = {.batch = BatchOf({{kTag, TextAt(10, "on")}, {kTag, TextAt(11, "off")}})};
  using Place = std::pair<std::size_t, std::size_t>;
  for (const auto& [offset, length] : std::vector<Place>{{1000, 3}, {6, 0}, {3, 3}, {0, 6}}) {
    write.batch.samples.values()[1] = SampleColumns::PlaceOf(offset, length);
    EXPECT_EQ(path_->Write(CallerOf(1), write).code(), ZR3_ERR_INVALID_ARGUMENT) << offset;
  }
  write.batch.samples.values()[1] = SampleColumns::PlaceOf(2, 3);
  write.batch.samples.SetTexts({});
  EXPECT_EQ(path_->Write(CallerOf(1), write).code(), ZR3_ERR_INVALID_ARGUMENT) << "no texts at all";
  EXPECT_EQ(Write({{kTag, TextAt(5, "x")}, {kTag, TextAt(6, "")}}).status, ZR3_OK);
}

TEST_F(OpenWritePathTest, JudgesOrderAgainstCurrentValuesOfAnEarlierRun) {
  EXPECT_EQ(WriteAt(kTag, 10), ZR3_OK);
  Open();
  EXPECT_EQ(Current(kTag), NumberAt(10));
  EXPECT_EQ(WriteAt(kTag, 9), ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(WriteAt(kTag, 11), ZR3_OK);
}

TEST_F(WritePathTest, DoesNotStartOnACurrentValueThatCouldNotHaveBeenAccepted) {
  storage::StoreDriver(*below_).Append({{kTag, TextAt(10, "on")}});
  path_ = std::make_unique<WritePath>(store_, tags_, [] { return 1; });
  EXPECT_EQ(path_->Start(Turn::Issue()).code(), ZR3_ERR_STORAGE_DAMAGED);
}

TEST_F(WritePathTest, DoesNotStartWhenTheStoreCannotTellHowFarItIs) {
  for (const Faults::Call call : {Faults::Call::kLease, Faults::Call::kReadCurrent}) {
    faults_->Fail(call, ZR3_ERR_STORAGE_FAILED);
    path_ = std::make_unique<WritePath>(store_, tags_, [] { return 1; });
    EXPECT_EQ(path_->Start(Turn::Issue()).code(), ZR3_ERR_STORAGE_FAILED);
    EXPECT_TRUE(path_->Close().ok());
  }
}

// ---- a commit whose fate is unknown ----

TEST_F(OpenWritePathTest, RefusesAllThatWouldChangeSomethingAtOnceAfterACommitOfUnknownFate) {
  faults_->MakeUnknown(true);
  EXPECT_EQ(WriteAt(kTag, 10), ZR3_ERR_STORAGE_FAILED);
  faults_->Settle();
  for (const WriteAnswer answer : {kQueued, kDurable}) {
    const WriteSamples::Reply reply = Write({{kTag, NumberAt(11)}, {kOther, NumberAt(11)}}, answer);
    EXPECT_EQ(reply.status, ZR3_ERR_STORAGE_FAILED);
    EXPECT_EQ(reply.codes, (Codes{ZR3_ERR_STORAGE_FAILED, ZR3_ERR_STORAGE_FAILED}));
    EXPECT_EQ(Write({}, answer).status, ZR3_OK) << "it would change nothing";
  }
  EXPECT_EQ(RemoveTag(kTag).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_TRUE(path_->Close().ok()) << "nothing was lost after it was answered";
}

// ---- lost batches ----

TEST_F(OpenWritePathTest, TellsALostBatchWithTheNextDurableWriteOfTheSameSession) {
  faults_->Hold();
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Write({{kTag, NumberAt(10)}}, kQueued, 1).status, ZR3_OK);
  ASSERT_TRUE(faults_->AwaitHeld());
  faults_->Release();
  EXPECT_EQ(Write({{kTag, NumberAt(20)}}, kDurable, 2).status, ZR3_OK);
  EXPECT_TRUE(path_->TellLost(2).ok());
  const WriteSamples::Reply told = Write({{kTag, NumberAt(30)}}, kDurable, 1);
  EXPECT_EQ(told.status, ZR3_ERR_STORAGE_FULL);
  EXPECT_THAT(told.codes, IsEmpty()) << "its own records are stored";
  EXPECT_EQ(Write({{kTag, NumberAt(40)}}, kDurable, 1).status, ZR3_OK);
  EXPECT_TRUE(path_->Close().ok());
}

TEST_F(OpenWritePathTest, TellsALostBatchAtTheEndOfItsSessionOrOfAll) {
  faults_->FailCommitsOf(kTag, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Write({{kTag, NumberAt(10)}}, kQueued, 1).status, ZR3_OK);
  EXPECT_EQ(Write({{kTag, NumberAt(10)}}, kQueued, 2).status, ZR3_OK);
  EXPECT_EQ(Write({{kOther, NumberAt(10)}}, kDurable, 3).status, ZR3_OK);
  EXPECT_EQ(path_->TellLost(1).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(path_->Close().code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_TRUE(path_->Close().ok());
}

// ---- changes ----

TEST_F(OpenWritePathTest, AcceptsNoRecordWhileTheStoreChangesATagsType) {
  faults_->Hold();
  std::thread retyping([&] { EXPECT_TRUE(Retype(kTag, TagType::kString).ok()); });
  ASSERT_TRUE(faults_->AwaitHeld());
  std::atomic<bool> is_answered = false;
  WriteSamples::Reply reply;
  std::thread writing([&] {
    reply = Write({{kTag, NumberAt(10)}}, kQueued);
    is_answered = true;
  });
  for (int chances = 20'000; chances > 0 && !is_answered; --chances) std::this_thread::yield();
  EXPECT_FALSE(is_answered);
  faults_->Release();
  retyping.join();
  writing.join();
  EXPECT_EQ(reply.codes, Codes{ZR3_ERR_TYPE_MISMATCH});
}

TEST_F(OpenWritePathTest, KnowsOfEveryRecordThatATagHolds) {
  EXPECT_EQ(WriteAt(kTag, 10), ZR3_OK);
  EXPECT_EQ(Retype(kTag, TagType::kString).code(), ZR3_ERR_TAG_HAS_RECORDS);
  faults_->Hold();
  std::thread committing([&] { EXPECT_EQ(WriteAt(kTag, 11), ZR3_OK); });
  ASSERT_TRUE(faults_->AwaitHeld());
  EXPECT_EQ(WriteAt(kOther, 10, kQueued), ZR3_OK);
  ZR3_STATUS retyped = ZR3_OK;
  std::thread retyping([&] { retyped = Retype(kOther, TagType::kString).code(); });
  faults_->Release();
  committing.join();
  retyping.join();
  EXPECT_EQ(retyped, ZR3_ERR_TAG_HAS_RECORDS);
}

TEST_F(WritePathTest, KnowsOfRecordsOfATagWhoseCurrentValueIsLost) {
  storage::StoreDriver(*below_).Append(
      {{kTag, NumberAt(10), kArchive}, {kOther, NumberAt(10), kHeld}});
  Open();
  EXPECT_EQ(Retype(kTag, TagType::kString).code(), ZR3_ERR_TAG_HAS_RECORDS);
  EXPECT_EQ(Retype(kOther, TagType::kString).code(), ZR3_ERR_TAG_HAS_RECORDS);
}

TEST_F(OpenWritePathTest, LetsNoRecordOfATagThatGoesReachTheStore) {
  EXPECT_EQ(WriteAt(kTag, 1), ZR3_OK);
  faults_->Hold();
  std::thread committing([&] { EXPECT_EQ(WriteAt(kOther, 1), ZR3_OK); });
  ASSERT_TRUE(faults_->AwaitHeld());
  std::thread removing([&] { EXPECT_TRUE(RemoveTag(kTag).ok()); });
  for (std::int64_t time_ms = 2; time_ms < 100; ++time_ms) (void)WriteAt(kTag, time_ms, kQueued);
  faults_->Release();
  committing.join();
  removing.join();
  EXPECT_EQ(Write({{kTag, NumberAt(200)}}).codes, Codes{ZR3_ERR_TAG_NOT_FOUND});
  EXPECT_TRUE(path_->Close().ok());
  EXPECT_EQ(Current(kTag), std::nullopt);
  EXPECT_THAT(Archive(kTag), IsEmpty());
  EXPECT_EQ(faults_->orphans(), 0);
}

// ---- what the database itself writes ----

TEST_F(OpenWritePathTest, WritesAsTheSystemInAnyOrderWithRows) {
  EXPECT_EQ(WriteAt(kTag, 10), ZR3_OK);
  const std::int64_t before = below_->Lease(LeaseWish::kLook)->last_commit;
  const auto reply = path_->WriteAsSystem(
      BatchOf({{kTag, NumberAt(5)}, {kOther, NumberAt(7)}, {kTag, NumberAt(12)}}),
      {TaskAt(1), TaskAt(2), TaskRemoval(1)});
  ASSERT_TRUE(reply.ok());
  EXPECT_EQ(reply->status, ZR3_OK);
  EXPECT_THAT(reply->codes, IsEmpty());
  EXPECT_EQ(below_->Lease(LeaseWish::kLook)->last_commit, before + 1) << "in one batch";
  EXPECT_THAT(Archive(kTag), ElementsAre(NumberAt(5), NumberAt(10), NumberAt(12)));
  EXPECT_EQ(Current(kTag), NumberAt(12));
  EXPECT_EQ(Current(kOther), NumberAt(7));
  EXPECT_THAT(TasksIn(*below_), ElementsAre(2));
}

TEST_F(OpenWritePathTest, StoresNothingOfTheSystemsBatchWhenARecordIsRefused) {
  const auto reply = path_->WriteAsSystem(
      BatchOf({{kTag, NumberAt(10)}, {99, NumberAt(10)}, {kOther, TextAt(10, "text")}}),
      {TaskAt(1)});
  ASSERT_TRUE(reply.ok());
  EXPECT_EQ(reply->status, ZR3_ERR_SOME_RECORDS_FAILED);
  EXPECT_EQ(reply->codes, (Codes{ZR3_OK, ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_TYPE_MISMATCH}));
  EXPECT_THAT(TasksIn(*below_), IsEmpty());
  EXPECT_EQ(Current(kTag), std::nullopt);
  EXPECT_EQ(WriteAt(kTag, 9), ZR3_OK) << "the record at 10 was never accepted";
  EXPECT_THAT(TasksIn(*below_), IsEmpty()) << "nor do its rows go with the next batch";
}

TEST_F(OpenWritePathTest, AnswersTheStoresRefusalOfTheSystemsBatch) {
  faults_->Fail(Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL);
  const auto reply = path_->WriteAsSystem(BatchOf({{kTag, NumberAt(10)}}), {TaskAt(1)});
  ASSERT_TRUE(reply.ok());
  EXPECT_EQ(reply->status, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(reply->codes, Codes{ZR3_ERR_STORAGE_FULL});
  EXPECT_THAT(TasksIn(*below_), IsEmpty());
  EXPECT_EQ(WriteAt(kTag, 9), ZR3_OK);
}

TEST_F(OpenWritePathTest, StoresTheSystemsBatchWholeOrNotAtAllWhicheverRequestForMemoryFails) {
  std::int64_t time_ms = 1;
  bool has_failed = true;
  for (std::uint64_t nth = 1; has_failed; ++nth) {
    const SampleBatch batch = BatchOf({{kTag, NumberAt(time_ms)}});
    bool is_stored = false;
    try {
      std::vector<RowChange> rows = {TaskAt(time_ms), TaskRemoval(time_ms - 1)};
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      const auto reply = path_->WriteAsSystem(batch, std::move(rows));
      is_stored = reply.ok() && reply->status == ZR3_OK;
    } catch (const std::bad_alloc&) {
    }
    has_failed = ShortMemory::Failed() > 0;
    const std::vector<std::int64_t> tasks = TasksIn(*below_);
    EXPECT_EQ(std::ranges::count(tasks, time_ms), is_stored ? 1 : 0) << "request " << nth;
    EXPECT_EQ(Archive(kTag).size(), static_cast<std::size_t>(time_ms - (is_stored ? 0 : 1)));
    if (is_stored) ++time_ms;
  }
  EXPECT_GT(time_ms, 1);
}

TEST_F(OpenWritePathTest, TakesRecordsOfItsOwnTagsFromTheDatabaseAlone) {
  tags_.Put(kOther, {.is_own = true});
  for (const WriteOrder order : {WriteOrder::kInOrder, WriteOrder::kAnyOrder}) {
    const auto reply = Write({{kTag, NumberAt(10)}, {kOther, NumberAt(10)}}, kDurable, 1, order);
    EXPECT_EQ(reply.status, ZR3_ERR_SOME_RECORDS_FAILED);
    EXPECT_EQ(reply.codes, (Codes{ZR3_OK, ZR3_ERR_INVALID_TAG_CLASS}));
  }
  EXPECT_EQ(Current(kOther), std::nullopt);
  EXPECT_EQ(path_->WriteAsSystem(BatchOf({{kOther, NumberAt(10)}}), {})->status, ZR3_OK);
  EXPECT_EQ(Current(kOther), NumberAt(10));
  const auto in_order =
      path_->Write(Caller::System(), {.batch = BatchOf({{kOther, NumberAt(11)}})});
  EXPECT_EQ(in_order->status, ZR3_OK);
  ASSERT_TRUE(path_->Close().ok());
  path_ = nullptr;
  Open();
  EXPECT_EQ(Current(kOther), NumberAt(11)) << "what is stored of such a tag is sound";
}

// ---- the end ----

TEST_F(OpenWritePathTest, StoresWhatIsQueuedAndEndsTheFeedWhenItCloses) {
  auto consumer = *path_->feed().Register(1000);
  consumer->WatchAllTags(true);
  for (std::int64_t time_ms = 1; time_ms <= 100; ++time_ms) {
    EXPECT_EQ(WriteAt(kTag, time_ms, kQueued), ZR3_OK);
  }
  EXPECT_TRUE(path_->Close().ok());
  EXPECT_EQ(Archive(kTag).size(), 100U);
  std::size_t heard = 0;
  while (const auto delivery = consumer->Await()) heard += delivery->group->tags.size();
  EXPECT_EQ(heard, 100U);
  EXPECT_EQ(path_->Write(CallerOf(1), {.batch = BatchOf({{kTag, NumberAt(200)}})}).code(),
            ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(RemoveTag(kTag).code(), ZR3_ERR_NOT_CONNECTED);
}

}  // namespace
}  // namespace zervane
