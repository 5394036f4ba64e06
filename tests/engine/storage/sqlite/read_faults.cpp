#include "tests/engine/storage/sqlite/read_faults.h"

#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>

namespace zervane::storage {
namespace {

// SQLite's own name of the call by which it reads files.
constexpr char kCall[] = "pread64";

struct Faults {
  std::mutex mutex;
  std::condition_variable failed_one;
  int error = 0;
  std::int64_t reads = 0;
  std::int64_t first = 0;  // of the reads that fail; 0: none
  std::int64_t last = 0;
  std::int64_t failed = 0;
};

Faults& TheFaults() {
  static Faults faults;
  return faults;
}

ssize_t ReadOrFail(int file, void* to, std::size_t size, off64_t offset) {
  Faults& faults = TheFaults();
  {
    const std::lock_guard lock(faults.mutex);
    ++faults.reads;
    if (faults.first > 0 && faults.reads >= faults.first && faults.reads <= faults.last) {
      ++faults.failed;
      faults.failed_one.notify_all();
      errno = faults.error;
      return -1;
    }
  }
  return pread64(file, to, size, offset);
}

void SetCall(sqlite3_syscall_ptr call) {
  sqlite3_vfs* const files = sqlite3_vfs_find("unix");
  if (files == nullptr || files->xSetSystemCall(files, kCall, call) != SQLITE_OK) std::abort();
}

}  // namespace

ReadFaults::ReadFaults() {
  Heal();
  SetCall(reinterpret_cast<sqlite3_syscall_ptr>(ReadOrFail));
}

ReadFaults::~ReadFaults() { SetCall(nullptr); }

void ReadFaults::Fail(int error, std::int64_t first, std::int64_t last) {
  Faults& faults = TheFaults();
  const std::lock_guard lock(faults.mutex);
  faults.error = error;
  faults.reads = 0;
  faults.first = first;
  faults.last = last;
  faults.failed = 0;
}

void ReadFaults::Heal() {
  Faults& faults = TheFaults();
  const std::lock_guard lock(faults.mutex);
  faults.first = 0;
}

std::int64_t ReadFaults::failed() const {
  Faults& faults = TheFaults();
  const std::lock_guard lock(faults.mutex);
  return faults.failed;
}

bool ReadFaults::AwaitFailed(std::int64_t count) const {
  Faults& faults = TheFaults();
  std::unique_lock lock(faults.mutex);
  return faults.failed_one.wait_for(lock, std::chrono::minutes(1),
                                    [&] { return faults.failed >= count; });
}

}  // namespace zervane::storage
