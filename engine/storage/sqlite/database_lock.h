#pragma once

#include <sys/types.h>

#include <filesystem>
#include <utility>

#include "api/words/status.h"
#include "engine/storage/sqlite/descriptor.h"

namespace zervane::storage {

// A file, by whatever path.
struct Inode {
  dev_t device = 0;
  ino_t number = 0;

  friend bool operator==(const Inode&, const Inode&) = default;
};

// The right of one store to a database's file: a lock on the file itself, which holds by whatever
// path the file is reached, and whatever is removed beside it. It excludes other processes and
// other opens in this one, and ends with the object or the process, however that ends.
//
// It outlives every connection to the file: when a process closes any descriptor of a file, the
// system drops all locks of the kind that SQLite uses on it, those of its other descriptors too.
// For the same reason a file that this process has open is refused without being opened.
class DatabaseLock {
 public:
  // Makes the file when it is missing. ZR3_ERR_DATABASE_IN_USE; ZR3_ERR_STORAGE_READ_ONLY when it
  // cannot be read or made, ZR3_ERR_STORAGE_FULL, ZR3_ERR_STORAGE_FAILED.
  static Result<DatabaseLock> Acquire(const std::filesystem::path& file);

  DatabaseLock(DatabaseLock&&) noexcept = default;
  DatabaseLock& operator=(DatabaseLock&&) = delete;
  ~DatabaseLock();

 private:
  DatabaseLock(Descriptor file, Inode inode) : file_(std::move(file)), inode_(inode) {}

  Descriptor file_;
  Inode inode_;
};

}  // namespace zervane::storage
