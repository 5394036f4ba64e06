/* A process-local, non-recursive mutex.
 *
 * A handle belongs to whoever created it and is destroyed once, unlocked. All functions return 0,
 * or a non-zero errno value. */
#ifndef ZERVANE_OS_LOCK_H
#define ZERVANE_OS_LOCK_H

#ifdef __cplusplus
extern "C" {
#endif

typedef struct os_mutex* OS_MUTEX;

/* Creates an unlocked mutex into *mutex. ENOMEM when there is no memory; EINVAL when mutex is null.
 */
int os_mutex_create(OS_MUTEX* mutex);

/* Blocks until the calling thread owns the mutex. EDEADLK when it already does; EINVAL when mutex
 * is null. */
int os_mutex_lock(OS_MUTEX mutex);

/* Gives the mutex up. EPERM when the calling thread does not own it; EINVAL when mutex is null. */
int os_mutex_unlock(OS_MUTEX mutex);

/* Destroys an unlocked mutex. EBUSY when it is locked; EINVAL when mutex is null. */
int os_mutex_destroy(OS_MUTEX mutex);

#ifdef __cplusplus
}
#endif

#endif
