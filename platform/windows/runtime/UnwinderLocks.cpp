#include <pthread.h>
#include <windows.h>

#include <cstdlib>

#include "platform/windows/runtime/VerifiedRuntime.h"

// On 32-bit, the unwinder that is linked in keeps the module's frames in a list under a mutex that
// it makes once and never gives back. With the thread library's mutex, and its way to do a thing
// once, each load of the module cost an index, two handles and some memory. The linker brings what
// calls those here instead, where a mutex is one word that nobody has to free.

static_assert(sizeof(pthread_mutex_t) == sizeof(SRWLOCK));

namespace {

constinit SRWLOCK theOnceLock = SRWLOCK_INIT;

/// Only a mutex of the plain kind, made by the function below, is one of these.
SRWLOCK* LockOf(pthread_mutex_t* mutex) {
  if (*mutex == PTHREAD_RECURSIVE_MUTEX_INITIALIZER || *mutex == PTHREAD_MUTEX_INITIALIZER) {
    std::abort();
  }
  return reinterpret_cast<SRWLOCK*>(mutex);
}

}  // namespace

extern "C" {

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
  if (attributes != nullptr) std::abort();
  *mutex = 0;
  return 0;
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  AcquireSRWLockExclusive(LockOf(mutex));
  return 0;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  ReleaseSRWLockExclusive(LockOf(mutex));
  return 0;
}

int __wrap_pthread_mutex_destroy(pthread_mutex_t*) { return 0; }

int __wrap_pthread_once(pthread_once_t* once, void (*work)()) {
  AcquireSRWLockExclusive(&theOnceLock);
  if (*once == PTHREAD_ONCE_INIT) work();
  *once = PTHREAD_ONCE_INIT + 1;
  ReleaseSRWLockExclusive(&theOnceLock);
  return 0;
}

}  // extern "C"
