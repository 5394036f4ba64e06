#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/engine/storage/sqlite/read_faults.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"

// A disk that fails to read now and then costs calls, which say so, and no record.
namespace zervane::storage {
namespace {

namespace fs = std::filesystem;

constexpr TagId kTags = 3;
constexpr std::int64_t kRecords = 100;  // of each tag, at 10, 20, and so on

// A record whose chunk needs pages of its own, so that there are many reads.
MarkedSample LongRecord(TagId tag, std::int64_t time_ms) {
  static std::mt19937 random(1);
  MarkedSample record = Record(tag, time_ms, 0);
  std::string bytes(600, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  record.sample.type = TagType::kBlob;
  record.sample.value = bytes;
  return record;
}

using Archive = std::map<TagId, std::map<std::int64_t, Sample>>;

Archive Contents(const fs::path& folder) {
  const auto store = MustOpen(folder);
  Archive archive;
  for (TagId tag = 1; tag <= kTags; ++tag) {
    for (const Sample& record : ReadAll(*store, tag)) archive[tag][record.time_ms] = record;
  }
  return archive;
}

// What a call on a failing disk may answer.
void ExpectAnswerOrFailingDisk(const Status& status) {
  EXPECT_TRUE(status.ok() || status.code() == ZR3_ERR_STORAGE_FAILED)
      << status.code() << " " << status.message();
}

class FailingReads : public testing::Test {
 protected:
  FailingReads() {
    const auto store = MustOpen(Template());
    for (TagId tag = 1; tag <= kTags; ++tag) {
      EXPECT_TRUE(PutTag(*store, TagNamed(tag, "TAG")).ok());
      std::vector<MarkedSample> batch;
      for (std::int64_t i = 1; i <= kRecords; ++i) batch.push_back(LongRecord(tag, 10 * i));
      EXPECT_TRUE(Append(*store, batch).ok());
    }
    original_ = expected_;
  }

  fs::path Template() const { return temp_.path() / "template"; }
  fs::path Folder() const { return temp_.path() / "folder"; }

  void StartOver() {
    fs::remove_all(Folder());
    fs::copy(Template(), Folder());
    expected_ = original_;
  }

  Status Append(Store& store, const std::vector<MarkedSample>& batch) {
    Status status = storage::Append(store, batch);
    ExpectAnswerOrFailingDisk(status);
    if (!status.ok()) return status;
    for (const MarkedSample& record : batch) {
      expected_[record.tag][record.sample.time_ms] = record.sample;
    }
    return status;
  }

  // Late records that fall into many chunks, some more than one generation, and reads.
  void Use(Store& store) {
    for (int round = 0; round < 4; ++round) {
      std::vector<MarkedSample> batch;
      for (std::int64_t i = 1; i <= 15; ++i) {
        batch.push_back(LongRecord(static_cast<TagId>(1 + i % kTags), 65 * i + round));
      }
      (void)Append(store, batch);
    }
    for (TagId tag = 1; tag <= kTags; ++tag) {
      ExpectAnswerOrFailingDisk(TryRead(store, tag, {}, Direction::kForward, 1000).status());
      ExpectAnswerOrFailingDisk(TryCount(store, tag, {55, 888}).status());
      ExpectAnswerOrFailingDisk(store.ReadHeld(tag).status());
    }
    ExpectAnswerOrFailingDisk(store.ReadCurrent(1, kTags).status());
    ExpectAnswerOrFailingDisk(
        store.Rows({.table = TableId::kTag}, SIZE_MAX, [](RowView) { return true; }));
  }

  void ExpectNothingLost() {
    EXPECT_TRUE(Contents(Folder()) == expected_) << "an answered record is lost";
    ExpectWholeFile(Folder());  // with nothing set aside
  }

  TempFolder temp_;
  Archive expected_;  // all that was answered
  Archive original_;
};

struct ErrorCase {
  const char* name;
  int error;
  std::int64_t step;  // from one read that is tried to the next
};

class OneFailedRead : public FailingReads, public testing::WithParamInterface<ErrorCase> {};

INSTANTIATE_TEST_SUITE_P(Error, OneFailedRead,
                         testing::Values(ErrorCase{"Io", EIO, 1}, ErrorCase{"Range", ERANGE, 9},
                                         ErrorCase{"NoDevice", ENXIO, 9}),
                         CaseName());

// Whichever read it is: of opening, of a merge, of a reader or of closing.
TEST_P(OneFailedRead, LosesNothingThatWasAnswered) {
  std::int64_t failures = 0;
  for (std::int64_t n = 1; !HasFailure(); n += GetParam().step) {
    SCOPED_TRACE("read " + std::to_string(n));
    StartOver();
    ReadFaults faults;
    faults.Fail(GetParam().error, n, n);
    auto store = OpenSqliteStore(Folder(), {}, kTinyOptions);
    ExpectAnswerOrFailingDisk(store.status());
    if (store.ok()) {
      Use(**store);
      *store = nullptr;
    }
    const bool is_beyond_the_last = faults.failed() == 0;
    faults.Heal();
    ExpectNothingLost();
    if (is_beyond_the_last) break;
    ++failures;
  }
  EXPECT_GT(failures * GetParam().step, 100) << "or hardly anything was tested";
}

TEST_F(FailingReads, AreToldByOpeningForWhatTheyAre) {
  StartOver();
  ReadFaults faults;
  faults.Fail(EIO, 2);
  const Status status = OpenSqliteStore(Folder()).status();
  EXPECT_EQ(status.code(), ZR3_ERR_STORAGE_FAILED) << status.message();
  EXPECT_THAT(status.message(), testing::HasSubstr("Input/output error"));
  faults.Heal();
  ExpectNothingLost();
}

// What a damaged batch holds stays where it is until it is set aside; so does what was not reached.
TEST_F(FailingReads, LetAnOpeningThatFailsChangeNothing) {
  constexpr std::int64_t kBatches = 30;
  {
    const auto store = MustOpen(Template(), {});
    for (std::int64_t i = 1; i <= kBatches; ++i) {
      ASSERT_TRUE(Append(*store, {LongRecord(1, 10 * kRecords + i)}).ok());
    }
    CopyWhileOpen(Template(), Folder());
  }
  EditFile(Folder(),
           "UPDATE journal SET payload = zeroblob(20) WHERE seq = (SELECT min(seq) FROM journal)");
  const std::string kept = "SELECT (SELECT count(*) FROM journal) + (SELECT count(*) FROM damaged)";
  ReadFaults faults;
  int failed = 0;
  for (std::int64_t n = 1;; ++n) {
    faults.Fail(EIO, n, n);
    const ZR3_STATUS code = OpenSqliteStore(Folder(), {}, SqliteStoreOptions()).code();
    faults.Heal();
    if (code == ZR3_OK) break;
    ++failed;
    EXPECT_EQ(code, ZR3_ERR_STORAGE_FAILED) << "read " << n;
    ASSERT_EQ(NumberInFile(Folder(), kept), kBatches) << "read " << n;
  }
  EXPECT_GT(failed, 10) << "or hardly anything was tested";
  EXPECT_EQ(NumberInFile(Folder(), "SELECT count(*) FROM damaged"), 1);
}

TEST_F(FailingReads, DoNotKeepAGenerationFromItsChunksOnceTheyAreOver) {
  StartOver();
  ReadFaults faults;
  const auto store = MustOpen(Folder());
  std::vector<MarkedSample> batch;
  for (std::int64_t i = 1; i <= 40; ++i) batch.push_back(LongRecord(1, 10 * i + 5));
  ASSERT_TRUE(Append(*store, batch).ok());
  faults.Fail(EIO, 1);
  (void)Append(*store, {LongRecord(2, 5)});  // begins to write those before it into chunks
  ASSERT_TRUE(faults.AwaitFailed(3)) << "nobody calls, and it is tried again";
  faults.Heal();
  const std::string chunks = "SELECT sum(count) FROM chunk WHERE tag = 1";
  int looks = 0;
  while (NumberInFile(Folder(), chunks) < kRecords + 40 && looks < 1'000'000) ++looks;
  EXPECT_EQ(NumberInFile(Folder(), chunks), kRecords + 40);
}

TEST_F(FailingReads, KeepNoStoreFromClosing) {
  StartOver();
  ReadFaults faults;
  auto store = MustOpen(Folder());
  std::vector<MarkedSample> batch;
  for (std::int64_t i = 1; i <= 40; ++i) batch.push_back(LongRecord(1, 10 * i + 5));
  ASSERT_TRUE(Append(*store, batch).ok());
  faults.Fail(EIO, 1);
  (void)Append(*store, {LongRecord(2, 5)});
  store.reset();
  EXPECT_GE(faults.failed(), 1);
  faults.Heal();
  ExpectNothingLost();
}

}  // namespace
}  // namespace zervane::storage
