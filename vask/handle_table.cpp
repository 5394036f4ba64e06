#include "vask/handle_table.h"

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

ZR3HANDLE HandleTable::Add(std::unique_ptr<ItemIterator> iterator) {
  ZERVANE_ASSERT(iterator != nullptr);
  auto entry = std::make_shared<Entry>();
  entry->iterator = std::move(iterator);

  const MutexLock lock(mutex_);
  do {
    last_token_ = last_token_ == kMaxToken ? 1 : last_token_ + 1;
  } while (!entries_.try_emplace(last_token_, entry).second);
  ZERVANE_ASSERT(last_token_ >= 1 && last_token_ <= kMaxToken);
  return reinterpret_cast<ZR3HANDLE>(static_cast<std::uintptr_t>(last_token_));
}

Status HandleTable::Step(ZR3HANDLE handle, void* item) {
  const std::shared_ptr<Entry> entry = Find(handle);
  if (entry == nullptr) return InvalidHandle(handle);
  const MutexLock lock(entry->mutex);
  return entry->iterator->Next(item);
}

Status HandleTable::Free(ZR3HANDLE handle) {
  Entries::node_type freed;  // so that the iterator ends outside the lock
  const MutexLock lock(mutex_);
  freed = entries_.extract(ToToken(handle));
  return freed.empty() ? InvalidHandle(handle) : Status();
}

void HandleTable::Clear() {
  Entries entries;  // so that the iterators end outside the lock
  const MutexLock lock(mutex_);
  entries.swap(entries_);
}

std::shared_ptr<HandleTable::Entry> HandleTable::Find(ZR3HANDLE handle) {
  const MutexLock lock(mutex_);
  const auto found = entries_.find(ToToken(handle));
  return found == entries_.end() ? nullptr : found->second;
}

}  // namespace zervane
