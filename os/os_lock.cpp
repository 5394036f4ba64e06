#include "os/os_lock.h"

#include <errno.h>
#include <pthread.h>

#include <memory>
#include <new>

struct os_mutex {
  pthread_mutex_t native;
};

namespace {

// An error-checking mutex answers misuse by its owner with an error where a plain one would hang.
int InitialiseErrorChecking(pthread_mutex_t* mutex) {
  pthread_mutexattr_t attributes;
  if (const int error = pthread_mutexattr_init(&attributes); error != 0) return error;
  int error = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
  if (error == 0) error = pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return error;
}

}  // namespace

int os_mutex_create(OS_MUTEX* mutex) {
  if (mutex == nullptr) return EINVAL;
  std::unique_ptr<os_mutex> created(new (std::nothrow) os_mutex);
  if (created == nullptr) return ENOMEM;
  if (const int error = InitialiseErrorChecking(&created->native); error != 0) return error;
  *mutex = created.release();
  return 0;
}

int os_mutex_lock(OS_MUTEX mutex) {
  return mutex == nullptr ? EINVAL : pthread_mutex_lock(&mutex->native);
}

int os_mutex_unlock(OS_MUTEX mutex) {
  return mutex == nullptr ? EINVAL : pthread_mutex_unlock(&mutex->native);
}

int os_mutex_destroy(OS_MUTEX mutex) {
  if (mutex == nullptr) return EINVAL;
  if (const int error = pthread_mutex_destroy(&mutex->native); error != 0) return error;
  delete mutex;
  return 0;
}
