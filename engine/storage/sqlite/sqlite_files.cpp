#include "engine/storage/sqlite/sqlite_files.h"

#include <sqlite3.h>

#include <cstddef>

#include "engine/mutex.h"

namespace zervane::storage {
namespace {

constexpr char kName[] = "zervane";

// The system's way, which is wrapped.
sqlite3_vfs* system_files = nullptr;

// The methods of a file of the system's, and those that stand in their place. They lie behind the
// file, in the memory that SQLite provides for it.
struct Methods {
  sqlite3_io_methods wrapped;
  const sqlite3_io_methods* system;
};

std::size_t MethodsOffset() {
  const auto size = static_cast<std::size_t>(system_files->szOsFile);
  return (size + alignof(Methods) - 1) / alignof(Methods) * alignof(Methods);
}

Methods* MethodsOf(sqlite3_file* file) {
  return reinterpret_cast<Methods*>(reinterpret_cast<char*>(file) + MethodsOffset());
}

int Read(sqlite3_file* file, void* to, int size, sqlite3_int64 offset) {
  const int result = MethodsOf(file)->system->xRead(file, to, size, offset);
  return result == SQLITE_IOERR_CORRUPTFS ? SQLITE_IOERR_READ : result;
}

int Open(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* flags_out) {
  const int result = system_files->xOpen(system_files, name, file, flags, flags_out);
  if (result != SQLITE_OK || file->pMethods == nullptr) return result;
  Methods* const methods = MethodsOf(file);
  *methods = {.wrapped = *file->pMethods, .system = file->pMethods};
  methods->wrapped.xRead = Read;
  file->pMethods = &methods->wrapped;
  return result;
}

}  // namespace

const char* SqliteFiles() {
  static Mutex mutex;
  static sqlite3_vfs files;
  const MutexLock lock(mutex);
  if (system_files != nullptr) return kName;
  sqlite3_vfs* const found = sqlite3_vfs_find(nullptr);
  if (found == nullptr) return nullptr;
  system_files = found;
  files = *found;
  files.pNext = nullptr;
  files.zName = kName;
  files.szOsFile = static_cast<int>(MethodsOffset() + sizeof(Methods));
  files.xOpen = Open;
  if (sqlite3_vfs_register(&files, 0) == SQLITE_OK) return kName;
  system_files = nullptr;
  return nullptr;
}

}  // namespace zervane::storage
