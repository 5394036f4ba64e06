#include "tests/engine/storage/sqlite/memory_faults.h"

#include <sqlite3.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> first_failure = 0;  // 0: none fails
std::atomic<long> last_failure = 0;
std::atomic<long> requests = 0;
std::atomic<bool> has_failed = false;

bool Fails() {
  const long first = first_failure;
  if (first == 0) return false;
  const long request = ++requests;
  if (request < first || request > last_failure) return false;
  has_failed = true;
  return true;
}

// ---- SQLite ----

sqlite3_mem_methods usual{};

void* Allocate(int size) { return Fails() ? nullptr : usual.xMalloc(size); }
void* Reallocate(void* memory, int size) {
  return Fails() ? nullptr : usual.xRealloc(memory, size);
}

// Before SQLite is used.
[[maybe_unused]] const bool installed = [] {
  if (sqlite3_config(SQLITE_CONFIG_GETMALLOC, &usual) != SQLITE_OK) std::abort();
  sqlite3_mem_methods failing = usual;
  failing.xMalloc = Allocate;
  failing.xRealloc = Reallocate;
  if (sqlite3_config(SQLITE_CONFIG_MALLOC, &failing) != SQLITE_OK) std::abort();
  return true;
}();

}  // namespace

// ---- the program ----

void* operator new(std::size_t size) {
  void* const memory = Fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace zervane::storage {

MemoryFault::MemoryFault(long first, long last) {
  requests = 0;
  has_failed = false;
  last_failure = last;
  first_failure = first;
}

bool MemoryFault::End() {
  first_failure = 0;
  return has_failed;
}

}  // namespace zervane::storage
