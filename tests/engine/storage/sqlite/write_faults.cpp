#include "tests/engine/storage/sqlite/write_faults.h"

#include <sqlite3.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace zervane::storage {
namespace {

int writes_left = 0;

ssize_t WriteOrDie(int file, const void* from, std::size_t size, off64_t offset) {
  if (--writes_left == 0) raise(SIGKILL);
  return pwrite64(file, from, size, offset);
}

}  // namespace

void KillAtWrite(int nth) {
  writes_left = nth;
  sqlite3_vfs* const files = sqlite3_vfs_find("unix");
  const auto call = reinterpret_cast<sqlite3_syscall_ptr>(WriteOrDie);
  if (files == nullptr || files->xSetSystemCall(files, "pwrite64", call) != SQLITE_OK) std::abort();
}

}  // namespace zervane::storage
