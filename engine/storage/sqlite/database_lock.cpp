#include "engine/storage/sqlite/database_lock.h"

#include <fcntl.h>
#include <spdlog/fmt/fmt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "engine/mutex.h"
#include "engine/storage/sqlite/system_status.h"

namespace zervane::storage {
namespace {

// The databases that this process has open. What is done with their descriptors is done under the
// mutex, so that none is closed while another open of the same file is under way.
struct OpenDatabases {
  Mutex mutex;
  std::vector<Inode> files GUARDED_BY(mutex);
};

// Never destroyed, since a store may live as long as the process.
OpenDatabases& TheOpenDatabases() {
  static auto* const databases = new OpenDatabases;
  return *databases;
}

// Whether the descriptor has the file now; errno tells why not. The lock is one of the descriptor,
// not of the process, on one byte that nobody else locks or writes: it lies in the page that SQLite
// leaves out for its own locks, behind these. flock(2) would lock the whole file on network
// storage.
bool Lock(const Descriptor& file) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0x40000000 + 1024;
  lock.l_len = 1;
  return fcntl(file.get(), F_OFD_SETLK, &lock) == 0;
}

Inode InodeOf(const struct stat& file) { return {.device = file.st_dev, .number = file.st_ino}; }

}  // namespace

Result<DatabaseLock> DatabaseLock::Acquire(const std::filesystem::path& file) {
  OpenDatabases& open_ones = TheOpenDatabases();
  const MutexLock lock(open_ones.mutex);
  open_ones.files.reserve(open_ones.files.size() + 1);
  struct stat found {};
  const bool exists = stat(file.c_str(), &found) == 0;
  if (exists && std::ranges::count(open_ones.files, InodeOf(found)) > 0) {
    return Status(ZR3_ERR_DATABASE_IN_USE,
                  fmt::format("process {}, this one, has {} open", getpid(), file.string()));
  }
  constexpr mode_t kMode = S_IRUSR | S_IWUSR;  // which SQLite gives the files beside it, too
  Descriptor opened(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kMode));
  if (!opened.is_open()) return SystemStatus(errno, "cannot open " + file.string());
  if (!Lock(opened)) {
    if (errno != EAGAIN && errno != EACCES)
      return SystemStatus(errno, "cannot lock " + file.string());
    return Status(ZR3_ERR_DATABASE_IN_USE,
                  fmt::format("another process has {} open", file.string()));
  }
  struct stat locked {};
  if (fstat(opened.get(), &locked) != 0) {
    return SystemStatus(errno, "cannot look at " + file.string());
  }
  const Inode inode = InodeOf(locked);
  open_ones.files.push_back(inode);
  return DatabaseLock(std::move(opened), inode);
}

DatabaseLock::~DatabaseLock() {
  if (!file_.is_open()) return;  // moved from
  OpenDatabases& open_ones = TheOpenDatabases();
  const MutexLock lock(open_ones.mutex);
  file_.Close();
  std::erase(open_ones.files, inode_);
}

}  // namespace zervane::storage
