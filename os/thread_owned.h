// An object of its own for each thread.
#ifndef ZERVANE_OS_THREAD_OWNED_H_
#define ZERVANE_OS_THREAD_OWNED_H_

#include <pthread.h>

#include <memory>
#include <new>
#include <utility>

namespace zervane::os {

// Keeps a T for each thread that asked for one, until the thread ends. It stands for a thread_local
// T: when the C library has no memory to note the destructor of one, it ends the process; here the
// caller hears of it.
//
//   static ThreadOwned<Scratch> scratches;
//   Scratch& scratch = scratches.OfThisThread([] { return std::make_unique<Scratch>(); });
//
// Objects of this class are static and live as long as the process; the library that has one must
// stay loaded. Threads: any.
template <typename T>
class ThreadOwned {
 public:
  // May throw std::bad_alloc.
  ThreadOwned() {
    if (pthread_key_create(&key_, Destroy) != 0) throw std::bad_alloc();
  }
  ThreadOwned(const ThreadOwned&) = delete;
  ThreadOwned& operator=(const ThreadOwned&) = delete;

  // The thread's own, which std::unique_ptr<T> make() makes the first time, and again for a thread
  // that asks while it ends. May throw std::bad_alloc, and what make() throws; the next call then
  // tries again.
  template <typename Make>
  T& OfThisThread(Make&& make) {
    if (void* const kept = pthread_getspecific(key_)) return *static_cast<T*>(kept);
    std::unique_ptr<T> made = std::forward<Make>(make)();
    if (pthread_setspecific(key_, made.get()) != 0) throw std::bad_alloc();
    return *made.release();
  }

 private:
  static void Destroy(void* kept) { delete static_cast<T*>(kept); }

  pthread_key_t key_{};
};

}  // namespace zervane::os

#endif  // ZERVANE_OS_THREAD_OWNED_H_
