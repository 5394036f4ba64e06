#include "allocation_counter.h"

#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZERVANE_SANITIZER_ALLOCATES 1
#endif

namespace {

std::atomic<std::int64_t> made{0};
std::atomic<std::int64_t> released{0};
std::atomic<bool> watches_peak{false};  // since to ask a sanitizer at each allocation takes long
std::atomic<std::int64_t> peak_bytes{0};

void NotePeak(std::int64_t live_bytes) {
  std::int64_t peak = peak_bytes;
  while (live_bytes > peak && !peak_bytes.compare_exchange_weak(peak, live_bytes)) {
  }
}

}  // namespace

#ifdef ZERVANE_SANITIZER_ALLOCATES

// The sanitizer's own allocator must stay in place; it tells of each allocation instead.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void*,
                                                                             std::size_t),
                                                         void (*free_hook)(const volatile void*));

extern "C" std::size_t __sanitizer_get_current_allocated_bytes();

namespace {

std::int64_t LiveBytes() {
  return static_cast<std::int64_t>(__sanitizer_get_current_allocated_bytes());
}

void Made(const volatile void*, std::size_t) {
  ++made;
  if (watches_peak) NotePeak(LiveBytes());
}

void Released(const volatile void* block) {
  if (block != nullptr) ++released;
}

[[maybe_unused]] const int installed = __sanitizer_install_malloc_and_free_hooks(Made, Released);

}  // namespace

#else

namespace {

std::atomic<std::int64_t> live_bytes{0};

std::int64_t LiveBytes() { return live_bytes; }

void* Made(void* block) {
  ++made;
  const auto bytes = static_cast<std::int64_t>(malloc_usable_size(block));
  const std::int64_t live = live_bytes += bytes;
  if (watches_peak) NotePeak(live);
  return block;
}

void Released(void* block) {
  if (block == nullptr) return;
  ++released;
  live_bytes -= static_cast<std::int64_t>(malloc_usable_size(block));
}

}  // namespace

// These take the place of the C library's functions in this process, its own calls included.
extern "C" {

// NOLINTBEGIN(clang-diagnostic-reserved-identifier,bugprone-reserved-identifier): the C library's
// names.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);
// NOLINTEND(clang-diagnostic-reserved-identifier,bugprone-reserved-identifier)

[[gnu::visibility("default")]] void* malloc(std::size_t size) { return Made(__libc_malloc(size)); }

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) {
  return Made(__libc_calloc(count, size));
}

[[gnu::visibility("default")]] void* realloc(void* block, std::size_t size) {
  Released(block);
  return Made(__libc_realloc(block, size));
}

[[gnu::visibility("default")]] void free(void* block) {
  Released(block);
  __libc_free(block);
}

}  // extern "C"

#endif

namespace zervane::os {

AllocationCounts CountAllocations() { return {made.load(), released.load()}; }

PeakMemory::PeakMemory() : before_(LiveBytes()) {
  peak_bytes = before_;
  watches_peak = true;
}

PeakMemory::~PeakMemory() { watches_peak = false; }

std::int64_t PeakMemory::bytes() const { return peak_bytes - before_; }

}  // namespace zervane::os
