#include "vask/handle_table.h"

#include <iterator>
#include <string>
#include <utility>

#include "engine/assert.h"

namespace zervane {
namespace {

constexpr std::uint32_t kMaxToken = 0x7FFFFFFF;

std::uintptr_t ToToken(ZR3HANDLE handle) { return reinterpret_cast<std::uintptr_t>(handle); }

Status InvalidHandle(ZR3HANDLE handle) {
  return {ZR3_ERR_INVALID_HANDLE, "no handle " + std::to_string(ToToken(handle))};
}

}  // namespace

Result<ZR3HANDLE> HandleTable::Add(std::unique_ptr<ItemIterator> iterator) {
  ZERVANE_ASSERT(iterator != nullptr);
  Entries added;  // so that the entry's place is made before anything else is changed
  added.push_back(std::make_shared<Entry>());
  added.front()->iterator = std::move(iterator);

  std::shared_ptr<Entry> forgetting;
  ZR3HANDLE handle = nullptr;
  {
    const MutexLock lock(mutex_);
    if (places_.size() >= kMaxIterators) {
      return Status(ZR3_ERR_OUT_OF_MEMORY,
                    std::to_string(places_.size()) + " iterators that nobody freed");
    }
    do {
      last_token_ = last_token_ == kMaxToken ? 1 : last_token_ + 1;
    } while (!places_.try_emplace(last_token_, added.begin()).second);
    ZERVANE_ASSERT(last_token_ >= 1 && last_token_ <= kMaxToken);
    others_.splice(others_.begin(), added);
    forgetting = NoteUse(others_.begin());
    handle = reinterpret_cast<ZR3HANDLE>(static_cast<std::uintptr_t>(last_token_));
  }
  ForgetAhead(forgetting);
  return handle;
}

Status HandleTable::Step(ZR3HANDLE handle, void* item) {
  std::shared_ptr<Entry> entry;
  std::shared_ptr<Entry> forgetting;
  {
    const MutexLock lock(mutex_);
    const auto found = places_.find(ToToken(handle));
    if (found != places_.end()) {
      entry = *found->second;
      forgetting = NoteUse(found->second);
    }
  }
  if (entry == nullptr) return InvalidHandle(handle);
  ForgetAhead(forgetting);
  const MutexLock lock(entry->mutex);
  return entry->iterator->Next(item);
}

Status HandleTable::Free(ZR3HANDLE handle) {
  Entries freed;  // so that the iterator ends outside the lock
  const MutexLock lock(mutex_);
  const auto found = places_.find(ToToken(handle));
  if (found == places_.end()) return InvalidHandle(handle);
  const Entries::iterator place = found->second;
  freed.splice(freed.begin(), (*place)->may_be_ahead ? ahead_ : others_, place);
  places_.erase(found);
  return {};
}

void HandleTable::Clear() {
  Entries ahead;  // so that the iterators end outside the lock
  Entries others;
  const MutexLock lock(mutex_);
  ahead.swap(ahead_);
  others.swap(others_);
  places_.clear();
}

void HandleTable::ForgetFetched() noexcept {
  const MutexLock lock(mutex_);
  for (const std::shared_ptr<Entry>& entry : ahead_) {
    entry->may_be_ahead = false;
    ForgetAhead(entry);
  }
  others_.splice(others_.end(), ahead_);
}

std::shared_ptr<HandleTable::Entry> HandleTable::NoteUse(Entries::iterator used) {
  ahead_.splice(ahead_.begin(), (*used)->may_be_ahead ? ahead_ : others_, used);
  (*used)->may_be_ahead = true;
  if (ahead_.size() <= kMaxAhead) return nullptr;
  const Entries::iterator last = std::prev(ahead_.end());
  (*last)->may_be_ahead = false;
  others_.splice(others_.begin(), ahead_, last);
  return *last;
}

// It waits for a step of that iterator which is under way.
void HandleTable::ForgetAhead(const std::shared_ptr<Entry>& entry) {
  if (entry == nullptr) return;
  const MutexLock lock(entry->mutex);
  entry->iterator->Forget();
}

}  // namespace zervane
