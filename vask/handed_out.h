#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

#include "api/words/status.h"
#include "data_types.h"
#include "engine/mutex.h"

namespace zervane {

// The batches that were handed out to callers, until they give them back: which memory is whose is
// looked up, never believed. They are the process's, and outlive sessions.
//
// Threads: any.
class HandedOut {
 public:
  // Callers forget batches: so many there may be.
  static constexpr std::size_t kMaxBatches = 65'536;

  // A batch as its caller knows it.
  struct Batch {
    const void* records = nullptr;
    const void* tags = nullptr;  // null where a batch has none
    int32 count = 0;
  };

  // Keeps the memory that the batch lies in. ZR3_ERR_OUT_OF_MEMORY when there are too many; the
  // memory is freed then.
  Status Add(const Batch& batch, std::unique_ptr<std::byte[]> memory) EXCLUDES(mutex_);

  // Frees a batch: ZR3_ERR_INVALID_HANDLE for what is none, ZR3_ERR_INVALID_COUNT for one of
  // another count, which stays.
  Status Free(const Batch& batch) EXCLUDES(mutex_);

  std::size_t size() const EXCLUDES(mutex_);

 private:
  struct Kept {
    const void* tags;
    int32 count;
    std::unique_ptr<std::byte[]> memory;
  };

  mutable Mutex mutex_;
  std::map<std::uintptr_t, Kept> batches_ GUARDED_BY(mutex_);  // by the address of their records
};

// The process's own.
HandedOut& ProcessHandedOut();

}  // namespace zervane
