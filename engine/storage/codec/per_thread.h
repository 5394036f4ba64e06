#pragma once

#include <pthread.h>

#include <new>

namespace zervane::storage {

// Something that is costly to make, once for each thread that asks for it, and freed with the
// thread:
//
//   ZSTD_CCtx* context = PerThread<ZSTD_CCtx, Make, Free>::Get();
//
// Not a thread_local with a destructor: to note one, the C library ends the process when memory is
// short. Here a thread that finds none gets std::bad_alloc, and may ask again.
//
// The key is never given back, so the code must stay loaded as long as threads live.
template <typename T, T* (*kMake)(), void (*kFree)(T*)>
class PerThread {
 public:
  static T* Get() {
    static const PerThread kept;
    if (!kept.has_key_) throw std::bad_alloc();
    auto* item = static_cast<T*>(pthread_getspecific(kept.key_));
    if (item != nullptr) return item;
    item = kMake();
    if (item == nullptr) throw std::bad_alloc();
    if (pthread_setspecific(kept.key_, item) != 0) {
      kFree(item);
      throw std::bad_alloc();
    }
    return item;
  }

 private:
  PerThread() : has_key_(pthread_key_create(&key_, Free) == 0) {}

  static void Free(void* item) { kFree(static_cast<T*>(item)); }

  pthread_key_t key_{};
  bool has_key_;
};

}  // namespace zervane::storage
