#include "tests/engine/storage/sqlite/sync_faults.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace {

constexpr pid_t kNoThread = -1;

std::atomic<bool> fails = false;
std::atomic<pid_t> spared = kNoThread;
std::atomic<int> failed_syncs = 0;

int SyncOrFail(long call, int file) {
  if (fails && gettid() != spared) {
    ++failed_syncs;
    errno = EIO;
    return -1;
  }
  return static_cast<int>(syscall(call, file));
}

}  // namespace

// In the place of the C library's.
extern "C" __attribute__((visibility("default"))) int fdatasync(int file) {
  return SyncOrFail(SYS_fdatasync, file);
}
extern "C" __attribute__((visibility("default"))) int fsync(int file) {
  return SyncOrFail(SYS_fsync, file);
}

namespace zervane::storage {

void SyncFaults::Fail() {
  failed_syncs = 0;
  spared = kNoThread;
  fails = true;
}

void SyncFaults::FailElsewhere() {
  Fail();
  spared = gettid();
}

void SyncFaults::Heal() { fails = false; }

int SyncFaults::failed() { return failed_syncs; }

}  // namespace zervane::storage
