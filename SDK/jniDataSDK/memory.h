// Working memory of native methods: malloc and free, nothing else.
#ifndef ZERVANE_BRIDGE_MEMORY_H
#define ZERVANE_BRIDGE_MEMORY_H

#include <jni.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace zervane::bridge {

struct FreeDeleter {
  void operator()(void* block) const { free(block); }
};

// A block from malloc that is freed when its owner goes.
template <typename T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;

// A text in the system encoding, as jstringToWindows makes it.
using Text = MallocPtr<char>;

// `count` elements, not cleared; null when there is no memory. The count is the caller's and is
// trusted: a negative one asks for more than there is.
template <typename T>
MallocPtr<T[]> MallocArray(jint count) {
  return MallocPtr<T[]>(static_cast<T*>(malloc(static_cast<size_t>(count) * sizeof(T))));
}

// The same, zeroed.
template <typename T>
MallocPtr<T[]> MallocCleared(jint count) {
  MallocPtr<T[]> block = MallocArray<T>(count);
  if (block) memset(static_cast<void*>(block.get()), 0, static_cast<size_t>(count) * sizeof(T));
  return block;
}

// Gives a block up without freeing it. Every leak that callers are to see goes through here, beside
// a comment that says what is kept.
template <typename T>
auto LeakOnPurpose(MallocPtr<T> block) {
  return block.release();
}

}  // namespace zervane::bridge

#endif
