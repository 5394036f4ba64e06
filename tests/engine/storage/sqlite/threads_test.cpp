#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"

namespace zervane::storage {
namespace {

struct OptionsCase {
  const char* name;
  SqliteStoreOptions options;
};

class ReadersBesideAWriter : public testing::TestWithParam<OptionsCase> {};

INSTANTIATE_TEST_SUITE_P(SqliteStore, ReadersBesideAWriter,
                         testing::Values(OptionsCase{"InTheJournal", {}},
                                         OptionsCase{"WithCheckpoints", kTinyOptions},
                                         OptionsCase{"WithACheckpointPerAppend",
                                                     {.pending_bytes = 1, .chunk_records = 5}}),
                         CaseName());

// The writer's records have the times 1, 2, 3 and so on, and it goes back to replace some. So a
// reader must find exactly the times 1 to some n, with n no less than was answered before it asked.
TEST_P(ReadersBesideAWriter, SeeEveryAnsweredRecordOnceAtAnyInstant) {
  constexpr int kBatches = 120;
  constexpr int kBatchRecords = 7;
  const TempFolder folder;
  const auto store = MustOpen(folder.path(), GetParam().options);
  ASSERT_TRUE(PutTag(*store, TagNamed(1, "TAG")).ok());
  std::atomic<std::int64_t> answered = 0;
  std::atomic<bool> done = false;
  std::atomic<std::int64_t> faults = 0;
  std::atomic<std::int64_t> reads = 0;

  const auto is_run = [](const std::vector<Sample>& records, std::int64_t first,
                         std::int64_t step) {
    for (const Sample& record : records) {
      if (record.time_ms != first) return false;
      first += step;
    }
    return true;
  };
  const auto read = [&] {
    do {
      const std::int64_t least = answered;
      const auto forward = TryRead(*store, 1, {}, Direction::kForward, SIZE_MAX);
      const auto backward = TryRead(*store, 1, {1, least}, Direction::kBackward, 30);
      const auto count = TryCount(*store, 1, {1, least});
      const auto current = store->ReadCurrent(1, 1);
      const bool right = forward.ok() && is_run(*forward, 1, 1) && std::ssize(*forward) >= least &&
                         backward.ok() && is_run(*backward, least, -1) &&
                         std::ssize(*backward) == std::min<std::int64_t>(least, 30) && count.ok() &&
                         *count == least && current.ok() && (least == 0 || current->size() == 1);
      if (!right) ++faults;
      ++reads;
    } while (!done);
  };

  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) readers.emplace_back(read);
  for (int batch = 0; batch < kBatches; ++batch) {
    std::vector<MarkedSample> records;
    for (int i = 1; i <= kBatchRecords; ++i) {
      records.push_back(Record(1, batch * kBatchRecords + i, batch));
    }
    records.push_back(Record(1, 1 + batch * kBatchRecords / 2, -batch));
    EXPECT_TRUE(Append(*store, records).ok());
    answered = (batch + 1) * kBatchRecords;
  }
  done = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(faults, 0) << "of " << reads << " reads";
}

}  // namespace
}  // namespace zervane::storage
