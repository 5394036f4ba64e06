#include "engine/storage/sqlite/folder_lock.h"

#include <fcntl.h>
#include <spdlog/fmt/fmt.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include "engine/storage/sqlite/system_status.h"

namespace zervane::storage {
namespace {

// The missing folders of the path, each for its owner only.
Status MakeFolder(const std::filesystem::path& folder) {
  std::filesystem::path made;
  for (const std::filesystem::path& part : folder) {
    made /= part;
    if (mkdir(made.c_str(), S_IRWXU) == 0) continue;
    const int error = errno;
    std::error_code ignored;
    if (!std::filesystem::is_directory(made, ignored)) {
      return SystemStatus(error, "cannot make the folder " + made.string());
    }
  }
  return {};
}

// The text that the holder left in the file; of no effect but on a message.
std::string HolderOf(int file) {
  std::array<char, 32> text{};
  const ssize_t size = pread(file, text.data(), text.size(), 0);
  return size > 0 ? std::string(text.data(), static_cast<std::size_t>(size)) : "unknown";
}

void NameHolder(int file) {
  const std::string pid = std::to_string(getpid());
  // On a full disk the name is missing, which must not keep the database from being read.
  if (ftruncate(file, 0) != 0 || pwrite(file, pid.data(), pid.size(), 0) < 0) return;
}

// Whether the path still leads to the file.
bool IsAt(int file, const std::filesystem::path& path) {
  struct stat locked {};
  struct stat found {};
  return fstat(file, &locked) == 0 && stat(path.c_str(), &found) == 0 &&
         locked.st_dev == found.st_dev && locked.st_ino == found.st_ino;
}

// The folder's lock file, locked. One that was removed or replaced meanwhile would keep nobody out.
Result<Descriptor> LockFileOf(const std::filesystem::path& folder) {
  const std::filesystem::path path = folder / kLockFile;
  for (;;) {
    Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file.is_open()) return SystemStatus(errno, "cannot open " + path.string());
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
      if (errno != EWOULDBLOCK) return SystemStatus(errno, "cannot lock " + path.string());
      return Status(ZR3_ERR_DATABASE_IN_USE, fmt::format("process {} has the database in {} open",
                                                         HolderOf(file.get()), folder.string()));
    }
    if (IsAt(file.get(), path)) return file;
  }
}

}  // namespace

Result<FolderLock> FolderLock::Acquire(const std::filesystem::path& folder) {
  if (Status status = MakeFolder(folder); !status.ok()) return status;
  Result<Descriptor> lock_file = LockFileOf(folder);
  if (!lock_file.ok()) return lock_file.status();
  Result<DatabaseLock> database = DatabaseLock::Acquire(folder / kDatabaseFile);
  if (!database.ok()) return database.status();
  NameHolder(lock_file->get());
  return FolderLock(*std::move(lock_file), *std::move(database));
}

}  // namespace zervane::storage
