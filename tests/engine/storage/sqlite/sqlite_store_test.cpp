#include "engine/storage/sqlite/sqlite_store.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <sstream>

#include "api/words/tag_columns.h"
#include "engine/storage/tables.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane::storage {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::string Contents(const fs::path& file) {
  std::ostringstream bytes;
  bytes << std::ifstream(file, std::ios::binary).rdbuf();
  return bytes.str();
}

void Write(const fs::path& file, std::string_view bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

// A database of two tags with 100 records each, at 10, 20 ... 1000, closed.
void MakeDatabase(const fs::path& folder) {
  const auto store = MustOpen(folder);
  for (TagId tag = 1; tag <= 2; ++tag) {
    EXPECT_TRUE(PutTag(*store, TagNamed(tag, "TAG")).ok());
    for (int i = 1; i <= 100; i += 10) {
      std::vector<MarkedSample> batch;
      for (int k = i; k < i + 10; ++k) batch.push_back(Record(tag, 10 * k, k));
      EXPECT_TRUE(Append(*store, batch).ok());
    }
  }
}

class StoreFolder : public testing::Test {
 protected:
  fs::path File() const { return folder_.path() / "zervane.db"; }

  Status OpenStatus() { return OpenSqliteStore(folder_.path()).status(); }

  TempFolder folder_;
};

// ---- opening ----

TEST_F(StoreFolder, IsMadeForItsOwnerOnly) {
  const fs::path folder = folder_.path() / "a" / "b";
  MustOpen(folder).reset();
  EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(folder.parent_path()).permissions(), fs::perms::owner_all);
}

TEST_F(StoreFolder, MayNotBeAFile) {
  Write(folder_.path() / "file", "text");
  EXPECT_EQ(OpenSqliteStore(folder_.path() / "file").code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(OpenSqliteStore(folder_.path() / "file" / "below").code(), ZR3_ERR_STORAGE_FAILED);
}

TEST_F(StoreFolder, TakesAnEmptyFileForANewDatabase) {
  Write(File(), "");
  MakeDatabase(folder_.path());
  ExpectWholeFile(folder_.path());
}

TEST_F(StoreFolder, RefusesALaterLayoutAndLeavesItsFileAlone) {
  MakeDatabase(folder_.path());
  EditFile(folder_.path(), "PRAGMA user_version = 6");
  const std::string before = Contents(File());
  const Status status = OpenStatus();
  EXPECT_EQ(status.code(), ZR3_ERR_DATABASE_VERSION);
  EXPECT_THAT(status.message(), HasSubstr(File().string()));
  EXPECT_THAT(status.message(), HasSubstr("layout 6"));
  EXPECT_EQ(Contents(File()), before);
  EditFile(folder_.path(), "PRAGMA user_version = 5");
  EXPECT_EQ(ReadAll(*MustOpen(folder_.path()), 1).size(), 100U);
}

struct ForeignCase {
  const char* name;
  const char* sql;
};

class ForeignFile : public StoreFolder, public testing::WithParamInterface<ForeignCase> {};

INSTANTIATE_TEST_SUITE_P(
    StoreFolder, ForeignFile,
    testing::Values(ForeignCase{"OfNoApplication", "CREATE TABLE notes (text)"},
                    ForeignCase{"OfAnotherApplication", "PRAGMA application_id = 42"},
                    ForeignCase{"OfAnotherVersioning", "PRAGMA user_version = 1"},
                    ForeignCase{"OfNoLayout", "PRAGMA application_id = 0x5A564442"}),
    CaseName());

TEST_P(ForeignFile, IsRefusedAndLeftAlone) {
  EditFile(folder_.path(), GetParam().sql);
  const std::string before = Contents(File());
  EXPECT_EQ(OpenStatus().code(), ZR3_ERR_NOT_A_DATABASE);
  EXPECT_EQ(Contents(File()), before);
}

TEST_F(StoreFolder, RefusesAFileThatIsNoDatabase) {
  for (const std::string& text : {std::string("not a database"), std::string(10'000, 'x')}) {
    Write(File(), text);
    EXPECT_EQ(OpenStatus().code(), ZR3_ERR_NOT_A_DATABASE);
    EXPECT_EQ(Contents(File()), text);
  }
}

// ---- one store at a time ----

TEST_F(StoreFolder, IsInUseForASecondOpenInTheProcess) {
  MakeDatabase(folder_.path());
  auto store = MustOpen(folder_.path());
  const Status status = OpenStatus();
  EXPECT_EQ(status.code(), ZR3_ERR_DATABASE_IN_USE);
  EXPECT_THAT(status.message(), HasSubstr(folder_.path().string()));
  EXPECT_THAT(status.message(), HasSubstr("process " + std::to_string(getpid())));
  EXPECT_EQ(ReadAll(*store, 1).size(), 100U) << "the first one is not disturbed";
  store.reset();
  EXPECT_TRUE(OpenStatus().ok());
}

// The exit code of the program that opens the folder's store in a process of its own.
int OpenInOtherProcess(const fs::path& folder) {
  const std::string command = std::string(ZERVANE_STORE_OPENER) + " " + folder.string();
  return WEXITSTATUS(std::system(command.c_str()));
}

TEST_F(StoreFolder, IsInUseForAnotherProcess) {
  MakeDatabase(folder_.path());
  auto store = MustOpen(folder_.path());
  EXPECT_EQ(OpenInOtherProcess(folder_.path()), 1);
  store.reset();
  EXPECT_EQ(OpenInOtherProcess(folder_.path()), 0);
}

// Whether this process still has the locks on the file by which SQLite keeps others from it: asked
// from a child, for which they are another's.
void ExpectLockedForOthers(const fs::path& file) {
  const pid_t holder = getpid();
  ExpectInChild([&] {
    const int opened = open(file.c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0x40000002;  // its 510 bytes for those who read
    lock.l_len = 510;
    ASSERT_EQ(fcntl(opened, F_GETLK, &lock), 0);
    EXPECT_EQ(lock.l_type, F_RDLCK);
    EXPECT_EQ(lock.l_pid, holder);
  });
}

TEST_F(StoreFolder, StaysInUseWithoutItsLockFile) {
  MakeDatabase(folder_.path());
  auto store = MustOpen(folder_.path());
  for (int i = 0; i < 2; ++i) {
    fs::remove(folder_.path() / "zervane.lock");
    const Status status = OpenStatus();
    EXPECT_EQ(status.code(), ZR3_ERR_DATABASE_IN_USE);
    EXPECT_THAT(status.message(), HasSubstr("process " + std::to_string(getpid())));
    EXPECT_EQ(OpenInOtherProcess(folder_.path()), 1);
  }
  ExpectLockedForOthers(File());
  EXPECT_TRUE(Append(*store, std::vector<MarkedSample>{Record(1, 2000, 1)}).ok());
  EXPECT_EQ(ReadAll(*store, 1).size(), 101U);
  store.reset();
  EXPECT_EQ(OpenInOtherProcess(folder_.path()), 0);
  EXPECT_EQ(ReadAll(*MustOpen(folder_.path()), 1).size(), 101U);
}

TEST_F(StoreFolder, IsInUseByWhateverPathItsFileIsReached) {
  MakeDatabase(folder_.path());
  auto store = MustOpen(folder_.path());
  const fs::path other = folder_.path() / "other";
  fs::create_directory(other);
  fs::create_hard_link(File(), other / "zervane.db");
  EXPECT_EQ(OpenSqliteStore(other).code(), ZR3_ERR_DATABASE_IN_USE);
  EXPECT_EQ(OpenInOtherProcess(other), 1);
  ExpectLockedForOthers(File());
}

TEST_F(StoreFolder, IsInUseNoMoreOnceItsHolderIsKilled) {
  MakeDatabase(folder_.path());
  const pid_t holder = fork();
  ASSERT_GE(holder, 0);
  if (holder == 0) {
    const auto store = MustOpen(folder_.path());
    fs::remove(folder_.path() / "zervane.lock");
    raise(SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(waitpid(holder, &status, 0), holder);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(ReadAll(*MustOpen(folder_.path()), 1).size(), 100U);
}

// ---- damage ----

TEST_F(StoreFolder, LosesOnlyWhatADamagedChunkHolds) {
  MakeDatabase(folder_.path());
  EditFile(folder_.path(),
           "UPDATE chunk SET payload = zeroblob(50) WHERE tag = 1 AND first_time <= 500 "
           "AND last_time >= 500");
  const auto store = MustOpen(folder_.path());
  const auto records = TryRead(*store, 1, {500, 500}, Direction::kForward, 1);
  EXPECT_EQ(records.code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_THAT(records.status().message(), HasSubstr("of tag 1, times"));
  EXPECT_EQ(TryRead(*store, 1, {}, Direction::kBackward, 100).code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ(TryCount(*store, 1, {500, 1000}).code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ(TryRead(*store, 1, {10, 200}, Direction::kForward, 100)->size(), 20U);
  EXPECT_EQ(TryRead(*store, 1, {}, Direction::kForward, 20)->size(), 20U);
  EXPECT_EQ(TryRead(*store, 1, {}, Direction::kBackward, 20)->size(), 20U);
  EXPECT_EQ(ReadAll(*store, 2).size(), 100U);
}

TEST_F(StoreFolder, TakesNewRecordsWhereAChunkIsDamaged) {
  MakeDatabase(folder_.path());
  EditFile(folder_.path(), "UPDATE chunk SET payload = zeroblob(50) WHERE tag = 1");
  auto store = MustOpen(folder_.path());
  EXPECT_TRUE(
      Append(*store, std::vector<MarkedSample>{Record(1, 505, 1), Record(1, 2000, 1)}).ok());
  store.reset();
  store = MustOpen(folder_.path());
  EXPECT_EQ(TryRead(*store, 1, {505, 505}, Direction::kForward, 1)->size(), 1U);
  EXPECT_EQ(TryRead(*store, 1, {2000, 2000}, Direction::kForward, 1)->size(), 1U);
}

TEST_F(StoreFolder, LosesOnlyADamagedBatchOfTheJournal) {
  const fs::path crashed = folder_.path() / "crashed";
  {
    const auto store = MustOpen(folder_.path());
    EXPECT_TRUE(PutTag(*store, TagNamed(1, "TAG")).ok());
    for (int i = 1; i <= 3; ++i)
      EXPECT_TRUE(Append(*store, std::vector<MarkedSample>{Record(1, i, i)}).ok());
    CopyWhileOpen(folder_.path(), crashed);
  }
  EditFile(crashed, "UPDATE journal SET payload = zeroblob(30) WHERE seq = 3");
  const auto store = MustOpen(crashed);
  const auto records = ReadAll(*store, 1);
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].time_ms, 1);
  EXPECT_EQ(records[1].time_ms, 3);
  EXPECT_EQ(NumberInFile(crashed, "SELECT count(*) FROM damaged"), 1);
}

TEST_F(StoreFolder, LosesOnlyADamagedCurrentValue) {
  MakeDatabase(folder_.path());
  EditFile(folder_.path(), "UPDATE current SET payload = zeroblob(30) WHERE tag = 1");
  const auto values = CurrentValues(*MustOpen(folder_.path()));
  ASSERT_EQ(values.size(), 1U);
  EXPECT_EQ(values.front().tag, 2U);
}

// Also one that nobody would ask for before the first alarm.
TEST_F(StoreFolder, RefusesAFileWithoutOneOfItsTables) {
  MakeDatabase(folder_.path());
  for (const TableInfo& table : AllTables()) {
    SCOPED_TRACE(table.name);
    const std::string name(table.name);
    EditFile(folder_.path(), "ALTER TABLE " + name + " RENAME TO aside");
    EXPECT_EQ(OpenStatus().code(), ZR3_ERR_STORAGE_FAILED);
    EditFile(folder_.path(), "ALTER TABLE aside RENAME TO " + name);
    EXPECT_EQ(OpenStatus().code(), ZR3_OK);
  }
}

TEST_F(StoreFolder, RefusesAFileOfWhichATableLacksAColumn) {
  MakeDatabase(folder_.path());
  EditFile(folder_.path(), "ALTER TABLE alarm_record RENAME COLUMN [end] TO until");
  EXPECT_EQ(OpenStatus().code(), ZR3_ERR_STORAGE_FAILED);
}

TEST_F(StoreFolder, SaysThatItLostTheEncodingOfItsTexts) {
  MakeDatabase(folder_.path());
  EditFile(folder_.path(), "DELETE FROM settings WHERE name = 'encoding'");
  EXPECT_EQ(OpenStatus().code(), ZR3_ERR_STORAGE_DAMAGED);
}

// Takes whatever it is shown: a damaged index may offer runs that do not fit each other.
class AnyRuns : public ScanVisitor {
 public:
  Wants Offer(const RunSummary&) override { return Wants::kRecords; }
  bool Show(const SampleColumns&, std::size_t, std::size_t) override { return true; }
};

// Opens the folder and, when that succeeds, does a little of everything. Whatever the file holds,
// each call answers.
void UseWhateverItIs(const fs::path& folder) {
  const auto opened = OpenSqliteStore(folder, {}, kTinyOptions);
  if (!opened.ok()) {
    EXPECT_THAT(opened.code(), testing::AnyOf(ZR3_ERR_STORAGE_DAMAGED, ZR3_ERR_NOT_A_DATABASE,
                                              ZR3_ERR_STORAGE_FAILED, ZR3_ERR_DATABASE_VERSION,
                                              ZR3_ERR_STORAGE_READ_ONLY, ZR3_ERR_INVALID_TEXT));
    return;
  }
  Store& store = **opened;
  for (const TableInfo& table : AllTables()) {
    for (std::size_t index = 0; index < table.indexes.size(); ++index) {
      const RowRange all{.table = table.id, .index = index};
      (void)store.Rows(all, SIZE_MAX, [](RowView) { return true; });
    }
  }
  (void)store.ReadCurrent(0, std::numeric_limits<TagId>::max());
  for (TagId tag = 1; tag <= 2; ++tag) {
    AnyRuns runs;
    (void)store.Scan(tag, {}, Direction::kForward, runs);
    (void)store.Scan(tag, {300, 700}, Direction::kBackward, runs);
    (void)TryCount(store, tag, {15, 995});
    std::vector<MarkedSample> batch;
    for (int i = 0; i < 50; ++i) batch.push_back(Record(tag, 17 * i, i));
    (void)Append(store, batch);
  }
  (void)PutTag(store, TagNamed(3, "NEW"));
  (void)RemoveTag(store, 2);
}

// Byte 18 of the file is SQLite's format for writing: one that it does not know, it only reads.
TEST_F(StoreFolder, RefusesAFileOfAFormatThatCannotBeWritten) {
  MakeDatabase(folder_.path());
  std::string bytes = Contents(File());
  bytes[18] = 3;
  Write(File(), bytes);
  EXPECT_EQ(OpenStatus().code(), ZR3_ERR_STORAGE_READ_ONLY);
  EXPECT_EQ(Contents(File()), bytes);
}

TEST_F(StoreFolder, SurvivesAFileThatWasCut) {
  MakeDatabase(folder_.path());
  const std::string whole = Contents(File());
  for (std::size_t size = 1; size < whole.size(); size = size * 5 / 4 + 1) {
    SCOPED_TRACE(size);
    const TempFolder cut;
    Write(cut.path() / "zervane.db", std::string_view{whole}.substr(0, size));
    UseWhateverItIs(cut.path());
  }
}

TEST_F(StoreFolder, SurvivesAFileWithRandomBytesInIt) {
  MakeDatabase(folder_.path());
  const std::string whole = Contents(File());
  const Seed seed;
  std::mt19937 random(seed.value());
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    std::string bytes = whole;
    for (int change = 0; change < 1 + round; ++change) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
    }
    const TempFolder damaged;
    Write(damaged.path() / "zervane.db", bytes);
    UseWhateverItIs(damaged.path());
  }
}

// ---- what is kept over a reopening ----

TEST_F(StoreFolder, KeepsEveryPropertyOfATag) {
  Tag tag = TagNamed(7, "caf\u00e9 \u6d4b");
  int n = 100;
  const auto fill = [&]<typename T>(T& property) {
    ++n;
    if constexpr (std::is_same_v<T, std::string>) {
      property += "text " + std::to_string(n);
    } else if constexpr (std::is_same_v<T, bool>) {
      property = !(property);
    } else {
      property = static_cast<T>(n + 0.25);
    }
  };
  ForEachColumn(tag, [&](const PropertyColumn& column) { VisitProperty(column, tag, fill); });
  tag.tag_class = ZR3_TAG_CLASS_BASIC;  // whose own properties these are
  tag.change_date = 0xFFFFFFFF;
  tag.exc_max_time = -1;
  tag.min_value = -std::numeric_limits<float>::infinity();
  EXPECT_TRUE(PutTag(*MustOpen(folder_.path()), tag).ok());
  EXPECT_THAT(Tags(*MustOpen(folder_.path())), testing::ElementsAre(tag));
  tag.span = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(PutTag(*MustOpen(folder_.path()), tag).ok());
  EXPECT_TRUE(std::isnan(Tags(*MustOpen(folder_.path())).front().span));
}

TEST_F(StoreFolder, DoesNotBringARemovedTagBackFromTheJournal) {
  const fs::path crashed = folder_.path() / "crashed";
  {
    const auto store = MustOpen(folder_.path());
    EXPECT_TRUE(PutTag(*store, TagNamed(1, "TAG")).ok());
    EXPECT_TRUE(Append(*store, std::vector<MarkedSample>{Record(1, 10, 1)}).ok());
    EXPECT_TRUE(RemoveTag(*store, 1).ok());
    CopyWhileOpen(folder_.path(), crashed);
  }
  EXPECT_EQ(NumberInFile(crashed, "SELECT count(*) FROM journal"), 3) << "or nothing is tested";
  const auto store = MustOpen(crashed);
  EXPECT_TRUE(ReadAll(*store, 1).empty());
  EXPECT_TRUE(CurrentValues(*store).empty());
}

TEST_F(StoreFolder, GivesTheRoomOfItsJournalBackWhenItIsClosed) {
  constexpr std::uintmax_t kBlobBytes = 3000 * 1000;
  {
    const auto store = MustOpen(folder_.path(), {});
    EXPECT_TRUE(PutTag(*store, TagNamed(1, "TAG")).ok());
    std::vector<MarkedSample> batch;
    for (int i = 0; i < 3000; ++i) {
      MarkedSample record = Record(1, 10, 0);  // of one time, so that the archive keeps but one
      record.sample.type = TagType::kBlob;
      record.sample.value = std::string(1000, static_cast<char>(i));
      batch.push_back(record);
    }
    EXPECT_TRUE(Append(*store, batch).ok());
  }
  EXPECT_LT(fs::file_size(File()), kBlobBytes / 10);
  ExpectWholeFile(folder_.path());
}

TEST_F(StoreFolder, HoldsNothingInTheJournalAfterAClose) {
  MakeDatabase(folder_.path());
  EXPECT_EQ(NumberInFile(folder_.path(), "SELECT count(*) FROM journal"), 0);
  EXPECT_EQ(NumberInFile(folder_.path(), "SELECT sum(count) FROM chunk"), 200);
  ExpectWholeFile(folder_.path());
}

// SQLite's log begins with a header whose bytes 16 to 19 change whenever it starts over.
std::string LogGeneration(const fs::path& folder) {
  std::ifstream log(folder / "zervane.db-wal", std::ios::binary);
  std::string header(20, '\0');
  log.read(header.data(), std::ssize(header));
  return header.substr(16);
}

TEST_F(StoreFolder, StartsItsLogOverInsteadOfLettingItGrow) {
  const auto store = MustOpen(folder_.path(), {});
  EXPECT_TRUE(PutTag(*store, TagNamed(1, "TAG")).ok());
  const std::string first = LogGeneration(folder_.path());
  std::vector<MarkedSample> batch;
  int appends = 0;
  while (LogGeneration(folder_.path()) == first && appends < 2000) {
    batch.clear();
    for (int i = 0; i < 1000; ++i) {
      batch.push_back(Record(1, appends, 0));
      batch.back().sample.type = TagType::kBlob;
      batch.back().sample.value = std::string(500, static_cast<char>(i * 7 + appends));
    }
    ASSERT_TRUE(Append(*store, batch).ok());
    ++appends;
  }
  EXPECT_LT(appends, 2000);
}

struct ChangeCase {
  const char* name;
  std::function<Status(Store&, int number)> make;
};

class RepeatedChange : public StoreFolder, public testing::WithParamInterface<ChangeCase> {};

INSTANTIATE_TEST_SUITE_P(StoreFolder, RepeatedChange,
                         testing::Values(ChangeCase{"AddingTags",
                                                    [](Store& store, int number) {
                                                      return PutTag(store, TagNamed(number, "TAG"));
                                                    }},
                                         ChangeCase{"AddingAndRemovingATag",
                                                    [](Store& store, int) {
                                                      const Status added =
                                                          PutTag(store, TagNamed(7, "TAG"));
                                                      if (!added.ok()) return added;
                                                      return RemoveTag(store, 7);
                                                    }},
                                         ChangeCase{"Appending",
                                                    [](Store& store, int number) {
                                                      return Append(store,
                                                                    std::vector<MarkedSample>{
                                                                        Record(1, number, 0)});
                                                    }}),
                         CaseName());

TEST_P(RepeatedChange, StartsTheLogOver) {
  const auto store = MustOpen(folder_.path(), {.log_pages = 32});
  ASSERT_TRUE(GetParam().make(*store, 1).ok());
  const std::string first = LogGeneration(folder_.path());
  int changes = 1;
  while (LogGeneration(folder_.path()) == first && changes < 1000) {
    ASSERT_TRUE(GetParam().make(*store, ++changes).ok());
  }
  EXPECT_LT(changes, 1000);
}

TEST_F(StoreFolder, KeepsABatchThatIsLargerThanABlock) {
  constexpr int kRecords = 70'000;
  std::vector<MarkedSample> batch;
  for (int i = 0; i < kRecords; ++i) batch.push_back(Record(1, i, i));
  const fs::path crashed = folder_.path() / "crashed";
  {
    const auto store = MustOpen(folder_.path(), {});
    EXPECT_TRUE(PutTag(*store, TagNamed(1, "TAG")).ok());
    EXPECT_TRUE(Append(*store, batch).ok());
    CopyWhileOpen(folder_.path(), crashed);
  }
  EXPECT_EQ(NumberInFile(crashed, "SELECT count(*) FROM journal"), 2);
  EXPECT_EQ(CountRange(*MustOpen(crashed, {}), 1, {}), kRecords);
}

}  // namespace
}  // namespace zervane::storage
