#pragma once

#include <filesystem>
#include <utility>

#include "api/words/status.h"
#include "engine/storage/sqlite/database_lock.h"
#include "engine/storage/sqlite/descriptor.h"

namespace zervane::storage {

// The database within its folder.
constexpr char kDatabaseFile[] = "zervane.db";
constexpr char kLockFile[] = "zervane.lock";

// The right of one store to a folder: locks on its file zervane.lock, which names the holder's
// process for others' messages, and on the database's own file, which holds even when somebody
// removes the first. They exclude other processes and other opens in this one, and end with the
// object or the process, however that ends. The lock file stays: removing it would race with the
// next holder.
class FolderLock {
 public:
  // Makes the folder (mode 0700) and the files when they are missing. ZR3_ERR_DATABASE_IN_USE,
  // which names the holder when it is known; ZR3_ERR_STORAGE_READ_ONLY, ZR3_ERR_STORAGE_FULL,
  // ZR3_ERR_STORAGE_FAILED.
  static Result<FolderLock> Acquire(const std::filesystem::path& folder);

  FolderLock(FolderLock&&) noexcept = default;
  FolderLock& operator=(FolderLock&&) = delete;

 private:
  FolderLock(Descriptor lock_file, DatabaseLock database)
      : lock_file_(std::move(lock_file)), database_(std::move(database)) {}

  Descriptor lock_file_;
  DatabaseLock database_;
};

}  // namespace zervane::storage
