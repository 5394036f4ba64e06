#include "vask/handed_out.h"

#include <bit>
#include <new>
#include <string>
#include <utility>

namespace zervane {

Status HandedOut::Add(const Batch& batch, std::unique_ptr<std::byte[]> memory) {
  const MutexLock lock(mutex_);
  if (batches_.size() >= kMaxBatches) {
    return {ZR3_ERR_OUT_OF_MEMORY, "too many batches were handed out and not freed"};
  }
  batches_.try_emplace(std::bit_cast<std::uintptr_t>(batch.records),
                       Kept{batch.tags, batch.count, std::move(memory)});
  return {};
}

Status HandedOut::Free(const Batch& batch) {
  Kept freed{};  // without the mutex, for it may be great
  const MutexLock lock(mutex_);
  const auto place = batches_.find(std::bit_cast<std::uintptr_t>(batch.records));
  if (place == batches_.end() || place->second.tags != batch.tags) {
    return {ZR3_ERR_INVALID_HANDLE, "a batch that is not handed out"};
  }
  if (place->second.count != batch.count) {
    return {ZR3_ERR_INVALID_COUNT, "a batch of " + std::to_string(place->second.count) +
                                       " elements freed as one of " + std::to_string(batch.count)};
  }
  freed = std::move(place->second);
  batches_.erase(place);
  return {};
}

std::size_t HandedOut::size() const {
  const MutexLock lock(mutex_);
  return batches_.size();
}

HandedOut& ProcessHandedOut() {
  alignas(
      HandedOut) static std::byte place[sizeof(HandedOut)];  // not of the heap: nothing frees it
  static HandedOut& batches = *new (place) HandedOut;
  return batches;
}

}  // namespace zervane
