#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "engine/guard.h"
#include "engine/storage/sqlite/pending.h"
#include "engine/storage/sqlite/sqlite.h"
#include "tests/engine/short_memory.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"

// A request for memory that fails costs the call that made it, which says so, and nothing else.
namespace zervane::storage {
namespace {

constexpr TagId kTag = 1;
constexpr TagId kOtherTag = 2;

using Batch = std::vector<MarkedSample>;

struct CallCase {
  const char* name;
  // Makes the call of the round, or of its batch.
  std::function<Status(Store&, std::int64_t round, const Batch& batch)> make;
  // Whether it was carried out; none where it changes nothing.
  std::function<bool(Store&, std::int64_t round)> is_done;
};

bool HasTag(Store& store, TagId id) { return std::ranges::count(Tags(store), id, &Tag::id) > 0; }

TagId TagOf(std::int64_t round) { return static_cast<TagId>(100 + round); }

Batch BatchOf(std::int64_t round) {
  Batch batch;
  for (std::int64_t i = 1; i <= 7; ++i) batch.push_back(Record(kTag, 1000 * round + i, 1));
  return batch;
}

std::int64_t CountOf(Store& store, std::int64_t round, TagId tag = kTag) {
  return CountRange(store, tag, {1000 * round, 1000 * round + 999});
}

const std::vector<CallCase>& Calls() {
  static const std::vector<CallCase> calls = {
      {"AddTag",
       [](Store& store, std::int64_t round, const Batch&) {
         return PutTag(store, TagNamed(TagOf(1'000'000 + round), "NEW"));
       },
       [](Store& store, std::int64_t round) { return HasTag(store, TagOf(1'000'000 + round)); }},
      {"RemoveTag",
       [](Store& store, std::int64_t round, const Batch&) {
         return RemoveTag(store, TagOf(round));
       },
       [](Store& store, std::int64_t round) { return !HasTag(store, TagOf(round)); }},
      {"Append",
       [](Store& store, std::int64_t, const Batch& batch) { return Append(store, batch); },
       [](Store& store, std::int64_t round) { return CountOf(store, round) == 7; }},
      {"Read",
       [](Store& store, std::int64_t, const Batch&) {
         return TryRead(store, kOtherTag, {}, Direction::kForward, 100).status();
       },
       nullptr},
      {"Count",
       [](Store& store, std::int64_t, const Batch&) {
         return TryCount(store, kOtherTag, {15, 85}).status();
       },
       nullptr},
      {"ReadCurrent",
       [](Store& store, std::int64_t, const Batch&) {
         return store.ReadCurrent(kTag, kOtherTag).status();
       },
       nullptr},
      {"Rows",
       [](Store& store, std::int64_t, const Batch&) {
         return store.Rows({.table = TableId::kTag}, 100, [](RowView) { return true; });
       },
       nullptr},
      {"ReadHeld",
       [](Store& store, std::int64_t, const Batch&) { return store.ReadHeld(kOtherTag).status(); },
       nullptr},
  };
  return calls;
}

void ExpectAnswerOrNoMemory(const Status& status) {
  EXPECT_TRUE(status.ok() || status.code() == ZR3_ERR_OUT_OF_MEMORY)
      << status.code() << " " << status.message();
}

class FailingMemory : public testing::Test {
 protected:
  FailingMemory() {
    const auto store = MustOpen(folder_.path());
    for (const TagId tag : {kTag, kOtherTag}) {
      EXPECT_TRUE(PutTag(*store, TagNamed(tag, "TAG")).ok());
    }
    Batch batch;
    for (std::int64_t i = 1; i <= 10; ++i) batch.push_back(Record(kOtherTag, 10 * i, 0));
    batch.push_back(Record(kOtherTag, 110, 0, kCurrent | kHeld));
    EXPECT_TRUE(Append(*store, batch).ok());
  }

  TempFolder folder_;
};

class FailedRequests : public FailingMemory, public testing::WithParamInterface<CallCase> {
 protected:
  // Makes the call again and again, on a store that was opened a moment ago and must make
  // everything that it keeps for later calls: each time some of the requests fail, the first one
  // later than before, until there are too few requests for any to fail.
  void ExpectToCostTheCallAlone(ShortMemory::Lack lack) {
    const bool removes = std::string(GetParam().name) == "RemoveTag";
    std::int64_t round = 1;
    for (bool failed = true; failed && !HasFailure(); ++round) {
      SCOPED_TRACE("request " + std::to_string(round));
      const auto store = MustOpen(folder_.path());
      if (removes) {
        EXPECT_TRUE(PutTag(*store, TagNamed(TagOf(round), "OLD")).ok());
      }
      const Batch batch = BatchOf(round);
      Status status;
      {
        const ShortMemory memory(round, lack, ShortMemory::Whose::kAllThreads);
        status = Make(*store, round, batch);
      }
      failed = ShortMemory::Failed() > 0;
      ExpectAnswerOrNoMemory(status);
      ExpectDone(*store, round, status.ok());
      if (!status.ok()) {
        EXPECT_TRUE(GetParam().make(*store, round, batch).ok()) << "once there is memory";
      }
      ExpectDone(*store, round, true);
    }
    EXPECT_GT(round, 10) << "or hardly anything was tested";
    ExpectWholeFile(folder_.path());
  }

 private:
  // What the batch needs before the store sees it may be lacking, too; the store throws nothing.
  static Status Make(Store& store, std::int64_t round, const Batch& batch) {
    return Guarded([&] { return GetParam().make(store, round, batch); });
  }

  static void ExpectDone(Store& store, std::int64_t round, bool done) {
    const auto& is_done = GetParam().is_done;
    EXPECT_TRUE(!is_done || is_done(store, round) == done);
  }
};

INSTANTIATE_TEST_SUITE_P(Of, FailedRequests, testing::ValuesIn(Calls()), CaseName());

TEST_P(FailedRequests, CostTheCallAloneWhenItIsOne) {
  ExpectToCostTheCallAlone(ShortMemory::Lack::kOne);
}

TEST_P(FailedRequests, CostTheCallAloneWhenItIsAllFromOneOn) {
  ExpectToCostTheCallAlone(ShortMemory::Lack::kRest);
}

TEST_F(FailingMemory, CostsAnOpeningAlone) {
  for (std::int64_t n = 1; !HasFailure(); ++n) {
    SCOPED_TRACE("request " + std::to_string(n));
    {
      const ShortMemory memory(n, ShortMemory::Lack::kOne, ShortMemory::Whose::kAllThreads);
      const auto store = OpenSqliteStore(folder_.path(), {}, kTinyOptions);
      ExpectAnswerOrNoMemory(store.status());
    }
    if (ShortMemory::Failed() == 0) break;
    const auto store = MustOpen(folder_.path());
    EXPECT_EQ(CountOf(*store, 0, kOtherTag), 10);
  }
}

// Of the thread that writes it, of an append beside it, or of the close.
TEST_F(FailingMemory, CostsNoRecordWhileAGenerationIsWritten) {
  std::int64_t round = 1;
  for (bool failed = true; failed && !HasFailure(); ++round) {
    SCOPED_TRACE("request " + std::to_string(5 * round));
    auto store = MustOpen(folder_.path());
    for (std::int64_t i = 0; i < 6; ++i) {
      EXPECT_TRUE(Append(*store, BatchOf(10 * round + i)).ok()) << "as much as one generation";
    }
    Status status;
    {
      const ShortMemory memory(5 * round, ShortMemory::Lack::kOne, ShortMemory::Whose::kAllThreads);
      status = Guarded([&] { return Append(*store, BatchOf(10 * round + 6)); });
      store = nullptr;
    }
    ExpectAnswerOrNoMemory(status);
    failed = ShortMemory::Failed() > 0;
    store = MustOpen(folder_.path());
    for (std::int64_t i = 0; i < 6; ++i) EXPECT_EQ(CountOf(*store, 10 * round + i), 7);
    EXPECT_EQ(CountOf(*store, 10 * round + 6), status.ok() ? 7 : 0);
  }
  EXPECT_GT(round, 10) << "or hardly anything was tested";
  ExpectWholeFile(folder_.path());
}

// Under sanitizers the C library does not know how much is in use.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

constexpr TagId kTags = 300;

// Many records of one tag, then one of each of the others, which are new: each try gets a little
// further than the one before.
Batch ManyOfOneAndSomeOfOthers() {
  Batch batch;
  for (std::int64_t i = 1; i <= 1000; ++i) batch.push_back(Record(1, i, 0));
  for (TagId tag = 2; tag <= kTags; ++tag) batch.push_back(Record(tag, 1, 0));
  return batch;
}

// However often the n-th request of a try fails, no try keeps memory for records that others will
// bring once more.
void ExpectFailedTriesToKeepNothing(std::uint64_t nth, const std::function<Status()>& try_once) {
  constexpr std::size_t kMuch = 2 << 20;
  const std::size_t before = mallinfo2().uordblks;
  int failed = 0;
  for (bool is_done = false; !is_done && failed < 2000; failed += is_done ? 0 : 1) {
    {
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      is_done = try_once().ok();
    }
    ASSERT_LT(mallinfo2().uordblks, before + kMuch) << "after try " << failed;
  }
  EXPECT_GT(failed, 100) << "or hardly anything was tested";
}

TEST(FailedTries, OfAppendingInMemoryKeepNothing) {
  const Batch batch = ManyOfOneAndSomeOfOthers();
  const auto store = OpenMemoryStore();
  for (TagId tag = 1; tag <= kTags; ++tag) {
    EXPECT_TRUE(PutTag(*store, TagNamed(tag, std::to_string(tag))).ok());
  }
  EXPECT_TRUE(Append(*store, {batch.begin(), batch.begin() + 1000}).ok());
  StoreBatch changes;
  for (const MarkedSample& record : batch) AddTo(changes.records, record);
  changes.commit = store->Lease(LeaseWish::kLook)->last_commit + 1;
  ExpectFailedTriesToKeepNothing(4, [&] { return store->Commit(changes).status; });
}

#endif

// SQLite prepares a statement anew, which takes memory, when an index was made since.
TEST(Transaction, IsUndoneWithoutMemoryAfterOneThatMadeTheTables) {
  const TempFolder folder;
  const auto file = *Connection::Open(folder.path() / "file.db");
  {
    Transaction making(*file, Transaction::Kind::kWrite);
    EXPECT_TRUE(file->Execute("CREATE TABLE item (id INTEGER PRIMARY KEY, value INTEGER);"
                              "CREATE INDEX item_by_value ON item (value)")
                    .ok());
    EXPECT_TRUE(making.Commit().ok());
  }
  const auto insert = [&] { return Query(*file, "INSERT INTO item DEFAULT VALUES").Run(); };
  std::optional<Transaction> transaction(std::in_place, *file, Transaction::Kind::kWrite);
  EXPECT_TRUE(insert().ok());
  {
    const ShortMemory memory(1);
    transaction.reset();
  }
  {
    Transaction next(*file, Transaction::Kind::kWrite);
    EXPECT_TRUE(insert().ok());
    EXPECT_TRUE(next.Commit().ok());
  }
  Query count(*file, "SELECT count(*) FROM item");
  ASSERT_TRUE(count.Next());
  EXPECT_EQ(count.Integer(0), 1);
}

}  // namespace
}  // namespace zervane::storage
