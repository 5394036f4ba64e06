#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/sqlite/sqlite_store.h"
#include "tests/engine/storage/store_driver.h"
#include "tests/engine/storage/support.h"
#include "tests/engine/storage/temp_folder.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

// Summaries as they stand in the file, beside what is pending, damaged, or of an earlier layout;
// and the chunk that a thread keeps.
namespace zervane::storage {
namespace {

using testing::ElementsAre;

constexpr TagId kTag = 1;
constexpr SqliteStoreOptions kSmall{
    .pending_bytes = 1'000 * kPendingRecordBytes, .chunk_records = 10, .group_chunks = 3};
// What a commit brings is in chunks when two more have been answered.
constexpr SqliteStoreOptions kAtOnce{.pending_bytes = 1, .chunk_records = 10, .group_chunks = 3};

// A run that was offered: its first and last time, and whether with statistics.
using Told = std::tuple<std::int64_t, std::int64_t, bool>;

// Keeps what is offered; looks at the records of runs without statistics, and of those that are
// told to be opened.
class Looker : public ScanVisitor {
 public:
  explicit Looker(std::function<bool(const RunSummary&)> opens = nullptr)
      : opens_(std::move(opens)) {}

  Wants Offer(const RunSummary& run) override {
    offered_.emplace_back(run.first_ms, run.last_ms, run.statistics != nullptr);
    if (run.statistics == nullptr || (opens_ && opens_(run))) return Wants::kRecords;
    count_ += run.count;
    sum_ += run.statistics->sum.Value();
    return Wants::kNext;
  }
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override {
    const RunStatistics run = StatisticsOf(records, begin, end);
    count_ += run.count;
    sum_ += run.sum.Value();
    return true;
  }

  const std::vector<Told>& offered() const { return offered_; }
  std::int64_t count() const { return count_; }
  double sum() const { return sum_; }

 private:
  const std::function<bool(const RunSummary&)> opens_;
  std::vector<Told> offered_;
  std::int64_t count_ = 0;
  double sum_ = 0;
};

class StoredSummaries : public testing::Test {
 protected:
  StoredSummaries() { Open(kSmall); }

  void Open(const SqliteStoreOptions& options) {
    store_.reset();
    store_ = MustOpen(folder_.path(), options);
    if (Tags(*store_).empty()) StoreDriver(*store_).PutTag(TagNamed(kTag, "ONE"));
  }

  // Records at 1 to `last_ms`, each of its time as value, all in chunks.
  void Fill(std::int64_t last_ms) {
    std::vector<MarkedSample> records;
    for (std::int64_t i = 1; i <= last_ms; ++i) {
      records.push_back(Record(kTag, i, static_cast<double>(i)));
    }
    Append(records);
    Open(kSmall);
  }
  void Append(const std::vector<MarkedSample>& records) { StoreDriver(*store_).Append(records); }

  std::vector<Told> Offered(TimeRange range, Direction direction = Direction::kForward) {
    Looker looker;
    EXPECT_TRUE(store_->Scan(kTag, range, direction, looker).ok());
    return looker.offered();
  }
  double Sum(TimeRange range = {}) {
    Looker looker;
    const Status status = store_->Scan(kTag, range, Direction::kForward, looker);
    EXPECT_TRUE(status.ok()) << status.message();
    return looker.sum();
  }

  TempFolder folder_;
  std::unique_ptr<Store> store_;
};

// ---- what is offered ----

TEST_F(StoredSummaries, AreOfGroupsWhereAllOfThemLieInTheRange) {
  Fill(100);
  const std::vector<Told> all{{1, 30, true}, {31, 60, true}, {61, 90, true}, {91, 100, true}};
  EXPECT_EQ(Offered({}), all);
  EXPECT_EQ(Offered({}, Direction::kBackward), std::vector<Told>(all.rbegin(), all.rend()));
  const std::vector<Told> cut{{5, 10, false}, {11, 20, true}, {21, 30, true},
                              {31, 60, true}, {61, 70, true}, {71, 75, false}};
  EXPECT_EQ(Offered({5, 75}), cut);
  EXPECT_EQ(Offered({5, 75}, Direction::kBackward), std::vector<Told>(cut.rbegin(), cut.rend()));
  EXPECT_THAT(Offered({31, 60}), ElementsAre(Told(31, 60, true)));
  EXPECT_THAT(Offered({32, 60}),
              ElementsAre(Told(32, 40, false), Told(41, 50, true), Told(51, 60, true)));
}

TEST_F(StoredSummaries, OfAGroupWhoseRecordsAreWantedAreFollowedByThoseOfItsChunks) {
  Fill(100);
  const auto opens_second = [](const RunSummary& run) { return run.first_ms == 31; };
  Looker forward(opens_second);
  EXPECT_TRUE(store_->Scan(kTag, {}, Direction::kForward, forward).ok());
  EXPECT_THAT(
      forward.offered(),
      ElementsAre(Told(1, 30, true), Told(31, 60, true), Told(31, 40, true), Told(41, 50, true),
                  Told(51, 60, true), Told(61, 90, true), Told(91, 100, true)));
  EXPECT_EQ(forward.sum(), 5050);
  Looker backward([](const RunSummary& run) { return run.last_ms == 60; });
  EXPECT_TRUE(store_->Scan(kTag, {}, Direction::kBackward, backward).ok());
  EXPECT_THAT(
      backward.offered(),
      ElementsAre(Told(91, 100, true), Told(61, 90, true), Told(31, 60, true), Told(51, 60, true),
                  Told(41, 50, true), Told(31, 40, true), Told(1, 30, true)));
  EXPECT_EQ(backward.sum(), 5050);
}

// Summed up are only those that nothing pending falls into.
TEST_F(StoredSummaries, GiveWayToRecordsThatComeLate) {
  Fill(100);
  Append({Record(kTag, 45, 1'000), Record(kTag, 101, 0)});
  const std::vector<Told> all{{1, 30, true},  {31, 40, true},  {41, 50, false},  {51, 60, true},
                              {61, 90, true}, {91, 100, true}, {101, 101, false}};
  EXPECT_EQ(Offered({}), all);
  EXPECT_EQ(Offered({}, Direction::kBackward), std::vector<Told>(all.rbegin(), all.rend()));
  EXPECT_EQ(Sum(), 5050 - 45 + 1'000);
  Open(kSmall);
  EXPECT_EQ(Offered({}).front(), Told(1, 30, true));
  EXPECT_EQ(Offered({})[1], Told(31, 60, true)) << "grouped anew";
  EXPECT_EQ(Sum(), 5050 - 45 + 1'000);
}

// Whatever is written meanwhile, by whom ever.
TEST_F(StoredSummaries, AreOfOneStateOfTheFile) {
  Fill(150);
  const auto file = *Connection::Open(folder_.path() / "zervane.db");
  for (const Direction direction : {Direction::kForward, Direction::kBackward}) {
    for (const TimeRange range : {TimeRange{}, TimeRange{5, 148}}) {
      const double expected = Sum(range);
      int offered = 0;
      Looker looker([&](const RunSummary&) {
        EXPECT_TRUE(file->Execute(offered++ == 0
                                      ? "CREATE TABLE chunks AS SELECT * FROM chunk;"
                                        "CREATE TABLE summaries AS SELECT * FROM summary;"
                                        "DELETE FROM chunk; DELETE FROM summary"
                                      : "SELECT 1")
                        .ok());
        return offered == 3;
      });
      EXPECT_TRUE(store_->Scan(kTag, range, direction, looker).ok());
      EXPECT_EQ(looker.sum(), expected);
      EXPECT_GT(offered, 3);
      EXPECT_TRUE(file->Execute("INSERT INTO chunk SELECT * FROM chunks; DROP TABLE chunks;"
                                "INSERT INTO summary SELECT * FROM summaries; DROP TABLE summaries")
                      .ok());
    }
  }
}

TEST_F(StoredSummaries, GoWithTheirTag) {
  Fill(100);
  StoreBatch batch;
  batch.emptied = {kTag};
  StoreDriver(*store_).MustCommit(std::move(batch));
  EXPECT_TRUE(Offered({}).empty());
  EXPECT_EQ(NumberInFile(folder_.path(), "SELECT count(*) FROM summary"), 0);
}

TEST_F(StoredSummaries, OfAChunkThatIsSetAsideGoToo) {
  Fill(100);
  store_.reset();
  EditFile(folder_.path(), "UPDATE chunk SET payload = x'00' WHERE first_time = 41");
  Open(kSmall);
  EXPECT_EQ(Sum(), 5050) << "which is not damaged";
  Append({Record(kTag, 45, 7)});
  Open(kSmall);
  EXPECT_EQ(Sum(), 5050 - (41 + 50) * 5 + 7);
  Open(kSmall);
  EXPECT_EQ(NumberInFile(folder_.path(), "SELECT count(*) FROM damaged"), 1);
}

// ---- damage ----

TEST_F(StoredSummaries, AreNeverBelievedWhenAByteOfThemIsAnother) {
  Fill(100);
  const Seed seed;
  std::mt19937 random(seed.value());
  const auto file = *Connection::Open(folder_.path() / "zervane.db");
  EXPECT_TRUE(file->Execute("PRAGMA synchronous = OFF").ok());
  std::vector<std::tuple<std::int64_t, std::int64_t, std::string>> summaries;
  {
    Query rows(*file, "SELECT level, first_time, payload FROM summary");
    while (rows.Next()) {
      summaries.emplace_back(rows.Integer(0), rows.Integer(1), std::string(rows.Bytes(2)));
    }
  }
  ASSERT_EQ(summaries.size(), 13U);
  for (const auto& [level, first_ms, payload] : summaries) {
    const auto put = [&](const std::string& bytes) {
      EXPECT_TRUE(
          Query(*file,
                "UPDATE summary SET payload = ? WHERE tag = 1 AND level = ? AND first_time = ?",
                bytes, level, first_ms)
              .Run()
              .ok());
    };
    for (std::size_t at = 0; at < payload.size(); at += 1 + random() % 7) {
      std::string bytes = payload;
      bytes[at] = static_cast<char>(bytes[at] ^ (1 << random() % 8));
      put(bytes);
      EXPECT_EQ(Sum(), 5050) << "byte " << at;
      EXPECT_EQ(Sum({31, 70}), 2020);
    }
    put(payload.substr(0, payload.size() / 2));
    EXPECT_EQ(Sum(), 5050);
    put(payload);
  }
}

struct RowDamage {
  const char* name;
  const char* sql;
};

const RowDamage kRowDamages[] = {
    {"OtherEnds", "UPDATE summary SET last_time = last_time + 10"},
    {"EarlierEnds", "UPDATE summary SET last_time = last_time - 10"},
    {"OtherStarts",
     "UPDATE summary SET first_time = first_time + 1000; UPDATE summary SET first_time = "
     "first_time - 990"},
    {"OtherLevels", "UPDATE summary SET level = 2 - level"},
    {"ChunksAsGroups", "DELETE FROM summary WHERE level = 1; UPDATE summary SET level = 1"},
    {"PayloadsOfAnother",
     "UPDATE summary SET payload = (SELECT payload FROM summary WHERE level = 1 AND first_time = "
     "31)"},
    {"TextForNumbers", "UPDATE summary SET last_time = 'x', payload = 'y'"},
    {"OtherChunks", "UPDATE chunk SET id = id + 1000"},
    {"NoSummaries", "DELETE FROM summary"},
};

class DamagedSummaryRows : public StoredSummaries, public testing::WithParamInterface<RowDamage> {};

INSTANTIATE_TEST_SUITE_P(Of, DamagedSummaryRows, testing::ValuesIn(kRowDamages), CaseName());

TEST_P(DamagedSummaryRows, AreNotBelieved) {
  Fill(100);
  store_.reset();
  // Ends are part of no key; starts are moved by more than they differ by.
  EditFile(folder_.path(), GetParam().sql);
  Open(kSmall);
  EXPECT_EQ(Sum(), 5050);
  EXPECT_EQ(Sum({31, 70}), 2020);
  EXPECT_EQ(CountRange(*store_, kTag, {}), 100);
  Append({Record(kTag, 45, 45'000), Record(kTag, 101, 0)});
  EXPECT_EQ(Sum(), 5050 + 44'955);
  Open(kSmall);
  EXPECT_EQ(Sum(), 5050 + 44'955);
  EXPECT_EQ(CountRange(*store_, kTag, {}), 101);
}

// ---- pages that are damaged ----

// Overwrites so many bytes of each page of the table, or of its first one alone.
struct PageDamage {
  const char* name;
  bool is_of_all_pages;
  std::size_t from;
  std::size_t bytes;
};

const PageDamage kPageDamages[] = {
    {"FirstByteOfTheFirstPage", false, 0, 1}, {"HeadOfTheFirstPage", false, 0, 12},
    {"AllOfTheFirstPage", false, 0, 4096},    {"CellsOfTheFirstPage", false, 12, 200},
    {"HeadsOfAllPages", true, 0, 8},          {"AllOfAllPages", true, 0, 4096},
};

class DamagedSummaryPages : public StoredSummaries, public testing::WithParamInterface<PageDamage> {
 protected:
  static constexpr std::int64_t kRecords = 3'000;

  DamagedSummaryPages() {
    Fill(kRecords);
    store_.reset();
    DamagePages();
    Open(kAtOnce);
  }

  // All pages of the file that the table has: those that hold summaries' magic, and the first one.
  void DamagePages() {
    const auto path = folder_.path() / "zervane.db";
    const auto size = static_cast<std::size_t>(NumberInFile(folder_.path(), "PRAGMA page_size"));
    ASSERT_EQ(size, 4096U);
    std::set<std::int64_t> pages;
    pages.insert(
        NumberInFile(folder_.path(), "SELECT rootpage FROM sqlite_schema WHERE name = 'summary'"));
    if (GetParam().is_of_all_pages) {
      std::vector<std::string> payloads;
      const auto file = *Connection::Open(path);
      Query rows(*file, "SELECT payload FROM summary");
      while (rows.Next()) payloads.emplace_back(rows.Bytes(0));
      std::ifstream in(path, std::ios::binary);
      const std::string bytes(std::istreambuf_iterator<char>(in), {});
      for (const std::string& payload : payloads) {
        const std::size_t at = bytes.find(payload);
        if (at != std::string::npos) pages.insert(static_cast<std::int64_t>(at / size) + 1);
      }
      EXPECT_GT(pages.size(), 10U);
    }
    std::fstream out(path, std::ios::in | std::ios::out | std::ios::binary);
    for (const std::int64_t page : pages) {
      out.seekp((page - 1) * 4096 + static_cast<std::int64_t>(GetParam().from));
      out << std::string(GetParam().bytes, '\x55');
    }
  }

  std::int64_t TablesGivenUp() {
    return NumberInFile(folder_.path(),
                        "SELECT count(*) FROM sqlite_schema WHERE type = 'table' "
                        "AND name GLOB 'damaged_summary_*'");
  }
};

INSTANTIATE_TEST_SUITE_P(Of, DamagedSummaryPages, testing::ValuesIn(kPageDamages), CaseName());

// Summaries can be made again, so nothing that is stored waits for them, and none is believed that
// may be of records as they were before.
TEST_P(DamagedSummaryPages, HoldUpNoWriting) {
  double expected = kRecords * (kRecords + 1) / 2.0;
  EXPECT_EQ(Sum(), expected);
  for (std::int64_t i = 1; i <= 40; ++i) {
    Append({Record(kTag, 70 * i, 0), Record(kTag, kRecords + i, 1)});
    expected += 1 - 70.0 * static_cast<double>(i);
    EXPECT_EQ(Sum(), expected);
  }
  EXPECT_TRUE(store_->Close().ok());
  EXPECT_EQ(NumberInFile(folder_.path(), "SELECT count(*) FROM journal"), 0) << "all is in chunks";
  Open(kSmall);
  EXPECT_EQ(Sum(), expected);
  EXPECT_EQ(CountRange(*store_, kTag, {}), kRecords + 40);
  EXPECT_EQ(TablesGivenUp(), 1);
  EXPECT_GE(NumberInFile(folder_.path(), "SELECT count(*) FROM summary"), 40);
}

TEST_P(DamagedSummaryPages, KeepNoTagFromBeingEmptied) {
  StoreBatch batch;
  batch.emptied = {kTag};
  StoreDriver(*store_).MustCommit(std::move(batch));
  EXPECT_TRUE(Offered({}).empty());
  Append({Record(kTag, 45, 7)});
  Open(kSmall);
  EXPECT_EQ(Sum(), 7);
  EXPECT_EQ(TablesGivenUp(), 1);
}

// ---- an earlier layout ----

TEST_F(StoredSummaries, OfAFileThatHadNoneComeAsChunksAreWrittenAgain) {
  Fill(100);
  store_.reset();
  EditFile(folder_.path(),
           "DROP TABLE summary; DROP TABLE spare_summary; DROP TABLE alarm_tag; "
           "DROP TABLE tag_link; DROP TABLE alarm_group; DROP TABLE alarm_record; "
           "DROP TABLE standing_alarm; DROP TABLE statistics_tag; DROP TABLE calculation_tag; "
           "DROP TABLE user; DROP TABLE user_group; DROP TABLE member; PRAGMA user_version = 3");
  Open(kSmall);
  EXPECT_EQ(NumberInFile(folder_.path(), "PRAGMA user_version"), 6);
  EXPECT_EQ(Offered({}).size(), 10U);
  EXPECT_EQ(Offered({}).front(), Told(1, 10, false));
  EXPECT_EQ(Sum(), 5050);
  Append({Record(kTag, 45, 45), Record(kTag, 101, 101)});
  Open(kSmall);
  EXPECT_EQ(Offered({})[3], Told(31, 40, false));
  EXPECT_EQ(Offered({})[4], Told(41, 50, true));
  EXPECT_EQ(Sum(), 5151);
}

// ---- the chunk that a thread keeps ----

class KeptChunks : public StoredSummaries {
 protected:
  double SumOfChunk() { return Sum({42, 48}); }

  void DamageFile() {
    const auto file = *Connection::Open(folder_.path() / "zervane.db");
    EXPECT_TRUE(file->Execute("UPDATE chunk SET payload = x'00'").ok());
  }
};

TEST_F(KeptChunks, AreDecodedOnceForManyRanges) {
  Fill(100);
  EXPECT_EQ(SumOfChunk(), 315);
  DamageFile();  // whoever decodes one now fails
  EXPECT_EQ(SumOfChunk(), 315);
  EXPECT_EQ(Sum({43, 43}), 43);
  Status elsewhere;
  std::thread([&] {
    Looker looker;
    elsewhere = store_->Scan(kTag, {42, 48}, Direction::kForward, looker);
  }).join();
  EXPECT_EQ(elsewhere.code(), ZR3_ERR_STORAGE_DAMAGED) << "each thread keeps its own";
  Looker other;
  EXPECT_EQ(store_->Scan(kTag, {52, 58}, Direction::kForward, other).code(),
            ZR3_ERR_STORAGE_DAMAGED)
      << "one chunk is kept";
}

TEST_F(KeptChunks, AreLeftForThoseThatRecordsHaveChanged) {
  Fill(100);
  Open(kAtOnce);
  double expected = SumOfChunk();
  for (int i = 1; i <= 20; ++i) {
    Append({Record(kTag, 45, 45 + i)});
    EXPECT_EQ(SumOfChunk(), ++expected) << "pending";
    Append({Record(kTag, 100 + 2 * i, 0)});
    Append({Record(kTag, 101 + 2 * i, 0)});
    EXPECT_EQ(SumOfChunk(), expected) << "in the chunk";
  }
  StoreBatch emptied;
  emptied.emptied = {kTag};
  StoreDriver(*store_).MustCommit(std::move(emptied));
  EXPECT_EQ(SumOfChunk(), 0);
}

TEST_F(KeptChunks, OfTwoStoresAreNotMixedUp) {
  Fill(100);
  const TempFolder folder;
  const auto other = MustOpen(folder.path(), kSmall);
  StoreDriver(*other).PutTag(TagNamed(kTag, "ONE"));
  std::vector<MarkedSample> records;
  for (std::int64_t i = 1; i <= 100; ++i) records.push_back(Record(kTag, i, 1));
  StoreDriver(*other).Append(records);
  EXPECT_TRUE(other->Close().ok());
  const auto again = MustOpen(folder.path(), kSmall);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(SumOfChunk(), 315);
    Looker looker;
    EXPECT_TRUE(again->Scan(kTag, {42, 48}, Direction::kForward, looker).ok());
    EXPECT_EQ(looker.sum(), 7);
  }
}

// A visitor asks nothing of its store, but may well ask another one.
TEST_F(KeptChunks, StayWhileAVisitorScansAnotherStore) {
  Fill(100);
  const TempFolder folder;
  auto other = MustOpen(folder.path(), kSmall);
  StoreDriver(*other).PutTag(TagNamed(kTag, "ONE"));
  StoreDriver(*other).Append({Record(kTag, 1, 7), Record(kTag, 2, 8), Record(kTag, 3, 9)});
  other.reset();
  other = MustOpen(folder.path(), kSmall);
  class Asker : public ScanVisitor {
   public:
    explicit Asker(Store& other) : other_(other) {}
    Wants Offer(const RunSummary&) override { return Wants::kRecords; }
    bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override {
      EXPECT_EQ(ReadRange(other_, kTag, {2, 3}, Direction::kForward, 9).size(), 2U);
      for (std::size_t at = begin; at < end; ++at) {
        EXPECT_EQ(records.At(at).value, Value(static_cast<double>(records.times()[at])));
        ++shown;
      }
      return true;
    }
    int shown = 0;

   private:
    Store& other_;
  } asker(*other);
  EXPECT_TRUE(store_->Scan(kTag, {42, 77}, Direction::kForward, asker).ok());
  EXPECT_EQ(asker.shown, 36);
}

// Else a thread would take a new chunk for one that it keeps.
TEST_F(KeptChunks, HaveIdentifiersThatAreNotGivenAgain) {
  Open(kAtOnce);
  std::int64_t last = 0;
  for (int i = 0; i < 5; ++i) {
    for (int commit = 0; commit < 4; ++commit) {
      Append({Record(kTag, 100 * i + commit, 1), Record(kTag, 100 * i + 50 + commit, 1)});
    }
    const std::int64_t least = NumberInFile(folder_.path(), "SELECT ifnull(min(id), 0) FROM chunk");
    EXPECT_GT(least, last);
    last = NumberInFile(folder_.path(), "SELECT max(id) FROM chunk");
    StoreBatch emptied;
    emptied.emptied = {kTag};
    StoreDriver(*store_).MustCommit(std::move(emptied));
  }
}

}  // namespace
}  // namespace zervane::storage
