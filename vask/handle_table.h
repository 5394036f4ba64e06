#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <unordered_map>

#include "api/words/status.h"
#include "data_types.h"
#include "engine/mutex.h"
#include "engine/thread_annotations.h"

namespace zervane {

// The items of a query, fetched as they are asked for. Its implementation knows the record that its
// query promises. One thread at a time.
class ItemIterator {
 public:
  virtual ~ItemIterator() = default;

  // Copies the next item into *item. Past the last one: ZR3_ERR_END_OF_ITERATION, as often as it is
  // asked. *item is untouched unless the status is ZR3_OK.
  virtual Status Next(void* item) = 0;

  // Frees what was fetched ahead; it is fetched again when it is asked for.
  virtual void Forget() noexcept = 0;
};

// What callers hold of iterators: tokens, never addresses. A token fits in 31 bits and is never 0.
// Tokens count up and none is given again before all others were, through any number of sessions:
// a stale or foreign one is told apart without being followed.
//
// Callers abandon iterators; so there are at most kMaxIterators, and those that were not used
// lately, past kMaxAhead of them, forget what they fetched ahead. Threads: any.
class HandleTable {
 public:
  static constexpr std::size_t kMaxIterators = 65'536;
  static constexpr std::size_t kMaxAhead = 256;

  // ZR3_ERR_OUT_OF_MEMORY when there are too many.
  Result<ZR3HANDLE> Add(std::unique_ptr<ItemIterator> iterator);

  // The iterator's next item; ZR3_ERR_INVALID_HANDLE when there is none of that handle. Calls with
  // one handle are served in turn; an iterator that is freed meanwhile lives until they are done.
  Status Step(ZR3HANDLE handle, void* item);

  Status Free(ZR3HANDLE handle);

  // Frees every iterator.
  void Clear();

  // Has all iterators forget what they fetched ahead: another user must not see it. REQUIRES that
  // no call steps through one.
  void ForgetFetched() noexcept;

 private:
  struct Entry {
    Mutex mutex;
    std::unique_ptr<ItemIterator> iterator PT_GUARDED_BY(mutex);
    bool may_be_ahead = false;  // guarded by the table's mutex: it stands in ahead_
  };
  using Entries = std::list<std::shared_ptr<Entry>>;

  // Notes that an entry is used now. Answers the one that is to forget what it fetched for that, if
  // any.
  std::shared_ptr<Entry> NoteUse(Entries::iterator used) REQUIRES(mutex_);
  static void ForgetAhead(const std::shared_ptr<Entry>& entry);

  Mutex mutex_;
  Entries ahead_ GUARDED_BY(mutex_);  // that may have fetched ahead, the one used last in front
  Entries others_ GUARDED_BY(mutex_);
  // Where the entry of a token stands in one of the two.
  std::unordered_map<std::uintptr_t, Entries::iterator> places_ GUARDED_BY(mutex_);
  std::uint32_t last_token_ GUARDED_BY(mutex_) = 0;
};

}  // namespace zervane
