#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/embedded.h"
#include "tests/engine/records.h"
#include "tests/engine/storage/support.h"
#include "tests/os/allocation_counter.h"
#include "tests/support/case_name.h"
#include "tests/support/database_client.h"

// Reading from a long archive takes memory for what is returned, whatever the archive's length.
namespace zervane {
namespace {

constexpr std::int64_t kChunkRecords = 8;
constexpr std::int64_t kBatchRecords = 10'000;
constexpr TagId kTag = 1;

// What may be taken beyond the answer: for a connection and a chunk, and for SQLite's cache, which
// a count fills with the pages of its index. To hold no more than 40 bytes of each chunk of the
// long archive would take more.
constexpr std::int64_t kBeyondRecords = 1 << 20;
constexpr std::int64_t kBeyondCount = 3 << 20;
constexpr std::int64_t kShortArchive = 10'000 * kChunkRecords;
constexpr std::int64_t kLongArchive = 10 * kShortArchive;
static_assert(40 * kLongArchive / kChunkRecords > kBeyondCount);

std::int64_t TimeOf(std::int64_t i) { return 1000 * (i + 1); }

DatabaseClient Open(const std::filesystem::path& folder) {
  const SqliteStoreOptions options{.chunk_records = kChunkRecords};
  auto opened = OpenEmbedded(storage::MustOpen(folder, options), SystemClock());
  EXPECT_TRUE(opened.ok()) << opened.status().message();
  return *std::move(opened);
}

// Makes a database of one tag with so many records, all of them in chunks.
void MakeArchive(const std::filesystem::path& folder, std::int64_t records) {
  auto database = Open(folder);
  EXPECT_EQ(*database->AddTag(storage::TagNamed(0, "TAG"), {}), kTag);
  std::vector<std::int32_t> codes(kBatchRecords);
  for (std::int64_t i = 0; i < records;) {
    std::vector<TagSample> batch;
    for (; std::ssize(batch) < kBatchRecords; ++i) batch.push_back({kTag, NumberAt(TimeOf(i))});
    const Status status =
        database->Write(std::move(batch), WriteOrder::kInOrder, WriteAnswer::kQueued, codes);
    EXPECT_TRUE(status.ok()) << status.message();
  }
  EXPECT_TRUE(database->Close().ok());
}

struct ReadCase {
  const char* name;
  // Performs the read on an archive of so many records, and answers what it may take in bytes.
  std::int64_t (*read)(DatabaseClient& database, std::int64_t records);
};

// Reads and expects as many records, the first of which is the i-th of the archive.
std::int64_t Read(DatabaseClient& database, TimeRange range, Direction direction, std::size_t limit,
                  std::int64_t i) {
  const auto records = database.ReadRecords(kTag, range, direction, limit);
  EXPECT_TRUE(records.ok() && records->size() == limit && records->front() == NumberAt(TimeOf(i)));
  return static_cast<std::int64_t>(limit * sizeof(Sample)) + kBeyondRecords;
}

std::int64_t Count(DatabaseClient& database, TimeRange range, std::int64_t expected) {
  const auto count = database.CountRecords(kTag, range);
  EXPECT_TRUE(count.ok() && *count == expected);
  return kBeyondCount;
}

// Of all records but three at each end, all of which are 1.
std::int64_t Calculate(DatabaseClient& database, std::int64_t records, StatisticType type,
                       double expected, const char* filter = "",
                       SampleSource source = SampleSource::kRecords) {
  CalculateStatistic operation;
  operation.id = kTag;
  operation.request.type = type;
  operation.request.regions = {{TimeOf(3), TimeOf(records - 4), true, true}};
  operation.request.filter = filter;
  operation.request.source = source;
  operation.request.period_s = 1;
  const auto value = database.Do(operation);
  EXPECT_TRUE(value.ok() && *value == expected);
  return kBeyondCount;
}

// At instants all over the archive, in the middle between records.
std::int64_t Interpolate(DatabaseClient& database, std::int64_t records, std::int64_t instants) {
  InterpolateTag operation;
  operation.id = kTag;
  for (std::int64_t i = 0; i < instants; ++i) {
    operation.times_ms.push_back(TimeOf(i * 7919 % (records - 1)) + 500);
  }
  const auto reply = database.Do(operation);
  EXPECT_TRUE(reply.ok() && std::ranges::count(reply->codes, ZR3_OK) == instants);
  return instants * 40 + kBeyondCount;
}

constexpr ReadCase kReads[] = {
    {"FirstTen",
     [](auto& database, auto) { return Read(database, {}, Direction::kForward, 10, 0); }},
    {"LastTen",
     [](auto& database, auto n) { return Read(database, {}, Direction::kBackward, 10, n - 1); }},
    {"FirstThousand",
     [](auto& database, auto) { return Read(database, {}, Direction::kForward, 1000, 0); }},
    {"LastThousand",
     [](auto& database, auto n) { return Read(database, {}, Direction::kBackward, 1000, n - 1); }},
    {"ThousandFromTheMiddle",
     [](auto& database, auto n) {
       return Read(database, {TimeOf(n / 2), kMaxTimeMs}, Direction::kForward, 1000, n / 2);
     }},
    {"ThousandBeforeTheMiddle",
     [](auto& database, auto n) {
       return Read(database, {0, TimeOf(n / 2)}, Direction::kBackward, 1000, n / 2);
     }},
    {"CountOfAll", [](auto& database, auto n) { return Count(database, {}, n); }},
    {"CountOfPartsOfChunksAndAllBetween",
     [](auto& database, auto n) {
       return Count(database, {TimeOf(3), TimeOf(n - 4)}, n - 6);
     }},
    {"Area",
     [](auto& database, auto n) {
       return Calculate(database, n, StatisticType::kIntegral, static_cast<double>(n - 7));
     }},
    {"StatisticOfFilteredRecords",
     [](auto& database, auto n) {
       return Calculate(database, n, StatisticType::kCount, static_cast<double>(n - 6),
                        "value == 1");
     }},
    {"StatisticOfSamples",
     [](auto& database, auto n) {
       return Calculate(database, n, StatisticType::kSum, static_cast<double>(n - 6), "",
                        SampleSource::kLinear);
     }},
    {"TenInstants", [](auto& database, auto n) { return Interpolate(database, n, 10); }},
    {"ThousandInstants", [](auto& database, auto n) { return Interpolate(database, n, 1000); }},
};

class BoundedRead : public testing::TestWithParam<ReadCase> {
 protected:
  struct Archive {
    std::int64_t records;
    storage::TempFolder folder;
  };

  static void SetUpTestSuite() {
    archives_ = new std::vector<std::unique_ptr<Archive>>;
    for (const std::int64_t records : {kShortArchive, kLongArchive}) {
      archives_->push_back(std::make_unique<Archive>());
      archives_->back()->records = records;
      MakeArchive(archives_->back()->folder.path(), records);
    }
  }
  static void TearDownTestSuite() { delete std::exchange(archives_, nullptr); }

  static inline std::vector<std::unique_ptr<Archive>>* archives_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Archive, BoundedRead, testing::ValuesIn(kReads), CaseName());

TEST_P(BoundedRead, TakesMemoryForItsAnswerAlone) {
  for (const auto& archive : *archives_) {
    SCOPED_TRACE(std::to_string(archive->records) + " records");
    auto database = Open(archive->folder.path());
    const os::PeakMemory peak;
    const std::int64_t bound = GetParam().read(*database, archive->records);
    EXPECT_GT(peak.bytes(), 0) << "or nothing is measured";
    EXPECT_LT(peak.bytes(), bound);
  }
}

}  // namespace
}  // namespace zervane
