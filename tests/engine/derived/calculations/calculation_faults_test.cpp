#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "engine/derived/calculations/calculation_news.h"
#include "tests/engine/derived/calculations/calculation_database.h"
#include "tests/engine/short_memory.h"

// Live calculations when more waits than is meant to, and when there is too little memory.
namespace zervane {
namespace {

using Database = CalculationDatabase;

TEST(CalculationNewsTest, WhenVeryManyValuesWaitTheNewestCommitsAreTakenForOne) {
  constexpr std::int64_t kTags = 64;
  constexpr std::int64_t kFit = CalculationNewsQueue::kMostValues / kTags;  // so many commits
  Database database;
  std::vector<TagId> tags;
  std::string sum;
  for (std::int64_t i = 0; i < kTags; ++i) {
    tags.push_back(database.AddPoint("p" + std::to_string(i)));
    sum += (i == 0 ? "'p" : "+'p") + std::to_string(i) + "'";
  }
  const TagId c = database.Add(Database::Notified("c", sum));
  const auto write = [&](std::int64_t commit) {
    std::vector<TagSample> records;
    for (const TagId tag : tags) {
      records.push_back({tag, Database::At(commit * 1000, static_cast<double>(commit))});
    }
    database.Write(records);
  };
  for (std::int64_t commit = 1; commit <= kFit + 50; ++commit) write(commit);
  EXPECT_EQ(database.Unfollowed(), tags);
  database.Work();
  std::string expected;
  for (std::int64_t commit = 1; commit <= kFit + 50; ++commit) {
    // Those in between were joined, one after the other, to the one before the last.
    if (commit >= kFit - 1 && commit < kFit + 49) continue;
    expected += (expected.empty() ? "" : " ") + std::to_string(commit) + "=" +
                std::to_string(commit * kTags);
  }
  EXPECT_EQ(database.Records(c), expected);
  EXPECT_TRUE(database.Unfollowed().empty());
}

CalculationNewsQueue::List NewsOf(TagId first, TagId last, double number) {
  CalculationNewsQueue::List news(1);
  for (TagId tag = first; tag <= last; ++tag) {
    news.front().values.push_back({.tag = tag, .number = number, .time_ms = 1});
  }
  return news;
}

// Who writes waits for it, so that it must not cost what all that wait would.
TEST(CalculationNewsTest, TakingCommitsForOneCostsWhatTheNewestOneHas) {
  constexpr TagId kTags = CalculationNewsQueue::kMostValues;
  CalculationNewsQueue queue;
  for (auto news = NewsOf(1, kTags, 1); !news.empty();) queue.Append(news);
  double number = 2;
  const auto append = [&](TagId tag) {
    queue.Compact();
    auto news = NewsOf(tag, tag, number++);
    queue.Append(news);
  };
  append(7);
  append(kTags + 1);
  for (const TagId tag : {TagId{7}, TagId{8}, kTags + 1, kTags + 2}) {
    append(tag);
    const ShortMemory memory(20);
    EXPECT_NO_THROW(queue.Compact()) << tag;
  }
  const CalculationNewsQueue::List all = queue.TakeAll();
  ASSERT_EQ(all.size(), 1U);
  const std::vector<OperandValue>& values = all.front().values;
  ASSERT_EQ(values.size(), kTags + 2);
  for (const OperandValue& value : values) {
    const double expected = value.tag == 7           ? 4
                            : value.tag == 8         ? 5
                            : value.tag == kTags + 1 ? 6
                            : value.tag == kTags + 2 ? 7
                                                     : 1;
    EXPECT_EQ(value.number, expected) << value.tag;
  }
}

// What could not be joined waits as it was, and is joined the next time.
TEST(CalculationNewsTest, NothingIsLostWhenThereIsTooLittleMemoryToTakeCommitsForOne) {
  constexpr TagId kTags = CalculationNewsQueue::kMostValues;
  bool failed = true;
  for (std::uint64_t nth = 1; failed && nth < 40; ++nth) {
    CalculationNewsQueue queue;
    for (const auto& [first, last] : {std::pair(TagId{1}, kTags), std::pair(TagId{5}, TagId{9})}) {
      auto news = NewsOf(first, last, last);
      queue.Append(news);
    }
    queue.Compact();
    auto news = NewsOf(kTags - 1, kTags + 3, 2);
    queue.Append(news);
    {
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      try {
        queue.Compact();
      } catch (const std::bad_alloc&) {
      }
    }
    failed = ShortMemory::Failed() > 0;
    queue.Compact();
    const CalculationNewsQueue::List all = queue.TakeAll();
    ASSERT_EQ(all.size(), 1U);
    ASSERT_EQ(all.front().values.size(), kTags + 3);
    for (const OperandValue& value : all.front().values) {
      const bool is_second = value.tag >= 5 && value.tag <= 9;
      EXPECT_EQ(value.number, value.tag >= kTags - 1 ? 2 : is_second ? 9 : kTags) << value.tag;
    }
  }
  EXPECT_FALSE(failed) << "or not every request failed once";
}

// Two operands, what is computed from them, and what follows from that.
class ShortOfMemory : public testing::Test {
 protected:
  void SetUp() override { database_.Write(z_, 0, 1); }

  // What is done with too little memory; it may fail, and change nothing then.
  void Deed(std::int64_t at_ms) {
    (void)database_.Do(CorrectRecord{.id = z_, .sample = Database::At(0, 7)});
    Write(
        {{x_, Database::At(at_ms, static_cast<double>(at_ms))}, {y_, Database::At(at_ms - 5, 1)}});
    Write({{x_, Database::At(at_ms, 7)}});
    (void)database_.engine().Work();
    (void)database_.Do(CorrectRecord{.id = z_, .sample = Database::At(0, 8)});
    Write({{y_, Database::At(at_ms - 5, 2)}});
    (void)database_.engine().Work();
  }
  void Write(const std::vector<TagSample>& records) {
    WriteSamples write{
        .batch = {}, .order = WriteOrder::kAnyOrder, .answer = WriteAnswer::kDurable};
    for (const TagSample& record : records) write.batch.Add(record.tag, record.sample);
    (void)database_.Do(write);
  }

  void WithEveryRequestFailing(ShortMemory::Lack lack, const std::function<void()>& check) {
    bool failed = true;
    for (std::uint64_t nth = 1; failed && !HasFailure(); ++nth) {
      SCOPED_TRACE(nth);
      ASSERT_LT(nth, 20'000U);
      at_ms_ += 10;
      try {
        const ShortMemory memory(nth, lack, ShortMemory::Whose::kAllThreads);
        Deed(at_ms_);
      } catch (const std::bad_alloc&) {
      }
      failed = ShortMemory::Failed() > 0;
      check();
    }
  }

  // The newest result is that of the newest values.
  void ExpectFollowed() {
    database_.Work();
    const auto x = database_.disk().current(x_);
    const auto y = database_.disk().current(y_);
    if (!x || !y) return;
    const auto sum = database_.disk().current(sum_);
    const auto behind = database_.disk().current(behind_);
    ASSERT_TRUE(sum && behind);
    EXPECT_EQ(sum->time_ms, x->time_ms);
    EXPECT_EQ(sum->value.float64(), x->value.float64() + y->value.float64());
    EXPECT_EQ(behind->time_ms, x->time_ms);
    EXPECT_EQ(behind->value.float64(), 2 * sum->value.float64());
    EXPECT_TRUE(database_.Unfollowed().empty());
  }

  Database database_;
  const TagId x_ = database_.AddPoint("x");
  const TagId y_ = database_.AddPoint("y");
  const TagId z_ = database_.AddPoint("z");  // which is corrected, and has no weight
  const TagId sum_ = database_.Add(Database::Notified("sum", "'x' + 'y' + 0 * 'z'"));
  const TagId behind_ = database_.Add(Database::Notified("behind", "'sum' * 2"));
  std::int64_t at_ms_ = 10;
};

TEST_F(ShortOfMemory, EveryValueThatIsStoredIsFollowedWhicheverRequestFails) {
  WithEveryRequestFailing(ShortMemory::Lack::kOne, [&] { ExpectFollowed(); });
}

TEST_F(ShortOfMemory, EveryValueThatIsStoredIsFollowedAlsoWhenTheDatabaseIsClosedThen) {
  WithEveryRequestFailing(ShortMemory::Lack::kRest, [&] {
    database_.Close();
    database_.Open();
    ExpectFollowed();
  });
}

}  // namespace
}  // namespace zervane
