#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "tests/engine/storage/support.h"

// Folders that cannot be written and disks that are full. Each test works in a child process, since
// it gives up rights or sets limits for good.
namespace zervane::storage {
namespace {

namespace fs = std::filesystem;

constexpr rlim_t kUnlimited = RLIM_INFINITY;

// ---- no right to write ----

// Goes on as a user who owns nothing. A superuser would pass every permission.
void BecomeNobody() {
  constexpr uid_t kNobody = 65'534;
  if (geteuid() != 0) return;
  ASSERT_EQ(setgid(kNobody), 0);
  ASSERT_EQ(setuid(kNobody), 0);
}

class UnwritableFolder : public testing::Test {
 protected:
  UnwritableFolder() {
    const auto store = MustOpen(Folder());
    EXPECT_TRUE(PutTag(*store, TagNamed(1, "TAG")).ok());
    EXPECT_TRUE(Append(*store, std::vector<MarkedSample>{Record(1, 10, 1)}).ok());
  }

  ~UnwritableFolder() override {
    Permit(fs::perms::owner_all);
    EXPECT_EQ(ReadAll(*MustOpen(Folder()), 1).size(), 1U) << "nothing was lost";
  }

  fs::path Folder() const { return temp_.path() / "database"; }

  // What everyone may do with the folder.
  void Permit(fs::perms folder) {
    fs::permissions(temp_.path(), fs::perms{0755});
    fs::permissions(Folder(), folder);
  }

  TempFolder temp_;
};

TEST_F(UnwritableFolder, IsReadOnly) {
  Permit(fs::perms{0555});
  ExpectInChild([&] {
    BecomeNobody();
    const Status status = OpenSqliteStore(Folder()).status();
    EXPECT_EQ(status.code(), ZR3_ERR_STORAGE_READ_ONLY) << status.message();
    EXPECT_THAT(status.message(), testing::HasSubstr(Folder().string()));
  });
}

TEST_F(UnwritableFolder, KeepsAFolderFromBeingMadeInIt) {
  Permit(fs::perms{0555});
  ExpectInChild([&] {
    BecomeNobody();
    EXPECT_EQ(OpenSqliteStore(Folder() / "new").code(), ZR3_ERR_STORAGE_READ_ONLY);
  });
}

TEST_F(UnwritableFolder, MayHaveAFileThatCanOnlyBeRead) {
  Permit(fs::perms{0777});
  fs::permissions(Folder() / "zervane.db", fs::perms{0444});
  fs::permissions(Folder() / "zervane.lock", fs::perms{0666});
  ExpectInChild([&] {
    BecomeNobody();
    const Status status = OpenSqliteStore(Folder()).status();
    EXPECT_EQ(status.code(), ZR3_ERR_STORAGE_READ_ONLY) << status.message();
  });
  fs::permissions(Folder() / "zervane.db", fs::perms{0600});
}

// ---- no space left ----

// Lets files of this process grow to `bytes` and no further: what a quota or a full disk does to
// every file, and what needs no right.
void LimitFiles(rlim_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);  // in a child; else the system ends the process instead
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
  limit.rlim_cur = bytes;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

class FullDisk : public testing::TestWithParam<rlim_t> {};

TEST_P(FullDisk, IsToldAndLosesNothingThatWasAnswered) {
  const TempFolder folder;
  ExpectInChild([&] {
    auto store = MustOpen(folder.path());
    ASSERT_TRUE(PutTag(*store, TagNamed(1, "TAG")).ok());
    LimitFiles(GetParam());
    std::int64_t answered = 0;
    const auto append = [&] {
      std::vector<MarkedSample> batch;
      for (std::int64_t i = 1; i <= 10; ++i) {
        MarkedSample record = Record(1, answered + i, 0);
        record.sample.type = TagType::kBlob;
        record.sample.value = std::string(1000, static_cast<char>(answered + i));
        batch.push_back(record);
      }
      StoreBatch changes;
      for (const MarkedSample& record : batch) AddTo(changes.records, record);
      CommitAnswer answer = StoreDriver(*store).Commit(changes);
      EXPECT_NE(answer.fate, CommitAnswer::Fate::kUnknown) << answer.status.message();
      if (answer.status.ok()) answered += 10;
      const bool is_whole = changes.records.size() == 10 && changes.records.samples.size() == 10;
      EXPECT_TRUE(answer.status.ok() || is_whole) << "a refused batch is the caller's still";
      return answer.status;
    };
    Status status;
    while (status.ok() && answered < 100'000) status = append();
    ASSERT_EQ(status.code(), ZR3_ERR_STORAGE_FULL) << status.message();
    EXPECT_EQ(ReadAll(*store, 1).size(), answered) << "while the disk is full";
    for (int i = 0; i < 20; ++i) {
      EXPECT_THAT(append().code(), testing::AnyOf(ZR3_OK, ZR3_ERR_STORAGE_FULL));
    }
    EXPECT_EQ(ReadAll(*store, 1).size(), answered) << "after more tries";

    LimitFiles(kUnlimited);
    EXPECT_TRUE(append().ok()) << "once there is space";
    EXPECT_EQ(ReadAll(*store, 1).size(), answered);
    store.reset();
    EXPECT_EQ(ReadAll(*MustOpen(folder.path()), 1).size(), answered) << "after reopening";
  });
  ExpectWholeFile(folder.path());
}

// From a disk that is full at once to one that is full within checkpoints.
INSTANTIATE_TEST_SUITE_P(Limit, FullDisk,
                         testing::Values(50'000, 100'000, 150'000, 222'222, 333'333, 500'000));

TEST(FullDiskAtOpening, IsToldAndGoesOnOnceThereIsSpace) {
  const TempFolder folder;
  ExpectInChild([&] {
    for (const rlim_t limit : {0, 1000, 5000, 30'000}) {
      LimitFiles(limit);
      const Status status = OpenSqliteStore(folder.path()).status();
      EXPECT_EQ(status.code(), ZR3_ERR_STORAGE_FULL) << limit << ": " << status.message();
    }
    LimitFiles(kUnlimited);
    EXPECT_TRUE(OpenSqliteStore(folder.path()).ok());
  });
  ExpectWholeFile(folder.path());
}

}  // namespace
}  // namespace zervane::storage
