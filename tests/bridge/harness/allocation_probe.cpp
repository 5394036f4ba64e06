#include "allocation_probe.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" {
// NOLINTBEGIN(clang-diagnostic-reserved-identifier): the linker's names for wrapped functions.
void* __real_malloc(size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);
void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_realloc(void* block, size_t size);
void __wrap_free(void* block);
}

namespace zervane::bridge_test {

void AllocationProbe::Arm() {
  armed_ = true;
  ++call_;
  count_ = 0;
  foreign_frees_ = 0;
}

std::vector<size_t> AllocationProbe::Left() const {
  std::map<int, size_t> by_number;
  for (const auto& [address, block] : live_) {
    if (block.call == call_) by_number[block.number] = block.size;
  }
  std::vector<size_t> sizes;
  for (const auto& [number, size] : by_number) sizes.push_back(size);
  return sizes;
}

std::optional<size_t> AllocationProbe::SizeAt(const void* address) const {
  const auto found = live_.find(address);
  if (found == live_.end()) return std::nullopt;
  return found->second.size;
}

void AllocationProbe::Reset() {
  for (const auto& [address, block] : live_) __real_free(const_cast<void*>(address));
  *this = AllocationProbe();
}

void* AllocationProbe::Allocate(size_t size) {
  if (!armed_) return __real_malloc(size);
  if (++count_ == fail_nth_) {
    fail_nth_ = 0;
    return nullptr;
  }
  if (size > PTRDIFF_MAX) return nullptr;  // as malloc does; a sanitizer's would end the suite
  void* const block = __real_malloc(size);
  if (block == nullptr) return nullptr;
  memset(block, kFreshByte, size);
  live_[block] = {size, call_, count_};
  return block;
}

void AllocationProbe::Free(void* block) {
  if (armed_ && block != nullptr && live_.erase(block) == 0) ++foreign_frees_;
  __real_free(block);
}

AllocationProbe& Probe() {
  static AllocationProbe probe;
  return probe;
}

}  // namespace zervane::bridge_test

void* __wrap_malloc(size_t size) { return zervane::bridge_test::Probe().Allocate(size); }

void* __wrap_calloc(size_t count, size_t size) {
  void* const block = __wrap_malloc(count * size);
  if (block != nullptr) memset(block, 0, count * size);
  return block;
}

// Nothing in the bridge grows a block; a use of it ends the suite at once.
void* __wrap_realloc(void* block, size_t size) {
  if (zervane::bridge_test::Probe().armed()) abort();
  return __real_realloc(block, size);
}

void __wrap_free(void* block) { zervane::bridge_test::Probe().Free(block); }
// NOLINTEND(clang-diagnostic-reserved-identifier)
