#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "tests/engine/storage/support.h"

// What others may do with the files of a database: nothing, whoever made them and how.
namespace zervane::storage {
namespace {

namespace fs = std::filesystem;

unsigned ModeOf(const fs::path& path) {
  struct stat found {};
  EXPECT_EQ(lstat(path.c_str(), &found), 0) << path;
  return found.st_mode & 07777U;
}

// Those in the folder, by name, and that of the folder as ".".
std::map<std::string, unsigned> ModesIn(const fs::path& folder) {
  std::map<std::string, unsigned> modes{{".", ModeOf(folder)}};
  for (const auto& entry : fs::directory_iterator(folder)) {
    modes[entry.path().filename().string()] = ModeOf(entry.path());
  }
  return modes;
}

const std::map<std::string, unsigned> kClosed = {{".", 0700U},
                                                 {"zervane.db", 0600U},
                                                 {"zervane.db-shm", 0600U},
                                                 {"zervane.db-wal", 0600U},
                                                 {"zervane.lock", 0600U}};

void AppendRecord(Store& store) {
  EXPECT_TRUE(PutTag(store, TagNamed(1, "TAG")).ok());
  EXPECT_TRUE(Append(store, std::vector<MarkedSample>{Record(1, 10, 1)}).ok());
}

class OwnerOnly : public testing::Test {
 protected:
  OwnerOnly() { fs::permissions(temp_.path(), fs::perms{0755}); }
  ~OwnerOnly() override { umask(umask_); }

  fs::path Folder() const { return temp_.path() / "database"; }

  // The files of a database whose process was killed, open to everybody, as is their folder.
  void LeaveOpenFiles() {
    const fs::path first = temp_.path() / "first";
    const auto store = MustOpen(first);
    AppendRecord(*store);
    CopyAsAfterCrash(first, Folder());
    for (const char* name : {"zervane.lock", "zervane.db-shm"}) std::ofstream(Folder() / name);
    for (const auto& entry : fs::directory_iterator(Folder())) {
      fs::permissions(entry.path(), fs::perms{0666});
    }
    fs::permissions(Folder(), fs::perms{0777});
  }

  TempFolder temp_;

 private:
  const mode_t umask_ = umask(0);
};

TEST_F(OwnerOnly, AreNewFilesWhateverTheUmask) {
  const auto store = MustOpen(Folder());
  AppendRecord(*store);
  EXPECT_EQ(ModesIn(Folder()), kClosed);
}

TEST_F(OwnerOnly, AreFilesThatWereOpenToEverybody) {
  LeaveOpenFiles();
  ASSERT_EQ(ModesIn(Folder()).at("zervane.db-wal"), 0666U);
  const auto store = MustOpen(Folder());
  EXPECT_EQ(ModesIn(Folder()), kClosed);
  EXPECT_EQ(ReadAll(*store, 1).size(), 1U);
  AppendRecord(*store);
  EXPECT_EQ(ModesIn(Folder()), kClosed) << "of what comes later, too";
}

TEST_F(OwnerOnly, IsAFolderThatWasThereEmpty) {
  fs::create_directory(Folder());
  ASSERT_EQ(ModeOf(Folder()), 0777U);
  const auto store = MustOpen(Folder());
  EXPECT_EQ(ModesIn(Folder()), kClosed);
}

TEST_F(OwnerOnly, IsAnEmptyFileThatBecomesADatabase) {
  fs::create_directory(Folder());
  std::ofstream(Folder() / "zervane.db");
  const auto store = MustOpen(Folder());
  AppendRecord(*store);
  EXPECT_EQ(ModesIn(Folder()), kClosed);
}

TEST_F(OwnerOnly, AreTheFilesAloneInAFolderWithOtherThings) {
  LeaveOpenFiles();
  std::ofstream(Folder() / "notes");
  const auto store = MustOpen(Folder());
  auto expected = kClosed;
  expected["."] = 0777U;
  expected["notes"] = 0666U;
  EXPECT_EQ(ModesIn(Folder()), expected);
}

TEST_F(OwnerOnly, AreTheFilesAloneInAFolderThatIsSharedOnPurpose) {
  LeaveOpenFiles();
  fs::permissions(Folder(), fs::perms{01777});
  const auto store = MustOpen(Folder());
  auto expected = kClosed;
  expected["."] = 01777U;
  EXPECT_EQ(ModesIn(Folder()), expected);
}

TEST_F(OwnerOnly, AreFilesThatLinksLeadTo) {
  LeaveOpenFiles();
  const fs::path links = temp_.path() / "links";
  fs::create_directory(links);
  fs::create_symlink(Folder() / "zervane.db", links / "zervane.db");
  const auto store = MustOpen(links);
  EXPECT_EQ(ModeOf(links), 0700U);
  EXPECT_EQ(ModeOf(links / "zervane.lock"), 0600U);
  EXPECT_EQ(ModeOf(Folder() / "zervane.db"), 0600U);
  EXPECT_EQ(ModeOf(Folder() / "zervane.db-wal"), 0600U);
}

TEST_F(OwnerOnly, IsNotWhatALinkBesideTheDatabaseLeadsTo) {
  LeaveOpenFiles();
  std::ofstream(temp_.path() / "notes");
  fs::create_symlink(temp_.path() / "notes", Folder() / "zervane.db-journal");
  const auto store = MustOpen(Folder());
  EXPECT_TRUE(fs::is_symlink(Folder() / "zervane.db-journal"));
  EXPECT_EQ(ModeOf(temp_.path() / "notes"), 0666U);
}

TEST_F(OwnerOnly, IsNotTheFileOfAnotherProgram) {
  fs::create_directory(Folder());
  EditFile(Folder(), "CREATE TABLE notes (text)");
  fs::permissions(Folder() / "zervane.db", fs::perms{0644});
  EXPECT_EQ(OpenSqliteStore(Folder()).code(), ZR3_ERR_NOT_A_DATABASE);
  EXPECT_EQ(ModeOf(Folder() / "zervane.db"), 0644U);
  EXPECT_EQ(ModeOf(Folder()), 0777U);
}

// Another user's file cannot be closed; it can be used as before.
TEST_F(OwnerOnly, AreNotTheFilesOfAnotherUserWhichOpenAllTheSame) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to be two users";
  LeaveOpenFiles();
  ExpectInChild([&] {
    constexpr uid_t kNobody = 65'534;
    ASSERT_EQ(setgid(kNobody), 0);
    ASSERT_EQ(setuid(kNobody), 0);
    testing::internal::CaptureStderr();
    const auto store = MustOpen(Folder());
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find((Folder() / "zervane.db").string() + " stays open to other users"),
              std::string::npos)
        << log;
    EXPECT_EQ(ReadAll(*store, 1).size(), 1U);
    AppendRecord(*store);
  });
  EXPECT_EQ(ModeOf(Folder() / "zervane.db"), 0666U);
}

}  // namespace
}  // namespace zervane::storage
