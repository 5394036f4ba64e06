#include "engine/storage/folder_lock.h"

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

#include "engine/storage/system_status.h"

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

}  // namespace

Result<FolderLock> FolderLock::Take(const std::filesystem::path& folder) {
  if (Status status = MakeFolder(folder); !status.ok()) return status;
  const std::filesystem::path path = folder / "zervane.lock";
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) return SystemStatus(errno, "cannot open " + path.string());
  FolderLock lock(file);
  if (flock(file, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK) return SystemStatus(errno, "cannot lock " + path.string());
    return Status(ZR3_ERR_DATABASE_IN_USE, fmt::format("process {} has the database in {} open",
                                                       HolderOf(file), folder.string()));
  }
  NameHolder(file);
  return lock;
}

FolderLock::FolderLock(FolderLock&& other) noexcept : file_(std::exchange(other.file_, -1)) {}

FolderLock::~FolderLock() {
  if (file_ >= 0) close(file_);
}

}  // namespace zervane::storage
