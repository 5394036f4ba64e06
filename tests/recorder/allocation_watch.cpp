#include "allocation_watch.h"

#include <link.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

// The C library's own entry points, so that nothing has to be looked up while malloc is starting.
extern "C" {
// NOLINTBEGIN(clang-diagnostic-reserved-identifier): the C library's names.
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);
// NOLINTEND(clang-diagnostic-reserved-identifier)
}

namespace zervane::probe {
namespace {

struct Block {
  void* address;
  size_t size;
};

std::atomic<uintptr_t> code_begin{0};
std::atomic<uintptr_t> code_end{0};
std::atomic<size_t> outstanding_count{0};  // so that other libraries' releases take no lock

// Guards everything below.
std::atomic_flag busy = ATOMIC_FLAG_INIT;
Block outstanding[Sizes::kCapacity];
Sizes requested;
int failing_ordinal = 0;  // 0: none

class Lock {
 public:
  Lock() {
    while (busy.test_and_set(std::memory_order_acquire)) {
    }
  }
  ~Lock() { busy.clear(std::memory_order_release); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
};

bool IsWatched(const void* return_address) {
  const auto address = reinterpret_cast<uintptr_t>(return_address);
  return address >= code_begin.load(std::memory_order_relaxed) &&
         address < code_end.load(std::memory_order_relaxed);
}

// Notes a request; false when it is to fail.
bool Admit(size_t size) {
  const Lock lock;
  if (requested.count < Sizes::kCapacity) requested.bytes[requested.count] = size;
  ++requested.count;
  if (failing_ordinal == 0 || --failing_ordinal > 0) return true;
  errno = ENOMEM;
  return false;
}

void Keep(void* address, size_t size) {
  if (address == nullptr) return;
  const Lock lock;
  const size_t count = outstanding_count.load(std::memory_order_relaxed);
  if (count == Sizes::kCapacity) return;
  outstanding[count] = {address, size};
  outstanding_count.store(count + 1, std::memory_order_release);
}

void Release(void* address) {
  if (address == nullptr || outstanding_count.load(std::memory_order_acquire) == 0) return;
  const Lock lock;
  const size_t count = outstanding_count.load(std::memory_order_relaxed);
  Block* const end = outstanding + count;
  Block* const found = std::find_if(
      outstanding, end, [address](const Block& block) { return block.address == address; });
  if (found == end) return;
  std::memset(address, kStaleByte, found->size);
  std::copy(found + 1, end, found);
  outstanding_count.store(count - 1, std::memory_order_release);
}

struct LibrarySearch {
  const char* name_end;
  bool found;
};

bool EndsWith(const char* text, const char* end) {
  const size_t text_length = std::strlen(text);
  const size_t end_length = std::strlen(end);
  return text_length >= end_length && std::strcmp(text + text_length - end_length, end) == 0;
}

int WatchIfNamed(dl_phdr_info* info, size_t, void* context) {
  auto* search = static_cast<LibrarySearch*>(context);
  if (!EndsWith(info->dlpi_name, search->name_end)) return 0;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = info->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0) continue;
    code_begin = info->dlpi_addr + segment.p_vaddr;
    code_end = info->dlpi_addr + segment.p_vaddr + segment.p_memsz;
    search->found = true;
  }
  return 1;
}

}  // namespace

bool WatchLibrary(const char* name_end) {
  LibrarySearch search{name_end, false};
  dl_iterate_phdr(WatchIfNamed, &search);
  return search.found;
}

void ResetWatch() {
  const Lock lock;
  outstanding_count.store(0, std::memory_order_release);
  requested.count = 0;
  failing_ordinal = 0;
}

void FailRequest(int ordinal) {
  const Lock lock;
  failing_ordinal = ordinal;
}

void CopyRequested(Sizes* sizes) {
  const Lock lock;
  *sizes = requested;
}

void CopyOutstanding(Sizes* sizes) {
  const Lock lock;
  sizes->count = outstanding_count.load(std::memory_order_relaxed);
  for (size_t i = 0; i < sizes->count; ++i) sizes->bytes[i] = outstanding[i].size;
}

const void* OutstandingBlock(size_t index) {
  const Lock lock;
  const size_t count = outstanding_count.load(std::memory_order_relaxed);
  return index < count ? outstanding[index].address : nullptr;
}

}  // namespace zervane::probe

__attribute__((visibility("default"))) int64_t zervane_offset_in_block(const void* address) {
  using namespace zervane::probe;
  const Lock lock;
  const size_t count = outstanding_count.load(std::memory_order_relaxed);
  for (const Block* block = outstanding; block != outstanding + count; ++block) {
    const auto offset =
        static_cast<const char*>(address) - static_cast<const char*>(block->address);
    if (offset >= 0 && static_cast<size_t>(offset) < std::max<size_t>(block->size, 1)) {
      return offset;
    }
  }
  return -1;
}

// ---- what stands before the C library's own ----

using namespace zervane::probe;

extern "C" {

__attribute__((visibility("default"))) void* malloc(size_t size) {
  if (!IsWatched(__builtin_return_address(0))) return __libc_malloc(size);
  if (!Admit(size)) return nullptr;
  void* const block = __libc_malloc(size);
  if (block != nullptr) std::memset(block, kFreshByte, size);
  Keep(block, size);
  return block;
}

__attribute__((visibility("default"))) void* calloc(size_t count, size_t size) {
  if (!IsWatched(__builtin_return_address(0))) return __libc_calloc(count, size);
  if (!Admit(count * size)) return nullptr;
  void* const block = __libc_calloc(count, size);
  Keep(block, count * size);
  return block;
}

__attribute__((visibility("default"))) void* realloc(void* old_block, size_t size) {
  const bool watched = IsWatched(__builtin_return_address(0));
  if (watched && !Admit(size)) return nullptr;
  void* const block = __libc_realloc(old_block, size);
  if (watched) Keep(block, size);
  return block;
}

__attribute__((visibility("default"))) void free(void* block) {
  Release(block);
  __libc_free(block);
}

}  // extern "C"
