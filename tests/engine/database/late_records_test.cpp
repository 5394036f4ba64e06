#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "engine/embedded.h"
#include "tests/engine/records.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"
#include "tests/support/database_client.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr std::int64_t kTimes = 3'000;
constexpr int kWriters = 2;
constexpr int kReaders = 3;
constexpr TagId kTag = 1;

// The i-th time at which there may be a record: most are seconds apart, some months.
std::int64_t TimeAt(std::int64_t i) { return 1000 * i + i / 50 * 5'000'000'000 + 1; }

std::int64_t IndexOf(std::int64_t time_ms) {
  const std::int64_t before = time_ms / (5'000'000'000 + 50'000);
  return 50 * before + (time_ms - TimeAt(50 * before)) / 1000;
}

// A time is written once, and some of them once more. The value tells the time and which of the
// two it is, so that a torn, foreign or outdated record shows.
double ValueAt(std::int64_t i, int version) { return static_cast<double>(10 * i + version); }

using Versions = std::vector<int>;  // by index of time; 0: no record

// How far the writers are, so that a reader knows what it must and what it may find.
class Progress {
 public:
  void Raise(std::int64_t i, int version) {
    const std::lock_guard lock(mutex_);
    auto& known = versions_[static_cast<std::size_t>(i)];
    known = std::max(known, version);
  }
  Versions Snapshot() const {
    const std::lock_guard lock(mutex_);
    return versions_;
  }

 private:
  mutable std::mutex mutex_;
  Versions versions_ = Versions(kTimes, 0);
};

std::int64_t CountWithin(const Versions& versions, std::int64_t first, std::int64_t last) {
  return std::count_if(versions.begin() + first, versions.begin() + last + 1,
                       [](int version) { return version > 0; });
}

struct ReadersCase {
  const char* name;
  SqliteStoreOptions options;
};

class LateRecords : public testing::TestWithParam<ReadersCase> {
 protected:
  LateRecords() {
    auto opened =
        OpenEmbedded(storage::MustOpen(folder_.path(), GetParam().options), SystemClock());
    if (!opened.ok()) std::abort();
    database_ = *std::move(opened);
    EXPECT_EQ(*database_->AddTag(storage::TagNamed(0, "TAG"), {}), kTag);
  }

  // Writes the times of one writer in random order, in batches, some of them answered when queued.
  // What is written a second time is a correction now and then.
  void WriteLate(unsigned seed, int writer) {
    std::mt19937 random(seed);
    std::vector<std::int64_t> order;
    for (std::int64_t i = writer; i < kTimes; i += kWriters) {
      order.push_back(i);
      if (random() % 5 == 0) order.push_back(i);
    }
    std::ranges::shuffle(order, random);
    std::vector<int> versions(kTimes, 0);
    std::vector<std::pair<std::int64_t, int>> unanswered;
    for (auto next = order.begin(); next != order.end();) {
      if (int& version = versions[static_cast<std::size_t>(*next)]; version > 0) {
        Correct(*next, ++version);
        for (const auto& [i, answered] : unanswered) answered_.Raise(i, answered);
        unanswered.clear();
        ++next;
        continue;
      }
      std::vector<TagSample> batch;
      for (auto n = 1 + random() % 10; n > 0 && next != order.end(); --n, ++next) {
        const int version = ++versions[static_cast<std::size_t>(*next)];
        batch.push_back({kTag, NumberAt(TimeAt(*next), ValueAt(*next, version))});
        begun_.Raise(*next, version);
        unanswered.emplace_back(*next, version);
      }
      const bool waits = random() % 3 == 0 || next == order.end();
      std::vector<std::int32_t> codes(batch.size());
      const Status status =
          database_->Write(std::move(batch), WriteOrder::kAnyOrder,
                           waits ? WriteAnswer::kDurable : WriteAnswer::kQueued, codes);
      EXPECT_TRUE(status.ok()) << status.message();
      if (!waits) continue;
      for (const auto& [i, version] : unanswered) answered_.Raise(i, version);
      unanswered.clear();
    }
  }

  // After all that was queued before.
  void Correct(std::int64_t i, int version) {
    begun_.Raise(i, version);
    const Status status = database_->CorrectRecord(kTag, NumberAt(TimeAt(i), ValueAt(i, version)));
    EXPECT_TRUE(status.ok()) << status.message();
    answered_.Raise(i, version);
    ++corrections_;
  }

  // One read of a random range. Nothing that was answered before it is missing from its part of the
  // answer, nothing is there twice, and nothing is there that was not written by its end.
  void ReadOnce(std::mt19937& random) {
    auto first = static_cast<std::int64_t>(random() % kTimes);
    auto last = static_cast<std::int64_t>(random() % kTimes);
    if (first > last) std::swap(first, last);
    const TimeRange range{TimeAt(first), TimeAt(last)};
    const Versions before = answered_.Snapshot();
    if (random() % 3 == 0) {
      const Result<std::int64_t> count = database_->CountRecords(kTag, range);
      ASSERT_TRUE(count.ok()) << count.status().message();
      EXPECT_GE(*count, CountWithin(before, first, last));
      EXPECT_LE(*count, CountWithin(begun_.Snapshot(), first, last));
      return;
    }
    const bool forward = random() % 2 == 0;
    const std::size_t limit = random() % 2 == 0 ? SIZE_MAX : 1 + random() % 100;
    Result<std::vector<Sample>> records = database_->ReadRecords(
        kTag, range, forward ? Direction::kForward : Direction::kBackward, limit);
    ASSERT_TRUE(records.ok()) << records.status().message();
    const Versions after = begun_.Snapshot();
    ASSERT_LE(records->size(), limit);
    if (!forward) std::ranges::reverse(*records);
    if (records->size() == limit) {  // nothing is said of what lies beyond
      (forward ? last : first) = IndexOf((forward ? records->back() : records->front()).time_ms);
    }
    ExpectEachOnce(*records, first, last, before, after);
  }

  static void ExpectEachOnce(const std::vector<Sample>& records, std::int64_t first,
                             std::int64_t last, const Versions& before, const Versions& after) {
    auto record = records.begin();
    for (std::int64_t i = first; i <= last; ++i) {
      const int least = before[static_cast<std::size_t>(i)];
      const bool is_there = record != records.end() && record->time_ms == TimeAt(i);
      ASSERT_TRUE(is_there || least == 0) << "time " << i << " is missing";
      if (!is_there) continue;
      const double value = record->value.float64();
      EXPECT_GE(value, ValueAt(i, std::max(least, 1))) << "time " << i;
      EXPECT_LE(value, ValueAt(i, after[static_cast<std::size_t>(i)])) << "time " << i;
      ++record;
    }
    ASSERT_TRUE(record == records.end()) << record->time_ms << " ms is there twice, out of order "
                                         << "or was never written";
  }

  storage::TempFolder folder_;
  DatabaseClient database_;
  Progress begun_;
  Progress answered_;
  std::atomic<int> corrections_ = 0;
};

INSTANTIATE_TEST_SUITE_P(
    Bounds, LateRecords,
    testing::Values(ReadersCase{"Default", {}}, ReadersCase{"Tiny", storage::kTinyOptions},
                    ReadersCase{"AChunkPerAppend", {.pending_bytes = 1, .chunk_records = 5}}),
    CaseName());

TEST_P(LateRecords, AreSeenOnceAtAnyInstantOnceTheyAreAnswered) {
  const Seed seed;
  std::atomic<int> writing = kWriters;
  std::vector<std::thread> threads;
  for (int writer = 0; writer < kWriters; ++writer) {
    threads.emplace_back([this, &seed, writer, &writing] {
      WriteLate(seed.value() + static_cast<unsigned>(writer), writer);
      --writing;
    });
  }
  for (unsigned reader = 0; reader < kReaders; ++reader) {
    threads.emplace_back([this, &seed, reader, &writing] {
      std::mt19937 random(seed.value() + 100 + reader);
      do {
        ReadOnce(random);
      } while (writing > 0 && !HasFailure());
    });
  }
  for (std::thread& thread : threads) thread.join();
  const auto all = database_->ReadRecords(kTag, {}, Direction::kForward, SIZE_MAX);
  const Versions written = begun_.Snapshot();
  ASSERT_TRUE(all.ok()) << all.status().message();
  EXPECT_EQ(std::ssize(*all), kTimes);
  ExpectEachOnce(*all, 0, kTimes - 1, written, written);
  EXPECT_GT(corrections_, 0);
}

}  // namespace
}  // namespace zervane
