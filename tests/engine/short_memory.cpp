#include "tests/engine/short_memory.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZERVANE_SANITIZER_ALLOCATES 1
#include <sqlite3.h>
#else
#include <elf.h>
#include <link.h>

#include <cerrno>
#include <cstring>
#endif

namespace zervane {
namespace {

using Lack = ShortMemory::Lack;
using Whose = ShortMemory::Whose;
using Asker = ShortMemory::Asker;

std::atomic<bool> is_short{false};
std::atomic<std::uint64_t> requests{0};
std::atomic<std::uint64_t> failed{0};
std::uint64_t first_failing = 0;  // these four are set while it is not short
Lack lack_ = Lack::kOne;
Whose whose_ = Whose::kThisThread;
[[maybe_unused]] Asker asker_ = Asker::kPrograms;

// No thread has it by default, so that threads to come count as others.
constinit thread_local bool made_it = false;

bool IsCounted() {
  if (!is_short.load(std::memory_order_acquire)) return false;
  return whose_ == Whose::kAllThreads || made_it == (whose_ == Whose::kThisThread);
}

bool Fails() {
  const std::uint64_t number = requests.fetch_add(1, std::memory_order_relaxed) + 1;
  const bool fails = lack_ == Lack::kOne ? number == first_failing : number >= first_failing;
  if (fails) failed.fetch_add(1, std::memory_order_relaxed);
  return fails;
}

}  // namespace

ShortMemory::ShortMemory(std::uint64_t nth, Lack lack, Whose whose, Asker asker) {
  first_failing = nth;
  lack_ = lack;
  whose_ = whose;
  asker_ = asker;
  requests = 0;
  failed = 0;
  made_it = true;
  is_short.store(true, std::memory_order_release);
}

ShortMemory::~ShortMemory() {
  is_short.store(false, std::memory_order_release);
  made_it = false;
}

std::uint64_t ShortMemory::Failed() { return failed; }

}  // namespace zervane

#ifdef ZERVANE_SANITIZER_ALLOCATES

namespace {

bool FailsNow() { return zervane::IsCounted() && zervane::Fails(); }

void* New(std::size_t size) {
  void* const block = FailsNow() ? nullptr : std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* NewOrNull(std::size_t size) noexcept { return FailsNow() ? nullptr : std::malloc(size); }

// SQLite's own functions, with failures before them.
sqlite3_mem_methods sqlite_memory;

void* SqliteMalloc(int size) { return FailsNow() ? nullptr : sqlite_memory.xMalloc(size); }
void* SqliteRealloc(void* block, int size) {
  return FailsNow() ? nullptr : sqlite_memory.xRealloc(block, size);
}

// Before SQLite is first used.
[[maybe_unused]] const bool is_installed = [] {
  sqlite3_config(SQLITE_CONFIG_GETMALLOC, &sqlite_memory);
  sqlite3_mem_methods failing = sqlite_memory;
  failing.xMalloc = SqliteMalloc;
  failing.xRealloc = SqliteRealloc;
  return sqlite3_config(SQLITE_CONFIG_MALLOC, &failing) == SQLITE_OK;
}();

}  // namespace

void* operator new(std::size_t size) { return New(size); }
void* operator new[](std::size_t size) { return New(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return NewOrNull(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return NewOrNull(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

#else

namespace {

// Where the code of the C library lies, its loader's included.
struct CodeRange {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
};
constexpr std::size_t kMaxRanges = 8;
CodeRange c_library[kMaxRanges];
std::size_t c_library_ranges = 0;

int NoteCode(dl_phdr_info* object, std::size_t, void*) {
  const bool is_c_library = std::strstr(object->dlpi_name, "/libc.so") != nullptr ||
                            std::strstr(object->dlpi_name, "/ld-linux") != nullptr;
  for (int i = 0; is_c_library && i < object->dlpi_phnum; ++i) {
    const auto& segment = object->dlpi_phdr[i];
    const bool is_code = segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0;
    if (!is_code || c_library_ranges == kMaxRanges) continue;
    const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
    c_library[c_library_ranges++] = {begin, begin + segment.p_memsz};
  }
  return 0;
}

[[maybe_unused]] const int noted = dl_iterate_phdr(NoteCode, nullptr);

bool IsOfCLibrary(const void* caller) {
  const auto address = reinterpret_cast<std::uintptr_t>(caller);
  for (std::size_t i = 0; i < c_library_ranges; ++i) {
    if (address >= c_library[i].begin && address < c_library[i].end) return true;
  }
  return false;
}

bool FailsFor(const void* caller) {
  if (!zervane::IsCounted()) return false;
  if (zervane::asker_ == zervane::Asker::kPrograms && IsOfCLibrary(caller)) return false;
  if (!zervane::Fails()) return false;
  errno = ENOMEM;
  return true;
}

}  // namespace

// These take the place of the C library's functions in this process.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

[[gnu::visibility("default")]] void* malloc(std::size_t size) {
  return FailsFor(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) {
  return FailsFor(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}

[[gnu::visibility("default")]] void* realloc(void* block, std::size_t size) {
  return FailsFor(__builtin_return_address(0)) ? nullptr : __libc_realloc(block, size);
}

[[gnu::visibility("default")]] void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return FailsFor(__builtin_return_address(0)) ? nullptr : __libc_memalign(alignment, size);
}

}  // extern "C"

#endif
