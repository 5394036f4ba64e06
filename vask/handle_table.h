#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "api/words/status.h"
#include "data_types.h"
#include "engine/mutex.h"
#include "engine/thread_annotations.h"

namespace zervane {

// The items of a query, made as they are asked for. Its implementation knows the record that its
// query promises.
class ItemIterator {
 public:
  virtual ~ItemIterator() = default;

  // Copies the next item into *item. Past the last one: ZR3_ERR_END_OF_ITERATION, as often as it is
  // asked, and *item is untouched. One thread at a time.
  virtual Status Next(void* item) = 0;
};

// What callers hold of iterators: tokens, never addresses. A token fits in 31 bits and is never 0.
// Tokens count up and none is given again before all others were, through any number of sessions:
// a stale or foreign one is told apart without being followed. Threads: any.
class HandleTable {
 public:
  ZR3HANDLE Add(std::unique_ptr<ItemIterator> iterator);

  // The iterator's next item; ZR3_ERR_INVALID_HANDLE when there is none of that handle. Calls with
  // one handle are served in turn; an iterator that is freed meanwhile lives until they are done.
  Status Step(ZR3HANDLE handle, void* item);

  Status Free(ZR3HANDLE handle);

  // Frees every iterator.
  void Clear();

 private:
  struct Entry {
    Mutex mutex;
    std::unique_ptr<ItemIterator> iterator PT_GUARDED_BY(mutex);
  };

  using Entries = std::unordered_map<std::uintptr_t, std::shared_ptr<Entry>>;

  std::shared_ptr<Entry> Find(ZR3HANDLE handle) EXCLUDES(mutex_);

  Mutex mutex_;
  Entries entries_ GUARDED_BY(mutex_);
  std::uint32_t last_token_ GUARDED_BY(mutex_) = 0;
};

}  // namespace zervane
