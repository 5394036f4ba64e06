#include "engine/storage/sqlite/owner_only.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <string>
#include <system_error>

#include "engine/log.h"
#include "engine/storage/sqlite/folder_lock.h"

namespace zervane::storage {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kOthers = S_IRWXG | S_IRWXO;

// What SQLite adds to the name of a database for the files beside it.
constexpr std::array kBeside = {"-wal", "-shm", "-journal"};

// By path: a descriptor of such a file would drop SQLite's locks on it when it is closed. A link is
// not followed: whoever may write in the folder could have it lead to anything.
void CloseToOthers(const fs::path& path) {
  struct stat found {};
  if (lstat(path.c_str(), &found) != 0 || S_ISLNK(found.st_mode)) return;
  if ((found.st_mode & kOthers) == 0) return;
  if (chmod(path.c_str(), found.st_mode & ~kOthers & 07777) != 0) {
    LogWarning("{} stays open to other users: {}", path.string(),
               std::generic_category().message(errno));
  } else if (stat(path.c_str(), &found) == 0 && (found.st_mode & kOthers) != 0) {
    LogWarning("{} stays open to other users: its file system has no modes", path.string());
  }
}

bool IsOfDatabase(const std::string& name) {
  if (name == "." || name == ".." || name == kDatabaseFile || name == kLockFile) return true;
  return std::ranges::any_of(
      kBeside, [&](const char* end) { return name == kDatabaseFile + std::string(end); });
}

bool IsOfDatabaseAlone(const fs::path& folder) {
  struct stat found {};
  if (stat(folder.c_str(), &found) != 0 || (found.st_mode & S_ISVTX) != 0) return false;
  // Not the library's iterator, which ends the process when it lacks memory.
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), closedir);
  if (listing == nullptr) return false;
  for (;;) {
    errno = 0;
    const dirent* const entry = readdir(listing.get());
    if (entry == nullptr) return errno == 0;
    if (!IsOfDatabase(entry->d_name)) return false;
  }
}

}  // namespace

// Links that the owner made, to another folder or file, are gone along.
void KeepForOwner(const fs::path& folder) {
  std::error_code error;
  const fs::path place = fs::canonical(folder, error);
  if (error) return;
  if (IsOfDatabaseAlone(place)) CloseToOthers(place);
  CloseToOthers(place / kLockFile);
  const fs::path file = fs::canonical(place / kDatabaseFile, error);
  if (error) return;
  CloseToOthers(file);
  for (const char* end : kBeside) CloseToOthers(file.string() + end);
}

}  // namespace zervane::storage
