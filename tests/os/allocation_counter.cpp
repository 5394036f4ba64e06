#include "allocation_counter.h"

#include <atomic>
#include <cstddef>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZERVANE_SANITIZER_ALLOCATES 1
#endif

namespace {

std::atomic<long> made{0};
std::atomic<long> released{0};

}  // namespace

#ifdef ZERVANE_SANITIZER_ALLOCATES

// The sanitizer's own allocator must stay in place; it tells of each allocation instead.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void*,
                                                                             std::size_t),
                                                         void (*free_hook)(const volatile void*));

namespace {

[[maybe_unused]] const int installed =
    __sanitizer_install_malloc_and_free_hooks([](const volatile void*, std::size_t) { ++made; },
                                              [](const volatile void* block) {
                                                if (block != nullptr) ++released;
                                              });

}  // namespace

#else

// These take the place of the C library's functions in this process, its own calls included.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

[[gnu::visibility("default")]] void* malloc(std::size_t size) {
  ++made;
  return __libc_malloc(size);
}

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) {
  ++made;
  return __libc_calloc(count, size);
}

[[gnu::visibility("default")]] void* realloc(void* block, std::size_t size) {
  ++made;
  if (block != nullptr) ++released;
  return __libc_realloc(block, size);
}

[[gnu::visibility("default")]] void free(void* block) {
  if (block != nullptr) ++released;
  __libc_free(block);
}

}  // extern "C"

#endif

namespace zervane::os {

AllocationCounts CountAllocations() { return {made.load(), released.load()}; }

}  // namespace zervane::os
