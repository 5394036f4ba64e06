#pragma once

#include <filesystem>

#include "engine/status.h"

namespace zervane::storage {

// The right of one store to a folder: a lock on its file zervane.lock, which names the holder's
// process for others' messages. It excludes other processes and other opens in this one, and ends
// with the object or the process, however that ends. The file stays: removing it would race with
// the next holder.
class FolderLock {
 public:
  // Makes the folder (mode 0700) when it is missing. ZR3_ERR_DATABASE_IN_USE names the holder;
  // ZR3_ERR_STORAGE_READ_ONLY, ZR3_ERR_STORAGE_FULL, ZR3_ERR_STORAGE_FAILED.
  static Result<FolderLock> Take(const std::filesystem::path& folder);

  FolderLock(FolderLock&& other) noexcept;
  FolderLock& operator=(FolderLock&&) = delete;
  ~FolderLock();

 private:
  explicit FolderLock(int file) : file_(file) {}

  int file_;  // -1 once moved from
};

}  // namespace zervane::storage
